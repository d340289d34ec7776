// Whole-volume resolution and smoothing commands of the voxel room: doubling
// the lattice (each cell becomes eight, the band re-sampled so the surface
// stays put) and one smoothing pass over every cell near an array.
#pragma once
#include <cstdint>

#include "MC/mcubes/CellKeyMap.h"

class VolumeObject;
class LatticeSnapshot;

// Bytes the doubled volume will take, the figure the user is asked about.
uint64_t IncreaseResolutionCost(VolumeObject& volume);
// Doubles the lattice: undo copies are dropped (the step cannot be undone),
// every cell is replaced by its eight children, and the Transform is
// preceded by Scale(0.5) so the object stays where it was.
void IncreaseResolution(VolumeObject& volume, int threads = 0);
// The eight children (i + 2 j + 4 k) of cell `key` of the old field, each a
// 9 x 9 x 9 lattice written to out[child * 729 ...].
void UpsampleCell(const LatticeSnapshot& old, const CellKey& key, uint16_t* out);
// One smoothing pass (a 3 x 3 x 3 weighted mean) over every cell that has an
// array or touches one; undo copies kept with keepUndo. Marks changed cells.
void SmoothObject(VolumeObject& volume, bool keepUndo = false, int threads = 0);
