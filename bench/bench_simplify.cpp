// The simplifier on a voxel sphere's welded surface: build, a 90 % reduction
// and extraction, in triangles of input a second, with one and two threads
// for the cost passes.
#include <benchmark/benchmark.h>

#include "ClassEngine/Log.h"
#include "SimplifyBench.h"

namespace {

void BM_Simplify90(benchmark::State& state) {
  const WeldedMeshBuilder& sphere = SphereSurface(float(state.range(0)));
  int left = 0;
  for (auto _ : state) left = SimplifyNinetyPercent(sphere, int(state.range(1)));
  state.counters["triangles"] = sphere.TriangleCount();
  state.counters["left"] = left;
  state.counters["tris/s"] =
      benchmark::Counter(double(sphere.TriangleCount()) * double(state.iterations()), benchmark::Counter::kIsRate);
}

}  // namespace

BENCHMARK(BM_Simplify90)
    ->Args({40, 1})
    ->Args({int(kMillionTriangleRadius), 1})
    ->Args({int(kMillionTriangleRadius), 2})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1);
BENCHMARK_MAIN();
