// The object tools of the voxel room: the sketch's solid merged into an empty
// volume with and without the early-out of uniform cells, the text relief of
// a word, and the logo relief of the shipped picture, each from its input to
// the mesh or the cells.
#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>

#include "BenchSheet.h"
#include "ClassEngine/DataFolder.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/objects/LogoRelief.h"
#include "MC/objects/SketchSolid.h"
#include "MC/objects/TextRelief.h"
#include "interchange/IO.h"
#include "interchange/Mesh.h"

namespace {

// A disk, a box and a wedge of 201 x 187 pixels, spread over `size` voxels.
void Views(SketchView views[3], float size) {
  for (int s = 0; s < 3; ++s) {
    comms::cImage p;
    p.Create(201, 187, 1);
    for (int y = 0; y < p.height; ++y)
      for (int x = 0; x < p.width; ++x) {
        const bool in = s == 0   ? std::hypot(x - 90.f, y - 100.f) < 70
                        : s == 1 ? (x > 30 && x < 160 && y > 20 && y < 170)
                                 : (x > 20 && y > 15 && x + y < 300);
        p.data[size_t(y) * p.width + x] = in ? 255 : 0;
      }
    SketchValues(p, 6, size / 201.f, views[s]);
    const float centre[3] = {0, 0, 0};
    PlaceSketchView(views[s], s, centre, size);
  }
}

void BM_SketchSolid(benchmark::State& state) {
  TwoThreads();
  const float size = float(state.range(0));
  SketchView views[3];
  Views(views, size);
  SketchParams params;
  params.EarlyOut = state.range(1) != 0;
  const float lo[3] = {-size / 2 - 4, -size / 2 - 4, -size / 2 - 4}, hi[3] = {size / 2 + 4, size / 2 + 4, size / 2 + 4};
  for (auto _ : state) {
    state.PauseTiming();
    auto volume = std::make_unique<VolumeObject>();
    state.ResumeTiming();
    benchmark::DoNotOptimize(MergeSketch(*volume, {&views[0], &views[1], &views[2]}, lo, hi, params));
    state.PauseTiming();
    volume.reset();
    state.ResumeTiming();
  }
}
BENCHMARK(BM_SketchSolid)
    ->Args({100, 1})
    ->Args({100, 0})
    ->Args({200, 1})
    ->Args({200, 0})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

void BM_TextSlab(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(TextSlab("Morvane @ 2026", 10, nullptr));
}
BENCHMARK(BM_TextSlab)->Unit(benchmark::kMillisecond);

void BM_LogoSlab(benchmark::State& state) {
  comms::cImage picture;
  comms::cIO::LoadImage(comms::DataFilePath("ToolsPresets/LogoSample.bmp"), picture);
  for (auto _ : state) benchmark::DoNotOptimize(LogoSlab(picture));
}
BENCHMARK(BM_LogoSlab)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
