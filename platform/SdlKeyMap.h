// Between SDL scancodes and the program's key numbers. Only platform/ sees SDL.
#pragma once
#include <SDL.h>

// The program's key for a scancode, -1 for a key it does not know.
int KeyFromScancode(SDL_Scancode code);
// The scancodes of a program key (a modifier has a left and a right one);
// returns how many were written.
int ScancodesOfKey(int key, SDL_Scancode out[2]);
