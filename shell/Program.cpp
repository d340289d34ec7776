// The program's pieces put together; see Program.h.
#include "shell/Program.h"

#include "ClassEngine/TextLookup.h"
#include "MC/brushes/VoxelSculptTool.h"
#include "MC/render/RenderTool.h"
#include "interface/Dialogs.h"
#include "paint/scene/PaintScene.h"
#include "paint/tools/PaintBrushTools.h"
#include "paint/undo/UndoStack.h"
#include "shell/RenderRoom.h"
#include "shell/SceneFileCommands.h"
#include "shell/UndoCommands.h"

namespace {
// Words for a box: a text key's words, or the text as it stands, marked so
// the text table takes it as words.
std::string Marked(const std::string& keyOrText) {
  return "#" + std::string(LookupTextOr(keyOrText.c_str(), keyOrText.c_str()));
}
}  // namespace

Program::Program(Platform& platform, const ProgramMode& mode)
    : platform_(platform),
      mode_(mode),
      view_(platform, mode.offscreen),
      shell_(platform, view_),
      paintRoom_(ThePaintScene()) {
  view_.Attach(shell_);
  RegisterVoxelTools(tools_);
  RegisterPaintTools(tools_);
  RegisterRenderTools(tools_);
  interface_ = std::make_unique<ShellInterface>(shell_, [this] { return view_.Renderer(); }, tools_);
  interface_->Attach();
  workspace_ = std::make_unique<Workspace>(shell_, *interface_, view_);
}

Program::~Program() {
  StopRenderRoom();  // its pictures may live on the view's renderer
  shell_.SetAskInWindow(nullptr);
  workspace_.reset();
  interface_.reset();
}

bool Program::Start(const StartOptions& options) {
  if (!shell_.Start(options)) return false;
  StartVoxelRoom(voxelRoom_, view_, shell_.Tablet(), mode_.sculptDemoHead);
  StartPaintRoom(paintRoom_, view_);
  StartRenderRoom(view_);
  workspace_->Start();
  InstallSceneFileCommands(Tools(), view_, shell_.Folders());
  InstallUndo(TheUndoStack(), Tools(), view_);
  if (mode_.askInWindow) shell_.SetAskInWindow([this](const SystemDialog& d) { return AskInWindow(d); });
  return true;
}

int Program::AskInWindow(const SystemDialog& d) {
  std::vector<std::string> buttons;
  for (const std::string& b : d.buttons) buttons.push_back(Marked(b));
  const int answer = ShowDialog(interface_->Tree(), Marked(d.text).c_str(), Marked(d.title).c_str(), nullptr, buttons,
                                d.defaultButton + 1);
  return answer - 1;
}
