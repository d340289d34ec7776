// LatticeSnapshot: a volume's values copied aside (see LatticeSnapshot.h).
#include "MC/tree/LatticeSnapshot.h"

#include "MC/mcubes/VolumeObject.h"

LatticeSnapshot::LatticeSnapshot(VolumeObject& volume) {
  volume.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    Cell& s = cells_[Key(k.x, k.y, k.z)];
    s.Fill = c->Fill;
    s.Flags = c->Flags;
    if (c->Voxels && !(c->Flags & kCellLazyFill)) s.Voxels.assign(c->Voxels, c->Voxels + kCellVoxels);
    keys_.push_back(k);
  });
}

const LatticeSnapshot::Cell* LatticeSnapshot::Find(int cx, int cy, int cz) const {
  auto it = cells_.find(Key(cx, cy, cz));
  return it == cells_.end() ? nullptr : &it->second;
}

uint16_t LatticeSnapshot::Value(int x, int y, int z) const {
  const Cell* c = Find(x >> 3, y >> 3, z >> 3);
  if (!c) return 0;
  return c->Voxels.empty() ? c->Fill : c->Voxels[LatticeIndex(x & 7, y & 7, z & 7)];
}
