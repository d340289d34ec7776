// While a stroke paints a per-pixel map, each composed tile keeps the blend
// of the layers under the current one. A stroke over two painted layers that
// changes something under it halfway (a lower layer's opacity, blend mode,
// visibility or depth rows, a new, deleted or moved layer, a layer command on
// a lower layer's pixels, undo and redo of a lower layer's stroke) must leave
// the same tiles, layer pixels and staged words as the same stroke composed
// from the first layer every time.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <vector>

#include "PaintMeshes.h"
#include "paint/GeneralPen.h"
#include "paint/PenShapes.h"
#include "paint/layers/LayerOps.h"
#include "paint/layers/OneLayerInfo.h"
#include "paint/layers/PixelMap.h"
#include "paint/layers/UnderBlend.h"
#include "paint/stroke/ApplyStroke.h"
#include "paint/stroke/PaintSample.h"
#include "paint/undo/PaintStrokeUndo.h"
#include "paint/undo/UndoStack.h"
#include "paint/undo/UndoTestFolder.h"

using comms::cVec3;

namespace {

StrokeFrame DabAt(const PaintScene& s, const cVec3& to, const cVec3& from, float radius) {
  StrokeFrame f;
  f.SetSegment(from * s.UnitScale, to * s.UnitScale, radius * s.UnitScale, radius * s.UnitScale);
  f.PenRadius = radius * s.UnitScale;
  f.SetStrokeMode(kStrokeConstant);
  f.AxisX = cVec3(1, 0, 0), f.AxisY = cVec3(0, 1, 0), f.AxisZ = cVec3(0, 0, -1);
  f.ViewDir = cVec3(0, 0, -1);
  return f;
}

int SheetFace(float x, float y) {
  return std::clamp((int)std::floor(y), 0, 5) * 8 + std::clamp((int)std::floor(x), 0, 7);
}

// What a change does between two dabs of the stroke on the top layer; ids
// are the two painted layers under it, bottom first.
using Change = std::function<void(PaintScene& scene, UndoStack& stack, int lower, int upper)>;

struct Picture {
  std::vector<uint8_t> Bytes;
  int KeptTiles = 0;  // tiles with a good kept blend before the change
};

// Two painted layers, then a stroke of 12 dabs on a third over both, with
// `change` after the sixth. With `keep` off the map's kept blends are
// turned off before every update, so each tile composes from its first layer.
Picture PaintOver(bool keep, const Change& change) {
  GeneralPenSaver saved;
  GeneralPen::Reset();
  GeneralPen::DrawColor = GeneralPen::DrawSpecular = true;
  GeneralPen::DeepDegree = 0.3f;
  GeneralPen::SpecularDegree = 0.6f;
  GeneralPen::ColorOpacity = 0.7f;
  UndoTestFolder folder;
  UndoStack stack{folder.Path};
  stack.FreeBytes = [] { return (int64_t)1 << 40; };
  PaintScene scene;
  stack.RegisterUndoMaker(std::make_unique<SurfaceUndo>(stack, scene));
  stack.RegisterUndoMaker(std::make_unique<PlanePicUndo>(stack, scene));
  scene.RtSizeX = scene.RtSizeY = 256;
  EXPECT_TRUE(ImportMeshIntoScene(scene, paintmeshes::Sheet(8, 6), PaintImportMode::PerPixel,
                                  paintmeshes::Grid(3)).ok);
  PixelMap* map = scene.GetPixelMap(0);
  SimplePen shape;
  int ids[2];
  // The upper layer takes two strokes, so that undo of the second leaves
  // paint in the tiles it brings back.
  for (int k = 0; k < 3; k++) {
    if (k < 2) ids[k] = scene.NewLayer(true);
    GeneralPen::Color[0] = k ? 0.2f : 0.9f, GeneralPen::Color[1] = k == 2 ? 0.1f : 0.5f,
    GeneralPen::Color[2] = k ? 0.8f : 0.1f;
    PaintStroke stroke(scene);
    stroke.Pen = &shape;
    stroke.OnEnd = [&](PaintStroke& s) { PushPaintStrokeUndo(stack, scene, s); };
    stroke.Begin();
    for (int i = 0; i < 8; i++) {
      const cVec3 p(1.0f + 0.8f * i, k == 1 ? 2.0f + 0.25f * i : 4.0f - 0.25f * i + 0.3f * k, 0);
      stroke.ApplyStroke(PaintSample(), DabAt(scene, p, p, 1.1f), SheetFace(p.x, p.y));
    }
    stroke.End();
    map->Update();
  }
  scene.NewLayer(true);
  GeneralPen::Color[0] = 0.3f, GeneralPen::Color[1] = 0.9f, GeneralPen::Color[2] = 0.4f;
  Picture out;
  auto add = [&](const void* p, size_t n) {
    out.Bytes.insert(out.Bytes.end(), (const uint8_t*)p, (const uint8_t*)p + n);
  };
  const TileUploader upload = [&](const std::vector<PixelTile*>& tiles, const std::vector<uint32_t>& colour,
                                  const std::vector<uint32_t>& normal, bool) {
    for (const PixelTile* t : tiles) add(&t->X, sizeof t->X), add(&t->Y, sizeof t->Y);
    add(colour.data(), colour.size() * sizeof(uint32_t));
    add(normal.data(), normal.size() * sizeof(uint32_t));
  };
  PaintStroke stroke(scene);
  stroke.Pen = &shape;
  stroke.Begin();
  cVec3 last(1.0f, 3.0f, 0);
  for (int i = 0; i < 12; i++) {
    const cVec3 p(1.0f + 0.55f * i, 3.0f + 0.8f * std::sin(i * 0.6f), 0);
    stroke.ApplyStroke(PaintSample(), DabAt(scene, p, last, 1.0f), SheetFace(p.x, p.y));
    if (!keep) map->KeepUnderBlends(false);
    map->Update(upload);
    last = p;
    if (i == 5) {
      for (const auto& [key, tile] : map->Tiles) out.KeptTiles += tile->Under && tile->Under->Generation != 0;
      if (change) change(scene, stack, ids[0], ids[1]);
    }
  }
  stroke.End();
  std::vector<uint32_t> keys;
  for (const auto& [key, tile] : map->Tiles) keys.push_back(key);
  std::sort(keys.begin(), keys.end());
  for (uint32_t k : keys) {
    const PixelTile* t = map->Tiles.at(k);
    add(&k, sizeof k);
    add(t->Pixels, sizeof t->Pixels);
    for (const LayerTile* l : t->LayerTiles) add(&l->LayerID, sizeof l->LayerID), add(l->Pixels, sizeof l->Pixels);
  }
  return out;
}

// The stroke with and without kept blends gives the same bytes, and the
// change shows in them.
void ExpectSameBytes(const Change& change, const std::vector<uint8_t>& unchanged, int line = __builtin_LINE()) {
  SCOPED_TRACE(line);
  const Picture kept = PaintOver(true, change), fresh = PaintOver(false, change);
  ASSERT_FALSE(kept.Bytes.empty());
  EXPECT_GT(kept.KeptTiles, 0);  // the kept road was taken before the change
  EXPECT_TRUE(kept.Bytes == fresh.Bytes);
  EXPECT_FALSE(kept.Bytes == unchanged);  // the change is visible, so the test can fail
}

OneLayerInfo* Info(PaintScene& scene, int id) { return scene.GetLayerByID(id); }

TEST(KeptUnderBlend, AStrokeOverPaintedLayersGivesTheSameBytes) {
  const Picture kept = PaintOver(true, nullptr), fresh = PaintOver(false, nullptr);
  EXPECT_GT(kept.KeptTiles, 0);
  EXPECT_EQ(fresh.KeptTiles, 0);
  EXPECT_TRUE(kept.Bytes == fresh.Bytes);
}

TEST(KeptUnderBlend, LowerLayerRowsChangedMidStroke) {
  const std::vector<uint8_t> unchanged = PaintOver(true, nullptr).Bytes;
  ExpectSameBytes([](PaintScene& s, UndoStack&, int lower, int) { Info(s, lower)->ColorTransparency = 0.35f; },
                  unchanged);
  ExpectSameBytes([](PaintScene& s, UndoStack&, int, int upper) { Info(s, upper)->ColorOp = ColorOps::Multiply; },
                  unchanged);
  ExpectSameBytes([](PaintScene& s, UndoStack&, int, int upper) { Info(s, upper)->Visible = false; }, unchanged);
  ExpectSameBytes(
      [](PaintScene& s, UndoStack&, int lower, int) {
        Info(s, lower)->DepthTransparency = 0.25f;
        Info(s, lower)->EmbossPower = 1.5f;
      },
      unchanged);
  // The lower layer masked by the layer being painted: what lies under the
  // current layer now changes with every dab.
  ExpectSameBytes([](PaintScene& s, UndoStack&, int lower, int) { Info(s, lower)->LinkedLayer = s.CurrentLayer; },
                  unchanged);
}

TEST(KeptUnderBlend, LayersAddedDeletedOrMovedMidStroke) {
  const std::vector<uint8_t> unchanged = PaintOver(true, nullptr).Bytes;
  // A new layer on top becomes the current one: the old top is now under it.
  ExpectSameBytes([](PaintScene& s, UndoStack&, int, int) { s.NewLayer(true); }, unchanged);
  ExpectSameBytes([](PaintScene& s, UndoStack&, int, int upper) { DeleteLayer(s, upper); }, unchanged);
  // The current layer moves under the upper painted one.
  ExpectSameBytes([](PaintScene& s, UndoStack&, int, int) { MoveLayer(s, s.CurrentLayer, false); }, unchanged);
}

TEST(KeptUnderBlend, LowerLayerPixelsWrittenMidStroke) {
  const std::vector<uint8_t> unchanged = PaintOver(true, nullptr).Bytes;
  ExpectSameBytes([](PaintScene& s, UndoStack&, int lower, int) { InvertColor(s, lower); }, unchanged);
  // Undo takes the upper layer's second stroke back, and redo brings it
  // again before the stroke goes on.
  ExpectSameBytes([](PaintScene&, UndoStack& stack, int, int) { EXPECT_TRUE(stack.Undo()); }, unchanged);
  const Change undoThenRedo = [](PaintScene& s, UndoStack& stack, int, int) {
    ASSERT_TRUE(stack.Undo());
    s.GetPixelMap(0)->Update();
    ASSERT_TRUE(stack.Redo());
  };
  const Picture redone = PaintOver(true, undoThenRedo);
  EXPECT_GT(redone.KeptTiles, 0);
  EXPECT_TRUE(redone.Bytes == PaintOver(false, undoThenRedo).Bytes);
}

}  // namespace
