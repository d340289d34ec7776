// One frame and the application frame inside it; see Shell.h.
#include <cstdio>

#include "ClassEngine/Log.h"
#include "ClassEngine/SystemDialog.h"
#include "shell/Shell.h"
#include "shell/UndoCommands.h"

namespace {
void SetCursorFromWidget(void* ctx, int id) {
  if (id >= 0 && id < kSystemCursorCount) static_cast<Platform*>(ctx)->SetCursor(SystemCursor(id));
}
}  // namespace

void Shell::Frame() {
  // 1. No renderer, or a progress bar in progress.
  if (!seams_.RendererReady() || frameForbidden_) return;
  // 2. Full-screen as the settings say.
  if (settings_.FullScreen != platform_.IsFullScreen()) platform_.SetFullScreen(settings_.FullScreen);
  // 3. No client: nothing draws, and time does not count.
  int width = 0, height = 0;
  platform_.ClientSize(width, height);
  if (width < 1 || height < 1) {
    clock_.Pause();
    return;
  }
  ++nesting_;  // 4.
  const uint32_t tick = platform_.TickMs();
  std::erase_if(frameDue_, [tick](uint32_t due) { return int(due - tick) <= 0; });
  // 5, 6. No splash to close; the widget tree deletes its marked widgets
  // inside the interface's own idle work.
  clock_.Update(platform_.TickMs());  // 7.
  if (!sceneBegun_) {                 // 8.
    seams_.BeginScene();
    sceneBegun_ = true;
  }
  seams_.SetViewport(width, height);  // 9.
  sampler_.Sample(platform_, queue_, clock_.Now().Time);  // 10.
  seams_.DrawBackground();  // 11.
  dispatchedEvents_ += int(queue_.Size());
  float px, py;  // 12.
  platform_.PointerPosition(px, py);
  dispatcher_.Run(layers_, queue_, clock_.Now().Delta, px, py, SetCursorFromWidget, &platform_);
  seams_.SetDefaultStates();  // 13. Then the grid and the fill of the scene.
  if (settings_.ShowGrid) seams_.DrawGroundGrid(settings_.GridStep, settings_.GridLines, settings_.GridColor);
  seams_.SetSceneWireframe(settings_.Wireframe);
  layers_.RenderLayer(0);  // 14.
  // 15, 16. The viewer's matrices and the hidden-cursor camera drag belong to
  // the viewer and navigation.
  ApplicationFrame(width, height);  // 17.
  seams_.ClearDepth();              // 18.
  for (int layer = 1; layer <= 4; ++layer) layers_.RenderLayer(layer);  // 19.
  if (!dispatcher_.Hint().text.empty())
    seams_.DrawText(dispatcher_.Hint().x, dispatcher_.Hint().y, 0xffffffffu, dispatcher_.Hint().text);
  seams_.SetDefaultStates();  // 20.
  seams_.EndScene();
  sceneBegun_ = false;
  --nesting_;  // 21.
  modalRan_ = false;
  ++frameCount_;
}

bool Shell::PollHandOvers(uint32_t now) {
  bool happened = false;
  // 1. A path handed over by another program.
  if (importPoll_.Due(now)) {
    std::string path = TakeImportRequest(folders_.Path("Exchange/import.txt"));
    if (!path.empty()) {
      Log("Import requested: %s", path.c_str());
      seams_.ImportMesh(path);
      happened = true;
    }
  }
  // 2. A colour copied as six hex digits.
  if (clipboardPoll_.Due(now)) happened |= clipboardWatch_.Check(platform_.ClipboardText());
  return happened;
}

bool Shell::StepAutosave(uint32_t now) {
  const int shown = autosaveLeft_;
  const int saves = autosaveTimer_.Saves();
  autosaveLeft_ = autosaveTimer_.Step(now, autosave_, seams_.SceneModified(), folders_,
                                      [this](const std::string& path) { return seams_.WriteScene(path); });
  return autosaveLeft_ != shown || autosaveTimer_.Saves() != saves;
}

bool Shell::IdleWork() {
  clock_.Update(platform_.TickMs());
  const uint32_t now = uint32_t(clock_.Now().TimeMs);
  bool redraw = PollHandOvers(now);
  redraw |= StepAutosave(now);
  return redraw;
}

void Shell::ApplicationFrame(int width, int) {
  uint32_t now = uint32_t(clock_.Now().TimeMs);
  // 1, 2. A path handed over by another program; a colour copied as six hex digits.
  PollHandOvers(now);
  // 3. The debug key combinations act on docks, which arrive with the panels.
  // 4. The title bar (a progress bar may have written its percentage there).
  // It carries a mark while the scene holds changes no file has.
  const std::string title = TitleWithChanges(title_, seams_.SceneModified());
  if (platform_.Title() != title) platform_.SetTitle(title);
  // 5. The first run: menus, panels and pen, then the crash backup.
  if (firstAppFrame_) {
    firstAppFrame_ = false;
    seams_.FirstApplicationFrame();
    CheckCrashBackup();
  }
  seams_.UpdateRoomAndTool();  // 6.
  // 7. The command line waits for the fourth application frame.
  if (delayedLine_.Tick()) {
    commandLine_ = DecideCommandLine(delayedLine_.Line(), seams_.LastRecentFile());
    commandLineRan_ = true;
    Log("Command line: %s%s%s -> %s %s", commandLine_.recent ? "-recent " : "", commandLine_.ref ? "-ref " : "",
        commandLine_.mv ? "-mv " : "", ActionName(commandLine_.action), commandLine_.path.c_str());
    if (commandLine_.action != CommandLineDecision::Action::Nothing) seams_.RunCommandLine(commandLine_);
  }
  // 8. Autosave, with its countdown in the view.
  StepAutosave(now);
  if (autosaveLeft_ >= 0) {
    char text[64];
    snprintf(text, sizeof text, "Autosave: %d s", autosaveLeft_);
    seams_.DrawText(float(width / 2 - 30), 100.0f, 0x80ff0000u, text);
  }
  seams_.IdleWork();  // 9.
}

void Shell::CheckCrashBackup() {
  std::string path = folders_.Path("UserData/AutoBackupOnCrash.mvn");
  FILE* f = fopen(path.c_str(), "rb");
  if (!f) return;
  fclose(f);
  SystemDialog d;
  d.title = "AutoBackup";
  d.text = "PrevBackupFound";
  d.buttons = {"Load", "Delete", "Skip"};
  d.defaultButton = 2;
  d.kind = SystemDialog::Kind::Question;
  int answer = Ask(d);
  if (answer == 0) {
    seams_.LoadScene(path, true);
    remove(path.c_str());
  } else if (answer == 1) {
    remove(path.c_str());
  }
  Log("Crash backup %s: %s", path.c_str(), answer == 0 ? "loaded" : answer == 1 ? "deleted" : "kept");
}
