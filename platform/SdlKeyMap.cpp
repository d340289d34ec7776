// The keyboard table: program key number -> SDL scancodes. Both modifier
// sides map to one key, as the program knows only Shift, Control and Alt.
#include "platform/SdlKeyMap.h"

#include <array>

#include "platform/Keys.h"

namespace {
struct Row {
  SDL_Scancode a, b;
};

std::array<Row, keys::KeyboardCount> BuildTable() {
  std::array<Row, keys::KeyboardCount> t{};
  for (auto& r : t) r = {SDL_SCANCODE_UNKNOWN, SDL_SCANCODE_UNKNOWN};
  auto one = [&](int k, SDL_Scancode a, SDL_Scancode b = SDL_SCANCODE_UNKNOWN) { t[k] = {a, b}; };
  one(keys::Esc, SDL_SCANCODE_ESCAPE);
  for (int i = 0; i < 12; ++i) one(keys::F1 + i, SDL_Scancode(SDL_SCANCODE_F1 + i));
  one(keys::Digit0, SDL_SCANCODE_0);
  for (int i = 1; i < 10; ++i) one(keys::Digit0 + i, SDL_Scancode(SDL_SCANCODE_1 + i - 1));
  one(keys::Minus, SDL_SCANCODE_MINUS);
  one(keys::Equals, SDL_SCANCODE_EQUALS);
  one(keys::Backspace, SDL_SCANCODE_BACKSPACE);
  one(keys::Tab, SDL_SCANCODE_TAB);
  one(keys::CapsLock, SDL_SCANCODE_CAPSLOCK);
  one(keys::Insert, SDL_SCANCODE_INSERT);
  one(keys::Delete, SDL_SCANCODE_DELETE);
  one(keys::Home, SDL_SCANCODE_HOME);
  one(keys::End, SDL_SCANCODE_END);
  one(keys::PageUp, SDL_SCANCODE_PAGEUP);
  one(keys::PageDown, SDL_SCANCODE_PAGEDOWN);
  one(keys::Up, SDL_SCANCODE_UP);
  one(keys::Down, SDL_SCANCODE_DOWN);
  one(keys::Left, SDL_SCANCODE_LEFT);
  one(keys::Right, SDL_SCANCODE_RIGHT);
  one(keys::Backslash, SDL_SCANCODE_BACKSLASH);
  one(keys::Enter, SDL_SCANCODE_RETURN, SDL_SCANCODE_KP_ENTER);
  one(keys::LeftBracket, SDL_SCANCODE_LEFTBRACKET);
  one(keys::RightBracket, SDL_SCANCODE_RIGHTBRACKET);
  one(keys::Semicolon, SDL_SCANCODE_SEMICOLON);
  one(keys::Quote, SDL_SCANCODE_APOSTROPHE);
  one(keys::Comma, SDL_SCANCODE_COMMA);
  one(keys::Period, SDL_SCANCODE_PERIOD);
  one(keys::Slash, SDL_SCANCODE_SLASH);
  one(keys::Shift, SDL_SCANCODE_LSHIFT, SDL_SCANCODE_RSHIFT);
  one(keys::Control, SDL_SCANCODE_LCTRL, SDL_SCANCODE_RCTRL);
  one(keys::Alt, SDL_SCANCODE_LALT, SDL_SCANCODE_RALT);
  one(keys::Space, SDL_SCANCODE_SPACE);
  one(keys::Tilde, SDL_SCANCODE_GRAVE);
  for (int i = 0; i < 26; ++i) one(keys::A + i, SDL_Scancode(SDL_SCANCODE_A + i));
  one(keys::Num0, SDL_SCANCODE_KP_0);
  for (int i = 1; i < 10; ++i) one(keys::Num0 + i, SDL_Scancode(SDL_SCANCODE_KP_1 + i - 1));
  one(keys::NumPlus, SDL_SCANCODE_KP_PLUS);
  one(keys::NumMinus, SDL_SCANCODE_KP_MINUS);
  one(keys::NumMultiply, SDL_SCANCODE_KP_MULTIPLY);
  one(keys::NumDivide, SDL_SCANCODE_KP_DIVIDE);
  one(keys::NumDecimal, SDL_SCANCODE_KP_PERIOD);
  return t;
}

const std::array<Row, keys::KeyboardCount>& Table() {
  static const auto t = BuildTable();
  return t;
}
}  // namespace

int KeyFromScancode(SDL_Scancode code) {
  if (code == SDL_SCANCODE_UNKNOWN) return -1;
  const auto& t = Table();
  for (int k = 0; k < keys::KeyboardCount; ++k)
    if (t[k].a == code || t[k].b == code) return k;
  return -1;
}

int ScancodesOfKey(int key, SDL_Scancode out[2]) {
  if (!keys::IsKeyboard(key)) return 0;
  const Row& r = Table()[key];
  int n = 0;
  if (r.a != SDL_SCANCODE_UNKNOWN) out[n++] = r.a;
  if (r.b != SDL_SCANCODE_UNKNOWN) out[n++] = r.b;
  return n;
}
