// Surface mode: milliseconds from one surface-tool dab (the welded patch
// around the pen, the vertex rule, the write-back with undo copies) to
// updated render groups, for pen radii of 20, 40 and 100 voxels on a sphere
// of about two million triangles, and the same dab outside surface mode,
// where pen-up writes the moved surface into the voxels.
#include <benchmark/benchmark.h>

#include <cmath>

#include "BrushBench.h"
#include "ClassEngine/Threader.h"
#include "MC/brushes/VoxelStroke.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/mcubes/WeldedMesh.h"
#include "paint/GeneralPen.h"
#include "paint/PenShapes.h"

namespace {
constexpr float kSphere = 260.f;

VolumeObject& Sphere() { return SphereVolume(kSphere); }

int64_t Triangles(VolumeObject& v) {
  int64_t n = 0;
  v.Cells.ForEach([&](const CellKey&, VoxelCell*& c) {
    if (c->Surface) n += c->Surface->Indices.Count / 3;
  });
  return n;
}

PenPoint Top(float radius) {
  PenPoint p;
  p.P[2] = kSphere;
  p.N[2] = 1;
  p.Radius = radius;
  return p;
}

void SetUp() { BrushBenchSetUp(); }

void Dab(benchmark::State& state, int tool, bool surfaceMode) {
  SetUp();
  VolumeObject& v = Sphere();
  v.SurfaceMode = surfaceMode;
  VoxelBrushSettings settings;
  VoxelSculptStroke stroke(settings);
  stroke.Tool = tool;
  stroke.Threads = 2;
  const float r = (float)state.range(0);
  for (auto _ : state) {
    v.SkipBoundsThisUpdate = true;
    stroke.Begin(v, Top(r), 1);
    stroke.End();
    v.UpdateSurface();
    state.PauseTiming();
    v.SkipBoundsThisUpdate = false;
    v.RestoreUndoCopies();
    v.SurfaceChanged = false;
    v.UpdateSurface();
    state.ResumeTiming();
  }
  v.SurfaceMode = false;
  state.counters["triangles"] = (double)Triangles(v);
}

// One dab of the surface draw tool in a volume in surface mode.
void BM_SurfaceDrawDab(benchmark::State& state) { Dab(state, SCULPT_DRAW, true); }
// One dab of the plane tool (patch, plane fit, pull) in surface mode.
void BM_SurfacePlaneDab(benchmark::State& state) { Dab(state, SCULP_PLANE2, true); }
// One click of the draw tool outside surface mode: the dab and ApplyMC at pen-up.
void BM_SurfaceDrawClickIntoVoxels(benchmark::State& state) { Dab(state, SCULPT_DRAW, false); }

}  // namespace

BENCHMARK(BM_SurfaceDrawDab)->Arg(20)->Arg(40)->Arg(100)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SurfacePlaneDab)->Arg(20)->Arg(40)->Arg(100)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SurfaceDrawClickIntoVoxels)->Arg(20)->Arg(40)->Arg(100)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
