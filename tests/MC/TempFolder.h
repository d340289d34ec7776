// A fresh folder under /tmp for one test, removed afterwards, for tests that
// write files (cache files, raw grids, rendered pictures).
#pragma once
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

struct TempFolderTest : ::testing::Test {
  std::filesystem::path dir;
  void SetUp() override {
    char name[] = "/tmp/morvane-test-XXXXXX";
    dir = mkdtemp(name);
  }
  void TearDown() override { std::filesystem::remove_all(dir); }
  std::string Path(const char* name) const { return (dir / name).string(); }
};
