// A mesh part for merge tests: an axis-aligned box as its own named part.
#pragma once
#include "interchange/Mesh.h"

// 8 corners, 6 quads wound counter-clockwise seen from outside. Corner i has
// bit 0 x, bit 1 y, bit 2 z.
inline void AddBox(comms::cMesh& m, const char* name, const float lo[3], const float hi[3]) {
  const int object = m.AddObject(name), base = (int)m.positions.size();
  for (int i = 0; i < 8; ++i) m.positions.push_back({i & 1 ? hi[0] : lo[0], i & 2 ? hi[1] : lo[1], i & 4 ? hi[2] : lo[2]});
  const int quads[6][4] = {{0, 4, 6, 2}, {1, 3, 7, 5}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 2, 3, 1}, {4, 5, 7, 6}};
  for (const auto& q : quads) {
    m.BeginPolygon(4, 0, object);
    for (int c : q) m.AddCorner(base + c, -1, -1);
  }
}
