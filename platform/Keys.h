// The program's own key numbers, the ones layer events and tools see: 0..92 the
// keyboard keys, 93..95 the mouse buttons, 96/97 the wheel, 98..121 the
// gamepad. Every platform maps its native codes onto these.
#pragma once

namespace keys {
constexpr int Esc = 0;
constexpr int F1 = 1;          // F1..F12 are 1..12
constexpr int F12 = 12;
constexpr int Digit0 = 13;     // 0..9 are 13..22
constexpr int Minus = 23;
constexpr int Equals = 24;
constexpr int Backspace = 25;
constexpr int Tab = 26;
constexpr int CapsLock = 27;
constexpr int Insert = 28;
constexpr int Delete = 29;
constexpr int Home = 30;
constexpr int End = 31;
constexpr int PageUp = 32;
constexpr int PageDown = 33;
constexpr int Up = 34;
constexpr int Down = 35;
constexpr int Left = 36;
constexpr int Right = 37;
constexpr int Backslash = 38;
constexpr int Enter = 39;
constexpr int LeftBracket = 40;
constexpr int RightBracket = 41;
constexpr int Semicolon = 42;
constexpr int Quote = 43;
constexpr int Comma = 44;
constexpr int Period = 45;
constexpr int Slash = 46;
constexpr int Shift = 47;
constexpr int Control = 48;
constexpr int Alt = 49;
constexpr int Space = 50;
constexpr int Tilde = 51;
constexpr int A = 52;          // A..Z are 52..77
constexpr int Num0 = 78;       // keypad 0..9 are 78..87
constexpr int NumPlus = 88;
constexpr int NumMinus = 89;
constexpr int NumMultiply = 90;
constexpr int NumDivide = 91;
constexpr int NumDecimal = 92;
constexpr int KeyboardCount = 93;

constexpr int LeftButton = 93;
constexpr int RightButton = 94;
constexpr int MiddleButton = 95;
constexpr int WheelUp = 96;
constexpr int WheelDown = 97;

// The 24 gamepad keys: 14 digital inputs, 8 stick directions (an axis beyond
// 0.8), and the two triggers (beyond half-way).
constexpr int PadFirst = 98;
enum PadKey {
  PadA = 98, PadB, PadX, PadY,
  PadLeftShoulder, PadRightShoulder, PadBack, PadStart,
  PadLeftThumb, PadRightThumb,
  PadDpadUp, PadDpadDown, PadDpadLeft, PadDpadRight,
  PadLeftStickUp, PadLeftStickDown, PadLeftStickLeft, PadLeftStickRight,
  PadRightStickUp, PadRightStickDown, PadRightStickLeft, PadRightStickRight,
  PadLeftTrigger, PadRightTrigger,
};
constexpr int PadCount = 24;
constexpr int Count = 122;  // every valid key is below this

constexpr bool IsValid(int key) { return key >= 0 && key < Count; }
constexpr bool IsKeyboard(int key) { return key >= 0 && key < KeyboardCount; }
constexpr bool IsGamepad(int key) { return key >= PadFirst && key < PadFirst + PadCount; }
}  // namespace keys
