// The voxel hull: erosion leaves a wall inside the old surface whose
// thickness follows the radius, the same with one thread or two.
#include <gtest/gtest.h>

#include <cmath>

#include "ClassEngine/Threader.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/mesh/MakeVoxHull.h"
#include "../MeshChecks.h"

namespace {
constexpr float kC[3] = {-3.4f, 2.2f, 1.1f};
constexpr float kR = 19.3f;
bool Inside(VolumeObject& v, float dx, float dy, float dz) {
  return v.SampleField(kC[0] + dx, kC[1] + dy, kC[2] + dz) >= kSurfaceLevel;
}
}  // namespace

TEST(VoxelHull, ErosionLeavesAWallAlongTheSurface) {
  VolumeObject v;
  FillVolume(v, SphereShape(kC[0], kC[1], kC[2], kR));
  MakeVoxHull(v, 5);
  EXPECT_EQ(v.UndoCopies, 0);
  const MeshTopology t = SurfaceTopology(v);
  ExpectClosed(t);
  EXPECT_EQ(t.Euler(), 4);  // outer and inner shell
  EXPECT_FALSE(Inside(v, 0, 0, 0));
  EXPECT_FALSE(Inside(v, 0, kR - 8, 0));
  for (float r : {kR - 1.5f, kR - 3.0f}) {
    EXPECT_TRUE(Inside(v, r, 0, 0)) << r;
    EXPECT_TRUE(Inside(v, 0, 0, -r)) << r;
    EXPECT_TRUE(Inside(v, r / std::sqrt(3.0f), r / std::sqrt(3.0f), r / std::sqrt(3.0f))) << r;
  }
  EXPECT_FALSE(Inside(v, kR + 1, 0, 0));
  // A bigger radius leaves a thicker wall.
  VolumeObject thick;
  FillVolume(thick, SphereShape(kC[0], kC[1], kC[2], kR));
  MakeVoxHull(thick, 9);
  EXPECT_TRUE(Inside(thick, kR - 6.5f, 0, 0));
  EXPECT_FALSE(Inside(v, kR - 6.5f, 0, 0));
}

TEST(VoxelHull, OneAndTwoThreadsAgreeAndUndoCopiesStayWhenAsked) {
  const int saved = ThreadOptions::MaxProcessorsToBeUsed;
  VolumeObject one, two;
  for (VolumeObject* v : {&one, &two}) FillVolume(*v, TorusShape(kC[0], kC[1], kC[2], 17.0f, 7.5f));
  ThreadOptions::MaxProcessorsToBeUsed = 1;
  MakeVoxHull(one, 3);
  ThreadOptions::MaxProcessorsToBeUsed = 2;
  MakeVoxHull(two, 3, true);
  ThreadOptions::MaxProcessorsToBeUsed = saved;
  EXPECT_GT(two.UndoCopies, 0);
  ASSERT_EQ(one.CellCount(), two.CellCount());
  one.Cells.ForEach([&](const CellKey& k, VoxelCell*& a) {
    const VoxelCell* b = two.GetCell(k.x, k.y, k.z, false, false);
    ASSERT_NE(b, nullptr);
    for (int i = 0; i < kCellVoxels; ++i) ASSERT_EQ(a->Voxels ? a->Voxels[i] : a->Fill, b->Voxels ? b->Voxels[i] : b->Fill);
  });
  two.RestoreUndoCopies();
  EXPECT_TRUE(two.SampleField(kC[0] + 17.0f, kC[1], kC[2]) >= kSurfaceLevel);  // the tube's core is back
}
