// The per-pixel sample store's records: a 16 x 16 tile of composite pixels,
// the per-layer tiles that hold painted samples, the links that copy pixels
// across UV seams and into padding, and the per-texel tangent frames.
#pragma once
#include <cstdint>

#include "ClassEngine/dynarray.h"

class OneLayerInfo;
struct UnderBlend;

constexpr int kTileSide = 16;
constexpr int kTilePixels = kTileSide * kTileSide;

// Pixel classes of TilePixel::PixelBits.
enum PixelClass : uint32_t { kPixelOutside = 0, kPixelOnMesh = 1, kPixelPadding = 2 };

struct TilePixel {
  float Width = 0, Height = 0;  // world size of one pixel along texture x and y
  float Depth = 0;
  uint32_t Color = 0;  // composite 0xAARRGGBB, alpha = coverage
  uint8_t Specular = 0;
  uint8_t Reserved = 0;
  uint16_t Freeze = 0;
  uint8_t NormalX = 128, NormalY = 128;
  uint8_t MapNormalX = 128, MapNormalY = 128;
  float Extra = 0;
  uint32_t PixelBits = 0;  // bits 0-13 source x, 14-27 source y, 28-31 class

  uint32_t Class() const { return PixelBits >> 28; }
  int SourceX() const { return (int)(PixelBits & 0x3fff); }
  int SourceY() const { return (int)((PixelBits >> 14) & 0x3fff); }
  void SetBits(uint32_t cls, int sx, int sy) {
    PixelBits = (cls << 28) | ((uint32_t)(sy & 0x3fff) << 14) | (uint32_t)(sx & 0x3fff);
  }
};
static_assert(sizeof(TilePixel) == 32);

struct LayerPixel {
  float Depth = 0;
  uint32_t Color = 0;  // the alpha byte is the layer's coverage
  uint8_t Reserved0 = 0;
  uint8_t Specular = 0;
  uint8_t Reserved1[2] = {0, 0};
  bool IsEmpty() const { return Depth == 0 && Specular == 0 && (Color >> 24) == 0; }
};
static_assert(sizeof(LayerPixel) == 12);

struct LayerTile {
  uint32_t LayerID = 0;
  OneLayerInfo* Info = nullptr;
  LayerPixel Pixels[kTilePixels];
  bool IsEmpty() const {
    for (const LayerPixel& p : Pixels)
      if (!p.IsEmpty()) return false;
    return true;
  }
};

// Copies the pixel at (X0, Y0) to (X1, Y1); Frame takes a normal from the
// first pixel's side into the second's.
struct TileLink {
  uint16_t X0 = 0, Y0 = 0, X1 = 0, Y1 = 0;
  float Frame[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
};

// A padding pixel resampled from the map at a UV position.
struct ExtraLink {
  uint16_t X = 0, Y = 0;
  float U = 0, V = 0;
};

struct TexelFrame {
  float Rows[3][3] = {};  // tangent, binormal, normal
  float ObjectNormal[3] = {};
  uint32_t Spare[2] = {0, 0};
  uint8_t Flags = 0;  // bit 0: changed, re-send across links
};

struct PixelTile {
  TilePixel Pixels[kTilePixels];
  DynArray<LayerTile*> LayerTiles;  // sorted by LayerOrder
  DynArray<TileLink> SeamLinks;
  DynArray<TileLink> PadLinks;
  DynArray<ExtraLink> ExtraLinks;
  LayerTile* CurrentLayerTile = nullptr;
  LayerTile* UndoLayerTile = nullptr;
  LayerTile* ScratchLayerTile = nullptr;
  DynArray<LayerTile*> OtherLayerUndo;
  TexelFrame* Frames = nullptr;
  uint16_t* FreezeUndo = nullptr;
  UnderBlend* Under = nullptr;  // the layers under the current one, kept while a stroke runs
  int DirtyState = 1;  // 0 clean, 1 compose and normals, 2 normals only
  bool DepthChanged = false;  // set by composition for the normals that follow
  int X = 0, Y = 0;    // tile coordinates

  PixelTile() = default;
  PixelTile(const PixelTile&) = delete;
  PixelTile& operator=(const PixelTile&) = delete;
  ~PixelTile();
  // The LayerTile of `layerID` or null.
  LayerTile* FindLayer(int layerID) const;
};
