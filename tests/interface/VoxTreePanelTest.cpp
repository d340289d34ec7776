// The voxel room's layer panel driven through the router as a user would:
// the eye hides a volume from what the scene draws, clicks move the current
// row, a drag re-parents (and the child then follows its new parent's moves)
// or reorders, a double-click rename survives the volume stream, the context
// menu runs row commands with their target lists, and the icon caches.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <tuple>

#include "MC/brushes/CellJobs.h"
#include "MC/cache/VolumeCache.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/tree/VoxVisualTree.h"
#include "WidgetTestKit.h"
#include "interface/VoxTreePanel.h"
#include "platform/Keys.h"
#include "render/Math3D.h"
#include "tests/MC/tree/TreeStreamKit.h"

namespace {

struct VoxTreePanelFixture : ::testing::Test {
  UiScope ui;
  VoxVisualTree tree;
  VoxTreePanel* panel = nullptr;
  VoxTreeBranch *a = nullptr, *b = nullptr, *folder = nullptr, *c = nullptr;
  int changes = 0;
  void SetUp() override {
    a = tree.AddVolume();
    FillVolume(*a->Volume, SphereShape(0, 0, 0, 7));
    b = tree.AddVolume();
    FillVolume(*b->Volume, SphereShape(20, 3, 0, 5));
    folder = tree.AddFolder(a, "Parts");
    c = tree.AddVolume(folder);
    FillVolume(*c->Volume, BoxShape(-3, -4, -5, 4, 3, 2));
    panel = ui.tree.Root().Add(new VoxTreePanel);
    panel->X = 40, panel->Y = 30, panel->W = 257, panel->H = 301;
    panel->Tree = &tree;
    panel->OnTreeChanged = [this] { ++changes; };
    ui.tree.Layout();
  }
  int RowOf(const VoxTreeBranch* branch) {
    const auto rows = panel->Rows();
    for (size_t i = 0; i < rows.size(); ++i)
      if (rows[i].Branch == branch) return int(i);
    return -1;
  }
  void ClickPart(const VoxTreeBranch* branch, VoxTreePanel::Part part) {
    float x, y;
    panel->PartCentre(RowOf(branch), part, x, y);
    ASSERT_EQ(panel->PartAt(RowOf(branch), x), part);
    ui.Click(x, y);
  }
  // Press on the label of `from`, move in steps, release at (x, y).
  void Drag(const VoxTreeBranch* from, float x, float y) {
    float x0, y0;
    panel->PartCentre(RowOf(from), VoxTreePanel::kLabel, x0, y0);
    ui.tree.OnPointer(kEvLDown, x0, y0);
    for (int s = 1; s <= 5; ++s) ui.tree.OnPointer(kEvMove, x0 + (x - x0) * s / 5, y0 + (y - y0) * s / 5);
    ui.Frame();  // the drop line is drawn while dragging
    ui.tree.OnPointer(kEvLUp, x, y);
  }
  float RowY(const VoxTreeBranch* branch, float fraction) {
    float x, y;
    panel->PartCentre(RowOf(branch), VoxTreePanel::kLabel, x, y);
    return y + (fraction - 0.5f) * VoxTreePanel::kRowHeight;
  }
};

bool Shown(VoxVisualTree& tree, VolumeObject* v) {
  const auto shown = tree.VisibleVolumes();
  return std::find(shown.begin(), shown.end(), v) != shown.end();
}

// The values of every cell that holds any, by key.
std::map<std::tuple<int, int, int>, std::vector<uint16_t>> Voxels(VolumeObject& v) {
  std::map<std::tuple<int, int, int>, std::vector<uint16_t>> out;
  v.Cells.ForEach([&](const CellKey& k, VoxelCell*& cell) {
    std::vector<uint16_t> values(kCellVoxels);
    bool any = false;
    for (int i = 0; i < kCellVoxels; ++i) any |= (values[size_t(i)] = OldValue(cell, i)) != 0;
    if (any) out[{k.x, k.y, k.z}] = std::move(values);
  });
  return out;
}

}  // namespace

TEST_F(VoxTreePanelFixture, RowsFollowTheTreeIndentedAndFolded) {
  auto rows = panel->Rows();
  ASSERT_EQ(rows.size(), 4u);
  EXPECT_EQ(rows[0].Branch, a);
  EXPECT_EQ(rows[1].Branch, folder);
  EXPECT_EQ(rows[1].Depth, 1);
  EXPECT_EQ(rows[2].Branch, c);
  EXPECT_EQ(rows[2].Depth, 2);
  EXPECT_EQ(rows[3].Branch, b);
  ClickPart(a, VoxTreePanel::kArrow);
  EXPECT_FALSE(a->OpenState);
  EXPECT_EQ(panel->Rows().size(), 2u) << "a folded row hides what is below it";
  ClickPart(a, VoxTreePanel::kArrow);
  EXPECT_EQ(panel->Rows().size(), 4u);
  EXPECT_EQ(panel->PartAt(RowOf(b), panel->AbsX + 4), VoxTreePanel::kLabel) << "a row without children has no arrow";
}

TEST_F(VoxTreePanelFixture, TheEyeHidesTheVolumeFromTheDrawnSceneAndShowsItAgain) {
  ASSERT_TRUE(Shown(tree, b->Volume));
  VolumeObject* current = tree.CurrentVolume;
  ClickPart(b, VoxTreePanel::kEye);
  EXPECT_FALSE(b->Visible);
  EXPECT_FALSE(b->Volume->Visible);
  EXPECT_FALSE(Shown(tree, b->Volume));
  EXPECT_EQ(tree.CurrentVolume, current) << "the eye does not pick the row";
  // Hiding a parent hides what hangs below it.
  ClickPart(a, VoxTreePanel::kEye);
  EXPECT_FALSE(Shown(tree, c->Volume));
  ClickPart(a, VoxTreePanel::kEye);
  ClickPart(b, VoxTreePanel::kEye);
  EXPECT_TRUE(Shown(tree, b->Volume));
  EXPECT_TRUE(Shown(tree, c->Volume));
  EXPECT_EQ(changes, 4);
}

TEST_F(VoxTreePanelFixture, TheCurrentRowFollowsClicks) {
  ClickPart(a, VoxTreePanel::kLabel);
  EXPECT_EQ(tree.CurrentVolume, a->Volume);
  ClickPart(b, VoxTreePanel::kLabel);
  EXPECT_EQ(tree.CurrentVolume, b->Volume);
  const int before = changes;
  ClickPart(folder, VoxTreePanel::kLabel);
  EXPECT_EQ(tree.CurrentVolume, b->Volume) << "a folder has no volume to sculpt";
  ClickPart(b, VoxTreePanel::kLabel);
  EXPECT_EQ(changes, before) << "clicking the current row changes nothing";
  ClickPart(c, VoxTreePanel::kLabel);
  EXPECT_EQ(tree.CurrentVolume, c->Volume);
  ui.Frame();
}

TEST_F(VoxTreePanelFixture, ADragOntoARowReparentsAndTheChildFollowsItsNewParent) {
  const comms::cMat4 before = [&] {
    comms::cMat4 m;
    std::copy(b->Volume->Transform, b->Volume->Transform + 16, &m.m[0][0]);
    return m;
  }();
  Drag(b, panel->AbsX + 100, RowY(c, 0.5f));
  ASSERT_EQ(b->ParentBranch, c);
  EXPECT_EQ(b->Level, 4);
  EXPECT_EQ(RowOf(b), 3);
  EXPECT_EQ(tree.CurrentVolume, c->Volume) << "a drag does not pick the row";
  // A turn and shift of the grandparent now carries the dragged row along.
  comms::cMat4 move;
  const float angle = 0.4f;
  move.m[0][0] = std::cos(angle), move.m[0][2] = -std::sin(angle);
  move.m[2][0] = std::sin(angle), move.m[2][2] = std::cos(angle);
  move.m[3][0] = 3, move.m[3][1] = -2, move.m[3][2] = 5;
  tree.TransformBranch(a, &move.m[0][0]);
  const comms::cMat4 expect = before * move;
  for (int i = 0; i < 16; ++i) EXPECT_NEAR(b->Volume->Transform[i], (&expect.m[0][0])[i], 1e-5f) << i;
  // A row cannot go below itself.
  Drag(a, panel->AbsX + 100, RowY(c, 0.5f));
  EXPECT_EQ(a->ParentBranch, &tree);
  // Below the last row: back under the root, at the end.
  Drag(b, panel->AbsX + 100, panel->AbsY + panel->H - 10);
  EXPECT_EQ(b->ParentBranch, &tree);
  EXPECT_EQ(b->Level, 1);
  EXPECT_EQ(tree.IndexOf(b), tree.ChildObjects.GetAmount() - 1);
}

TEST_F(VoxTreePanelFixture, ADragToARowsEdgeReordersBesideIt) {
  // The top edge of a's row: b goes before a, under the root.
  Drag(b, panel->AbsX + 100, RowY(a, 0.1f));
  EXPECT_EQ(b->ParentBranch, &tree);
  EXPECT_EQ(tree.IndexOf(b), 0);
  EXPECT_EQ(tree.IndexOf(a), 1);
  // The bottom edge of c's row: c's sibling, after it.
  Drag(b, panel->AbsX + 100, RowY(c, 0.9f));
  EXPECT_EQ(b->ParentBranch, folder);
  EXPECT_EQ(folder->IndexOf(b), 1);
  EXPECT_EQ(b->Level, 3);
  // A short wiggle is a click, not a drag.
  float x, y;
  panel->PartCentre(RowOf(a), VoxTreePanel::kLabel, x, y);
  ui.tree.OnPointer(kEvLDown, x, y);
  ui.tree.OnPointer(kEvMove, x + 1, y + 1);
  ui.tree.OnPointer(kEvLUp, x + 1, y + 1);
  EXPECT_EQ(a->ParentBranch, &tree);
  EXPECT_EQ(tree.CurrentVolume, a->Volume);
}

TEST_F(VoxTreePanelFixture, ARenameByDoubleClickIsKeptThroughTheVolumeStream) {
  float x, y;
  panel->PartCentre(RowOf(c), VoxTreePanel::kLabel, x, y);
  ui.tree.OnPointer(kEvLDown, x, y);
  ui.tree.OnPointer(kEvLUp, x, y);
  ui.tree.OnPointer(kEvLDouble, x, y);
  ui.tree.OnPointer(kEvLUp, x, y);
  ASSERT_NE(panel->RenameBox(), nullptr);
  EXPECT_EQ(panel->RenameBox()->Edit, "Volume3");
  for (char ch : std::string("Jaw l")) {
    CurrentChar() = ch;
    ui.tree.OnKey(kEvChar, -1);
  }
  ui.tree.OnKey(kEvKeyDown, keys::Enter);
  EXPECT_STREQ(c->Name.cpchar(), "Jaw l");
  EXPECT_EQ(c->Volume->Name, "Jaw l");
  ui.Frame();
  EXPECT_EQ(panel->RenameBox(), nullptr);

  VoxVisualTree back;
  ThroughVolumeStream(tree, back);
  VoxTreeBranch* jaw = back.FindByName("Jaw l");
  ASSERT_NE(jaw, nullptr);
  ASSERT_NE(jaw->Volume, nullptr);
  EXPECT_EQ(jaw->Volume->Name, "Jaw l");
  EXPECT_STREQ(jaw->ParentBranch->Name.cpchar(), "Parts");
  EXPECT_EQ(back.FindByName("Volume3"), nullptr);
}

TEST_F(VoxTreePanelFixture, AnEmptyOrEscapedRenameKeepsTheName) {
  ASSERT_TRUE(panel->OpenRename(*b));
  ui.tree.OnKey(kEvKeyDown, keys::Backspace);
  ui.tree.OnKey(kEvKeyDown, keys::Enter);
  EXPECT_STREQ(b->Name.cpchar(), "Volume2");
  ui.Frame();
  ASSERT_TRUE(panel->OpenRename(*b));
  CurrentChar() = 'x';
  ui.tree.OnKey(kEvChar, -1);
  ui.tree.OnKey(kEvKeyDown, keys::Esc);
  EXPECT_STREQ(b->Name.cpchar(), "Volume2");
}

TEST_F(VoxTreePanelFixture, TheContextMenuRunsRowCommandsAndTheirTargetLists) {
  float x, y;
  panel->PartCentre(RowOf(b), VoxTreePanel::kLabel, x, y);
  ui.tree.OnPointer(kEvRDown, x, y);
  ASSERT_NE(panel->Menu(), nullptr);
  const auto& words = panel->MenuCommands();
  auto item = [&](const char* w) { return int(std::find(words.begin(), words.end(), w) - words.begin()); };
  ASSERT_LT(item("CloneVoxTree"), int(words.size()));
  EXPECT_EQ(panel->Menu()->Items.size(), words.size());
  // Clicking the item in the open list, as the user does.
  ui.tree.Layout();
  TextMenu* menu = panel->Menu();
  ui.Click(menu->AbsX + 20, menu->AbsY + (float(item("CloneVoxTree")) + 0.5f) * menu->H / float(menu->Items.size()));
  VoxTreeBranch* copy = tree.FindByName("Volume2_copy");
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(RowOf(copy), RowOf(b) + 1);
  EXPECT_EQ(tree.CurrentVolume, copy->Volume);

  // MoveTo opens the list of volume rows; picking a opens nothing else and
  // removes the copy's row.
  ASSERT_TRUE(panel->OpenMenu(*copy, x, y));
  ASSERT_TRUE(panel->PickMenuItem(item("MoveTo")));
  ASSERT_NE(panel->Menu(), nullptr);
  std::vector<std::string> targets = panel->Menu()->Items;
  EXPECT_EQ(std::count(targets.begin(), targets.end(), "Parts"), 0) << "a folder takes no boolean";
  const int at = int(std::find(targets.begin(), targets.end(), "Volume1") - targets.begin());
  ASSERT_LT(at, int(targets.size()));
  const size_t volumes = tree.VolumeList.size();
  EXPECT_TRUE(panel->PickMenuItem(at));
  // The consumed row goes at once, with its volume.
  EXPECT_EQ(tree.FindByName("Volume2_copy"), nullptr);
  EXPECT_EQ(tree.VolumeList.size(), volumes - 1);
  EXPECT_NE(tree.CurrentVolume, nullptr);

  // A refused command shows its reason.
  std::string shown;
  panel->ShowMessage = [&](const std::string& key) { shown = key; };
  ASSERT_TRUE(panel->OpenMenu(*b, x, y));
  EXPECT_FALSE(panel->PickMenuItem(item("CloneSymm")));
  EXPECT_EQ(shown, "NEED_SYMMETRY");
  // ChangeParent offers the root and no row below the moved one.
  ASSERT_TRUE(panel->OpenMenu(*a, x, y));
  ASSERT_TRUE(panel->PickMenuItem(item("ChangeParent")));
  targets = panel->Menu()->Items;
  EXPECT_EQ(std::count(targets.begin(), targets.end(), "Root"), 1);
  EXPECT_EQ(std::count(targets.begin(), targets.end(), "Parts"), 0);
  ASSERT_TRUE(panel->PickMenuItem(int(std::find(targets.begin(), targets.end(), "Volume2") - targets.begin())));
  EXPECT_EQ(a->ParentBranch, b);
  // Shader settings: the clay shader's variables go to the editor; a folder
  // has none.
  VoxTreeBranch* edited = nullptr;
  panel->EditShaderSettings = [&](VoxTreeBranch& row) { edited = &row; };
  ASSERT_TRUE(panel->OpenMenu(*b, x, y));
  EXPECT_TRUE(panel->PickMenuItem(item("EditShaderSettings")));
  EXPECT_EQ(edited, b);
  EXPECT_GT(b->ShaderSettings.ExParams.GetAmount(), 0);
  ASSERT_TRUE(panel->OpenMenu(*folder, x, y));
  EXPECT_FALSE(panel->PickMenuItem(item("EditShaderSettings")));
  EXPECT_EQ(shown, "NoParamsToEdit");
  // The rename item opens the box.
  ASSERT_TRUE(panel->OpenMenu(*b, x, y));
  EXPECT_TRUE(panel->PickMenuItem(item("RenameVoxTree")));
  EXPECT_NE(panel->RenameBox(), nullptr);
}

TEST_F(VoxTreePanelFixture, TheIconCachesTheVolumeAndBringsItBack) {
  const std::string folderPath = (std::filesystem::temp_directory_path() / "morvane-treepanel-cache").string();
  std::filesystem::remove_all(folderPath);
  panel->ToggleCache = [&](VoxTreeBranch& row) {
    return row.Volume && ToggleCachingVolume(*row.Volume, DontShowCache, folderPath);
  };
  const auto voxels = Voxels(*b->Volume);
  ASSERT_GT(voxels.size(), 1u);
  ClickPart(b, VoxTreePanel::kIcon);
  EXPECT_TRUE(b->InCache);
  EXPECT_EQ(b->Volume->CellCount(), 0);
  ui.Frame();  // drawn with the cached icon
  ClickPart(b, VoxTreePanel::kIcon);
  EXPECT_FALSE(b->InCache);
  EXPECT_TRUE(Voxels(*b->Volume) == voxels) << "the volume comes back as it went";
  // A folder's icon has nothing to cache.
  ClickPart(folder, VoxTreePanel::kIcon);
  EXPECT_FALSE(folder->InCache);
  std::filesystem::remove_all(folderPath);
}
