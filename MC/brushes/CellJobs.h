// The common road of every voxel brush from new values to the cell store:
// each listed cell's 729 new values are computed on worker threads into a
// scratch block while every cell still holds its old values (so neighbours and
// the old field read the state before the operation); then, on the calling
// thread, the changed cells get their undo copy at first touch, take the new
// values and are marked dirty, and the lattice points they share with cells
// the operation left alone take the new values there too.
#pragma once
#include <cstdint>
#include <functional>
#include <vector>

#include "MC/mcubes/VolumeObject.h"

// The old value of lattice point i of a cell, or 0 for a missing cell.
inline uint16_t OldValue(const VoxelCell* cell, int i) {
  if (!cell) return 0;
  return (cell->Voxels && !(cell->Flags & kCellLazyFill)) ? cell->Voxels[i] : cell->Fill;
}

// compute(key, cell or null, out[729]) returns whether any value differs from
// the old one. Returns the number of changed cells. threads 0 = UsingProcessors().
int RunCellJobs(VolumeObject& volume, const std::vector<CellKey>& keys,
                const std::function<bool(const CellKey& key, const VoxelCell* cell, uint16_t* out)>& compute,
                int threads = 0);

// Writes precomputed values (729 per key, in the keys' order) through
// RunCellJobs: the cells whose values differ are changed with undo.
int CommitCellValues(VolumeObject& volume, const std::vector<CellKey>& keys, const std::vector<uint16_t>& values,
                     int threads = 0);

// Refreshes the status of every cell among the keys and their 26 neighbours
// that single-voxel writes (PutVoxel) left stale.
void RefreshStaleAround(VolumeObject& volume, const std::vector<CellKey>& keys);

// The cell keys of a box in voxels, in a fixed order.
std::vector<CellKey> CellsOfBox(const float mn[3], const float mx[3]);
