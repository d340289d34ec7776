// Helpers of the voxel brush tests: a seeded sphere, whole-volume snapshots
// and a stroke across its top.
#pragma once
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <tuple>
#include <vector>

#include "MC/brushes/CellJobs.h"
#include "MC/brushes/VoxelStroke.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/MeshChecks.h"
#include "paint/GeneralPen.h"
#include "paint/PenShapes.h"

using VolumeSnapshot = std::map<std::tuple<int, int, int>, std::vector<uint16_t>>;

// Every cell's 729 values as read (a missing cell is not listed; one that
// reads all 0 is left out too, so a created-then-emptied cell compares equal).
inline VolumeSnapshot Snapshot(VolumeObject& v) {
  VolumeSnapshot s;
  v.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    std::vector<uint16_t> vals(kCellVoxels);
    bool any = false;
    for (int i = 0; i < kCellVoxels; ++i) any |= (vals[i] = OldValue(c, i)) != 0;
    if (any) s[{k.x, k.y, k.z}] = std::move(vals);
  });
  return s;
}

// Lattice points at or above the surface level, each counted once.
inline long InsideCount(VolumeObject& v) {
  long n = 0;
  v.Cells.ForEach([&](const CellKey&, VoxelCell*& c) {
    for (int z = 0; z < 8; ++z)
      for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) n += OldValue(c, LatticeIndex(x, y, z)) >= kSurfaceLevel;
  });
  return n;
}

inline MeshTopology Surface(VolumeObject& v) {
  v.UpdateSurface();
  WeldedMeshBuilder m;
  v.ExtractWeldedAll(m);
  return Analyse(m);
}

// A point on the sphere of radius r at the origin, seen from +z at (x, y).
inline PenPoint OnSphere(float x, float y, float r, float radius, float pressure = 1.f) {
  PenPoint p;
  const float z = std::sqrt(std::max(r * r - x * x - y * y, 0.f));
  p.P[0] = x, p.P[1] = y, p.P[2] = z;
  p.N[0] = x / r, p.N[1] = y / r, p.N[2] = z / r;
  p.Radius = radius;
  p.Pressure = pressure;
  return p;
}
