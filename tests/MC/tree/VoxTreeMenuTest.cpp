// The layer tree's context menu: what submenus offer, commands by word,
// refusals that change nothing (an unknown word, a stale target, CloneSymm
// without symmetry) and flips through the menu undoing themselves.
#include <gtest/gtest.h>

#include "MC/brushes/BrushTestKit.h"
#include "MC/tree/VoxTreeMenu.h"
#include "TreeTestKit.h"

namespace {

TEST(VoxTreeMenu, SubmenusListTheOtherRowsInTreeOrder) {
  VoxVisualTree tree;
  VoxTreeBranch* a = tree.AddVolume();
  VoxTreeBranch* folder = tree.AddFolder(a, "Parts");
  VoxTreeBranch* b = tree.AddVolume(folder);
  VoxTreeBranch* c = tree.AddVolume();
  EXPECT_EQ(VoxTreeTargets(tree, a, "MoveTo"), (std::vector<VoxTreeBranch*>{b, c})) << "volumes only, not itself";
  EXPECT_EQ(VoxTreeTargets(tree, a, "ChangeParent"), (std::vector<VoxTreeBranch*>{&tree, c}))
      << "never below itself; the root is offered";
  EXPECT_EQ(VoxTreeTargets(tree, b, "ChangeParent"), (std::vector<VoxTreeBranch*>{&tree, a, folder, c}));
}

TEST(VoxTreeMenu, CommandsRunByTheirWords) {
  VoxVisualTree tree;
  VoxTreeBranch* a = tree.AddVolume();
  FillVolume(*a->Volume, BoxShape(6, 1, -2, 5, 3, 4));
  const VolumeSnapshot start = Snapshot(*a->Volume);
  for (const std::string& word : VoxTreeCommands()) EXPECT_FALSE(word.empty());
  ASSERT_TRUE(RunVoxTreeCommand(tree, a, "VoxFlipX"));
  EXPECT_NE(Snapshot(*a->Volume), start);
  ASSERT_TRUE(RunVoxTreeCommand(tree, a, "VoxFlipX"));
  EXPECT_EQ(Snapshot(*a->Volume), start) << "a flip is its own inverse";

  std::string message;
  EXPECT_FALSE(RunVoxTreeCommand(tree, a, "CloneSymm", nullptr, -1, &message));
  EXPECT_EQ(message, "NEED_SYMMETRY");
  EXPECT_EQ(tree.VolumeList.size(), 1u);
  ASSERT_TRUE(RunVoxTreeCommand(tree, a, "CloneSymm", nullptr, 0));
  VoxTreeBranch* mirror = tree.FindByName("Volume1_copy");
  ASSERT_NE(mirror, nullptr);
  EXPECT_GE(mirror->Volume->GetVoxel(-6, 1, -2), kSurfaceLevel);
  EXPECT_LT(mirror->Volume->GetVoxel(6, 1, -2), kSurfaceLevel);

  EXPECT_FALSE(RunVoxTreeCommand(tree, a, "NoSuchCommand"));
  VoxTreeBranch stray;
  EXPECT_FALSE(RunVoxTreeCommand(tree, a, "MoveTo", &stray)) << "a target outside the tree";
  EXPECT_FALSE(RunVoxTreeCommand(tree, &stray, "DelVoxTree"));
  ASSERT_TRUE(RunVoxTreeCommand(tree, mirror, "MoveTo", a));
  tree.PurgeRemoved();
  EXPECT_EQ(tree.VolumeList.size(), 1u);
  EXPECT_GE(a->Volume->GetVoxel(-6, 1, -2), kSurfaceLevel) << "the mirror went into the row";
  EXPECT_FALSE(RunVoxTreeCommand(tree, a, "DelVoxTree")) << "the last volume stays";
  ASSERT_TRUE(RunVoxTreeCommand(tree, a, "AddVoxTree"));
  ASSERT_TRUE(RunVoxTreeCommand(tree, a->ChildObjects.Values[0], "ChangeParent"));
  EXPECT_EQ(tree.ChildObjects.NValues, 2);
  ExpectConsistent(tree);
}

}  // namespace
