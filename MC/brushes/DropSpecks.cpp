// Removal of floating specks after a stroke (see DropSpecks.h).
#include "MC/brushes/DropSpecks.h"

#include <cstdint>

#include "MC/brushes/CellJobs.h"

namespace {
// A speck holds fewer inside points than one cell.
constexpr size_t kSpeckPoints = 512;
// What a lowered point becomes: half a band below the surface.
constexpr uint16_t kLowered = 24576;
// Per lattice point of the region: not yet seen, in a group that stays,
// lowered, in the group being walked.
enum : uint8_t { kUnseen = 0, kStays = 1, kLoweredPoint = 2, kWalking = 3 };
}  // namespace

int DropSpecks(VolumeObject& v, const std::vector<CellKey>& cells) {
  // Only cells the surface passes through can hold a speck's surface; each
  // owns its 512 lattice points (local 0..7).
  CellKeyMap<int> index(4099);
  std::vector<CellKey> keys;
  // The region's arrays, read directly: lowering a point writes into the same
  // array (the cells already have one), so the reads see it.
  std::vector<const uint16_t*> arrays;
  for (const CellKey& k : cells) {
    VoxelCell** c = v.Cells.Find(k.x, k.y, k.z);
    if (!c || !(*c)->HasSurfaceCrossing() || !(*c)->Voxels || ((*c)->Flags & kCellLazyFill) ||
        index.Find(k.x, k.y, k.z))
      continue;
    index.Set(k.x, k.y, k.z, (int)keys.size());
    keys.push_back(k);
    arrays.push_back((*c)->Voxels);
  }
  if (keys.empty()) return 0;
  std::vector<uint8_t> state(keys.size() * 512, kUnseen);
  int lastCell[3] = {0, 0, 0}, lastIndex = -2;
  // The point's place in `state`, or -1 outside the region.
  auto slot = [&](int x, int y, int z) {
    const int cx = x >> 3, cy = y >> 3, cz = z >> 3;
    if (lastIndex == -2 || cx != lastCell[0] || cy != lastCell[1] || cz != lastCell[2]) {
      const int* f = index.Find(cx, cy, cz);
      lastIndex = f ? *f : -1;
      lastCell[0] = cx, lastCell[1] = cy, lastCell[2] = cz;
    }
    return lastIndex < 0 ? -1 : lastIndex * 512 + (((z & 7) * 8 + (y & 7)) * 8 + (x & 7));
  };
  std::vector<int> queue;
  CellCache cache;
  int lowered = 0;
  for (size_t ci = 0; ci < keys.size(); ++ci) {
    const CellKey k = keys[ci];
    for (int l = 0; l < 512; ++l) {
      const int x = l & 7, y = (l >> 3) & 7, z = l >> 6;
      if (state[ci * 512 + l] != kUnseen) continue;
      const int px = k.x * 8 + x, py = k.y * 8 + y, pz = k.z * 8 + z;
      if (arrays[ci][LatticeIndex(x, y, z)] < kSurfaceLevel) continue;
      // Walk the group by face contact until it reaches solid beyond the
      // region or a group that stays, or grows past a cell.
      queue.assign({px, py, pz});
      state[ci * 512 + l] = kWalking;
      bool keep = false;
      size_t head = 0;
      for (; head < queue.size() && !keep; head += 3) {
        if (head / 3 >= kSpeckPoints) {
          keep = true;
          break;
        }
        const int qx = queue[head], qy = queue[head + 1], qz = queue[head + 2];
        static const int kStep[6][3] = {{1, 0, 0}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, -1}};
        for (const auto& s : kStep) {
          const int nx = qx + s[0], ny = qy + s[1], nz = qz + s[2];
          const int at = slot(nx, ny, nz);
          const uint16_t value = at >= 0 ? arrays[at >> 9][LatticeIndex(nx & 7, ny & 7, nz & 7)] : v.GetVoxel(nx, ny, nz, &cache);
          if (value < kSurfaceLevel) continue;
          if (at < 0 || state[at] == kStays) {
            keep = true;
            break;
          }
          if (state[at] == kUnseen) {
            state[at] = kWalking;
            queue.insert(queue.end(), {nx, ny, nz});
          }
        }
      }
      // Everything reached belongs to the same group, walked or not.
      for (size_t i = 0; i < queue.size(); i += 3) state[slot(queue[i], queue[i + 1], queue[i + 2])] = keep ? kStays : kLoweredPoint;
      if (keep) continue;
      for (size_t i = 0; i < queue.size(); i += 3) {
        v.PutVoxel(queue[i], queue[i + 1], queue[i + 2], kLowered, &cache);
        ++lowered;
      }
    }
  }
  if (lowered) RefreshStaleAround(v, keys);
  return lowered;
}
