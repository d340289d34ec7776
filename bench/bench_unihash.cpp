// uni_hash against std::unordered_multimap on one million two-part keys:
// inserting them all, then looking each one up.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "ClassEngine/Random.h"
#include "ClassEngine/unihash.h"

namespace {
constexpr int kKeys = 1000000;

struct Keys {
  std::vector<std::array<int, 2>> k;
  Keys() {
    Random r(12345);
    k.resize(kKeys);
    // Grid-like keys as the geometry code uses: vertex pairs, cell coordinates.
    for (auto& key : k) key = {r.Next() * 32 + (r.Next() & 31), r.Next()};
  }
};
const Keys& TheKeys() {
  static Keys keys;
  return keys;
}

struct PairHash {
  size_t operator()(uint64_t v) const { return std::hash<uint64_t>()(v); }
};
uint64_t Pack(const std::array<int, 2>& k) { return (uint64_t)(uint32_t)k[0] << 32 | (uint32_t)k[1]; }

void BM_UniHashInsert(benchmark::State& state) {
  const auto& keys = TheKeys().k;
  for (auto _ : state) {
    uni_hash<2, int> h(1 << 20);
    for (int i = 0; i < kKeys; i++) h.add_first(keys[i], i);
    benchmark::DoNotOptimize(h.size());
  }
  state.SetItemsProcessed(state.iterations() * kKeys);
}

// The appending add walks the chain to its end.
void BM_UniHashAppend(benchmark::State& state) {
  const auto& keys = TheKeys().k;
  for (auto _ : state) {
    uni_hash<2, int> h(1 << 20);
    for (int i = 0; i < kKeys; i++) h.add(keys[i], i);
    benchmark::DoNotOptimize(h.size());
  }
  state.SetItemsProcessed(state.iterations() * kKeys);
}

void BM_UnorderedMultimapInsert(benchmark::State& state) {
  const auto& keys = TheKeys().k;
  for (auto _ : state) {
    std::unordered_multimap<uint64_t, int, PairHash> m;
    m.reserve(1 << 20);
    for (int i = 0; i < kKeys; i++) m.emplace(Pack(keys[i]), i);
    benchmark::DoNotOptimize(m.size());
  }
  state.SetItemsProcessed(state.iterations() * kKeys);
}

void BM_UniHashLookup(benchmark::State& state) {
  const auto& keys = TheKeys().k;
  uni_hash<2, int> h(1 << 20);
  for (int i = 0; i < kKeys; i++) h.add_first(keys[i], i);
  for (auto _ : state) {
    long long sum = 0;
    for (int i = 0; i < kKeys; i++) sum += *h.get(keys[i]);
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kKeys);
}

void BM_UnorderedMultimapLookup(benchmark::State& state) {
  const auto& keys = TheKeys().k;
  std::unordered_multimap<uint64_t, int, PairHash> m;
  m.reserve(1 << 20);
  for (int i = 0; i < kKeys; i++) m.emplace(Pack(keys[i]), i);
  for (auto _ : state) {
    long long sum = 0;
    for (int i = 0; i < kKeys; i++) sum += m.find(Pack(keys[i]))->second;
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kKeys);
}
}  // namespace

BENCHMARK(BM_UniHashInsert)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_UniHashAppend)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_UnorderedMultimapInsert)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_UniHashLookup)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_UnorderedMultimapLookup)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
