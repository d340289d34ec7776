// The plain records of the paint scene: vertices, face corners, faces, their
// micro-vertex grids and per-layer sample lists, and the texels a face owns in
// per-pixel mode. Arrays of these are addressed by index; only FaceLayer::Info
// points across (at the layer's OneLayerInfo).
#pragma once
#include <cstdint>
#include <cstring>

#include "ClassEngine/dynarray.h"
#include "render/Math3D.h"

class OneLayerInfo;
struct FaceBackup;

struct MeshVertex {
  comms::cVec3 Position;
  float Mark = 1.0f;  // the stroke flood's mark, 1 at rest
  uint8_t Reserved0 = 0;
  uint8_t SubdivisionLevel = 0;
  uint8_t Dirty = 0;  // 1 = its cell data must be rebuilt
  uint8_t Reserved1 = 0;
};
static_assert(sizeof(MeshVertex) == 20);

struct FaceCorner {
  int Vertex = -1;
  int Normal = -1;
  comms::cVec2 UV;
  comms::cVec3 Tangent;
  comms::cVec3 Binormal;
  comms::cVec2 UV2;
  comms::cVec2 PadDir;  // rebuilt by CreatePaddingInfo, never stored
};

// One surface sample of a face's grid: the composite of all layers.
struct MicroVertex {
  comms::cVec3 Position;
  comms::cVec3 Normal;
  uint32_t Color = 0x00808080;  // 0xAARRGGBB, alpha carries specular
  float Freeze = 0;
  float Opacity = 0;
  comms::cVec3 BaseNormal;
};
static_assert(sizeof(MicroVertex) == 48);

// One sample of one layer on a face grid.
struct LayerMicroVertex {
  comms::cVec3 Offset;  // base position in the bottom layer, a displacement above
  uint32_t Color = 0x00808080;
  float Opacity = 0;
  float Emboss = 0;  // derived while composing, never stored

  bool IsEmpty() const {
    return Offset.x * Offset.x + Offset.y * Offset.y + Offset.z * Offset.z == 0 &&
           Opacity <= 0.001f && (Color >> 24) == 0;
  }
};
static_assert(sizeof(LayerMicroVertex) == 24);

struct FaceLayer {
  LayerMicroVertex* Data = nullptr;  // Nx * Ny samples, owned by the face
  int LayerID = 0;
  OneLayerInfo* Info = nullptr;
};

// A texel of the face's PixelMap: world position and normal at its centre.
struct FaceTexel {
  comms::cVec3 Position;
  comms::cVec3 Normal;
  uint16_t X = 0, Y = 0;
};
static_assert(sizeof(FaceTexel) == 28);

// Directory entry of FaceTexels, the same size as a texel: the second word is
// the block's texel count, the 9th and 10th u16 slots the tile's x and y. The
// sphere around the block's texel centres (world units) lets a stroke skip
// the whole block.
struct FaceTexelBlock {
  uint32_t First = 0;
  uint32_t Count = 0;
  float CentreX = 0, CentreY = 0;
  uint16_t TileX = 0, TileY = 0;
  float CentreZ = 0;
  float Radius = 0;
  comms::cVec3 Centre() const { return {CentreX, CentreY, CentreZ}; }
};
static_assert(sizeof(FaceTexelBlock) == sizeof(FaceTexel));

// Texels of one face, one allocation: a header, an optional directory of
// blocks (one per touched tile) and the texels sorted by tile.
struct FaceTexels {
  int Count = 0;
  int BlockCount = 0;  // 0: no directory, the face is one block
  FaceTexelBlock* Directory = nullptr;
  FaceTexel* Texels = nullptr;

  // Allocates header, directory and texels together.
  static FaceTexels* Create(int count, int blocks);
  static void Free(FaceTexels* t);
};

// A face's FreezeState from the counts of its samples below 0.001 (free)
// and above 0.999 (frozen) out of n: 0 all free, 2 all frozen, else 1.
inline uint8_t FreezeStateOf(int free, int frozen, int n) { return free == n ? 0 : frozen == n ? 2 : 1; }

struct PaintFace {
  uint8_t Flags = 0;
  uint8_t SeamBits = 0;     // bit 0 top row, 1 right column, 2 bottom row, 3 left column
  uint8_t FreezeState = 0;  // 0 free, 1 partly, 2 wholly frozen
  int Neighbour[4] = {-1, -1, -1, -1};  // across y < 0, y >= Ny, x < 0, x >= Nx
  uint16_t Material = 0;
  uint16_t Object = 0;
  uint8_t Visited = 0;
  uint16_t RenderTarget = 0;  // 65535: none
  uint16_t UVSet = 0;
  uint16_t Nx = 0, Ny = 0;
  float Wear = 0;
  uint8_t Visible = 1;
  uint8_t Editable = 1;
  int CellKey[3] = {0, 0, 0};
  MicroVertex* Grid = nullptr;
  FaceTexels* Texels = nullptr;
  DynArray<FaceLayer> LayerList;  // sorted by LayerOrder, bottom layer at 0
  FaceBackup* Backup = nullptr;

  PaintFace() = default;
  PaintFace(const PaintFace&) = delete;
  PaintFace& operator=(const PaintFace&) = delete;
  PaintFace(PaintFace&& o) noexcept;
  PaintFace& operator=(PaintFace&& o) noexcept;
  ~PaintFace() { FreeSamples(); }

  int SampleCount() const { return (int)Nx * (int)Ny; }
  // Allocates the grid (Nx * Ny default micro-vertices); drops the old one.
  void AllocateGrid(int nx, int ny);
  // Frees grid, texels and every layer list.
  void FreeSamples();
  // Frees one entry of LayerList.
  void RemoveLayerAt(int i);
};
