// UpdateDirtyFaces: the dirty micro-vertex faces of a render target become
// batches of vertices and indices, one (Nx+2) x (Ny+2) quad grid per face,
// that the colour and normal passes ("obj_render_color",
// "obj_render_normals", or both at once with "obj_render_mrt") draw into the
// target's textures in UV space. The outer ring reaches into the neighbours
// and, on UV seams, out along the padding direction, so texture filtering
// finds colour beyond every island's edge.
#pragma once
#include <cstdint>
#include <functional>
#include <vector>

#include "render/Math3D.h"

class PaintScene;

// One vertex of the paint batch format.
struct FaceBatchVertex {
  comms::cVec3 Position;
  comms::cVec2 UV;
  uint32_t Color = 0;   // device order (red and blue exchanged), alpha = coverage
  uint32_t Normal = 0;  // normal * (1 - 0.7 freeze) in 0..255, alpha = specular
};

struct FaceBatch {
  static constexpr int kMaxVertices = 65536;
  static constexpr int kMaxIndices = 300000;
  int RenderTarget = 0;
  std::vector<FaceBatchVertex> Vertices;
  std::vector<uint32_t> Indices;
};

// Draws one full batch into the target (the render side supplies it).
using FaceBatchDrawer = std::function<void(const FaceBatch& batch, bool colourPass)>;

// Emits the dirty faces of `target` (-1: every target, then DirtyFaces is
// emptied). Per-pixel targets update their PixelMap instead. Returns the
// number of faces emitted.
int UpdateDirtyFaces(PaintScene& scene, bool useColorPass, int target, const FaceBatchDrawer& draw);

// The batch of one face alone (for tests and previews).
void EmitFace(PaintScene& scene, int face, FaceBatch& batch);
