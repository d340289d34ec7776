// The merge tool's simplification: a mesh much finer than the lattice is
// brought down to about what the voxels can show before it is merged, and
// the solid comes out within about a voxel of the merge of the full mesh.
#include <gtest/gtest.h>

#include "MC/mcubes/MakeVolumeCommand.h"
#include "MC/mesh/MergeIntoVolume.h"
#include "MC/mesh/MeshMerge.h"
#include "SimplifyKit.h"
#include "topology/simplify/SimplifyMesh.h"

namespace {

WeldedMeshBuilder Surface(VolumeObject& v) {
  v.UpdateSurface();
  WeldedMeshBuilder m;
  v.ExtractWeldedAll(m);
  return m;
}

}  // namespace

TEST(MergeSimplification, FewerTrianglesGiveTheSameSolidWithinAVoxel) {
  auto fine = std::make_unique<comms::cMesh>();
  WeldedToMesh(simptest::SphereSurface(30), *fine);
  const int full = fine->PolygonCount();
  MeshMerge merge;
  ASSERT_TRUE(merge.SetMesh(std::move(fine)));
  merge.Settings.MergeScale = 0.1f;  // radius 15 voxels
  merge.Simplifier = [](comms::cMesh& mesh, int target) { return SimplifyMesh(mesh, target); };

  VolumeObject plain, reduced;
  merge.Simplification.PerformSimplification = false;
  ASSERT_TRUE(merge.Merge(plain, kMergeUnion, {}));
  EXPECT_EQ(merge.MergedTriangles(), full);

  merge.Simplification.PerformSimplification = true;
  merge.Simplification.SimpDegree = 1;
  ASSERT_TRUE(merge.Merge(reduced, kMergeUnion, {}));
  // About two triangles per voxel square of the sphere's surface.
  const double lattice = 2 * 4 * M_PI * 15 * 15;
  std::printf("%d -> %d triangles (lattice %.0f)\n", full, merge.MergedTriangles(), lattice);
  EXPECT_NEAR(merge.MergedTriangles(), lattice, 0.05 * lattice);
  EXPECT_LT(merge.MergedTriangles(), full / 4);

  const WeldedMeshBuilder a = Surface(plain), b = Surface(reduced);
  ExpectClosed(Analyse(b));
  EXPECT_EQ(Analyse(b).Euler(), 2);
  const double apart = simptest::TwoSidedDistance(a, b);
  std::printf("solids %.3f voxels apart\n", apart);
  EXPECT_LT(apart, 1.0);
}

TEST(MergeSimplification, DegreeScalesTheTarget) {
  comms::cMesh mesh;
  WeldedToMesh(simptest::SphereSurface(12), mesh);
  const int full = mesh.PolygonCount();
  const float scale[16] = {0.5f, 0, 0, 0, 0, 0.5f, 0, 0, 0, 0, 0.5f, 0, 0, 0, 0, 1};
  const int lattice = MergeTargetTriangles(mesh, scale, 1);
  EXPECT_NEAR(lattice, 2 * 4 * M_PI * 6 * 6, 0.05 * lattice);
  EXPECT_EQ(MergeTargetTriangles(mesh, scale, 0), full);
  EXPECT_NEAR(MergeTargetTriangles(mesh, scale, 0.5f), (full + lattice) / 2.0, 1);
  // Coarser than the lattice already: left as it is.
  const float grow[16] = {4, 0, 0, 0, 0, 4, 0, 0, 0, 0, 4, 0, 0, 0, 0, 1};
  EXPECT_EQ(MergeTargetTriangles(mesh, grow, 1), full);
}

TEST(MergeSimplification, PartsKeepTheirNames) {
  // Two spheres as two objects, corners unwelded (each triangle its own).
  comms::cMesh mesh;
  for (const char* name : {"Body", "Hole_negative"}) {
    const int object = mesh.AddObject(name);
    const WeldedMeshBuilder s = simptest::SphereSurface(object ? 6 : 10);
    for (uint32_t i : s.Indices) mesh.positions.push_back({s.Positions[i * 3], s.Positions[i * 3 + 1], s.Positions[i * 3 + 2]});
    for (int t = 0; t < s.TriangleCount(); ++t) {
      mesh.BeginPolygon(3, 0, object);
      for (int k = 0; k < 3; ++k) mesh.AddCorner((int)mesh.positions.size() - 3 * (s.TriangleCount() - t) + k, -1, -1);
    }
  }
  const int full = mesh.PolygonCount();
  ASSERT_TRUE(SimplifyMesh(mesh, full / 2));
  EXPECT_NEAR(mesh.PolygonCount(), full / 2, 4);
  ASSERT_EQ(mesh.objects.size(), 2u);
  EXPECT_EQ(mesh.objects[0].name, "Body");
  EXPECT_EQ(mesh.objects[1].name, "Hole_negative");
  for (int object = 0; object < 2; ++object) {
    WeldedMeshBuilder part;
    for (const auto& p : mesh.positions) part.Positions.insert(part.Positions.end(), {p.x, p.y, p.z});
    mesh.ForEachPolygon([&](size_t, const comms::cPolyCell& h, const comms::cPolyCell* c) {
      if (h.c == object) part.Indices.insert(part.Indices.end(), {(uint32_t)c[0].a, (uint32_t)c[1].a, (uint32_t)c[2].a});
    });
    MeshTopology t = Analyse(part);
    t.unusedVertices = 0;  // the other part's
    ExpectClosed(t);
  }
}
