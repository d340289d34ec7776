// The skin merge (see MergeMeshSkin.h).
#include "MC/mesh/MergeMeshSkin.h"

#include <cmath>
#include <map>
#include <utility>
#include <vector>

#include "MC/mesh/MergeIntoVolume.h"
#include "interchange/Mesh.h"

void MergeMeshSkin(VolumeObject& volume, const comms::cMesh& mesh, const float* m, int mode, float inSkin,
                   float outSkin, int part, bool keepUndo) {
  const size_t nv = mesh.positions.size();
  std::vector<float> p(nv * 3), n(nv * 3, 0.0f);
  for (size_t i = 0; i < nv; ++i) {
    const float v[3] = {mesh.positions[i].x, mesh.positions[i].y, mesh.positions[i].z};
    for (int c = 0; c < 3; ++c)
      p[i * 3 + c] = m ? v[0] * m[c] + v[1] * m[4 + c] + v[2] * m[8 + c] + m[12 + c] : v[c];
  }
  // The fans' triangles, checked once; area-weighted vertex normals.
  std::vector<int> tris;
  std::map<std::pair<int, int>, int> edgeUses;  // undirected edge -> polygons using it
  std::vector<std::pair<int, int>> directed;    // each polygon edge in its winding
  mesh.ForEachPolygon([&](size_t, const comms::cPolyCell& h, const comms::cPolyCell* c) {
    if (part >= 0 && h.c != part) return;
    for (int k = 0; k < h.a; ++k)
      if (c[k].a < 0 || (size_t)c[k].a >= nv) return;
    for (int k = 0; k < h.a; ++k) {
      const int a = c[k].a, b = c[(k + 1) % h.a].a;
      if (a == b) continue;
      ++edgeUses[{std::min(a, b), std::max(a, b)}];
      directed.push_back({a, b});
    }
    for (int k = 1; k + 1 < h.a; ++k) tris.insert(tris.end(), {c[0].a, c[k].a, c[k + 1].a});
  });
  for (size_t t = 0; t < tris.size(); t += 3) {
    const float* a = &p[tris[t] * 3];
    const float* b = &p[tris[t + 1] * 3];
    const float* c = &p[tris[t + 2] * 3];
    const float e1[3] = {b[0] - a[0], b[1] - a[1], b[2] - a[2]}, e2[3] = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
    const float f[3] = {e1[1] * e2[2] - e1[2] * e2[1], e1[2] * e2[0] - e1[0] * e2[2], e1[0] * e2[1] - e1[1] * e2[0]};
    for (int k = 0; k < 3; ++k)
      for (int q = 0; q < 3; ++q) n[tris[t + k] * 3 + q] += f[q];
  }
  std::vector<float> outer(nv * 3), inner(nv * 3);
  for (size_t i = 0; i < nv; ++i) {
    float* d = &n[i * 3];
    const float len = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
    for (int q = 0; q < 3; ++q) {
      const float unit = len > 0 ? d[q] / len : 0.0f;
      outer[i * 3 + q] = p[i * 3 + q] + unit * outSkin;
      inner[i * 3 + q] = p[i * 3 + q] - unit * inSkin;
    }
  }
  TriangleCollector collector;
  for (size_t t = 0; t < tris.size(); t += 3) {
    collector.AddTriangle(&outer[tris[t] * 3], &outer[tris[t + 1] * 3], &outer[tris[t + 2] * 3]);
    collector.AddTriangle(&inner[tris[t] * 3], &inner[tris[t + 2] * 3], &inner[tris[t + 1] * 3]);
  }
  // A rim edge a -> b of the outer sheet meets the inner sheet's b -> a.
  for (const auto& [a, b] : directed) {
    if (edgeUses[{std::min(a, b), std::max(a, b)}] != 1) continue;
    collector.AddTriangle(&outer[b * 3], &outer[a * 3], &inner[a * 3]);
    collector.AddTriangle(&outer[b * 3], &inner[a * 3], &inner[b * 3]);
  }
  MergeIntoVolume(collector, volume, mode, keepUndo);
}
