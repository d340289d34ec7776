// Ramp buttons held through the fake platform with a scripted clock: the
// value moves by the held time / 3000 per frame, by the mouse or by a hot
// key assigned to the button, and a release or a modifier change ends it.
#include <gtest/gtest.h>

#include <cmath>

#include "WidgetTestKit.h"
#include "interface/HotKeys.h"
#include "interface/Navigation.h"
#include "interface/PenRamp.h"
#include "paint/GeneralPen.h"
#include "platform/FakePlatform.h"
#include "platform/Keys.h"

namespace {
constexpr float kTwoPi = 6.28318530717958f;

class PenRampTest : public ::testing::Test {
 protected:
  void SetUp() override {
    RampInput() = &fake;
    ThePenRamp().Stop();
    HotKeyList().Clear();
    fake.SetTick(5000);
  }
  void TearDown() override {
    ThePenRamp().Stop();
    RampInput() = nullptr;
    HotKeyList().Clear();
  }
  // `n` frames of `ms` each.
  void Frames(int n, uint32_t ms) {
    for (int i = 0; i < n; ++i) {
      fake.AdvanceTick(ms);
      ThePenRamp().Frame(fake, fake.TickMs());
    }
  }
  GeneralPenSaver pen;
  float smoothing = PenTweaks::Smoothing;
  FakePlatform fake;
};
}  // namespace

TEST_F(PenRampTest, HoldingAButtonMovesItsValueByTheHeldTime) {
  UiScope ui;
  BaseWidget* panel = ui.tree.Root().AddChild(BuildPenValuesPanel(220));
  ui.Frame();
  auto* plus = static_cast<RampButton*>(panel->FindWidget("$PEN_DEPTH_PLUS"));
  ASSERT_NE(plus, nullptr);
  GeneralPen::DeepDegree = 0.2f;
  fake.SetKeyDown(keys::LeftButton, true);
  ui.tree.OnPointer(kEvLDown, plus->AbsX + 3, plus->AbsY + 3);
  ASSERT_TRUE(ThePenRamp().Running());
  Frames(9, 33);  // 297 ms: 0.099
  EXPECT_NEAR(GeneralPen::DeepDegree, 0.2f + 9 * 33 / 3000.0f, 1e-5f);
  fake.SetKeyDown(keys::LeftButton, false);
  ui.tree.OnPointer(kEvLUp, plus->AbsX + 3, plus->AbsY + 3);
  Frames(5, 33);
  EXPECT_FALSE(ThePenRamp().Running());
  EXPECT_NEAR(GeneralPen::DeepDegree, 0.2f + 9 * 33 / 3000.0f, 1e-5f) << "nothing after the release";
  // The minus button of the radius divides by exp(t) each frame.
  auto* minus = static_cast<RampButton*>(panel->FindWidget("$PEN_RADIUS_MINUS"));
  ASSERT_NE(minus, nullptr);
  GeneralPen::PenRadius = 40;
  fake.SetKeyDown(keys::LeftButton, true);
  ui.tree.OnPointer(kEvLDown, minus->AbsX + 3, minus->AbsY + 3);
  Frames(4, 50);
  Frames(1, 17);
  EXPECT_NEAR(GeneralPen::PenRadius, 40 * std::exp(-(4 * 50 + 17) / 3000.0f), 1e-4f);
}

TEST_F(PenRampTest, EveryActionKeepsItsValueInRange) {
  // Long holds push each value against its limit, and the rotation wraps.
  struct Case {
    int action;
    float* value;
    float start, low, high;
  } cases[] = {
      {kRampOpacityPlus, &GeneralPen::ColorOpacity, 1.5f, 0, 2},
      {kRampOpacityMinus, &GeneralPen::ColorOpacity, 0.5f, 0, 2},
      {kRampDepthPlus, &GeneralPen::DeepDegree, 0.5f, 0, 1},
      {kRampDepthMinus, &GeneralPen::DeepDegree, 0.5f, 0, 1},
      {kRampSmoothPlus, &PenTweaks::Smoothing, 0.5f, 0, 1},
      {kRampSpecOpacityMinus, &GeneralPen::SpecularOpacity, 0.5f, 0, 1},
      {kRampSpecularPlus, &GeneralPen::SpecularDegree, 0.5f, 0, 1},
  };
  for (const Case& c : cases) {
    *c.value = c.start;
    ApplyRamp(c.action, 0.1f);
    EXPECT_NEAR(*c.value, c.start + (c.action % 2 ? 0.1f : -0.1f), 1e-6f) << RampCommand(c.action);
    ApplyRamp(c.action, 10);
    EXPECT_FLOAT_EQ(*c.value, c.action % 2 ? c.high : c.low) << RampCommand(c.action);
  }
  GeneralPen::PenRotation = 0.1f;
  ApplyRamp(kRampRotationMinus, 0.1f);  // 0.1 - 0.2 wraps to 2 pi - 0.1
  EXPECT_NEAR(GeneralPen::PenRotation, kTwoPi - 0.1f, 1e-5f);
  ApplyRamp(kRampRotationPlus, 0.1f);
  EXPECT_NEAR(GeneralPen::PenRotation, 0.1f, 1e-5f);
  PenTweaks::Smoothing = smoothing;
  EXPECT_EQ(RampCommand(kRampActions), nullptr);
  ApplyRamp(kRampActions, 1);  // unknown: nothing
}

TEST_F(PenRampTest, AKeyAssignedToAButtonRampsUntilItOrAModifierChanges) {
  UiScope ui;
  BaseWidget* panel = ui.tree.Root().AddChild(BuildPenValuesPanel(220));
  RegisterPenCommands();
  HotKeyEditor editor(ui.tree);
  ui.tree.Hooks().HotKeys = [&](int key, bool down) {
    if (editor.OnKey(key, down, ui.tree.Ctrl(), ui.tree.Alt(), ui.tree.Shift())) return true;
    return down && FireHotKey(key, ui.tree.Ctrl(), ui.tree.Alt(), ui.tree.Shift());
  };
  ui.Frame();
  // Assign "Shift+K" in place over the opacity's plus button.
  BaseWidget* plus = panel->FindWidget("$COLOR_OPACITY_PLUS");
  ASSERT_NE(plus, nullptr);
  ui.tree.OnPointer(kEvMove, plus->AbsX + 3, plus->AbsY + 3);
  ui.tree.OnKey(kEvKeyDown, keys::End);
  ui.tree.OnKey(kEvKeyUp, keys::End);
  const int k = keys::A + ('K' - 'A');
  ui.tree.OnKey(kEvKeyDown, keys::Shift);
  ui.tree.OnKey(kEvKeyDown, k);
  ui.tree.OnKey(kEvKeyUp, k);
  ui.tree.OnKey(kEvKeyUp, keys::Shift);
  EXPECT_EQ(HotKeyText("COLOR_OPACITY_PLUS"), "SHIFT+K");
  ui.tree.OnPointer(kEvMove, 1000, 700);

  // Hold Shift+K for 6 frames of 40 ms: +0.08.
  GeneralPen::ColorOpacity = 0.5f;
  fake.SetKeyDown(keys::Shift, true);
  fake.SetKeyDown(k, true);
  ui.tree.OnKey(kEvKeyDown, keys::Shift);
  ui.tree.OnKey(kEvKeyDown, k);
  ASSERT_TRUE(ThePenRamp().Running());
  EXPECT_EQ(ThePenRamp().Action(), kRampOpacityPlus);
  Frames(6, 40);
  EXPECT_NEAR(GeneralPen::ColorOpacity, 0.5f + 6 * 40 / 3000.0f, 1e-5f);
  // Ctrl joins: the ramp ends at once, although the key stays down.
  fake.SetKeyDown(keys::Control, true);
  Frames(3, 40);
  EXPECT_FALSE(ThePenRamp().Running());
  EXPECT_NEAR(GeneralPen::ColorOpacity, 0.5f + 6 * 40 / 3000.0f, 1e-5f);
  fake.SetKeyDown(keys::Control, false);

  // Pressed again and the key let go: it ends on the key.
  ui.tree.OnKey(kEvKeyDown, k);
  Frames(2, 40);
  fake.SetKeyDown(k, false);
  Frames(2, 40);
  EXPECT_FALSE(ThePenRamp().Running());
  EXPECT_NEAR(GeneralPen::ColorOpacity, 0.5f + 8 * 40 / 3000.0f, 1e-5f);
  fake.SetKeyDown(keys::Shift, false);
  // Without Shift the key is no longer that binding: nothing starts.
  fake.SetKeyDown(k, true);
  ui.tree.OnKey(kEvKeyUp, keys::Shift);
  ui.tree.OnKey(kEvKeyDown, k);
  EXPECT_FALSE(ThePenRamp().Running());
}
