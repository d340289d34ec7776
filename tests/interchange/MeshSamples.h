// Sample meshes and a comparison by resolved corner values, for the round
// trips of the mesh codecs (codecs may renumber, so indices aren't compared).
#pragma once
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>

#include "interchange/Mesh.h"

namespace meshsamples {

using comms::cMesh;

// Two objects: a unit cube of quads with UVs and normals in two materials,
// and a triangle beside it.
inline cMesh CubeAndTriangle() {
  cMesh m;
  m.name = "sample";
  const float p[8][3] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
  for (auto& v : p) m.positions.push_back({v[0], v[1], v[2]});
  m.uvs = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
  m.normals = {{0, 0, -1}, {0, 0, 1}, {0, -1, 0}, {0, 1, 0}, {-1, 0, 0}, {1, 0, 0}};
  int red = m.AddMaterial("red"), blue = m.AddMaterial("blue");
  m.materials[red].slots[comms::kDiffuseSlot].path = "red.png";
  int cube = m.AddObject("cube"), tri = m.AddObject("tri");
  const int faces[6][4] = {{0, 3, 2, 1}, {4, 5, 6, 7}, {0, 1, 5, 4}, {3, 7, 6, 2}, {0, 4, 7, 3}, {1, 2, 6, 5}};
  for (int f = 0; f < 6; f++) {
    m.BeginPolygon(4, f < 3 ? red : blue, cube);
    for (int k = 0; k < 4; k++) m.AddCorner(faces[f][k], k, f);
  }
  m.positions.push_back({3, 0, 0});
  m.positions.push_back({4, 0, 0});
  m.positions.push_back({3, 1, 0.5f});
  m.BeginPolygon(3, blue, tri);
  for (int k = 0; k < 3; k++) m.AddCorner(8 + k, -1, -1);
  return m;
}

// A closed triangle mesh (an octahedron) with no UVs or normals.
inline cMesh Octahedron() {
  cMesh m;
  m.positions = {{1, 0, 0}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, -1}};
  int mat = m.AddMaterial("default"), obj = m.AddObject("default");
  const int t[8][3] = {{0, 2, 4}, {2, 1, 4}, {1, 3, 4}, {3, 0, 4}, {2, 0, 5}, {1, 2, 5}, {3, 1, 5}, {0, 3, 5}};
  for (auto& f : t) {
    m.BeginPolygon(3, mat, obj);
    for (int k = 0; k < 3; k++) m.AddCorner(f[k], -1, -1);
  }
  return m;
}

struct Corner {
  float p[3];
  bool hasUv;
  float uv[2];
  bool hasNormal;
  float n[3];
};

// Each polygon's corners with their values, material name and object name.
inline void ExpectSameCorners(const cMesh& a, const cMesh& b, bool uvs, bool normals, bool names, float eps = 1e-5f) {
  ASSERT_EQ(a.PolygonCount(), b.PolygonCount());
  std::vector<std::pair<size_t, const comms::cPolyCell*>> pa, pb;
  a.ForEachPolygon([&](size_t i, const comms::cPolyCell&, const comms::cPolyCell*) { pa.push_back({i, nullptr}); });
  b.ForEachPolygon([&](size_t i, const comms::cPolyCell&, const comms::cPolyCell*) { pb.push_back({i, nullptr}); });
  for (size_t i = 0; i < pa.size(); i++) {
    const comms::cPolyCell& ha = a.polygons[pa[i].first];
    const comms::cPolyCell& hb = b.polygons[pb[i].first];
    ASSERT_EQ(ha.a, hb.a) << "polygon " << i;
    if (names) {
      EXPECT_EQ(a.materials[cMesh::MaterialOf(ha.b)].name, b.materials[cMesh::MaterialOf(hb.b)].name);
      EXPECT_EQ(a.objects[ha.c].name, b.objects[hb.c].name);
    }
    for (int k = 1; k <= ha.a; k++) {
      const comms::cPolyCell& ca = a.polygons[pa[i].first + k];
      const comms::cPolyCell& cb = b.polygons[pb[i].first + k];
      EXPECT_NEAR(a.positions[ca.a].x, b.positions[cb.a].x, eps);
      EXPECT_NEAR(a.positions[ca.a].y, b.positions[cb.a].y, eps);
      EXPECT_NEAR(a.positions[ca.a].z, b.positions[cb.a].z, eps);
      if (uvs) {
        ASSERT_EQ(ca.b < 0, cb.b < 0);
        if (ca.b >= 0) {
          EXPECT_NEAR(a.uvs[ca.b].x, b.uvs[cb.b].x, eps);
          EXPECT_NEAR(a.uvs[ca.b].y, b.uvs[cb.b].y, eps);
        }
      }
      if (normals) {
        ASSERT_EQ(ca.c < 0, cb.c < 0);
        if (ca.c >= 0) {
          EXPECT_NEAR(a.normals[ca.c].x, b.normals[cb.c].x, eps);
          EXPECT_NEAR(a.normals[ca.c].y, b.normals[cb.c].y, eps);
          EXPECT_NEAR(a.normals[ca.c].z, b.normals[cb.c].z, eps);
        }
      }
    }
  }
}

// The axis-aligned bounds of the positions used by polygons.
struct Bounds {
  float lo[3] = {1e30f, 1e30f, 1e30f}, hi[3] = {-1e30f, -1e30f, -1e30f};
};
inline Bounds BoundsOf(const cMesh& m) {
  Bounds b;
  for (const auto& p : m.positions) {
    const float v[3] = {p.x, p.y, p.z};
    for (int k = 0; k < 3; k++) {
      b.lo[k] = std::min(b.lo[k], v[k]);
      b.hi[k] = std::max(b.hi[k], v[k]);
    }
  }
  return b;
}

}  // namespace meshsamples
