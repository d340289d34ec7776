// A stroke in several parts (the line and curve modes): each part is one
// record, undo takes the parts back one by one to every byte, redo brings
// them again, and a later part that crosses an earlier one measures against
// the stroke's start, so its coverage does not stack over the first part's.
// An area painted in one go is one record that undoes alike.
#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>

#include "../PaintMeshes.h"
#include "PaintPicture.h"
#include "SamePicture.h"
#include "paint/GeneralPen.h"
#include "paint/PenShapes.h"
#include "paint/stroke/PaintArea.h"
#include "paint/stroke/PaintDabs.h"
#include "paint/undo/PaintStrokeUndo.h"
#include "paint/undo/UndoStack.h"
#include "paint/undo/UndoTestFolder.h"

using comms::cVec3;

namespace {
struct MultiPartFixture : ::testing::Test {
  GeneralPenSaver saved;
  UndoTestFolder folder;
  UndoStack stack{folder.Path};
  PaintScene scene;
  SimplePen shape;
  int records = 0;

  MultiPartFixture() {
    GeneralPen::Reset();
    GeneralPen::CurrentPenPtr = &shape;
    GeneralPen::StrokeMode = kStrokeLines;
    GeneralPen::DeepDegree = 0.3f;
    GeneralPen::ColorOpacity = 0.7f;
    GeneralPen::Color[0] = 0.9f, GeneralPen::Color[1] = 0.2f, GeneralPen::Color[2] = 0.1f;
    stack.FreeBytes = [] { return (int64_t)1 << 40; };
    stack.RegisterUndoMaker(std::make_unique<SurfaceUndo>(stack, scene));
    stack.RegisterUndoMaker(std::make_unique<PlanePicUndo>(stack, scene));
  }
  int FaceUnder(const cVec3& p) const {
    if (scene.Faces.size() == 2) return p.x < 1 ? 0 : 1;
    return (int)p.y * 4 + (int)p.x;
  }
  // One part: dabs along the points, then the checkpoint.
  void Part(PaintDabs& dabs, std::initializer_list<cVec3> points, float radius) {
    for (const cVec3& p : points) {
      PenHit h;
      h.Pos = p, h.Face = FaceUnder(p), h.WorldRadius = radius;
      dabs.Dab(h);
    }
    EXPECT_TRUE(dabs.Checkpoint());
  }
  // Two crossing lines as parts of one stroke, with the pictures before,
  // after the first and after both.
  void TwoParts(std::initializer_list<cVec3> first, std::initializer_list<cVec3> second, float radius,
                std::string pictures[3]) {
    pictures[0] = PaintPicture(scene);
    PaintDabs dabs(scene);
    dabs.Stroke.OnEnd = [&](PaintStroke& s) { records += PushPaintStrokeUndo(stack, scene, s); };
    dabs.Begin(7);
    Part(dabs, first, radius);
    pictures[1] = PaintPicture(scene);
    Part(dabs, second, radius);
    pictures[2] = PaintPicture(scene);
    // Nothing after the last part: the end writes no empty record.
    EXPECT_FALSE(dabs.Checkpoint());
    dabs.End();
    EXPECT_EQ(records, 2);
    EXPECT_EQ(stack.UndoPosition, 2);
  }
  void UndoRedoEveryByte(const std::string pictures[3]) {
    ASSERT_NE(pictures[1], pictures[0]);
    ASSERT_NE(pictures[2], pictures[1]);
    ASSERT_TRUE(stack.Undo());
    EXPECT_TRUE(SamePicture(PaintPicture(scene), pictures[1]));
    ASSERT_TRUE(stack.Undo());
    EXPECT_TRUE(SamePicture(PaintPicture(scene), pictures[0]));
    ASSERT_TRUE(stack.Redo());
    EXPECT_TRUE(SamePicture(PaintPicture(scene), pictures[1]));
    ASSERT_TRUE(stack.Redo());
    EXPECT_TRUE(SamePicture(PaintPicture(scene), pictures[2]));
  }
  // The largest coverage of the current layer over the grid samples.
  float MaxOpacity() {
    float most = 0;
    for (int f = 0; f < (int)scene.Faces.size(); f++)
      if (FaceLayer* fl = scene.GetFaceLayer(f, scene.CurrentLayer, false))
        for (int i = 0; i < scene.Faces[f].SampleCount(); i++) most = std::max(most, fl->Data[i].Opacity);
    return most;
  }
};
}  // namespace

TEST_F(MultiPartFixture, GridPartsUndoOneByOneToEveryByte) {
  ASSERT_TRUE(ImportMeshIntoScene(scene, paintmeshes::Sheet(4, 3), PaintImportMode::MicroVertex,
                                  paintmeshes::Grid(3)).ok);
  scene.NewLayer(true);
  std::string pictures[3];
  TwoParts({{0.4f, 1.5f, 0}, {1.3f, 1.5f, 0}, {2.2f, 1.5f, 0}, {3.1f, 1.5f, 0}},
           {{1.7f, 0.4f, 0}, {1.7f, 1.2f, 0}, {1.7f, 2.0f, 0}, {1.7f, 2.7f, 0}}, 0.45f, pictures);
  UndoRedoEveryByte(pictures);
}

TEST_F(MultiPartFixture, PixelPartsUndoOneByOneToEveryByte) {
  scene.RtSizeX = scene.RtSizeY = 64;
  ASSERT_TRUE(ImportMeshIntoScene(scene, paintmeshes::CutSheet(), PaintImportMode::PerPixel, DPSettings()).ok);
  scene.NewLayer(true);
  std::string pictures[3];
  // Both parts cross the seam between the two islands and each other.
  TwoParts({{0.3f, 0.5f, 0}, {0.9f, 0.5f, 0}, {1.6f, 0.55f, 0}},
           {{1.1f, 0.1f, 0}, {1.05f, 0.5f, 0}, {0.95f, 0.9f, 0}}, 0.2f, pictures);
  UndoRedoEveryByte(pictures);
}

TEST_F(MultiPartFixture, ALaterPartDoesNotStackOverAnEarlierOne) {
  ASSERT_TRUE(ImportMeshIntoScene(scene, paintmeshes::Sheet(4, 3), PaintImportMode::MicroVertex,
                                  paintmeshes::Grid(3)).ok);
  scene.NewLayer(true);
  std::string pictures[3];
  TwoParts({{0.4f, 1.5f, 0}, {3.1f, 1.5f, 0}}, {{1.7f, 0.4f, 0}, {1.7f, 2.7f, 0}}, 0.45f, pictures);
  // Coverage after one pass at the pen's centre is a^2 with a = 0.7; a pass
  // measured against the first part's result would give 0.51 * 0.49 + 0.49.
  const float a = GeneralPen::ColorOpacity;
  EXPECT_NEAR(MaxOpacity(), a * a, 0.01f);
  // Separate strokes do stack: the second measures against the first.
  PaintDabs dabs(scene);
  dabs.Begin(8);
  for (cVec3 p : {cVec3(1.7f, 0.4f, 0), cVec3(1.7f, 2.7f, 0)}) {
    PenHit h;
    h.Pos = p, h.Face = FaceUnder(p), h.WorldRadius = 0.45f;
    dabs.Dab(h);
  }
  dabs.End();
  EXPECT_NEAR(MaxOpacity(), (1 - a) * a * a + a * a, 0.01f);
}

namespace {
// A lasso painted in one go over the sheet seen from +z at 50 pixels a unit
// is one record: undo takes it back to every byte (depth, colour and
// specular), redo brings it again.
void AreaRoundTrip(MultiPartFixture& t) {
  t.scene.NewLayer(true);
  DrawnShape shape;
  shape.Kind = kShapeLasso;
  for (auto [x, y] : {std::pair{40.f, 30.f}, {170.f, 45.f}, {120.f, 130.f}, {55.f, 110.f}}) shape.Add(x, y);
  ASSERT_TRUE(shape.Finish());
  const ViewProjection project = [](const float p[3], float& sx, float& sy) {
    return sx = p[0] * 50, sy = p[1] * 50, true;
  };
  const AreaMask mask(shape, project, nullptr, 3.f);
  std::vector<int> faces;
  FacesUnderShape(t.scene, shape, project, faces);
  EXPECT_EQ(faces.size(), 12u);  // every face of the sheet meets the lasso's box
  const std::string before = PaintPicture(t.scene);
  PaintDabs dabs(t.scene);
  dabs.Stroke.OnEnd = [&](PaintStroke& s) { t.records += PushPaintStrokeUndo(t.stack, t.scene, s); };
  dabs.Begin(3);
  EXPECT_EQ(dabs.Area(mask, faces, 0.5f, cVec3(0, 0, -1)), DabResult::Painted);
  dabs.End();
  EXPECT_EQ(t.records, 1);
  EXPECT_EQ(t.stack.UndoPosition, 1);
  const std::string after = PaintPicture(t.scene);
  ASSERT_NE(after, before);
  ASSERT_TRUE(t.stack.Undo());
  EXPECT_TRUE(SamePicture(PaintPicture(t.scene), before));
  ASSERT_TRUE(t.stack.Redo());
  EXPECT_TRUE(SamePicture(PaintPicture(t.scene), after));
}
}  // namespace

TEST_F(MultiPartFixture, AGridAreaIsOneRecordThatUndoesToEveryByte) {
  ASSERT_TRUE(ImportMeshIntoScene(scene, paintmeshes::Sheet(4, 3), PaintImportMode::MicroVertex,
                                  paintmeshes::Grid(3)).ok);
  AreaRoundTrip(*this);
}

TEST_F(MultiPartFixture, APixelAreaIsOneRecordThatUndoesToEveryByte) {
  scene.RtSizeX = 96, scene.RtSizeY = 80;
  ASSERT_TRUE(ImportMeshIntoScene(scene, paintmeshes::Sheet(4, 3), PaintImportMode::PerPixel, DPSettings()).ok);
  AreaRoundTrip(*this);
}
