// The recent-files list: the scenes last opened or saved, newest first, each
// once. It lives in the options (AppOptions::RecentFiles) and is written to
// Options.xml at each change, so the File menu and "-recent" read one list.
#pragma once
#include <string>
#include <vector>

namespace RecentFiles {
// The list, newest first.
std::vector<std::string> List();
// The newest entry, empty when none.
std::string Newest();
// Puts `path` first (once), keeps AppOptions::kMaxRecentFiles entries and
// saves the options (a failed write keeps the old file).
void Add(const std::string& path);
}  // namespace RecentFiles
