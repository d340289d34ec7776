// Mirroring a volume in place: flips through the lattice origin along chosen
// axes (a flip is its own inverse), and MakeSymm, which copies the side of a
// plane that holds the volume's weight onto the other side.
#pragma once

class VolumeObject;

// Mirrors the volume along the axes of flipAxes (bits 0..2 = x, y, z): the
// lattice point p goes to -p on each flipped axis.
void VoxFlip(VolumeObject& volume, int flipAxes);
// Symmetry through the plane x = 0 (axis 0), y = 0 or z = 0 of the volume's
// own lattice: the side holding the centre of gravity of the cell keys is
// mirrored over the other side. False for a bad axis.
bool MakeSymm(VolumeObject& volume, int axis);
