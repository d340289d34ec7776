// Case-blind path resolution; see PathCase.h.
#include "ClassEngine/PathCase.h"

#include <strings.h>

#include <filesystem>
#include <vector>

namespace comms {

namespace fs = std::filesystem;

namespace {
// The entry of `folder` whose name equals `part` without regard to case.
bool MatchEntry(const std::string& folder, const std::string& part, std::string& found) {
  std::error_code ec;
  for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
    std::string name = it->path().filename().string();
    if (strcasecmp(name.c_str(), part.c_str()) == 0) {
      found = std::move(name);
      return true;
    }
  }
  return false;
}
}  // namespace

std::string NormalisePath(const std::string& path) {
  std::string p = path;
  for (char& c : p)
    if (c == '\\') c = '/';
  const bool absolute = !p.empty() && p[0] == '/';
  std::vector<std::string> parts;
  size_t i = 0;
  while (i <= p.size()) {
    size_t j = p.find('/', i);
    if (j == std::string::npos) j = p.size();
    std::string part = p.substr(i, j - i);
    if (part == "..") {
      if (!parts.empty() && parts.back() != "..") parts.pop_back();
      else if (!absolute) parts.push_back(part);
    } else if (!part.empty() && part != ".") {
      parts.push_back(std::move(part));
    }
    i = j + 1;
  }
  std::string out = absolute ? "/" : "";
  for (size_t k = 0; k < parts.size(); ++k) out += (k ? "/" : "") + parts[k];
  return out.empty() ? "." : out;
}

std::string ResolvePathCase(const std::string& path) {
  const std::string norm = NormalisePath(path);
  const bool absolute = norm[0] == '/';
  std::string out = absolute ? "/" : "";
  bool onDisk = true;
  size_t i = absolute ? 1 : 0;
  while (i < norm.size()) {
    size_t j = norm.find('/', i);
    if (j == std::string::npos) j = norm.size();
    const std::string part = norm.substr(i, j - i);
    const std::string folder = out.empty() ? "." : out;
    std::string next = out + (out.empty() || out == "/" ? "" : "/") + part;
    std::error_code ec;
    if (onDisk && part != ".." && !fs::exists(next, ec)) {
      std::string found;
      if (MatchEntry(folder, part, found)) next = out + (out.empty() || out == "/" ? "" : "/") + found;
      else onDisk = false;  // the rest does not exist yet: kept as written
    }
    out = std::move(next);
    i = j + 1;
  }
  return out.empty() ? "." : out;
}

bool PathExists(const std::string& path) {
  std::error_code ec;
  return fs::exists(ResolvePathCase(path), ec);
}

}  // namespace comms
