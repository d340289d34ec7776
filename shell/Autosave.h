// The autosave timer and the rotation of UserData/autosave*.mvn. While the
// scene is not modified the timer restarts each frame; once `minutes` have
// passed since the last restart the files rotate and the scene is written.
#pragma once
#include <cstdint>
#include <functional>
#include <string>

class UserFolders;

struct AutosaveOptions {
  bool Autosave = true;
  int AutosaveTime = 15;  // minutes
  int NumAutosaves = 3;
};

// autosave<N-1>.mvn <- ... <- autosave1.mvn <- autosave.mvn; N below 1 counts
// as 1, which only overwrites autosave.mvn. `folder` ends with "/".
void RotateAutosaves(const std::string& folder, int numAutosaves);

class AutosaveTimer {
 public:
  // Once a frame. Returns the seconds left when under 30 (for the "Autosave:
  // %d s" text), else -1. `write` saves the scene to the path it is given.
  int Step(uint32_t nowMs, const AutosaveOptions& options, bool modified, const UserFolders& folders,
           const std::function<bool(const std::string&)>& write);
  int Saves() const { return saves_; }

 private:
  uint32_t restart_ = 0;
  bool started_ = false;
  int saves_ = 0;
};
