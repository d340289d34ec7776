// Voxel access of a volume: reads through a small cell cache, single-voxel
// writes that keep the shared far planes consistent, the interpolated field
// sample, and the dirty marks that drive UpdateSurface.
#include "MC/mcubes/VolumeObject.h"

#include <cmath>

VoxelCell* VolumeObject::LookUp(int cx, int cy, int cz, CellCache* cache) {
  if (cache && cache->Valid && cache->cx == cx && cache->cy == cy && cache->cz == cz) return cache->Cell;
  VoxelCell** found = Cells.Find(cx, cy, cz);
  VoxelCell* cell = found ? *found : nullptr;
  if (cache) *cache = {cx, cy, cz, cell, true};
  return cell;
}

uint16_t VolumeObject::GetVoxel(int x, int y, int z, CellCache* cache, bool fromUndo) {
  const VoxelCell* cell = LookUp(x >> 3, y >> 3, z >> 3, cache);
  if (!cell) return 0;
  if (fromUndo && cell->UndoCopy) cell = cell->UndoCopy;
  if (!cell->Voxels || (cell->Flags & kCellLazyFill)) return cell->Fill;
  return cell->Voxels[LatticeIndex(x & 7, y & 7, z & 7)];
}

uint16_t* VolumeObject::OpenForWrite(int cx, int cy, int cz, bool keepUndo, CellCache* cache) {
  VoxelCell* cell = nullptr;
  if (cache && cache->Valid && cache->cx == cx && cache->cy == cy && cache->cz == cz && cache->Cell &&
      cache->Cell->Voxels && !(cache->Cell->Flags & kCellLazyFill) && (!keepUndo || cache->Cell->UndoCopy)) {
    cell = cache->Cell;  // already opened and marked by an earlier write
  } else {
    cell = GetCell(cx, cy, cz, true, keepUndo);
    MarkDirty(cx, cy, cz, false);
    cell->EnsureVoxels(3, false);
    if (cache) *cache = {cx, cy, cz, cell, true};
  }
  cell->Flags |= kCellStale | kCellChanged;
  return cell->Voxels;
}

uint16_t* VolumeObject::RefVoxel(int x, int y, int z, CellCache* cache) {
  static uint16_t dummy;
  uint16_t* v = OpenForWrite(x >> 3, y >> 3, z >> 3, false, cache);
  if (!v) return &dummy;
  return v + LatticeIndex(x & 7, y & 7, z & 7);
}

void VolumeObject::PutVoxel(int x, int y, int z, uint16_t value, CellCache* cache) {
  const int cx = x >> 3, cy = y >> 3, cz = z >> 3;
  const int lx = x & 7, ly = y & 7, lz = z & 7;
  OpenForWrite(cx, cy, cz, true, cache)[LatticeIndex(lx, ly, lz)] = value;
  // A point on a low face, edge or corner is also the far plane of the cells
  // behind it.
  for (int m = 1; m < 8; ++m) {
    const int dx = (m & 1) ? 1 : 0, dy = (m & 2) ? 1 : 0, dz = (m & 4) ? 1 : 0;
    if ((dx && lx) || (dy && ly) || (dz && lz)) continue;
    uint16_t* v = OpenForWrite(cx - dx, cy - dy, cz - dz, true, nullptr);
    v[LatticeIndex(dx ? 8 : lx, dy ? 8 : ly, dz ? 8 : lz)] = value;
  }
}

float VolumeObject::SampleField(float fx, float fy, float fz, bool fromUndo) {
  const float f[3] = {fx, fy, fz};
  int c[3], i[3];
  float r[3];
  for (int a = 0; a < 3; ++a) {
    float q = f[a] / 8.0f, fl = std::floor(q);
    c[a] = (int)fl;
    float t = 8.0f * (q - fl);
    i[a] = (int)t;
    if (i[a] > 7) i[a] = 7;  // rounding of q - fl can reach 8
    r[a] = t - (float)i[a];
  }
  VoxelCell** found = Cells.Find(c[0], c[1], c[2]);
  if (!found) return 0.f;
  const VoxelCell* cell = *found;
  if (fromUndo && cell->UndoCopy) cell = cell->UndoCopy;
  if (!cell->Voxels || (cell->Flags & kCellLazyFill)) return cell->Fill;
  const uint16_t* v = cell->Voxels + LatticeIndex(i[0], i[1], i[2]);
  if (r[0] == 0.f && r[1] == 0.f && r[2] == 0.f) return *v;
  const float c000 = v[0], c100 = v[1], c010 = v[9], c110 = v[10];
  const float c001 = v[81], c101 = v[82], c011 = v[90], c111 = v[91];
  const float x00 = c000 + (c100 - c000) * r[0], x10 = c010 + (c110 - c010) * r[0];
  const float x01 = c001 + (c101 - c001) * r[0], x11 = c011 + (c111 - c011) * r[0];
  const float y0 = x00 + (x10 - x00) * r[1], y1 = x01 + (x11 - x01) * r[1];
  return y0 + (y1 - y0) * r[2];
}

void VolumeObject::MarkDirty(int cx, int cy, int cz, bool surfaceIsCurrent) {
  if (VoxelCell** found = Cells.Find(cx, cy, cz)) {
    VoxelCell* cell = *found;
    cell->Flags |= kCellChanged;
    cell->Stamp = (uint16_t)(cell->Stamp - 1234);
    // No redraw rectangle exists yet: the view always takes the full redraw.
  }
  DirtyCells.Set(cx, cy, cz, surfaceIsCurrent ? 2 : 1);
  DirtyGroups.Set(GroupOf(cx), GroupOf(cy), GroupOf(cz), 1);
  ViewDirtyCells.Set(cx, cy, cz, 1);
}
