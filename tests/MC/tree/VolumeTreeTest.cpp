// The layer tree: names and levels, transforms passed down a branch, a brush
// dab on a turned and scaled child, clone/delete/undelete/purge keeping the
// list and the branches in step, re-parenting, booleans that consume a row,
// density steps, and the tree's way through the volume stream.
#include <gtest/gtest.h>

#include "MC/brushes/BrushTestKit.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/tree/VolumeHiding.h"
#include "TreeStreamKit.h"
#include "TreeTestKit.h"

namespace {

TEST(VolumeTree, RootThenVolumesNamedByARunningCounter) {
  VoxVisualTree tree;
  EXPECT_STREQ(tree.Name.cpchar(), "Root");
  VoxTreeBranch* a = tree.AddVolume();
  VoxTreeBranch* b = tree.AddVolume(a);
  VoxTreeBranch* f = tree.AddFolder(b);
  EXPECT_STREQ(a->Name.cpchar(), "Volume1");
  EXPECT_STREQ(b->Name.cpchar(), "Volume2");
  EXPECT_EQ(f->Volume, nullptr);
  EXPECT_EQ(f->Level, 3);
  EXPECT_EQ(tree.CurrentVolume, b->Volume) << "a new volume becomes current";
  EXPECT_NE(a->Volume->Cells.Find(0, 0, 0), nullptr) << "a new volume holds its first cell";
  ExpectConsistent(tree);
}

TEST(VolumeTree, TransformsComposeDownTheBranch) {
  VoxVisualTree tree;
  VoxTreeBranch* a = tree.AddVolume();
  VoxTreeBranch* b = tree.AddVolume(a);
  VoxTreeBranch* c = tree.AddVolume(b);
  const comms::cMat4 m1 = Placement(30, 1.5f, 4, -2, 7), m2 = Placement(-75, 0.5f, -3, 1, 0);
  tree.TransformBranch(a, &m1.m[0][0]);
  tree.TransformBranch(b, &m2.m[0][0]);
  const float p[3] = {3, -5, 11};
  auto expectMaps = [&](VoxTreeBranch* row, const comms::cMat4& m) {
    float got[3];
    row->Volume->PointToScene(p, got);
    const comms::cVec3 want = comms::TransformPoint(comms::cVec3(p[0], p[1], p[2]), m);
    EXPECT_NEAR(got[0], want.x, 1e-4f);
    EXPECT_NEAR(got[1], want.y, 1e-4f);
    EXPECT_NEAR(got[2], want.z, 1e-4f);
    float back[3];
    row->Volume->PointToObject(got, back);
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(back[i], p[i], 1e-3f);
  };
  expectMaps(a, m1);
  expectMaps(b, m1 * m2);
  expectMaps(c, m1 * m2);  // a grandchild moves with the branch it hangs on
  const comms::cMat4 tf = Mat(c->Tf) * Mat(c->TfInverse);
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) EXPECT_NEAR(tf.m[i][j], i == j ? 1.f : 0.f, 1e-5f);
}

TEST(VolumeTree, DabOnATransformedChildLandsUnderTheCursor) {
  GeneralPenSaver saved;
  SimplePen pen;
  GeneralPen::CurrentPenPtr = &pen;
  GeneralPen::DeepDegree = 0.5f;
  VoxVisualTree tree;
  VoxTreeBranch* parent = tree.AddVolume();
  FillVolume(*parent->Volume, SphereShape(0, 0, 0, 20));
  VoxTreeBranch* child = tree.AddVolume(parent);
  const comms::cMat4 place = Placement(40, 2.0f, 100, 10, -30);
  child->Volume->SetTransform(&place.m[0][0]);
  VolumeObject& v = *tree.CurrentVolume;
  ASSERT_EQ(&v, child->Volume);
  FillVolume(v, SphereShape(0, 0, 0, 16));
  v.UpdateSurface();
  const VolumeSnapshot before = Snapshot(v), parentBefore = Snapshot(*parent->Volume);

  // The cursor: the child's surface point at object (0, 16, 0), in the scene.
  const float top[3] = {0, 16, 0}, up[3] = {0, 1, 0};
  PenPoint p;
  v.PointToScene(top, p.P);
  v.VectorToScene(up, p.N);
  p.Radius = 10.f;  // scene units: 5 voxels of the child
  p.Pressure = 1.f;
  VoxelBrushSettings settings;
  VoxelSculptStroke stroke{settings};
  stroke.Tool = SCULPT_CARVE;
  ASSERT_TRUE(stroke.Begin(v, p, 3));
  stroke.End();
  const VolumeSnapshot after = Snapshot(v);
  double sum[3] = {0, 0, 0}, n = 0;
  for (const auto& [key, vals] : after) {
    auto old = before.find(key);
    for (int z = 0; z < 8; ++z)
      for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) {
          const int i = LatticeIndex(x, y, z);
          const uint16_t o = old == before.end() ? 0 : old->second[i];
          if (vals[i] == o) continue;
          const float q[3] = {(float)(std::get<0>(key) * 8 + x), (float)(std::get<1>(key) * 8 + y),
                              (float)(std::get<2>(key) * 8 + z)};
          float s[3];
          v.PointToScene(q, s);
          for (int a = 0; a < 3; ++a) sum[a] += s[a];
          ++n;
        }
  }
  ASSERT_GT(n, 10) << "the dab changed nothing";
  // The changed voxels gather under the cursor (the centre sinks a little along the normal).
  const double c[3] = {sum[0] / n - p.P[0], sum[1] / n - p.P[1], sum[2] / n - p.P[2]};
  const double along = c[0] * p.N[0] + c[1] * p.N[1] + c[2] * p.N[2];
  const double side = std::sqrt(std::max(0.0, c[0] * c[0] + c[1] * c[1] + c[2] * c[2] - along * along));
  EXPECT_LT(side, 2.0) << "scene units off the cursor across the surface";
  EXPECT_LT(std::abs(along), p.Radius);
  EXPECT_EQ(Snapshot(*parent->Volume), parentBefore) << "only the current volume is sculpted";
}

TEST(VolumeTree, CloneDeleteUndeleteAndPurgeKeepListAndIdsInStep) {
  VoxVisualTree tree;
  VoxTreeBranch* a = tree.AddVolume();
  FillVolume(*a->Volume, TorusShape(3, 0, -5, 14, 5));
  VoxTreeBranch* kid = tree.AddVolume(a);
  VoxTreeBranch* b = tree.AddVolume();
  const uintptr_t idA = a->Volume->ObjectId;
  const int cellsBefore = a->Volume->vpool.LiveBlocks();

  VoxTreeBranch* copy = tree.Clone(a);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(tree.IndexOf(copy), tree.IndexOf(a) + 1) << "the clone stands right behind its source";
  EXPECT_EQ(std::string(copy->Name.cpchar()), "Volume1_copy");
  EXPECT_TRUE(copy->NewlyTransformed && copy->NewlyPlaced);
  EXPECT_NE(copy->Volume->ObjectId, idA);
  EXPECT_EQ(Snapshot(*copy->Volume), Snapshot(*a->Volume));
  EXPECT_EQ(copy->Volume->vpool.LiveBlocks(), cellsBefore);
  EXPECT_EQ(tree.CurrentVolume, copy->Volume);
  ExpectConsistent(tree);

  ASSERT_TRUE(tree.Delete(a));
  EXPECT_EQ(tree.VolumeRowCount(), 2) << "the row and its child are gone from the count";
  EXPECT_NE(tree.CurrentVolume, a->Volume);
  EXPECT_NE(tree.CurrentVolume, kid->Volume);
  ASSERT_TRUE(tree.Undelete(a));
  EXPECT_EQ(tree.VolumeRowCount(), 4);
  EXPECT_EQ(a->Volume->ObjectId, idA) << "undelete gives back the same volume";
  ExpectConsistent(tree);

  ASSERT_TRUE(tree.Delete(a));
  tree.PurgeRemoved();
  EXPECT_EQ(tree.VolumeList.size(), 2u) << "the row's volume and its child's are freed";
  EXPECT_EQ(tree.BranchOf(copy->Volume), copy);
  EXPECT_EQ(tree.BranchOf(b->Volume), b);
  ExpectConsistent(tree);

  ASSERT_TRUE(tree.Delete(copy));
  tree.PurgeRemoved();
  EXPECT_FALSE(tree.Delete(b)) << "the last volume stays";
  EXPECT_EQ(tree.CurrentVolume, b->Volume);
  ExpectConsistent(tree);
}

TEST(VolumeTree, ChangeParentMovesTheRowAndRefusesACycle) {
  VoxVisualTree tree;
  VoxTreeBranch* a = tree.AddVolume();
  VoxTreeBranch* b = tree.AddVolume(a);
  VoxTreeBranch* c = tree.AddVolume(b);
  VoxTreeBranch* d = tree.AddVolume();
  EXPECT_FALSE(tree.ChangeParent(a, c)) << "a row cannot hang below itself";
  ASSERT_TRUE(tree.ChangeParent(b, d));
  EXPECT_EQ(b->ParentBranch, d);
  EXPECT_EQ(c->Level, 3);
  EXPECT_EQ(a->ChildObjects.NValues, 0);
  ASSERT_TRUE(tree.ChangeParent(c, nullptr));
  EXPECT_EQ(c->ParentBranch, &tree);
  EXPECT_EQ(c->Level, 1);
  ExpectConsistent(tree);
}

TEST(VolumeTree, MoveToUnitesAndHandsTheChildrenOver) {
  VoxVisualTree tree;
  VoxTreeBranch* target = tree.AddVolume();
  const comms::cMat4 coarse = comms::cMat4::Scaling(2, 2, 2);
  target->Volume->SetTransform(&coarse.m[0][0]);
  FillVolume(*target->Volume, SphereShape(-6, 0, 0, 8));
  VoxTreeBranch* row = tree.AddVolume();
  FillVolume(*row->Volume, SphereShape(10, 0, 0, 10));
  VoxTreeBranch* kid = tree.AddVolume(row);
  const long inside = InsideCount(*target->Volume);
  ASSERT_TRUE(tree.MoveTo(row, target));
  EXPECT_TRUE(row->Removed);
  EXPECT_EQ(kid->ParentBranch, target);
  EXPECT_EQ(kid->Level, 2);
  EXPECT_NEAR(target->Volume->TransformScale, 2.f, 1e-6f) << "the target keeps its scale";
  // Scene (10, 0, 0) is lattice (5, 0, 0) of the target: inside now.
  EXPECT_GE(target->Volume->SampleField(5, 0, 0), 0.5f);
  EXPECT_GT(InsideCount(*target->Volume), inside);
  tree.PurgeRemoved();
  ExpectConsistent(tree);
  EXPECT_EQ(tree.VolumeList.size(), 2u);
}

TEST(VolumeTree, DensityStepsRoundTripAndLabelTheRow) {
  VoxVisualTree tree;
  VoxTreeBranch* a = tree.AddVolume();
  const comms::cMat4 m = Placement(20, 1.f, 1, 2, 3);
  a->Volume->SetTransform(&m.m[0][0]);
  EXPECT_EQ(a->Label(), "Volume1");
  tree.IncDencity2X(a);
  EXPECT_EQ(a->Label(), "[2x]Volume1");
  tree.DecDencity2X(a);
  for (int i = 0; i < 16; ++i) EXPECT_NEAR(a->Volume->Transform[i], (&m.m[0][0])[i], 1e-6f);
  tree.DecDencity2X(a);
  EXPECT_EQ(a->Label(), "[0.5]Volume1");
}

TEST(VolumeTree, SeparateHiddenMovesTheHiddenCellsToANewRow) {
  VoxVisualTree tree;
  VoxTreeBranch* a = tree.AddVolume();
  FillVolume(*a->Volume, BoxShape(0, 0, 0, 20, 6, 6));
  int hidden = 0;
  a->Volume->Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (k.x >= 1) c->Flags |= kCellHidden, ++hidden;
  });
  const VolumeSnapshot whole = Snapshot(*a->Volume);
  VoxTreeBranch* part = SeparateHidden(tree, a);
  ASSERT_NE(part, nullptr);
  EXPECT_EQ(std::string(part->Name.cpchar()), "Volume1_Hidden");
  VolumeSnapshot rejoined = Snapshot(*a->Volume);
  for (auto& [k, vals] : Snapshot(*part->Volume)) {
    EXPECT_GE(std::get<0>(k), 1);
    EXPECT_EQ(rejoined.count(k), 0u) << "a cell is in both parts";
    rejoined[k] = vals;
  }
  EXPECT_EQ(rejoined, whole) << "the two parts make the whole";
  part->Volume->Cells.ForEach([&](const CellKey&, VoxelCell*& c) { EXPECT_FALSE(c->Flags & kCellHidden); });
  EXPECT_EQ(UnhideAll(*a->Volume), 0);
  ExpectConsistent(tree);
}

TEST(VolumeTree, TreeTravelsWithTheVolumeStream) {
  VoxVisualTree tree;
  VoxTreeBranch* a = tree.AddVolume();
  FillVolume(*a->Volume, SphereShape(0, 0, 0, 9));
  VoxTreeBranch* folder = tree.AddFolder(a, "Parts");
  VoxTreeBranch* b = tree.AddVolume(folder);
  FillVolume(*b->Volume, BoxShape(2, 3, 4, 5, 6, 7));
  b->Visible = false;
  b->GizmoCenter[1] = 2.5f;
  const comms::cMat4 m = Placement(33, 0.25f, 5, 6, 7);
  tree.TransformBranch(folder, &m.m[0][0]);

  VoxVisualTree back;
  ThroughVolumeStream(tree, back);
  ExpectConsistent(back);
  VoxTreeBranch* a2 = back.FindByName("Volume1");
  VoxTreeBranch* f2 = back.FindByName("Parts");
  VoxTreeBranch* b2 = back.FindByName("Volume2");
  ASSERT_TRUE(a2 && f2 && b2);
  EXPECT_EQ(f2->ParentBranch, a2);
  EXPECT_EQ(b2->ParentBranch, f2);
  EXPECT_EQ(b2->Level, 3);
  EXPECT_EQ(f2->Volume, nullptr);
  EXPECT_FALSE(b2->Visible);
  EXPECT_FALSE(b2->Volume->Visible);
  EXPECT_FLOAT_EQ(b2->GizmoCenter[1], 2.5f);
  for (int i = 0; i < 16; ++i) EXPECT_NEAR(b2->Tf[i], b->Tf[i], 1e-5f) << "the file keeps six digits";
  for (int i = 0; i < 16; ++i) EXPECT_NEAR(b2->TfInverse[i], b->TfInverse[i], 1e-4f);
  EXPECT_EQ(Snapshot(*b2->Volume), Snapshot(*b->Volume));
  EXPECT_EQ(back.CurrentVolume, a2->Volume) << "the first visible volume becomes current";
  EXPECT_EQ(back.VisibleVolumes().size(), 1u);
}

TEST(VolumeTree, VolumesWithoutATreeHangUnderTheRoot) {
  std::vector<std::unique_ptr<VolumeObject>> volumes;
  for (int i = 0; i < 3; ++i) {
    volumes.push_back(std::make_unique<VolumeObject>());
    volumes.back()->Name = "v" + std::to_string(i);
  }
  VoxVisualTree tree;
  tree.TakeScene(std::move(volumes), "<damaged");
  EXPECT_EQ(tree.ChildObjects.NValues, 3);
  EXPECT_EQ(tree.CurrentVolume, tree.VolumeList[0].get());
  ExpectConsistent(tree);
}

}  // namespace
