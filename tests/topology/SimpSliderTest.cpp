// The polycount slider replays the stored collapses: at the end it shows
// what the simplifier extracted, in between a closed surface, and back at
// the start the input to the byte.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>

#include "SimplifyKit.h"

namespace {

// The live triangles as sorted position triples, each turned to start at its
// smallest corner, for comparing two meshes with other vertex numbers.
std::vector<std::array<float, 9>> Triangles(const float* positions, const std::vector<uint32_t>& indices,
                                            const std::function<bool(int)>& alive) {
  std::vector<std::array<float, 9>> out;
  for (int t = 0; t < (int)indices.size() / 3; ++t) {
    if (!alive(t)) continue;
    std::array<std::array<float, 3>, 3> c;
    for (int k = 0; k < 3; ++k)
      for (int a = 0; a < 3; ++a) c[k][a] = positions[indices[t * 3 + k] * 3 + a];
    std::rotate(c.begin(), std::min_element(c.begin(), c.end()), c.end());
    out.push_back({c[0][0], c[0][1], c[0][2], c[1][0], c[1][1], c[1][2], c[2][0], c[2][1], c[2][2]});
  }
  std::sort(out.begin(), out.end());
  return out;
}

}  // namespace

TEST(SimpSlider, ReplaysTheCollapsesBothWays) {
  const WeldedMeshBuilder sphere = simptest::SphereSurface(14.3f);
  HalfEdgeMesh m;
  CollapseLog log;
  m.Record = &log;
  m.AddSurface(sphere);
  ASSERT_TRUE(m.Build());
  float ratio = 0.9f;
  ASSERT_TRUE(m.Simplify(ratio, false));
  ASSERT_EQ((int)log.records.size(), m.Collapses());
  comms::cMesh simplified;
  m.Extract(simplified);

  SimpSlider slider(m.BuiltIndices(), log);
  const float* p = sphere.Positions.data();
  const int all = sphere.TriangleCount();
  auto alive = [&](int t) { return slider.Alive(t); };
  slider.SetFraction(0);  // as far as the log goes: the simplifier's result
  EXPECT_EQ(slider.Position(), m.Collapses());
  const WeldedMeshBuilder end = simptest::Welded(simplified);
  EXPECT_EQ(Triangles(p, slider.Indices(), alive), Triangles(end.Positions.data(), end.Indices, [](int) { return true; }));

  slider.SetFraction(0.5f);
  EXPECT_NEAR(slider.LiveTriangles(), all / 2, 2);
  WeldedMeshBuilder half;
  half.Positions = sphere.Positions;
  for (int t = 0; t < all; ++t)
    if (slider.Alive(t)) half.Indices.insert(half.Indices.end(), &slider.Indices()[t * 3], &slider.Indices()[t * 3 + 3]);
  const MeshTopology topology = Analyse(half);
  MeshTopology used = topology;
  used.unusedVertices = 0;  // the collapsed ones stay in the list
  ExpectClosed(used);
  EXPECT_EQ(topology.Euler() - topology.unusedVertices, 2);

  slider.SetFraction(1);
  EXPECT_EQ(slider.Position(), 0);
  EXPECT_EQ(slider.LiveTriangles(), all);
  EXPECT_EQ(slider.Indices(), sphere.Indices);
}
