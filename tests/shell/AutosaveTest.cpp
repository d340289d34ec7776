// Autosave: the rotation of UserData/autosave*.mvn for several counts, and
// the timer that saves only a modified scene, shows its countdown, and
// restarts while nothing changes.
#include "ShellFixture.h"

namespace {
void WriteFile(const std::string& path, const std::string& text) { std::ofstream(path) << text; }
}  // namespace

TEST_F(ShellTest, RotationKeepsNFilesNewestFirst) {
  std::string d = (dir_ / "rot/").string();
  std::filesystem::create_directories(d);
  for (int round = 1; round <= 4; ++round) {
    RotateAutosaves(d, 3);
    WriteFile(d + "autosave.mvn", "v" + std::to_string(round));
  }
  EXPECT_EQ(Read(d + "autosave.mvn"), "v4");
  EXPECT_EQ(Read(d + "autosave1.mvn"), "v3");
  EXPECT_EQ(Read(d + "autosave2.mvn"), "v2");
  EXPECT_FALSE(Exists(d + "autosave3.mvn"));
}

TEST_F(ShellTest, RotationWithOneOrLessOnlyOverwrites) {
  std::string d = (dir_ / "one/").string();
  std::filesystem::create_directories(d);
  for (int n : {1, 0, -5}) {
    WriteFile(d + "autosave.mvn", "old");
    RotateAutosaves(d, n);
    EXPECT_EQ(Read(d + "autosave.mvn"), "old") << "nothing renamed for N=" << n;
    EXPECT_FALSE(Exists(d + "autosave1.mvn"));
  }
}

TEST_F(ShellTest, TimerSavesModifiedSceneAfterItsMinutes) {
  Shell& s = Started();
  s.Autosave().AutosaveTime = 1;
  s.Autosave().NumAutosaves = 3;
  Step(16);
  Step(40000);  // unmodified: the timer restarts each frame
  EXPECT_TRUE(seams.written.empty());
  seams.modified = true;
  Step(16);
  Step(25000);
  EXPECT_TRUE(seams.texts.empty()) << "35 s left: no countdown yet";
  Step(20000);
  ASSERT_FALSE(seams.texts.empty());
  EXPECT_EQ(seams.texts.back(), "Autosave: 15 s");
  Step(15000);
  ASSERT_EQ(seams.written.size(), 1u);
  EXPECT_EQ(seams.written[0], Home("UserData/autosave.mvn"));
  for (int i = 0; i < 2; ++i) Step(60000);
  EXPECT_EQ(seams.written.size(), 3u);
  EXPECT_EQ(Read(Home("UserData/autosave.mvn")), "scene 3");
  EXPECT_EQ(Read(Home("UserData/autosave1.mvn")), "scene 2");
  EXPECT_EQ(Read(Home("UserData/autosave2.mvn")), "scene 1");
  s.Autosave().Autosave = false;
  Step(120000);
  EXPECT_EQ(seams.written.size(), 3u);
}
