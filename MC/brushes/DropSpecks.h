// Specks after a stroke: a brush that raises or cuts at a grazing angle can
// leave a crumb of solid floating free of the rest. At pen up the inside
// lattice points of the stroke's cells are grouped by face contact, and a
// group that touches nothing beyond those cells and holds no more points
// than one cell is lowered below the surface, so it leaves no triangles.
#pragma once
#include <vector>

#include "MC/mcubes/VolumeObject.h"

// Returns the number of lattice points lowered. Changed cells keep undo
// copies and are marked dirty like any brush's.
int DropSpecks(VolumeObject& volume, const std::vector<CellKey>& cells);
