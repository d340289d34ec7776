// Finding the program's data: the working folder first, then $MORVANE_DATA,
// then the installed prefix, then the source tree; names matched without
// regard to case on a case-sensitive disk; a missing data folder says where
// it looked.
#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "ClassEngine/DataFolder.h"
#include "ClassEngine/PathCase.h"

namespace fs = std::filesystem;
using namespace comms;

namespace {
class DataFolderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char cwd[PATH_MAX];
    oldCwd_ = getcwd(cwd, sizeof cwd) ? cwd : ".";
    if (const char* d = getenv("MORVANE_DATA")) oldData_ = d, hadData_ = true;
    root_ = fs::temp_directory_path() / ("morvane-data-" + std::to_string(getpid()));
    fs::remove_all(root_);
    MakeData(root_ / "work", "work");
    MakeData(root_ / "env", "env");
    fs::create_directories(root_ / "empty");
  }
  void TearDown() override {
    if (chdir(oldCwd_.c_str()) != 0) ADD_FAILURE();
    if (hadData_) setenv("MORVANE_DATA", oldData_.c_str(), 1);
    else unsetenv("MORVANE_DATA");
    unsetenv("MORVANE_NO_SOURCE_DATA");
    fs::remove_all(root_);
  }
  static void MakeData(const fs::path& folder, const std::string& mark) {
    fs::create_directories(folder / "Shaders");
    fs::create_directories(folder / "Languages");
    std::ofstream(folder / "Languages" / "English.xml") << mark;
  }
  void Enter(const fs::path& folder) { ASSERT_EQ(chdir(folder.c_str()), 0); }
  static std::string Read(const std::string& path) {
    std::ifstream in(path);
    std::string s;
    std::getline(in, s);
    return s;
  }
  fs::path root_;
  std::string oldCwd_, oldData_;
  bool hadData_ = false;
};
}  // namespace

TEST_F(DataFolderTest, WorkingFolderComesBeforeTheEnvironment) {
  setenv("MORVANE_DATA", (root_ / "env").c_str(), 1);
  Enter(root_ / "work");
  EXPECT_EQ(Read(DataFilePath("Languages/English.xml")), "work");
  Enter(root_ / "empty");
  EXPECT_EQ(Read(DataFilePath("Languages/English.xml")), "env");
  EXPECT_EQ(fs::path(FindDataFolder()), root_ / "env");
  EXPECT_EQ(MissingDataReason(), "");
}

TEST_F(DataFolderTest, CandidatesComeInTheirOrder) {
  setenv("MORVANE_DATA", (root_ / "env").c_str(), 1);
  Enter(root_ / "empty");
  const std::vector<std::string> c = DataFolderCandidates();
  ASSERT_GE(c.size(), 3u);
  EXPECT_EQ(fs::path(c[0]), root_ / "empty");
  EXPECT_EQ(fs::path(c[1]), root_ / "env");
  EXPECT_NE(c[2].find("share/morvane"), std::string::npos) << c[2];
}

TEST_F(DataFolderTest, NamesAreMatchedWithoutCase) {
  Enter(root_ / "work");
  EXPECT_EQ(Read(DataFilePath("languages\\ENGLISH.xml")), "work");
  EXPECT_TRUE(PathExists(root_.string() + "/WORK/shaders"));
}

TEST_F(DataFolderTest, WithoutDataTheReasonNamesEveryFolderLookedIn) {
  unsetenv("MORVANE_DATA");
  setenv("MORVANE_NO_SOURCE_DATA", "1", 1);
  Enter(root_ / "empty");
  EXPECT_EQ(FindDataFolder(), "");
  const std::string why = MissingDataReason();
  EXPECT_NE(why.find("Shaders/"), std::string::npos);
  EXPECT_NE(why.find((root_ / "empty").string()), std::string::npos) << why;
  // A folder with Shaders/ but no Languages/ is not the data either.
  fs::create_directories(root_ / "empty" / "Shaders");
  EXPECT_EQ(FindDataFolder(), "");
}

TEST(PathCaseTest, NormalisingKeepsTheKindOfPath) {
  EXPECT_EQ(NormalisePath("a\\b//c/./d"), "a/b/c/d");
  EXPECT_EQ(NormalisePath("/a/b/../c"), "/a/c");
  EXPECT_EQ(NormalisePath("/../a"), "/a");
  EXPECT_EQ(NormalisePath("../a/b/.."), "../a");
  EXPECT_EQ(NormalisePath("./"), ".");
  EXPECT_EQ(NormalisePath("/"), "/");
}

TEST(PathCaseTest, MissingTailIsKeptAsWritten) {
  const fs::path root = fs::temp_directory_path() / ("morvane-case-" + std::to_string(getpid()));
  fs::create_directories(root / "Meshes" / "Heads");
  std::ofstream(root / "Meshes" / "Heads" / "Bust.OBJ") << "v 0 0 0\n";
  EXPECT_EQ(ResolvePathCase(root.string() + "/meshes/HEADS/bust.obj"), (root / "Meshes/Heads/Bust.OBJ").string());
  EXPECT_EQ(ResolvePathCase(root.string() + "/meshes/New/One.obj"), (root / "Meshes/New/One.obj").string());
  fs::remove_all(root);
}
