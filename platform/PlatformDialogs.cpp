// Routes the system dialogs of the lower layers (assertion, out of memory,
// crash report, the exit question) to the platform's message box once a
// window exists. Titles, texts and buttons that are text keys ("EXIT_PROGRAM",
// "WANT_TO_SAVE") are shown in the words of the text table; anything else,
// already in words, is shown as it stands.
#include "ClassEngine/TextLookup.h"
#include "platform/Platform.h"

namespace {
std::string Words(const std::string& keyOrText) { return LookupTextOr(keyOrText.c_str(), keyOrText.c_str()); }
}  // namespace

void InstallPlatformDialogs(Platform& platform) {
  SetSystemDialogHandler([&platform](const SystemDialog& d) {
    SystemDialog shown = d;
    shown.title = Words(d.title);
    shown.text = Words(d.text);
    for (std::string& b : shown.buttons) b = Words(b);
    return platform.ShowMessageBox(shown);
  });
}
