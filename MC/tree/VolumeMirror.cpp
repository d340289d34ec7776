// VoxFlip and MakeSymm (see VolumeMirror.h).
#include "MC/tree/VolumeMirror.h"

#include <vector>

#include "MC/mcubes/VolumeObject.h"

namespace {
int KeyAlong(const CellKey& k, int axis) { return axis == 0 ? k.x : axis == 1 ? k.y : k.z; }

// Replaces the cells for which `take` holds by those of `from` at the same
// key (emptied where `from` has none); the others stay.
template <class Pred>
void TakeCells(VolumeObject& into, VolumeObject& from, Pred take) {
  std::vector<CellKey> keys;
  into.Cells.ForEach([&](const CellKey& k, VoxelCell*&) { if (take(k)) keys.push_back(k); });
  from.Cells.ForEach([&](const CellKey& k, VoxelCell*&) {
    if (take(k) && !into.Cells.Find(k.x, k.y, k.z)) keys.push_back(k);
  });
  for (const CellKey& k : keys) {
    VoxelCell* a = into.GetCell(k.x, k.y, k.z, true, false);
    VoxelCell* b = from.GetCell(k.x, k.y, k.z, true, false);
    const uint8_t hidden = b->Flags & kCellHidden;
    VolumeObject::SwapCellContents(into, k, from, k);
    a->Flags = (uint8_t)((a->Flags & ~kCellHidden) | hidden);
  }
  into.DropUndoCopies();
  into.Compact();
}
}  // namespace

void VoxFlip(VolumeObject& volume, int flipAxes) {
  if (!(flipAxes & 7)) return;
  VolumeObject mirrored;
  mirrored.CopyFromMirrored(volume, flipAxes & 7);
  TakeCells(volume, mirrored, [](const CellKey&) { return true; });
}

bool MakeSymm(VolumeObject& volume, int axis) {
  if (axis < 0 || axis > 2) return false;
  double weight = 0;
  long n = 0;
  volume.Cells.ForEach([&](const CellKey& k, VoxelCell*&) {
    weight += KeyAlong(k, axis) * 8 + 4;
    ++n;
  });
  const bool keepPositive = n == 0 || weight >= 0;
  VolumeObject mirrored;
  mirrored.CopyFromMirrored(volume, 1 << axis);
  // Cell c covers lattice 8c .. 8c + 8; cells c >= 0 and their mirrors -c - 1 split the lattice at 0.
  TakeCells(volume, mirrored, [&](const CellKey& k) { return keepPositive ? KeyAlong(k, axis) < 0 : KeyAlong(k, axis) >= 0; });
  return true;
}
