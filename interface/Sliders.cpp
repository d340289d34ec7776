// SimpleSlider and the colour picker built from sliders; see Widgets.h.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "interface/UiContext.h"
#include "interface/Widgets.h"

SimpleSlider::SimpleSlider() {
  AddCallback(kEvDraw, MakeCallback(this, &SimpleSlider::OnDraw));
  AddCallback(kEvLDown, MakeCallback(this, &SimpleSlider::OnPress));
  AddCallback(kEvMove, MakeCallback(this, &SimpleSlider::OnMove));
  AddCallback(kEvLDouble, MakeCallback(this, &SimpleSlider::OnDoubleClick));
}

float SimpleSlider::Get() const {
  if (!Value) return Min;
  return ValueKind == kInt ? float(*static_cast<int*>(Value)) : *static_cast<float*>(Value);
}

void SimpleSlider::Set(float v) {
  if (!Value) return;
  v = std::clamp(v, std::min(Min, Max), std::max(Min, Max));
  if (ValueKind == kInt) {
    int i = int(std::lround(v));
    if (i == *static_cast<int*>(Value)) return;
    *static_cast<int*>(Value) = i;
  } else {
    if (v == *static_cast<float*>(Value)) return;
    *static_cast<float*>(Value) = v;
  }
  SendEvent(kEvChanged);
}

bool SimpleSlider::OnPress() {
  if (W <= 0) return false;
  const uint32_t now = Ui().Tick;
  if (!pressedOnce_ || now - lastPressTick_ > kDoubleClickMs) beforeClicks_ = Get();
  pressedOnce_ = true;
  lastPressTick_ = now;
  Set(Min + (Max - Min) * std::clamp((Ui().PointerX - AbsX) / W, 0.0f, 1.0f));
  return true;
}

bool SimpleSlider::OnMove() {
  if (!Has(kWfPressed) || !Ui().LeftHeld || W <= 0) return false;
  Set(Min + (Max - Min) * std::clamp((Ui().PointerX - AbsX) / W, 0.0f, 1.0f));
  return true;
}

bool SimpleSlider::OnDoubleClick() {
  if (pressedOnce_) Set(beforeClicks_);
  pressedOnce_ = false;
  return false;  // the row's own double-click callback (the text box) runs too
}

bool SimpleSlider::OnDraw() {
  UiContext& ui = Ui();
  ui.FillRect(AbsX, AbsY, W, H, Has(kWfHover) ? ui.Colors.FieldHover : ui.Colors.Field);
  float t = Max != Min ? std::clamp((Get() - Min) / (Max - Min), 0.0f, 1.0f) : 0;
  ui.FillRect(AbsX, AbsY, W * t, H, 0xff3d6a9eu);
  ui.FrameRect(AbsX, AbsY, W, H, ui.Colors.Frame);
  char text[96];
  const char* format = Format.IsEmpty() ? (ValueKind == kInt ? "%.0f" : "%.2f") : Format.cpchar();
  char number[48];
  snprintf(number, sizeof number, format, double(Get()));
  if (Label.IsEmpty())
    snprintf(text, sizeof text, "%s", number);
  else
    snprintf(text, sizeof text, "%s: %s", Label.cpchar(), number);
  float tw = ui.TextWidth(text);
  ui.DrawText(AbsX + (W - tw) / 2, AbsY + (H - ui.Px(16)) / 2, text, ui.Colors.Text);
  return false;
}

ColorPicker::ColorPicker(uint32_t* target) : Target(target) {
  UiContext& ui = Ui();
  uint32_t c = target ? *target : 0xffffffffu;
  for (int i = 0; i < 4; ++i) Channels[i] = int((c >> (24 - 8 * i)) & 0xff);
  W = ui.Px(180);
  H = ui.Px(4 * 20 + 30);
  IsPopup = 1;
  Layout |= kLayOnTop;
  Flags |= kWfFullScissor | kWfTakesHint;
  static const char* const labels[4] = {"A", "R", "G", "B"};
  for (int i = 0; i < 4; ++i) {
    auto* s = Add(new SimpleSlider);
    s->X = ui.Px(6), s->Y = ui.Px(30 + 20 * i), s->W = W - ui.Px(12), s->H = ui.Px(18);
    s->ValueKind = SimpleSlider::kInt;
    s->Min = 0, s->Max = 255;
    s->Value = &Channels[i];
    s->Label = labels[i];
    s->AddCallback(kEvChanged, MakeCallback(this, &ColorPicker::ChannelChanged));
  }
  AddCallback(kEvDraw, MakeCallback(this, &ColorPicker::DrawSwatch));
}

bool ColorPicker::ChannelChanged() {
  if (!Target) return false;
  *Target = uint32_t(Channels[0]) << 24 | uint32_t(Channels[1]) << 16 | uint32_t(Channels[2]) << 8 |
            uint32_t(Channels[3]);
  SendEvent(kEvChanged);
  return true;
}

bool ColorPicker::DrawSwatch() {
  UiContext& ui = Ui();
  if (Target) ui.FillRect(AbsX + ui.Px(6), AbsY + ui.Px(6), W - ui.Px(12), ui.Px(18), *Target | 0xff000000u);
  return false;
}
