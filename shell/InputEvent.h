// One input event of the queue: a key or button change (kind 1), a pointer
// move (kind 2), or a typed character or repeated key (kind 3).
#pragma once
#include <cstdint>

struct InputEvent {
  enum { KeyChange = 1, PointerMove = 2, Character = 3 };
  int Kind = 0;
  int Key = -1;
  uint8_t Down = 0;
  uint8_t DoubleClick = 0;
  float x = 0, y = 0;    // pointer position
  float dx = 0, dy = 0;  // motion, dy up
  float wheel = 0;       // notches, delta / 120
  int Code = 0;          // the character, or the key with IsKey
  uint8_t IsKey = 0;
};
