// A carved groove's rim stays within a bound of roughness at every pen size
// (how far the normals turn per voxel along the rim), and an inverted carve
// leaves no floating speck: the surface stays one closed piece.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <set>

#include "BrushTestKit.h"
#include "MC/brushes/ApplyField.h"
#include "MC/brushes/DropSpecks.h"

namespace {
// Sizes, in triangles, of the connected pieces of a welded mesh.
std::vector<int> PieceSizes(const WeldedMeshBuilder& m) {
  std::vector<int> parent(m.VertexCount());
  std::iota(parent.begin(), parent.end(), 0);
  auto root = [&](int v) {
    while (parent[v] != v) v = parent[v] = parent[parent[v]];
    return v;
  };
  for (size_t t = 0; t < m.Indices.size(); t += 3)
    for (int e = 1; e < 3; ++e) parent[root((int)m.Indices[t + e])] = root((int)m.Indices[t]);
  std::map<int, int> sizes;
  for (size_t t = 0; t < m.Indices.size(); t += 3) ++sizes[root((int)m.Indices[t])];
  std::vector<int> out;
  for (const auto& [r, n] : sizes) out.push_back(n);
  std::sort(out.begin(), out.end());
  return out;
}

struct RimMeasure {
  double meanDegrees = 0, worstDegrees = 0;
  int edges = 0;
};

// The turn of the vertex normals along the rim of a groove cut along x at
// y = 0 with pen radius r: edges that run mostly along x and lie where the
// groove's floor meets the old surface (the profile's depth there falls to
// nothing: 0.6 r to r from the axis), on the part of the sphere facing +z.
RimMeasure RimRoughness(const WeldedMeshBuilder& m, float r, float xSpan) {
  RimMeasure out;
  std::vector<double> angles;
  std::set<std::pair<uint32_t, uint32_t>> seen;
  for (size_t t = 0; t < m.Indices.size(); t += 3)
    for (int e = 0; e < 3; ++e) {
      uint32_t a = m.Indices[t + e], b = m.Indices[t + (e + 1) % 3];
      if (a > b) std::swap(a, b);
      if (!seen.insert({a, b}).second) continue;
      const float* pa = &m.Positions[a * 3];
      const float* pb = &m.Positions[b * 3];
      const float d[3] = {pb[0] - pa[0], pb[1] - pa[1], pb[2] - pa[2]};
      const float len = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
      if (len < 0.5f || std::fabs(d[0]) < 0.7f * len) continue;
      const float mx = (pa[0] + pb[0]) / 2, my = std::fabs(pa[1] + pb[1]) / 2, mz = (pa[2] + pb[2]) / 2;
      if (mz <= 0 || std::fabs(mx) > xSpan || my < 0.6f * r || my > r + 1.f) continue;
      const float* na = &m.Normals[a * 3];
      const float* nb = &m.Normals[b * 3];
      const double c = std::clamp((double)(na[0] * nb[0] + na[1] * nb[1] + na[2] * nb[2]) /
                                      std::sqrt((double)(na[0] * na[0] + na[1] * na[1] + na[2] * na[2]) *
                                                (nb[0] * nb[0] + nb[1] * nb[1] + nb[2] * nb[2])),
                                  -1.0, 1.0);
      angles.push_back(std::acos(c) * 180.0 / 3.14159265358979 / len);  // degrees per voxel of rim
    }
  out.edges = (int)angles.size();
  if (angles.empty()) return out;
  std::sort(angles.begin(), angles.end());
  out.meanDegrees = std::accumulate(angles.begin(), angles.end(), 0.0) / angles.size();
  out.worstDegrees = angles[angles.size() * 99 / 100];
  return out;
}

struct Carved {
  GeneralPenSaver saved;
  SimplePen pen;
  VolumeObject volume;
  WeldedMeshBuilder mesh;
  Carved(float penRadius, bool invert) {
    GeneralPen::CurrentPenPtr = &pen;
    GeneralPen::DeepDegree = 0.5f;
    const float sphere = 1.3f * penRadius + 16;
    FillVolume(volume, SphereShape(0, 0, 0, sphere));
    VoxelBrushSettings settings;
    VoxelSculptStroke stroke(settings);
    stroke.Tool = SCULPT_CARVE;
    stroke.InvertModifier = invert;
    const float span = penRadius * 0.6f;
    EXPECT_TRUE(stroke.Begin(volume, OnSphere(-span, 0, sphere, penRadius), 1));
    for (int i = 1; i <= 4; ++i) stroke.MoveTo(OnSphere(-span + span * i / 2, 0, sphere, penRadius));
    stroke.End();
    volume.DropUndoCopies();
    volume.UpdateSurface();
    volume.ExtractWeldedAll(mesh);
  }
};

class PenSize : public ::testing::TestWithParam<float> {};

TEST_P(PenSize, CarvedRimTurnsSmoothly) {
  const float r = GetParam();
  Carved c(r, false);
  const RimMeasure m = RimRoughness(c.mesh, r, r * 0.5f);
  ASSERT_GT(m.edges, 20) << "the rim was found";
  RecordProperty("MeanDegreesPerVoxel", std::to_string(m.meanDegrees));
  RecordProperty("WorstDegreesPerVoxel", std::to_string(m.worstDegrees));
  // The uncut sphere turns 0.3 to 1.3 degrees per voxel there. A rim cut
  // with a sharp crease into the old surface turns 3.9, 1.7 and 0.7 on
  // average and 29, 26 and 14 at the 99th percentile; rounded into an arc,
  // 2.7, 1.5, 0.7 and 14, 14, 11.
  EXPECT_LT(m.meanDegrees, 3.2);
  EXPECT_LT(m.worstDegrees, 18.0);
}

TEST_P(PenSize, InvertedCarveLeavesNoSpeck) {
  const float r = GetParam();
  Carved c(r, true);
  const std::vector<int> pieces = PieceSizes(c.mesh);
  ASSERT_FALSE(pieces.empty());
  EXPECT_EQ(pieces.size(), 1u) << "smallest piece: " << pieces.front() << " triangles";
  const MeshTopology t = Analyse(c.mesh);
  EXPECT_EQ(t.badEdges, 0);
}

TEST(DropSpecks, LowersOnlyCrumbsSmallerThanACellThatFloatFree) {
  VolumeObject v;
  FillVolume(v, SphereShape(0, 0, 0, 20));
  auto blob = [&](float x, float r) {
    BrushEnd e;
    e.P[0] = x, e.P[1] = 0, e.P[2] = 0, e.R = r;
    BrushSegment(v, e, e, kFieldUnion, 1);
  };
  blob(30.f, 1.5f);   // a crumb, free of the sphere
  blob(-40.f, 6.f);   // a free blob bigger than a cell
  blob(21.f, 2.f);    // a crumb grown into the sphere
  std::vector<CellKey> all;
  v.Cells.ForEach([&](const CellKey& k, VoxelCell*&) { all.push_back(k); });
  v.DropUndoCopies();
  EXPECT_GE(v.GetVoxel(30, 0, 0), kSurfaceLevel);
  EXPECT_GT(DropSpecks(v, all), 0);
  EXPECT_LT(v.GetVoxel(30, 0, 0), kSurfaceLevel) << "the crumb is gone";
  EXPECT_GE(v.GetVoxel(-40, 0, 0), kSurfaceLevel) << "a blob bigger than a cell stays";
  EXPECT_GE(v.GetVoxel(22, 0, 0), kSurfaceLevel) << "what touches the body stays";
  EXPECT_GE(v.GetVoxel(0, 0, 0), kSurfaceLevel);
  EXPECT_EQ(PieceSizes([&] {
              WeldedMeshBuilder m;
              v.UpdateSurface();
              v.ExtractWeldedAll(m);
              return m;
            }()).size(),
            2u);
  EXPECT_EQ(DropSpecks(v, all), 0) << "a second pass finds nothing";
}

// The rule point by point: an inside point of the region's surface cells is
// lowered when its group (by face contact, within those cells) touches no
// inside point beyond them and holds at most 512 points.
std::set<std::tuple<int, int, int>> SpeckPointsByTheRule(VolumeObject& v, const std::vector<CellKey>& cells) {
  std::set<std::tuple<int, int, int>> region;
  for (const CellKey& k : cells) {
    VoxelCell** c = v.Cells.Find(k.x, k.y, k.z);
    if (c && (*c)->HasSurfaceCrossing() && (*c)->Voxels) region.insert({k.x, k.y, k.z});
  }
  auto inRegion = [&](int x, int y, int z) { return region.count({x >> 3, y >> 3, z >> 3}) > 0; };
  auto inside = [&](int x, int y, int z) { return v.GetVoxel(x, y, z) >= kSurfaceLevel; };
  std::set<std::tuple<int, int, int>> seen, lowered;
  for (const auto& [cx, cy, cz] : region)
    for (int l = 0; l < 512; ++l) {
      const std::tuple<int, int, int> p{cx * 8 + (l & 7), cy * 8 + ((l >> 3) & 7), cz * 8 + (l >> 6)};
      if (!inside(std::get<0>(p), std::get<1>(p), std::get<2>(p)) || seen.count(p)) continue;
      std::vector<std::tuple<int, int, int>> group{p};
      seen.insert(p);
      bool touchesBeyond = false;
      for (size_t i = 0; i < group.size(); ++i) {
        const auto [x, y, z] = group[i];
        const int steps[6][3] = {{1, 0, 0}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, -1}};
        for (const auto& d : steps) {
          const int nx = x + d[0], ny = y + d[1], nz = z + d[2];
          if (!inside(nx, ny, nz)) continue;
          if (!inRegion(nx, ny, nz)) {
            touchesBeyond = true;
          } else if (seen.insert({nx, ny, nz}).second) {
            group.push_back({nx, ny, nz});
          }
        }
      }
      if (!touchesBeyond && group.size() <= 512) lowered.insert(group.begin(), group.end());
    }
  return lowered;
}

TEST(DropSpecks, LowersExactlyTheEnclosedGroupsOfAtMostACell) {
  // Crumbs of many sizes around and inside a carved sphere: free, touching
  // the body, side by side, and in the cavity the carve left.
  auto build = [](VolumeObject& v) {
    FillVolume(v, SphereShape(0, 0, 0, 30));
    BrushEnd hollow;
    hollow.R = 14;
    BrushSegment(v, hollow, hollow, kFieldSubtract, 1);
    uint32_t seed = 7;
    auto next = [&] { return (seed = seed * 1664525u + 1013904223u) >> 8; };
    for (int i = 0; i < 60; ++i) {
      BrushEnd e;
      const float dir[3] = {(float)(next() % 200) - 100.f, (float)(next() % 200) - 100.f, (float)(next() % 200) - 100.f};
      const float len = std::sqrt(dir[0] * dir[0] + dir[1] * dir[1] + dir[2] * dir[2]) + 1e-3f;
      const float at = i % 3 == 0 ? 0.f : 31.f + (float)(next() % 12);  // in the cavity, or outside
      for (int k = 0; k < 3; ++k) e.P[k] = dir[k] / len * at + (i % 3 == 0 ? (float)(next() % 16) - 8.f : 0.f);
      e.R = 0.6f + (float)(next() % 60) / 10.f;
      BrushSegment(v, e, e, kFieldUnion, 1);
    }
    v.DropUndoCopies();
  };
  VolumeObject v, expected;
  build(v);
  build(expected);
  std::vector<CellKey> all;
  v.Cells.ForEach([&](const CellKey& k, VoxelCell*&) { all.push_back(k); });
  const auto points = SpeckPointsByTheRule(expected, all);
  ASSERT_GT(points.size(), 20u) << "some crumbs float free";
  CellCache cache;
  for (const auto& [x, y, z] : points) expected.PutVoxel(x, y, z, 24576, &cache);
  EXPECT_EQ(DropSpecks(v, all), (int)points.size());
  EXPECT_EQ(Snapshot(v), Snapshot(expected));
  EXPECT_GT(InsideCount(v), 50000) << "the body stays";
}

INSTANTIATE_TEST_SUITE_P(TenFortyHundred, PenSize, ::testing::Values(10.f, 40.f, 100.f));
}  // namespace
