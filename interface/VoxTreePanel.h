// The voxel room's layer panel: one row per branch of the volume tree, indented
// by depth, with an arrow that folds a branch, an icon (folder, volume, or
// cached volume: a click on a volume's icon caches it or brings it back), the
// label, and an eye that shows or hides the row. A click makes the row's
// volume current; a right click opens the row's command menu (with submenus
// of targets); a double click on the label renames the row; dragging a row
// onto the middle of another hangs it below that one, onto the edge between
// two rows puts it there, and below the last row hangs it under the root.
// The rows are drawn from the tree itself each frame, so any command that
// changes the tree shows at once.
#pragma once
#include <functional>
#include <string>
#include <vector>

#include "interface/Widgets.h"

class VoxTreeBranch;
class VoxVisualTree;

class VoxTreePanel : public PanelWidget {
 public:
  static constexpr float kRowHeight = 22;
  static constexpr float kIndent = 14;
  // Pixels the pointer moves with the button down before a press is a drag.
  static constexpr float kDragStart = 4;
  enum Part { kNoPart = 0, kArrow, kIcon, kLabel, kEye };
  struct Row {
    VoxTreeBranch* Branch = nullptr;
    int Depth = 0;
  };

  VoxVisualTree* Tree = nullptr;
  // Told after every change the panel made (current row, visibility, names,
  // structure): the room hands the tools the new current volume here.
  std::function<void()> OnTreeChanged;
  // Caches the row's volume or brings it back; false when that failed.
  std::function<bool(VoxTreeBranch&)> ToggleCache;
  // Runs a menu command on a row (with a target for the submenus); `message`
  // takes a text key to show when it was refused with one.
  std::function<bool(VoxTreeBranch& row, const std::string& command, VoxTreeBranch* target, std::string& message)>
      RunCommand;
  // Edits the row's shader settings (a dialog over ShaderSettings); asked
  // only when the row's shader has variables.
  std::function<void(VoxTreeBranch&)> EditShaderSettings;
  // Shows a refusal's text key to the user.
  std::function<void(const std::string& key)> ShowMessage;

  MV_CLASS(VoxTreePanel, PanelWidget) {}
  VoxTreePanel();

  // The rows shown: the root's branches in tree order, without removed ones
  // and without the children of folded rows.
  std::vector<Row> Rows() const;
  // The row index under a screen y, -1 for none.
  int RowAt(float y) const;
  // What of row `row` lies under screen x.
  Part PartAt(int row, float x) const;
  // Screen centre of a part of a row (for a pointer that aims at it).
  void PartCentre(int row, Part part, float& x, float& y) const;

  // Row commands, as the clicks run them; false when nothing changed.
  bool ToggleVisible(VoxTreeBranch& row);
  bool ToggleOpen(VoxTreeBranch& row);
  bool MakeCurrent(VoxTreeBranch& row);
  bool Rename(VoxTreeBranch& row, const std::string& name);
  // Reads the variables of the row's shader (keeping the user's values) and
  // hands them to EditShaderSettings; "NoParamsToEdit" when there are none.
  bool EditShader(VoxTreeBranch& row);
  // Where a drop at screen y puts `dragged`: under a row, beside it, or under
  // the root. False (nothing changed) for a drop onto itself or below itself.
  bool DropAt(VoxTreeBranch& dragged, float y);

  // The menu of a row at a screen point; the open list (null when none).
  bool OpenMenu(VoxTreeBranch& row, float x, float y);
  TextMenu* Menu() const;
  // The commands the open menu lists, in its order.
  const std::vector<std::string>& MenuCommands() const { return menuCommands_; }
  // Picks item `item` of the open menu (or submenu) as a click would.
  bool PickMenuItem(int item);
  // The rename box of the row, opened by a double click on its label.
  bool OpenRename(VoxTreeBranch& row);
  TextEntry* RenameBox() const;

 private:
  bool OnDraw();
  bool OnPress();
  bool OnDoubleClick();
  bool OnMove();
  bool OnRelease();
  bool OnRightPress();
  bool MenuPicked();
  float RowTop(int row) const;
  void Changed();
  void DrawRow(const Row& r, int index, bool current);
  void CloseMenu();
  // Opens (or replaces) the popup list at the menu's place.
  void OpenList(const std::vector<std::string>& items);

  int pressedRow_ = -1;
  Part pressedPart_ = kNoPart;
  float pressX_ = 0, pressY_ = 0;
  bool dragging_ = false;
  WidgetHandle menu_, rename_;
  int menuPick_ = -1;
  float menuX_ = 0, menuY_ = 0;
  std::vector<std::string> menuCommands_;
  std::string subCommand_;  // the submenu's command while one is open
  std::vector<VoxTreeBranch*> subTargets_;
  VoxTreeBranch* menuRow_ = nullptr;
};
