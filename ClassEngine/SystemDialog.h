// Modal message boxes of the system (the stop sign of an out-of-memory, the
// assertion box, the crash report). The window layer installs the handler
// that shows them; without one, as in tests and headless runs, the default
// button is taken and the box is written to the log instead.
#pragma once
#include <functional>
#include <string>
#include <vector>

struct SystemDialog {
  enum class Kind { Info, Warning, Error, Stop, Question };
  std::string title;
  std::string text;
  std::vector<std::string> buttons{"OK"};
  int defaultButton = 0;
  Kind kind = Kind::Info;
};

// Returns the index of the button chosen.
using SystemDialogHandler = std::function<int(const SystemDialog&)>;

// Installs a handler and returns the previous one (empty: the default).
SystemDialogHandler SetSystemDialogHandler(SystemDialogHandler handler);
int ShowSystemDialog(const SystemDialog& dialog);
