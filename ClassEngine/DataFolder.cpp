// The program's data folder; see DataFolder.h.
#include "ClassEngine/DataFolder.h"

#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <filesystem>

#include "ClassEngine/PathCase.h"

#ifndef MORVANE_SOURCE_DATA
#define MORVANE_SOURCE_DATA ""
#endif
#ifndef MORVANE_INSTALL_DATA
#define MORVANE_INSTALL_DATA "../share/morvane"
#endif

namespace comms {

namespace fs = std::filesystem;

namespace {
std::string ProgramDirectory() {
  char exe[PATH_MAX];
  ssize_t n = readlink("/proc/self/exe", exe, sizeof exe - 1);
  if (n <= 0) return "";
  std::string path(exe, size_t(n));
  return path.substr(0, path.rfind('/'));
}

bool HoldsData(const std::string& folder) {
  std::error_code ec;
  return !folder.empty() && fs::is_directory(ResolvePathCase(folder + "/Shaders"), ec) &&
         fs::is_directory(ResolvePathCase(folder + "/Languages"), ec);
}
}  // namespace

std::vector<std::string> DataFolderCandidates() {
  std::vector<std::string> list;
  char cwd[PATH_MAX];
  list.push_back(getcwd(cwd, sizeof cwd) ? cwd : ".");
  if (const char* env = std::getenv("MORVANE_DATA"); env && *env) list.push_back(env);
  if (std::string dir = ProgramDirectory(); !dir.empty())
    list.push_back(NormalisePath(dir + "/" + MORVANE_INSTALL_DATA));
  const char* noSource = std::getenv("MORVANE_NO_SOURCE_DATA");
  if (*MORVANE_SOURCE_DATA && !(noSource && *noSource)) list.push_back(MORVANE_SOURCE_DATA);
  return list;
}

std::string FindDataFolder() {
  for (const std::string& folder : DataFolderCandidates())
    if (HoldsData(folder)) return folder;
  return "";
}

std::string DataFolder() {
  std::string folder = FindDataFolder();
  return folder.empty() ? "." : folder;
}

std::string DataFilePath(const std::string& relative) {
  for (const std::string& folder : DataFolderCandidates()) {
    if (!HoldsData(folder)) continue;
    std::string path = ResolvePathCase(folder + "/" + relative);
    std::error_code ec;
    if (fs::exists(path, ec)) return path;
  }
  return ResolvePathCase(DataFolder() + "/" + relative);
}

std::string MissingDataReason() {
  if (!FindDataFolder().empty()) return "";
  std::string reason = "The program's data (Shaders/ and Languages/) was found in none of these folders:";
  for (const std::string& folder : DataFolderCandidates()) reason += "\n  " + folder;
  reason += "\nRun the program from its data folder, set MORVANE_DATA, or install it with cmake --install.";
  return reason;
}

}  // namespace comms
