// Importing, opening and saving through the rooms that can; see
// SceneCommands.h.
#include "shell/SceneCommands.h"

#include "ClassEngine/Log.h"
#include "ClassEngine/SystemDialog.h"
#include "interface/TextTable.h"
#include "shell/Shell.h"

void TellCannot(const char* key, const std::string& path) {
  SystemDialog d;
  d.title = Text("MORVANE_TITLE");
  d.text = std::string(Text(key)) + (path.empty() ? "" : "\n\n" + path);
  d.kind = SystemDialog::Kind::Warning;
  d.buttons = {Text("OK")};
  Log("%s: %s", key, path.c_str());
  if (Shell* shell = TheShell()) shell->Ask(d);
  else ShowSystemDialog(d);
}

SceneCommands& TheSceneCommands() {
  static SceneCommands commands;
  return commands;
}

bool RunFileCommand(const CommandLineDecision& d) {
  using A = CommandLineDecision::Action;
  switch (d.action) {
    case A::Nothing: return false;
    case A::LoadScene: return LoadSceneFile(d.path, false);
    case A::ImportReference:
    case A::ImportPaintMesh:
    case A::ImportThirdPath:
      if (!TheSceneCommands().ImportMesh) {
        TellCannot("IMPORT_NOT_AVAILABLE", d.path);
        return false;
      }
      return TheSceneCommands().ImportMesh(d.path, d.action);
  }
  return false;
}

bool ImportMeshFile(const std::string& path) {
  CommandLineDecision d;
  d.action = CommandLineDecision::Action::ImportPaintMesh;
  d.path = path;
  return RunFileCommand(d);
}

bool LoadSceneFile(const std::string& path, bool restoring) {
  if (!TheSceneCommands().LoadScene) {
    TellCannot("OPEN_NOT_AVAILABLE", path);
    return false;
  }
  return TheSceneCommands().LoadScene(path, restoring);
}

bool SaveSceneFile(const std::string& path) {
  // Called by the autosave and the crash path: no box, only the log.
  if (!TheSceneCommands().SaveScene) {
    Log("SAVE_NOT_AVAILABLE: %s", path.c_str());
    return false;
  }
  return TheSceneCommands().SaveScene(path);
}

bool SaveSceneTo(const std::string& path) {
  if (!TheSceneCommands().SaveTo) {
    TellCannot("SAVE_NOT_AVAILABLE", "");
    return false;
  }
  return TheSceneCommands().SaveTo(path);
}

bool SaveSceneAs() {
  if (!TheSceneCommands().SaveAs) {
    TellCannot("SAVE_NOT_AVAILABLE", "");
    return false;
  }
  return TheSceneCommands().SaveAs();
}
