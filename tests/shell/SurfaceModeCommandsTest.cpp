// The voxel menu's surface-mode commands: dim without a volume, the switch
// toggles the current volume's surface mode (and leaving writes the moved
// surface into the voxels), the freeze commands only in surface mode, and
// every command has its words.
#include <gtest/gtest.h>

#include <filesystem>

#include "ClassEngine/DataFolder.h"

#include "MC/brushes/VoxelSculptTool.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "interface/HotKeys.h"
#include "interface/TextTable.h"
#include "shell/SurfaceModeCommands.h"
#include "shell/tools/StandardTools.h"

TEST(SurfaceModeCommands, SwitchAndFreezeCommandsActOnTheCurrentVolume) {
  ToolTable table;
  ToolProviders providers;
  RegisterVoxelTools(providers);
  RegisterStandardTools(table, providers);
  VoxelSculptTool* tool = FindVoxelTool(table);
  ASSERT_NE(tool, nullptr);
  RegisterSurfaceModeCommands(table);
  const Command* toggle = FindCommand("SURFACE_MODE");
  const Command* clear = FindCommand("CLEAR_FREEZE");
  const Command* invert = FindCommand("INVERT_FREEZE");
  ASSERT_TRUE(toggle && clear && invert);
  EXPECT_FALSE(toggle->Enabled()) << "no volume yet";

  VolumeObject volume;
  FillVolume(volume, SphereShape(0, 0, 0, 12));
  volume.UpdateSurface();
  tool->SetScene(&volume, nullptr);
  EXPECT_TRUE(toggle->Enabled());
  EXPECT_FALSE(invert->Enabled()) << "freeze is a surface-mode matter";
  toggle->Run();
  EXPECT_TRUE(volume.SurfaceMode);
  EXPECT_TRUE(invert->Enabled());
  invert->Run();
  int frozen = 0, vertices = 0;
  volume.Cells.ForEach([&](const CellKey&, VoxelCell*& c) {
    if (!c->Surface) return;
    for (int i = 0; i < c->Surface->Vertices.Count; ++i, ++vertices) frozen += c->Surface->Vertices[i].Freeze == 65535;
  });
  EXPECT_GT(vertices, 0);
  EXPECT_EQ(frozen, vertices);
  clear->Run();
  volume.Cells.ForEach([&](const CellKey&, VoxelCell*& c) {
    if (!c->Surface) return;
    for (int i = 0; i < c->Surface->Vertices.Count; ++i) EXPECT_EQ(c->Surface->Vertices[i].Freeze, 0);
  });
  toggle->Run();
  EXPECT_FALSE(volume.SurfaceMode);
  tool->SetScene(nullptr, nullptr);
}

TEST(SurfaceModeCommands, EveryCommandHasItsWordsAndHint) {
  const std::filesystem::path user = std::filesystem::temp_directory_path() / "morvane_surface_words.xml";
  TextTable texts(user.string(), comms::DataFolder());
  texts.LoadText();
  ASSERT_TRUE(texts.EnglishLoaded());
  for (const std::string& word : SurfaceModeCommandWords()) {
    EXPECT_NE(texts.Find(word.c_str()), nullptr) << word;
    EXPECT_NE(texts.Find((word + "_HINT").c_str()), nullptr) << word;
  }
  std::filesystem::remove(user);
}
