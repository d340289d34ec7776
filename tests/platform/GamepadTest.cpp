// The gamepad's dead zones, trigger scaling and the 24 keys it makes.
#include <gtest/gtest.h>

#include "platform/Gamepad.h"

TEST(Gamepad, StickDeadZoneScaleAndSign) {
  EXPECT_FLOAT_EQ(ScaleStickAxis(0, kLeftStickDeadZone), 0);
  EXPECT_FLOAT_EQ(ScaleStickAxis(kLeftStickDeadZone, kLeftStickDeadZone), 0);
  EXPECT_FLOAT_EQ(ScaleStickAxis(-kLeftStickDeadZone + 1, kLeftStickDeadZone), 0);
  EXPECT_FLOAT_EQ(ScaleStickAxis(32767, kLeftStickDeadZone), 1);
  EXPECT_FLOAT_EQ(ScaleStickAxis(-32768, kLeftStickDeadZone), -1) << "clamped, not past 1";
  int mid = (32767 + kRightStickDeadZone) / 2;
  EXPECT_NEAR(ScaleStickAxis(mid, kRightStickDeadZone), 0.5f, 1e-4);
  EXPECT_NEAR(ScaleStickAxis(-mid, kRightStickDeadZone), -0.5f, 1e-4);
  EXPECT_GT(ScaleStickAxis(8000, kLeftStickDeadZone), 0) << "8000 is past the left dead zone";
  EXPECT_EQ(ScaleStickAxis(8000, kRightStickDeadZone), 0) << "but not past the right one";
}

TEST(Gamepad, TriggerScale) {
  EXPECT_FLOAT_EQ(ScaleTrigger(0), 0);
  EXPECT_FLOAT_EQ(ScaleTrigger(30), 0);
  EXPECT_FLOAT_EQ(ScaleTrigger(255), 1);
  EXPECT_NEAR(ScaleTrigger(142), 112.0f / 225.0f, 1e-6);
}

TEST(Gamepad, KeysFromButtonsSticksAndTriggers) {
  GamepadRaw raw;
  EXPECT_TRUE(TranslateGamepad(raw).down.none()) << "a missing pad holds nothing";
  raw.connected = true;
  raw.buttons = (1u << 0) | (1u << 13);  // A, d-pad right
  raw.leftY = 32767;                     // up
  raw.rightX = -32767;                   // left
  raw.leftTrigger = 255;
  raw.rightTrigger = 100;                // below half-way
  GamepadState s = TranslateGamepad(raw);
  auto down = [&](int key) { return bool(s.down[key - keys::PadFirst]); };
  EXPECT_TRUE(down(keys::PadA));
  EXPECT_TRUE(down(keys::PadDpadRight));
  EXPECT_FALSE(down(keys::PadB));
  EXPECT_TRUE(down(keys::PadLeftStickUp));
  EXPECT_FALSE(down(keys::PadLeftStickDown));
  EXPECT_TRUE(down(keys::PadRightStickLeft));
  EXPECT_TRUE(down(keys::PadLeftTrigger));
  EXPECT_FALSE(down(keys::PadRightTrigger));
  EXPECT_EQ(int(s.down.count()), 5);
  EXPECT_EQ(keys::PadRightTrigger, 121) << "the last gamepad key is the last valid key";
  raw.leftY = 25000;  // 0.69 after the dead zone: not a key
  EXPECT_FALSE(TranslateGamepad(raw).down[keys::PadLeftStickUp - keys::PadFirst]);
}
