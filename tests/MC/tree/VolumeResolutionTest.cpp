// Whole-volume commands of the layer tree: doubling the resolution keeps the
// surface in place, the band rules of the up-sampling at their thresholds,
// flips and symmetry, and one smoothing pass (same with 1 and 2 threads).
#include <gtest/gtest.h>

#include "MC/brushes/BrushTestKit.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/tree/LatticeSnapshot.h"
#include "MC/tree/VolumeMirror.h"
#include "MC/tree/VolumeResolution.h"
#include "TreeTestKit.h"

namespace {

TEST(IncreaseResolution, SurfaceStaysWithinHalfAVoxel) {
  VolumeObject v;
  FillVolume(v, NoiseShape(1.5f, -2.25f, 0.75f, 13.f, 2.5f, 9.f, 77));
  const comms::cMat4 place = Placement(25, 1.f, 3, 4, 5);
  v.SetTransform(&place.m[0][0]);
  const meshtest::Soup before = SceneSurface(v);
  const uint64_t cost = IncreaseResolutionCost(v);
  IncreaseResolution(v);
  EXPECT_NEAR(v.TransformScale, 0.5f, 1e-6f);
  const meshtest::Soup after = SceneSurface(v);
  ASSERT_GT(after.Count(), before.Count() * 3) << "four times the triangles, roughly";
  EXPECT_LT(SurfaceGap(before, after), 0.5) << "in old voxels";
  EXPECT_GT(cost, (uint64_t)before.Count() * 28);
  ExpectClosed(Surface(v));
}

TEST(IncreaseResolution, UniformCellsStayUniform) {
  VolumeObject v;
  VoxelCell* c = v.GetCell(-2, 1, 3, true, false);
  c->Fill = 65535;
  c->Flags = kCellAbove;
  IncreaseResolution(v);
  EXPECT_EQ(v.CellCount(), 8);
  for (int i = 0; i < 8; ++i) {
    VoxelCell** child = v.Cells.Find(-4 + (i & 1), 2 + ((i >> 1) & 1), 6 + (i >> 2));
    ASSERT_NE(child, nullptr);
    EXPECT_EQ((*child)->Voxels, nullptr);
    EXPECT_EQ((*child)->Fill, 65535);
  }
}

// A cell holding `low` for x <= 4 and 60000 beyond: a child point whose
// parent value is `low` and whose neighbours reach into the high half.
uint16_t ChildValueNearStep(uint16_t low) {
  VolumeObject v;
  for (int z = 0; z < 9; ++z)
    for (int y = 0; y < 9; ++y)
      for (int x = 0; x < 9; ++x) v.PutVoxel(x, y, z, x <= 4 ? low : 60000);
  LatticeSnapshot old(v);
  std::vector<uint16_t> out(8 * kCellVoxels);
  UpsampleCell(old, {0, 0, 0}, out.data());
  // Child 1 (upper x half), lattice x = 1: parent point x = 4, odd parity.
  return out[1 * kCellVoxels + LatticeIndex(1, 4, 4)];
}

TEST(IncreaseResolution, ValuesBelow101AreNotWeighted) {
  EXPECT_EQ(ChildValueNearStep(100), 0);
  EXPECT_GT(ChildValueNearStep(101), 0) << "101 is averaged with its neighbours";
}

TEST(VoxFlip, MirrorsThroughTheOriginAndUndoesItself) {
  VolumeObject v;
  FillVolume(v, BoxShape(9, -3, 4, 6, 4, 3));
  FillVolume(v, SphereShape(-5, 7, 1, 4));
  const VolumeSnapshot start = Snapshot(v);
  VoxFlip(v, 1 | 4);
  LatticeSnapshot flipped(v);
  VoxFlip(v, 1 | 4);
  LatticeSnapshot back(v);
  for (int z = -12; z <= 12; ++z)
    for (int y = -12; y <= 12; ++y)
      for (int x = -20; x <= 20; ++x)
        ASSERT_EQ(flipped.Value(-x, y, -z), back.Value(x, y, z)) << x << " " << y << " " << z;
  EXPECT_EQ(Snapshot(v), start);
}

TEST(MakeSymm, CopiesTheHeavySideOverTheLightOne) {
  VolumeObject v;
  FillVolume(v, SphereShape(0, 12, 0, 9));
  FillVolume(v, SphereShape(8, -20, 6, 3));
  ASSERT_TRUE(MakeSymm(v, 1));
  LatticeSnapshot s(v);
  for (int z = -14; z <= 14; ++z)
    for (int y = -24; y <= 24; ++y)
      for (int x = -14; x <= 14; ++x) ASSERT_EQ(s.Value(x, y, z), s.Value(x, -y, z)) << x << " " << y << " " << z;
  EXPECT_GE(s.Value(0, -12, 0), kSurfaceLevel) << "the big sphere is mirrored";
  EXPECT_LT(s.Value(8, -20, 6), kSurfaceLevel) << "the small one on the light side is gone";
  EXPECT_FALSE(MakeSymm(v, 3));
  ExpectClosed(Surface(v));
}

TEST(SmoothObject, RemovesASpikeKeepsTheBodyAndIgnoresThreads) {
  auto make = [](VolumeObject& v) {
    FillVolume(v, BoxShape(0, 0, 0, 10, 10, 10));
    for (int x = 11; x < 18; ++x) v.PutVoxel(x, 3, -2, 65535);
  };
  VolumeObject one, two;
  make(one);
  make(two);
  SmoothObject(one, false, 1);
  SmoothObject(two, false, 2);
  EXPECT_EQ(Snapshot(one), Snapshot(two));
  EXPECT_LT(one.GetVoxel(15, 3, -2), kSurfaceLevel);
  EXPECT_GE(one.GetVoxel(0, 0, 0), kSurfaceLevel);
  EXPECT_GE(one.GetVoxel(8, 8, 8), kSurfaceLevel);
  ExpectClosed(Surface(one));
}

}  // namespace
