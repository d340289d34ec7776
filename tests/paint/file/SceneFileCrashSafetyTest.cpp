// Saving never loses the previous file: a save killed at any moment leaves
// the old file whole, and a save that runs out of room (a full disk, a file
// size limit) fails with the reason and leaves old file and scene alone.
#include <dirent.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <fstream>
#include <thread>

#include "ClassEngine/streams/AtomicFileWriter.h"
#include "SceneFileScenes.h"

using namespace scenefiles;

namespace {
std::string TestFolder(const char* name) {
  std::string dir = std::string(::testing::TempDir()) + "scenefile_" + name + "_" + std::to_string(getpid());
  std::string cmd = "rm -rf '" + dir + "' && mkdir -p '" + dir + "'";
  EXPECT_EQ(system(cmd.c_str()), 0);
  return dir;
}

std::vector<uint8_t> ReadAll(const std::string& path) {
  std::ifstream f(path, std::ios::binary);
  return std::vector<uint8_t>(std::istreambuf_iterator<char>(f), {});
}

int FilesIn(const std::string& dir) {
  int n = 0;
  if (DIR* d = opendir(dir.c_str())) {
    while (dirent* e = readdir(d)) n += e->d_name[0] != '.';
    closedir(d);
  }
  return n;
}
// A folder with a small scene saved in it: the file every failed save must leave.
struct OldFile {
  std::string dir, path;
  std::vector<uint8_t> bytes;
  explicit OldFile(const char* name) : dir(TestFolder(name)), path(dir + "/scene.mvn") {
    PaintScene small;
    MicroVertexScene(small, 2, 1, 1, 1);
    EXPECT_TRUE(SaveSceneFile(small, path, {}).ok);
    bytes = ReadAll(path);
  }
};
}  // namespace

TEST(SceneFileCrashSafety, SaveKilledAtRandomMomentsLeavesTheOldFileWhole) {
  OldFile old("kill");
  const std::string& path = old.path;
  const std::vector<uint8_t>& before = old.bytes;
  PaintScene small;
  MicroVertexScene(small, 2, 1, 1, 1);
  PaintScene big;
  MicroVertexScene(big, 40, 30, 4, 3);  // some tens of megabytes
  const std::vector<uint8_t> after = Bytes(big);
  ASSERT_GT(after.size(), 8u << 20);
  Random rng(99);
  int sawOld = 0, sawNew = 0;
  for (int round = 0; round < 8; round++) {
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      for (;;) SaveSceneFile(big, path, {});
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(rng.Next() % 120));
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    std::vector<uint8_t> now = ReadAll(path);
    ASSERT_TRUE(now == before || now == after) << "round " << round << ": " << now.size() << " bytes";
    sawOld += now == before, sawNew += now == after;
    PaintScene check;
    ASSERT_TRUE(LoadSceneFile(check, path, {}).ok);
    // Put the old file back for the next round. A killed save leaves its
    // temporary file beside the scene, never in it; the next save of the
    // same scene removes it.
    ASSERT_TRUE(SaveSceneFile(small, path, {}).ok);
    ASSERT_EQ(FilesIn(old.dir), 1) << "round " << round;
  }
  EXPECT_GT(sawOld + sawNew, 0);
}

TEST(SceneFileCrashSafety, LeftoversOfDeadSavesGoButASaveStillRunningKeepsItsFile) {
  OldFile old("leftovers");
  // A save that died: its temporary file is there, unlocked.
  const std::string dead = old.path + ".saving-Ab3xQ9";
  std::ofstream(dead) << "half a scene";
  // Files that only look alike stay: another scene's, a longer name, a folder.
  const std::string other = old.dir + "/other.mvn.saving-Ab3xQ9";
  const std::string longer = old.path + ".saving-notes.txt";
  std::ofstream(other) << "x";
  std::ofstream(longer) << "x";
  ASSERT_EQ(mkdir((old.path + ".saving-folder").c_str(), 0755), 0);
  // A save in progress of the same scene, not yet committed.
  AtomicFileWriter running(old.path);
  ASSERT_FALSE(running.Failed());
  const std::string text = "the newest scene";
  running.Write(text.data(), (int64_t)text.size());

  PaintScene small;
  MicroVertexScene(small, 2, 1, 1, 1);
  ASSERT_TRUE(SaveSceneFile(small, old.path, {}).ok);
  EXPECT_NE(access(dead.c_str(), F_OK), 0) << "the dead save's file is still there";
  EXPECT_EQ(access(running.TempPath().c_str(), F_OK), 0) << "a running save lost its file";
  EXPECT_EQ(access(other.c_str(), F_OK), 0);
  EXPECT_EQ(access(longer.c_str(), F_OK), 0);
  EXPECT_EQ(access((old.path + ".saving-folder").c_str(), F_OK), 0);
  // The running save completes, and it is the newest.
  ASSERT_TRUE(running.Commit()) << running.Error();
  std::vector<uint8_t> now = ReadAll(old.path);
  EXPECT_EQ(std::string(now.begin(), now.end()), text);
  EXPECT_EQ(AtomicFileWriter::RemoveLeftovers(old.path), 0);
}

TEST(SceneFileCrashSafety, SaveOntoAFullDiskFailsAndKeepsTheOldFile) {
  OldFile old("full");
  const std::string &dir = old.dir, &path = old.path;
  const std::vector<uint8_t>& before = old.bytes;
  PaintScene b;
  MicroVertexScene(b, 6, 4, 2, 4);
  const std::vector<uint8_t> scene = Bytes(b);
  const int64_t size = (int64_t)scene.size();
  for (int64_t room : {(int64_t)0, (int64_t)1000, size / 2, size - 1}) {
    AtomicFileWriter::FailAfter(room, ENOSPC);
    SceneFileResult r = SaveSceneFile(b, path, {});
    AtomicFileWriter::FailAfter(-1, 0);
    ASSERT_FALSE(r.ok) << room;
    EXPECT_NE(r.error.find("No space left on device"), std::string::npos) << r.error;
    EXPECT_NE(r.error.find(path), std::string::npos) << r.error;
    EXPECT_EQ(ReadAll(path), before);
    EXPECT_EQ(FilesIn(dir), 1);  // no temporary file left behind
  }
  EXPECT_EQ(Bytes(b), scene);  // and the scene is as it was
}

TEST(SceneFileCrashSafety, SaveBeyondTheFileSizeLimitOfTheSystemFails) {
  // A real limit of the system rather than an injected one: the child may
  // write no file over 64 KB, as on a nearly full disk.
  OldFile old("limit");
  const std::string &dir = old.dir, &path = old.path;
  const std::vector<uint8_t>& before = old.bytes;
  PaintScene big;
  MicroVertexScene(big, 8, 6, 3, 2);
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    signal(SIGXFSZ, SIG_IGN);
    rlimit limit{65536, 65536};
    setrlimit(RLIMIT_FSIZE, &limit);
    SceneFileResult r = SaveSceneFile(big, path, {});
    _exit(!r.ok && r.error.find("too large") != std::string::npos ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_EQ(ReadAll(path), before);
  EXPECT_EQ(FilesIn(dir), 1);
}

TEST(SceneFileCrashSafety, SaveIntoAFolderThatDoesNotExistSaysWhy) {
  PaintScene a;
  SceneFileResult r = SaveSceneFile(a, "/nonexistent-folder/x/scene.mvn", {});
  EXPECT_FALSE(r.ok);
  EXPECT_NE(r.error.find("No such file or directory"), std::string::npos) << r.error;
}
