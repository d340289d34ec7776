// The main menu bar; see MainMenu.h.
#include "interface/MainMenu.h"

#include <algorithm>

#include "ClassEngine/TextLookup.h"
#include "interface/HotKeys.h"
#include "interface/TextTable.h"
#include "interface/UiContext.h"

namespace {
constexpr float kItemHeight = 20;

bool ItemEnabled(const std::string& command) {
  const Command* c = FindCommand(command);
  return c && c->Run && (!c->Enabled || c->Enabled());
}

// One row of a dropped list: words on the left, the hot key on the right.
class MenuRow : public FrameWidget {
 public:
  std::string KeyText;
  bool Enabled = true;
  bool Separator = false;
  MV_CLASS(MenuRow, FrameWidget) {}
  MenuRow() {
    Callbacks.Clear();
    AddCallback(kEvDraw, MakeCallback(this, &MenuRow::Draw));
  }
  bool Draw() {
    UiContext& ui = Ui();
    if (Separator) {
      ui.Line(AbsX + ui.Px(4), AbsY + H / 2, AbsX + W - ui.Px(4), AbsY + H / 2, ui.Colors.Frame);
      return false;
    }
    if (Has(kWfHover) && Enabled) ui.FillRect(AbsX, AbsY, W, H, ui.Colors.Highlight);
    uint32_t color = Enabled ? ui.Colors.Text : ui.Colors.DimText;
    float ty = AbsY + (H - ui.Px(16)) / 2;
    ui.DrawText(AbsX + ui.Px(8), ty, Text.cpchar(), color);
    if (!KeyText.empty())
      ui.DrawText(AbsX + W - ui.Px(8) - ui.TextWidth(KeyText.c_str()), ty, KeyText.c_str(), ui.Colors.DimText);
    return false;
  }
};

class MenuTitle : public FrameWidget {
 public:
  MainMenuBar* Bar = nullptr;
  int Index = 0;
  MV_CLASS(MenuTitle, FrameWidget) {}
  bool Hover() { return Bar && Bar->OnHoverTitle(Index); }
};
}  // namespace

MainMenuBar::MainMenuBar() {
  Name = "MAIN_MENU";
  AddCallback(kEvDraw, MakeCallback(this, &MainMenuBar::OnOutsideClick));
}

float MainMenuBar::Rebuild() {
  CloseMenu();
  for (BaseWidget* c : Children)
    if (c) c->Delete();
  UiContext& ui = Ui();
  float x = ui.Px(2);
  H = ui.Px(kHeight);
  for (size_t i = 0; i < Menus.size(); ++i) {
    const char* words = ::Text(Menus[i].TitleKey.c_str());
    float w = ui.TextWidth(words) + ui.Px(16);
    auto* t = new MenuTitle;
    t->Text = words;
    t->Centered = true;
    t->Name = ("MENU_" + Menus[i].TitleKey).c_str();
    t->X = x, t->Y = 0, t->W = w, t->H = H;
    t->Bar = this;
    t->Index = int(i);
    t->AddCallback(kEvLDown, MakeCallback(this, &MainMenuBar::OpenMenu, int(i)));
    t->AddCallback(kEvMove, MakeCallback(t, &MenuTitle::Hover));
    AddChild(t);
    x += w;
  }
  W = x + ui.Px(2);
  return W;
}

PanelWidget* MainMenuBar::OpenList() const { return static_cast<PanelWidget*>(list_.Get()); }

bool MainMenuBar::CloseMenu() {
  if (BaseWidget* l = list_.Get()) l->Delete();
  list_ = WidgetHandle();
  open_ = -1;
  return true;
}

bool MainMenuBar::OpenMenu(int index) {
  bool wasOpen = open_ == index;
  CloseMenu();
  if (wasOpen || index < 0 || index >= int(Menus.size())) return true;
  UiContext& ui = Ui();
  BaseWidget* title = Children[index];
  auto* list = new PanelWidget;
  list->Name = ("MENU_LIST_" + Menus[size_t(index)].TitleKey).c_str();
  list->IsPopup = 1;
  list->Color = kThemeMenu;  // opaque over the panels below it
  list->Layout |= kLayOnTop | kLayKeepOpen1;
  list->Flags |= kWfFullScissor | kWfTakesHint;
  list->PopupX = title->AbsX;
  list->PopupY = AbsY + H;
  float w = ui.Px(160), y = ui.Px(2);
  for (const MenuItem& item : Menus[size_t(index)].Items) {
    if (item.Command.empty()) continue;
    std::string key = HotKeyText(item.Command.c_str());
    w = std::max(w, ui.TextWidth(::Text((item.TextKey.empty() ? item.Command : item.TextKey).c_str())) +
                        ui.TextWidth(key.c_str()) + ui.Px(40));
  }
  int row = 0;
  for (const MenuItem& item : Menus[size_t(index)].Items) {
    auto* r = new MenuRow;
    r->X = ui.Px(2), r->Y = y, r->W = w - ui.Px(4);
    if (item.Command.empty()) {
      r->Separator = true;
      r->H = ui.Px(7);
    } else {
      r->H = ui.Px(kItemHeight);
      r->Text = ::Text((item.TextKey.empty() ? item.Command : item.TextKey).c_str());
      r->Name = ("$" + item.Command).c_str();
      r->KeyText = HotKeyText(item.Command.c_str());
      r->Enabled = ItemEnabled(item.Command);
      // A hint only where the words have one.
      if (const char* hint = LookupText((item.Command + "_HINT").c_str())) r->Hint = hint;
      r->AddCallback(kEvLDown, MakeCallback(this, &MainMenuBar::RunItem, row));
    }
    ++row;
    y += r->H;
    list->AddChild(r);
  }
  list->W = w;
  list->H = y + ui.Px(2);
  AddChild(list);
  list_ = list->Handle();
  open_ = index;
  return true;
}

bool MainMenuBar::RunItem(int item) {
  if (open_ < 0) return false;
  const std::vector<MenuItem>& items = Menus[size_t(open_)].Items;
  if (item < 0 || item >= int(items.size())) return false;
  std::string command = items[size_t(item)].Command;
  if (command.empty() || !ItemEnabled(command)) return true;  // a dim row swallows the click
  CloseMenu();
  // The command may pump frames (a dialog) while this row's callback runs:
  // nothing is freed until it returns.
  const bool locked = Widgets().CleanupLock;
  Widgets().CleanupLock = true;
  FindCommand(command)->Run();
  Widgets().CleanupLock = locked;
  return true;
}

bool MainMenuBar::OnHoverTitle(int index) {
  if (open_ >= 0 && open_ != index) OpenMenu(index);
  return false;
}

// Drawn each frame: a list stays while the pointer is over it or the bar, and
// closes when a press lands anywhere else.
bool MainMenuBar::OnOutsideClick() {
  UiContext& ui = Ui();
  ui.FillRect(AbsX, AbsY, W, H, ui.Colors.Panel);
  for (BaseWidget* c : Children)
    if (auto* t = dynamic_cast<MenuTitle*>(c)) {
      bool hot = t->Index == open_ || t->Has(kWfHover);
      t->Fill = hot ? kThemeHighlight : kThemePanel;
      t->FrameColor = t->Fill;
    }
  BaseWidget* l = list_.Get();
  if (l && ui.LeftHeld && !l->Inside(ui.PointerX, ui.PointerY) && !Inside(ui.PointerX, ui.PointerY)) CloseMenu();
  return false;
}
