// A shape drawn on the screen with the pen (rectangle, lasso, contour, circle,
// spline) and its signed distance in pixels: positive inside, 0 or less
// outside. Tools that act on a drawn shape read it through Distance(); the
// voxel side projects its points to the screen first (ShapeView.h), the paint
// room its samples (PaintArea.h). Pure screen-space maths: no camera, no
// volume.
#pragma once
#include <array>
#include <vector>

enum DrawnShapeKind : int {
  kShapeNone = 0,
  kShapeRectangle = 1,
  kShapeLasso = 2,
  kShapeContour = 3,
  kShapeCircle = 4,
  kShapeSpline = 5,
};

class DrawnShape {
 public:
  using Point = std::array<float, 2>;

  // GeneralPen::DrawShape; kShapeNone reads 1.0 everywhere.
  int Kind = kShapeNone;
  // The border style of the tool (voBorderRound, voBorderPlane, voBorderSharp):
  // below 2 the rectangle's and circle's distance rises as an arc, not a ramp.
  int BorderStyle = 0;

  // Forgets the points and the raster; the kind stays.
  void Clear();
  // A point of the drag, in view pixels (y downwards). A rectangle spans the
  // first and the last point; a circle has its centre at the first point and
  // its semi-axes to the last; the other kinds are the polygon of all points
  // (a spline goes smoothly through them).
  void Add(float x, float y);
  const std::vector<Point>& Points() const { return points_; }
  // Ends the drawing: polygons get their raster. False when the shape
  // encloses nothing (fewer than 3 polygon points, or no area), which leaves
  // the shape unfinished.
  bool Finish();
  bool Finished() const { return finished_; }

  // Signed distance at a pixel, positive inside; 1.0 with no shape.
  float Distance(float x, float y) const;
  // The inner size: half the shorter side of a rectangle, the shorter
  // semi-axis of a circle, the raster's highest value (the polygon's inner
  // radius) for the other kinds, 1.0 with no shape.
  float InnerRadius() const;
  // The screen box of the shape: x0, y0, x1, y1.
  std::array<float, 4> Box() const;
  // The outline to draw, closed, in pixels (a rectangle's four corners, a
  // circle's 64 points, the smoothed spline).
  std::vector<Point> Outline() const;

 private:
  // The polygon whose inside counts: the points, or the spline through them.
  std::vector<Point> Polygon() const;
  void MakeRaster(const std::vector<Point>& polygon);
  float RasterAt(float x, float y) const;

  std::vector<Point> points_;
  bool finished_ = false;
  // Polygon kinds: the distance sampled at integer pixels from (rx_, ry_),
  // rw_ x rh_ samples, 2 pixels of margin around the polygon's box.
  std::vector<float> raster_;
  int rx_ = 0, ry_ = 0, rw_ = 0, rh_ = 0;
  float rasterMax_ = 0.f;
};
