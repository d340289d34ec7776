// Gamepad state as the platform reads it, and its translation into the 24
// gamepad keys and scaled axes. The raw record mirrors the classic pad report:
// 16-bit stick axes, 8-bit triggers, a mask of the 14 digital inputs in the
// order of keys::PadA.. keys::PadDpadRight.
#pragma once
#include <bitset>
#include <cstdint>

#include "platform/Keys.h"

struct GamepadRaw {
  bool connected = false;
  uint32_t buttons = 0;  // bit i is key keys::PadFirst + i, for i < 14
  int16_t leftX = 0, leftY = 0, rightX = 0, rightY = 0;  // y up is positive
  uint8_t leftTrigger = 0, rightTrigger = 0;
};

struct GamepadState {
  float leftX = 0, leftY = 0, rightX = 0, rightY = 0;  // -1..1 after the dead zone
  float leftTrigger = 0, rightTrigger = 0;             // 0..1
  std::bitset<keys::PadCount> down;                     // bit i is key PadFirst + i
};

constexpr int kLeftStickDeadZone = 7849;
constexpr int kRightStickDeadZone = 8689;
constexpr int kTriggerThreshold = 30;

// (|v| - dead) / (32767 - dead), clamped to 0..1, with the sign of v.
float ScaleStickAxis(int v, int dead);
// (v - 30) / 225, clamped to 0..1.
float ScaleTrigger(int v);
GamepadState TranslateGamepad(const GamepadRaw& raw);
