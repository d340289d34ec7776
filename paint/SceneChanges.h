// Whether the scene holds work that no file has: set by every undoable step
// (a sculpt stroke, a paint stroke, a layer change), cleared when the scene
// is saved and when another scene comes in. The exit and the autosave ask it.
#pragma once
#include <cstdint>

extern uint8_t ChangedSinceSave;
