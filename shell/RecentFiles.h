// The recent-files list: the scenes last opened or saved, newest last, one
// path a line in a text file of the user folder. "-recent" opens the newest.
#pragma once
#include <string>
#include <vector>

class RecentFiles {
 public:
  static constexpr int kMaxEntries = 10;

  explicit RecentFiles(std::string file) : file_(std::move(file)) {}
  // The list as the file holds it (empty when there is none).
  std::vector<std::string> Read() const;
  // Moves `path` to the end (adding it), keeps the last kMaxEntries and
  // writes the file through a temporary file.
  void Add(const std::string& path);
  // The newest entry, empty when none.
  std::string Last() const;

 private:
  std::string file_;
};
