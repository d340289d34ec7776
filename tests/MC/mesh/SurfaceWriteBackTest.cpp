// Surface edits written back into the voxels: unchanged triangles come back
// as the same surface, moved triangles move the solid, and the field away
// from the edit is left exactly as it was.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <tuple>
#include <vector>

#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/undo/VolumeUndo.h"
#include "../MeshChecks.h"
#include "../undo/VolumePicture.h"
#include "paint/undo/SamePicture.h"
#include "paint/undo/UndoStack.h"
#include "paint/undo/UndoTestFolder.h"
#include "SurfaceDistance.h"

namespace {

constexpr float kC[3] = {1.37f, -2.21f, 0.58f};
constexpr float kR = 17.3f;

WeldedMeshBuilder Extract(VolumeObject& v) {
  v.UpdateSurface();
  WeldedMeshBuilder m;
  v.ExtractWeldedAll(m);
  return m;
}

// Largest distance from a vertex of one surface to the other, both ways.
double TwoSidedDistance(const WeldedMeshBuilder& a, const WeldedMeshBuilder& b) {
  const meshtest::Soup sa = meshtest::SoupOf(a), sb = meshtest::SoupOf(b);
  const meshtest::NearTriangles nearA(sa, 1.0f), nearB(sb, 1.0f);
  double worst = 0;
  for (int i = 0; i < a.VertexCount(); ++i) {
    const double p[3] = {a.Positions[i * 3], a.Positions[i * 3 + 1], a.Positions[i * 3 + 2]};
    worst = std::max(worst, nearB.Distance(p));
  }
  for (int i = 0; i < b.VertexCount(); ++i) {
    const double p[3] = {b.Positions[i * 3], b.Positions[i * 3 + 1], b.Positions[i * 3 + 2]};
    worst = std::max(worst, nearA.Distance(p));
  }
  return worst;
}

bool Inside(VolumeObject& v, float x, float y, float z) { return v.SampleField(x, y, z) >= kSurfaceLevel; }

// Surface mode's edit: every vertex of every surface cell moved by `move`,
// the position before kept in OldVertices.
template <class Move>
void EditSurface(VolumeObject& v, Move move) {
  v.Cells.ForEach([&](const CellKey&, VoxelCell*& c) {
    CellSurface* s = c->Surface;
    if (!s || !s->Vertices.Count) return;
    s->OldVertices.Assign(s->Vertices.Data, s->Vertices.Count);
    for (int i = 0; i < s->Vertices.Count; ++i) move(s->Vertices[i].Pos);
  });
}

}  // namespace

TEST(SurfaceWriteBack, UnchangedTrianglesGiveTheSameSurface) {
  for (bool torus : {false, true}) {
    SCOPED_TRACE(torus ? "torus" : "sphere");
    VolumeObject v;
    if (torus) FillVolume(v, TorusShape(kC[0], kC[1], kC[2], 15.2f, 5.7f));
    else FillVolume(v, SphereShape(kC[0], kC[1], kC[2], kR));
    const WeldedMeshBuilder before = Extract(v);
    const WeldedMeshBuilder sampled = before;
    ASSERT_TRUE(v.ApplyMC(true));
    const WeldedMeshBuilder after = Extract(v);
    ExpectClosed(Analyse(after));
    EXPECT_EQ(Analyse(after).Euler(), Analyse(before).Euler());
    const double moved = TwoSidedDistance(before, after);
    std::printf("round trip: surfaces %.4f voxels apart\n", moved);
    EXPECT_LT(moved, 0.1);
    // The field was written anew from the triangles, not left alone: the
    // filled shape's profile differs from the merge's, so the vertices move a little.
    double largest = 0;
    for (size_t i = 0; i < std::min(sampled.Positions.size(), after.Positions.size()); ++i)
      largest = std::max(largest, (double)std::fabs(sampled.Positions[i] - after.Positions[i]));
    EXPECT_GT(largest, 1e-4);
    v.Cells.ForEach([](const CellKey&, VoxelCell*& c) { EXPECT_FALSE(c->Flags & kCellMark); });
  }
}

TEST(SurfaceWriteBack, MovedTrianglesMoveTheSolidAndNothingElse) {
  VolumeObject v;
  FillVolume(v, SphereShape(kC[0], kC[1], kC[2], kR));
  // A second, far sphere that no edit reaches: its voxels must stay as they are.
  FillVolume(v, SphereShape(kC[0] + 80, kC[1], kC[2], 9.6f));
  Extract(v);
  std::map<std::tuple<int, int, int>, std::vector<uint16_t>> far;
  v.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (k.x * 8 < kC[0] + 55) return;
    std::vector<uint16_t>& copy = far[{k.x, k.y, k.z}];
    for (int i = 0; i < kCellVoxels; ++i) copy.push_back(c->Voxels ? c->Voxels[i] : c->Fill);
  });
  ASSERT_GT(far.size(), 10u);
  // Outward along the radius, 2.5 voxels at +x fading to nothing at the
  // equator: a smooth function of position, so shared vertices move alike.
  EditSurface(v, [](float* p) {
    const float d[3] = {p[0] - kC[0], p[1] - kC[1], p[2] - kC[2]};
    const float r = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
    if (r > kR + 3 || d[0] <= 0) return;  // the far sphere and the -x half stay
    const float push = 2.5f * d[0] / r;
    for (int a = 0; a < 3; ++a) p[a] += d[a] / r * push;
  });
  ASSERT_TRUE(v.ApplyMC(false));
  const MeshTopology t = SurfaceTopology(v);
  ExpectClosed(t);
  EXPECT_EQ(t.Euler(), 4);  // both spheres
  EXPECT_TRUE(Inside(v, kC[0] + kR + 1.8f, kC[1], kC[2]));
  EXPECT_FALSE(Inside(v, kC[0] + kR + 3.2f, kC[1], kC[2]));
  EXPECT_TRUE(Inside(v, kC[0] - kR + 0.6f, kC[1], kC[2]));
  EXPECT_FALSE(Inside(v, kC[0] - kR - 0.6f, kC[1], kC[2]));
  for (const auto& [key, copy] : far) {
    const VoxelCell* c = v.GetCell(std::get<0>(key), std::get<1>(key), std::get<2>(key), false, false);
    ASSERT_NE(c, nullptr);
    for (int i = 0; i < kCellVoxels; ++i) ASSERT_EQ(c->Voxels ? c->Voxels[i] : c->Fill, copy[i]);
  }
  // The edit is consumed: old positions are gone.
  v.Cells.ForEach([](const CellKey&, VoxelCell*& c) {
    if (c->Surface) {
      EXPECT_EQ(c->Surface->OldVertices.Count, 0);
    }
  });
}

TEST(SurfaceWriteBack, NothingMovedChangesNothing) {
  VolumeObject v;
  FillVolume(v, SphereShape(kC[0], kC[1], kC[2], 9.1f));
  const WeldedMeshBuilder before = Extract(v);
  EditSurface(v, [](float* p) { p[0] += 0.1f; });  // below the threshold of a move
  EXPECT_FALSE(v.ApplyMC(false));
  const WeldedMeshBuilder after = Extract(v);
  ASSERT_EQ(before.Positions.size(), after.Positions.size());
  EXPECT_EQ(before.Positions, after.Positions);
}

TEST(SurfaceWriteBack, UndoTakesTheWriteBackBackByteForByteAndRedoRepeatsIt) {
  UndoTestFolder folder;
  UndoStack stack{folder.Path};
  stack.FreeBytes = [] { return (int64_t)1 << 40; };
  VolumeObject v;
  stack.RegisterUndoMaker(std::make_unique<Volume_Undo>(stack, [&v] { return std::vector<VolumeObject*>{&v}; }));
  FillVolume(v, SphereShape(kC[0], kC[1], kC[2], kR));
  Extract(v);
  v.DropUndoCopies();
  EditSurface(v, [](float* p) {
    if (p[1] > kC[1] + 5) p[1] += 2.2f;  // the cap lifted
  });
  const std::string edited = VolumePicture(v);
  ASSERT_TRUE(v.ApplyMC(false, true));
  ASSERT_GT(v.UndoCopies, 0);
  ASSERT_TRUE(PushVolumeUndo(stack, {&v}, 0));
  v.UpdateSurface();
  const std::string written = VolumePicture(v);
  ASSERT_NE(written, edited);
  EXPECT_TRUE(Inside(v, kC[0], kC[1] + kR + 1.2f, kC[2]));

  ASSERT_TRUE(stack.Undo());
  EXPECT_TRUE(SamePicture(VolumePicture(v), edited));
  EXPECT_FALSE(Inside(v, kC[0], kC[1] + kR + 1.2f, kC[2]));
  ASSERT_TRUE(stack.Redo());
  EXPECT_TRUE(SamePicture(VolumePicture(v), written));
}
