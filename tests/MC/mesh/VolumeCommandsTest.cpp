// The whole-volume commands as the menu runs them: each asks its own
// parameters first (a cancel changes nothing), works on the volume as the
// parameters say, leaves one undo record that takes it back byte for byte,
// and a point cloud stops at Esc keeping what was merged.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

#include "ClassEngine/Progress.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/mesh/OffsetSurface.h"
#include "MC/mesh/VolumeCommands.h"
#include "MC/undo/VolumeUndo.h"
#include "../undo/VolumePicture.h"
#include "interchange/Mesh.h"
#include "paint/undo/SamePicture.h"
#include "paint/undo/UndoStack.h"
#include "paint/undo/UndoTestFolder.h"

namespace {

const char* kPyramid = "/usr/share/games/minetest/games/devtest/mods/testnodes/models/testnodes_pyramid.obj";

bool In(VolumeObject& v, float x, float y, float z) { return v.SampleField(x, y, z) >= kSurfaceLevel; }

struct VolumeCommandsFixture : ::testing::Test {
  UndoTestFolder folder;
  UndoStack stack{folder.Path};
  VolumeObject volume;
  VolumeCommands commands;
  std::vector<std::string> asked;  // class name and title of every dialog
  int done = 0;

  VolumeCommandsFixture() {
    stack.FreeBytes = [] { return (int64_t)1 << 40; };
    stack.RegisterUndoMaker(std::make_unique<Volume_Undo>(stack, [this] { return std::vector<VolumeObject*>{&volume}; }));
    FillVolume(volume, SphereShape(0.3f, -0.2f, 0.1f, 14.3f));
    volume.UpdateSurface();
    volume.DropUndoCopies();
    commands.Done = [this](VolumeObject& v) {
      ++done;
      ASSERT_TRUE(PushVolumeUndo(stack, {&v}, 0));
    };
  }
  ~VolumeCommandsFixture() override { SetProgressHandler(nullptr); }
  // The dialog answers `answer` after `fill` set the parameters.
  void Answer(bool answer, std::function<void(BaseClass&)> fill = {}) {
    commands.Ask = [this, answer, fill](BaseClass& params, const char* title) {
      asked.push_back(std::string(params.GetClassName()) + " " + title);
      if (fill) fill(params);
      return answer;
    };
  }
  // Runs the command, then checks that one undo gives back `before`.
  void ExpectUndoneByteForByte(const std::string& before) {
    ASSERT_EQ(stack.UndoPosition, 1);
    ASSERT_TRUE(stack.Undo());
    EXPECT_TRUE(SamePicture(VolumePicture(volume), before));
  }
};

}  // namespace

TEST_F(VolumeCommandsFixture, EachCommandAsksItsOwnDialogAndACancelChangesNothing) {
  Answer(false);
  const std::string before = VolumePicture(volume);
  for (const std::string& word : VolumeCommands::Words())
    EXPECT_FALSE(commands.Run(word, volume, kPyramid)) << word;
  EXPECT_FALSE(commands.Run("NoSuchCommand", volume));
  const std::vector<std::string> expected{"HullParams EnterHullParams", "HullParams EnterHullParams",
                                          "ExtrudeParams EnterExtrudeParams", "CloudParams PointsCloudParams"};
  if (std::filesystem::exists(kPyramid)) {
    EXPECT_EQ(asked, expected);
  }
  EXPECT_EQ(done, 0);
  EXPECT_EQ(VolumePicture(volume), before);
  EXPECT_EQ(volume.UndoCopies, 0);
}

TEST_F(VolumeCommandsFixture, VoxelHullLeavesAWallOfTheAskedThicknessAndUndoesWhole) {
  Answer(true, [](BaseClass& p) { static_cast<HullParams&>(p).EdgeThickness = 3; });
  const std::string before = VolumePicture(volume);
  int64_t reported = 0, total = -1;
  SetProgressHandler([&](const char* key, int64_t d, int64_t t) {
    EXPECT_STREQ(key, "MakeVoxHull");
    reported = d, total = t;
    return false;
  });
  ASSERT_TRUE(commands.Run("MakeVoxHull", volume));
  EXPECT_GT(total, 0);
  EXPECT_EQ(reported, total) << "the bar reaches its end";
  EXPECT_EQ(done, 1);
  EXPECT_FALSE(In(volume, 0.3f, -0.2f, 0.1f));   // hollow
  EXPECT_TRUE(In(volume, 12.8f, -0.2f, 0.1f));   // the wall
  EXPECT_FALSE(In(volume, 6.3f, -0.2f, 0.1f));
  ExpectUndoneByteForByte(before);
  EXPECT_TRUE(In(volume, 0.3f, -0.2f, 0.1f));
}

TEST_F(VolumeCommandsFixture, SurfaceHullAndExtrusionFollowTheirParameters) {
  Answer(true, [](BaseClass& p) {
    if (auto* h = dynamic_cast<HullParams*>(&p)) h->EdgeThickness = 4;
    if (auto* e = dynamic_cast<ExtrudeParams*>(&p)) e->Extrusion = 3;
  });
  const std::string before = VolumePicture(volume);
  ASSERT_TRUE(commands.Run("ExtrudeVO", volume));
  EXPECT_TRUE(In(volume, 16.3f, -0.2f, 0.1f));  // grown by 3
  EXPECT_FALSE(In(volume, 18.3f, -0.2f, 0.1f));
  EXPECT_TRUE(In(volume, 0.3f, -0.2f, 0.1f));   // still solid
  ExpectUndoneByteForByte(before);
  EXPECT_FALSE(In(volume, 16.3f, -0.2f, 0.1f));

  ASSERT_TRUE(commands.Run("MakeSurfHull", volume));
  EXPECT_FALSE(In(volume, 0.3f, -0.2f, 0.1f));
  EXPECT_TRUE(In(volume, 12.3f, -0.2f, 0.1f));
  EXPECT_EQ(done, 2);
}

TEST_F(VolumeCommandsFixture, CloudPointsBecomeSpheresAndEscStopsKeepingWhatWasMerged) {
  if (!std::filesystem::exists(kPyramid)) GTEST_SKIP() << "minetest-data is not installed (scripts/deps.sh --tests)";
  VolumeObject empty;
  Answer(true, [](BaseClass& p) {
    auto& c = static_cast<CloudParams&>(p);
    c.CloudScale = 40, c.CloudSphereRadius = 4;
  });
  EXPECT_FALSE(commands.Run("MergeCloud", empty, "/no/such/cloud.obj"));
  EXPECT_FALSE(commands.Run("MergeCloud", empty, "cloud.unknownformat"));
  ASSERT_TRUE(commands.Run("MergeCloud", empty, kPyramid));
  const int all = commands.CloudPoints;
  ASSERT_GT(all, 3);
  EXPECT_GT(empty.CellCount(), 0);

  int reports = 0;
  SetProgressHandler([&reports](const char* key, int64_t, int64_t) {
    EXPECT_STREQ(key, "PCloudProgress");
    ++reports;
    return true;  // Esc held
  });
  VolumeObject stopped;
  ASSERT_TRUE(commands.Run("MergeCloud", stopped, kPyramid));
  EXPECT_EQ(reports, 1);
  EXPECT_GE(commands.CloudPoints, 1);
  EXPECT_LT(commands.CloudPoints, all);
  EXPECT_GT(stopped.CellCount(), 0);
}

TEST_F(VolumeCommandsFixture, SurfaceHullAndExtrusionShowHowFarTheyAreAndEscGivesTheVolumeBack) {
  Answer(true, [](BaseClass&) {});
  const std::string before = VolumePicture(volume);
  for (const std::string word : {"MakeSurfHull", "ExtrudeVO"}) {
    SCOPED_TRACE(word);
    // Esc after the third report: nothing is left changed and nothing recorded.
    int reports = 0;
    SetProgressHandler([&](const char* key, int64_t, int64_t) {
      EXPECT_EQ(std::string(key), word);
      return ++reports == 3;
    });
    EXPECT_FALSE(commands.Run(word, volume, {}));
    EXPECT_EQ(reports, 3);
    EXPECT_TRUE(SamePicture(VolumePicture(volume), before));
    EXPECT_EQ(volume.UndoCopies, 0);
    EXPECT_EQ(stack.UndoPosition, 0);
  }
  // Run through, the reports climb to the whole, and the result is the one
  // a run without a bar gives.
  VolumeObject quiet;
  FillVolume(quiet, SphereShape(0.3f, -0.2f, 0.1f, 14.3f));
  MakeSurfHull(quiet, commands.Hull.EdgeThickness);
  quiet.UpdateSurface();
  int64_t last = 0, total = 0;
  SetProgressHandler([&](const char*, int64_t done, int64_t all) {
    EXPECT_GE(done, last);
    last = done, total = all;
    return false;
  });
  ASSERT_TRUE(commands.Run("MakeSurfHull", volume, {}));
  EXPECT_EQ(last, total);
  EXPECT_TRUE(SamePicture(VolumePicture(volume), VolumePicture(quiet)));
  ExpectUndoneByteForByte(before);
}
