// Dead zones and the pseudo keys of the gamepad: a stick axis beyond 0.8 or a
// trigger beyond half-way counts as a held key.
#include "platform/Gamepad.h"

#include <algorithm>
#include <cstdlib>

float ScaleStickAxis(int v, int dead) {
  float s = float(std::abs(v) - dead) / float(32767 - dead);
  s = std::clamp(s, 0.0f, 1.0f);
  return v < 0 ? -s : s;
}

float ScaleTrigger(int v) { return std::clamp(float(v - kTriggerThreshold) / 225.0f, 0.0f, 1.0f); }

GamepadState TranslateGamepad(const GamepadRaw& raw) {
  GamepadState s;
  if (!raw.connected) return s;
  s.leftX = ScaleStickAxis(raw.leftX, kLeftStickDeadZone);
  s.leftY = ScaleStickAxis(raw.leftY, kLeftStickDeadZone);
  s.rightX = ScaleStickAxis(raw.rightX, kRightStickDeadZone);
  s.rightY = ScaleStickAxis(raw.rightY, kRightStickDeadZone);
  s.leftTrigger = ScaleTrigger(raw.leftTrigger);
  s.rightTrigger = ScaleTrigger(raw.rightTrigger);
  for (int i = 0; i < 14; ++i) s.down[i] = (raw.buttons >> i) & 1u;
  auto set = [&](int key, bool on) { s.down[key - keys::PadFirst] = on; };
  constexpr float kStickKey = 0.8f;
  set(keys::PadLeftStickUp, s.leftY > kStickKey);
  set(keys::PadLeftStickDown, s.leftY < -kStickKey);
  set(keys::PadLeftStickLeft, s.leftX < -kStickKey);
  set(keys::PadLeftStickRight, s.leftX > kStickKey);
  set(keys::PadRightStickUp, s.rightY > kStickKey);
  set(keys::PadRightStickDown, s.rightY < -kStickKey);
  set(keys::PadRightStickLeft, s.rightX < -kStickKey);
  set(keys::PadRightStickRight, s.rightX > kStickKey);
  set(keys::PadLeftTrigger, s.leftTrigger > 0.5f);
  set(keys::PadRightTrigger, s.rightTrigger > 0.5f);
  return s;
}
