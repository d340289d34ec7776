// StencilMask: a stencil picture stretched over a rectangle of the view and a
// material pattern tiled over the whole view, each read by its green channel
// (0 holds the pen back, 255 lets it through). A point is taken to the screen
// by the current view's projection and the two values there multiply; the
// stencil's switch inverts it. Outside the stencil's rectangle, and where no
// picture is set, the factor is 1.
#pragma once
#include <cstdint>
#include <functional>
#include <vector>

#include "paint/BrushMaskSource.h"
#include "paint/MaterialPattern.h"

namespace comms {
class cImage;
class cViewer;
}  // namespace comms

// A point to view pixels (x right, y down); false when it is behind the view.
using ViewProjection = std::function<bool(const float p[3], float& sx, float& sy)>;
// World points through the camera (which must outlive the projection).
ViewProjection ProjectionThrough(const comms::cViewer& camera);

class StencilMask : public BrushMaskSource {
 public:
  using Projection = ViewProjection;
  Projection Project;
  bool InvMask = false;  // the stencil reads 1 - value

  // Projects world points through the camera.
  void ProjectThrough(const comms::cViewer& camera);
  // The stencil over the view rectangle (x, y, w, h); false when the picture
  // is empty or of a format without 8-bit channels (the mask is then unset).
  bool SetStencil(const comms::cImage& picture, float x, float y, float w, float h);
  // The pattern tiled from the placement's origin (the view's corner without
  // one), one picture pixel `scale` view pixels along the placement's axes.
  bool SetPattern(const comms::cImage& picture, float scale);
  const MaterialPattern* Placement = nullptr;
  void ClearStencil() { stencil_ = Plane(); }
  void ClearPattern() { pattern_ = Plane(); }

  float At(const float p[3]) const override;

 private:
  // One channel, 0..1, top row first.
  struct Plane {
    int W = 0, H = 0;
    std::vector<float> V;
    bool Empty() const { return V.empty(); }
    // Bilinear at picture pixel coordinates (x right, y down), held at the borders.
    float Sample(float x, float y) const;
  };
  static bool GreenPlane(const comms::cImage& picture, Plane& out);
  Plane stencil_, pattern_;
  float x_ = 0, y_ = 0, w_ = 1, h_ = 1, scale_ = 1;
};
