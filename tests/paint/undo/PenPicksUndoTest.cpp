// A grid stroke's record carries where the pen stood (the 580 bytes of
// PickState behind the flag, field by field), with its history moved one
// step back; undo puts the pen where the record says, redo where it stood
// before the undo, and a record cut inside the block changes nothing. The
// faces follow the picks in their fixed form.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "../PaintMeshes.h"
#include "PaintPicture.h"
#include "paint/GeneralPen.h"
#include "paint/PenShapes.h"
#include "paint/stroke/PaintDabs.h"
#include "paint/stroke/PickState.h"
#include "paint/undo/PaintStrokeUndo.h"
#include "paint/undo/UndoStack.h"
#include "paint/undo/UndoTestFolder.h"

using comms::cVec3;

namespace {
struct PenPicksFixture : ::testing::Test {
  GeneralPenSaver saved;
  UndoTestFolder folder;
  UndoStack stack{folder.Path};
  PaintScene scene;
  SimplePen shape;

  void SetUp() override {
    GeneralPen::Reset();
    GeneralPen::CurrentPenPtr = &shape;
    GeneralPen::DrawColor = true;
    stack.FreeBytes = [] { return (int64_t)1 << 40; };
    stack.RegisterUndoMaker(std::make_unique<SurfaceUndo>(stack, scene));
    ASSERT_TRUE(ImportMeshIntoScene(scene, paintmeshes::Sheet(4, 3), PaintImportMode::MicroVertex,
                                    paintmeshes::Grid(3)).ok);
    scene.NewLayer(true);
  }
  // Dabs at the points, each with its copy mirrored in x (copy 1) at 4 - x.
  void Stroke(std::initializer_list<cVec3> points, float pressure) {
    PaintDabs dabs(scene);
    dabs.Stroke.OnEnd = [&](PaintStroke& s) { EXPECT_TRUE(PushPaintStrokeUndo(stack, scene, s)); };
    dabs.Begin(7);
    for (const cVec3& p : points)
      for (int mirror : {0, 1}) {
        PenHit h;
        h.Pos = mirror ? cVec3(4 - p.x, p.y, p.z) : p;
        h.Face = FaceUnder(h.Pos);
        h.WorldRadius = 0.4f;
        h.Pressure = pressure;
        h.Mirror = mirror;
        dabs.Dab(h);
      }
    dabs.End();
  }
  static int FaceUnder(const cVec3& p) { return (int)std::floor(p.y) * 4 + (int)std::floor(p.x); }
  std::vector<uint8_t> Record(int n) const {
    std::ifstream f(stack.FileName(n), std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(f), {});
  }
};

float F32At(const std::vector<uint8_t>& b, size_t at) {
  float v;
  std::memcpy(&v, b.data() + at, 4);
  return v;
}
cVec3 Vec3At(const std::vector<uint8_t>& b, size_t at) { return {F32At(b, at), F32At(b, at + 4), F32At(b, at + 8)}; }
uint32_t U32At(const std::vector<uint8_t>& b, size_t at) {
  uint32_t v;
  std::memcpy(&v, b.data() + at, 4);
  return v;
}
::testing::AssertionResult SameVec(const cVec3& a, const cVec3& b) {
  if (a.x == b.x && a.y == b.y && a.z == b.z) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "(" << a.x << ", " << a.y << ", " << a.z << ") vs (" << b.x << ", " << b.y
                                       << ", " << b.z << ")";
}
}  // namespace

TEST_F(PenPicksFixture, TheRecordHoldsThePicksFieldByFieldWithTheHistoryRolled) {
  GeneralPen::StrokeMode = kStrokeSoft;
  Stroke({{0.5f, 0.5f, 0}}, 0.5f);
  const cVec3 first = scene.Picks.Pick0;
  Stroke({{1.5f, 1.2f, 0}, {1.7f, 2.4f, 0}}, 0.75f);
  const std::vector<uint8_t> r = Record(1);
  ASSERT_GT(r.size(), 8u + PickState::kRecordBytes + 4);
  ASSERT_EQ(U32At(r, 0), kSurfaceUndoTag);
  EXPECT_EQ(U32At(r, 4), 1u);
  const size_t p = 8;  // the block, in record order
  EXPECT_EQ(F32At(r, p), 0.75f);
  EXPECT_TRUE(SameVec(Vec3At(r, p + 4), cVec3(1.7f, 2.4f, 0)));   // Pick0 as it stood
  EXPECT_TRUE(SameVec(Vec3At(r, p + 16), cVec3(1.7f, 2.4f, 0)));  // Pick1 took Pick0
  EXPECT_TRUE(SameVec(Vec3At(r, p + 28), first));                 // Pick2 took Pick1
  const cVec3 dir = Vec3At(r, p + 40);
  EXPECT_NEAR(dir.x * dir.x + dir.y * dir.y + dir.z * dir.z, 1.0f, 1e-5f);
  EXPECT_TRUE(SameVec(Vec3At(r, p + 52 + 12), cVec3(4 - 1.7f, 2.4f, 0)));   // PickMirrors0, copy 1
  EXPECT_TRUE(SameVec(Vec3At(r, p + 148 + 12), cVec3(4 - 1.7f, 2.4f, 0)));  // PickMirrors1, copy 1
  EXPECT_TRUE(SameVec(Vec3At(r, p + 244 + 12), cVec3(4 - 0.5f, 0.5f, 0)));  // PickMirrors2, copy 1
  EXPECT_TRUE(SameVec(Vec3At(r, p + 340), dir));                            // DirectionMirrors, copy 0
  EXPECT_EQ(U32At(r, p + 436), (uint32_t)kStrokeSoft);                     // PickMode
  EXPECT_EQ((int)U32At(r, p + 440), FaceUnder({1.7f, 2.4f, 0}));           // PickExtra: the faces
  EXPECT_EQ((int)U32At(r, p + 444), FaceUnder({4 - 1.7f, 2.4f, 0}));
  EXPECT_EQ(U32At(r, p + 448), 0xffffffffu);  // a copy that never landed
  const cVec3 up = Vec3At(r, p + 472);
  EXPECT_NEAR(up.x * up.x + up.y * up.y + up.z * up.z, 1.0f, 1e-5f);
  EXPECT_TRUE(SameVec(Vec3At(r, p + 484), up));  // UpMirrors, copy 0
  EXPECT_EQ((int)U32At(r, p + PickState::kRecordBytes), scene.CurrentLayer);
}

TEST_F(PenPicksFixture, UndoPutsThePenWhereTheRecordSaysAndRedoWhereItStood) {
  Stroke({{0.5f, 0.5f, 0}}, 0.4f);
  Stroke({{2.5f, 1.5f, 0}, {3.1f, 1.8f, 0}}, 0.6f);
  const PickState second = scene.Picks;
  Stroke({{1.2f, 2.6f, 0}}, 0.9f);
  const PickState third = scene.Picks;
  ASSERT_FALSE(second == third);

  ASSERT_TRUE(stack.Undo());
  EXPECT_TRUE(scene.Picks == third) << "the third record holds the picks it left";
  ASSERT_TRUE(stack.Undo());
  EXPECT_TRUE(scene.Picks == second);
  ASSERT_TRUE(stack.Redo());
  EXPECT_TRUE(scene.Picks == third) << "redo gives back the picks from before the undo";
  ASSERT_TRUE(stack.Redo());
  EXPECT_TRUE(scene.Picks == third);
}

TEST_F(PenPicksFixture, ARecordCutInsideThePicksChangesNothing) {
  Stroke({{1.5f, 1.5f, 0}, {2.5f, 1.5f, 0}}, 0.5f);
  const std::string painted = PaintPicture(scene);
  PickState moved = scene.Picks;
  moved.Pick0 = cVec3(9, 9, 9);
  scene.Picks = moved;
  std::filesystem::resize_file(stack.FileName(0), 8 + PickState::kRecordBytes - 4);
  ASSERT_TRUE(stack.Undo());
  EXPECT_EQ(PaintPicture(scene), painted);
  EXPECT_TRUE(scene.Picks == moved);
}

// Behind the picks, each face the stroke reached comes in the 120-byte form
// (three presence words, the layer, four corner positions and normals, the
// face, two checkpoint bytes and padding) with its samples and freeze
// values; the composite's normals of every face follow, then the tiles.
TEST_F(PenPicksFixture, TheFacesFollowInTheirHundredTwentyByteForm) {
  Stroke({{1.5f, 1.5f, 0}}, 0.5f);
  const std::vector<uint8_t> r = Record(0);
  size_t p = 8 + PickState::kRecordBytes;
  EXPECT_EQ((int)U32At(r, p), scene.CurrentLayer);
  EXPECT_EQ(U32At(r, p + 4), 0u);  // no layer text
  const uint32_t count = U32At(r, p + 8);
  ASSERT_GE(count, 2u) << "a mirrored pair of dabs reaches at least two faces";
  p += 12;
  std::vector<int> faces;
  for (uint32_t k = 0; k < count; ++k) {
    ASSERT_LE(p + 120, r.size());
    const int face = (int)U32At(r, p + 112);
    ASSERT_GE(face, 0);
    ASSERT_LT(face, (int)scene.Faces.size());
    faces.push_back(face);
    EXPECT_EQ((int)U32At(r, p + 12), scene.CurrentLayer);
    EXPECT_EQ(U32At(r, p + 4), 0u);  // no base normals
    EXPECT_EQ(U32At(r, p + 8), 1u);  // freeze values follow
    const int* corners = scene.FaceCornerMap.Of(face);
    for (int c = 0; c < 4; ++c) {
      const FaceCorner& k = scene.Corners[corners[c]];
      EXPECT_TRUE(SameVec(Vec3At(r, p + 16 + 12 * c), scene.Vertices[k.Vertex].Position)) << "face " << face;
      EXPECT_TRUE(SameVec(Vec3At(r, p + 64 + 12 * c), scene.Normals[k.Normal])) << "face " << face;
    }
    EXPECT_EQ(r[p + 116], 0);
    const size_t n = (size_t)scene.Faces[face].SampleCount();
    // The layer was new: the faces held nothing of it before the stroke.
    EXPECT_EQ(U32At(r, p), 0u);
    for (size_t i = 0; i < n; ++i) EXPECT_EQ(F32At(r, p + 120 + 4 * i), scene.Faces[face].Grid[i].Freeze);
    p += 120 + 4 * n;
  }
  for (int face : faces) {
    const size_t n = (size_t)scene.Faces[face].SampleCount();
    ASSERT_EQ(U32At(r, p), n);
    EXPECT_TRUE(SameVec(Vec3At(r, p + 4), scene.Faces[face].Grid[0].Normal));
    p += 4 + 12 * n;
  }
  EXPECT_EQ(U32At(r, p), 0u);  // no tiles
  EXPECT_EQ(p + 4, r.size());
}

// The record brings the grids' freeze values back with the samples, and the
// faces' freeze state with them.
TEST_F(PenPicksFixture, UndoBringsTheFreezeValuesBack) {
  Stroke({{1.5f, 1.5f, 0}}, 0.5f);
  const int face = (int)U32At(Record(0), 8 + PickState::kRecordBytes + 12 + 112);
  PaintFace& F = scene.Faces[face];
  for (int i = 0; i < F.SampleCount(); ++i) F.Grid[i].Freeze = 1;
  F.FreezeState = 2;
  ASSERT_TRUE(stack.Undo());
  for (int i = 0; i < F.SampleCount(); ++i) EXPECT_EQ(F.Grid[i].Freeze, 0.f);
  EXPECT_EQ(F.FreezeState, 0);
}
