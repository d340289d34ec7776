// RecentFiles; see RecentFiles.h.
#include "shell/RecentFiles.h"

#include <algorithm>
#include <fstream>

#include "ClassEngine/streams/AtomicFileWriter.h"

std::vector<std::string> RecentFiles::Read() const {
  std::vector<std::string> out;
  std::ifstream in(file_);
  for (std::string line; std::getline(in, line);)
    if (!line.empty()) out.push_back(line);
  return out;
}

void RecentFiles::Add(const std::string& path) {
  std::vector<std::string> list = Read();
  std::erase(list, path);
  list.push_back(path);
  if ((int)list.size() > kMaxEntries) list.erase(list.begin(), list.end() - kMaxEntries);
  AtomicFileWriter out(file_);
  for (const std::string& p : list) {
    out.Write(p.data(), (int64_t)p.size());
    out.Write("\n", 1);
  }
  out.Commit();
}

std::string RecentFiles::Last() const {
  std::vector<std::string> list = Read();
  return list.empty() ? std::string() : list.back();
}
