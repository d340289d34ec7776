// The scene-file commands; see SceneFileCommands.h.
#include "shell/SceneFileCommands.h"

#include <sys/stat.h>

#include <memory>
#include <vector>

#include "ClassEngine/Log.h"
#include "ClassEngine/SystemDialog.h"
#include "MC/brushes/VoxelSculptTool.h"
#include "MC/tree/VoxVisualTree.h"
#include "interface/TextTable.h"
#include "paint/SceneChanges.h"
#include "paint/file/SceneFile.h"
#include "paint/scene/PaintScene.h"
#include "shell/RecentFiles.h"
#include "shell/SceneCommands.h"
#include "shell/Shell.h"
#include "shell/UserFolders.h"
#include "shell/Viewport.h"
#include "shell/tools/ToolTable.h"

namespace {

bool Exists(const std::string& path) {
  struct stat st;
  return ::stat(path.c_str(), &st) == 0;
}

int Ask(SystemDialog& d) {
  if (Shell* shell = TheShell()) return shell->Ask(d);
  return ShowSystemDialog(d);
}

void Tell(const char* key, const std::string& detail) {
  SystemDialog d;
  d.title = Text("MORVANE_TITLE");
  d.text = std::string(Text(key)) + "\n\n" + detail;
  d.kind = SystemDialog::Kind::Error;
  d.buttons = {Text("OK")};
  Log("%s: %s", key, detail.c_str());
  Ask(d);
}

std::vector<BasicTool*> ToolList(ToolTable& table) {
  std::vector<BasicTool*> out;
  for (int i = 0; i < table.Count(); i++) out.push_back(table.At(i));
  return out;
}

struct Commands {
  ToolTable& tools;
  ViewportSeams& view;
  std::string userData;

  // The user's save: the scene's file from now on, no longer changed.
  bool SaveAs(const std::string& path) {
    SceneFileResult r = SaveSceneFile(ThePaintScene(), path, ToolList(tools));
    if (!r.ok) {
      Tell("SAVE_FAILED", r.error);
      return false;
    }
    ThePaintScene().FileName = path.c_str();
    ChangedSinceSave = 0;
    RecentFiles::Add(path);
    return true;
  }

  // Before the open scene is replaced: ask to save it; false on Cancel or a failed save.
  bool MaySetAside() {
    if (!ChangedSinceSave) return true;
    SystemDialog d;
    d.title = Text("MORVANE_TITLE");
    d.text = Text("WANT_TO_SAVE_BEFORE_OPEN");
    d.buttons = {Text("Yes"), Text("No"), Text("Cancel")};
    d.defaultButton = 2;
    d.kind = SystemDialog::Kind::Question;
    int answer = Ask(d);
    if (answer == 2 || answer < 0) return false;
    return answer == 1 || SaveAs(SceneSaveName(ThePaintScene().FileName.cpchar(), userData));
  }

  bool Open(const std::string& path, bool restoring) {
    if (!restoring && !MaySetAside()) return false;
    SceneFileResult r = LoadSceneFile(ThePaintScene(), path, ToolList(tools));
    if (!r.ok) {
      Tell("OPEN_FAILED", r.error);
      return false;
    }
    ChangedSinceSave = restoring ? 1 : 0;
    if (!restoring) RecentFiles::Add(path);
    return true;
  }
};

}  // namespace

std::string SceneSaveName(const std::string& current, const std::string& folder) {
  if (!current.empty()) return current;
  std::string name = folder + "untitled.mvn";
  while (Exists(name)) name = IncrementalName(name);
  return name;
}

void InstallSceneFileCommands(ToolTable& tools, ViewportSeams& view, const UserFolders& folders) {
  auto c = std::make_shared<Commands>(
      Commands{tools, view, folders.Path("UserData/")});
  if (VoxelSculptTool* voxels = FindVoxelTool(tools)) {
    // The scene file holds every volume of the layer tree, and the tree.
    voxels->SceneVolumes = [c] {
      return c->view.Tree() ? c->view.Tree()->Volumes() : std::vector<VolumeObject*>();
    };
    voxels->SceneTreeXml = [c] { return c->view.Tree() ? c->view.Tree()->TreeXml() : std::string(); };
    voxels->TakeScene = [c, voxels](std::vector<std::unique_ptr<VolumeObject>>&& loaded, const std::string& tree) {
      if (loaded.empty()) return;
      c->view.TakeVolumes(std::move(loaded), tree);
      voxels->SetScene(c->view.Volume(), &c->view.Camera());
    };
    voxels->Tree = [c] { return c->view.Tree(); };
    // A merge into separate volumes hangs each part under the current row.
    voxels->VolumesBelow = [c](VolumeObject& v) {
      VoxVisualTree* tree = c->view.Tree();
      return tree ? tree->VolumesBelow(tree->BranchOf(&v)) : std::vector<VolumeObject*>();
    };
    voxels->TakeParts = [c](VolumeObject& v, std::vector<SeparatePart>&& parts) {
      if (VoxVisualTree* tree = c->view.Tree()) tree->AttachParts(tree->BranchOf(&v), std::move(parts));
    };
  }
  SceneCommands& s = TheSceneCommands();
  s.LoadScene = [c](const std::string& path, bool restoring) { return c->Open(path, restoring); };
  // The autosave and the crash path: a copy, the scene stays changed.
  s.SaveScene = [c](const std::string& path) {
    SceneFileResult r = SaveSceneFile(ThePaintScene(), path, ToolList(c->tools));
    if (!r.ok) Log("SaveScene: %s", r.error.c_str());
    return r.ok;
  };
  s.SaveAs = [c] { return c->SaveAs(SceneSaveName(ThePaintScene().FileName.cpchar(), c->userData)); };
  s.SaveTo = [c](const std::string& path) { return c->SaveAs(path); };
  s.SuggestedName = [c] { return SceneSaveName(ThePaintScene().FileName.cpchar(), c->userData); };
  s.SaveIncremental = [c] {
    std::string next = IncrementalName(SceneSaveName(ThePaintScene().FileName.cpchar(), c->userData));
    return !next.empty() && c->SaveAs(next);
  };
  s.LastRecentFile = [] { return RecentFiles::Newest(); };
}
