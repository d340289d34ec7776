// The skin merge: a shell of chosen thickness around a mesh that need not be
// closed (a sheet, a scan with holes), merged into a volume.
#pragma once

namespace comms {
class cMesh;
}
class VolumeObject;

// Each polygon (as a fan) gives an outer triangle at p + n outSkin and a
// reversed inner one at p - n inSkin, n the vertex normal after `matrix`
// (row vectors, into the volume's lattice; null for none); along each edge
// used by one polygon only, two side triangles close the shell. part -1
// takes every object. The shell merges with `mode` (see MergeIntoVolume.h).
void MergeMeshSkin(VolumeObject& volume, const comms::cMesh& mesh, const float* matrix, int mode, float inSkin,
                   float outSkin, int part = -1, bool keepUndo = false);
