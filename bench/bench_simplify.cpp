// The simplifier on a voxel sphere's welded surface: build, a 90 % reduction
// and extraction, in triangles of input a second, with one and two threads
// for the cost passes.
#include <benchmark/benchmark.h>

#include "ClassEngine/Log.h"
#include "SimplifyBench.h"
#include "interchange/Mesh.h"
#include "topology/simplify/HalfEdgeMesh.h"

namespace {

void BM_Simplify90(benchmark::State& state) {
  const WeldedMeshBuilder& sphere = SphereSurface(float(state.range(0)));
  int left = 0;
  for (auto _ : state) {
    HalfEdgeMesh m;
    m.Threads = int(state.range(1));
    m.Progress = [](const char*, int64_t, int64_t) { return false; };
    m.AddSurface(sphere);
    m.Build();
    float ratio = 0.9f;
    m.Simplify(ratio, false);
    comms::cMesh out;
    m.Extract(out);
    left = out.PolygonCount();
  }
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
