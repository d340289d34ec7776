// Splitting polygons into quads on import: every face becomes quads, a
// closed mesh stays closed (each edge between exactly two faces), midpoints
// are shared, texture coordinates follow, and a triangle mesh imported from
// a file in micro-vertex mode gets grids on quads only.
#include <gtest/gtest.h>

#include <map>

#include "PaintMeshes.h"
#include "paint/scene/QuadSplit.h"

using namespace paintmeshes;
using comms::cMesh;
using comms::cPolyCell;

namespace {

// A tetrahedron with a UV per corner of each face (every edge a UV seam).
cMesh Tetrahedron() {
  cMesh m;
  m.positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  const int faces[4][3] = {{0, 2, 1}, {0, 1, 3}, {0, 3, 2}, {1, 2, 3}};
  for (int f = 0; f < 4; f++) {
    m.BeginPolygon(3, 0, -1);
    for (int k = 0; k < 3; k++) {
      m.uvs.push_back({0.25f * f + 0.05f * k, 0.1f * k});
      m.AddCorner(faces[f][k], int(m.uvs.size()) - 1, -1);
    }
  }
  return m;
}

std::map<std::pair<int, int>, int> EdgeUses(const cMesh& m) {
  std::map<std::pair<int, int>, int> uses;
  m.ForEachPolygon([&](size_t, const cPolyCell& h, const cPolyCell* c) {
    for (int i = 0; i < h.a; i++) {
      int a = c[i].a, b = c[(i + 1) % h.a].a;
      uses[{std::min(a, b), std::max(a, b)}]++;
    }
  });
  return uses;
}

}  // namespace

TEST(QuadSplit, TrianglesBecomeThreeQuadsAndAClosedMeshStaysClosed) {
  const cMesh tet = Tetrahedron();
  ASSERT_TRUE(HasNonQuads(tet));
  const cMesh q = SplitIntoQuads(tet);
  EXPECT_FALSE(HasNonQuads(q));
  EXPECT_TRUE(q.IsConsistent());
  EXPECT_EQ(q.PolygonCount(), 12);
  // 4 corners + 6 shared edge midpoints + 4 face centres.
  EXPECT_EQ(q.positions.size(), 14u);
  for (const auto& [edge, count] : EdgeUses(q)) EXPECT_EQ(count, 2) << edge.first << "-" << edge.second;
  // Texture coordinates stay per face: the seams keep their own midpoints.
  EXPECT_EQ(q.uvs.size(), tet.uvs.size() + 4 * 3 + 4);
  // Each quad starts at an original corner, its UV unchanged.
  q.ForEachPolygon([&](size_t, const cPolyCell&, const cPolyCell* c) {
    EXPECT_LT(c[0].a, 4);
    EXPECT_LT(c[0].b, int(tet.uvs.size()));
  });
}

TEST(QuadSplit, QuadsPassThroughAndMidpointsLieHalfway) {
  cMesh m = Sheet(1, 1);
  EXPECT_FALSE(HasNonQuads(m));
  m.BeginPolygon(5, 0, -1);  // a pentagon beside it, with no UVs
  for (int i = 0; i < 5; i++) {
    m.positions.push_back({2.0f + std::cos(i * 1.2566f), std::sin(i * 1.2566f), 0});
    m.AddCorner(int(m.positions.size()) - 1, -1, -1);
  }
  const cMesh q = SplitIntoQuads(m);
  EXPECT_EQ(q.PolygonCount(), 4 + 5);
  // The first new quad of the sheet: corner 0, the midpoint of edge 0-1, the
  // centre, the midpoint of edge 3-0.
  const cPolyCell* c = &q.polygons[1];
  const auto& p = q.positions;
  EXPECT_FLOAT_EQ(p[c[1].a].x, (p[c[0].a].x + p[1].x) / 2);
  EXPECT_FLOAT_EQ(p[c[2].a].x, 0.5f);
  EXPECT_FLOAT_EQ(p[c[2].a].y, 0.5f);
  EXPECT_GE(c[2].b, 0);  // the sheet has UVs: so has its centre
  // The pentagon had none, and its quads have none either.
  const cPolyCell* last = &q.polygons[q.polygons.size() - 4];
  for (int k = 0; k < 4; k++) EXPECT_EQ(last[k].b, -1);
}

TEST(QuadSplit, MicroVertexImportOfTrianglesGivesGridsOnQuadsOnly) {
  PaintScene scene;
  ASSERT_TRUE(ImportPreparedMesh(scene, Tetrahedron(), PaintImportMode::MicroVertex, Grid(1)).ok);
  ASSERT_EQ(scene.Faces.size(), 12u);
  for (int f = 0; f < 12; f++) {
    EXPECT_TRUE(scene.FaceCornerMap.IsQuad(f));
    EXPECT_NE(scene.Faces[f].Grid, nullptr);
    for (int k = 0; k < 4; k++) EXPECT_GE(scene.Faces[f].Neighbour[k], 0) << "face " << f << " side " << k;
  }
  // Per-pixel import keeps the triangles: tiles take them as they are.
  PaintScene pixels;
  ASSERT_TRUE(ImportPreparedMesh(pixels, Tetrahedron(), PaintImportMode::PerPixel, Grid(1)).ok);
  EXPECT_EQ(pixels.Faces.size(), 4u);
}
