// A drawn shape painted in one go (the pen's area modes: rectangle, lasso,
// contour, circle, spline). Every sample of the faces under the shape takes
// the pen's centre, weighted by how far inside the shape its place on the
// screen lies: clamp(distance / ShapeSoftBorder, 0, 1), so the border fades in
// over a few pixels, times the stencil and material mask when one is set.
// PaintDabs::Area carries it out as one part of a stroke.
#pragma once
#include <vector>

#include "paint/BrushMaskSource.h"
#include "paint/StencilMask.h"
#include "paint/stroke/DrawnShape.h"

class PaintScene;

class AreaMask : public BrushMaskSource {
 public:
  // `shape` finished, in the pixels `project` gives; `inner` (may be null)
  // multiplies the factor; `softBorder` pixels (at least 1e-3).
  AreaMask(const DrawnShape& shape, StencilMask::Projection project, const BrushMaskSource* inner,
           float softBorder);
  float At(const float p[3]) const override;

 private:
  const DrawnShape& shape_;
  StencilMask::Projection project_;
  const BrushMaskSource* inner_;
  float invSoft_;
};

// The editable, visible faces whose corners' box on the screen meets the
// shape's box grown by `margin` pixels, in face order. A face with a corner
// behind the view is taken (it may cross the shape).
void FacesUnderShape(const PaintScene& scene, const DrawnShape& shape, const StencilMask::Projection& project,
                     std::vector<int>& out, float margin = 2);
