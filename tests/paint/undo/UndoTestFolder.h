// A fresh undo folder per test, removed afterwards.
#pragma once
#include <unistd.h>

#include <filesystem>
#include <string>

struct UndoTestFolder {
  std::string Path;
  UndoTestFolder() {
    char pattern[] = "undo-test-XXXXXX";
    Path = std::filesystem::absolute(::mkdtemp(pattern)).string();
  }
  ~UndoTestFolder() {
    std::error_code ec;
    std::filesystem::remove_all(Path, ec);
  }
};
