// Merging a mesh part by part into volumes of their own: each named part of
// the mesh becomes a new volume (the layer tree hangs each under the target's
// branch, named after the part). Negative parts ("_negative" in the name) get
// no volume: they cut the target first, and with cutThrough every volume
// below it too.
#pragma once
#include <memory>
#include <string>
#include <vector>

namespace comms {
class cMesh;
}
class VolumeObject;

// One volume made from one part of the mesh.
struct SeparatePart {
  std::string Name;  // the part's name
  std::unique_ptr<VolumeObject> Volume;
};

// Parts without polygons make no volume. The new volumes take the target's
// band and transform; a new volume starts empty, so every part is united
// with it whatever the mode. With respectNegative off, negative parts are
// parts like the others. `matrix`: row vectors into the target's lattice, or
// null.
std::vector<SeparatePart> MergeMeshSeparate(VolumeObject& target, const std::vector<VolumeObject*>& below,
                                            const comms::cMesh& mesh, const float* matrix, bool respectNegative,
                                            bool cutThrough, bool keepUndo = false);
