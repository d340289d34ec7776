// Walking off a face's grid continues on the neighbour: around a cube, across
// neighbours whose corner loops start elsewhere or run the other way, and
// clamped at open borders.
#include <gtest/gtest.h>

#include "PaintMeshes.h"

using namespace paintmeshes;

namespace {

// The micro-vertex position reached from (x, y) of face f.
comms::cVec3 At(PaintScene& s, int f, int x, int y) {
  MicroVertex scratch;
  return s.GetMicroVertex(f, x, y, &scratch).Vertex->Position;
}

// The grid position whose centre lies nearest to p over all faces.
float NearestDistance(PaintScene& s, const comms::cVec3& p) {
  float best = 1e30f;
  for (const PaintFace& f : s.Faces)
    for (int i = 0; i < f.SampleCount(); i++) best = std::min(best, (f.Grid[i].Position - p).Length());
  return best;
}

}  // namespace

TEST(FaceCrossing, StepsOffEveryCubeFaceLandOnTheAdjacentRing) {
  PaintScene s;
  ASSERT_TRUE(ImportMeshIntoScene(s, Cube(false), PaintImportMode::MicroVertex, Grid(2)).ok);
  const float h = 1.0f / 8;  // half a micro-vertex step on a unit cube with 4 x 4 grids
  for (int f = 0; f < 6; f++) {
    for (int n : s.Faces[f].Neighbour) EXPECT_GE(n, 0);
    for (int t = 0; t < 4; t++) {
      const comms::cVec3 inside[4] = {At(s, f, t, 0), At(s, f, t, 3), At(s, f, 0, t), At(s, f, 3, t)};
      const comms::cVec3 outside[4] = {At(s, f, t, -1), At(s, f, t, 4), At(s, f, -1, t), At(s, f, 4, t)};
      for (int side = 0; side < 4; side++) {
        // One step out lands a quarter-step on each side of the cube's edge:
        // both at distance h from the edge, sqrt(2) * h apart.
        EXPECT_NEAR((outside[side] - inside[side]).Length(), std::sqrt(2.0f) * h, 1e-5f)
            << "face " << f << " side " << side << " t " << t;
        CrossedVertex c;
        MicroVertex scratch;
        int x = side < 2 ? t : side == 2 ? -1 : 4, y = side == 0 ? -1 : side == 1 ? 4 : t;
        c = s.GetMicroVertex(f, x, y, &scratch);
        EXPECT_EQ(c.Face, s.Faces[f].Neighbour[side]);
      }
    }
    // Two steps out reach the second ring of the neighbour.
    EXPECT_NEAR((At(s, f, 1, -2) - At(s, f, 1, 0)).Length(), std::sqrt(h * h * 9 + h * h), 1e-5f);
  }
  // Walking four faces along a belt comes back to the start.
  EXPECT_NEAR((At(s, 2, 1, 1 - 16) - At(s, 2, 1, 1)).Length(), 0, 1e-5f);
}

TEST(FaceCrossing, TurnedAndMirroredNeighboursMapAlongTheSharedEdge) {
  // Three quads in a row in the plane. The middle one's loop starts at another
  // corner (turned); the right one's loop runs the other way (mirrored).
  comms::cMesh m;
  for (int y = 0; y <= 1; y++)
    for (int x = 0; x <= 3; x++) m.positions.push_back({(float)x, (float)y, 0});
  AddQuad(m, 0, 1, 5, 4);
  AddQuad(m, 6, 5, 1, 2);  // turned twice
  AddQuad(m, 2, 6, 7, 3);  // runs clockwise
  PaintScene s;
  ASSERT_TRUE(ImportMeshIntoScene(s, m, PaintImportMode::MicroVertex, Grid(3)).ok);
  const int n = 8;
  for (int f = 0; f < 3; f++)
    for (int y = -3; y < n + 3; y++)
      for (int x = -3; x < n + 3; x++) {
        comms::cVec3 p = At(s, f, x, y);
        EXPECT_LT(NearestDistance(s, p), 1e-5f);
      }
  // Stepping right from the left face, row by row, continues in a straight line.
  for (int y = 0; y < n; y++) {
    comms::cVec3 a = At(s, 0, n - 1, y), b = At(s, 0, n, y), c = At(s, 0, n + 1, y);
    EXPECT_NEAR(b.x - a.x, 1.0f / n, 1e-5f) << y;
    EXPECT_NEAR(c.x - b.x, 1.0f / n, 1e-5f) << y;
    EXPECT_NEAR(b.y, a.y, 1e-5f) << y;
    EXPECT_NEAR(c.y, a.y, 1e-5f) << y;
  }
  // And on into the mirrored face: 2n + 1 steps right of the left face's last column.
  for (int y = 0; y < n; y++) {
    comms::cVec3 a = At(s, 0, n - 1, y), far = At(s, 0, 2 * n + 2, y);
    EXPECT_NEAR(far.x - a.x, (n + 3.0f) / n, 1e-5f) << y;
    EXPECT_NEAR(far.y, a.y, 1e-5f) << y;
  }
  // Off an open border the walk clamps to the last face reached.
  CrossedVertex c = s.GetMicroVertex(0, -5, 2, nullptr);
  EXPECT_EQ(c.Face, 0);
  EXPECT_EQ(c.X, 0);
  EXPECT_EQ(c.Y, 2);
  // A face with no grid gives the default sample, or null without scratch.
  s.Faces[1].AllocateGrid(0, 0);
  MicroVertex scratch;
  scratch.Color = 1;
  EXPECT_EQ(s.GetMicroVertex(1, 0, 0, &scratch).Vertex->Color, 0x00808080u);
  EXPECT_EQ(s.GetMicroVertex(1, 0, 0, nullptr).Vertex, nullptr);
}

TEST(FaceCrossing, TheSidesWorkedOutOnceLeadWhereTheWalkDoes) {
  // Turned, mirrored and open sides, grids of unequal size, and a neighbour
  // without a grid: every position of the first ring, and some beyond it,
  // give the very record GetMicroVertex gives.
  comms::cMesh m;
  for (int y = 0; y <= 1; y++)
    for (int x = 0; x <= 4; x++) m.positions.push_back({(float)x, (float)y, 0});
  AddQuad(m, 0, 1, 6, 5);
  AddQuad(m, 7, 6, 1, 2);  // turned twice
  AddQuad(m, 2, 7, 8, 3);  // runs clockwise
  AddQuad(m, 3, 8, 9, 4);
  PaintScene s;
  ASSERT_TRUE(ImportMeshIntoScene(s, m, PaintImportMode::MicroVertex, Grid(2)).ok);
  s.Faces[2].AllocateGrid(6, 3);  // unequal to its neighbours'
  s.Faces[3].AllocateGrid(0, 0);  // a grid size and no grid: the default sample
  s.Faces[3].Nx = s.Faces[3].Ny = 4;
  for (int f = 0; f < 3; f++) {
    FaceSides sides;
    s.GetFaceSides(f, sides);
    const int nx = s.Faces[f].Nx, ny = s.Faces[f].Ny;
    for (int y = -2; y <= ny + 1; y++)
      for (int x = -2; x <= nx + 1; x++) {
        MicroVertex a, b;
        a.Color = b.Color = 7;
        const MicroVertex* walked = s.GetMicroVertex(f, x, y, &a).Vertex;
        const MicroVertex* beside = s.MicroVertexBeside(f, sides, x, y, &b);
        if (walked == &a) {
          ASSERT_EQ(beside, &b) << "face " << f << " at " << x << ", " << y;
          EXPECT_EQ(b.Color, 0x00808080u);
        } else {
          ASSERT_EQ(beside, walked) << "face " << f << " at " << x << ", " << y;
        }
      }
  }
}
