// Text, framed buttons, texture cells, panels and check boxes; see Widgets.h.
#include <algorithm>

#include "ClassEngine/DataFolder.h"
#include "interface/UiContext.h"
#include "interface/Widgets.h"
#include "render/Render.h"

namespace {
// The widget's own colour (a theme slot resolved now), or the fallback.
uint32_t Or(uint32_t color, uint32_t fallback) { return color ? Ui().Colors.Resolve(color) : fallback; }
}  // namespace

TextWidget::TextWidget() { AddCallback(kEvDraw, MakeCallback(this, &TextWidget::OnDraw)); }

TextWidget::TextWidget(const char* text, float x, float y, float w, float h) : TextWidget() {
  Text = text;
  X = x, Y = y, W = w, H = h;
}

bool TextWidget::OnDraw() {
  UiContext& ui = Ui();
  if (Text.IsEmpty()) return false;
  float size = FontSize * Ui().Scale;
  float tw = ui.TextWidth(Text.cpchar(), FontSize);
  float x = Centered && tw < W - ui.Px(4) ? AbsX + (W - tw) / 2 : AbsX + PadLeft + ui.Px(4);
  float y = AbsY + (H - size * 96.0f / 72.0f) / 2;
  ui.DrawText(x, y, Text.cpchar(), Or(TextColor, ui.Colors.Text), FontSize, AbsX + W - x - ui.Px(2));
  return false;
}

FrameWidget::FrameWidget() { Centered = true; }

FrameWidget::FrameWidget(const char* text, float x, float y, float w, float h) : FrameWidget() {
  Text = text;
  X = x, Y = y, W = w, H = h;
}

bool FrameWidget::OnDraw() {
  UiContext& ui = Ui();
  uint32_t fill = Or(Fill, ui.Colors.Button);
  if (Has(kWfHover)) fill = Or(HighlightColor, ui.Colors.FieldHover);
  if (Has(kWfPressed)) fill = ui.Colors.Highlight;
  ui.FillRect(AbsX, AbsY, W, H, fill);
  ui.FrameRect(AbsX, AbsY, W, H, Or(FrameColor, ui.Colors.Frame));
  return TextWidget::OnDraw();
}

DrawTexRect::DrawTexRect() { AddCallback(kEvDraw, MakeCallback(this, &DrawTexRect::OnDraw)); }

void DrawTexRect::SetCell(int texture, int index, int columns, int rows) {
  // The icon sheets are found once and kept.
  static int smallIcons = -2;
  if (texture == -1) {
    if (smallIcons == -2 && Ui().Render) smallIcons = Ui().Render->LoadTexture(comms::DataFilePath("textures/icons/smallicons.dds"), -1);
    texture = smallIcons;
  }
  Texture = texture;
  columns = std::max(1, columns), rows = std::max(1, rows);
  float cw = 1.0f / float(columns), ch = 1.0f / float(rows);
  U0 = float(index % columns) * cw;
  U1 = U0 + cw;
  // Cells count from the top of the sheet; v = 0 is its bottom row.
  V0 = 1.0f - float(index / columns) * ch;
  V1 = V0 - ch;
}

bool DrawTexRect::OnDraw() {
  UiContext& ui = Ui();
  if (!ui.Render || Texture < 0) {
    ui.FillRect(AbsX, AbsY, W, H, Color);
    return false;
  }
  ui.Render->Set2DTexture(Texture, Shader);
  ui.Render->DrawTexture(comms::cRect(AbsX, AbsY, AbsX + W, AbsY + H), comms::cRect(U0, V0, U1, V1), 0, Color);
  ui.Render->Set2DTexture(-1, -1);
  return false;
}

PanelWidget::PanelWidget() {
  Color = 0;
  AddCallback(kEvDraw, MakeCallback(this, &PanelWidget::OnDraw));
}

bool PanelWidget::OnDraw() {
  Ui().FillRect(AbsX, AbsY, W, H, Or(Color, Ui().Colors.Panel));
  return false;
}

CheckBox::CheckBox() {
  Centered = false;
  AddCallback(kEvLDown, MakeCallback(this, &CheckBox::Toggle));
}

bool CheckBox::Toggle() {
  if (!Value) return false;
  *Value = !*Value;
  SendEvent(kEvChanged);
  return true;
}

bool CheckBox::OnDraw() {
  UiContext& ui = Ui();
  float box = std::min(H, ui.Px(14));
  float x = AbsX + ui.Px(2), y = AbsY + (H - box) / 2;
  bool on = Value && *Value;
  if (IconTexture >= 0 && ui.Render) {
    ui.Render->Set2DTexture(IconTexture, -1);
    float u = on ? 0.5f : 0.0f;
    ui.Render->DrawTexture(comms::cRect(x, y, x + box, y + box), comms::cRect(u, 1, u + 0.5f, 0), 0, 0xffffffffu);
    ui.Render->Set2DTexture(-1, -1);
  } else {
    ui.FillRect(x, y, box, box, Has(kWfHover) ? ui.Colors.FieldHover : ui.Colors.Field);
    ui.FrameRect(x, y, box, box, ui.Colors.Frame);
    if (on) ui.FillRect(x + box * 0.25f, y + box * 0.25f, box * 0.5f, box * 0.5f, ui.Colors.Highlight);
  }
  if (!Text.IsEmpty()) ui.DrawText(x + box + ui.Px(6), AbsY + (H - ui.Px(16)) / 2, Text.cpchar(), ui.Colors.Text);
  return false;
}
