#include "ClassEngine/SystemDialog.h"

#include <mutex>
#include <utility>

#include "ClassEngine/Log.h"

namespace {
std::mutex gLock;
SystemDialogHandler gHandler;
}  // namespace

SystemDialogHandler SetSystemDialogHandler(SystemDialogHandler handler) {
  std::lock_guard<std::mutex> guard(gLock);
  std::swap(gHandler, handler);
  return handler;
}

int ShowSystemDialog(const SystemDialog& dialog) {
  SystemDialogHandler handler;
  {
    std::lock_guard<std::mutex> guard(gLock);
    handler = gHandler;
  }
  if (handler) return handler(dialog);
  int answer = dialog.defaultButton;
  const char* button = (answer >= 0 && answer < (int)dialog.buttons.size())
                           ? dialog.buttons[answer].c_str()
                           : "";
  Log("Dialog \"%s\" answered \"%s\" without a window", dialog.title.c_str(), button);
  return answer;
}
