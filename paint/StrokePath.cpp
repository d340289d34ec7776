// Line and curve paths cut by their length (see StrokePath.h).
#include "paint/StrokePath.h"

#include <algorithm>
#include <cmath>

#include "ClassEngine/comms/cSpline.h"

namespace {
constexpr int kMinSteps = 10;
// How finely the curve is measured before it is cut by length.
constexpr int kCurveSamplesPerSpan = 64;

float Distance(ScreenPoint a, ScreenPoint b) { return std::hypot(b.X - a.X, b.Y - a.Y); }

// Points an equal distance apart along the polyline, the ends kept.
std::vector<ScreenPoint> CutByLength(const std::vector<ScreenPoint>& poly, float step) {
  float length = 0;
  for (size_t i = 1; i < poly.size(); i++) length += Distance(poly[i - 1], poly[i]);
  const int steps = std::max(kMinSteps, step > 0 ? (int)std::ceil(length / step - 1e-4f) : kMinSteps);
  std::vector<ScreenPoint> out;
  out.reserve(steps + 1);
  out.push_back(poly.front());
  size_t seg = 1;
  float before = 0;  // length of the polyline up to poly[seg - 1]
  for (int k = 1; k < steps; k++) {
    const float want = length * k / steps;
    while (seg + 1 < poly.size() && before + Distance(poly[seg - 1], poly[seg]) < want)
      before += Distance(poly[seg - 1], poly[seg]), seg++;
    const float d = Distance(poly[seg - 1], poly[seg]);
    const float t = d > 0 ? std::clamp((want - before) / d, 0.0f, 1.0f) : 0.0f;
    out.push_back({poly[seg - 1].X + (poly[seg].X - poly[seg - 1].X) * t,
                   poly[seg - 1].Y + (poly[seg].Y - poly[seg - 1].Y) * t});
  }
  out.push_back(poly.back());
  return out;
}

// Uniform cubic B-spline with its end nodes tripled, so it starts and ends
// on them.
std::vector<ScreenPoint> BSplinePolyline(const std::vector<ScreenPoint>& nodes) {
  std::vector<ScreenPoint> p;
  p.push_back(nodes.front()), p.push_back(nodes.front());
  p.insert(p.end(), nodes.begin(), nodes.end());
  p.push_back(nodes.back()), p.push_back(nodes.back());
  std::vector<ScreenPoint> out;
  for (size_t i = 0; i + 3 < p.size(); i++)
    for (int k = (i == 0 ? 0 : 1); k <= kCurveSamplesPerSpan; k++) {
      const float t = (float)k / kCurveSamplesPerSpan, s = 1 - t;
      const float b0 = s * s * s / 6, b1 = (3 * t * t * t - 6 * t * t + 4) / 6,
                  b2 = (-3 * t * t * t + 3 * t * t + 3 * t + 1) / 6, b3 = t * t * t / 6;
      out.push_back({b0 * p[i].X + b1 * p[i + 1].X + b2 * p[i + 2].X + b3 * p[i + 3].X,
                     b0 * p[i].Y + b1 * p[i + 1].Y + b2 * p[i + 2].Y + b3 * p[i + 3].Y});
    }
  return out;
}

std::vector<ScreenPoint> CatmullRomPolyline(const std::vector<ScreenPoint>& nodes) {
  comms::cSpline spline;
  for (const ScreenPoint& n : nodes) spline.AddNode(n.X, n.Y, 0);
  const int samples = (int)(nodes.size() - 1) * kCurveSamplesPerSpan;
  std::vector<ScreenPoint> out;
  for (int k = 0; k <= samples; k++) {
    float p[3];
    spline.Evaluate((float)k / samples, p);
    out.push_back({p[0], p[1]});
  }
  return out;
}
}  // namespace

float PathStep(float radiusPixels, bool useSpacing, float spacing) {
  return useSpacing ? radiusPixels / (spacing + 0.01f) : radiusPixels / 5;
}

std::vector<ScreenPoint> LinePath(ScreenPoint a, ScreenPoint b, float step) { return CutByLength({a, b}, step); }

std::vector<ScreenPoint> TrackPath(const std::vector<ScreenPoint>& track, float step) {
  if (track.size() < 2) return track;
  return CutByLength(track, step);
}

std::vector<ScreenPoint> CurvePath(const std::vector<ScreenPoint>& nodes, float step, bool bSpline) {
  if (nodes.size() < 2) return nodes;
  return CutByLength(bSpline ? BSplinePolyline(nodes) : CatmullRomPolyline(nodes), step);
}
