// Booleans between volumes and rebuilding through a matrix, all through the
// merge: the source's surface triangles go into the target's lattice.
#pragma once

class VolumeObject;

// The source's surface (updated first), placed by `matrix` (row vectors,
// source lattice to target lattice; null for none), united with, subtracted
// from or intersected with the target. The source is left as it was.
void MergeTo(VolumeObject& source, VolumeObject& target, const float* matrix = nullptr, bool keepUndo = false);
void SubtractFrom(VolumeObject& source, VolumeObject& target, const float* matrix = nullptr, bool keepUndo = false);
void IntersectWith(VolumeObject& source, VolumeObject& target, const float* matrix = nullptr,
                   bool keepUndo = false);

// Rebuilds the volume from its own surface moved by `matrix`: turning,
// scaling or shearing a volume on its own lattice.
void RebuildThrough(VolumeObject& volume, const float* matrix);
