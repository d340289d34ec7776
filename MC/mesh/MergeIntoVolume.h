// The road from triangles to voxels, second half: the sorted spans of a
// TriangleCollector become lattice values of a volume. Each lattice value
// comes from the distances to the nearest crossing along the three axes, so
// only cells near a crossing are computed; deep cells come out uniform.
#pragma once
#include <cstdint>
#include <functional>
#include <string>

#include "MC/mesh/TriangleCollector.h"

class VolumeObject;

enum MergeMode { kMergeUnion = 0, kMergeSubtract = 1, kMergeIntersect = 2 };

// Builds the spans if not built yet, then merges them into target: union
// (max), subtraction (min with the complement) or intersection (min; cells
// away from the mesh are emptied). Changed cells are marked dirty; the caller
// updates the surface. Cells flagged kCellMark are left as they are.
// `stop`, when given, is told how many of the cells are done after each
// part of the work; true stops there and the call returns false, leaving the
// cells done so far changed (restore them from their undo copies).
bool MergeIntoVolume(TriangleCollector& collector, VolumeObject& target, int mode, bool keepUndo,
                     const std::function<bool(int64_t done, int64_t total)>& stop = nullptr);

// Merges a mesh transformed by `matrix` (row vectors, into the volume's
// lattice; null for none). With respectNegative, parts whose name holds
// "_negative" are subtracted first and the others merged with `mode`;
// otherwise the whole mesh (or only object `part`, -1 all) merges at once.
// keepUndo keeps undo copies of the cells it changes.
void MergeMesh(VolumeObject& volume, const comms::cMesh& mesh, const float* matrix, int mode,
               bool respectNegative = false, int part = -1, bool keepUndo = false);

// True when an object of the mesh is a negative volume by its name.
bool IsNegativePart(const std::string& name);
