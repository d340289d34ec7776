// The scene's changed flag; see SceneChanges.h.
#include "paint/SceneChanges.h"

uint8_t ChangedSinceSave = 0;
