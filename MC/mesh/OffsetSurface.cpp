// Surface offsets, extrusion and the surface hull (see OffsetSurface.h).
#include "MC/mesh/OffsetSurface.h"

#include "MC/mcubes/VolumeObject.h"
#include "MC/mcubes/WeldedMesh.h"
#include "MC/mesh/MergeIntoVolume.h"

#include <algorithm>
#include <vector>

void CollectSurface(VolumeObject& volume, const float* m, float offset, TriangleCollector& collector) {
  volume.UpdateSurface();
  WeldedMeshBuilder surface;
  volume.ExtractWeldedAll(surface);
  // The surface's normals point into the solid.
  std::vector<float> moved(surface.Positions.size());
  const bool withNormals = surface.Normals.size() == surface.Positions.size();
  for (size_t i = 0; i < moved.size(); ++i)
    moved[i] = surface.Positions[i] - (withNormals && offset != 0 ? surface.Normals[i] * offset : 0.0f);
  if (m)
    for (size_t i = 0; i < moved.size(); i += 3) {
      const float v[3] = {moved[i], moved[i + 1], moved[i + 2]};
      for (int c = 0; c < 3; ++c) moved[i + c] = v[0] * m[c] + v[1] * m[4 + c] + v[2] * m[8 + c] + m[12 + c];
    }
  for (size_t t = 0; t + 2 < surface.Indices.size(); t += 3)
    collector.AddTriangle(&moved[surface.Indices[t] * 3], &moved[surface.Indices[t + 1] * 3],
                          &moved[surface.Indices[t + 2] * 3]);
}

bool OffsetSurface(VolumeObject& volume, float distance, int mode, bool clearFirst, bool keepUndo,
                   const OffsetProgress& progress) {
  TriangleCollector collector;
  CollectSurface(volume, nullptr, distance, collector);
  // Reading the surface is the first tenth of the way; the merge the rest.
  if (progress && progress(1, 10)) return false;
  if (clearFirst && keepUndo) {
    // Every cell is about to be emptied: each keeps its copy for the record.
    std::vector<CellKey> keys;
    volume.Cells.ForEach([&](const CellKey& k, VoxelCell*&) { keys.push_back(k); });
    for (const CellKey& k : keys) volume.GetCell(k.x, k.y, k.z, false, true);
  }
  if (clearFirst) volume.ClearVoxels();
  std::function<bool(int64_t, int64_t)> stop;
  if (progress && keepUndo)
    stop = [&](int64_t done, int64_t total) { return progress(1 + 9 * done / std::max<int64_t>(1, total), 10); };
  if (!MergeIntoVolume(collector, volume, mode, keepUndo, stop)) {
    volume.RestoreUndoCopies();
    volume.UpdateSurface();
    return false;
  }
  return true;
}

bool ExtrudeVO(VolumeObject& volume, float extrusion, bool keepUndo, const OffsetProgress& progress) {
  return OffsetSurface(volume, extrusion, kMergeUnion, true, keepUndo, progress);
}

bool MakeSurfHull(VolumeObject& volume, float edgeThickness, bool keepUndo, const OffsetProgress& progress) {
  return OffsetSurface(volume, -edgeThickness, kMergeSubtract, false, keepUndo, progress);
}
