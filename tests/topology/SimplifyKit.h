// Helpers of the simplifier tests: small hand-made meshes, the welded
// surface of a voxel sphere, and the neutral mesh read back as a welded one
// for the topology checks of the voxel tests.
#pragma once
#include <algorithm>
#include <cmath>
#include <vector>

#include "MC/MeshChecks.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mesh/SurfaceDistance.h"
#include "interchange/Mesh.h"
#include "topology/simplify/HalfEdgeMesh.h"

namespace simptest {

struct Tris {
  std::vector<float> p;
  std::vector<uint32_t> i;
  void Add(HalfEdgeMesh& m) const { m.AddSurface(p.data(), (int)p.size() / 3, i.data(), (int)i.size()); }
};

// A flat grid in z = 0 at the given coordinates, counter-clockwise from +z.
inline Tris Grid(const std::vector<float>& xs, const std::vector<float>& ys) {
  Tris t;
  const uint32_t nx = (uint32_t)xs.size();
  for (float y : ys)
    for (float x : xs) t.p.insert(t.p.end(), {x, y, 0});
  for (uint32_t r = 0; r + 1 < ys.size(); ++r)
    for (uint32_t c = 0; c + 1 < nx; ++c) {
      const uint32_t a = r * nx + c, b = a + 1, d = a + nx, e = d + 1;
      t.i.insert(t.i.end(), {a, b, e, a, e, d});
    }
  return t;
}

// A flat fan of n triangles round vertex 0, its ring at radius 1.
inline Tris Fan(int n) {
  Tris t;
  t.p = {0, 0, 0};
  for (int k = 0; k < n; ++k)
    t.p.insert(t.p.end(), {std::cos(6.2831853f * k / n), std::sin(6.2831853f * k / n), 0});
  for (int k = 0; k < n; ++k) t.i.insert(t.i.end(), {0u, uint32_t(1 + k), uint32_t(1 + (k + 1) % n)});
  return t;
}

inline WeldedMeshBuilder SphereSurface(float radius) {
  VolumeObject v;
  FillVolume(v, SphereShape(0.31f, -0.17f, 0.23f, radius));
  v.UpdateSurface();
  WeldedMeshBuilder m;
  v.ExtractWeldedAll(m);
  return m;
}

inline WeldedMeshBuilder Welded(const comms::cMesh& mesh) {
  WeldedMeshBuilder w;
  for (const auto& p : mesh.positions) w.Positions.insert(w.Positions.end(), {p.x, p.y, p.z});
  mesh.ForEachPolygon([&](size_t, const comms::cPolyCell& h, const comms::cPolyCell* c) {
    for (int k = 1; k + 1 < h.a; ++k) w.Indices.insert(w.Indices.end(), {(uint32_t)c[0].a, (uint32_t)c[k].a, (uint32_t)c[k + 1].a});
  });
  return w;
}

// Largest distance from either surface to the other: the vertices of `a`
// and the corners, edge middles and centres of the triangles of `b`.
inline double TwoSidedDistance(const WeldedMeshBuilder& a, const WeldedMeshBuilder& b, float reach = 3) {
  const meshtest::Soup sa = meshtest::SoupOf(a), sb = meshtest::SoupOf(b);
  const meshtest::NearTriangles nearA(sa, reach), nearB(sb, reach);
  double worst = 0;
  for (int i = 0; i < a.VertexCount(); ++i) {
    const double p[3] = {a.Positions[i * 3], a.Positions[i * 3 + 1], a.Positions[i * 3 + 2]};
    worst = std::max(worst, nearB.Distance(p));
  }
  static const float kWeights[7][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {.5f, .5f, 0},
                                       {0, .5f, .5f}, {.5f, 0, .5f}, {1 / 3.f, 1 / 3.f, 1 / 3.f}};
  for (int t = 0; t < sb.Count(); ++t) {
    const float* v = sb.Tri(t);
    for (const auto& w : kWeights) {
      double p[3];
      for (int a = 0; a < 3; ++a) p[a] = w[0] * v[a] + w[1] * v[3 + a] + w[2] * v[6 + a];
      worst = std::max(worst, nearA.Distance(p));
    }
  }
  return worst;
}

}  // namespace simptest
