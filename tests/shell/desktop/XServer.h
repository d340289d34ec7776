// A private X server for the window tests: Xvfb on a display number of its
// own choosing, the program started in it, and XTest input into its window.
#pragma once
#include <sys/types.h>

#include <string>
#include <vector>

#include "interchange/Image.h"

// X11's own names stay in XServer.cpp: its macros clash with the program's.
struct _XDisplay;
using XWindow = unsigned long;

// Xvfb, started on construction and ended on destruction.
class XServer {
 public:
  XServer(int width, int height);
  ~XServer();
  XServer(const XServer&) = delete;
  XServer& operator=(const XServer&) = delete;

  bool Ok() const { return display_ != nullptr; }
  const std::string& Error() const { return error_; }
  // ":N", for DISPLAY.
  const std::string& Name() const { return name_; }
  _XDisplay* X() const { return display_; }

  // The first top-level window whose title is `title`, waiting up to
  // `seconds`; 0 when none showed.
  XWindow WaitForWindow(const std::string& title, double seconds);
  // A window's top-left corner on the screen.
  void Origin(XWindow w, int& x, int& y);
  // XTest input, in the window's own pixels, each followed by a short pause
  // so that the program sees them as a person's.
  void MoveTo(XWindow w, int x, int y);
  void Button(int button, bool down);
  // A key by its X name ("F12", "Escape", "n").
  void Key(const char* name);
  void Type(const std::string& text);
  // Asks the window to close, as a window manager's close button does.
  void Close(XWindow w);
  // What the window shows, as RGB with the bottom row first (as every
  // picture of the program).
  bool Capture(XWindow w, comms::cImage& image);

 private:
  pid_t pid_ = -1;
  _XDisplay* display_ = nullptr;
  std::string name_, error_;
};

// A program started with an environment and working folder of its own.
class Child {
 public:
  Child(const std::string& program, const std::vector<std::string>& args, const std::vector<std::string>& env,
        const std::string& folder);
  ~Child();
  bool Running();
  // Waits up to `seconds` for the end; the exit code, or -1 for a signal or
  // a time-out (the program is then killed).
  int Wait(double seconds);

 private:
  pid_t pid_ = -1;
  int status_ = 0;
  bool ended_ = false;
};

// Waits up to `seconds` for `text` to appear in the file.
bool WaitForText(const std::string& file, const std::string& text, double seconds);
void SleepMs(int ms);
