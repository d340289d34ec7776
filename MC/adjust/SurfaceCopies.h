// Commands that rebuild a volume from copies of its own surface, and the
// bas-relief flattening. Axial clones turn the surface about an axis, the
// wrap chains copies by a repeated step; both gather every copy's triangles
// in one collector, empty the volume's visible cells and merge the collector
// back (union). Everything is in the volume's object space, and every cell
// changed keeps its undo copy.
#pragma once
#include <vector>

#include "render/Math3D.h"

class VolumeObject;

// Merges the visible surface, moved by each matrix (object space, row
// vectors), into the emptied volume. False (nothing changed) when the volume
// has no surface or the list is empty.
bool MergeSurfaceCopies(VolumeObject& volume, const std::vector<comms::cMat4>& matrices);

// The matrices of `count` copies turned about the axis through `point` along
// `axis`, copy i by 360 i / count degrees (the first is the identity).
std::vector<comms::cMat4> AxialCloneMatrices(const float point[3], const float axis[3], int count);

// The wrap's chain: copy 0 turned by `startAngle` about the axis, each next
// the last times a step. Bend: the step turns by (endAngle - startAngle) /
// segments degrees and moves `forward` along the axis; twist: it turns by
// `twistAngle` and moves `forward` along the axis. With an overlap of p
// percent the step's turn and move are (1 - p / 100) of that, so each copy
// covers part of the place of the one before it.
struct WrapChain {
  bool Twist = false;
  int Segments = 8;
  float StartAngle = 0, EndAngle = 360, Forward = 0, TwistAngle = 45, Overlap = 0;
};
std::vector<comms::cMat4> WrapMatrices(const WrapChain& chain, const float point[3], const float axis[3]);

// Bas-relief: the plane through `o` facing `second`; each vertex in front of
// it (s = dot(p - o, n) > 0) moves back by 0.995 s when its normal faces
// along n, else by (1 - coef) s. Then ApplyMC carries the moved cells into
// the voxels. Returns the number of vertices moved.
int FlattenBarelief(VolumeObject& volume, const float o[3], const float second[3], float coef);
