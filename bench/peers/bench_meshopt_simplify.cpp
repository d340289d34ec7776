// Our simplifier against meshopt_simplify on the same input in the same run:
// the welded surface of a voxel sphere of about a million triangles, reduced
// by 90 %. Both keep a subset of the input's vertices. Ours includes building
// its half-edge mesh and writing the neutral mesh out; meshoptimizer's takes
// the index list and gives one back. Prints the ratio after the benchmarks.
#include <benchmark/benchmark.h>
#include <meshoptimizer.h>

#include <cstdio>
#include <ctime>
#include <vector>

#include "SimplifyBench.h"

namespace {

struct Figures {
  double ms = 0;  // processor time of the whole process, per run
  int left = 0;
};
Figures ours1, ours2, meshopt;

double ProcessCpuMs() {
  timespec t;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return t.tv_sec * 1e3 + t.tv_nsec * 1e-6;
}

void Report(benchmark::State& state, Figures& f, double cpuStart, int input) {
  f.ms = (ProcessCpuMs() - cpuStart) / double(state.iterations());
  state.counters["left"] = f.left;
  state.counters["Mtri/s"] =
      benchmark::Counter(double(input) * 1e-6 * double(state.iterations()), benchmark::Counter::kIsRate);
}

void BM_Ours(benchmark::State& state) {
  const WeldedMeshBuilder& sphere = SphereSurface(kMillionTriangleRadius);
  Figures& f = state.range(0) == 1 ? ours1 : ours2;
  const double start = ProcessCpuMs();
  for (auto _ : state) f.left = SimplifyNinetyPercent(sphere, int(state.range(0)));
  Report(state, f, start, sphere.TriangleCount());
}

void BM_Meshopt(benchmark::State& state) {
  const WeldedMeshBuilder& sphere = SphereSurface(kMillionTriangleRadius);
  const double start = ProcessCpuMs();
  for (auto _ : state) {
    std::vector<unsigned> out(sphere.Indices.size());
    const size_t n = meshopt_simplify(out.data(), sphere.Indices.data(), sphere.Indices.size(), sphere.Positions.data(),
                                      size_t(sphere.VertexCount()), 12, sphere.Indices.size() / 10, 1.0f);
    meshopt.left = int(n / 3);
  }
  Report(state, meshopt, start, sphere.TriangleCount());
}

}  // namespace

BENCHMARK(BM_Ours)->Arg(1)->Arg(2)->Iterations(2)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Meshopt)->Iterations(2)->Unit(benchmark::kMillisecond)->UseRealTime();

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  const int input = SphereSurface(kMillionTriangleRadius).TriangleCount();
  printf("\n90 %% reduction of %d triangles, processor time of the whole process per run\n", input);
  printf("ours, 1 thread:  %8.0f ms, %d left\n", ours1.ms, ours1.left);
  printf("ours, 2 threads: %8.0f ms, %d left\n", ours2.ms, ours2.left);
  printf("meshopt:         %8.0f ms, %d left\n", meshopt.ms, meshopt.left);
  if (meshopt.ms > 0) printf("time ours (1 thread) / meshopt: %.2f\n", ours1.ms / meshopt.ms);
  return 0;
}
