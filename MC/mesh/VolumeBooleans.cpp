// Volume booleans and rebuilding through a matrix (see VolumeBooleans.h).
#include "MC/mesh/VolumeBooleans.h"

#include "MC/mcubes/VolumeObject.h"
#include "MC/mesh/MergeIntoVolume.h"
#include "MC/mesh/OffsetSurface.h"

namespace {

void Boolean(VolumeObject& source, VolumeObject& target, const float* matrix, int mode, bool keepUndo) {
  TriangleCollector collector;
  CollectSurface(source, matrix, 0, collector);
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
  CollectSurface(volume, matrix, 0, collector);
  volume.ClearVoxels();
  MergeIntoVolume(collector, volume, kMergeUnion, false);
}
