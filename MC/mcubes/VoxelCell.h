// The records of the cell store: one VoxelCell per 8 x 8 x 8 voxel cube, its
// optional CellSurface with the cell's private triangles, and MCVertex. A cell
// holds a 9 x 9 x 9 lattice whose plane 8 repeats plane 0 of the next cell, so
// it can be triangulated without looking at a neighbour.
#pragma once
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "MC/mcubes/SurfacePool.h"

class VolumeObject;

constexpr int kCellSide = 8;
constexpr int kLatticeSide = 9;
constexpr int kCellVoxels = 729;
constexpr uint16_t kSurfaceLevel = 32768;  // first inside value
constexpr uint16_t kNoBorder = 65535;

// VoxelCell::Flags bits.
enum : uint8_t {
  kCellBelow = 1,      // some value is below 32768
  kCellAbove = 2,      // some value is at or above 32768
  kCellChanged = 4,    // changed since the surface was last built
  kCellStale = 8,      // array opened for writing, status not refreshed
  kCellUniform = 16,   // all values equal, array may be released
  kCellLazyFill = 32,  // array allocated, not yet written from Fill
  kCellHidden = 64,    // triangles left out of drawing, picking and export
  kCellMark = 128,     // temporary mark of a single operation
};

inline int LatticeIndex(int x, int y, int z) { return (z * 9 + y) * 9 + x; }

// Growable array of plain values (data pointer, count, capacity). The storage
// comes from the surface pool (SurfacePool.h), never from malloc: free it with
// Free, never with std::free or realloc.
template <class T>
struct PodArray {
  T* Data = nullptr;
  int Count = 0;
  int Capacity = 0;

  void Reserve(int n) {
    if (n <= Capacity) return;
    int cap = Capacity ? Capacity : 16;
    while (cap < n) cap *= 2;
    T* grown = (T*)SurfaceAllocate(sizeof(T) * cap);
    if (Data) {
      std::memcpy((void*)grown, (const void*)Data, sizeof(T) * Capacity);
      SurfaceFree((void*)Data);
    }
    Data = grown;
    Capacity = cap;
  }
  void Add(const T& v) {
    if (Count == Capacity) Reserve(Count + 1);
    Data[Count++] = v;
  }
  void Assign(const T* src, int n) {
    Reserve(n);
    if (n) std::memcpy((void*)Data, src, sizeof(T) * n);
    Count = n;
  }
  void Free() {
    SurfaceFree((void*)Data);
    Data = nullptr;
    Count = Capacity = 0;
  }
  bool Empty() const { return Count == 0; }
  T& operator[](int i) { return Data[i]; }
  const T& operator[](int i) const { return Data[i]; }
};

struct MCVertex {
  float Pos[3];
  float Normal[3];
  uint16_t BorderCode;  // edge key of a vertex on a cell face, 65535 elsewhere
  uint16_t Freeze;      // 0 free .. 65535 frozen
};

struct CellSurface {
  int16_t ScreenRect[4];  // x, y, width, height; width <= 0 is invalid
  float Bounds[6];        // min xyz, max xyz; max < min means no geometry
  PodArray<MCVertex> Vertices;
  PodArray<MCVertex> SavedVertices;
  PodArray<uint16_t> SavedIndices;
  PodArray<MCVertex> OldVertices;
  PodArray<uint16_t> Indices;

  void FreeArrays() {
    Vertices.Free();
    SavedVertices.Free();
    SavedIndices.Free();
    OldVertices.Free();
    Indices.Free();
  }
};

struct VoxelCell {
  CellSurface* Surface;
  VolumeObject* Owner;
  VoxelCell* UndoCopy;
  uint16_t* Scratch;
  uint16_t* Voxels;  // 729 values, index (z * 9 + y) * 9 + x
  uint16_t Fill;
  uint16_t Stamp;
  uint8_t Flags;
  uint8_t Side;

  bool HasSurfaceCrossing() const { return (Flags & (kCellBelow | kCellAbove)) == (kCellBelow | kCellAbove); }
  uint16_t At(int x, int y, int z) const { return Voxels ? Voxels[LatticeIndex(x, y, z)] : Fill; }

  // Mode bit 0: allocate the array if there is none; bit 1: also write Fill
  // into it now (otherwise the fill waits, flag bit 5). Always marks the
  // status stale.
  void EnsureVoxels(int mode, bool lock);
  // Recomputes bits 0 and 1 and Fill from the array; a uniform array is
  // released (Release) or flagged with bit 4.
  void RefreshStatus(bool release, bool lock);
};
