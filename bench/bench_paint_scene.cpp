// The paint scene at painter's sizes, on 2 threads: importing and preparing a
// 1M-face micro-vertex mesh (4 x 4 grid per face) and a 4096 x 4096 per-pixel
// map, recomposing 10 layers over every face and every tile, and pixel
// lookups inside one tile and across tiles. Memory of each scene is reported
// as the counter "MB".
#include <benchmark/benchmark.h>

#include <memory>

#include "bench/BenchSheet.h"
#include "ClassEngine/Log.h"
#include "ClassEngine/Threader.h"
#include "interchange/Mesh.h"
#include "paint/layers/ComposeFace.h"
#include "paint/layers/PixelMap.h"
#include "paint/scene/PaintScene.h"
#include "paint/scene/SceneImport.h"

namespace {

void PaintLayers(PaintScene& scene, int layers) {
  for (int l = 1; l <= layers - 1; l++) scene.NewLayer(false);
  scene.GetLayerByID(2)->ColorOp = ColorOps::Multiply;
  scene.GetLayerByID(3)->ColorOp = ColorOps::Overlay;
  scene.GetLayerByID(5)->ColorOp = ColorOps::Screen;
  scene.GetLayerByID(7)->DepthOp = DepthOps::LOP_MAXDEPTH;
}

void BM_ImportMicroVertex1M(benchmark::State& state) {
  TwoThreads();
  comms::cMesh mesh = Sheet(1000);
  DPSettings settings;
  settings.InitialSubdivision = 2;
  double mb = 0;
  for (auto _ : state) {
    auto scene = std::make_unique<PaintScene>();
    ImportMeshIntoScene(*scene, mesh, PaintImportMode::MicroVertex, settings);
    mb = scene->MemoryBytes() / 1048576.0;
    benchmark::DoNotOptimize(scene->Faces.data());
  }
  state.counters["MB"] = mb;
  state.counters["faces"] = 1e6;
}
BENCHMARK(BM_ImportMicroVertex1M)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ImportPerPixel4K(benchmark::State& state) {
  TwoThreads();
  comms::cMesh mesh = Sheet(64);
  DPSettings settings;
  double mb = 0;
  for (auto _ : state) {
    auto scene = std::make_unique<PaintScene>();
    scene->RtSizeX = scene->RtSizeY = 4096;
    ImportMeshIntoScene(*scene, mesh, PaintImportMode::PerPixel, settings);
    mb = scene->MemoryBytes() / 1048576.0;
    benchmark::DoNotOptimize(scene->Faces.data());
  }
  state.counters["MB"] = mb;
}
BENCHMARK(BM_ImportPerPixel4K)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

// 10 layers painted on every face of a 100k-face scene, all recomposed.
void BM_RecomposeFaces10Layers(benchmark::State& state) {
  TwoThreads();
  PaintScene scene;
  DPSettings settings;
  settings.InitialSubdivision = 2;
  ImportMeshIntoScene(scene, Sheet(316), PaintImportMode::MicroVertex, settings);
  PaintLayers(scene, 10);
  scene.ForEachFace(0, [&](int f) {
    for (int l = 1; l < 10; l++) {
      FaceLayer* fl = scene.GetFaceLayer(f, l, true);
      for (int i = 0; i < 16; i++) {
        fl->Data[i].Color = 0x00406080u + (uint32_t)(l * 0x10203 + i);
        fl->Data[i].Opacity = 0.1f * l;
        fl->Data[i].Offset = comms::cVec3(0, 0, 0.001f * l);
      }
    }
  });
  for (auto _ : state) scene.ForEachFace(0, [&](int f) { ComposeFace(scene, f); });
  state.counters["MB"] = scene.MemoryBytes() / 1048576.0;
  state.counters["faces"] = (double)scene.Faces.size();
  state.SetItemsProcessed(state.iterations() * (int64_t)scene.Faces.size());
}
BENCHMARK(BM_RecomposeFaces10Layers)->Unit(benchmark::kMillisecond)->UseRealTime();

// Every tile of a 4096 x 4096 map with 10 layers, composed, normals derived
// and links walked (no device).
void BM_RecomposeTiles4K10Layers(benchmark::State& state) {
  TwoThreads();
  PaintScene scene;
  scene.RtSizeX = scene.RtSizeY = 4096;
  ImportMeshIntoScene(scene, Sheet(64), PaintImportMode::PerPixel, DPSettings());
  PaintLayers(scene, 10);
  PixelMap* map = scene.GetPixelMap(0);
  for (auto& [key, tile] : map->Tiles)
    for (int l = 0; l < 10; l++) {
      LayerTile* lt = map->GetLayerTile(tile, l, true);
      for (int i = 0; i < kTilePixels; i++) {
        lt->Pixels[i].Color = 0x80406080u + (uint32_t)(l * 0x10203 + i);
        lt->Pixels[i].Depth = 0.01f * l;
        lt->Pixels[i].Specular = (uint8_t)(i + l);
      }
    }
  // depth:1 moves the top layer's depth before each pass, so every tile's
  // normals are derived again; depth:0 changes nothing that normals read (a
  // colour edit, a blend mode), and normals stay.
  const bool depthMoves = state.range(0) != 0;
  float lift = 0;
  for (auto _ : state) {
    state.PauseTiming();
    lift += 0.001f;
    for (auto& [key, tile] : map->Tiles) {
      if (depthMoves)
        if (LayerTile* top = tile->FindLayer(9))
          for (LayerPixel& p : top->Pixels) p.Depth = 0.09f + lift;
      map->MarkDirty(tile, 1);
    }
    state.ResumeTiming();
    map->Update();
  }
  state.counters["MB"] = scene.MemoryBytes() / 1048576.0;
  state.counters["tiles"] = (double)map->Tiles.size();
}
BENCHMARK(BM_RecomposeTiles4K10Layers)->Arg(1)->Arg(0)->ArgNames({"depth"})->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

// One tile of 10 layers composed on one thread: the cost of a layer pixel,
// with three blend modes among them (mixed:1) or all normal blend (mixed:0).
void BM_ComposeOneTile10Layers(benchmark::State& state) {
  PaintScene scene;
  PaintLayers(scene, 10);
  if (state.range(0) == 0)
    for (OneLayerInfo* l : scene.Layers) l->ColorOp = ColorOps::LOP_STANDART_BLEND, l->DepthOp = 0;
  PixelMap map(&scene, 64, 64);
  PixelTile* tile = map.GetTile(1, 1);
  for (int l = 0; l < 10; l++) {
    LayerTile* lt = map.GetLayerTile(tile, l, true);
    for (int i = 0; i < kTilePixels; i++) lt->Pixels[i].Color = 0x80406080u + (uint32_t)(l * 0x10203 + i);
  }
  for (auto _ : state) {
    map.ComposeTile(tile);
    benchmark::DoNotOptimize(tile->Pixels[7].Color);
  }
  state.SetItemsProcessed(state.iterations() * kTilePixels * 10);
}
BENCHMARK(BM_ComposeOneTile10Layers)->Arg(1)->Arg(0)->ArgNames({"mixed"});

// Normals from depth for one tile whose neighbours exist.
void BM_NormalsOneTile(benchmark::State& state) {
  PaintScene scene;
  PixelMap map(&scene, 64, 64);
  for (int ty = 0; ty < 4; ty++)
    for (int tx = 0; tx < 4; tx++) {
      PixelTile* t = map.GetTile(tx, ty);
      for (int i = 0; i < kTilePixels; i++) {
        t->Pixels[i].SetBits(kPixelOnMesh, 0, 0);
        t->Pixels[i].Width = t->Pixels[i].Height = 0.01f;
        t->Pixels[i].Depth = 0.001f * (i % 7);
      }
    }
  PixelTile* tile = map.FindTile(1, 1);
  for (auto _ : state) {
    map.ComputeTileNormals(tile);
    benchmark::DoNotOptimize(tile->Pixels[7].NormalX);
  }
  state.SetItemsProcessed(state.iterations() * kTilePixels);
}
BENCHMARK(BM_NormalsOneTile);

void BM_FetchPixel(benchmark::State& state) {
  const bool across = state.range(0) != 0;
  PaintScene scene;
  PixelMap map(&scene, 4096, 4096);
  PixelCursor c;
  for (int y = 0; y < 4096; y += 16)
    for (int x = 0; x < 4096; x += 16) map.FetchPixel(c, x, y, true, false, false);
  uint32_t sum = 0;
  int64_t n = 0;
  for (auto _ : state) {
    for (int i = 0; i < 4096; i++) {
      // In-tile: a run along one tile's row; across: each step jumps a tile.
      int x = across ? (i * 16 + 3) : (i & 15), y = across ? (i * 37) & 4095 : 5;
      map.FetchPixel(c, x, y, false, false, false);
      sum += c.Pixel().Color;
    }
    n += 4096;
  }
  benchmark::DoNotOptimize(sum);
  state.SetItemsProcessed(n);
}
BENCHMARK(BM_FetchPixel)->Arg(0)->Arg(1)->ArgNames({"across"});

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
