// Parallel compute, commit with undo, and border sealing (see CellJobs.h).
#include "MC/brushes/CellJobs.h"

#include <algorithm>
#include <atomic>
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

namespace {
// Bits of a computed cell's status beside kCellBelow and kCellAbove.
constexpr uint8_t kChanged = 0x40, kUniform = 0x80;
static_assert(((kChanged | kUniform) & (kCellBelow | kCellAbove)) == 0);
}  // namespace

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
  // Each thread takes the next cell not yet taken: deep cells of a cut (every
  // row evaluated) and air (rows passed over) cost very differently, and a
  // thread that waits for a core, or the calling thread with its own work
  // around the section, takes fewer. Each cell's values land in its own slot,
  // so who computed it never shows.
  const int workers = std::clamp(std::min(threads > 0 ? threads : UsingProcessors(), (int)n), 1, kMaxThreads);
  std::atomic<size_t> next{0};
  // A changed cell's status (which sides of the surface its values lie on,
  // and whether they are all equal) is found here too, as RefreshStatus would.
  RunSection(workers, [&](int) {
    for (size_t i; (i = next.fetch_add(1, std::memory_order_relaxed)) < n;) {
      uint16_t* out = base + i * kCellVoxels;
      if (!compute(keys[i], cellOf[i], out)) continue;
      const uint16_t first = out[0];
      bool below = false, above = false, uniform = true;
      for (int v = 0; v < kCellVoxels && !(below && above); ++v) {
        (out[v] >= kSurfaceLevel ? above : below) = true;
        uniform &= out[v] == first;
      }
      changedOf[i] = (uint8_t)(kChanged | (below ? kCellBelow : 0) | (above ? kCellAbove : 0) | (uniform ? kUniform : 0));
    }
  });

  int count = 0;
  std::vector<CellKey> done;
  CellKeyMap<int> doneSet(4099);
  for (size_t i = 0; i < n; ++i) {
    if (!changed[i]) continue;
    const CellKey& k = keys[i];
    VoxelCell* cell = volume.GetCell(k.x, k.y, k.z, true, true);  // undo copy at first touch
    const uint16_t* values = base + i * kCellVoxels;
    const uint8_t status = changed[i];
    if (status & kUniform) {
      // All equal: the cell keeps the one value and no array.
      if (cell->Voxels) volume.vpool.Free(cell->Voxels);
      cell->Voxels = nullptr;
    } else {
      if (!cell->Voxels) cell->Voxels = (uint16_t*)volume.vpool.Allocate();
      std::memcpy(cell->Voxels, values, kCellVoxels * sizeof(uint16_t));
    }
    cell->Fill = values[0];
    cell->Flags = (uint8_t)((cell->Flags & ~(kCellLazyFill | kCellStale | kCellUniform | kCellBelow | kCellAbove)) |
                            (status & (kCellBelow | kCellAbove)));
    volume.MarkDirty(k.x, k.y, k.z, false);
    done.push_back(k);
    doneSet.Set(k.x, k.y, k.z, 1);
    ++count;
  }
  // The lattice points a changed cell shares with a cell that was not
  // changed hold the new value in both: the changed cell computed it, so it
  // wins in whichever direction the two lie (a pull from the upper neighbour
  // alone would undo the change where the neighbour is the stale one).
  CellCache cache;
  bool pushed = false;
  for (const CellKey& k : done)
    for (int dz = -1; dz <= 1; ++dz)
      for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx) {
          if ((!dx && !dy && !dz) || doneSet.Find(k.x + dx, k.y + dy, k.z + dz)) continue;
          VoxelCell** nf = volume.Cells.Find(k.x + dx, k.y + dy, k.z + dz);
          const VoxelCell* n = nf ? *nf : nullptr;
          VoxelCell** cf = volume.Cells.Find(k.x, k.y, k.z);
          const VoxelCell* cell = cf ? *cf : nullptr;
          // Local ranges of the shared part in this cell and in the neighbour.
          const int lo[3] = {dx > 0 ? 8 : 0, dy > 0 ? 8 : 0, dz > 0 ? 8 : 0};
          const int hi[3] = {dx < 0 ? 0 : 8, dy < 0 ? 0 : 8, dz < 0 ? 0 : 8};
          const int d[3] = {dx, dy, dz};
          for (int z = lo[2]; z <= hi[2]; ++z)
            for (int y = lo[1]; y <= hi[1]; ++y)
              for (int x = lo[0]; x <= hi[0]; ++x) {
                const uint16_t v = OldValue(cell, LatticeIndex(x, y, z));
                const int l[3] = {x - 8 * d[0], y - 8 * d[1], z - 8 * d[2]};
                if (OldValue(n, LatticeIndex(l[0], l[1], l[2])) == v) continue;
                volume.PutVoxel(k.x * 8 + x, k.y * 8 + y, k.z * 8 + z, v, &cache);
                pushed = true;
              }
        }
  if (pushed) RefreshStaleAround(volume, done);
  return count;
}

int CommitCellValues(VolumeObject& volume, const std::vector<CellKey>& keys, const std::vector<uint16_t>& values,
                     int threads) {
  CellKeyMap<int> index(4099);
  for (size_t i = 0; i < keys.size(); ++i) index.Set(keys[i].x, keys[i].y, keys[i].z, (int)i);
  return RunCellJobs(
      volume, keys,
      [&](const CellKey& k, const VoxelCell* cell, uint16_t* out) {
        const uint16_t* v = &values[size_t(*index.Find(k.x, k.y, k.z)) * kCellVoxels];
        bool differs = false;
        for (int i = 0; i < kCellVoxels; ++i) {
          out[i] = v[i];
          differs |= v[i] != OldValue(cell, i);
        }
        return differs;
      },
      threads);
}

void RefreshStaleAround(VolumeObject& volume, const std::vector<CellKey>& keys) {
  for (const CellKey& k : keys)
    for (int dz = -1; dz <= 1; ++dz)
      for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx) {
          VoxelCell** f = volume.Cells.Find(k.x + dx, k.y + dy, k.z + dz);
          if (f && ((*f)->Flags & kCellStale)) (*f)->RefreshStatus(true, false);
        }
}
