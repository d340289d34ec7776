// The recent-files list: newest first, each scene once, at most the options'
// length, written to Options.xml at each change so that a new start (the
// File menu, "-recent") finds it; a failed write keeps the old file.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "ClassEngine/UserPaths.h"
#include "interface/AppOptions.h"
#include "interface/OptionsFile.h"
#include "shell/RecentFiles.h"

namespace fs = std::filesystem;

namespace {
class RecentFilesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() / ("morvane-recent-" + std::to_string(getpid()));
    fs::remove_all(dir_);
    fs::create_directories(dir_);
    const std::string root = dir_.string() + "/";
    SetUserPathResolver([root](const std::string& rel) {
      fs::create_directories(fs::path(root + rel).parent_path());
      return root + rel;
    });
    SetDefaultOptions();
    AppOptions::RecentFiles().Clear();
    LoadOptions();  // no file yet: the defaults stay, and saving is on
  }
  void TearDown() override {
    AppOptions::RecentFiles().Clear();
    SetDefaultOptions();
    SetUserPathResolver(nullptr);
    fs::remove_all(dir_);
  }
  fs::path dir_;
};
}  // namespace

TEST_F(RecentFilesTest, NewestFirstOnceEachAndNoLongerThanTheOptionsAllow) {
  EXPECT_EQ(RecentFiles::Newest(), "");
  const int n = AppOptions::kMaxRecentFiles + 4;
  for (int i = 0; i < n; i++) RecentFiles::Add("/scenes/s" + std::to_string(i) + ".mvn");
  RecentFiles::Add("/scenes/s10.mvn");  // opened again: comes first
  std::vector<std::string> list = RecentFiles::List();
  ASSERT_EQ(int(list.size()), AppOptions::kMaxRecentFiles);
  EXPECT_EQ(list.front(), "/scenes/s10.mvn");
  EXPECT_EQ(list[1], "/scenes/s" + std::to_string(n - 1) + ".mvn");
  EXPECT_EQ(std::count(list.begin(), list.end(), "/scenes/s10.mvn"), 1);
  EXPECT_EQ(std::count(list.begin(), list.end(), "/scenes/s0.mvn"), 0) << "the oldest fell off";

  // A new start reads the same list from Options.xml.
  AppOptions::RecentFiles().Clear();
  ASSERT_TRUE(LoadOptions());
  EXPECT_EQ(RecentFiles::List(), list);
  EXPECT_EQ(RecentFiles::Newest(), "/scenes/s10.mvn");
}

TEST_F(RecentFilesTest, AFailedWriteKeepsTheOldFile) {
  RecentFiles::Add("/scenes/kept.mvn");
  const fs::path file = dir_ / "Options.xml";
  ASSERT_TRUE(fs::exists(file));
  std::ifstream in(file);
  const std::string before((std::istreambuf_iterator<char>(in)), {});
  // The folder can no longer be written: the list in memory moves on, the
  // file on disk stays whole.
  SetUserPathResolver([](const std::string& rel) { return "/nonexistent-folder/" + rel; });
  RecentFiles::Add("/scenes/lost.mvn");
  EXPECT_EQ(RecentFiles::Newest(), "/scenes/lost.mvn");
  std::ifstream again(file);
  EXPECT_EQ(std::string((std::istreambuf_iterator<char>(again)), {}), before);
}
