// Small meshes built in code for the paint-scene tests: a unit cube of six
// quads with a cross-shaped UV layout, a strip of quads, a sheet cut in UV,
// and helpers that import them into a scene.
#pragma once
#include <vector>

#include "interchange/Mesh.h"
#include "paint/scene/PaintScene.h"
#include "paint/scene/SceneImport.h"

namespace paintmeshes {

inline void AddQuad(comms::cMesh& m, int a, int b, int c, int d, int ua = -1, int ub = -1,
                    int uc = -1, int ud = -1) {
  m.BeginPolygon(4, 0, -1);
  m.AddCorner(a, ua, -1), m.AddCorner(b, ub, -1), m.AddCorner(c, uc, -1), m.AddCorner(d, ud, -1);
}

// A unit cube, outward-facing quads; with uvs, every face has its own square
// island (so every edge is a UV seam).
inline comms::cMesh Cube(bool uvs) {
  comms::cMesh m;
  for (int i = 0; i < 8; i++) m.positions.push_back({float(i & 1), float((i >> 1) & 1), float((i >> 2) & 1)});
  const int q[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
  for (int f = 0; f < 6; f++) {
    int u = -1;
    if (uvs) {
      u = (int)m.uvs.size();
      float x0 = (f % 3) / 3.0f + 0.02f, y0 = (f / 3) / 2.0f + 0.02f, s = 0.28f;
      m.uvs.push_back({x0, y0}), m.uvs.push_back({x0 + s, y0}), m.uvs.push_back({x0 + s, y0 + s}),
          m.uvs.push_back({x0, y0 + s});
    }
    AddQuad(m, q[f][0], q[f][1], q[f][2], q[f][3], u, u < 0 ? -1 : u + 1, u < 0 ? -1 : u + 2,
            u < 0 ? -1 : u + 3);
  }
  return m;
}

// A w x h grid of quads in the z = 0 plane with one continuous UV map.
inline comms::cMesh Sheet(int w, int h) {
  comms::cMesh m;
  for (int y = 0; y <= h; y++)
    for (int x = 0; x <= w; x++) {
      m.positions.push_back({(float)x, (float)y, 0});
      m.uvs.push_back({(x + 0.5f) / (w + 1), (y + 0.5f) / (h + 1)});
    }
  for (int y = 0; y < h; y++)
    for (int x = 0; x < w; x++) {
      int a = y * (w + 1) + x;
      AddQuad(m, a, a + 1, a + w + 2, a + w + 1, a, a + 1, a + w + 2, a + w + 1);
    }
  return m;
}

// Two quads sharing the edge x = 1 in space; in UV each is its own island, so
// the shared edge is a seam. With a 64 x 64 map the left island covers texel
// columns 6..25 and the right one 38..57, rows 38..57.
inline comms::cMesh CutSheet() {
  comms::cMesh m;
  m.positions = {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {0, 1, 0}, {1, 1, 0}, {2, 1, 0}};
  m.uvs = {{0.1f, 0.1f}, {0.4f, 0.1f}, {0.1f, 0.4f}, {0.4f, 0.4f},   // left island
           {0.6f, 0.1f}, {0.9f, 0.1f}, {0.6f, 0.4f}, {0.9f, 0.4f}};  // right island
  AddQuad(m, 0, 1, 4, 3, 0, 1, 3, 2);
  AddQuad(m, 1, 2, 5, 4, 4, 5, 7, 6);
  return m;
}

inline DPSettings Grid(int level) {
  DPSettings s;
  s.InitialSubdivision = level;
  return s;
}

}  // namespace paintmeshes
