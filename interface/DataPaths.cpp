// The data folder; see DataPaths.h.
#include "interface/DataPaths.h"

#include <unistd.h>

#include <climits>
#include <cstdlib>

std::string DataFolder() {
  if (const char* env = getenv("MORVANE_DATA"); env && *env) return env;
  char exe[PATH_MAX];
  ssize_t n = readlink("/proc/self/exe", exe, sizeof exe - 1);
  if (n <= 0) return "data";
  std::string path(exe, size_t(n));
  size_t slash = path.rfind('/');
  return (slash == std::string::npos ? std::string(".") : path.substr(0, slash)) + "/data";
}

std::string DataFilePath(const std::string& relative) { return DataFolder() + "/" + relative; }
