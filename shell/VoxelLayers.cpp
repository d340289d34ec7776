// The voxel room's layer panel in the window (see VoxelLayers.h).
#include "shell/VoxelLayers.h"

#include "ClassEngine/UserPaths.h"
#include "MC/brushes/VoxelSculptTool.h"
#include "MC/cache/VolumeCache.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/tree/VoxTreeMenu.h"
#include "MC/tree/VoxVisualTree.h"
#include "MC/undo/RowsUndo.h"
#include "interface/Dialogs.h"
#include "interface/Docks.h"
#include "interface/VoxTreePanel.h"
#include "interface/WidgetTree.h"
#include "paint/GeneralPen.h"
#include "paint/undo/UndoStack.h"
#include "shell/Viewport.h"
#include "shell/tools/ToolTable.h"

namespace {
// The first set mirror axis of the pen, -1 when symmetry is off.
int SymmetryAxis() {
  for (int axis = 0; axis < 3; ++axis)
    if (GeneralPen::Symmetry & (1 << axis)) return axis;
  return -1;
}

// Docks the window as a tab beside the window docked on the right (or on
// the right when none is), and shows it.
void DockLayers(Docks& docks, WidgetTree& tree, BaseWidget* window) {
  const float w = window->W, h = window->H + DockableHeader::kCaption;
  const float x = tree.Root().W > 0 ? tree.Root().W - w - 20 : 800;
  DockableHeader* header = docks.Float(window, x, 80, w, h);
  BaseWidget* navi = tree.Root().FindWidget("NAVI_SETUP");
  auto* right = navi ? dynamic_cast<DockableHeader*>(navi->ParentWidget()) : nullptr;
  if (right && !right->IsPopup && right->Visible())
    docks.Drop(header, {right, -1, {}});
  else
    docks.Drop(header, {docks.DockRoot(), 3, {}});
}
}  // namespace

VoxTreePanel* MakeVoxelLayersWindow(Docks& docks, WidgetTree& tree, ViewportSeams& view, float width, float height) {
  auto* panel = new VoxTreePanel;
  panel->Tree = view.Tree();
  panel->W = width, panel->H = height;
  panel->OnTreeChanged = [&view] {
    // The brushes work on the row that is current now.
    if (VoxelSculptTool* tool = FindVoxelTool(Tools())) tool->SetScene(view.Volume(), &view.Camera());
  };
  panel->ToggleCache = [](VoxTreeBranch& row) {
    return row.Volume && ToggleCachingVolume(*row.Volume, Reduce4X, UserFilePath("Cache"));
  };
  panel->RunCommand = [&view](VoxTreeBranch& row, const std::string& command, VoxTreeBranch* target,
                              std::string& message) {
    VoxVisualTree* t = view.Tree();
    if (t && command == "DelVoxTree") return DeleteRowUndoable(TheUndoStack(), *t, &row);
    return t && RunVoxTreeCommand(*t, &row, command, target, SymmetryAxis(), &message);
  };
  panel->ShowMessage = [&tree](const std::string& key) { ShowDialog(tree, key.c_str(), "MORVANE_TITLE", nullptr, {"OK"}); };
  panel->EditShaderSettings = [&tree](VoxTreeBranch& row) {
    ShowDialog(tree, "", "EditShaderSettings", &row.ShaderSettings, {"OK"});
  };
  DockLayers(docks, tree, panel);
  return panel;
}

void ShowVoxelLayersFor(WidgetTree& tree, int room) {
  BaseWidget* window = tree.Root().FindWidget("VOXEL_LAYERS");
  Docks* docks = TheDocks();
  if (!window || !docks) return;
  VoxelSculptTool* tool = FindVoxelTool(Tools());
  const bool shown = tool && tool->Room == room;
  auto* header = dynamic_cast<DockableHeader*>(window->ParentWidget());
  const bool alone = header && header->Children.GetAmount() == 1;
  if (shown) {
    // A room page that does not place the window leaves it bare or floating.
    if (!header || header->IsPopup) {
      DockLayers(*docks, tree, window);
      if (header && header->Children.GetAmount() == 0) header->Delete();
    }
    if (auto* h = dynamic_cast<DockableHeader*>(window->ParentWidget())) h->ShowTab(window->Name.cpchar());
    window->SetVisible(true);
  } else if (header && !alone) {
    // A shared header shows another of its tabs.
    for (BaseWidget* w : header->Children)
      if (w && w != window) {
        header->ShowTab(w->Name.cpchar());
        break;
      }
  } else if (alone && !header->IsPopup) {
    // Out of this room's docks: the header goes, the window waits hidden.
    docks->Float(window, window->AbsX, window->AbsY, window->W, window->H)->SetVisible(false);
    header->Delete();
  } else if (alone) {
    header->SetVisible(false);
  } else {
    window->SetVisible(false);
  }
  docks->Arrange();
}
