// Input sampling; see InputSampler.h.
#include "shell/InputSampler.h"

int KeyClass(int key) {
  using namespace keys;
  if (key == Shift || key == Control || key == Alt || key == CapsLock) return 0;
  if (key >= F1 && key < F1 + 12) return 0;
  if (key == Esc || key == Backspace || key == Tab || key == Enter) return 2;
  if (key >= Insert && key <= Right) return 2;  // Insert, Delete, Home .. arrows
  if (IsKeyboard(key)) return 1;
  return 0;
}

void InputSampler::OnPlatformEvent(const PlatformEvent& pe, EventQueue& queue, double now, const Platform* platform) {
  using T = PlatformEvent::Type;
  InputEvent e;
  switch (pe.type) {
    case T::KeyDown:
    case T::KeyUp:
      e.Kind = InputEvent::KeyChange;
      e.Key = pe.key;
      e.Down = pe.type == T::KeyDown;
      e.x = lastX_, e.y = lastY_;
      break;
    case T::ButtonDown:
    case T::ButtonUp:
      e.Kind = InputEvent::KeyChange;
      e.Key = pe.key;
      e.Down = pe.type == T::ButtonDown;
      e.DoubleClick = pe.doubleClick;
      e.x = pe.x, e.y = pe.y;
      break;
    case T::Wheel:
      if (pe.wheelDelta == 0) return;
      e.Kind = InputEvent::KeyChange;
      e.Key = pe.wheelDelta > 0 ? keys::WheelUp : keys::WheelDown;
      e.Down = 1;
      e.wheel = float(pe.wheelDelta) / 120.0f;
      e.x = pe.x, e.y = pe.y;
      break;
    case T::MouseMove:
      e.Kind = InputEvent::PointerMove;
      e.x = pe.x, e.y = pe.y;
      if (hadMotion_) {
        e.dx = pe.x - lastX_;
        e.dy = -(pe.y - lastY_);  // up is positive for the tools
      }
      hadMotion_ = true;
      lastX_ = pe.x, lastY_ = pe.y;
      break;
    default: return;
  }
  queue.AddBack(e, now);
  if (keys::IsKeyboard(pe.key) && (pe.type == T::KeyDown || pe.type == T::KeyUp)) {
    messageDown_[size_t(pe.key)] = pe.type == T::KeyDown;
    if (platform && pe.type == T::KeyDown && KeyClass(pe.key) != 0) {
      EmitCharacter(*platform, queue, pe.key, now, messageDown_);
      typedByMessage_[size_t(pe.key)] = true;
    }
  }
}

void InputSampler::EmitCharacter(const Platform& platform, EventQueue& queue, int key, double now,
                                 const std::bitset<keys::Count>& down) {
  InputEvent e;
  e.Kind = InputEvent::Character;
  e.Key = key;
  e.x = lastX_, e.y = lastY_;
  bool ctrlAlt = down[keys::Control] || down[keys::Alt];
  if (keys::IsGamepad(key) || KeyClass(key) == 2 || ctrlAlt) {
    e.Code = key;
    e.IsKey = 1;
  } else {
    e.Code = platform.KeyToChar(key, down[keys::Shift], platform.IsCapsLockOn());
    if (e.Code == 0) return;
  }
  queue.AddBack(e, now);
}

void InputSampler::SampleKeyboard(Platform& platform, EventQueue& queue, double now) {
  // With the window behind, the previous state stands.
  if (!platform.IsActive()) {
    typedByMessage_.reset();
    return;
  }
  std::bitset<keys::Count> before = state_;
  for (int k = 0; k <= keys::MiddleButton; ++k) state_[k] = platform.IsKeyDownNow(k);

  bool anyNew = false;
  for (int k = 0; k < keys::KeyboardCount; ++k) anyNew |= (state_[k] && !before[k]) || typedByMessage_[k];
  if (anyNew)  // only the newest key repeats
    for (int k = 0; k < keys::KeyboardCount; ++k) repeating_[k] = false;

  for (int k = 0; k < keys::KeyboardCount; ++k) {
    if (!state_[k]) {
      repeating_[k] = false;
      continue;
    }
    if (KeyClass(k) == 0) continue;
    if (!before[k] || typedByMessage_[k]) {
      // A press: its character went out with its message, or goes now.
      if (!typedByMessage_[k]) EmitCharacter(platform, queue, k, now, state_);
      repeating_[k] = true;
      nextRepeat_[k] = now + kKeyDelay;
    } else if (repeating_[k]) {
      while (now >= nextRepeat_[k]) {
        EmitCharacter(platform, queue, k, now, state_);
        nextRepeat_[k] += kKeyPeriod;
      }
    }
  }
  typedByMessage_.reset();
}

void InputSampler::SampleGamepad(Platform& platform, EventQueue& queue, double now) {
  GamepadRaw raw;
  platform.ReadGamepad(raw);
  GamepadState next = TranslateGamepad(raw);
  for (int i = 0; i < keys::PadCount; ++i) {
    int key = keys::PadFirst + i;
    bool down = next.down[i], was = pad_.down[i];
    state_[key] = down;
    if (down != was) {
      InputEvent e;
      e.Kind = InputEvent::KeyChange;
      e.Key = key;
      e.Down = down;
      e.x = lastX_, e.y = lastY_;
      queue.AddBack(e, now);
      if (down) {
        EmitCharacter(platform, queue, key, now, state_);
        nextRepeat_[key] = now + kPadDelay;
      }
    } else if (down) {
      while (now >= nextRepeat_[key]) {  // a slow frame catches up
        EmitCharacter(platform, queue, key, now, state_);
        nextRepeat_[key] += kPadPeriod;
      }
    }
  }
  pad_ = next;
}

void InputSampler::Sample(Platform& platform, EventQueue& queue, double now) {
  SampleKeyboard(platform, queue, now);
  SampleGamepad(platform, queue, now);
}
