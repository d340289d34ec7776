// What multiplies a pen at a point: a stencil or a material pattern laid over
// the view. Painting and sculpting read the same source (GeneralPen::Mask);
// without one the factor is 1.
#pragma once

class BrushMaskSource {
 public:
  virtual ~BrushMaskSource() = default;
  // The factor at a point, 0..1. The point is in the caller's space (world
  // for painting, the volume's lattice for sculpting); the source knows how
  // to take it to the screen.
  virtual float At(const float p[3]) const = 0;
};
