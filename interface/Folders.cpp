// WidgetsFolder, VScroller and the states they keep by name; see Widgets.h.
#include <algorithm>
#include <map>

#include "interface/UiContext.h"
#include "interface/Widgets.h"

namespace {
std::map<std::string, bool>& Folders() {
  static std::map<std::string, bool> states;
  return states;
}
std::map<std::string, float>& Sliders() {
  static std::map<std::string, float> states;
  return states;
}
}  // namespace

bool FolderOpen(const std::string& name, bool fallback) {
  auto it = Folders().find(name);
  return it == Folders().end() ? fallback : it->second;
}
void SetFolderOpen(const std::string& name, bool open) { Folders()[name] = open; }
const std::map<std::string, bool>& FolderStates() { return Folders(); }

float ScrollPosition(const std::string& name) {
  auto it = Sliders().find(name);
  return it == Sliders().end() ? 0.0f : it->second;
}
void SetScrollPosition(const std::string& name, float pos) { Sliders()[name] = pos; }
const std::map<std::string, float>& ScrollPositions() { return Sliders(); }

WidgetsFolder::WidgetsFolder(const char* name, const char* caption, float width, bool openByDefault) {
  UiContext& ui = Ui();
  Name = name;
  Text = caption;
  W = width;
  H = ui.Px(18);
  Layout |= kLayAutoHeight;
  Open = FolderOpen(name, openByDefault);
  Body = Add(new BaseWidget);
  Body->Y = ui.Px(18);
  Body->W = width;
  Body->Layout |= kLayAutoHeight;
  Body->SetVisible(Open);
  AddCallback(kEvLDown, MakeCallback(this, &WidgetsFolder::Toggle));
}

bool WidgetsFolder::Toggle() {
  // Only the caption strip toggles; rows inside take their own clicks.
  UiContext& ui = Ui();
  if (ui.PointerY >= AbsY + ui.Px(18)) return false;
  Open = !Open;
  SetFolderOpen(Name.cpchar(), Open);
  Body->SetVisible(Open);
  SendEvent(kEvChanged);
  return true;
}

bool WidgetsFolder::OnDraw() {
  UiContext& ui = Ui();
  float row = ui.Px(18);
  ui.FillRect(AbsX, AbsY, W, row, Has(kWfHover) && ui.PointerY < AbsY + row ? ui.Colors.FieldHover : ui.Colors.Header);
  float ax = AbsX + ui.Px(8), ay = AbsY + row / 2;
  if (Open) {
    ui.Line(ax - ui.Px(3), ay - ui.Px(2), ax, ay + ui.Px(2), ui.Colors.DimText);
    ui.Line(ax, ay + ui.Px(2), ax + ui.Px(3), ay - ui.Px(2), ui.Colors.DimText);
  } else {
    ui.Line(ax - ui.Px(2), ay - ui.Px(3), ax + ui.Px(2), ay, ui.Colors.DimText);
    ui.Line(ax + ui.Px(2), ay, ax - ui.Px(2), ay + ui.Px(3), ui.Colors.DimText);
  }
  ui.DrawText(AbsX + ui.Px(16), AbsY + (row - ui.Px(16)) / 2, Text.cpchar(), ui.Colors.Text);
  return false;
}

VScroller::VScroller() {
  AddCallback(kEvDraw, MakeCallback(this, &VScroller::OnDraw));
  AddCallback(kEvLDown, MakeCallback(this, &VScroller::OnPress));
  AddCallback(kEvMove, MakeCallback(this, &VScroller::OnPress));
}

float VScroller::ContentHeight() const {
  BaseWidget* parent = ParentWidget();
  if (!parent || parent->Children.GetAmount() == 0 || !parent->Children[0]) return 0;
  return parent->Children[0]->H;
}

void VScroller::ScrollTo(float pos) {
  BaseWidget* parent = ParentWidget();
  if (!parent) return;
  float room = parent->H - parent->PadTop - parent->PadBottom;
  Pos = std::clamp(pos, 0.0f, std::max(0.0f, ContentHeight() - room));
  if (parent->Children.GetAmount() > 0 && parent->Children[0] && parent->Children[0] != this)
    parent->Children[0]->Y = -Pos;
  if (!parent->Name.IsEmpty()) SetScrollPosition(parent->Name.cpchar(), Pos);
}

bool VScroller::OnWheel() {
  ScrollTo(Pos - Ui().Wheel * ScrollParam * Ui().Scale);
  return true;
}

bool VScroller::OnPress() {
  if (!Has(kWfPressed) || !Ui().LeftHeld || H <= 0) return false;
  BaseWidget* parent = ParentWidget();
  float room = parent ? parent->H : H;
  float t = std::clamp((Ui().PointerY - AbsY) / H, 0.0f, 1.0f);
  ScrollTo(t * std::max(0.0f, ContentHeight() - room));
  return true;
}

bool VScroller::OnDraw() {
  BaseWidget* parent = ParentWidget();
  if (!parent) return false;
  // Follow the parent's height and right edge, and re-clamp when the content
  // changed; the screen place follows at once, so this frame's clicks agree.
  H = parent->H - parent->PadTop - parent->PadBottom;
  X = parent->W - parent->PadLeft - parent->PadRight - W;
  AbsX = parent->AbsX + parent->PadLeft + X;
  AbsY = parent->AbsY + parent->PadTop + Y;
  ScrollTo(Pos);
  float content = ContentHeight();
  if (content <= H) return false;
  UiContext& ui = Ui();
  ui.FillRect(AbsX, AbsY, W, H, 0x60000000u);
  float thumb = std::max(ui.Px(16), H * H / content);
  float y = AbsY + (H - thumb) * (Pos / std::max(1.0f, content - H));
  ui.FillRect(AbsX + 1, y, W - 2, thumb, Has(kWfHover) ? ui.Colors.Highlight : ui.Colors.Button);
  return false;
}
