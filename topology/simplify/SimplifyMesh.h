// Simplifies a neutral mesh (the merge tool's mesh before it goes into the
// voxels): each object becomes one surface of a HalfEdgeMesh, its corners
// welded where they share a position exactly, and comes back as an object of
// the same name and transform. Polygons are split into fans; normals and uvs
// are not kept.
#pragma once
#include <cstdint>
#include <functional>

namespace comms {
class cMesh;
}

// Reduces `mesh` in place towards `targetTriangles`. False when it was
// stopped (by `progress`, or ReportProgress when empty: Esc) before the end;
// the mesh then holds what was reached. A mesh with no more triangles than
// the target is left alone and gives true.
bool SimplifyMesh(comms::cMesh& mesh, int targetTriangles,
                  const std::function<bool(const char*, int64_t, int64_t)>& progress = nullptr);
