// The depth plane of a dab in the pen's frame: x, y across the pen in pixels,
// z along the view in pen radii from the dab's end point.
#include "paint/stroke/StrokeOcclusion.h"

#include <algorithm>
#include <cmath>

#include "paint/raster/RasterOps.h"
#include "paint/scene/PaintScene.h"
#include "paint/stroke/StrokeFrame.h"

using comms::cVec3;

namespace {

// Counts the pixels of a triangle in the window, and those not behind the
// plane.
class VisibleCount : public RasterOp {
 public:
  const ZChecker* Plane = nullptr;
  int Owned = 0, Visible = 0;
  void Op(int x, int y, float z, float, float) override {
    Owned++;
    if (z <= Plane->At(x, y) + kDepthSlack) Visible++;
  }
};

}  // namespace

void DropOccludedFaces(const PaintScene& s, const StrokeFrame& f, std::vector<int>& faces, int resolution) {
  if (faces.size() < 2) return;
  const float R = std::max(f.MaxDabRadius(), 1e-6f);
  const float pixel = 2 * R / (float)std::max(resolution, 8);
  const cVec3 origin = f.SegmentEnd;
  auto project = [&](const cVec3& world) {
    const cVec3 p = world * s.UnitScale - origin;
    return cVec3(Dot(p, f.AxisX) / pixel, Dot(p, f.AxisY) / pixel, Dot(p, f.AxisZ) / R);
  };
  // The window: the segment and the pen's rim around it.
  const cVec3 a = project(f.SegmentStart * (1.0f / s.UnitScale));
  const float rim = 1.5f * R / pixel;
  const int x0 = (int)std::floor(std::min(a.x, 0.0f) - rim), y0 = (int)std::floor(std::min(a.y, 0.0f) - rim);
  const int x1 = (int)std::ceil(std::max(a.x, 0.0f) + rim), y1 = (int)std::ceil(std::max(a.y, 0.0f) + rim);
  ZChecker plane;
  plane.Reset(x0, y0, x1 - x0, y1 - y0);
  auto triangles = [&](int face, RasterOp& op) {
    op.ClipX0 = x0, op.ClipY0 = y0, op.ClipX1 = x1, op.ClipY1 = y1;
    const int n = s.FaceCornerMap.Entries(face) - 1;
    const int* c = s.FaceCornerMap.Of(face);
    if (n < 3) return;
    const cVec3 p0 = project(s.Vertices[s.Corners[c[0]].Vertex].Position);
    for (int i = 1; i + 1 < n; i++)
      op.PixelTriangle(p0, project(s.Vertices[s.Corners[c[i]].Vertex].Position),
                       project(s.Vertices[s.Corners[c[i + 1]].Vertex].Position));
  };
  for (int face : faces) triangles(face, plane);
  VisibleCount visible;
  visible.Plane = &plane;
  // A face owning no pixel of the window (too small, edge-on) cannot be
  // judged: it stays.
  faces.erase(std::remove_if(faces.begin(), faces.end(), [&](int face) {
                visible.Owned = visible.Visible = 0;
                triangles(face, visible);
                return visible.Owned > 0 && visible.Visible == 0;
              }),
              faces.end());
}
