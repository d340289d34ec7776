// The brush cursor ring.
#include "render/SurfaceRing.h"

#include <cmath>

#include "render/Render.h"
#include "render/Viewer.h"

using comms::cVec3;

void DrawSurfaceRing(comms::cRender& render, const comms::cViewer& camera, const cVec3& centre, const cVec3& normal,
                     float radius, uint32_t colour) {
  // Two axes across the normal span the circle's plane.
  const cVec3 n = normal.Normalized();
  const cVec3 helper = std::fabs(n.y) < 0.9f ? cVec3(0, 1, 0) : cVec3(1, 0, 0);
  const cVec3 t = Cross(n, helper).Normalized(), b = Cross(n, t);
  // Lifted a little off the surface so its depth does not bite the ring.
  const cVec3 lift = n * (radius * 0.02f);
  constexpr int kSegments = 48;
  cVec3 prev = camera.ProjectToView(centre + lift + t * radius);
  for (int i = 1; i <= kSegments; ++i) {
    const float a = 6.2831853f * float(i) / kSegments;
    const cVec3 p = camera.ProjectToView(centre + lift + (t * std::cos(a) + b * std::sin(a)) * radius);
    render.DrawLine(prev.x, prev.y, p.x, p.y, 0.f, colour, colour);
    prev = p;
  }
  render.Flush2D();
}
