// The hiding tools of the voxel room. "Hide" moves density out of a volume
// into its invisible companion `_HiddenSpace` (same transform, a hidden row
// of the layer tree, saved and undone like any volume) and back; cell hiding
// sets or clears the hidden flag of whole cells, which leaves their triangles
// out of drawing, picking and export without touching a voxel.
#pragma once
#include "MC/brushes/BrushFields.h"

class VolumeObject;
class VoxVisualTree;

// The name of the companion's row, under the row of the volume it serves.
constexpr const char* kHiddenSpaceName = "_HiddenSpace";

// The companion of `volume` in the tree (its child row named _HiddenSpace),
// made invisible with the volume's transform when `create` is set; null
// without a tree or, unless created, when there is none yet.
VolumeObject* HiddenSpaceOf(VoxVisualTree* tree, VolumeObject& volume, bool create);

// One stroke segment of "Hide": inside the capsule from a to b (radii a.R,
// b.R) density leaves the volume for the companion; with `back` it comes
// back from the companion. Returns the cells changed in both. Undo copies
// stay for the caller's record.
int HideStroke(VolumeObject& volume, VolumeObject& companion, const BrushEnd& a, const BrushEnd& b, bool back,
               int threads = 0);

// Hides (or shows again) every cell whose centre lies within radius + 6 of
// `centre`, object space. Returns the cells whose flag changed.
int HideCellsBySphere(VolumeObject& volume, const float centre[3], float radius, bool unhide);
