// Lattice changes that keep the shape in place: a volume rebuilt so its
// Transform is a uniform scale, a copy at half the resolution, and hidden
// cells deleted while shown ones stay byte for byte.
#include <gtest/gtest.h>

#include "MC/brushes/BrushTestKit.h"
#include "MC/tree/VolumeHiding.h"
#include "MC/tree/VolumeSpace.h"
#include "MC/tree/VoxTreeMenu.h"
#include "TreeTestKit.h"

namespace {

TEST(VolumeSpace, ToGlobalSpaceLeavesAUniformScaleAndTheShapeInPlace) {
  VoxVisualTree tree;
  VoxTreeBranch* a = tree.AddVolume();
  VolumeObject& v = *a->Volume;
  // Stretched unevenly, turned and shifted: the smallest axis is y at 0.55.
  const comms::cMat4 placed = comms::cMat4::Scaling(0.8f, 0.55f, 0.7f) * Placement(33, 1, 5, -6, 7);
  v.SetTransform(&placed.m[0][0]);
  FillVolume(v, BoxShape(3, 1, -2, 9, 5, 4));
  EXPECT_NEAR(SmallestAxisScale(v), 0.55f, 1e-6f);
  const meshtest::Soup before = SceneSurface(v);
  ASSERT_FALSE(before.p.empty());

  ASSERT_TRUE(RunVoxTreeCommand(tree, a, "ToGlobalSpace"));
  const comms::cMat4 uniform = comms::cMat4::Scaling(0.55f, 0.55f, 0.55f);
  for (int i = 0; i < 16; ++i) EXPECT_NEAR(v.Transform[i], (&uniform.m[0][0])[i], 1e-6f) << i;
  const meshtest::Soup after = SceneSurface(v);
  // The box's faces are flat: they come back within one new voxel.
  EXPECT_LT(SurfaceGap(before, after, 3.f), 0.55);
  ExpectConsistent(tree);
}

TEST(VolumeSpace, ToGlobalSpaceRefusesAFlatTransform) {
  VolumeObject v;
  FillVolume(v, SphereShape(0, 0, 0, 6));
  const comms::cMat4 flat = comms::cMat4::Scaling(1, 0, 1);
  v.SetTransform(&flat.m[0][0]);
  const VolumeSnapshot start = Snapshot(v);
  EXPECT_FALSE(ToGlobalSpace(v));
  EXPECT_EQ(Snapshot(v), start);
  EXPECT_EQ(v.Transform[5], 0.f);
}

TEST(VolumeSpace, CloneDegradeHalvesTheResolutionAndKeepsTheShape) {
  VoxVisualTree tree;
  VoxTreeBranch* a = tree.AddVolume();
  VoxTreeBranch* b = tree.AddVolume();
  VolumeObject& v = *a->Volume;
  const comms::cMat4 placed = Placement(20, 0.5f, 1, 2, 3);
  v.SetTransform(&placed.m[0][0]);
  FillVolume(v, SphereShape(3, -2, 1, 13));
  a->GizmoCenter[0] = 4, a->GizmoCenter[2] = -2;
  const VolumeSnapshot source = Snapshot(v);
  const meshtest::Soup fine = SceneSurface(v);

  ASSERT_TRUE(RunVoxTreeCommand(tree, a, "CloneDegrade"));
  VoxTreeBranch* coarse = tree.FindByName("Volume1_degrade");
  ASSERT_NE(coarse, nullptr);
  EXPECT_EQ(tree.IndexOf(coarse), tree.IndexOf(a) + 1) << "right behind the source";
  EXPECT_EQ(tree.IndexOf(b), tree.IndexOf(coarse) + 1);
  EXPECT_EQ(tree.CurrentVolume, coarse->Volume);
  EXPECT_FLOAT_EQ(coarse->GizmoCenter[0], 2.f);
  EXPECT_FLOAT_EQ(coarse->GizmoCenter[2], -1.f);
  const comms::cMat4 expect = placed * comms::cMat4::Scaling(2, 2, 2);
  for (int i = 0; i < 16; ++i) EXPECT_NEAR(coarse->Volume->Transform[i], (&expect.m[0][0])[i], 1e-5f) << i;
  EXPECT_EQ(Snapshot(v), source) << "the source stays as it was";
  const meshtest::Soup half = SceneSurface(*coarse->Volume);
  EXPECT_LT(half.p.size() * 2, fine.p.size()) << "a coarser lattice, fewer triangles";
  // One coarse voxel is a scene unit here.
  EXPECT_LT(SurfaceGap(fine, half, 3.f), 1.0);
  ExpectConsistent(tree);
  EXPECT_FALSE(RunVoxTreeCommand(tree, tree.AddFolder(nullptr, "Empty"), "CloneDegrade"));
}

TEST(VolumeSpace, DeleteHiddenDropsOnlyTheHiddenCells) {
  VoxVisualTree tree;
  VoxTreeBranch* a = tree.AddVolume();
  FillVolume(*a->Volume, BoxShape(0, 3, 0, 20, 6, 5));
  EXPECT_FALSE(RunVoxTreeCommand(tree, a, "DeleteHidden")) << "nothing hidden, nothing to delete";
  VolumeSnapshot kept;
  int hidden = 0;
  const VolumeSnapshot whole = Snapshot(*a->Volume);
  a->Volume->Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (k.x < 0 && k.y >= 0) c->Flags |= kCellHidden, ++hidden;
  });
  ASSERT_GT(hidden, 0);
  for (auto& [k, vals] : whole)
    if (!(std::get<0>(k) < 0 && std::get<1>(k) >= 0)) kept[k] = vals;
  ASSERT_LT(kept.size(), whole.size());
  EXPECT_EQ(DeleteHidden(*a->Volume), hidden);
  EXPECT_EQ(Snapshot(*a->Volume), kept);
  a->Volume->Cells.ForEach([&](const CellKey&, VoxelCell*& c) { EXPECT_FALSE(c->Flags & kCellHidden); });
  EXPECT_EQ(UnhideAll(*a->Volume), 0);
  EXPECT_EQ(tree.VolumeList.size(), 1u) << "no row is made for what is deleted";
  ExpectConsistent(tree);
}

}  // namespace
