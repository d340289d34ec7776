// Voxel engine timings: filling spheres from a signed distance, full surface
// extraction, and the per-frame incremental update after a ball-sized edit.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>

#include "ClassEngine/Threader.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"

namespace {
int CountTriangles(VolumeObject& v) {
  long long n = 0;
  v.Cells.ForEach([&](const CellKey&, VoxelCell*& c) {
    if (c->Surface) n += c->Surface->Indices.Count / 3;
  });
  return (int)n;
}

void MarkAllDirty(VolumeObject& v) {
  std::vector<CellKey> keys;
  v.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (c->Voxels) keys.push_back(k);
  });
  for (const CellKey& k : keys) v.MarkDirty(k.x, k.y, k.z, false);
}

// A spherical union brush as strokes apply it: whole cells, values computed at
// absolute lattice positions so shared planes agree, undo copies kept.
void UniteBall(VolumeObject& v, float cx, float cy, float cz, float r) {
  const int lo[3] = {(int)std::floor((cx - r - 3) / 8), (int)std::floor((cy - r - 3) / 8), (int)std::floor((cz - r - 3) / 8)};
  const int hi[3] = {(int)std::floor((cx + r + 3) / 8), (int)std::floor((cy + r + 3) / 8), (int)std::floor((cz + r + 3) / 8)};
  SphereShape ball(cx, cy, cz, r);
  for (int z = lo[2]; z <= hi[2]; ++z)
    for (int y = lo[1]; y <= hi[1]; ++y)
      for (int x = lo[0]; x <= hi[0]; ++x) {
        VoxelCell* c = v.GetCell(x, y, z, true, true);
        if (!c->Voxels && c->Fill == 65535) continue;
        c->EnsureVoxels(3, false);
        bool changed = false;
        for (int k = 0; k < 9; ++k)
          for (int j = 0; j < 9; ++j)
            for (int i = 0; i < 9; ++i) {
              const uint16_t d = EncodeDistance(ball.Distance(x * 8 + i, y * 8 + j, z * 8 + k), v.BandWidth);
              uint16_t& old = c->Voxels[LatticeIndex(i, j, k)];
              if (d > old) old = d, changed = true;
            }
        c->RefreshStatus(true, false);
        if (changed) v.MarkDirty(x, y, z, false);
      }
}

void BM_SphereFill(benchmark::State& state) {
  const float r = (float)state.range(0);
  for (auto _ : state) {
    VolumeObject v;
    FillVolume(v, SphereShape(0.5f, 0.25f, 0.125f, r));
    benchmark::DoNotOptimize(v.CellCount());
  }
}

// Re-extraction of every surface cell, as after a change that touches them all.
void BM_SphereExtract(benchmark::State& state) {
  const float r = (float)state.range(0);
  VolumeObject v;
  FillVolume(v, SphereShape(0.5f, 0.25f, 0.125f, r));
  v.UpdateSurface();  // the first extraction creates the surface records; time re-extraction
  int triangles = 0;
  for (auto _ : state) {
    state.PauseTiming();
    MarkAllDirty(v);
    state.ResumeTiming();
    v.UpdateSurface();
    triangles = CountTriangles(v);
  }
  state.counters["triangles"] = triangles;
  state.counters["Mtri/s"] = benchmark::Counter(triangles * 1e-6, benchmark::Counter::kIsIterationInvariantRate);
}

// A fresh volume: fill, then the first extraction (records and lists created).
void BM_SphereFillAndExtract(benchmark::State& state) {
  const float r = (float)state.range(0);
  int triangles = 0;
  for (auto _ : state) {
    VolumeObject v;
    FillVolume(v, SphereShape(0.5f, 0.25f, 0.125f, r));
    v.UpdateSurface();
    triangles = CountTriangles(v);
  }
  state.counters["triangles"] = triangles;
  state.counters["Mtri/s"] = benchmark::Counter(triangles * 1e-6, benchmark::Counter::kIsIterationInvariantRate);
}

// A ball of radius 32 added on the surface of a sphere of radius 200, then
// rolled back; each half is one frame's UpdateSurface.
void BM_IncrementalBallUpdate(benchmark::State& state) {
  VolumeObject v;
  FillVolume(v, SphereShape(0, 0, 0, 200));
  v.UpdateSurface();
  v.DropUndoCopies();
  const float s = 200.0f / std::sqrt(3.0f);
  bool add = true;
  int cells = 0;
  for (auto _ : state) {
    state.PauseTiming();
    if (add) {
      UniteBall(v, s, s, s, 32);
    } else {
      v.RestoreUndoCopies();
    }
    cells = v.DirtyCells.Count();
    add = !add;
    state.ResumeTiming();
    v.UpdateSurface();
  }
  state.counters["dirty cells"] = cells;
}
}  // namespace

BENCHMARK(BM_SphereFill)->Arg(100)->Arg(200)->Arg(400)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_SphereExtract)->Arg(100)->Arg(200)->Arg(400)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_SphereFillAndExtract)->Arg(100)->Arg(200)->Arg(400)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_IncrementalBallUpdate)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_MAIN();
