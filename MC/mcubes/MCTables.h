// Marching cubes tables: edge masks, triangle rows, and the cube's corner and
// edge numbering they refer to.
#pragma once
#include <cstdint>

extern const uint16_t edgeTable[256];
extern const int8_t triTable[256][16];
extern const int8_t edgeCorners[12][2];  // the two corners each edge joins
extern const int8_t cornerOffset[8][3];  // (x, y, z) of each corner
