// The recent-files list keeps the newest ten scenes, each once, newest last,
// and survives a folder it cannot write to.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "shell/RecentFiles.h"

TEST(RecentFiles, KeepsTheNewestTenOnceEachNewestLast) {
  const std::filesystem::path dir = std::filesystem::temp_directory_path() / ("recent_" + std::to_string(getpid()));
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  RecentFiles recent((dir / "recent.txt").string());
  EXPECT_EQ(recent.Last(), "");
  for (int i = 0; i < 14; i++) recent.Add("/scenes/s" + std::to_string(i) + ".mvn");
  recent.Add("/scenes/s6.mvn");  // opened again: moves to the end
  std::vector<std::string> list = recent.Read();
  ASSERT_EQ(list.size(), 10u);
  EXPECT_EQ(list.front(), "/scenes/s4.mvn");
  EXPECT_EQ(list.back(), "/scenes/s6.mvn");
  EXPECT_EQ(std::count(list.begin(), list.end(), "/scenes/s6.mvn"), 1);
  EXPECT_EQ(RecentFiles((dir / "recent.txt").string()).Last(), "/scenes/s6.mvn");
  RecentFiles nowhere("/nonexistent-folder/recent.txt");
  nowhere.Add("/scenes/x.mvn");
  EXPECT_EQ(nowhere.Last(), "");
  std::filesystem::remove_all(dir);
}
