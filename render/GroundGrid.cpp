// The ground grid; see GroundGrid.h.
#include "render/GroundGrid.h"

namespace comms {
namespace {
// The view pixel of a clip-space point in front of the eye.
cVec3 ToView(const cViewer& camera, const cVec4& c) {
  float x = c.x / c.w, y = c.y / c.w;
  return {camera.ViewRect.left + (x + 1) * 0.5f * camera.ViewWidth(),
          camera.ViewRect.top + (1 - y) * 0.5f * camera.ViewHeight(), c.z / c.w};
}

// One world segment: cut to the part with w above a small margin, then drawn.
void DrawSegment(cRender& render, const cViewer& camera, const cVec3& a, const cVec3& b, uint32_t argb) {
  constexpr float kNearW = 1e-3f;
  cVec4 ca = Transform(cVec4(a.x, a.y, a.z, 1), camera.ViewProj);
  cVec4 cb = Transform(cVec4(b.x, b.y, b.z, 1), camera.ViewProj);
  if (ca.w < kNearW && cb.w < kNearW) return;
  auto cut = [&](cVec4& behind, const cVec4& front) {
    float t = (kNearW - behind.w) / (front.w - behind.w);
    behind = cVec4(behind.x + (front.x - behind.x) * t, behind.y + (front.y - behind.y) * t,
                   behind.z + (front.z - behind.z) * t, kNearW);
  };
  if (ca.w < kNearW) cut(ca, cb);
  if (cb.w < kNearW) cut(cb, ca);
  cVec3 pa = ToView(camera, ca), pb = ToView(camera, cb);
  render.DrawLine(pa.x, pa.y, pb.x, pb.y, 0, argb, argb);
}
}  // namespace

void DrawGroundGrid(cRender& render, const cViewer& camera, const cVec3& centre, float step, int lines,
                    uint32_t argb) {
  if (step <= 0 || lines <= 0) return;
  float half = step * float(lines);
  for (int i = -lines; i <= lines; i++) {
    float d = step * float(i);
    DrawSegment(render, camera, {centre.x + d, centre.y, centre.z - half}, {centre.x + d, centre.y, centre.z + half},
                argb);
    DrawSegment(render, camera, {centre.x - half, centre.y, centre.z + d}, {centre.x + half, centre.y, centre.z + d},
                argb);
  }
  render.Flush2D();
}

}  // namespace comms
