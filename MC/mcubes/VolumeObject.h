// A sculptable solid: a sparse field of 16-bit densities on an unbounded
// integer lattice, stored as 8 x 8 x 8 cells in a hash map, plus the triangle
// surface the field implies (cells -> cell surfaces -> render groups). Brushes
// write voxels through this class, UpdateSurface keeps the triangles in step.
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "MC/mcubes/CellBlockPool.h"
#include "MC/mcubes/CellKeyMap.h"
#include "MC/mcubes/RenderGroup.h"
#include "MC/mcubes/SurfacePool.h"
#include "MC/mcubes/VolumeOcTree.h"
#include "MC/mcubes/VoxelCell.h"

// Last cell looked up by a per-voxel loop, so neighbouring voxels skip the map.
struct CellCache {
  int cx = 0, cy = 0, cz = 0;
  VoxelCell* Cell = nullptr;
  bool Valid = false;
};

class WeldedMeshBuilder;
class VolumeObject;

// The 27 cells around one cell, looked up once each: what the normals of one
// cell's vertices read, without a map lookup per sample. Gives exactly what
// VolumeObject::CalcNormal gives.
class CellNeighbourhood {
 public:
  CellNeighbourhood(VolumeObject& volume, int cx, int cy, int cz);
  float Sample(float x, float y, float z);
  void Normal(float out[3], float x, float y, float z);
  // The same normal for a vertex on a lattice edge along `axis`, faster.
  void EdgeNormal(float out[3], const float pos[3], int axis);

 private:
  const VoxelCell* Fetch(int cx, int cy, int cz);
  template <int A>
  void EdgeNormalAlong(float out[3], const float pos[3]);
  VolumeObject& volume_;
  int cx_, cy_, cz_;
  const VoxelCell* cells_[27];
  const VoxelCell* self_;
  bool fetched_[27];
};

class VolumeObject {
 public:
  static constexpr int kTouchedLimit = 18192;

  VolumeObject();
  virtual ~VolumeObject();
  VolumeObject(const VolumeObject&) = delete;
  VolumeObject& operator=(const VolumeObject&) = delete;

  uintptr_t ObjectId;
  std::string Name;
  std::string Shader = "mcubes";  // the voxel shader that draws it
  std::string CacheName;
  std::vector<CellKey> TouchedCells;
  CellBlockPool vpool{kCellVoxels * 2};
  CellBlockPool cpool{sizeof(VoxelCell)};
  CellBlockPool apool{sizeof(CellSurface)};
  // Where the cell lists and group meshes of this volume come from: one block
  // cache per worker of the extraction over a pool (the process pool unless
  // set). Declared before the groups, so it flushes after their meshes went.
  SurfaceArena Surfaces;
  VolumeOcTree Tree;
  int BandWidth = 4;
  int CellBoundsMin[3] = {10000, 10000, 10000};
  int CellBoundsMax[3] = {-10000, -10000, -10000};
  float Transform[16];
  float InverseTransform[16];
  bool Visible = true;
  float TransformScale = 1.0f;
  VolumeObject* Linked = nullptr;  // consulted by the normal sampler where this volume has no cell
  int GroupSide = 6;
  int CellSide = 8;
  int CellShift = 3;
  int UndoCopies = 0;
  bool SurfaceChanged = false;
  bool TreeStale = false;
  bool CoarseProbe = true;
  bool SurfaceMode = false;
  bool InCache = false;
  CellKeyMap<int> DirtyGroups{62144};
  CellKeyMap<int> DirtyCells{62144};
  CellKeyMap<int> ViewDirtyCells{62144};
  CellKeyMap<RenderGroup> RenderGroups{3517};
  CellKeyMap<VoxelCell*> Cells{1262144};

  // While a stroke is pressed (the pen picks by sampling the field, never by
  // the box tree), UpdateSurface leaves bounds and tree alone and keeps the
  // cells it owes in BoundsOwed; the first update with the flag down measures
  // them and rebuilds the tree.
  bool SkipBoundsThisUpdate = false;
  CellKeyMap<int> BoundsOwed{4099};
  // The frame's update stamp; groups remember it minus 1234.
  int UpdateStamp = 0;
  // Cells whose triangles UpdateSurface has extracted, over the volume's life.
  int64_t ExtractedCells = 0;
  // Meshes of groups that went empty, kept (up to kSpareMeshes) with their
  // arrays for the next groups that need one.
  static constexpr int kSpareMeshes = 64;
  std::vector<std::shared_ptr<GroupMesh>> SpareMeshes;

  // --- transform ---
  void SetTransform(const float m[16]);
  void PointToScene(const float in[3], float out[3]) const;
  void PointToObject(const float in[3], float out[3]) const;
  void VectorToScene(const float in[3], float out[3]) const;
  void VectorToObject(const float in[3], float out[3]) const;

  // --- cells ---
  VoxelCell* GetCell(int cx, int cy, int cz, bool create, bool keepUndo, bool lock = false);
  void SaveUndoCopy(int cx, int cy, int cz);
  void ReplaceWithEmpty(int cx, int cy, int cz);
  // Releases a cell record and everything it owns back to the pools.
  void ReleaseCell(VoxelCell* cell);
  int CellCount() const { return Cells.Count(); }

  // --- voxels ---
  uint16_t GetVoxel(int x, int y, int z, CellCache* cache = nullptr, bool fromUndo = false);
  uint16_t* RefVoxel(int x, int y, int z, CellCache* cache = nullptr);
  void PutVoxel(int x, int y, int z, uint16_t value, CellCache* cache = nullptr);
  float SampleField(float fx, float fy, float fz, bool fromUndo = false);
  void MarkDirty(int cx, int cy, int cz, bool surfaceIsCurrent);
  void Compact();
  void ClearVoxels();
  // Copies every cell of source into this volume; flip bits 0..2 mirror the
  // copy in x, y, z (cell c maps to -c - 1).
  void CopyFrom(VolumeObject& source);
  void CopyFromMirrored(VolumeObject& source, int flipAxes);
  static void SwapCellContents(VolumeObject& a, const CellKey& keyA, VolumeObject& b, const CellKey& keyB);
  // Copies plane 0 of the seven upper neighbours into plane 8 of this cell;
  // where this volume has no such neighbour, `other` is asked.
  void SyncBorders(int cx, int cy, int cz, VolumeObject* other = nullptr);
  // Rolls every cell back to its undo copy and drops the copies.
  void RestoreUndoCopies(bool surfaceOnly = false);
  // Drops the undo copies, keeping the current state (end of an operation).
  void DropUndoCopies();
  // Writes the memory report to the log and returns it.
  std::string MemoryReport();

  // --- surface ---
  void BuildCellSurface(int cx, int cy, int cz);
  void CalcNormal(float out[3], float x, float y, float z);
  void CalcNormalSmooth(float out[3], float x, float y, float z);
  void UpdateSurface();
  // Builds a group's mesh from its cells' surfaces, into *reuse when given
  // (and moved from it); null when the group holds no triangles.
  std::shared_ptr<GroupMesh> RebuildGroup(int gx, int gy, int gz, float rect[4],
                                          std::shared_ptr<GroupMesh>* reuse = nullptr);
  void RebuildAllGroups();
  void RecomputeCellBounds();
  // Appends one cell's triangles to a welded mesh; matrix (row vectors) may be null.
  void ExtractWelded(VoxelCell* cell, int cx, int cy, int cz, WeldedMeshBuilder& builder,
                     const float* matrix, std::vector<int>& localRemap);
  // Welds every visible cell of the volume into builder.
  void ExtractWeldedAll(WeldedMeshBuilder& builder, const float* matrix = nullptr);
  // Writes surface-mode edits (moved Vertices, the positions before them in
  // OldVertices) back into the voxels: the moved cells' neighbourhood is
  // rasterised again from its triangles and joined to the field around it.
  // force takes every surface cell as moved. False when nothing moved.
  // Defined with the triangle collector, in MC/mesh/ApplyMC.cpp.
  bool ApplyMC(bool force, bool keepUndo = false);

 private:
  VoxelCell* NewCell();
  VoxelCell* LookUp(int cx, int cy, int cz, CellCache* cache);
  // Voxel array of a freshly opened cell for writing through PutVoxel/RefVoxel.
  uint16_t* OpenForWrite(int cx, int cy, int cz, bool keepUndo, CellCache* cache);
  void NoteTouched(int cx, int cy, int cz);
  void CopyCellInto(VoxelCell* dst, const VoxelCell* src, int flipAxes);
  void ResetGroups();
  void RebuildGroups(const std::vector<CellKey>& keys);
  friend class CellNeighbourhood;
  float LineSample(float x, float y, float z, CellCache& cache);
};
