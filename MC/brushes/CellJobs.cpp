// Parallel compute, commit with undo, and border sealing (see CellJobs.h).
#include "MC/brushes/CellJobs.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "ClassEngine/Threader.h"

std::vector<CellKey> CellsOfBox(const float mn[3], const float mx[3]) {
  int lo[3], hi[3];
  for (int a = 0; a < 3; ++a) {
    lo[a] = (int)std::floor(mn[a] / 8.f);
    hi[a] = (int)std::floor(mx[a] / 8.f);
  }
  std::vector<CellKey> keys;
  keys.reserve((size_t)(hi[0] - lo[0] + 1) * (hi[1] - lo[1] + 1) * (hi[2] - lo[2] + 1));
  for (int z = lo[2]; z <= hi[2]; ++z)
    for (int y = lo[1]; y <= hi[1]; ++y)
      for (int x = lo[0]; x <= hi[0]; ++x) keys.push_back({x, y, z});
  return keys;
}

bool SealCellBorders(VolumeObject& volume, const CellKey& k) {
  VoxelCell** found = volume.Cells.Find(k.x, k.y, k.z);
  const VoxelCell* cell = found ? *found : nullptr;
  bool differs = false;
  for (int m = 1; m < 8 && !differs; ++m) {
    const int dx = m & 1, dy = (m >> 1) & 1, dz = (m >> 2) & 1;
    VoxelCell** nf = volume.Cells.Find(k.x + dx, k.y + dy, k.z + dz);
    const VoxelCell* n = nf ? *nf : nullptr;
    if (!cell && !n) continue;
    const int x0 = dx ? 8 : 0, x1 = dx ? 8 : 7, y0 = dy ? 8 : 0, y1 = dy ? 8 : 7, z0 = dz ? 8 : 0, z1 = dz ? 8 : 7;
    for (int z = z0; z <= z1 && !differs; ++z)
      for (int y = y0; y <= y1 && !differs; ++y)
        for (int x = x0; x <= x1; ++x)
          if (OldValue(cell, LatticeIndex(x, y, z)) != OldValue(n, LatticeIndex(dx ? 0 : x, dy ? 0 : y, dz ? 0 : z))) {
            differs = true;
            break;
          }
  }
  if (!differs) return false;
  volume.GetCell(k.x, k.y, k.z, true, true);
  volume.SyncBorders(k.x, k.y, k.z);
  volume.MarkDirty(k.x, k.y, k.z, false);
  return true;
}

int RunCellJobs(VolumeObject& volume, const std::vector<CellKey>& keys,
                const std::function<bool(const CellKey&, const VoxelCell*, uint16_t*)>& compute, int threads) {
  if (keys.empty()) return 0;
  // Reused between operations: a stroke runs many of them per frame.
  static thread_local std::vector<uint16_t> scratch;
  static thread_local std::vector<VoxelCell*> cells;
  static thread_local std::vector<uint8_t> changed;
  const size_t n = keys.size();
  if (scratch.size() < n * kCellVoxels) scratch.resize(n * kCellVoxels);
  cells.assign(n, nullptr);
  changed.assign(n, 0);
  for (size_t i = 0; i < n; ++i) {
    VoxelCell** f = volume.Cells.Find(keys[i].x, keys[i].y, keys[i].z);
    cells[i] = f ? *f : nullptr;
  }
  // Plain pointers: the thread-local buffers belong to this thread only.
  uint16_t* base = scratch.data();
  VoxelCell* const* cellOf = cells.data();
  uint8_t* changedOf = changed.data();
  // Workers only read the map and the old arrays and write their own scratch.
  ParallelRange(0, (int)n, [&](int first, int last) {
    for (int i = first; i < last; ++i)
      changedOf[i] = compute(keys[i], cellOf[i], base + (size_t)i * kCellVoxels) ? 1 : 0;
  }, threads > 0 ? threads : UsingProcessors());

  int count = 0;
  std::vector<CellKey> done;
  CellKeyMap<int> doneSet(4099);
  for (size_t i = 0; i < n; ++i) {
    if (!changed[i]) continue;
    const CellKey& k = keys[i];
    VoxelCell* cell = volume.GetCell(k.x, k.y, k.z, true, true);  // undo copy at first touch
    if (!cell->Voxels) cell->Voxels = (uint16_t*)volume.vpool.Allocate();
    std::memcpy(cell->Voxels, base + i * kCellVoxels, kCellVoxels * sizeof(uint16_t));
    cell->Flags &= ~kCellLazyFill;
    cell->RefreshStatus(true, false);
    volume.MarkDirty(k.x, k.y, k.z, false);
    done.push_back(k);
    doneSet.Set(k.x, k.y, k.z, 1);
    ++count;
  }
  // A cell whose upper neighbour was not listed may disagree with it on the
  // shared plane, and an unlisted cell below a changed one certainly does.
  for (const CellKey& k : done) SealCellBorders(volume, k);
  for (const CellKey& k : done)
    for (int m = 1; m < 8; ++m) {
      const CellKey l{k.x - (m & 1), k.y - ((m >> 1) & 1), k.z - ((m >> 2) & 1)};
      if (!doneSet.Find(l.x, l.y, l.z)) SealCellBorders(volume, l);
    }
  return count;
}
