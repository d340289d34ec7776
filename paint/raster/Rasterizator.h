// Rasterizator: the coverage-minded triangle driver, used to mark every texel
// that a triangle touches, thin slivers included. The triangle is scanned by
// rows, then its corners, then by columns (x and y exchanged), so a triangle
// thinner than a pixel in either direction still leaves no hole.
#pragma once
#include "render/Math3D.h"

class Rasterizator {
 public:
  bool OnEdge = false;  // true while Op gets a span's end or a corner
  float Margin = 0.f;   // widens every span on both sides, in pixels

  virtual ~Rasterizator() = default;
  // One covered pixel; `value` is the third coordinate of the corners,
  // interpolated inside the span and held at the edge outside it.
  virtual void Op(int x, int y, float value) = 0;

  // Corners are (pixel x, pixel y, value). A pixel may be given more than
  // once (rows, corners and columns overlap); Op must be idempotent.
  void CoverTriangle(const comms::cVec3& p0, const comms::cVec3& p1, const comms::cVec3& p2);

 private:
  // One pass of row spans; with `swapped` the corners came in as (y, x) and
  // Op gets its coordinates back in order.
  void ScanRows(const comms::cVec3 p[3], bool swapped);
};

// A Rasterizator with a second value slot, for the UV island tools.
class TextureRasterisator : public Rasterizator {
 public:
  int Slot = -1;
};
