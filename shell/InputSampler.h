// Turns the window system's input into queue events. Messages become key,
// button, wheel and motion events at once, and a key press message makes its
// typed character at once too, in the order typed, so that keys pressed and
// released between two frames are not lost. Once a frame the sampler reads
// the keyboard and the gamepad and makes the characters of presses no
// message told of, and the repeats: keys after 0.4 s every 0.04 s, gamepad
// keys after 0.3 s every 0.12 s, with catch-up on slow frames, and only the
// newest keyboard key repeating.
#pragma once
#include <array>
#include <bitset>

#include "platform/Platform.h"
#include "shell/EventQueue.h"

// 0: no characters (modifiers, F keys); 1: sends its character; 2: sends its
// key code (Enter, arrows, editing keys).
int KeyClass(int key);

class InputSampler {
 public:
  static constexpr double kKeyDelay = 0.4, kKeyPeriod = 0.04;
  static constexpr double kPadDelay = 0.3, kPadPeriod = 0.12;

  // One message of the window system; `now` is the time base's seconds.
  // With `platform`, a key press also makes its character (through the
  // platform's keyboard layout) at once.
  void OnPlatformEvent(const PlatformEvent& pe, EventQueue& queue, double now, const Platform* platform = nullptr);
  // The per-frame pass over keyboard and gamepad.
  void Sample(Platform& platform, EventQueue& queue, double now);

  bool KeyState(int key) const { return keys::IsValid(key) && state_[key]; }
  const GamepadState& Gamepad() const { return pad_; }
  float PointerX() const { return lastX_; }
  float PointerY() const { return lastY_; }

 private:
  void SampleKeyboard(Platform& platform, EventQueue& queue, double now);
  void SampleGamepad(Platform& platform, EventQueue& queue, double now);
  // The character (class 1) or key code (class 2, or with Ctrl or Alt) of
  // `key`, as modifiers `down` say.
  void EmitCharacter(const Platform& platform, EventQueue& queue, int key, double now,
                     const std::bitset<keys::Count>& down);

  std::bitset<keys::Count> state_;
  std::array<double, keys::Count> nextRepeat_{};
  std::bitset<keys::Count> repeating_;
  std::bitset<keys::Count> messageDown_;  // keys as the messages left them
  std::bitset<keys::Count> typedByMessage_;  // presses whose character went out since the last sample
  GamepadState pad_;
  float lastX_ = 0, lastY_ = 0;
  bool hadMotion_ = false;
};
