// Offsetting a volume's own surface along its normals and merging the result
// back: extrusion (the solid grown outward) and the surface hull (a wall of
// chosen thickness left inside the old surface).
#pragma once
#include <cstdint>
#include <functional>

class TriangleCollector;
class VolumeObject;

// Told how far a long offset is (done of total); true stops it.
using OffsetProgress = std::function<bool(int64_t done, int64_t total)>;
class VolumeObject;

// Adds the volume's surface (updated first) to the collector, each vertex
// moved `offset` voxels outward, then placed by `matrix` (row vectors; null
// for none).
void CollectSurface(VolumeObject& volume, const float* matrix, float offset, TriangleCollector& collector);

// Every surface vertex moves `distance` voxels outward (negative: inward);
// the moved triangles merge with `mode` (see MergeIntoVolume.h), into an
// emptied volume when clearFirst. With `progress`, a stop there gives the
// volume back as it was (it needs keepUndo) and returns false.
bool OffsetSurface(VolumeObject& volume, float distance, int mode, bool clearFirst, bool keepUndo = false,
                   const OffsetProgress& progress = nullptr);

// The solid replaced by its outer offset.
bool ExtrudeVO(VolumeObject& volume, float extrusion, bool keepUndo = false, const OffsetProgress& progress = nullptr);

// The inner offset subtracted: a hollow shell with walls `edgeThickness` thick.
bool MakeSurfHull(VolumeObject& volume, float edgeThickness, bool keepUndo = false,
                  const OffsetProgress& progress = nullptr);
