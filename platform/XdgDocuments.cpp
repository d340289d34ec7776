// Where the user's Documents folder is on a freedesktop system: the
// XDG_DOCUMENTS_DIR line of ~/.config/user-dirs.dirs, else ~/Documents if it
// exists, else the home folder itself.
#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "platform/Platform.h"

namespace {
bool IsDirectory(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}
}  // namespace

std::string XdgDocumentsFolder() {
  const char* homeEnv = getenv("HOME");
  std::string home = homeEnv ? homeEnv : "";
  const char* configEnv = getenv("XDG_CONFIG_HOME");
  std::string config = configEnv && *configEnv ? configEnv : home + "/.config";
  std::ifstream dirs(config + "/user-dirs.dirs");
  std::string line;
  while (std::getline(dirs, line)) {
    const std::string key = "XDG_DOCUMENTS_DIR=";
    if (line.rfind(key, 0) != 0) continue;
    std::string value = line.substr(key.size());
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"') value = value.substr(1, value.size() - 2);
    if (value.rfind("$HOME", 0) == 0) value = home + value.substr(5);
    if (IsDirectory(value)) return value;
  }
  if (!home.empty() && IsDirectory(home + "/Documents")) return home + "/Documents";
  return home;
}
