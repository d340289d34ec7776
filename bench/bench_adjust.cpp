// Voxel adjust tools: one frame of a transpose drag over about a million
// selected surface vertices (the whole surface of a sphere 460 voxels
// across): the blend of the gizmo's matrices alone, with one and two
// matrices, then blend and write-back into the cells' surfaces with the
// render groups rebuilt; 1 and 2 threads.
#include <benchmark/benchmark.h>

#include <cmath>

#include "ClassEngine/Threader.h"
#include "MC/adjust/TransposeSet.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"

namespace {

struct Scene {
  VolumeObject Volume;
  TransposeSet Selection;
};

Scene& Selected() {
  static Scene* s = [] {
    auto* scene = new Scene;
    FillVolume(scene->Volume, SphereShape(0, 0, 0, 230.f));
    scene->Volume.UpdateSurface();
    // Strength falls from the top of the sphere to its bottom.
    scene->Selection.SelectWhere(scene->Volume, [](const float* p) { return 0.5f + p[1] / 460.f; });
    return scene;
  }();
  return *s;
}

// A turn of `degrees` about y through the origin, reaching out along +y.
TransposeMatrix Turn(float degrees, float centreY, float normalY) {
  TransposeMatrix m;
  const float a = degrees * 3.14159265f / 180.f, c = std::cos(a), s = std::sin(a);
  const float rows[16] = {c, 0, -s, 0, 0, 1, 0, 0, s, 0, c, 0, 0, 5, 0, 1};
  for (int i = 0; i < 16; ++i) m.M[i] = rows[i];
  m.Centre[0] = m.Centre[2] = 0, m.Centre[1] = centreY;
  m.Normal[0] = m.Normal[2] = 0, m.Normal[1] = normalY;
  return m;
}

void BM_TransposeBlend(benchmark::State& state) {
  Scene& s = Selected();
  const int threads = (int)state.range(0), count = (int)state.range(1);
  const TransposeMatrix m[2] = {Turn(20.f, 100.f, 1.f), Turn(-10.f, -100.f, -1.f)};
  for (auto _ : state) {
    s.Selection.Blend(m, count, threads);
    benchmark::DoNotOptimize(s.Selection.Links.data());
  }
  state.counters["vertices"] = (double)s.Selection.Links.size();
  state.SetItemsProcessed(state.iterations() * (int64_t)s.Selection.Links.size());
}
BENCHMARK(BM_TransposeBlend)->Args({1, 1})->Args({2, 1})->Args({1, 2})->Args({2, 2})->Unit(benchmark::kMillisecond);

void BM_TransposeDragFrame(benchmark::State& state) {
  Scene& s = Selected();
  ThreadOptions::MaxProcessorsToBeUsed = (int)state.range(0);
  ThreadOptions::UseMultiCore = state.range(0) != 1;
  float angle = 0;
  for (auto _ : state) {
    const TransposeMatrix m = Turn(angle += 0.5f, 100.f, 1.f);
    s.Selection.Blend(&m, 1, (int)state.range(0));
    s.Selection.WriteBack(s.Volume);
    s.Volume.UpdateSurface();
  }
  state.counters["vertices"] = (double)s.Selection.Links.size();
  state.SetItemsProcessed(state.iterations() * (int64_t)s.Selection.Links.size());
}
BENCHMARK(BM_TransposeDragFrame)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
