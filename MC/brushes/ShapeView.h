// How a volume's object space meets the screen for the tools that act on a
// drawn shape: a lattice point's pixel and whether it lies in front of the
// camera, the view direction in object space, and s, the object units one
// pixel spans at the pick. Made once per action, read by worker threads.
#pragma once
#include <array>

#include "paint/stroke/DrawnShape.h"

class VolumeObject;
namespace comms {
class cViewer;
}

struct ShapeView {
  // Object space (row vector, p * M) to clip space.
  float M[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
  float Left = 0, Top = 0, Width = 1, Height = 1;
  bool Ortho = false;
  // The camera's forward direction in object space, unit length.
  float ViewDir[3] = {0, 0, -1};
  // The camera's side and up directions in object space, unit length.
  float Side[3] = {1, 0, 0}, Up[3] = {0, 1, 0};
  // Object units per pixel at the pick.
  float S = 1.f;
  // The depth limit: with DepthLimited, a point lying z object units behind
  // the reference depth (z = p . Depth + Depth[3], along the view) reads at
  // most (DepthLimit - z) / k, so the shape reaches DepthLimit units deep.
  bool DepthLimited = false;
  float DepthLimit = 30.f;
  float Depth[4] = {0, 0, -1, 0};

  // The view of `camera` on `volume`, with s measured at `pick` (object space).
  static ShapeView Of(const VolumeObject& volume, const comms::cViewer& camera, const float pick[3]);
  // Pixel of an object-space point; false when it lies behind the camera.
  bool Project(const float p[3], float& x, float& y) const;
  // The shape's distance at a point, in pixels: -1000 behind the camera;
  // past the depth limit at most (DepthLimit - z) / k, k being the caller's
  // scale (object units per pixel where the distance is scaled by S).
  float Distance(const DrawnShape& shape, const float p[3], float k) const;
  // What the depth limit allows at a point, for the caller's scale k: a very
  // large number without a limit.
  float DepthCap(const float p[3], float k) const;
  // Limits the depth: the reference is the front of the volume's visible
  // surface under the shape (the nearest vertex the shape covers along the
  // view), or `fallback` (object space) when the shape covers none.
  void LimitDepth(const VolumeObject& volume, const DrawnShape& shape, float limit, const float fallback[3]);
  // The screen box of the cell (cx, cy, cz); false when a corner lies behind
  // the camera (the box is then unknown and taken as meeting everything).
  bool CellBox(int cx, int cy, int cz, std::array<float, 4>& box) const;
};

// The view of a mirrored copy of an operation: the point is mirrored by `m`
// (3 x 3, row vectors, its own inverse) before it is projected.
ShapeView MirroredView(const ShapeView& view, const float m[9]);
