// The benchmarks' painted surface: a gently curved sheet of quads with one UV
// map over the whole texture, and the two-thread setting they run under.
#pragma once
#include "ClassEngine/Threader.h"
#include "interchange/Mesh.h"

// An n x n sheet of quads with one UV map over the whole texture, gently
// curved so that normals vary.
inline comms::cMesh Sheet(int n) {
  comms::cMesh m;
  m.positions.reserve((size_t)(n + 1) * (n + 1));
  for (int y = 0; y <= n; y++)
    for (int x = 0; x <= n; x++) {
      float fx = (float)x / n, fy = (float)y / n;
      m.positions.push_back({fx, fy, 0.1f * (fx - 0.5f) * (fx - 0.5f)});
      m.uvs.push_back({fx, fy});
    }
  m.polygons.reserve((size_t)n * n * 5);
  for (int y = 0; y < n; y++)
    for (int x = 0; x < n; x++) {
      int a = y * (n + 1) + x;
      m.BeginPolygon(4, 0, -1);
      for (int c : {a, a + 1, a + n + 2, a + n + 1}) m.AddCorner(c, c, -1);
    }
  return m;
}

inline void TwoThreads() {
  ThreadOptions::UseMultiCore = true;
  ThreadOptions::MaxProcessorsToBeUsed = 2;
}

