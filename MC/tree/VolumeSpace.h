// Changing the lattice a volume lives on while its shape stays where it is in
// the scene: rebuilding it so its Transform is a plain uniform scale, and a
// copy at half the resolution.
#pragma once

class VolumeObject;
class VoxTreeBranch;
class VoxVisualTree;

// The smallest length of the volume's three transformed unit axes.
float SmallestAxisScale(const VolumeObject& volume);
// Rebuilds the volume through its own surface so that its Transform becomes
// Scale(s, s, s), s the smallest axis scale: turns, shears and shifts move
// into the lattice. False (nothing changed) for a degenerate transform.
bool ToGlobalSpace(VolumeObject& volume);
// A new volume at half the resolution (the source's Transform followed by
// Scale(2)) holding the source's shape, in a row behind the source named
// with the suffix "_degrade"; its gizmo at half the source's. Null for a
// folder row.
VoxTreeBranch* CloneDegrade(VoxVisualTree& tree, VoxTreeBranch* row);
