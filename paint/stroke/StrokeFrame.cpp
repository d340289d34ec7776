// Distance to the stroke: a point, a straight capsule or a quadratic curve.
#include "paint/stroke/StrokeFrame.h"

#include <algorithm>
#include <cmath>

#include "paint/PenDab.h"

using comms::cVec3;

void StrokeFrame::SetSegment(const cVec3& start, const cVec3& end, float startRadius, float endRadius) {
  SegmentStart = start, SegmentEnd = end;
  StartRadius = startRadius, EndRadius = endRadius;
  SegmentLength = (end - start).Length();
}

void StrokeFrame::SetStrokeMode(int mode) {
  DepthFollowsRadius = mode == 0 || AmountsFollowPressure(mode);
  OpacityFollowsRadius = SpecularFollowsRadius = AmountsFollowPressure(mode);
  PressureScaled = DepthFollowsRadius || OpacityFollowsRadius || SpecularFollowsRadius;
}

namespace {

// Real roots of t^3 + a t^2 + b t + c = 0; returns their count (1 or 3).
int SolveCubic(double a, double b, double c, double roots[3]) {
  const double q = (a * a - 3 * b) / 9, r = (2 * a * a * a - 9 * a * b + 27 * c) / 54;
  const double q3 = q * q * q;
  if (r * r < q3) {
    const double th = std::acos(std::clamp(r / std::sqrt(q3), -1.0, 1.0)), s = -2 * std::sqrt(q);
    roots[0] = s * std::cos(th / 3) - a / 3;
    roots[1] = s * std::cos((th + 2 * M_PI) / 3) - a / 3;
    roots[2] = s * std::cos((th - 2 * M_PI) / 3) - a / 3;
    return 3;
  }
  double A = -std::cbrt(std::fabs(r) + std::sqrt(r * r - q3));
  if (r < 0) A = -A;
  const double B = A != 0 ? q / A : 0;
  roots[0] = A + B - a / 3;
  return 1;
}

}  // namespace

void StrokeFrame::PointOrCurvePoint(const cVec3& p, cVec3& outVector, float& outT) const {
  if (SinglePoint) {
    outVector = p - SegmentEnd;
    return;
  }
  if (IsCurved) {
    // Nearest point of B(t) = b t + c t^2 to q: d/dt |B - q|^2 = 0 is the cubic
    // 2 c.c t^3 + 3 b.c t^2 + (b.b - 2 q.c) t - q.b = 0.
    const cVec3 q = p - SegmentStart;
    const double cc = Dot(CurveC, CurveC), bc = Dot(CurveB, CurveC), bb = Dot(CurveB, CurveB);
    const double qc = Dot(q, CurveC), qb = Dot(q, CurveB);
    double roots[3];
    int n;
    if (cc < 1e-20) {  // a straight curve: one linear root
      roots[0] = bb > 0 ? qb / bb : 0.5;
      n = 1;
    } else {
      n = SolveCubic(3 * bc / (2 * cc), (bb - 2 * qc) / (2 * cc), -qb / (2 * cc), roots);
    }
    float bestT = 0, best = 1e30f;
    cVec3 bestV;
    for (int i = 0; i < n; i++) {
      const float t = (float)std::clamp(roots[i], 0.0, 1.0);
      const cVec3 v = q - (CurveB * t + CurveC * (t * t));
      const float d = Dot(v, v);
      if (d < best) best = d, bestT = t, bestV = v;
    }
    outVector = bestV;
    outT = ((1 - SpeedRatio) * bestT + SpeedRatio) * bestT;
  }
}

float StrokeFrame::PressureAt(float t) const {
  return PrevPressure + (PenPressure - PrevPressure) * std::clamp(t, 0.0f, 1.0f);
}

comms::cVec3 StrokeFrame::DirectionAt(float t) const {
  comms::cVec3 d = AxisX;
  if (IsCurved) {
    t = std::clamp(t, 0.0f, 1.0f);
    d = CurveB + CurveC * (2 * t);
  } else if (!SinglePoint) {
    d = SegmentEnd - SegmentStart;
  }
  return Dot(d, d) > 0 ? d.Normalized() : AxisX;
}
