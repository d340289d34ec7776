// The surface-mode drivers: a local welded piece of a volume's triangle
// surface (SurfacePatch) that relax and plane operations work on, and
// SurfaceOp, which runs a vertex function over the vertices within a sphere.
// Vertices that lie on a cell face exist once per cell; the patch joins them
// by the global identity of their lattice edge and writes every copy back the
// same, so the surface stays closed. The voxels are left alone: ApplyMC writes
// the moved surface into them later.
#pragma once
#include <cstdint>
#include <functional>
#include <vector>

#include "MC/mcubes/CellKeyMap.h"
#include "MC/mcubes/WeldedMesh.h"

class VolumeObject;
struct VoxelCell;

// One vertex of the patch as a vertex function sees it.
struct PatchVertex {
  float Pos[3];
  float Normal[3];     // unit length, out of the solid
  float OldPos[3];     // where it was when surface editing of its cell began
  float OldNormal[3];  // unit length, out of the solid
  uint16_t Freeze;     // 0 free .. 65535 frozen
};

class SurfacePatch {
 public:
  // Cells larger than this many per axis (with the 2-cell margin) are refused.
  static constexpr int kMaxCellsPerAxis = 100;

  // Welds the visible cells within radius + 4 of center. False (patch empty)
  // when the region is too large or holds no surface. The cells' vertices and
  // triangles are read on `threads` workers (0: the pool's count); the weld
  // runs in cell order, so the patch is the same with any count.
  bool Build(VolumeObject& volume, const float center[3], float radius, int threads = 0);
  int VertexCount() const { return (int)Vertices.size(); }
  int TriangleCount() const { return (int)Indices.size() / 3; }

  std::vector<PatchVertex> Vertices;
  std::vector<uint32_t> Indices;

  // Each vertex's neighbours along triangle edges (sorted, no repeats).
  const std::vector<std::vector<int>>& Neighbours();
  // New unit normals from the triangles, for the vertices in or next to a
  // moved one; the others keep theirs (their triangles may lie outside).
  void RecomputeNormals(const std::vector<char>& moved);
  // Writes changed vertices into their cells: the first change of a cell in
  // an operation keeps its undo copy (with the triangles and OldVertices it
  // had) and fills OldVertices; the volume's SurfaceChanged is set, changed
  // cells are marked dirty with their surface current. Returns the cells
  // written.
  int WriteBack(VolumeObject& volume);

 private:
  struct CellRef {
    VoxelCell* Cell;
    int Index;
    CellKey Key;
  };
  // The cell copies of each vertex: a list through refNext_ from refHead_.
  std::vector<CellRef> refs_;
  std::vector<int> refHead_, refNext_;
  std::vector<std::vector<int>> neighbours_;
  std::vector<PatchVertex> original_;
};

// Calls fn for every patch vertex within radius of center (distance d), then
// recomputes normals and writes back. False when the patch was refused.
// Returns the cells changed in *cells when given.
using VertexFn = std::function<void(PatchVertex& v, float distance)>;
bool SurfaceOp(VolumeObject& volume, const float center[3], float radius, const VertexFn& fn, int* cells = nullptr);

// The first change of a cell's surface in an operation: its undo copy with
// the triangles and OldVertices it has now, OldVertices filled from Vertices
// when empty, the volume's SurfaceChanged set.
void TouchCellSurface(VolumeObject& volume, int cx, int cy, int cz);

// Commands of surface mode: every vertex's Freeze to 0 (normals unit again),
// or to 65535 - Freeze (normal length 1 + Freeze / 65535). Undoable through
// the cells' undo copies. Returns the cells changed.
int ClearFreeze(VolumeObject& volume);
int InvertFreeze(VolumeObject& volume);
