// The whole program on one platform: the shell, the 3D view with its scene,
// the tools with the interface tree, and the voxel room. main() runs it on
// the window (or headless); tests run the same thing on the fake platform,
// so what they see is what the window shows.
#pragma once
#include <memory>
#include <string>

#include "shell/Interface.h"
#include "shell/Shell.h"
#include "shell/Viewport.h"
#include "shell/PaintRoom.h"
#include "shell/VoxelRoom.h"

// How the program runs: in a window with a person at it, or without one.
struct ProgramMode {
  bool offscreen = false;       // draws through EGL, not into the platform's window
  bool askInWindow = true;      // questions in the window's own box (else the system's)
  bool sculptDemoHead = false;  // the start scene is sculpted by the shipped script
  static ProgramMode Window() { return {}; }
  static ProgramMode Headless() { return {true, false, true}; }
};

class Program {
 public:
  Program(Platform& platform, const ProgramMode& mode);
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  // The start-up; false (with Shell().StartupProblem() saying why) when the
  // run must end.
  bool Start(const StartOptions& options);

  Shell& TheShell() { return shell_; }
  ViewportSeams& View() { return view_; }
  ShellInterface& Interface() { return *interface_; }

 private:
  // Questions in the window's own box, answered with mouse or keyboard.
  int AskInWindow(const SystemDialog& dialog);

  Platform& platform_;
  ProgramMode mode_;
  ViewportSeams view_;
  Shell shell_;
  ToolProviders tools_;
  std::unique_ptr<ShellInterface> interface_;
  VoxelRoomLink voxelRoom_;
  PaintRoomLink paintRoom_;
};
