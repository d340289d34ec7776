// Runs a fuzz target without libFuzzer: every file of the seed corpus as it
// is, then a fixed number of seeded mutations of each (bit flips, truncations,
// inserted bytes, overwritten lengths) and of random data. The same inputs on
// every run, so a failure repeats.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "ClassEngine/Random.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {
using Bytes = std::vector<uint8_t>;

Bytes Mutate(const Bytes& seed, Random& rng) {
  Bytes b = seed;
  int edits = 1 + rng.Next() % 8;
  for (int e = 0; e < edits; e++) {
    switch (rng.Next() % 5) {
      case 0:
        if (!b.empty()) b[rng.Next() % b.size()] ^= (uint8_t)(1u << (rng.Next() % 8));
        break;
      case 1:
        if (!b.empty()) b.resize(rng.Next() % b.size());
        break;
      case 2:
        b.insert(b.begin() + (b.empty() ? 0 : rng.Next() % (b.size() + 1)), (uint8_t)rng.Next());
        break;
      case 3:  // a large number where a count or length may be
        if (b.size() >= 4) {
          size_t at = rng.Next() % (b.size() - 3);
          uint32_t v = rng.Next() % 2 ? 0xffffffffu : (uint32_t)rng.Next() << 16;
          for (int k = 0; k < 4; k++) b[at + k] = (uint8_t)(v >> (8 * k));
        }
        break;
      default:
        if (!b.empty()) b[rng.Next() % b.size()] = (uint8_t)rng.Next();
        break;
    }
  }
  return b;
}
}  // namespace

int main(int argc, char** argv) {
  std::vector<Bytes> seeds;
  for (int i = 1; i < argc; i++) {
    std::filesystem::path dir(argv[i]);
    if (!std::filesystem::is_directory(dir)) continue;
    for (const auto& entry : std::filesystem::directory_iterator(dir)) {
      std::ifstream in(entry.path(), std::ios::binary);
      seeds.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
  }
  Random rng(12345);
  seeds.push_back({});
  for (int i = 0; i < 8; i++) {
    Bytes noise(1 + rng.Next() % 512);
    for (uint8_t& c : noise) c = (uint8_t)rng.Next();
    seeds.push_back(noise);
  }
  long runs = 0;
  for (const Bytes& s : seeds) {
    LLVMFuzzerTestOneInput(s.data(), s.size());
    runs++;
    for (int m = 0; m < 300; m++) {
      Bytes b = Mutate(s, rng);
      LLVMFuzzerTestOneInput(b.data(), b.size());
      runs++;
    }
  }
  printf("%ld inputs replayed without a crash\n", runs);
  return 0;
}
