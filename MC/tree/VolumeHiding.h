// Hidden parts of a volume: cells whose triangles are left out of drawing,
// picking and export (cell flag kCellHidden), shown again, inverted, or split
// off into a volume of their own.
#pragma once

class VolumeObject;
class VoxTreeBranch;
class VoxVisualTree;

// Clears the hidden flag of every cell; the number of cells shown again.
int UnhideAll(VolumeObject& volume);
// Hidden cells become shown and shown ones hidden.
void InvertHide(VolumeObject& volume);
// Removes the hidden cells from the volume; the number removed.
int DeleteHidden(VolumeObject& volume);
// Moves the hidden cells of the row's volume into a new volume, shown, in a
// new row behind it named with the suffix "_Hidden"; null when nothing is
// hidden.
VoxTreeBranch* SeparateHidden(VoxVisualTree& tree, VoxTreeBranch* row);
