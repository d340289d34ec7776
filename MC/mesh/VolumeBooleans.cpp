// Volume booleans and rebuilding through a matrix (see VolumeBooleans.h).
#include "MC/mesh/VolumeBooleans.h"

#include "MC/mcubes/VolumeObject.h"
#include "MC/mcubes/WeldedMesh.h"
#include "MC/mesh/MergeIntoVolume.h"

namespace {

// The source's triangles, placed, in a collector.
void CollectSurface(VolumeObject& source, const float* matrix, TriangleCollector& collector) {
  source.UpdateSurface();
  WeldedMeshBuilder surface;
  source.ExtractWeldedAll(surface, matrix);
  const float* p = surface.Positions.data();
  for (size_t t = 0; t + 2 < surface.Indices.size(); t += 3)
    collector.AddTriangle(p + surface.Indices[t] * 3, p + surface.Indices[t + 1] * 3, p + surface.Indices[t + 2] * 3);
}

void Boolean(VolumeObject& source, VolumeObject& target, const float* matrix, int mode, bool keepUndo) {
  TriangleCollector collector;
  CollectSurface(source, matrix, collector);
  MergeIntoVolume(collector, target, mode, keepUndo);
}

}  // namespace

void MergeTo(VolumeObject& source, VolumeObject& target, const float* matrix, bool keepUndo) {
  Boolean(source, target, matrix, kMergeUnion, keepUndo);
}

void SubtractFrom(VolumeObject& source, VolumeObject& target, const float* matrix, bool keepUndo) {
  Boolean(source, target, matrix, kMergeSubtract, keepUndo);
}

void IntersectWith(VolumeObject& source, VolumeObject& target, const float* matrix, bool keepUndo) {
  Boolean(source, target, matrix, kMergeIntersect, keepUndo);
}

void RebuildThrough(VolumeObject& volume, const float* matrix) {
  TriangleCollector collector;
  CollectSurface(volume, matrix, collector);
  volume.ClearVoxels();
  MergeIntoVolume(collector, volume, kMergeUnion, false);
}
