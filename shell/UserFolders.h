// Where per-user files live: the Documents folder + "/Morvane3/", or the
// folder named by MORVANE_HOME (tests, portable runs). If that folder cannot
// be written, paths stay relative to the working folder.
#pragma once
#include <string>

class UserFolders {
 public:
  // Decides the prefix. `documents` is the system's Documents folder.
  void Init(const std::string& documents);
  const std::string& Prefix() const { return prefix_; }
  // Prefix + relative; the folders of the result exist afterwards.
  std::string Path(const std::string& relative) const;
  // Creates UserData/, UserData/StoreData/, Temp/ and Exchange/.
  void CreateStandardFolders() const;

 private:
  std::string prefix_;
};

// Creates every folder on the way to `path` (not the last name unless the
// path ends with "/"). Both "/" and "\" separate.
void CreateFoldersOnTheWay(const std::string& path);
