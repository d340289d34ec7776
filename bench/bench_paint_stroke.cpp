// One dab, from the pen to composed and staged tiles, on 2 threads: a 4096 x
// 4096 per-pixel target with 4 layers, and a 1M-micro-vertex scene (65,536
// faces of 4 x 4 samples). Pen radii of 16, 64 and 256 pixels (per-pixel: of
// the 4096 map; micro-vertex: samples, 1,024 across the sheet). Each
// iteration is the next dab of one continuous stroke round a circle, so
// backups, layer tiles and the lattice see a moving pen. "samples/s" counts
// the samples measured against the pen.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>

#include "bench/BenchSheet.h"
#include "paint/GeneralPen.h"
#include "paint/PenShapes.h"
#include "paint/layers/PixelMap.h"
#include "paint/scene/FaceBatches.h"
#include "paint/scene/PaintScene.h"
#include "paint/scene/SceneImport.h"
#include "paint/stroke/ApplyStroke.h"
#include "paint/stroke/PaintSample.h"

namespace {

using comms::cVec3;

// A dab from `from` to `to` (world) looking down on the sheet.
StrokeFrame Dab(const PaintScene& s, const cVec3& from, const cVec3& to, float radius) {
  StrokeFrame f;
  f.SetSegment(from * s.UnitScale, to * s.UnitScale, radius * s.UnitScale, radius * s.UnitScale);
  f.PenRadius = radius * s.UnitScale;
  f.SetStrokeMode(kStrokeConstant);
  f.AxisZ = f.ViewDir = cVec3(0, 0, -1);
  f.DabColor[0] = 0.8f, f.DabColor[1] = 0.3f, f.DabColor[2] = 0.1f;
  return f;
}

// The sheet's face under (x, y) of the unit square, n quads a side.
int FaceAt(int n, const cVec3& p) {
  const int fx = std::clamp((int)(p.x * n), 0, n - 1), fy = std::clamp((int)(p.y * n), 0, n - 1);
  return fy * n + fx;
}

struct PenSetup {
  GeneralPenSaver saved;
  SimplePen shape;
  PenSetup() {
    GeneralPen::Reset();
    GeneralPen::DeepDegree = 0.05f;
    GeneralPen::ColorOpacity = 0.7f;
    GeneralPen::SpecularDegree = 0.5f;
  }
};

// Runs dabs round a circle of the sheet; `finish` composes and stages.
void RunDabs(benchmark::State& state, PaintScene& scene, int n, float radius, const std::function<void()>& finish) {
  PenSetup pen;
  PaintStroke stroke(scene);
  stroke.Pen = &pen.shape;
  stroke.Begin();
  const PaintSample paint;
  const float step = radius * 0.25f;  // a dab every quarter radius, as spacing 4 gives
  float angle = 0;
  cVec3 last(0.5f + 0.3f, 0.5f, 0.001f);
  int64_t samples = 0;
  for (auto _ : state) {
    angle += step / 0.3f;
    const cVec3 p(0.5f + 0.3f * std::cos(angle), 0.5f + 0.3f * std::sin(angle), 0.001f);
    stroke.ApplyStroke(paint, Dab(scene, last, p, radius), FaceAt(n, p));
    finish();
    samples += stroke.LastSamples;
    last = p;
    // A painter's stroke is some hundred dabs; the undo copies start over.
    if (state.iterations() % 200 == 199) stroke.Begin();
  }
  stroke.End();
  state.counters["samples/s"] = benchmark::Counter((double)samples, benchmark::Counter::kIsRate);
  state.counters["samples/dab"] = (double)samples / std::max<int64_t>(1, state.iterations());
}

PaintScene* PerPixelScene() {
  static std::unique_ptr<PaintScene> scene;
  if (scene) return scene.get();
  TwoThreads();
  scene = std::make_unique<PaintScene>();
  scene->RtSizeX = scene->RtSizeY = 4096;
  ImportMeshIntoScene(*scene, Sheet(64), PaintImportMode::PerPixel, DPSettings());
  // Four layers, each painted over the stroke's circle so its tiles exist.
  PenSetup pen;
  for (int l = 1; l < 4; l++) {
    scene->NewLayer(true);
    PaintStroke stroke(*scene);
    stroke.Begin();
    for (int k = 0; k < 16; k++) {
      const float a = k * 0.3927f;
      const cVec3 p(0.5f + 0.3f * std::cos(a), 0.5f + 0.3f * std::sin(a), 0.001f);
      stroke.ApplyStroke(PaintSample(), Dab(*scene, p, p, 0.09f), FaceAt(64, p));
    }
    stroke.End();
  }
  scene->GetPixelMap(0)->Update();
  return scene.get();
}

void BM_DabPerPixel4K4Layers(benchmark::State& state) {
  TwoThreads();
  PaintScene& scene = *PerPixelScene();
  PixelMap* map = scene.GetPixelMap(0);
  size_t staged = 0;
  // The staged texels are built by Update; with no device they stop here.
  const TileUploader upload = [&](const std::vector<PixelTile*>& tiles, const std::vector<uint32_t>&,
                                  const std::vector<uint32_t>&, bool) { staged += tiles.size(); };
  RunDabs(state, scene, 64, (float)state.range(0) / 4096.0f, [&] { map->Update(upload); });
  state.counters["tiles/dab"] = (double)staged / std::max<int64_t>(1, state.iterations());
}
BENCHMARK(BM_DabPerPixel4K4Layers)->Arg(16)->Arg(64)->Arg(256)->Unit(benchmark::kMillisecond)->UseRealTime();

PaintScene* MicroVertexScene() {
  static std::unique_ptr<PaintScene> scene;
  if (scene) return scene.get();
  TwoThreads();
  scene = std::make_unique<PaintScene>();
  DPSettings settings;
  settings.InitialSubdivision = 2;
  ImportMeshIntoScene(*scene, Sheet(256), PaintImportMode::MicroVertex, settings);
  scene->NewLayer(true);
  return scene.get();
}

void BM_DabMicroVertex1M(benchmark::State& state) {
  TwoThreads();
  PaintScene& scene = *MicroVertexScene();
  // The redraw of the dirty faces: batches are built; no device draws them.
  RunDabs(state, scene, 256, (float)state.range(0) / 1024.0f,
          [&] { UpdateDirtyFaces(scene, true, -1, FaceBatchDrawer()); });
}
BENCHMARK(BM_DabMicroVertex1M)->Arg(16)->Arg(64)->Arg(256)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
