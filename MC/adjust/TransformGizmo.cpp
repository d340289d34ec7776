// The move, turn and scale gizmo (see TransformGizmo.h).
#include "MC/adjust/TransformGizmo.h"

#include <algorithm>
#include <cmath>

#include "render/Render.h"
#include "render/Viewer.h"

using comms::cMat4;
using comms::cVec3;

namespace {

constexpr int kRingSegments = 64;
constexpr float kRingShare = 0.8f;  // ring radius as a share of the arrows

float SegmentDistance(float px, float py, const cVec3& a, const cVec3& b) {
  const float dx = b.x - a.x, dy = b.y - a.y, l2 = dx * dx + dy * dy;
  float t = l2 > 1e-12f ? ((px - a.x) * dx + (py - a.y) * dy) / l2 : 0.f;
  t = std::clamp(t, 0.f, 1.f);
  return std::hypot(px - (a.x + t * dx), py - (a.y + t * dy));
}

// The two unit vectors across axis a.
void Across(int a, cVec3& u, cVec3& v) {
  u = cVec3(a == 1, a == 2, a == 0);
  v = cVec3(a == 2, a == 0, a == 1);
}

// Matrix of the change `m` made about point c: T(-c) m T(c).
cMat4 About(const cVec3& c, const cMat4& m) { return cMat4::Translation(-c) * m * cMat4::Translation(c); }

}  // namespace

bool TransformGizmo::AxisParam(const comms::cViewer& camera, const cVec3& axis, float x, float y, float& t) const {
  cVec3 o, d;
  camera.PixelRay(x, y, o, d);
  // Nearest points of the lines Centre + axis t and o + d s.
  const cVec3 w = Centre - o;
  const float b = Dot(axis, d), c = Dot(d, d), dw = Dot(axis, w), ew = Dot(d, w);
  const float denom = c - b * b;  // |axis| = 1
  if (std::fabs(denom) < 1e-8f * c) return false;  // the ray runs along the arrow
  t = (b * ew - c * dw) / denom;
  return true;
}

float TransformGizmo::WorldSize(const comms::cViewer& camera) const {
  const cVec3 a = camera.ProjectToView(Centre), b = camera.ProjectToView(Centre + camera.Right);
  const float perUnit = std::hypot(b.x - a.x, b.y - a.y);
  return perUnit > 1e-6f ? SizePixels / perUnit : SizePixels;
}

float TransformGizmo::RingDistance(const comms::cViewer& camera, int a, float x, float y) const {
  cVec3 u, v;
  Across(a, u, v);
  const float r = WorldSize(camera) * kRingShare;
  float best = 1e30f;
  cVec3 prev = camera.ProjectToView(Centre + u * r);
  for (int i = 1; i <= kRingSegments; ++i) {
    const float t = 6.2831853f * float(i) / kRingSegments;
    const cVec3 p = camera.ProjectToView(Centre + (u * std::cos(t) + v * std::sin(t)) * r);
    best = std::min(best, SegmentDistance(x, y, prev, p));
    prev = p;
  }
  return best;
}

int TransformGizmo::HitTest(const comms::cViewer& camera, float x, float y) const {
  const cVec3 c = camera.ProjectToView(Centre);
  if (std::fabs(x - c.x) <= GrabPixels && std::fabs(y - c.y) <= GrabPixels) return kScale;
  const float size = WorldSize(camera);
  int best = kNone;
  float bestDistance = GrabPixels;
  for (int a = 0; a < 3; ++a) {
    const float d = SegmentDistance(x, y, c, camera.ProjectToView(Centre + Axis(a) * size));
    if (d <= bestDistance) bestDistance = d, best = kMoveX + a;
  }
  if (best != kNone) return best;
  for (int a = 0; a < 3; ++a) {
    const float d = RingDistance(camera, a, x, y);
    if (d <= bestDistance) bestDistance = d, best = kTurnX + a;
  }
  return best;
}

bool TransformGizmo::Begin(const comms::cViewer& camera, float x, float y) {
  part_ = HitTest(camera, x, y);
  startX_ = x, startY_ = y;
  return part_ != kNone;
}

cMat4 TransformGizmo::DragTo(const comms::cViewer& camera, float x, float y) const {
  if (part_ == kNone) return cMat4();
  const cVec3 c = camera.ProjectToView(Centre);
  if (part_ <= kMoveZ) {
    // The points of the arrow's line nearest to the pointer's rays at the
    // start and now: the arrow's point stays under the pointer.
    const cVec3 axis = Axis(part_ - kMoveX);
    float t0, t1;
    if (!AxisParam(camera, axis, startX_, startY_, t0) || !AxisParam(camera, axis, x, y, t1)) return cMat4();
    return cMat4::Translation(axis * (t1 - t0));
  }
  if (part_ <= kTurnZ) {
    const cVec3 axis = Axis(part_ - kTurnX);
    float angle = std::atan2(y - c.y, x - c.x) - std::atan2(startY_ - c.y, startX_ - c.x);
    // Screen y runs down: a sweep that looks counter-clockwise is clockwise
    // about the axis that points at the eye.
    if (Dot(axis, camera.Forward) < 0) angle = -angle;
    return About(Centre, comms::cQuat::FromAxisAngle(axis, angle).ToMatrix());
  }
  const float d0 = std::hypot(startX_ - c.x, startY_ - c.y), d1 = std::hypot(x - c.x, y - c.y);
  const float s = d0 > 1.f ? std::clamp(d1 / d0, 0.01f, 100.f) : 1.f;
  return About(Centre, cMat4::Scaling(s, s, s));
}

void TransformGizmo::Draw(comms::cRender& render, const comms::cViewer& camera, int hover) const {
  static const uint32_t kColours[3] = {0xffd04040u, 0xff40c040u, 0xff4060e0u};
  auto colour = [&](int part, int a) { return part == hover || part == part_ ? 0xffffff60u : kColours[a]; };
  const float size = WorldSize(camera);
  const cVec3 c = camera.ProjectToView(Centre);
  for (int a = 0; a < 3; ++a) {
    const uint32_t col = colour(kMoveX + a, a);
    const cVec3 tip = camera.ProjectToView(Centre + Axis(a) * size);
    render.DrawLine(c.x, c.y, tip.x, tip.y, 0.f, col, col);
    // The arrow's head: two short strokes back from the tip.
    const float dx = tip.x - c.x, dy = tip.y - c.y, l = std::hypot(dx, dy);
    if (l > 1.f) {
      const float ux = dx / l * 9.f, uy = dy / l * 9.f;
      render.DrawLine(tip.x, tip.y, tip.x - ux - uy * 0.5f, tip.y - uy + ux * 0.5f, 0.f, col, col);
      render.DrawLine(tip.x, tip.y, tip.x - ux + uy * 0.5f, tip.y - uy - ux * 0.5f, 0.f, col, col);
    }
    cVec3 u, v;
    Across(a, u, v);
    const uint32_t ring = colour(kTurnX + a, a);
    const float r = size * kRingShare;
    cVec3 prev = camera.ProjectToView(Centre + u * r);
    for (int i = 1; i <= kRingSegments; ++i) {
      const float t = 6.2831853f * float(i) / kRingSegments;
      const cVec3 p = camera.ProjectToView(Centre + (u * std::cos(t) + v * std::sin(t)) * r);
      render.DrawLine(prev.x, prev.y, p.x, p.y, 0.f, ring, ring);
      prev = p;
    }
  }
  const uint32_t box = kScale == hover || kScale == part_ ? 0xffffff60u : 0xffe0e0e0u;
  render.DrawFrame(comms::cRect{c.x - GrabPixels, c.y - GrabPixels, c.x + GrabPixels, c.y + GrabPixels}, 0.f, box);
  render.Flush2D();
}
