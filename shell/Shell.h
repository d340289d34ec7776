// The program's spine: start-up in order, the message loop, one frame, the
// application frame's periodic work, long operations (ProgressBar, PumpModal)
// and the exit. One Shell exists per run and is reached through TheShell().
// Everything the shell cannot do yet (draw, load, save, import) goes through
// the ShellSeams it is given.
#pragma once
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ClassEngine/comms/cSettings.h"
#include "platform/Platform.h"
#include "platform/TabletPressure.h"
#include "shell/Autosave.h"
#include "shell/CommandLine.h"
#include "shell/Dispatcher.h"
#include "shell/EventQueue.h"
#include "shell/InputSampler.h"
#include "shell/PeriodicChecks.h"
#include "shell/SettingsWidget.h"
#include "shell/ShellSeams.h"
#include "shell/TimeBase.h"
#include "shell/UserFolders.h"
#include "shell/WidgetLayers.h"
#include "shell/WindowPlacement.h"

struct StartOptions {
  std::string commandLine;
  std::string logPath = "Log.txt";
  bool installCrashHandler = true;
  std::string title = "Morvane";
  // The engine settings read at start-up; empty: Xmls/Settings.xml of the
  // program's data folder.
  std::string settingsPath;
};

class Shell {
 public:
  Shell(Platform& platform, ShellSeams& seams);
  ~Shell();

  // The start-up steps; false if the run must end at once.
  bool Start(const StartOptions& options);
  // One turn of the message loop: one message, or one frame when none waits.
  void PumpOnce();
  // Turns the loop until `frames` more frames ran or the exit flag is set.
  void RunFrames(int frames);
  // Turns the loop until the exit flag is set.
  void Run();
  void Frame();
  // After the loop: window.txt is written.
  void Exit();

  // Asks to leave: tools, then "WANT_TO_SAVE" if the scene is modified. True
  // sets the exit flag.
  bool CanClose();
  void LockClose(bool locked) { closeLocked_ = locked; }
  bool ExitRequested() const { return exitFlag_; }

  void PumpModal(const std::function<bool()>& done);
  // A question or notice for the user: the index of the answer, from 0. In
  // the window's own box once one is installed, else the system's box.
  int Ask(const SystemDialog& dialog);
  void SetAskInWindow(std::function<int(const SystemDialog&)> ask) { askInWindow_ = std::move(ask); }
  // Returns whether it drew (at most every 500 ms).
  bool ProgressBar(int current, int total, const char* text);
  // Inside a long operation: one waiting message is handled, no frame runs,
  // so the window answers while the scene stays put.
  void PumpOneMessage();
  bool IsKeyDownNow(int key) const;
  // Esc is held, or was tapped in the last second and that tap has not yet
  // stopped anything: what long operations ask between their steps.
  bool EscRequested();

  void SetFullScreenWanted(bool on) { settings_.FullScreen = on; }
  // Grid, wireframe, full screen, clear colour: the frame reads them each time.
  comms::cSettings& Settings() { return settings_; }
  // Asks for a frame `ms` milliseconds from now even if no message comes: a
  // hint that is due to appear, a blinking caret.
  void FrameIn(uint32_t ms);
  // What leaving from inside a modal pump does; the default ends the process.
  void SetExitFromPump(std::function<void()> fn) { exitFromPump_ = std::move(fn); }

  WidgetLayers& Layers() { return layers_; }
  EventQueue& Queue() { return queue_; }
  const TimeBase& Time() const { return clock_.Now(); }
  TimeBase& MutableTime() { return clock_.Mutable(); }
  const Dispatcher& Dispatch() const { return dispatcher_; }
  const InputSampler& Sampler() const { return sampler_; }
  UserFolders& Folders() { return folders_; }
  AutosaveOptions& Autosave() { return autosave_; }
  const AutosaveTimer& AutosaveState() const { return autosaveTimer_; }
  const WindowPlacement& Placement() const { return placement_; }
  const CommandLineDecision& CommandLine() const { return commandLine_; }
  bool CommandLineRan() const { return commandLineRan_; }
  int FrameCount() const { return frameCount_; }
  int DispatchedEvents() const { return dispatchedEvents_; }
  bool Paused() const;
  Platform& Window() { return platform_; }
  // The tablet opened at start-up; null without one (the mouse presses fully).
  TabletReader* Tablet() const { return tablet_.get(); }
  // Why Start returned false, in words for the user; empty otherwise.
  const std::string& StartupProblem() const { return startupProblem_; }

 private:
  void HandleEvent(const PlatformEvent& e);
  void ApplicationFrame(int width, int height);
  // The hand-overs of other programs: Exchange/import.txt and the clipboard
  // colour. True when one of them changed something.
  bool PollHandOvers(uint32_t nowMs);
  // The autosave timer; true when the countdown in the view changed or a
  // save ran.
  bool StepAutosave(uint32_t nowMs);
  // The timed work of a turn that found no message: true when it needs a
  // frame to show what it did. A window with nothing to do draws nothing.
  bool IdleWork();
  void CheckCrashBackup();
  void ShowLastCrash();
  void OfferToSaveOnCrash();
  // How long an idle turn may sleep: until the next periodic work or the
  // next frame asked for.
  int IdleWaitMs() const;

  Platform& platform_;
  ShellSeams& seams_;
  WidgetLayers layers_;
  EventQueue queue_;
  InputSampler sampler_;
  Dispatcher dispatcher_;
  FrameClock clock_;
  UserFolders folders_;
  WindowPlacement placement_;
  AutosaveOptions autosave_;
  AutosaveTimer autosaveTimer_;
  DelayedCommandLine delayedLine_;
  CommandLineDecision commandLine_;
  Interval importPoll_{500};
  Interval clipboardPoll_{330};
  ClipboardColourWatch clipboardWatch_;
  std::function<void()> exitFromPump_;
  std::function<int(const SystemDialog&)> askInWindow_;
  std::unique_ptr<TabletReader> tablet_;
  std::string startupProblem_;
  std::string title_ = "Morvane";
  uint32_t lastProgressMs_ = 0;
  std::vector<uint32_t> frameDue_;  // ticks at which frames were asked for
  int frameCount_ = 0, nesting_ = 0, dispatchedEvents_ = 0;
  int autosaveLeft_ = -1;  // seconds shown in the view, -1 none
  bool progressDrawn_ = false;
  bool frameForbidden_ = false, sceneBegun_ = false, modalRan_ = false;
  uint32_t escTakenAt_ = 0;  // the tick at which a tap of Esc last stopped something
  bool firstAppFrame_ = true, commandLineRan_ = false;
  bool exitFlag_ = false, closeLocked_ = false, asking_ = false;
  bool needFrame_ = true, redrawRequested_ = false, movingOrSizing_ = false;
  comms::cSettings settings_;
  SettingsWidget settingsWidget_{settings_};
};

// The one shell of the run, null outside it.
Shell* TheShell();
// The free forms that long operations call.
bool ProgressBar(int current, int total, const char* text);
bool IsKeyDownNow(int key);
void PumpModal(const std::function<bool()>& done);
