// The scripted platform the shell tests stand on: events released by frame,
// dialog answers in order, the clock only where the test puts it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <unistd.h>

#include "platform/FakePlatform.h"

TEST(FakePlatform, EventsAppearAtTheirFrame) {
  FakePlatform f;
  PlatformEvent a, b;
  a.type = PlatformEvent::Type::KeyDown;
  a.key = 3;
  b.type = PlatformEvent::Type::MouseMove;
  b.x = 4;
  f.At(2, a);
  f.At(5, b);
  PlatformEvent e;
  f.SetFrame(1);
  EXPECT_FALSE(f.PollEvent(e));
  f.SetFrame(4);
  ASSERT_TRUE(f.PollEvent(e));
  EXPECT_EQ(e.key, 3);
  EXPECT_FALSE(f.PollEvent(e));
  f.SetFrame(9);
  ASSERT_TRUE(f.WaitEvent(e, 100));
  EXPECT_EQ(e.type, PlatformEvent::Type::MouseMove);
  float x, y;
  f.PointerPosition(x, y);
  EXPECT_FLOAT_EQ(x, 4);
}

TEST(FakePlatform, DialogAnswersClockAndWaits) {
  FakePlatform f;
  SystemDialog d;
  d.buttons = {"Yes", "No", "Cancel"};
  d.defaultButton = 2;
  f.AnswerDialogs({1});
  EXPECT_EQ(f.ShowMessageBox(d), 1);
  EXPECT_EQ(f.ShowMessageBox(d), 2) << "no answer left: the default";
  EXPECT_EQ(f.DialogsShown().size(), 2u);
  PlatformEvent e;
  f.SetTick(10);
  EXPECT_FALSE(f.WaitEvent(e, 300));
  EXPECT_EQ(f.TickMs(), 10u);
  f.SetWaitAdvancesClock(true);
  EXPECT_FALSE(f.WaitEvent(e, 300));
  EXPECT_EQ(f.TickMs(), 310u);
}

TEST(XdgDocuments, UserDirsFileThenDocumentsThenHome) {
  namespace fs = std::filesystem;
  fs::path home = fs::temp_directory_path() / ("xdg-" + std::to_string(::getpid()));
  fs::remove_all(home);
  fs::create_directories(home / ".config");
  std::string oldHome = getenv("HOME") ? getenv("HOME") : "";
  setenv("HOME", home.c_str(), 1);
  unsetenv("XDG_CONFIG_HOME");
  EXPECT_EQ(XdgDocumentsFolder(), home.string());
  fs::create_directories(home / "Documents");
  EXPECT_EQ(XdgDocumentsFolder(), (home / "Documents").string());
  fs::create_directories(home / "Dokumente");
  std::ofstream(home / ".config/user-dirs.dirs") << "# comment\nXDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n";
  EXPECT_EQ(XdgDocumentsFolder(), (home / "Dokumente").string());
  setenv("HOME", oldHome.c_str(), 1);
  fs::remove_all(home);
}
