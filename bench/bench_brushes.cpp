// Voxel brushes: milliseconds from one carve dab to updated render groups,
// and stroke samples per second, for pen radii of 10, 40 and 100 voxels on a
// sphere 400 voxels across, with 2 threads.
#include <benchmark/benchmark.h>

#include <cmath>

#include "BrushBench.h"
#include "ClassEngine/Threader.h"
#include "MC/brushes/VoxelStroke.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "paint/GeneralPen.h"
#include "paint/PenShapes.h"

namespace {
constexpr float kSphere = 200.f;

VolumeObject& Sphere() { return SphereVolume(kSphere); }

PenPoint Top(float x, float radius) {
  PenPoint p;
  p.P[0] = x, p.P[2] = std::sqrt(kSphere * kSphere - x * x);
  p.N[0] = x / kSphere, p.N[2] = p.P[2] / kSphere;
  p.Radius = radius;
  return p;
}

void SetUp() { BrushBenchSetUp(); }

// One click of the carve tool, then the frame's surface update.
void BM_DabToRenderGroups(benchmark::State& state) {
  SetUp();
  VolumeObject& v = Sphere();
  VoxelBrushSettings settings;
  VoxelSculptStroke stroke(settings);
  stroke.Tool = SCULPT_CARVE;
  stroke.Threads = 2;
  const float r = (float)state.range(0);
  for (auto _ : state) {
    // A dab inside a stroke: the box tree waits for pen-up, as in the window.
    v.SkipBoundsThisUpdate = true;
    stroke.Begin(v, Top(0, r), 1);
    stroke.End();
    v.UpdateSurface();
    state.PauseTiming();
    v.SkipBoundsThisUpdate = false;
    v.RestoreUndoCopies();
    v.UpdateSurface();
    state.ResumeTiming();
  }
}
BENCHMARK(BM_DabToRenderGroups)->Arg(10)->Arg(40)->Arg(100)->Arg(200)->Unit(benchmark::kMillisecond)->UseRealTime();

// A frame's drag of one radius: its samples and their operations.
void BM_StrokeSamples(benchmark::State& state) {
  SetUp();
  VolumeObject& v = Sphere();
  VoxelBrushSettings settings;
  VoxelSculptStroke stroke(settings);
  stroke.Tool = SCULPT_CARVE;
  stroke.Threads = 2;
  const float r = (float)state.range(0);
  int64_t samples = 0;
  for (auto _ : state) {
    stroke.Begin(v, Top(-r / 2, r), 1);
    stroke.MoveTo(Top(r / 2, r));
    samples += (int64_t)stroke.LastSamples().size();
    stroke.End();
    v.UpdateSurface();
    state.PauseTiming();
    v.RestoreUndoCopies();
    v.UpdateSurface();
    state.ResumeTiming();
  }
  state.counters["samples/s"] = benchmark::Counter((double)samples, benchmark::Counter::kIsRate);
}
BENCHMARK(BM_StrokeSamples)->Arg(10)->Arg(40)->Arg(100)->Arg(200)->Unit(benchmark::kMillisecond)->UseRealTime();
}  // namespace

BENCHMARK_MAIN();
