// The voxel room's layer panel (see VoxTreePanel.h).
#include "interface/VoxTreePanel.h"

#include <algorithm>
#include <cmath>

#include "MC/mcubes/VolumeObject.h"
#include "MC/tree/VoxShaderParams.h"
#include "MC/tree/VoxTreeMenu.h"
#include "MC/tree/VoxVisualTree.h"
#include "interface/TextTable.h"
#include "interface/UiContext.h"

namespace {
// Commands whose item opens a list of target rows.
bool TakesTarget(const std::string& c) {
  return c == "MergeTo" || c == "MoveTo" || c == "SubtractFrom" || c == "IntersectWith" || c == "ChangeParent";
}
constexpr float kIconSize = 16, kEyeSize = 20, kArrowW = 12;
}  // namespace

VoxTreePanel::VoxTreePanel() {
  Name = "VOXEL_LAYERS";
  Flags |= kWfClip;
  Callbacks.Clear();
  AddCallback(kEvDraw, MakeCallback(this, &VoxTreePanel::OnDraw));
  AddCallback(kEvLDown, MakeCallback(this, &VoxTreePanel::OnPress));
  AddCallback(kEvLDouble, MakeCallback(this, &VoxTreePanel::OnDoubleClick));
  AddCallback(kEvMove, MakeCallback(this, &VoxTreePanel::OnMove));
  AddCallback(kEvLUp, MakeCallback(this, &VoxTreePanel::OnRelease));
  AddCallback(kEvRDown, MakeCallback(this, &VoxTreePanel::OnRightPress));
}

std::vector<VoxTreePanel::Row> VoxTreePanel::Rows() const {
  std::vector<Row> rows;
  if (!Tree) return rows;
  std::function<void(VoxTreeBranch&, int)> walk = [&](VoxTreeBranch& b, int depth) {
    for (VoxTreeBranch* c : b.ChildObjects) {
      if (!c || c->Removed) continue;
      rows.push_back({c, depth});
      if (c->OpenState) walk(*c, depth + 1);
    }
  };
  walk(*Tree, 0);
  return rows;
}

float VoxTreePanel::RowTop(int row) const { return AbsY + PadTop + Ui().Px(kRowHeight) * float(row); }

int VoxTreePanel::RowAt(float y) const {
  const float h = Ui().Px(kRowHeight);
  if (y < AbsY + PadTop) return -1;
  const int i = int(std::floor((y - AbsY - PadTop) / h));
  return i < int(Rows().size()) ? i : -1;
}

VoxTreePanel::Part VoxTreePanel::PartAt(int row, float x) const {
  const std::vector<Row> rows = Rows();
  if (row < 0 || row >= int(rows.size())) return kNoPart;
  UiContext& ui = Ui();
  const float left = AbsX + ui.Px(4 + kIndent * float(rows[size_t(row)].Depth));
  if (x >= AbsX + W - ui.Px(kEyeSize + 4)) return kEye;
  if (x >= left && x < left + ui.Px(kArrowW)) return rows[size_t(row)].Branch->ChildObjects.GetAmount() ? kArrow : kLabel;
  if (x >= left + ui.Px(kArrowW) && x < left + ui.Px(kArrowW + kIconSize + 2)) return kIcon;
  return kLabel;
}

void VoxTreePanel::PartCentre(int row, Part part, float& x, float& y) const {
  UiContext& ui = Ui();
  const std::vector<Row> rows = Rows();
  const int depth = row >= 0 && row < int(rows.size()) ? rows[size_t(row)].Depth : 0;
  const float left = AbsX + ui.Px(4 + kIndent * float(depth));
  y = RowTop(row) + ui.Px(kRowHeight) / 2;
  switch (part) {
    case kArrow: x = left + ui.Px(kArrowW) / 2; break;
    case kIcon: x = left + ui.Px(kArrowW + kIconSize / 2); break;
    case kEye: x = AbsX + W - ui.Px(4 + kEyeSize / 2); break;
    default: x = left + ui.Px(kArrowW + kIconSize + 12); break;
  }
}

void VoxTreePanel::Changed() {
  if (OnTreeChanged) OnTreeChanged();
}

bool VoxTreePanel::ToggleVisible(VoxTreeBranch& row) {
  row.Visible = !row.Visible;
  if (row.Volume) row.Volume->Visible = row.Visible;
  Changed();
  return true;
}

bool VoxTreePanel::ToggleOpen(VoxTreeBranch& row) {
  row.OpenState = !row.OpenState;
  return true;
}

bool VoxTreePanel::MakeCurrent(VoxTreeBranch& row) {
  if (!Tree || !row.Volume || Tree->CurrentVolume == row.Volume) return false;
  Tree->MakeCurrent(&row);
  Changed();
  return true;
}

bool VoxTreePanel::Rename(VoxTreeBranch& row, const std::string& name) {
  if (name.empty() || name == row.Name.cpchar()) return false;
  row.Name = name.c_str();
  if (row.Volume) row.Volume->Name = name;
  Changed();
  return true;
}

bool VoxTreePanel::EditShader(VoxTreeBranch& row) {
  if (row.Volume) LoadShaderVariables(row.ShaderSettings, row.Volume->Shader);
  if (!row.Volume || row.ShaderSettings.ExParams.GetAmount() == 0) {
    if (ShowMessage) ShowMessage("NoParamsToEdit");
    return false;
  }
  if (EditShaderSettings) EditShaderSettings(row);
  return true;
}

bool VoxTreePanel::DropAt(VoxTreeBranch& dragged, float y) {
  if (!Tree) return false;
  const std::vector<Row> rows = Rows();
  const int i = RowAt(y);
  bool done = false;
  if (i < 0) {
    // Below the rows: the last place under the root.
    if (y < AbsY + PadTop) return false;
    VoxTreeBranch* last = Tree->ChildObjects.GetAmount() ? Tree->ChildObjects[Tree->ChildObjects.GetAmount() - 1] : nullptr;
    if (dragged.ParentBranch != Tree)
      done = Tree->ChangeParent(&dragged, Tree);
    else
      done = last && last != &dragged && Tree->MoveBeside(&dragged, last, true);
  } else {
    VoxTreeBranch* over = rows[size_t(i)].Branch;
    if (over == &dragged) return false;
    const float f = (y - RowTop(i)) / Ui().Px(kRowHeight);
    if (f < 0.25f)
      done = Tree->MoveBeside(&dragged, over, false);
    else if (f > 0.75f && !(over->OpenState && over->ChildObjects.GetAmount()))
      done = Tree->MoveBeside(&dragged, over, true);
    else
      done = over->ParentBranch != nullptr && dragged.ParentBranch != over && Tree->ChangeParent(&dragged, over);
  }
  if (done) Changed();
  return done;
}

bool VoxTreePanel::OnPress() {
  UiContext& ui = Ui();
  pressedRow_ = RowAt(ui.PointerY);
  pressedPart_ = PartAt(pressedRow_, ui.PointerX);
  pressX_ = ui.PointerX, pressY_ = ui.PointerY;
  dragging_ = false;
  return pressedRow_ >= 0;
}

bool VoxTreePanel::OnMove() {
  UiContext& ui = Ui();
  if (!ui.LeftHeld || pressedRow_ < 0) return false;
  if (!dragging_ && std::hypot(ui.PointerX - pressX_, ui.PointerY - pressY_) >= ui.Px(kDragStart)) dragging_ = true;
  return dragging_;
}

bool VoxTreePanel::OnRelease() {
  UiContext& ui = Ui();
  const std::vector<Row> rows = Rows();
  const int row = pressedRow_;
  pressedRow_ = -1;
  if (row < 0 || row >= int(rows.size())) return false;
  VoxTreeBranch& b = *rows[size_t(row)].Branch;
  if (dragging_) {
    dragging_ = false;
    DropAt(b, ui.PointerY);
    return true;
  }
  switch (pressedPart_) {
    case kEye: return ToggleVisible(b);
    case kArrow: return ToggleOpen(b);
    case kIcon:
      if (b.Volume && ToggleCache && ToggleCache(b)) {
        b.InCache = b.Volume->InCache;
        Changed();
        return true;
      }
      return MakeCurrent(b);
    default: MakeCurrent(b); return true;
  }
}

bool VoxTreePanel::OnDoubleClick() {
  UiContext& ui = Ui();
  const std::vector<Row> rows = Rows();
  const int row = RowAt(ui.PointerY);
  pressedRow_ = -1;
  if (row < 0 || PartAt(row, ui.PointerX) != kLabel) return OnPress();
  return OpenRename(*rows[size_t(row)].Branch);
}

bool VoxTreePanel::OpenRename(VoxTreeBranch& row) {
  const std::vector<Row> rows = Rows();
  int index = -1;
  for (size_t i = 0; i < rows.size(); ++i)
    if (rows[i].Branch == &row) index = int(i);
  if (index < 0) return false;
  if (BaseWidget* open = rename_.Get()) open->Delete();
  UiContext& ui = Ui();
  auto* entry = new TextEntry;
  float x, y;
  PartCentre(index, kLabel, x, y);
  entry->W = std::max(ui.Px(120), AbsX + W - x - ui.Px(kEyeSize));
  entry->H = ui.Px(kRowHeight + 2);
  entry->PopupX = x - ui.Px(6);
  entry->PopupY = y - entry->H / 2;
  entry->Edit = row.Name.cpchar();
  // The row may go while the box is open: the box finds it again by pointer.
  entry->OnCommit = [this, target = &row](const std::string& text) {
    bool alive = false;
    if (Tree) Tree->Walk([&](VoxTreeBranch& b) { alive |= &b == target; });
    return alive && Rename(*target, text);
  };
  AddChild(entry);
  rename_ = entry->Handle();
  return true;
}

TextEntry* VoxTreePanel::RenameBox() const { return dynamic_cast<TextEntry*>(rename_.Get()); }

bool VoxTreePanel::OnRightPress() {
  UiContext& ui = Ui();
  const std::vector<Row> rows = Rows();
  const int row = RowAt(ui.PointerY);
  if (row < 0) return false;
  return OpenMenu(*rows[size_t(row)].Branch, ui.PointerX, ui.PointerY);
}

void VoxTreePanel::CloseMenu() {
  if (BaseWidget* m = menu_.Get()) m->Delete();
  menu_ = WidgetHandle();
  subCommand_.clear();
  subTargets_.clear();
}

bool VoxTreePanel::OpenMenu(VoxTreeBranch& row, float x, float y) {
  CloseMenu();
  menuRow_ = &row;
  menuCommands_.clear();
  for (const std::string& c : VoxTreeCommands()) {
    menuCommands_.push_back(c);
    if (c == "AddVoxTree") menuCommands_.push_back("RenameVoxTree"), menuCommands_.push_back("EditShaderSettings");
  }
  std::vector<std::string> words;
  for (const std::string& c : menuCommands_) words.push_back(std::string(::Text(c.c_str())) + (TakesTarget(c) ? " >" : ""));
  menuX_ = x, menuY_ = y;
  OpenList(words);
  return true;
}

void VoxTreePanel::OpenList(const std::vector<std::string>& items) {
  if (BaseWidget* m = menu_.Get()) m->Delete();
  auto* menu = new TextMenu;
  menu->IsPopup = 1;
  menu->Layout |= kLayOnTop;
  menu->Flags |= kWfFullScissor | kWfTakesHint;
  menu->W = Ui().Px(180);
  menu->SetItems(items);
  // The list opens under the pointer, which so starts inside it.
  menu->PopupX = menuX_ - Ui().Px(6);
  menu->PopupY = std::max(0.0f, std::min(menuY_ - Ui().Px(6), float(Ui().ScreenH) - menu->H));
  menuPick_ = -1;
  menu->Selected = &menuPick_;
  menu->AddCallback(kEvChanged, MakeCallback(this, &VoxTreePanel::MenuPicked));
  AddChild(menu);
  menu_ = menu->Handle();
}

TextMenu* VoxTreePanel::Menu() const { return dynamic_cast<TextMenu*>(menu_.Get()); }

bool VoxTreePanel::PickMenuItem(int item) {
  if (!Menu()) return false;
  menuPick_ = item;
  return MenuPicked();
}

bool VoxTreePanel::MenuPicked() {
  TextMenu* menu = Menu();
  const int pick = menuPick_;
  menuPick_ = -1;
  if (!menu || !Tree || !menuRow_) return false;
  // The row must still be in the tree: a menu outlives nothing it names.
  bool alive = false;
  Tree->Walk([&](VoxTreeBranch& b) { alive |= &b == menuRow_ && !b.Removed; });
  if (!alive) {
    CloseMenu();
    return false;
  }
  VoxTreeBranch& row = *menuRow_;
  std::string command;
  VoxTreeBranch* target = nullptr;
  if (subCommand_.empty()) {
    if (pick < 0 || pick >= int(menuCommands_.size())) return false;
    command = menuCommands_[size_t(pick)];
    if (TakesTarget(command)) {
      // The same list becomes the submenu of targets.
      subCommand_ = command;
      subTargets_ = VoxTreeTargets(*Tree, &row, command);
      std::vector<std::string> names;
      for (VoxTreeBranch* t : subTargets_) names.push_back(t->Name.cpchar());
      OpenList(names);
      return true;
    }
  } else {
    if (pick < 0 || pick >= int(subTargets_.size())) return false;
    command = subCommand_;
    target = subTargets_[size_t(pick)];
  }
  CloseMenu();
  if (command == "RenameVoxTree") return OpenRename(row);
  if (command == "EditShaderSettings") return EditShader(row);
  std::string message;
  bool done = RunCommand ? RunCommand(row, command, target, message)
                         : RunVoxTreeCommand(*Tree, &row, command, target, -1, &message);
  if (!done && !message.empty() && ShowMessage) ShowMessage(message);
  if (!done) return false;
  // Rows a command consumed (deleted, moved or combined into another) go
  // now, with their volumes, so their memory comes back.
  if (Tree) Tree->PurgeRemoved();
  Changed();
  return true;
}

void VoxTreePanel::DrawRow(const Row& r, int index, bool current) {
  UiContext& ui = Ui();
  const float top = RowTop(index), h = ui.Px(kRowHeight);
  const VoxTreeBranch& b = *r.Branch;
  if (current) ui.FillRect(AbsX + 1, top, W - 2, h, ui.Colors.Highlight);
  const float left = AbsX + ui.Px(4 + kIndent * float(r.Depth)), mid = top + h / 2;
  const uint32_t text = b.Visible ? ui.Colors.Text : ui.Colors.DimText;
  // The arrow of a row with children: down when open, right when folded.
  if (b.ChildObjects.GetAmount()) {
    const float ax = left + ui.Px(kArrowW) / 2, s = ui.Px(3);
    if (b.OpenState) {
      ui.Line(ax - s, mid - s / 2, ax, mid + s / 2, text);
      ui.Line(ax, mid + s / 2, ax + s, mid - s / 2, text);
    } else {
      ui.Line(ax - s / 2, mid - s, ax + s / 2, mid, text);
      ui.Line(ax + s / 2, mid, ax - s / 2, mid + s, text);
    }
  }
  // The icon: a folder's tab, a volume's block, a cached volume's block with
  // a disk's stripe.
  const float ix = left + ui.Px(kArrowW), iy = mid - ui.Px(kIconSize) / 2, is = ui.Px(kIconSize);
  if (!b.Volume) {
    ui.FillRect(ix + 1, iy + is * 0.2f, is * 0.45f, is * 0.15f, 0xffd8b050u);
    ui.FillRect(ix + 1, iy + is * 0.32f, is - 2, is * 0.55f, 0xffd8b050u);
  } else {
    const uint32_t body = b.InCache ? 0xff6a86b0u : 0xffb8b8b8u;
    ui.FillRect(ix + 2, iy + 2, is - 4, is - 4, body);
    ui.FrameRect(ix + 2, iy + 2, is - 4, is - 4, 0xff303030u);
    if (b.InCache) ui.FillRect(ix + 4, iy + is * 0.62f, is - 8, is * 0.18f, 0xff202840u);
  }
  ui.DrawText(ix + is + ui.Px(4), top + (h - ui.Px(16)) / 2, b.Label().c_str(), text, 12,
              W - (ix + is + ui.Px(4) - AbsX) - ui.Px(kEyeSize + 6));
  // The eye: open (a lens with a pupil) when shown, a closed lid when hidden.
  const float ex = AbsX + W - ui.Px(4 + kEyeSize / 2), er = ui.Px(6);
  if (b.Visible) {
    ui.Line(ex - er, mid, ex, mid - er * 0.6f, text);
    ui.Line(ex, mid - er * 0.6f, ex + er, mid, text);
    ui.Line(ex - er, mid, ex, mid + er * 0.6f, text);
    ui.Line(ex, mid + er * 0.6f, ex + er, mid, text);
    ui.FillRect(ex - er * 0.3f, mid - er * 0.3f, er * 0.6f, er * 0.6f, text);
  } else {
    ui.Line(ex - er, mid, ex, mid + er * 0.5f, text);
    ui.Line(ex, mid + er * 0.5f, ex + er, mid, text);
  }
}

bool VoxTreePanel::OnDraw() {
  PanelWidget::OnDraw();
  UiContext& ui = Ui();
  const std::vector<Row> rows = Rows();
  for (size_t i = 0; i < rows.size(); ++i)
    DrawRow(rows[i], int(i), Tree && rows[i].Branch->Volume && rows[i].Branch->Volume == Tree->CurrentVolume);
  // Where a drag would drop: a line between rows or a frame round a row.
  if (dragging_ && ui.LeftHeld) {
    const int i = RowAt(ui.PointerY);
    const float h = ui.Px(kRowHeight);
    if (i < 0) {
      ui.Line(AbsX + 2, RowTop(int(rows.size())), AbsX + W - 2, RowTop(int(rows.size())), ui.Colors.Highlight);
    } else {
      const float f = (ui.PointerY - RowTop(i)) / h;
      if (f < 0.25f || f > 0.75f) {
        const float y = RowTop(i) + (f < 0.25f ? 0 : h);
        ui.Line(AbsX + 2, y, AbsX + W - 2, y, ui.Colors.Highlight);
      } else {
        ui.FrameRect(AbsX + 1, RowTop(i), W - 2, h, ui.Colors.Highlight);
      }
    }
  }
  return false;
}
