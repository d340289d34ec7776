// A paint stroke's record at pen-up: undo gives back every byte of the faces
// and tiles it touched (grid faces and per-pixel tiles alike), redo gives
// the stroke back, a face that held nothing of the layer loses its entry
// again, and a damaged record changes nothing.
#include <gtest/gtest.h>

#include <filesystem>

#include "../PaintMeshes.h"
#include "PaintPicture.h"
#include "SamePicture.h"
#include "paint/GeneralPen.h"
#include "paint/PenShapes.h"
#include "paint/layers/ComposeFace.h"
#include "paint/layers/OneLayerInfo.h"
#include "paint/stroke/PaintDabs.h"
#include "paint/undo/PaintStrokeUndo.h"
#include "paint/undo/UndoStack.h"
#include "paint/undo/UndoTestFolder.h"

using comms::cVec3;

namespace {
struct PaintUndoFixture : ::testing::Test {
  GeneralPenSaver saved;
  UndoTestFolder folder;
  UndoStack stack{folder.Path};
  PaintScene scene;
  SimplePen shape;

  PaintUndoFixture() {
    GeneralPen::Reset();
    GeneralPen::CurrentPenPtr = &shape;
    GeneralPen::DeepDegree = 0.4f;
    GeneralPen::DrawColor = true;
    GeneralPen::ColorOpacity = 0.7f;
    stack.FreeBytes = [] { return (int64_t)1 << 40; };
    stack.RegisterUndoMaker(std::make_unique<SurfaceUndo>(stack, scene));
    stack.RegisterUndoMaker(std::make_unique<PlanePicUndo>(stack, scene));
  }
  void GridSheet() {
    ASSERT_TRUE(ImportMeshIntoScene(scene, paintmeshes::Sheet(4, 3), PaintImportMode::MicroVertex,
                                    paintmeshes::Grid(3)).ok);
  }
  void PixelSheet() {
    scene.RtSizeX = scene.RtSizeY = 64;
    ASSERT_TRUE(ImportMeshIntoScene(scene, paintmeshes::CutSheet(), PaintImportMode::PerPixel, DPSettings()).ok);
  }
  // A stroke of dabs along the points, its record pushed at pen-up.
  void Stroke(std::initializer_list<cVec3> points, float radius, uint32_t seed) {
    PaintDabs dabs(scene);
    dabs.Stroke.OnEnd = [&](PaintStroke& s) { EXPECT_TRUE(PushPaintStrokeUndo(stack, scene, s)); };
    dabs.Begin(seed);
    for (const cVec3& p : points) {
      PenHit h;
      h.Pos = p;
      h.Face = FaceUnder(p);
      h.WorldRadius = radius;
      dabs.Dab(h);
    }
    dabs.End();
  }
  int FaceUnder(const cVec3& p) const {
    if (scene.Faces.size() == 2) return p.x < 1 ? 0 : 1;
    return (int)std::floor(p.y) * 4 + (int)std::floor(p.x);
  }
};
}  // namespace

TEST_F(PaintUndoFixture, GridStrokesUndoAndRedoEveryByte) {
  GridSheet();
  scene.NewLayer(true);
  const std::string start = PaintPicture(scene);
  Stroke({{0.5f, 0.5f, 0}, {1.5f, 1.2f, 0}, {2.6f, 1.7f, 0}}, 0.6f, 1);
  const std::string one = PaintPicture(scene);
  ASSERT_NE(one, start);
  scene.NewLayer(true);
  Stroke({{3.5f, 2.5f, 0}, {2.2f, 1.4f, 0}}, 0.8f, 2);
  const std::string two = PaintPicture(scene);
  // The new layer between the strokes has no record here: samples only.
  ASSERT_TRUE(stack.Undo());
  EXPECT_TRUE(SamePicture(SamplesOf(PaintPicture(scene)), SamplesOf(one)));
  ASSERT_TRUE(stack.Undo());
  EXPECT_TRUE(SamePicture(SamplesOf(PaintPicture(scene)), SamplesOf(start)));
  ASSERT_TRUE(stack.Redo());
  EXPECT_TRUE(SamePicture(SamplesOf(PaintPicture(scene)), SamplesOf(one)));
  ASSERT_TRUE(stack.Redo());
  EXPECT_TRUE(SamePicture(PaintPicture(scene), two));
}

TEST_F(PaintUndoFixture, AFaceNewToTheLayerLosesItsEntryOnUndo) {
  GridSheet();
  const int layer = scene.NewLayer(true);
  Stroke({{0.5f, 0.5f, 0}}, 0.3f, 3);
  ASSERT_NE(scene.GetFaceLayer(0, layer, false), nullptr);
  ASSERT_TRUE(stack.Undo());
  for (int f = 0; f < (int)scene.Faces.size(); ++f) EXPECT_EQ(scene.GetFaceLayer(f, layer, false), nullptr) << f;
  ASSERT_TRUE(stack.Redo());
  EXPECT_NE(scene.GetFaceLayer(0, layer, false), nullptr);
}

// A dissolving layer covers a face wholly once the face has an entry of it,
// painted or not. A small dab near a corner makes entries on the faces round
// it: the ones it painted compose whole, the ones it left empty lose their
// entry at pen-up, and redo stands exactly where the stroke left the scene.
TEST_F(PaintUndoFixture, ADissolvingLayerComposesWholeFacesAndRedoesExactly) {
  GridSheet();
  const int layer = scene.NewLayer(true);
  scene.GetLayerByID(layer)->ColorOp = ColorOps::Dissolve;
  Stroke({{1.02f, 1.02f, 0}, {1.1f, 1.05f, 0}}, 0.15f, 5);
  auto fresh = [&] {
    std::string before = SamplesOf(PaintPicture(scene));
    for (int f = 0; f < (int)scene.Faces.size(); ++f) ComposeFace(scene, f);
    return SamePicture(SamplesOf(PaintPicture(scene)), before);
  };
  EXPECT_TRUE(fresh()) << "the stroke left samples composed from an older set of entries";
  int withEntry = 0;
  for (int f = 0; f < (int)scene.Faces.size(); ++f) {
    const FaceLayer* l = scene.GetFaceLayer(f, layer, false);
    if (!l) continue;
    ++withEntry;
    bool painted = false;
    for (int i = 0; i < scene.Faces[f].SampleCount(); ++i) painted |= !l->Data[i].IsEmpty();
    EXPECT_TRUE(painted) << "face " << f << " kept an empty entry";
    EXPECT_EQ(scene.Faces[f].Grid[0].Opacity, 1.f) << "face " << f;
  }
  ASSERT_GT(withEntry, 0);
  const std::string end = PaintPicture(scene);
  ASSERT_TRUE(stack.Undo());
  ASSERT_TRUE(stack.Redo());
  EXPECT_TRUE(SamePicture(PaintPicture(scene), end));
}

TEST_F(PaintUndoFixture, PerPixelStrokesUndoAndRedoEveryByte) {
  PixelSheet();
  scene.NewLayer(true);
  const std::string start = PaintPicture(scene);
  const float ty = (57.6f - 45.5f) / 19.2f;
  Stroke({{0.3f, ty, 0}, {0.8f, ty, 0}, {1.4f, ty + 0.2f, 0}}, 0.25f, 4);
  const std::string one = PaintPicture(scene);
  ASSERT_NE(one, start);
  // The record is a tile record.
  std::FILE* f = std::fopen(stack.FileName(0).c_str(), "rb");
  uint32_t tag = 0;
  ASSERT_EQ(std::fread(&tag, 4, 1, f), 1u);
  std::fclose(f);
  EXPECT_EQ(tag, kPlanePicUndoTag);
  ASSERT_TRUE(stack.Undo());
  EXPECT_TRUE(SamePicture(PaintPicture(scene), start));
  // An empty layer tile left behind is pruned.
  PixelMap* map = scene.GetPixelMap(0);
  for (auto& [k, t] : map->Tiles)
    for (LayerTile* l : t->LayerTiles) EXPECT_FALSE(l->IsEmpty());
  ASSERT_TRUE(stack.Redo());
  EXPECT_TRUE(SamePicture(PaintPicture(scene), one));
}

TEST_F(PaintUndoFixture, ADamagedRecordChangesNothing) {
  GridSheet();
  scene.NewLayer(true);
  Stroke({{1.5f, 1.5f, 0}, {2.5f, 1.5f, 0}}, 0.7f, 5);
  const std::string painted = PaintPicture(scene);
  const std::string name = stack.FileName(0);
  std::filesystem::resize_file(name, std::filesystem::file_size(name) - 100);
  ASSERT_TRUE(stack.Undo());
  EXPECT_TRUE(SamePicture(PaintPicture(scene), painted));
  EXPECT_FALSE(stack.Redo());
}
