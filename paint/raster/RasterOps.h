// The per-pixel operations of the software rasteriser, one small class each:
// depth and colour planes (RastZ, RastZB, ZChecker), UV and normal cells for
// export (RastP), position and normal maps for baking (RastPN, RastPN2,
// TriRast3D, WorldRender), tangent frames of the tiles (RasterTBN), UV
// overlap counts (RastUvIntrs) and the fill tool's preview (RastFPreview).
// Each owns or borrows its target; pixels outside the target are dropped.
#pragma once
#include <cstdint>
#include <vector>

#include "paint/raster/RasterOp.h"

class PixelMap;

// Depth and colour: row y lands on row H - 1 - y. Keeps the nearest z (with
// the slack) and writes the corner colours blended by the weights.
class RastZ : public RasterOp {
 public:
  float* Depth = nullptr;
  uint32_t* Color = nullptr;  // 0xAARRGGBB
  int W = 0, H = 0;
  comms::cVec4 Corner[3];  // r, g, b, a in 0..255
  void Op(int x, int y, float z, float u, float v) override;
};

// The largest z per pixel, rows as given.
class RastZB : public RasterOp {
 public:
  float* Plane = nullptr;
  int W = 0, H = 0;
  void Op(int x, int y, float z, float u, float v) override;
};

// The base of screen outlines; its own Op draws nothing.
class CurveBuffer : public RasterOp {
 public:
  void Op(int, int, float, float, float) override {}
};

// A depth plane over the window (X0, Y0, W, H) of the screen.
class ZChecker : public CurveBuffer {
 public:
  std::vector<float> Plane;
  int X0 = 0, Y0 = 0, W = 0, H = 0;
  // Sizes the plane to the window and fills it with `far`.
  void Reset(int x0, int y0, int w, int h, float far = 1e30f);
  void Op(int x, int y, float z, float u, float v) override;
  // Depth at a screen pixel, or `far` outside the window.
  float At(int x, int y, float far = 1e30f) const;
};

// Export cells: word 0 a constant (or the packed normal in the tangent frame),
// word 1 the texture coordinates as two u16, v in the high half.
class RastP : public RasterOp {
 public:
  float* Depth = nullptr;
  uint64_t* Cells = nullptr;
  int W = 0, H = 0;
  uint32_t Constant = 0;
  comms::cVec2 UV[3];
  // With a frame, the interpolated corner normal is taken into it.
  bool HasFrame = false;
  comms::cVec3 Normal[3];
  comms::cVec3 Frame[3];  // tangent, binormal, normal
  void Op(int x, int y, float z, float u, float v) override;
  static uint16_t PackCoordinate(float t);
  static uint32_t PackNormal(const comms::cVec3& n);
};

// Position and normal maps for baking: x and y wrap; the lazily made plane
// keeps the triangle's own constant depth, and a pixel passes when that
// constant is not below the stored value.
class RastPN : public RasterOp {
 public:
  int W = 0, H = 0;
  std::vector<float> Plane;  // made and zeroed on first use
  comms::cVec3* Positions = nullptr;
  comms::cVec3* Normals = nullptr;
  float TriangleDepth = 0;
  comms::cVec3 P[3], N[3];
  void Op(int x, int y, float z, float u, float v) override;

 protected:
  // Wraps (x, y) and runs the depth test; the pixel's index or -1.
  int Pass(int x, int y);
};

// RastPN with a second surface's positions.
class RastPN2 : public RastPN {
 public:
  comms::cVec3* Positions2 = nullptr;
  comms::cVec3 P2[3];
  void Op(int x, int y, float z, float u, float v) override;
};

// A full tangent frame per pixel, normalised.
struct FrameCell {
  comms::cVec3 Position, Normal, Tangent, Binormal;
  int Triangle = -1;  // -1: empty
};
class TriRast3D : public RasterOp {
 public:
  FrameCell* Cells = nullptr;
  int W = 0, H = 0;
  int TriangleIndex = 0;
  comms::cVec3 P[3], N[3], T[3], B[3];
  void Op(int x, int y, float z, float u, float v) override;
};

// Tangent frames of a PixelMap's tiles: the tile's 256 frames are made at
// first need, and a texel takes this triangle's frame unless it already holds
// this very triangle's.
class RasterTBN : public RasterOp {
 public:
  PixelMap* Map = nullptr;
  int TriangleIndex = 0;
  comms::cVec3 T[3], B[3], N[3];
  void Op(int x, int y, float z, float u, float v) override;
};

// UV overlap counter: x and y wrap; a cell reaching 2 or more counts once
// per extra touch.
class RastUvIntrs : public RasterOp {
 public:
  std::vector<uint8_t> Plane;
  int W = 0, H = 0;
  int64_t Overlaps = 0;
  RastUvIntrs(int w, int h) : Plane((size_t)w * h, 0), W(w), H(h) {}
  void Op(int x, int y, float z, float u, float v) override;
};

// World positions per pixel in three planes.
class WorldRender : public RasterOp {
 public:
  float *X = nullptr, *Y = nullptr, *Z = nullptr;
  int W = 0, H = 0;
  comms::cVec3 P[3];
  void Op(int x, int y, float z, float u, float v) override;
};

// The fill tool's preview: one cell per touched pixel, the nearest triangle's
// normal and colour.
struct PreviewCell {
  int X = 0, Y = 0;
  float Depth = 10000000.0f;
  comms::cVec3 Normal;
  comms::cVec4 Color;
};
class RastFPreview : public RasterOp {
 public:
  std::vector<PreviewCell> Cells;
  std::vector<int> Index;  // per pixel, -1 = none
  int W = 0, H = 0;
  comms::cVec3 N[3];
  comms::cVec4 C[3];
  RastFPreview(int w, int h) : Index((size_t)w * h, -1), W(w), H(h) {}
  void Op(int x, int y, float z, float u, float v) override;
};
