// The scripted platform of the tests; see FakePlatform.h.
#include "platform/FakePlatform.h"

void FakePlatform::SetFrame(int frame) {
  frame_ = frame;
  while (!script_.empty() && script_.begin()->first <= frame) {
    for (auto& e : script_.begin()->second) pending_.push_back(e);
    script_.erase(script_.begin());
  }
}

void FakePlatform::SetKeyDown(int key, bool down) {
  if (down)
    held_.insert(key), pressedAt_[key] = tick_;
  else
    held_.erase(key);
}

bool FakePlatform::WentDownSince(int key, uint32_t sinceMs) const {
  if (IsKeyDownNow(key)) return true;
  auto it = pressedAt_.find(key);
  return it != pressedAt_.end() && int32_t(it->second - sinceMs) >= 0;
}

bool FakePlatform::OpenWindow(const std::string& title, const WindowRect& rect, bool maximised) {
  open_ = true;
  title_ = title;
  rect_ = rect;
  maximised_ = maximised;
  return true;
}

void FakePlatform::SetTitle(const std::string& title) {
  title_ = title;
  titles_.push_back(title);
}

void FakePlatform::ClientSize(int& width, int& height) const {
  width = open_ ? width_ : 0;
  height = open_ ? height_ : 0;
}

bool FakePlatform::PollEvent(PlatformEvent& event) {
  if (pending_.empty()) return false;
  event = pending_.front();
  pending_.pop_front();
  if (event.type == PlatformEvent::Type::MouseMove || event.type == PlatformEvent::Type::ButtonDown)
    px_ = event.x, py_ = event.y;
  return true;
}

bool FakePlatform::WaitEvent(PlatformEvent& event, int timeoutMs) {
  ++waits_;
  if (PollEvent(event)) return true;
  if (waitAdvances_ && timeoutMs > 0) tick_ += uint32_t(timeoutMs);
  return false;
}

int FakePlatform::KeyToChar(int key, bool shift, bool capsLock) const {
  if (key >= keys::A && key < keys::A + 26) return (shift != capsLock ? 'A' : 'a') + (key - keys::A);
  if (key >= keys::Digit0 && key < keys::Digit0 + 10) return '0' + (key - keys::Digit0);
  if (key == keys::Space) return ' ';
  if (key == keys::Period) return '.';
  return 0;
}

bool FakePlatform::ReadGamepad(GamepadRaw& raw) {
  raw = gamepad_;
  return raw.connected;
}

int FakePlatform::ShowMessageBox(const SystemDialog& dialog) {
  dialogs_.push_back(dialog);
  if (answers_.empty()) return dialog.defaultButton;
  int a = answers_.front();
  answers_.pop_front();
  return a;
}
