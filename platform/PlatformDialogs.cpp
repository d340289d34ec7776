// Routes the system dialogs of the lower layers (assertion, out of memory,
// crash report) to the platform's message box once a window exists.
#include "platform/Platform.h"

void InstallPlatformDialogs(Platform& platform) {
  SetSystemDialogHandler([&platform](const SystemDialog& d) { return platform.ShowMessageBox(d); });
}
