// Layout and lookup rules of the cell store: floor division for negative
// lattice coordinates, the shared far plane, uniform cells, flags, the key
// hash, compaction and the touched-cell list.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"

TEST(CellLayout, FreshVolumeReadsEmptyEverywhere) {
  VolumeObject v;
  for (int p : {-100000, -9, -1, 0, 7, 8, 123456}) {
    EXPECT_EQ(v.GetVoxel(p, -p, p), 0);
    EXPECT_EQ(v.SampleField(p + 0.25f, p * 0.5f, -p - 0.75f), 0.0f);
  }
  EXPECT_EQ(v.CellCount(), 0);
}

TEST(CellLayout, NegativeCoordinatesFloorIntoCells) {
  VolumeObject v;
  v.PutVoxel(-1, -1, -1, 1000);
  VoxelCell* c = v.GetCell(-1, -1, -1, false, false);
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(c->Voxels[LatticeIndex(7, 7, 7)], 1000);
  EXPECT_EQ(v.GetVoxel(-1, -1, -1), 1000);
  EXPECT_EQ(v.GetCell(0, 0, 0, false, false), nullptr);  // local 7 touches no far plane
  EXPECT_EQ(v.CellCount(), 1);

  v.PutVoxel(-9, 0, 0, 2000);  // -9 = 8 * -2 + 7
  EXPECT_EQ(v.GetCell(-2, 0, 0, false, false)->Voxels[LatticeIndex(7, 0, 0)], 2000);
}

TEST(CellLayout, PutVoxelOnACellCornerWritesEightCells) {
  VolumeObject v;
  v.PutVoxel(16, -8, 0, 40000);
  EXPECT_EQ(v.CellCount(), 8);
  for (int m = 0; m < 8; ++m) {
    const int dx = m & 1, dy = (m >> 1) & 1, dz = (m >> 2) & 1;
    VoxelCell* c = v.GetCell(2 - dx, -1 - dy, 0 - dz, false, false);
    ASSERT_NE(c, nullptr) << m;
    EXPECT_EQ(c->Voxels[LatticeIndex(dx ? 8 : 0, dy ? 8 : 0, dz ? 8 : 0)], 40000) << m;
    EXPECT_NE(c->UndoCopy, nullptr);
    EXPECT_EQ(v.DirtyCells.Find(2 - dx, -1 - dy, -dz) ? *v.DirtyCells.Find(2 - dx, -1 - dy, -dz) : 0, 1);
  }
  // On a face only two cells, on an edge four.
  VolumeObject face, edge;
  face.PutVoxel(8, 3, 5, 1);
  edge.PutVoxel(8, 0, 5, 1);
  EXPECT_EQ(face.CellCount(), 2);
  EXPECT_EQ(edge.CellCount(), 4);
  EXPECT_EQ(face.GetCell(0, 0, 0, false, false)->Voxels[LatticeIndex(8, 3, 5)], 1);
}

TEST(CellLayout, GroupCoordinatesFloor) {
  EXPECT_EQ(GroupOf(0), 0);
  EXPECT_EQ(GroupOf(5), 0);
  EXPECT_EQ(GroupOf(6), 1);
  EXPECT_EQ(GroupOf(-1), -1);
  EXPECT_EQ(GroupOf(-6), -1);
  EXPECT_EQ(GroupOf(-7), -2);
}

TEST(CellLayout, NewCellStartsEmptyBelowAndChanged) {
  VolumeObject v;
  VoxelCell* c = v.GetCell(3, -4, 5, true, false);
  EXPECT_EQ(c->Fill, 0);
  EXPECT_EQ(c->Side, 9);
  EXPECT_EQ(c->Flags, kCellChanged | kCellBelow);
  EXPECT_EQ(c->Owner, &v);
  EXPECT_EQ(v.CellBoundsMin[1], -4);
  EXPECT_EQ(v.CellBoundsMax[2], 5);
  EXPECT_EQ(v.GetCell(3, -4, 5, true, false), c);
}

TEST(CellLayout, UniformArrayIsReleasedAndKeepsOnlyTheInsideBit) {
  VolumeObject v;
  VoxelCell* c = v.GetCell(0, 0, 0, true, false);
  c->EnsureVoxels(1, false);
  EXPECT_TRUE(c->Flags & kCellLazyFill);
  EXPECT_TRUE(c->Flags & kCellStale);
  c->EnsureVoxels(1, false);  // a second open writes the lazy fill
  EXPECT_FALSE(c->Flags & kCellLazyFill);
  std::fill(c->Voxels, c->Voxels + kCellVoxels, 65535);
  c->RefreshStatus(false, false);
  EXPECT_NE(c->Voxels, nullptr);
  EXPECT_TRUE(c->Flags & kCellUniform);
  c->RefreshStatus(true, false);
  EXPECT_EQ(c->Voxels, nullptr);
  EXPECT_EQ(c->Fill, 65535);
  EXPECT_EQ(c->Flags & (kCellBelow | kCellAbove | kCellStale), kCellAbove);

  c->EnsureVoxels(3, false);
  c->Voxels[500] = 32767;
  c->RefreshStatus(true, false);
  EXPECT_NE(c->Voxels, nullptr);
  EXPECT_TRUE(c->HasSurfaceCrossing());
}

TEST(CellLayout, KeyHashIsTheVolumeMapsHash) {
  EXPECT_EQ(CellKeyHash(0, 0, 0, 1262144), 0u);
  EXPECT_EQ(CellKeyHash(1, 2, 3, 1262144), (2u * 123761u + 1u + 3u * 1971u) % 1262144u);
  EXPECT_EQ(CellKeyHash(-1, 0, 0, 62144), 0xFFFFFFFFu % 62144u);
  VolumeObject v;
  EXPECT_EQ(v.Cells.Buckets(), 1262144u);
  EXPECT_EQ(v.DirtyCells.Buckets(), 62144u);
  EXPECT_EQ(v.RenderGroups.Buckets(), 3517u);
}

TEST(CellLayout, MapWalksSlotsInInsertionOrderAndReusesFreedSlots) {
  CellKeyMap<int> m(7);
  for (int i = 0; i < 1000; ++i) m.Set(i, -i, i * 3, i);
  std::vector<int> seen;
  m.ForEach([&](const CellKey&, int& v) { seen.push_back(v); });
  ASSERT_EQ(seen.size(), 1000u);
  EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
  EXPECT_TRUE(m.Remove(10, -10, 30));
  EXPECT_FALSE(m.Remove(10, -10, 30));
  EXPECT_EQ(m.Find(10, -10, 30), nullptr);
  m.Set(5000, 0, 0, 5000);
  seen.clear();
  m.ForEach([&](const CellKey&, int& v) { seen.push_back(v); });
  EXPECT_EQ(seen[10], 5000);  // the freed slot is taken again
  EXPECT_EQ(m.Count(), 1000);
}

TEST(CellLayout, CompactRemovesEmptyUniformCellsAndKeepsSolidOnes) {
  VolumeObject v;
  VoxelCell* empty = v.GetCell(0, 0, 0, true, false);
  VoxelCell* solid = v.GetCell(1, 0, 0, true, false);
  solid->Fill = 65535;
  solid->Flags = kCellAbove;
  VoxelCell* mixed = v.GetCell(2, 0, 0, true, false);
  mixed->EnsureVoxels(3, false);
  (void)empty;
  v.Compact();
  EXPECT_EQ(v.GetCell(0, 0, 0, false, false), nullptr);
  EXPECT_EQ(v.GetCell(1, 0, 0, false, false), solid);
  EXPECT_EQ(v.GetCell(2, 0, 0, false, false), mixed);  // an array stays even if all zero
  EXPECT_TRUE(v.TreeStale);
}

TEST(CellLayout, TouchedListStopsAtItsLimitAndRestoreStillReachesEveryCell) {
  VolumeObject v;
  const int n = VolumeObject::kTouchedLimit + 1;
  for (int i = 0; i < n; ++i) v.GetCell(i % 200, i / 200, 0, true, true);
  EXPECT_EQ((int)v.TouchedCells.size(), VolumeObject::kTouchedLimit);
  EXPECT_EQ(v.UndoCopies, n);
  const CellKey last{(n - 1) % 200, (n - 1) / 200, 0};
  EXPECT_TRUE(std::none_of(v.TouchedCells.begin(), v.TouchedCells.end(), [&](const CellKey& k) { return k == last; }));
  VoxelCell* c = v.GetCell(last.x, last.y, last.z, false, false);
  c->EnsureVoxels(3, false);
  c->Voxels[0] = 65535;
  v.RestoreUndoCopies();
  c = v.GetCell(last.x, last.y, last.z, false, false);
  EXPECT_EQ(c->Voxels, nullptr);
  EXPECT_EQ(c->UndoCopy, nullptr);
  EXPECT_EQ(v.GetVoxel(last.x * 8, last.y * 8, 0), 0);
}

TEST(CellLayout, SampleFieldInterpolatesInsideACell) {
  VolumeObject v;
  v.PutVoxel(8, 8, 8, 1000);
  v.PutVoxel(9, 8, 8, 3000);
  EXPECT_FLOAT_EQ(v.SampleField(8, 8, 8), 1000);
  EXPECT_FLOAT_EQ(v.SampleField(8.5f, 8, 8), 2000);
  EXPECT_FLOAT_EQ(v.SampleField(8.25f, 8, 8), 1500);
  EXPECT_FLOAT_EQ(v.SampleField(8, 8.5f, 8), 500);  // towards an empty neighbour
  EXPECT_FLOAT_EQ(v.SampleField(7.5f, 8, 8), 500);  // from the cell below, through its far plane
}

TEST(CellLayout, SyncBordersCopiesTheUpperNeighboursLowPlanes) {
  VolumeObject v;
  VoxelCell* up = v.GetCell(1, 0, 0, true, false);
  up->EnsureVoxels(3, false);
  for (int z = 0; z < 9; ++z)
    for (int y = 0; y < 9; ++y) up->Voxels[LatticeIndex(0, y, z)] = (uint16_t)(100 + y + 9 * z);
  up->RefreshStatus(true, false);
  VoxelCell* c = v.GetCell(0, 0, 0, true, false);
  v.SyncBorders(0, 0, 0);
  ASSERT_NE(c->Voxels, nullptr);
  for (int z = 0; z < 8; ++z)
    for (int y = 0; y < 8; ++y) EXPECT_EQ(c->Voxels[LatticeIndex(8, y, z)], 100 + y + 9 * z);
  EXPECT_EQ(c->Voxels[LatticeIndex(7, 3, 3)], 0);
  // A volume of the caller fills in where this one has no neighbour.
  VolumeObject other, empty;
  VoxelCell* solid = other.GetCell(0, 1, 0, true, false);
  solid->Fill = 65535;
  VoxelCell* e = empty.GetCell(0, 0, 0, true, false);
  empty.SyncBorders(0, 0, 0, &other);
  ASSERT_NE(e->Voxels, nullptr);
  EXPECT_EQ(e->Voxels[LatticeIndex(3, 8, 4)], 65535);
  EXPECT_EQ(e->Voxels[LatticeIndex(3, 7, 4)], 0);
}

TEST(CellLayout, SwapCellContentsExchangesVoxelsAcrossVolumes) {
  VolumeObject a, b;
  a.PutVoxel(3, 3, 3, 50000);
  VoxelCell* cb = b.GetCell(-5, 0, 0, true, false);
  cb->Fill = 65535;
  cb->Flags = kCellAbove;
  VolumeObject::SwapCellContents(a, {0, 0, 0}, b, {-5, 0, 0});
  EXPECT_EQ(b.GetVoxel(-40 + 3, 3, 3), 50000);
  EXPECT_EQ(b.GetVoxel(-40, 0, 0), 0);
  EXPECT_EQ(a.GetVoxel(0, 0, 0), 65535);
  EXPECT_EQ(a.GetCell(0, 0, 0, false, false)->Voxels, nullptr);  // uniform after the swap
}

TEST(CellLayout, MemoryReportUsesTheUsualWords) {
  VolumeObject v;
  FillVolume(v, SphereShape(0, 0, 0, 20));
  v.UpdateSurface();
  const std::string r = v.MemoryReport();
  for (const char* w : {"\nMemory usage report:\nCells: ", "\nEmpty cells: ", "\nSurfaceCells: ", "\nFilled cells: ",
                        "Vertex cash: ", "Index cash: ", "OcTree: ", "Extra data: ", "\n\nTotal: ", "vpool: ",
                        "cpool: ", "apool: ", "Vertices usage stats:\n001 : ", "Triangles usage stats:", "Above: "})
    EXPECT_NE(r.find(w), std::string::npos) << w;
}
