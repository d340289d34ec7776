// Helpers of the layer tree tests: the tree's invariants, matrices, and the
// distance between two volumes' welded surfaces in scene space.
#pragma once
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

#include "MC/mcubes/VolumeObject.h"
#include "MC/mcubes/WeldedMesh.h"
#include "MC/mesh/SurfaceDistance.h"
#include "MC/tree/VoxVisualTree.h"
#include "render/Math3D.h"

// Every branch volume is in the list once, every listed volume hangs on one
// branch, ids are unique, levels follow parents, the current volume is kept.
inline void ExpectConsistent(VoxVisualTree& tree) {
  std::multiset<const VolumeObject*> onBranches;
  tree.Walk([&](VoxTreeBranch& b) {
    if (b.Volume) onBranches.insert(b.Volume);
    if (&b != &tree) {
      ASSERT_NE(b.ParentBranch, nullptr);
      EXPECT_EQ(b.Level, b.ParentBranch->Level + 1) << b.Name.cpchar();
      EXPECT_GE(b.ParentBranch->IndexOf(&b), 0);
    }
  });
  EXPECT_EQ(onBranches.size(), tree.VolumeList.size());
  std::set<uintptr_t> ids;
  for (auto& v : tree.VolumeList) {
    EXPECT_EQ(onBranches.count(v.get()), 1u) << v->Name;
    ids.insert(v->ObjectId);
  }
  EXPECT_EQ(ids.size(), tree.VolumeList.size()) << "object ids must be unique";
  if (tree.CurrentVolume) {
    EXPECT_EQ(onBranches.count(tree.CurrentVolume), 1u);
  }
}

inline comms::cMat4 Mat(const float m[16]) {
  comms::cMat4 r;
  std::copy(m, m + 16, &r.m[0][0]);
  return r;
}

// Turn about y by `degrees`, uniform scale, then a shift.
inline comms::cMat4 Placement(float degrees, float scale, float tx, float ty, float tz) {
  const float a = degrees * 3.14159265f / 180.f, c = std::cos(a) * scale, s = std::sin(a) * scale;
  comms::cMat4 m;
  m.m[0][0] = c, m.m[0][2] = -s;
  m.m[1][1] = scale;
  m.m[2][0] = s, m.m[2][2] = c;
  m.m[3][0] = tx, m.m[3][1] = ty, m.m[3][2] = tz;
  return m;
}

inline meshtest::Soup SceneSurface(VolumeObject& v) {
  v.UpdateSurface();
  WeldedMeshBuilder m;
  v.ExtractWeldedAll(m, v.Transform);
  return meshtest::SoupOf(m);
}

// The largest distance from a vertex of one surface to the other, both ways,
// in scene units (capped at `reach`).
inline double SurfaceGap(const meshtest::Soup& a, const meshtest::Soup& b, float reach = 1.f) {
  meshtest::NearTriangles na(a, reach), nb(b, reach);
  double worst = 0;
  for (size_t i = 0; i < a.p.size(); i += 3) {
    const double p[3] = {a.p[i], a.p[i + 1], a.p[i + 2]};
    worst = std::max(worst, nb.Distance(p));
  }
  for (size_t i = 0; i < b.p.size(); i += 3) {
    const double p[3] = {b.p[i], b.p[i + 1], b.p[i + 2]};
    worst = std::max(worst, na.Distance(p));
  }
  return worst;
}
