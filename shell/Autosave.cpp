// Autosave; see Autosave.h.
#include "shell/Autosave.h"

#include <cstdio>

#include "ClassEngine/Log.h"
#include "shell/UserFolders.h"

namespace {
std::string NumberedName(const std::string& folder, int j) {
  return j == 0 ? folder + "autosave.mvn" : folder + "autosave" + std::to_string(j) + ".mvn";
}
}  // namespace

void RotateAutosaves(const std::string& folder, int n) {
  if (n < 1) n = 1;
  for (int j = n - 1; j >= 1; --j) {
    std::string target = NumberedName(folder, j);
    remove(target.c_str());
    rename(NumberedName(folder, j - 1).c_str(), target.c_str());
  }
}

int AutosaveTimer::Step(uint32_t nowMs, const AutosaveOptions& o, bool modified, const UserFolders& folders,
                        const std::function<bool(const std::string&)>& write) {
  if (!started_ || !o.Autosave || !modified) {
    restart_ = nowMs;
    started_ = true;
    return -1;
  }
  uint32_t period = uint32_t(o.AutosaveTime > 0 ? o.AutosaveTime : 1) * 60000u;
  uint32_t passed = nowMs - restart_;
  if (passed >= period) {
    restart_ = nowMs;
    std::string folder = folders.Path("UserData/");
    RotateAutosaves(folder, o.NumAutosaves);
    bool ok = write && write(folder + "autosave.mvn");
    ++saves_;
    Log("Autosave to %sautosave.mvn %s", folder.c_str(), ok ? "done" : "failed");
    return -1;
  }
  uint32_t left = (period - passed + 999) / 1000;
  return left < 30 ? int(left) : -1;
}
