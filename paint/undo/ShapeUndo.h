// The records of the mesh's shape: moved vertices and whole faces. A tool
// calls the push function before it changes the data, so the record holds
// the state to go back to.
//
// "VERT", moved vertices: u32 n, then n times u32 vertex index and the
// position (vec3). It belongs to the tools that move vertices: applied while
// the current tool's MovesVertices says false, the step is passed over and
// the next one is undone (or redone) in its place. Applying it marks the
// faces on the moved vertices out of date and recomputes the normals of
// their corners.
//
// "FFUN", whole faces (a change of a face's grid resolution): u32 n, then per
// face u32 face, u32 Nx, u32 Ny, the face record's first word (Flags,
// SeamBits, FreezeState, a zero byte), u32 layer count, the Nx * Ny
// micro-vertices (48 bytes each), per layer u32 LayerID and its Nx * Ny
// samples (24 bytes each), u32 corner count and per corner u32 corner index,
// f32 U, f32 V. Applying it replaces grid and layer list of each face, and
// the corners' UV and UV2; on a target of Ptex planes the face's rectangle
// of the occupancy map is freed before and claimed after.
#pragma once
#include <cstdint>
#include <vector>

#include "ClassEngine/streams/BinStream.h"
#include "paint/undo/BasicUndoMaker.h"
#include "paint/undo/MaskUndo.h"

class PaintScene;
class UndoStack;

constexpr uint32_t kVertUndoTag = FourCC("VERT");
constexpr uint32_t kFullFaceUndoTag = FourCC("FFUN");

// The present positions of `vertices` (indices outside the mesh are left out).
void WriteVertUndo(BinStream& out, PaintScene& scene, const std::vector<int>& vertices);
bool PushVertUndo(UndoStack& stack, PaintScene& scene, const std::vector<int>& vertices);
// Recomputes, from the faces around them, the normals of every corner of a
// face that has a vertex of `vertices`.
void RecomputeVertexNormals(PaintScene& scene, const std::vector<int>& vertices);

// The present state of `faces` (indices outside the mesh are left out).
void WriteFullFaceUndo(BinStream& out, PaintScene& scene, const std::vector<int>& faces);
bool PushFullFaceUndo(UndoStack& stack, PaintScene& scene, const std::vector<int>& faces);

class VertUndo : public BasicUndoMaker {
 public:
  VertUndo(UndoStack& stack, PaintScene& scene, ActiveToolFn activeTool)
      : stack_(stack), scene_(scene), activeTool_(std::move(activeTool)) {}
  uint32_t GetUndoTag() override { return kVertUndoTag; }
  void Apply(BinStream& stream) override;

 private:
  UndoStack& stack_;
  PaintScene& scene_;
  ActiveToolFn activeTool_;
};

class FullFaceUndo : public BasicUndoMaker {
 public:
  FullFaceUndo(UndoStack& stack, PaintScene& scene) : stack_(stack), scene_(scene) {}
  uint32_t GetUndoTag() override { return kFullFaceUndoTag; }
  void Apply(BinStream& stream) override;

 private:
  UndoStack& stack_;
  PaintScene& scene_;
};
