// Helpers of the mesh-to-voxel tests: triangle soups, distance from a point to
// a soup (through a grid), ray parity inside/outside, and the installed
// meshes made by others.
#pragma once
#include <algorithm>
#include <cmath>
#include <string>
#include <unordered_map>
#include <vector>

#include "MC/mcubes/WeldedMesh.h"
#include "interchange/Mesh.h"

namespace meshtest {

struct Soup {
  std::vector<float> p;  // three corners of each triangle, xyz each
  int Count() const { return (int)p.size() / 9; }
  const float* Tri(int i) const { return &p[(size_t)i * 9]; }
};

// The triangles of a mesh (fans), transformed by p * scale + shift.
inline Soup SoupOf(const comms::cMesh& mesh, float scale = 1, const float shift[3] = nullptr) {
  Soup s;
  mesh.ForEachPolygon([&](size_t, const comms::cPolyCell& h, const comms::cPolyCell* c) {
    for (int k = 1; k + 1 < h.a; ++k)
      for (int i : {c[0].a, c[k].a, c[k + 1].a}) {
        const auto& v = mesh.positions[i];
        const float q[3] = {v.x, v.y, v.z};
        for (int a = 0; a < 3; ++a) s.p.push_back(q[a] * scale + (shift ? shift[a] : 0));
      }
  });
  return s;
}

inline Soup SoupOf(const WeldedMeshBuilder& m) {
  Soup s;
  for (uint32_t i : m.Indices)
    for (int a = 0; a < 3; ++a) s.p.push_back(m.Positions[i * 3 + a]);
  return s;
}

// Squared distance from p to triangle abc (closest point by regions).
inline double PointTriangle2(const double p[3], const float* t) {
  auto sub = [](const double* a, const double* b, double* o) { for (int i = 0; i < 3; ++i) o[i] = a[i] - b[i]; };
  auto dot = [](const double* a, const double* b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; };
  const double a[3] = {t[0], t[1], t[2]}, b[3] = {t[3], t[4], t[5]}, c[3] = {t[6], t[7], t[8]};
  double ab[3], ac[3], ap[3], bp[3], cp[3], q[3];
  sub(b, a, ab), sub(c, a, ac), sub(p, a, ap);
  auto at = [&](double v, double w) { for (int i = 0; i < 3; ++i) q[i] = a[i] + ab[i] * v + ac[i] * w; };
  const double d1 = dot(ab, ap), d2 = dot(ac, ap);
  sub(p, b, bp);
  const double d3 = dot(ab, bp), d4 = dot(ac, bp);
  sub(p, c, cp);
  const double d5 = dot(ab, cp), d6 = dot(ac, cp);
  const double vc = d1 * d4 - d3 * d2, vb = d5 * d2 - d1 * d6, va = d3 * d6 - d5 * d4;
  if (d1 <= 0 && d2 <= 0) at(0, 0);
  else if (d3 >= 0 && d4 <= d3) at(1, 0);
  else if (d6 >= 0 && d5 <= d6) at(0, 1);
  else if (vc <= 0 && d1 >= 0 && d3 <= 0) at(d1 / (d1 - d3), 0);
  else if (vb <= 0 && d2 >= 0 && d6 <= 0) at(0, d2 / (d2 - d6));
  else if (va <= 0 && d4 - d3 >= 0 && d5 - d6 >= 0) {
    const double w = (d4 - d3) / ((d4 - d3) + (d5 - d6));
    at(1 - w, w);
  } else {
    const double den = va + vb + vc;
    if (den == 0) at(0, 0);
    else at(vb / den, vc / den);
  }
  double d[3];
  sub(p, q, d);
  return dot(d, d);
}

// Answers "is any triangle within `reach` of p?" through a grid of unit cells.
class NearTriangles {
 public:
  NearTriangles(const Soup& s, float reach) : soup_(s), reach_(reach) {
    for (int t = 0; t < s.Count(); ++t) {
      const float* v = s.Tri(t);
      int lo[3], hi[3];
      for (int a = 0; a < 3; ++a) {
        lo[a] = (int)std::floor(std::min({v[a], v[3 + a], v[6 + a]}) - reach);
        hi[a] = (int)std::floor(std::max({v[a], v[3 + a], v[6 + a]}) + reach);
      }
      for (int z = lo[2]; z <= hi[2]; ++z)
        for (int y = lo[1]; y <= hi[1]; ++y)
          for (int x = lo[0]; x <= hi[0]; ++x) grid_[Key(x, y, z)].push_back(t);
    }
  }
  // The smallest distance to a triangle, or `reach` when none is nearer.
  double Distance(const double p[3]) const {
    auto it = grid_.find(Key((int)std::floor(p[0]), (int)std::floor(p[1]), (int)std::floor(p[2])));
    double best = reach_ * reach_;
    if (it != grid_.end())
      for (int t : it->second) best = std::min(best, PointTriangle2(p, soup_.Tri(t)));
    return std::sqrt(best);
  }

 private:
  static uint64_t Key(int x, int y, int z) {
    return ((uint64_t)(uint32_t)(x + 4096) << 26) ^ ((uint64_t)(uint32_t)(y + 4096) << 13) ^ (uint32_t)(z + 4096);
  }
  const Soup& soup_;
  float reach_;
  std::unordered_map<uint64_t, std::vector<int>> grid_;
};

// Parity of the crossings of a ray from p in a direction no mesh here lines up with.
inline bool InsideByParity(const Soup& s, const double p[3]) {
  const double dir[3] = {0.8017, 0.3124, 0.5097};
  int hits = 0;
  for (int t = 0; t < s.Count(); ++t) {
    const float* v = s.Tri(t);
    double e1[3], e2[3], h[3], q[3], sv[3];
    for (int i = 0; i < 3; ++i) e1[i] = v[3 + i] - v[i], e2[i] = v[6 + i] - v[i], sv[i] = p[i] - v[i];
    h[0] = dir[1] * e2[2] - dir[2] * e2[1], h[1] = dir[2] * e2[0] - dir[0] * e2[2], h[2] = dir[0] * e2[1] - dir[1] * e2[0];
    const double det = e1[0] * h[0] + e1[1] * h[1] + e1[2] * h[2];
    if (std::fabs(det) < 1e-12) continue;
    const double u = (sv[0] * h[0] + sv[1] * h[1] + sv[2] * h[2]) / det;
    if (u < 0 || u > 1) continue;
    q[0] = sv[1] * e1[2] - sv[2] * e1[1], q[1] = sv[2] * e1[0] - sv[0] * e1[2], q[2] = sv[0] * e1[1] - sv[1] * e1[0];
    const double w = (dir[0] * q[0] + dir[1] * q[1] + dir[2] * q[2]) / det;
    if (w < 0 || u + w > 1) continue;
    if ((e2[0] * q[0] + e2[1] * q[1] + e2[2] * q[2]) / det > 0) ++hits;
  }
  return hits & 1;
}

// Undirected edges (corners welded by exact position) used by an odd number
// of triangles: 0 for a watertight soup, manifold or not (an edge where two
// closed parts touch is used four times).
inline int OpenEdges(const Soup& s) {
  std::unordered_map<std::string, int> uses;
  auto key = [](const float* a) { return std::string((const char*)a, 12); };
  for (int t = 0; t < s.Count(); ++t)
    for (int k = 0; k < 3; ++k) {
      std::string a = key(s.Tri(t) + k * 3), b = key(s.Tri(t) + ((k + 1) % 3) * 3);
      if (b < a) std::swap(a, b);
      ++uses[a + b];
    }
  int open = 0;
  for (auto& [e, n] : uses) open += n & 1;
  return open;
}

}  // namespace meshtest
