// RasterOp: the software triangle rasteriser behind export, baking, tangent
// frames, previews and depth tests. A subclass says what happens at one pixel
// (Op); the base walks the triangle, either by spans (Triangle, with
// barycentric weights) or by edge functions in fixed point (PixelTriangle,
// depth only, each pixel of a shared edge touched exactly once).
#pragma once
#include "render/Math3D.h"

class RasterOp {
 public:
  bool PointsOnly = false;  // Triangle: only the three corners reach Op
  // PixelTriangle walks only pixels in [ClipX0, ClipX1) x [ClipY0, ClipY1).
  int ClipX0 = -(1 << 30), ClipY0 = -(1 << 30), ClipX1 = 1 << 30, ClipY1 = 1 << 30;

  virtual ~RasterOp() = default;
  // One pixel: x, y in pixels, z the interpolated depth, u and v the weights
  // of the second and third corners (the first has 1 - u - v).
  virtual void Op(int x, int y, float z, float u, float v) = 0;

  // Corners are (pixel x, pixel y, depth). Row y is sampled at y + 0.5001,
  // an edge crossing it when its lower end is at or below and its upper end
  // above, and pixel x belongs to the span when left <= x < right (to 1e-4):
  // adjacent triangles share no pixel and leave none out. Triangles with
  // a non-finite corner or 2,001 rows or more are dropped.
  void Triangle(const comms::cVec3& p0, const comms::cVec3& p1, const comms::cVec3& p2);
  // Edge functions in 22.10 fixed point with the top-left rule: adjacent
  // triangles share no pixel and leave none out. Op gets u = v = 0 and the
  // depth of the corners' plane, clamped to their range. Zero-area triangles
  // and boxes above 1e9 pixels are dropped.
  void PixelTriangle(const comms::cVec3& p0, const comms::cVec3& p1, const comms::cVec3& p2);
};

// The depth test slack: coplanar triangles of one face must not fight.
constexpr float kDepthSlack = 0.00001f;
