// Removal of floating specks after a stroke (see DropSpecks.h).
#include "MC/brushes/DropSpecks.h"

#include <cstdint>
#include <unordered_map>

namespace {
// A speck holds fewer inside points than one cell.
constexpr size_t kSpeckPoints = 512;
// What a lowered point becomes: half a band below the surface.
constexpr uint16_t kLowered = 24576;

int64_t Pack(int x, int y, int z) {
  return ((int64_t)(x + (1 << 20)) << 42) | ((int64_t)(y + (1 << 20)) << 21) | (int64_t)(z + (1 << 20));
}
}  // namespace

int DropSpecks(VolumeObject& v, const std::vector<CellKey>& cells) {
  // Only cells the surface passes through can hold a speck's surface.
  CellKeyMap<int> region(4099);
  for (const CellKey& k : cells) {
    VoxelCell** c = v.Cells.Find(k.x, k.y, k.z);
    if (c && (*c)->HasSurfaceCrossing() && (*c)->Voxels) region.Set(k.x, k.y, k.z, 1);
  }
  if (region.Count() == 0) return 0;
  // 1: in a group that stays, 2: lowered, 3: in the group being walked.
  std::unordered_map<int64_t, uint8_t> state;
  std::vector<int> queue, group;
  CellCache cache;
  int lowered = 0;
  std::vector<CellKey> keys;
  region.ForEach([&](const CellKey& k, int&) { keys.push_back(k); });
  for (const CellKey& k : keys)
    for (int z = 0; z < 8; ++z)
      for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) {
          const int px = k.x * 8 + x, py = k.y * 8 + y, pz = k.z * 8 + z;
          if (v.GetVoxel(px, py, pz, &cache) < kSurfaceLevel || state.count(Pack(px, py, pz))) continue;
          // Walk the group by face contact until it leaves the region or grows past a cell.
          group.clear();
          queue.assign({px, py, pz});
          state[Pack(px, py, pz)] = 3;
          bool keep = false;
          for (size_t head = 0; head < queue.size() && !keep; head += 3) {
            const int qx = queue[head], qy = queue[head + 1], qz = queue[head + 2];
            group.insert(group.end(), {qx, qy, qz});
            if (group.size() / 3 >= kSpeckPoints) keep = true;
            static const int kStep[6][3] = {{1, 0, 0}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, -1}};
            for (const auto& s : kStep) {
              const int nx = qx + s[0], ny = qy + s[1], nz = qz + s[2];
              if (v.GetVoxel(nx, ny, nz, &cache) < kSurfaceLevel) continue;
              if (!region.Find(nx >> 3, ny >> 3, nz >> 3)) {
                keep = true;  // joined to solid beyond the stroke's cells
                break;
              }
              const auto [it, fresh] = state.try_emplace(Pack(nx, ny, nz), 3);
              if (fresh) {
                queue.insert(queue.end(), {nx, ny, nz});
              } else if (it->second == 1) {
                keep = true;  // touches a group that stays
                break;
              }
            }
          }
          // Everything reached belongs to the same group, walked or not.
          for (size_t i = 0; i < queue.size(); i += 3) state[Pack(queue[i], queue[i + 1], queue[i + 2])] = keep ? 1 : 2;
          if (keep) continue;
          for (size_t i = 0; i < group.size(); i += 3) {
            v.PutVoxel(group[i], group[i + 1], group[i + 2], kLowered, &cache);
            ++lowered;
          }
        }
  if (lowered)
    for (const CellKey& k : keys)
      for (int dz = -1; dz <= 0; ++dz)
        for (int dy = -1; dy <= 0; ++dy)
          for (int dx = -1; dx <= 0; ++dx) {
            VoxelCell** c = v.Cells.Find(k.x + dx, k.y + dy, k.z + dz);
            if (c && ((*c)->Flags & kCellStale)) (*c)->RefreshStatus(true, false);
          }
  return lowered;
}
