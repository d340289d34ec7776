// What a render group hands to drawing: a plain CPU mesh of the surfaces of its
// 6 x 6 x 6 cells. The renderer uploads it into a device mesh of its own; until
// then this is the whole seam between the voxel engine and drawing.
#pragma once
#include <cstddef>
#include <cstdint>
#include <new>
#include <memory>
#include <utility>
#include <vector>

#include "MC/mcubes/SurfacePool.h"

// Takes the arrays from the surface pool (MC/mcubes/SurfacePool.h), so a
// group's mesh reuses the pages of the meshes freed before it, and leaves new
// elements uninitialised: group arrays are written right after they are
// sized, and zeroing them first would touch every page twice.
template <class T>
struct UninitialisedAllocator {
  using value_type = T;
  template <class U>
  struct rebind {
    using other = UninitialisedAllocator<U>;
  };
  UninitialisedAllocator() = default;
  template <class U>
  UninitialisedAllocator(const UninitialisedAllocator<U>&) noexcept {}
  T* allocate(size_t n) { return (T*)SurfaceAllocate(n * sizeof(T)); }
  void deallocate(T* p, size_t) noexcept { SurfaceFree(p); }
  template <class U>
  void construct(U* p) noexcept {
    ::new ((void*)p) U;
  }
  template <class U, class... Args>
  void construct(U* p, Args&&... args) {
    ::new ((void*)p) U(std::forward<Args>(args)...);
  }
  template <class U>
  bool operator==(const UninitialisedAllocator<U>&) const noexcept {
    return true;
  }
};
template <class T>
using MeshArray = std::vector<T, UninitialisedAllocator<T>>;

struct GroupMesh {
  MeshArray<float> Positions;  // 3 per vertex, object space
  MeshArray<float> Normals;    // 3 per vertex; length 1 + Freeze / 65535
  // 16-bit indices below 65000 vertices, 32-bit from there on.
  bool WideIndices = false;
  MeshArray<uint16_t> Indices16;
  MeshArray<uint32_t> Indices32;
  int MaterialHandle = -1;  // the voxel renderer's material, set by the renderer
  // Raised each time the volume fills the mesh: a mesh is refilled in place
  // when nothing holds it, so a drawer compares this, not only the object.
  uint64_t Version = 0;

  int VertexCount() const { return (int)Positions.size() / 3; }
  int IndexCount() const { return WideIndices ? (int)Indices32.size() : (int)Indices16.size(); }
  uint32_t Index(int i) const { return WideIndices ? Indices32[i] : Indices16[i]; }
};

struct RenderGroup {
  std::shared_ptr<GroupMesh> Mesh;
  int Reserved = 0;
  float Rect[4] = {0, 0, 0, 0};  // union of the visible cells' screen rectangles
  int Stamp = 0;                 // update stamp minus 1234 when built
};

// Group coordinate of a cell coordinate: floor(c / 6).
inline int GroupOf(int c) { return c >= 0 ? c / 6 : (c - 5) / 6; }
