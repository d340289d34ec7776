// Cutting by a drawn shape on a seeded sphere seen from the front: the cut
// goes through the whole depth and nowhere else, leaves a closed surface and
// undoes exactly; an inverted region cuts far cells whole; the rasp's plane
// keeps what lies behind it; a split's overlap band follows its border width;
// density moved into a target and back comes back to the byte; one or two
// threads give the same bytes; a solid grows under the shape.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <map>
#include <tuple>

#include "BrushTestKit.h"
#include "FrontCamera.h"
#include "ClassEngine/Random.h"
#include "MC/brushes/ShapeActions.h"
#include "MC/brushes/VoxelBrushSettings.h"
#include "render/Viewer.h"

namespace {
constexpr float kSphere = 28.f;

std::vector<uint16_t> CellValues(VolumeObject& v, const CellKey& k) {
  std::vector<uint16_t> out(kCellVoxels);
  VoxelCell** c = v.Cells.Find(k.x, k.y, k.z);
  for (int i = 0; i < kCellVoxels; ++i) out[i] = OldValue(c ? *c : nullptr, i);
  return out;
}

struct ShapeCutFixture : ::testing::Test {
  comms::cFreeViewer cam = FrontCamera();
  VolumeObject volume;
  ShapeView view;
  void SetUp() override {
    FillVolume(volume, SphereShape(0, 0, 0, kSphere));
    volume.UpdateSurface();
    const float pick[3] = {0, 0, kSphere};
    view = ShapeView::Of(volume, cam, pick);
  }
  // The values of the cells whose screen box lies more than `margin` pixels
  // off the shape's box.
  std::map<std::tuple<int, int, int>, std::vector<uint16_t>> ValuesOff(const DrawnShape& shape, float margin) {
    std::map<std::tuple<int, int, int>, std::vector<uint16_t>> out;
    for (const CellKey& k : CellsOff(shape, margin)) out[{k.x, k.y, k.z}] = CellValues(volume, k);
    return out;
  }
  void ExpectUnchanged(const std::map<std::tuple<int, int, int>, std::vector<uint16_t>>& values) {
    EXPECT_GT(values.size(), 20u);
    for (const auto& [k, v] : values)
      EXPECT_EQ(CellValues(volume, {std::get<0>(k), std::get<1>(k), std::get<2>(k)}), v);
  }
  std::vector<CellKey> CellsOff(const DrawnShape& shape, float margin) {
    const std::array<float, 4> b = shape.Box();
    std::vector<CellKey> off;
    volume.Cells.ForEach([&](const CellKey& k, VoxelCell*&) {
      std::array<float, 4> box;
      if (view.CellBox(k.x, k.y, k.z, box) && (box[2] < b[0] - margin || box[0] > b[2] + margin ||
                                               box[3] < b[1] - margin || box[1] > b[3] + margin))
        off.push_back(k);
    });
    return off;
  }
};

// A rectangle (corner to corner) or a circle (centre, then the corner of its
// semi-axes), finished.
DrawnShape TwoPointShape(int kind, float x0, float y0, float x1, float y1) {
  DrawnShape s;
  s.Kind = kind;
  s.BorderStyle = voBorderSharp;
  s.Add(x0, y0);
  s.Add(x1, y1);
  EXPECT_TRUE(s.Finish());
  return s;
}

// 37 x 23 pixels a little right of and above the middle of the view.
DrawnShape OddRectangle() { return TwoPointShape(kShapeRectangle, 322, 221, 359, 244); }

DrawnShape Triangle() {
  DrawnShape s;
  s.Kind = kShapeLasso;
  s.Add(270, 200);
  s.Add(371, 233);
  s.Add(301, 281);
  EXPECT_TRUE(s.Finish());
  return s;
}

// The pixel of an object point.
std::pair<float, float> PixelOf(const ShapeView& view, float x, float y, float z) {
  const float p[3] = {x, y, z};
  float px = 0, py = 0;
  EXPECT_TRUE(view.Project(p, px, py));
  return {px, py};
}

}  // namespace

TEST_F(ShapeCutFixture, CutGoesThroughTheWholeDepthAndNowhereElse) {
  const DrawnShape shape = OddRectangle();
  const VolumeSnapshot before = Snapshot(volume);
  // The cut fades out over 2.5 voxels beyond the shape's border.
  const auto off = ValuesOff(shape, 2.5f / view.S + 1);
  ShapeCutParams p;
  EXPECT_GT(CutByShape(volume, shape, view, p), 0);
  // A line of sight through the middle of the rectangle: empty front to back.
  float mid[3] = {0, 0, 0};
  for (float z : {24.f, 10.f, 0.f, -10.f, -24.f}) {
    // The point on this depth that projects to the rectangle's middle.
    comms::cVec3 o, d;
    cam.PixelRay(340.5f, 232.5f, o, d);
    const float t = (z - o.z) / d.z;
    mid[0] = o.x + d.x * t, mid[1] = o.y + d.y * t, mid[2] = z;
    EXPECT_LT(volume.SampleField(mid[0], mid[1], mid[2]), 16000.f) << "depth " << z;
  }
  // The middle of the sphere beside the rectangle keeps its density.
  EXPECT_GT(volume.SampleField(-10, -5, 0), 60000.f);
  ExpectUnchanged(off);
  ExpectClosed(Surface(volume));
  volume.RestoreUndoCopies();
  EXPECT_EQ(Snapshot(volume), before);
}

TEST_F(ShapeCutFixture, InvertedRegionCutsFarCellsWhole) {
  const DrawnShape shape = OddRectangle();
  ShapeCutParams p;
  p.InvertRegion = true;
  CutByShape(volume, shape, view, p);
  // Far left of the shape: nothing left of the sphere there.
  for (float z : {-12.f, 0.f, 12.f}) EXPECT_EQ(volume.SampleField(-20, 0, z), 0.f);
  // Inside the shape the sphere stays, front to back.
  const auto [px, py] = PixelOf(view, 5, 2, 0);
  ASSERT_GT(shape.Distance(px, py), 3.f);
  EXPECT_GT(volume.SampleField(5, 2, 0), 60000.f);
  ExpectClosed(Surface(volume));
}

TEST_F(ShapeCutFixture, RaspPlaneKeepsWhatLiesBehindIt) {
  const DrawnShape shape = Triangle();
  const float plane = 20.f;
  std::vector<CellKey> behind;
  volume.Cells.ForEach([&](const CellKey& k, VoxelCell*&) {
    if (k.z * 8 + 8 <= plane - 2) behind.push_back(k);
  });
  std::map<std::tuple<int, int, int>, std::vector<uint16_t>> old;
  for (const CellKey& k : behind) old[{k.x, k.y, k.z}] = CellValues(volume, k);
  ShapeCutParams p;
  p.KeepBehindPlane = true;
  p.PlanePoint[2] = plane;
  CutByShape(volume, shape, view, p);
  for (const CellKey& k : behind) EXPECT_EQ(CellValues(volume, k), (old[{k.x, k.y, k.z}]));
  // In front of the plane under the shape the sphere is gone.
  const auto [px, py] = PixelOf(view, 0, 0, 25);
  ASSERT_GT(shape.Distance(px, py), 3.f);
  EXPECT_LT(volume.SampleField(0, 0, 25), 8000.f);
  EXPECT_GT(volume.SampleField(0, 0, 16), 60000.f);
}

TEST_F(ShapeCutFixture, SplitOverlapsByTwiceTheBorderWidth) {
  const DrawnShape shape = Triangle();
  for (float offset : {0.f, 2.5f}) {
    VolumeObject source, part;
    FillVolume(source, SphereShape(0, 0, 0, kSphere));
    const long whole = InsideCount(source);
    ShapeCutParams p;
    p.Target = &part;
    p.Offset = offset;
    CutByShape(source, shape, view, p);
    long both = 0, either = 0;
    for (int z = -32; z < 32; ++z)
      for (int y = -32; y < 32; ++y)
        for (int x = -32; x < 32; ++x) {
          const bool a = source.GetVoxel(x, y, z) >= kSurfaceLevel, b = part.GetVoxel(x, y, z) >= kSurfaceLevel;
          both += a && b;
          either += a || b;
        }
    EXPECT_GT(InsideCount(part), 1000);
    EXPECT_LT(InsideCount(source), whole);
    EXPECT_EQ(either, whole) << "the two parts cover the sphere";
    if (offset == 0.f)
      EXPECT_LT(both, 40) << "only points exactly on the line of sight may be in both";
    else
      EXPECT_GT(both, 400);
    ExpectClosed(Surface(part));
    ExpectClosed(Surface(source));
  }
}

TEST_F(ShapeCutFixture, DensityMovedAwayAndBackComesBackToTheByte) {
  const VolumeSnapshot before = Snapshot(volume);
  VolumeObject hidden;
  ShapeCutParams p;
  p.Target = &hidden;
  p.Transfer = true;
  CutByShape(volume, Triangle(), view, p);
  EXPECT_GT(InsideCount(hidden), 1000);
  volume.DropUndoCopies();
  hidden.DropUndoCopies();
  // Back, through a bigger shape: what was hidden returns whole.
  ShapeCutParams back = p;
  back.Back = true;
  back.Target = &volume;
  CutByShape(hidden, OddRectangle(), view, back);
  CutByShape(hidden, Triangle(), view, back);
  EXPECT_EQ(Snapshot(volume), before);
  EXPECT_EQ(InsideCount(hidden), 0);
}

TEST_F(ShapeCutFixture, CellHidingHidesByCentreAndShowsBackExactly) {
  const VolumeSnapshot before = Snapshot(volume);
  const MeshTopology full = Surface(volume);
  ShapeCutParams p;
  p.CellHideMode = true;
  const int hidden = CutByShape(volume, OddRectangle(), view, p);
  EXPECT_GT(hidden, 4);
  int flagged = 0;
  volume.Cells.ForEach([&](const CellKey&, VoxelCell*& c) { flagged += (c->Flags & kCellHidden) != 0; });
  EXPECT_EQ(flagged, hidden);
  EXPECT_EQ(Snapshot(volume), before) << "hiding touches no voxel";
  EXPECT_LT(Surface(volume).faces, full.faces);
  volume.DropUndoCopies();
  p.Unhide = true;
  EXPECT_EQ(CutByShape(volume, OddRectangle(), view, p), hidden);
  EXPECT_EQ(Surface(volume).faces, full.faces);
}

TEST_F(ShapeCutFixture, OneAndTwoThreadsGiveTheSameBytes) {
  VolumeObject other;
  FillVolume(other, SphereShape(0, 0, 0, kSphere));
  VolumeObject partA, partB;
  ShapeCutParams p;
  p.Offset = 1.5f;
  p.Target = &partA;
  p.Threads = 1;
  CutByShape(volume, Triangle(), view, p);
  p.Target = &partB;
  p.Threads = 2;
  CutByShape(other, Triangle(), view, p);
  EXPECT_EQ(Snapshot(volume), Snapshot(other));
  EXPECT_EQ(Snapshot(partA), Snapshot(partB));
}

TEST_F(ShapeCutFixture, SolidGrowsUnderTheShapeTowardTheViewer) {
  const DrawnShape circle = TwoPointShape(kShapeCircle, 341, 226, 362, 241);
  const auto off = ValuesOff(circle, 40);
  const long before = InsideCount(volume);
  for (int style : {voBorderRound, voBorderPlane, voBorderSharp}) {
    ShapeSolidParams s;
    const auto [cx, cy] = PixelOf(view, 0, 0, kSphere);
    ASSERT_LE(circle.Distance(cx, cy), 0.f) << "the pick lies outside the circle";
    s.Pick[2] = kSphere;
    s.PenRadius = 6;
    s.BorderStyle = style;
    Random rnd(5);
    EXPECT_GT(ShapeSolid(volume, circle, view, s, rnd), 0) << style;
  }
  EXPECT_GT(InsideCount(volume), before + 200);
  ExpectUnchanged(off);
  ExpectClosed(Surface(volume));
}

TEST_F(ShapeCutFixture, FailedSearchKeepsThePickAsCentre) {
  const DrawnShape far = TwoPointShape(kShapeRectangle, 5, 5, 17, 12);
  const float pick[3] = {1, 2, kSphere}, n[3] = {0, 0, 1};
  float centre[3];
  Random rnd(3);
  EXPECT_FALSE(FindShapeCentre(far, view, pick, n, rnd, centre));
  EXPECT_EQ(centre[0], 1.f);
  EXPECT_EQ(centre[1], 2.f);
  EXPECT_EQ(centre[2], kSphere);
  // A shape beside the pick is found, and the point found lies inside it.
  const DrawnShape near = OddRectangle();
  EXPECT_TRUE(FindShapeCentre(near, view, pick, n, rnd, centre));
  EXPECT_GT(view.Distance(near, centre, view.S), 0.f);
}

TEST_F(ShapeCutFixture, DepthLimitStopsTheCutBehindTheFront) {
  const DrawnShape shape = OddRectangle();
  constexpr float kLimit = 16.f;
  const float fallback[3] = {0, 0, 0};
  view.LimitDepth(volume, shape, kLimit, fallback);
  // The front is the sphere's surface under the rectangle, a little below
  // its pole.
  const float front = -view.Depth[3] / view.ViewDir[2];
  EXPECT_GT(front, kSphere - 4.f);
  EXPECT_LT(front, kSphere);
  // What lies wholly deeper than the limit and its 2.5 voxel fade keeps
  // every byte.
  std::map<std::tuple<int, int, int>, std::vector<uint16_t>> deep;
  volume.Cells.ForEach([&](const CellKey& k, VoxelCell*&) {
    if (k.z * 8 + 8 < front - kLimit - 3) deep[{k.x, k.y, k.z}] = CellValues(volume, k);
  });
  ShapeCutParams p;
  EXPECT_GT(CutByShape(volume, shape, view, p), 0);
  comms::cVec3 o, d;
  cam.PixelRay(340.5f, 232.5f, o, d);
  auto along = [&](float z) {
    const float t = (z - o.z) / d.z;
    return volume.SampleField(o.x + d.x * t, o.y + d.y * t, z);
  };
  EXPECT_LT(along(front - 2), 16000.f);
  EXPECT_LT(along(front - kLimit + 4), 16000.f);
  EXPECT_GT(along(front - kLimit - 4), 60000.f);
  EXPECT_GT(along(0), 60000.f);
  EXPECT_GT(deep.size(), 20u);
  for (const auto& [k, v] : deep) EXPECT_EQ(CellValues(volume, {std::get<0>(k), std::get<1>(k), std::get<2>(k)}), v);
  ExpectClosed(Surface(volume));
}

TEST_F(ShapeCutFixture, DepthLimitHoldsTheHiddenCellsAndTheSolid) {
  const DrawnShape shape = OddRectangle();
  const float fallback[3] = {0, 0, 0};
  view.LimitDepth(volume, shape, 12.f, fallback);
  const float front = -view.Depth[3] / view.ViewDir[2];
  ShapeCutParams p;
  p.CellHideMode = true;
  EXPECT_GT(CutByShape(volume, shape, view, p), 0);
  volume.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (c->Flags & kCellHidden) {
      EXPECT_GE(k.z * 8 + 4, front - 12.f) << k.x << " " << k.y << " " << k.z;
    }
  });
  // The solid under the shape goes no deeper than the limit either: a slab
  // from a pick far behind the front adds nothing.
  VolumeObject empty;
  ShapeSolidParams s;
  s.Pick[2] = front - 40;
  s.PenRadius = 6;
  s.BorderStyle = voBorderPlane;
  Random rnd(5);
  EXPECT_EQ(ShapeSolid(empty, shape, view, s, rnd), 0);
  view.DepthLimited = false;
  EXPECT_GT(ShapeSolid(empty, shape, view, s, rnd), 0);
}

TEST_F(ShapeCutFixture, ExtrudedWallsTakeTheNormalsOfTheirNewTriangles) {
  const DrawnShape shape = OddRectangle();
  ShapeExtrudeParams e;
  e.Displacement = 6;  // towards the viewer
  e.Direction = ViewDir;
  e.SoftBorder = 4;
  ASSERT_GT(ShapeExtrude(volume, shape, view, e), 0);
  // The wall: vertices the soft border moved part of the way. Their normals
  // turn sideways with the steep wall they stand on now.
  double before = 0, after = 0;
  int wall = 0;
  std::map<std::tuple<int, int, int, int>, std::array<float, 3>> copies;
  volume.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    const CellSurface* s = c->Surface;
    if (!s || s->OldVertices.Count != s->Vertices.Count) return;
    for (int i = 0; i < s->Vertices.Count; ++i) {
      const MCVertex& v = s->Vertices[i];
      const MCVertex& o = s->OldVertices[i];
      auto sideways = [](const float n[3]) { return std::hypot(n[0], n[1]) / std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]); };
      const float w = view.Distance(shape, o.Pos, view.S) / 4.f;
      if (w > 0.2f && w < 0.8f) {
        before += sideways(o.Normal), after += sideways(v.Normal);
        ++wall;
      }
      if (v.BorderCode == kNoBorder) continue;
      const int code = v.BorderCode;
      const std::tuple<int, int, int, int> edge{code % 9 + 8 * k.x, (code / 9) % 9 + 8 * k.y,
                                                (code / 81) % 9 + 8 * k.z, code / 729};
      const std::array<float, 3> n = {v.Normal[0], v.Normal[1], v.Normal[2]};
      auto [it, fresh] = copies.emplace(edge, n);
      if (!fresh) {
        EXPECT_EQ(it->second, n) << "copies of one lattice edge share their normal";
      }
    }
  });
  ASSERT_GT(wall, 20);
  EXPECT_LT(before / wall, 0.35);
  EXPECT_GT(after / wall, 0.6);
}

namespace {
// Each vertex's distance from where the surface began, with its first
// position, keyed by cell and index.
struct VertexMove {
  float Old[3];
  float Moved;
};
std::map<std::tuple<int, int, int, int>, VertexMove> Moves(VolumeObject& v) {
  std::map<std::tuple<int, int, int, int>, VertexMove> out;
  v.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    const CellSurface* s = c->Surface;
    if (!s || s->OldVertices.Count != s->Vertices.Count) return;
    for (int i = 0; i < s->Vertices.Count; ++i) {
      const float* o = s->OldVertices[i].Pos;
      const float* p = s->Vertices[i].Pos;
      out[{k.x, k.y, k.z, i}] = {{o[0], o[1], o[2]}, std::hypot(p[0] - o[0], p[1] - o[1], p[2] - o[2])};
    }
  });
  return out;
}

// Half strength left of the sphere's middle.
class HalfLeft final : public BrushMaskSource {
 public:
  float At(const float p[3]) const override { return p[0] < 0 ? 0.5f : 1.f; }
};
}  // namespace

TEST_F(ShapeCutFixture, ExtrudeModeThreeRaisesTheRimThreefoldAndNeedsDepth) {
  const DrawnShape shape = OddRectangle();
  ShapeExtrudeParams e;
  e.Displacement = 6;
  e.Direction = ViewDir;
  e.SoftBorder = 4;
  e.Mode = 3;
  e.Depth = 0.1f;
  EXPECT_EQ(ShapeExtrude(volume, shape, view, e), 0);
  EXPECT_TRUE(Moves(volume).empty());
  e.Depth = 0.5f;
  ASSERT_GT(ShapeExtrude(volume, shape, view, e), 0);
  int rim = 0;
  for (const auto& [key, m] : Moves(volume)) {
    const float w = std::clamp(view.Distance(shape, m.Old, view.S) / 4.f, 0.f, 1.f);
    EXPECT_NEAR(m.Moved, std::min(3.f * w, 1.f) * 6.f, 1e-3f);
    if (w > 0.05f && w < 0.3f) ++rim;
  }
  EXPECT_GT(rim, 10);
}

TEST_F(ShapeCutFixture, ExtrudeModeTwoGoesNoFurtherThanTheDisplacementWhenRepeated) {
  const DrawnShape shape = OddRectangle();
  ShapeExtrudeParams e;
  e.Displacement = 3;
  e.Direction = ViewDir;
  e.SoftBorder = 4;
  e.Mode = 2;
  ASSERT_GT(ShapeExtrude(volume, shape, view, e), 0);
  ASSERT_GT(ShapeExtrude(volume, shape, view, e), 0);
  int inside = 0;
  for (const auto& [key, m] : Moves(volume)) {
    EXPECT_LE(m.Moved, 3.f + 1e-4f);
    if (view.Distance(shape, m.Old, view.S) > 8.f) {
      EXPECT_NEAR(m.Moved, 3.f, 1e-4f);
      ++inside;
    }
  }
  EXPECT_GT(inside, 10);
  // Mode 0 goes on: twice the displacement where the shape covers wholly.
  VolumeObject again;
  FillVolume(again, SphereShape(0, 0, 0, kSphere));
  again.UpdateSurface();
  e.Mode = 0;
  ShapeExtrude(again, shape, view, e);
  ShapeExtrude(again, shape, view, e);
  float most = 0;
  for (const auto& [key, m] : Moves(again)) most = std::max(most, m.Moved);
  EXPECT_NEAR(most, 6.f, 1e-3f);
}

TEST_F(ShapeCutFixture, ExtrudeFacingOnlyLeavesTheBackAndTheMaskScalesTheMove) {
  const DrawnShape shape = TwoPointShape(kShapeRectangle, 0, 0, 640, 480);
  ShapeExtrudeParams e;
  e.Displacement = 2;
  e.Direction = ViewDir;
  e.FacingOnly = true;
  ASSERT_GT(ShapeExtrude(volume, shape, view, e), 0);
  int front = 0, back = 0;
  for (const auto& [key, m] : Moves(volume)) {
    if (m.Old[2] > kSphere * 0.5f) front += m.Moved > 1.9f;
    if (m.Old[2] < -kSphere * 0.5f) {
      ++back;
      EXPECT_EQ(m.Moved, 0.f);
    }
  }
  EXPECT_GT(front, 20);
  EXPECT_GT(back, 20);
  // Without the option the back moves as well; a mask of one half on the
  // left halves the move there, to the vertex.
  VolumeObject plain, masked;
  for (VolumeObject* v : {&plain, &masked}) {
    FillVolume(*v, SphereShape(0, 0, 0, kSphere));
    v->UpdateSurface();
  }
  e.FacingOnly = false;
  ASSERT_GT(ShapeExtrude(plain, shape, view, e), 0);
  HalfLeft mask;
  e.Mask = &mask;
  ASSERT_GT(ShapeExtrude(masked, shape, view, e), 0);
  const auto a = Moves(plain), b = Moves(masked);
  ASSERT_EQ(a.size(), b.size());
  int halved = 0;
  for (const auto& [key, m] : a) {
    EXPECT_NEAR(b.at(key).Moved, m.Moved * mask.At(m.Old), 1e-4f);
    if (m.Old[2] < -kSphere * 0.5f) {
      EXPECT_GT(m.Moved, 1.9f);
    }
    halved += m.Old[0] < 0 && m.Moved > 1.9f;
  }
  EXPECT_GT(halved, 20);
}
