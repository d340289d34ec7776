// window.txt: the window's rectangle (left, top, right, bottom) and its
// maximised flag. A plausible rectangle with the flag 0 opens in normal state;
// a missing file, a bad rectangle or a set flag give the default 1280 x 720
// client, maximised.
#pragma once
#include <string>

#include "platform/Platform.h"

struct WindowPlacement {
  WindowRect rect;
  bool maximised = true;
};

WindowPlacement DefaultWindowPlacement();
// Reads by the rules above; a missing file gives the default.
WindowPlacement ReadWindowPlacement(const std::string& path);
// Parses the text of window.txt.
WindowPlacement ParseWindowPlacement(const char* text);
bool WriteWindowPlacement(const std::string& path, const WindowRect& rect, bool maximised);
