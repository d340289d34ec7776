// What the shell tests share: seams that record what the shell asked for, and
// a fixture that gives each test its own user folder and working folder.
#pragma once
#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "platform/FakePlatform.h"
#include "shell/Shell.h"

struct RecordingSeams : ShellSeams {
  bool modified = false;
  bool saveAsResult = true;
  bool animating = false;
  int begins = 0, ends = 0, progressBoxes = 0, saveAs = 0;
  std::vector<std::string> written, loaded, imported, texts;
  std::vector<CommandLineDecision> commands;
  std::string recent;

  void BeginScene() override { ++begins; }
  void EndScene() override { ++ends; }
  void DrawText(float, float, uint32_t, const std::string& t) override { texts.push_back(t); }
  void DrawProgressBox(int, const std::string&) override { ++progressBoxes; }
  bool SceneModified() override { return modified; }
  bool WriteScene(const std::string& path) override {
    written.push_back(path);
    std::ofstream(path) << "scene " << written.size();
    return true;
  }
  bool LoadScene(const std::string& path, bool) override {
    loaded.push_back(path);
    return true;
  }
  bool SaveAs() override {
    ++saveAs;
    return saveAsResult;
  }
  void ImportMesh(const std::string& path) override { imported.push_back(path); }
  void RunCommandLine(const CommandLineDecision& d) override { commands.push_back(d); }
  std::string LastRecentFile() override { return recent; }
  bool Animating() override { return animating; }
};

class ShellTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char cwd[PATH_MAX];
    oldCwd_ = getcwd(cwd, sizeof cwd) ? cwd : ".";
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    dir_ = std::filesystem::temp_directory_path() /
           ("morvane-shell-" + std::to_string(getpid()) + "-" + info->test_suite_name() + "-" + info->name());
    std::filesystem::remove_all(dir_);
    std::filesystem::create_directories(dir_ / "home");
    ASSERT_EQ(chdir(dir_.c_str()), 0);
    setenv("MORVANE_HOME", (dir_ / "home").c_str(), 1);
  }
  void TearDown() override {
    shell_.reset();
    if (chdir(oldCwd_.c_str()) != 0) ADD_FAILURE() << "cannot return to " << oldCwd_;
    std::filesystem::remove_all(dir_);
  }
  // A started shell on the fake platform; the crash handler stays out.
  Shell& Started(const std::string& commandLine = "") {
    shell_ = std::make_unique<Shell>(fake, seams);
    shell_->SetExitFromPump([] {});
    StartOptions o;
    o.commandLine = commandLine;
    o.installCrashHandler = false;
    EXPECT_TRUE(shell_->Start(o));
    return *shell_;
  }
  // One frame of `ms` milliseconds.
  void Step(int ms = 16) {
    fake.AdvanceTick(uint32_t(ms));
    fake.SetFrame(fake.CurrentFrame() + 1);
    shell_->RunFrames(1);
  }
  std::string Home(const std::string& rel) const { return (dir_ / "home" / rel).string(); }
  static bool Exists(const std::string& p) { return std::filesystem::exists(p); }
  static std::string Read(const std::string& p) {
    std::ifstream f(p, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(f), {});
  }

  FakePlatform fake;
  RecordingSeams seams;
  std::unique_ptr<Shell> shell_;
  std::filesystem::path dir_;
  std::string oldCwd_;
};
