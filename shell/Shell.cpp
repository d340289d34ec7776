// Start-up, the message loop, window messages and the exit; see Shell.h.
#include "shell/Shell.h"

#include <algorithm>
#include <cstdlib>
#include <thread>

#include "ClassEngine/DataFolder.h"
#include "ClassEngine/Log.h"
#include "ClassEngine/Progress.h"
#include "ClassEngine/SaveWorkOffer.h"
#include "ClassEngine/SystemDialog.h"
#include "ClassEngine/UserPaths.h"
#include "platform/Keys.h"
#include "platform/TabletPressure.h"
#include "shell/CrashHandler.h"

namespace {
Shell* gShell = nullptr;
}

Shell* TheShell() { return gShell; }

Shell::Shell(Platform& platform, ShellSeams& seams) : platform_(platform), seams_(seams) {
  gShell = this;
  // Long operations in the libraries below report here: the bar moves at its
  // own rhythm, and Esc held down stops them.
  SetProgressHandler([this](const char* textKey, int64_t done, int64_t total) {
    while (total > 1000000) total /= 1024, done /= 1024;  // the bar counts in ints
    ProgressBar(int(done), int(total), textKey);
    return EscRequested();
  });
  exitFromPump_ = [this] {
    Exit();
    std::exit(0);
  };
}

Shell::~Shell() {
  if (gShell == this) gShell = nullptr;
  SetSystemDialogHandler(nullptr);
  SetProgressHandler(nullptr);
  SetUserPathResolver(nullptr);
  SetSaveWorkOffer(nullptr);
}

bool Shell::Start(const StartOptions& o) {
  // 1. Keep the command line. (There is no OLE to start on this system.)
  std::string openAutomate;
  delayedLine_.Keep(SplitOpenAutomate(o.commandLine, openAutomate));
  title_ = o.title;

  // 2. The crash handler. Drive letters and their free space mean nothing here;
  // memory and start time are recorded by the handler itself.
  if (o.installCrashHandler) {
    CrashContext c;
    c.title = o.title;
    c.processors = int(std::thread::hardware_concurrency());
    c.usingProcessors = c.processors;
    InstallCrashHandler(c);
  }
  // 3. The main thread is not pinned: the worker pool is made from it later and
  // would inherit the mask, leaving every worker on the first processor.
  // 4, 5. The key tables are constant; cursors and the gamepad come with the
  // platform's window.

  // 6. The log, then the per-user folder that everything else writes to.
  LogOpen(o.logPath.c_str());
  Log("Morvane starting");
  folders_.Init(platform_.DocumentsFolder());
  folders_.CreateStandardFolders();
  SetUserPathResolver([this](const std::string& rel) { return folders_.Path(rel); });
  SetSaveWorkOffer([this] { OfferToSaveOnCrash(); });
  // The engine classes (a throw-away cSettings registers its class), then
  // the real settings read their file; they live on layer 4.
  comms::RegisterCommsClasses();
  settings_.ReadFromFile(
      (o.settingsPath.empty() ? comms::DataFilePath("Xmls/Settings.xml") : o.settingsPath).c_str());
  layers_.Register(4, &settingsWidget_, true);

  // 7. The window's place from window.txt.
  placement_ = ReadWindowPlacement(folders_.Path("window.txt"));

  // 8. The window. (No accessibility keys or keyboard hook to save here.)
  if (!platform_.OpenWindow(title_, placement_.rect, placement_.maximised)) {
    Log("Couldn't open the window.");
    return false;
  }
  platform_.SetMinimumClientSize(400, 300);
  InstallPlatformDialogs(platform_);
  ShowLastCrash();

  // Without its data (shaders, words) the program would show a black window.
  if (std::string why = comms::MissingDataReason(); !why.empty()) {
    startupProblem_ = why;
    Error("%s", why.c_str());
    return false;
  }
  Log("Data folder: %s", comms::DataFolder().c_str());

  // 9. The renderer.
  if (!seams_.RendererReady()) {
    startupProblem_ = seams_.RendererProblem();
    if (startupProblem_.empty())
      startupProblem_ = "Couldn't init the renderer. You should have OpenGL 3.3 or later installed.";
    Error("%s", startupProblem_.c_str());
    return false;
  }
  Log("Registering vertex formats...");

  // 10. Application start: time base, busy cursor; tools, viewer, themes and
  // shaders come with their own pieces.
  clock_.Update(platform_.TickMs());
  platform_.SetCursor(SystemCursor::Wait);
  // The tablet: its absence is no error; the mouse then presses fully.
  Log("Initialising Wacom tablet...");
  std::string tabletNote;
  tablet_ = OpenTablet(platform_, &tabletNote);
  Log("Initialising Wacom tablet... %s", tablet_ ? "done." : "failed.");
  if (!tabletNote.empty()) Log("  %s", tabletNote.c_str());

  // 11. Placement (the window opened with it), drop target (always on), first frame.
  Frame();
  platform_.SetCursor(SystemCursor::Arrow);

  // 12. The benchmark interface is not available on this system.
  if (!openAutomate.empty()) {
    Log("oaInit args:%s", openAutomate.c_str());
    Log("oaInit failed");
  }
  return true;
}

bool Shell::Paused() const { return !platform_.IsActive() || platform_.IsMinimised() || movingOrSizing_; }

void Shell::HandleEvent(const PlatformEvent& e) {
  using T = PlatformEvent::Type;
  switch (e.type) {
    case T::CloseRequest:
    case T::Quit:
      CanClose();
      break;
    case T::MoveSizeStart: movingOrSizing_ = true; break;
    case T::MoveSizeEnd: movingOrSizing_ = false; break;
    case T::Expose: redrawRequested_ = true; break;
    case T::FileDropped: {
      // A dropped file is taken like a path on the command line.
      CommandLineDecision d = DecideCommandLine(e.text, "");
      Log("File dropped: %s (%s)", e.text.c_str(), ActionName(d.action));
      seams_.RunCommandLine(d);
      break;
    }
    case T::MouseMove:
      // Hover pop-ups open after 150 ms and hints show after half a second
      // of a still pointer: one frame for each, after the pointer stops.
      frameDue_.clear();
      FrameIn(200);
      FrameIn(550);
      sampler_.OnPlatformEvent(e, queue_, clock_.Now().Time, &platform_);
      break;
    default: sampler_.OnPlatformEvent(e, queue_, clock_.Now().Time, &platform_); break;
  }
}

void Shell::FrameIn(uint32_t ms) { frameDue_.push_back(platform_.TickMs() + ms); }

int Shell::IdleWaitMs() const {
  // Wake for the next poll of the clipboard (the most frequent periodic work),
  // or sooner for a frame that was asked for.
  int wait = 330;
  const uint32_t now = platform_.TickMs();
  for (uint32_t due : frameDue_) wait = std::min(wait, std::max(0, int(due - now)));
  return wait;
}

void Shell::PumpOnce() {
  PlatformEvent e;
  if (Paused()) {
    clock_.Pause();
    if (platform_.IsFullScreen() && !platform_.IsActive()) {
      platform_.Minimise();
      return;
    }
    if (platform_.WaitEvent(e, 500)) HandleEvent(e);
    if (redrawRequested_) {
      redrawRequested_ = false;
      Frame();
    }
    return;
  }
  if (platform_.PollEvent(e)) {
    HandleEvent(e);
    needFrame_ = true;
    return;
  }
  // Nothing waits: sleep until a message or the next periodic work, unless
  // something animates. A wait that ends with no message runs the timed
  // work, and draws only if that work changed what the view shows: an idle
  // program uses no processor time.
  if (!needFrame_ && !seams_.Animating() && !redrawRequested_) {
    if (platform_.WaitEvent(e, IdleWaitMs())) {
      HandleEvent(e);
      needFrame_ = true;
      return;  // more messages may follow; the frame waits for an empty queue
    }
    bool due = false;
    const uint32_t now = platform_.TickMs();
    for (size_t i = frameDue_.size(); i-- > 0;)
      if (int(frameDue_[i] - now) <= 0) {
        due = true;
        frameDue_.erase(frameDue_.begin() + long(i));
      }
    if (!IdleWork() && !due) return;
  }
  needFrame_ = redrawRequested_ = false;
  Frame();
}

void Shell::RunFrames(int frames) {
  int target = frameCount_ + frames;
  // Each turn asks for a frame, so an idle program still draws them. A
  // paused window runs no frames; the turn limit keeps a caller from
  // waiting for ever.
  for (long turns = 0; frameCount_ < target && !exitFlag_ && turns < 100000; ++turns) {
    needFrame_ = true;
    PumpOnce();
  }
}

void Shell::Run() {
  while (!exitFlag_) PumpOnce();
}

bool Shell::CanClose() {
  if (closeLocked_ || asking_) return false;
  if (!seams_.ToolsAllowClose()) return false;
  if (seams_.SceneModified()) {
    SystemDialog d;
    d.title = "EXIT_PROGRAM";
    d.text = "WANT_TO_SAVE";
    d.buttons = {"Yes", "No", "Cancel"};
    d.defaultButton = 2;
    d.kind = SystemDialog::Kind::Question;
    asking_ = true;
    int answer = Ask(d);
    asking_ = false;
    if (answer == 2) return false;
    if (answer == 0 && !seams_.SaveAs()) return false;
  }
  exitFlag_ = true;
  return true;
}

void Shell::Exit() {
  // Options.xml is written by the options table once it exists.
  WindowRect r = platform_.NormalRect();
  WriteWindowPlacement(folders_.Path("window.txt"), r, platform_.IsMaximised());
  Log("Exit after %d frames", frameCount_);
}

int Shell::Ask(const SystemDialog& d) {
  if (!askInWindow_) return ShowSystemDialog(d);
  FrameIn(0);  // the box must show before any message comes
  return askInWindow_(d);
}

void Shell::ShowLastCrash() {
  std::string report = TakeLastCrashReport();
  if (report.empty()) return;
  Log("The previous run crashed:\n%s", report.c_str());
  SystemDialog d;
  d.title = "CRASH!!!";
  d.text = report;
  d.kind = SystemDialog::Kind::Error;
  ShowSystemDialog(d);
}

void Shell::OfferToSaveOnCrash() {
  if (!seams_.SceneModified() && seams_.LargestMeshPolygons() < 1001) return;
  SystemDialog d;
  d.title = "SAVE_WORK_CRASH_HDR";
  d.text = "SAVE_WORK_CRASH";
  d.buttons = {"Yes", "No"};
  d.defaultButton = 0;
  d.kind = SystemDialog::Kind::Question;
  if (ShowSystemDialog(d) != 0) return;
  // Instead of a save dialog inside a dying process, the work goes to the
  // backup that the next start offers to load.
  seams_.WriteScene(folders_.Path("UserData/AutoBackupOnCrash.mvn"));
}
