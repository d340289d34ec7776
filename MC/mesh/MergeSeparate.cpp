// Part-by-part merge into separate volumes (see MergeSeparate.h).
#include "MC/mesh/MergeSeparate.h"

#include "MC/mcubes/VolumeObject.h"
#include "MC/mesh/MergeIntoVolume.h"
#include "interchange/Mesh.h"

std::vector<SeparatePart> MergeMeshSeparate(VolumeObject& target, const std::vector<VolumeObject*>& below,
                                            const comms::cMesh& mesh, const float* matrix, bool respectNegative,
                                            bool cutThrough, bool keepUndo) {
  const int parts = (int)mesh.objects.size();
  std::vector<bool> used(parts, false);
  mesh.ForEachPolygon([&](size_t, const comms::cPolyCell& h, const comms::cPolyCell*) {
    if (h.c >= 0 && h.c < parts && h.a >= 3) used[h.c] = true;
  });
  std::vector<SeparatePart> out;
  for (int pass = 0; pass < 2; ++pass)
    for (int p = 0; p < parts; ++p) {
      if (!used[p]) continue;
      const bool negative = respectNegative && IsNegativePart(mesh.objects[p].name);
      if (negative != (pass == 0)) continue;
      if (negative) {
        MergeMesh(target, mesh, matrix, kMergeSubtract, false, p, keepUndo);
        if (cutThrough)
          for (VolumeObject* v : below)
            if (v && v != &target) MergeMesh(*v, mesh, matrix, kMergeSubtract, false, p, keepUndo);
        continue;
      }
      SeparatePart part{mesh.objects[p].name, std::make_unique<VolumeObject>()};
      part.Volume->Name = part.Name;
      part.Volume->BandWidth = target.BandWidth;
      part.Volume->SetTransform(target.Transform);
      MergeMesh(*part.Volume, mesh, matrix, kMergeUnion, false, p, false);
      out.push_back(std::move(part));
    }
  return out;
}
