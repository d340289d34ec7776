// cSettings: the shader reload hook.
#include "ClassEngine/comms/cSettings.h"

namespace comms {
namespace {
std::function<void()>& ReloadHook() {
  static std::function<void()> hook;
  return hook;
}
}  // namespace

void cSettings::ReloadShaders() {
  if (ReloadHook()) ReloadHook()();
}

std::function<void()> cSettings::SetReloadShadersHook(std::function<void()> hook) {
  std::function<void()> old = std::move(ReloadHook());
  ReloadHook() = std::move(hook);
  return old;
}
}  // namespace comms
