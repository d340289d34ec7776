// Which collapses the simplifier allows and what they cost: a tetrahedron
// cannot shrink, boundary and interior never meet, busy vertices cost more,
// and on a flat mesh the shortest edges go first.
#include <gtest/gtest.h>

#include "SimplifyKit.h"

using simptest::Tris;

TEST(CollapseRules, ClosedTetrahedronIsNeverCollapsed) {
  Tris t;
  t.p = {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1};
  t.i = {0, 2, 1, 0, 1, 3, 0, 3, 2, 1, 2, 3};
  HalfEdgeMesh m;
  t.Add(m);
  ASSERT_TRUE(m.Build());
  for (const auto& v : m.Vertices()) {
    EXPECT_EQ(v.boundary, 0);
    EXPECT_EQ(v.valence, 3);
    EXPECT_EQ(v.best, -1) << "the link test refuses every edge";
    EXPECT_EQ(v.heapSlot, -1);
  }
  float ratio = 1;
  EXPECT_TRUE(m.Simplify(ratio, false));
  EXPECT_EQ(m.Collapses(), 0);
  EXPECT_EQ(m.LiveFaces(), 4);
}

namespace {
// Every live half-edge between a boundary and an interior vertex is refused,
// either way; returns how many there are.
int ExpectMixedEdgesRefused(const HalfEdgeMesh& m) {
  int mixed = 0;
  for (int h = 0; h < (int)m.HalfEdges().size(); ++h) {
    const int v = m.HalfEdges()[h].vertex, w = m.Head(h);
    if (m.Faces()[m.HalfEdges()[h].face].edge < 0) continue;
    if (m.Vertices()[v].boundary == m.Vertices()[w].boundary) continue;
    ++mixed;
    EXPECT_FALSE(m.IsLegal(v, h)) << v << " -> " << w;
  }
  return mixed;
}
}  // namespace

TEST(CollapseRules, BoundaryAndInteriorVerticesNeverMerge) {
  HalfEdgeMesh m;
  simptest::Grid({0, 1, 2, 3, 4, 5}, {0, 1, 2, 3, 4, 5}).Add(m);
  ASSERT_TRUE(m.Build());
  EXPECT_GT(ExpectMixedEdgesRefused(m), 0);
  std::vector<int16_t> wasBoundary;
  for (const auto& v : m.Vertices()) wasBoundary.push_back(v.boundary);
  // Down as far as it goes: still refused, and each vertex left lies on the
  // border of the result exactly when it lay on the border of the input.
  float ratio = 1;
  m.Simplify(ratio, false);
  EXPECT_GT(m.Collapses(), 10);
  EXPECT_GT(ExpectMixedEdgesRefused(m), 0);
  std::vector<int> onBorder(m.Vertices().size(), 0);
  for (int h = 0; h < (int)m.HalfEdges().size(); ++h)
    if (m.Faces()[m.HalfEdges()[h].face].edge >= 0 && m.HalfEdges()[h].twin < 0)
      onBorder[m.HalfEdges()[h].vertex] = onBorder[m.Head(h)] = 1;
  for (size_t v = 0; v < m.Vertices().size(); ++v) {
    if (m.Vertices()[v].edge < 0) continue;
    EXPECT_EQ(onBorder[v], wasBoundary[v]) << v;
  }
}

TEST(CollapseRules, ValenceNineCostsFourTimesValenceSix) {
  HalfEdgeMesh six, nine;
  simptest::Fan(6).Add(six);
  simptest::Fan(9).Add(nine);
  ASSERT_TRUE(six.Build() && nine.Build());
  ASSERT_EQ(six.Vertices()[0].valence, 6);
  ASSERT_EQ(nine.Vertices()[0].valence, 9);
  // Flat fans: the same form, the same unit step to the ring.
  const float c6 = six.CostOf(0, six.Vertices()[0].edge), c9 = nine.CostOf(0, nine.Vertices()[0].edge);
  EXPECT_NEAR(c6, 0.001f, 1e-7f);
  EXPECT_FLOAT_EQ(c9, 4 * c6);
}

TEST(CollapseRules, FlatMeshLosesItsShortestEdgeFirst) {
  // One column of short (0.2) edges among unit ones.
  HalfEdgeMesh m;
  simptest::Grid({0, 1, 2, 3, 3.2f, 4.2f, 5.2f, 6.2f}, {0, 1, 2, 3, 4, 5, 6}).Add(m);
  ASSERT_TRUE(m.Build());
  float ratio = 1.5f / float(m.LiveFaces() / 2);  // one collapse
  ASSERT_TRUE(m.Simplify(ratio, false));
  ASSERT_EQ(m.Collapses(), 1);
  int gone = 0;
  for (const auto& v : m.Vertices())
    if (v.edge < 0) {
      ++gone;
      EXPECT_TRUE(v.pos[0] == 3 || v.pos[0] == 3.2f) << v.pos[0] << ", " << v.pos[1];
    }
  EXPECT_EQ(gone, 1);
}

TEST(CollapseRules, PinchesAndFinsStayPut) {
  // Two grids touching at one corner (a pinch), and a third triangle on an
  // inner edge of the first (a fin): what they touch never moves, the rest
  // still simplifies, and every triangle left is whole.
  simptest::Tris t = simptest::Grid({0, 1, 2, 3}, {0, 1, 2, 3});
  const simptest::Tris second = simptest::Grid({3, 4, 5, 6}, {3, 4, 5, 6});
  const uint32_t base = (uint32_t)t.p.size() / 3;
  t.p.insert(t.p.end(), second.p.begin(), second.p.end());
  for (uint32_t i : second.i) t.i.push_back(i == 0 ? 15 : i + base);  // its (3, 3) is the first's
  t.p.insert(t.p.end(), {1.5f, 1.5f, 1});
  t.i.insert(t.i.end(), {5, 10, (uint32_t)t.p.size() / 3 - 1});  // on the inner edge 5-10
  HalfEdgeMesh m;
  t.Add(m);
  ASSERT_TRUE(m.Build());
  float ratio = 1;
  m.Simplify(ratio, false);
  EXPECT_GT(m.Collapses(), 0);
  for (int v : {15, 5, 10}) {
    EXPECT_GE(m.Vertices()[v].edge, 0) << v;
    EXPECT_EQ(m.Vertices()[v].best, -1) << v;
  }
  comms::cMesh out;
  m.Extract(out);
  EXPECT_TRUE(out.IsConsistent());
  EXPECT_EQ(Analyse(simptest::Welded(out)).degenerate, 0);
}
