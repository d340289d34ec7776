// The per-user folder; see UserFolders.h.
#include "shell/UserFolders.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "ClassEngine/Log.h"

namespace fs = std::filesystem;

void CreateFoldersOnTheWay(const std::string& path) {
  std::string p = path;
  for (char& c : p)
    if (c == '\\') c = '/';
  size_t slash = p.rfind('/');
  if (slash == std::string::npos || slash == 0) return;
  std::error_code ec;
  fs::create_directories(p.substr(0, slash), ec);
}

namespace {
// The folder counts as usable when a file can be made and removed in it.
bool CanWrite(const std::string& folder) {
  CreateFoldersOnTheWay(folder);
  std::string test = folder + "testfile.test";
  FILE* f = fopen(test.c_str(), "wb");
  if (!f) return false;
  fclose(f);
  return remove(test.c_str()) == 0;
}
}  // namespace

void UserFolders::Init(const std::string& documents) {
  std::string folder;
  if (const char* home = getenv("MORVANE_HOME"); home && *home) {
    folder = home;
    if (folder.back() != '/') folder += '/';
  } else if (!documents.empty()) {
    folder = documents + "/Morvane3/";
  }
  prefix_ = !folder.empty() && CanWrite(folder) ? folder : "";
  Log("User folder: %s", prefix_.empty() ? "(working folder)" : prefix_.c_str());
}

std::string UserFolders::Path(const std::string& relative) const {
  std::string p = prefix_ + relative;
  CreateFoldersOnTheWay(p);
  return p;
}

void UserFolders::CreateStandardFolders() const {
  for (const char* d : {"UserData/", "UserData/StoreData/", "Temp/", "Exchange/"}) Path(d);
}
