// Offsetting a volume's own surface along its normals and merging the result
// back: extrusion (the solid grown outward) and the surface hull (a wall of
// chosen thickness left inside the old surface).
#pragma once

class TriangleCollector;
class VolumeObject;

// Adds the volume's surface (updated first) to the collector, each vertex
// moved `offset` voxels outward, then placed by `matrix` (row vectors; null
// for none).
void CollectSurface(VolumeObject& volume, const float* matrix, float offset, TriangleCollector& collector);

// Every surface vertex moves `distance` voxels outward (negative: inward);
// the moved triangles merge with `mode` (see MergeIntoVolume.h), into an
// emptied volume when clearFirst.
void OffsetSurface(VolumeObject& volume, float distance, int mode, bool clearFirst, bool keepUndo = false);

// The solid replaced by its outer offset.
void ExtrudeVO(VolumeObject& volume, float extrusion, bool keepUndo = false);

// The inner offset subtracted: a hollow shell with walls `edgeThickness` thick.
void MakeSurfHull(VolumeObject& volume, float edgeThickness, bool keepUndo = false);
