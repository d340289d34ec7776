// The ramp buttons of the pen's values and their panel; see PenRamp.h.
#include "interface/PenRamp.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#include "interface/HotKeys.h"
#include "interface/Navigation.h"
#include "interface/TextTable.h"
#include "interface/UiContext.h"
#include "paint/GeneralPen.h"
#include "platform/Keys.h"
#include "platform/Platform.h"

namespace {
constexpr float kTwoPi = 6.28318530717958f;

const char* const kValueKeys[kRampActions / 2] = {"COLOR_OPACITY", "PEN_ROTSN",        "PEN_RADIUS", "PEN_DEPTH",
                                                  "PEN_SMOOTH",    "PEN_SPEC_OPACITY", "PEN_SPEC"};

// The value an action pair changes, as it is shown.
float ShownValue(int pair) {
  switch (pair) {
    case 0: return GeneralPen::ColorOpacity;
    case 1: return GeneralPen::PenRotation * 180.0f / 3.14159265f;
    case 2: return GeneralPen::PenRadius;
    case 3: return GeneralPen::DeepDegree;
    case 4: return PenTweaks::Smoothing;
    case 5: return GeneralPen::SpecularOpacity;
    default: return GeneralPen::SpecularDegree;
  }
}

// The text between a pair's buttons: the value's name and its value now.
class PenValueText : public TextWidget {
 public:
  int Pair = 0;
  MV_CLASS(PenValueText, TextWidget) {}
  PenValueText() {
    Callbacks.Clear();  // its own drawing replaces the text's
    AddCallback(kEvDraw, MakeCallback(this, &PenValueText::Refresh));
  }
  bool Refresh() {
    char line[96];
    snprintf(line, sizeof line, Pair == 1 ? "%s : %.0f" : "%s : %.2f", ::Text(kValueKeys[Pair]), ShownValue(Pair));
    Text = line;
    return TextWidget::OnDraw();
  }
};
}  // namespace

const char* RampValueKey(int action) { return action >= 0 && action < kRampActions ? kValueKeys[action / 2] : nullptr; }

const char* RampCommand(int action) {
  static std::string names[kRampActions];
  if (action < 0 || action >= kRampActions) return nullptr;
  if (names[action].empty()) names[action] = std::string(kValueKeys[action / 2]) + (action % 2 ? "_PLUS" : "_MINUS");
  return names[action].c_str();
}

void ApplyRamp(int action, float t) {
  const float s = action % 2 ? t : -t;
  switch (action / 2) {
    case 0: GeneralPen::ColorOpacity = std::clamp(GeneralPen::ColorOpacity + s, 0.0f, 2.0f); break;
    case 1: {
      float a = std::fmod(GeneralPen::PenRotation + 2 * s, kTwoPi);
      GeneralPen::PenRotation = a < 0 ? a + kTwoPi : a;
      break;
    }
    case 2: GeneralPen::PenRadius *= std::exp(s); break;
    case 3: GeneralPen::DeepDegree = std::clamp(GeneralPen::DeepDegree + s, 0.0f, 1.0f); break;
    case 4: PenTweaks::Smoothing = std::clamp(PenTweaks::Smoothing + s, 0.0f, 1.0f); break;
    case 5: GeneralPen::SpecularOpacity = std::clamp(GeneralPen::SpecularOpacity + s, 0.0f, 1.0f); break;
    case 6: GeneralPen::SpecularDegree = std::clamp(GeneralPen::SpecularDegree + s, 0.0f, 1.0f); break;
    default: break;
  }
}

void PenRamp::Press(int action, int key, bool ctrl, bool alt, bool shift, uint32_t nowMs) {
  if (action < 0 || action >= kRampActions) return;
  action_ = action, key_ = key;
  ctrl_ = ctrl, alt_ = alt, shift_ = shift;
  last_ = nowMs;
}

void PenRamp::Frame(const Platform& input, uint32_t nowMs) {
  if (action_ < 0) return;
  const bool held = key_ < 0 ? input.IsKeyDownNow(keys::LeftButton) : input.IsKeyDownNow(key_);
  if (!held || input.IsKeyDownNow(keys::Control) != ctrl_ || input.IsKeyDownNow(keys::Alt) != alt_ ||
      input.IsKeyDownNow(keys::Shift) != shift_) {
    action_ = -1;
    return;
  }
  ApplyRamp(action_, float(nowMs - last_) / 3000.0f);
  last_ = nowMs;
}

PenRamp& ThePenRamp() {
  static PenRamp ramp;
  return ramp;
}

const Platform*& RampInput() {
  static const Platform* input = nullptr;
  return input;
}

RampButton::RampButton(int action) : Action(action) {
  Text = action % 2 ? "+" : "-";
  Name = (std::string("$") + (RampCommand(action) ? RampCommand(action) : "")).c_str();
  AddCallback(kEvLDown, MakeCallback(this, &RampButton::OnPress));
}

bool RampButton::OnPress() {
  const Platform* in = RampInput();
  if (!in) return false;
  ThePenRamp().Press(Action, -1, in->IsKeyDownNow(keys::Control), in->IsKeyDownNow(keys::Alt),
                     in->IsKeyDownNow(keys::Shift), in->TickMs());
  return true;
}

BaseWidget* BuildPenValuesPanel(float width) {
  UiContext& ui = Ui();
  const float row = ui.Px(24), button = ui.Px(24);
  auto* panel = new PanelWidget;
  panel->Name = "PEN_VALUES";
  panel->W = width, panel->H = row * (kRampActions / 2) + ui.Px(8);
  for (int pair = 0; pair < kRampActions / 2; ++pair) {
    const float y = ui.Px(4) + row * float(pair);
    auto* minus = new RampButton(2 * pair);
    minus->X = ui.Px(4), minus->Y = y, minus->W = button, minus->H = row - ui.Px(2);
    auto* plus = new RampButton(2 * pair + 1);
    plus->X = width - button - ui.Px(4), plus->Y = y, plus->W = button, plus->H = row - ui.Px(2);
    auto* value = new PenValueText;
    value->Pair = pair;
    value->X = button + ui.Px(8), value->Y = y, value->W = width - 2 * button - ui.Px(16), value->H = row - ui.Px(2);
    panel->AddChild(minus);
    panel->AddChild(value);
    panel->AddChild(plus);
  }
  return panel;
}

void RegisterPenCommands() {
  RegisterCommand("PEN_RADIUS_NARROWER", {[] { StepPenRadius(false); }, {}});
  RegisterCommand("PEN_RADIUS_WIDER", {[] { StepPenRadius(true); }, {}});
  for (int a = 0; a < kRampActions; ++a)
    RegisterCommand(RampCommand(a), {[a] {
                      const Platform* in = RampInput();
                      if (!in) return;
                      const HotKeyState& k = HotKeys();
                      ThePenRamp().Press(a, k.LastKey, k.Ctrl, k.Alt, k.Shift, in->TickMs());
                    },
                                     {}});
}
