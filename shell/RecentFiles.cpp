// RecentFiles; see RecentFiles.h.
#include "shell/RecentFiles.h"

#include "interface/AppOptions.h"
#include "interface/OptionsFile.h"

namespace RecentFiles {

std::vector<std::string> List() {
  std::vector<std::string> out;
  ClassArray<RecentFile>& list = AppOptions::RecentFiles();
  for (int i = 0; i < list.GetAmount(); i++)
    if (list[i] && !list[i]->Path.IsEmpty()) out.push_back(list[i]->Path.cpchar());
  return out;
}

std::string Newest() {
  std::vector<std::string> list = List();
  return list.empty() ? std::string() : list.front();
}

void Add(const std::string& path) {
  ClassArray<RecentFile>& list = AppOptions::RecentFiles();
  for (int i = list.GetAmount() - 1; i >= 0; --i)
    if (!list[i] || path == list[i]->Path.cpchar()) list.DelElement(i);
  auto* r = new RecentFile;
  r->Path = path.c_str();
  list.Insert(r, 0);
  while (list.GetAmount() > AppOptions::kMaxRecentFiles) list.DelElement(list.GetAmount() - 1);
  SaveOptions();
}

}  // namespace RecentFiles
