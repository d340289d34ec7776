// StrokeFrame: the state of one dab, shared read-only by the workers that
// carry it to the samples. A dab is a capsule of varying radius swept from the
// last pick point to this one (or along a curve), so strokes stay continuous
// without dense stamping; SegmentPoint measures a point against it. Lengths
// are in paint units (world units times the scene's UnitScale).
#pragma once
#include "render/Math3D.h"

struct StrokeFrame {
  comms::cVec3 SegmentStart, SegmentEnd;
  comms::cVec3 CurveB, CurveC;  // B(t) = CurveB t + CurveC t^2 from SegmentStart
  bool IsCurved = false;
  float SpeedRatio = 0;  // k of the curved parameter: t' = ((1 - k) t + k) t
  bool SinglePoint = false;
  float StartRadius = 1, EndRadius = 1;
  float PrevPressure = 1, PenPressure = 1;
  comms::cVec3 AxisX{1, 0, 0}, AxisY{0, 1, 0}, AxisZ{0, 0, 1};  // the pen's frame
  comms::cVec3 ViewDir{0, 0, -1};  // where the view looks, world
  float MaxRadius = 1e30f;         // the largest radius the options allow
  float SegmentLength = 0;
  float StripAspect = 1, StripWidth = 1;
  float StripPhase = 0;  // where along the strip this dab begins
  // The pen radius before pressure, paint units: the depth scale when depth
  // does not follow the radius.
  float PenRadius = 1;
  float DabColor[4] = {1, 1, 1, 1};  // this dab's colour (after jitter), 0..1
  // Switches of the stroke mode.
  bool DepthFollowsRadius = false, OpacityFollowsRadius = false, SpecularFollowsRadius = false;
  bool PressureScaled = false;  // any of the three
  bool UsePenColor = true;      // false paints white
  bool IgnoreBackfaces = true;  // the stroke's working copy

  // Radius, start and end, segment and the mode switches from the stroke mode.
  void SetSegment(const comms::cVec3& start, const comms::cVec3& end, float startRadius, float endRadius);
  void SetStrokeMode(int strokeMode);
  // The vector from the nearest point of the stroke to p, and the stroke's
  // parameter there (unclamped on a straight segment).
  // The straight segment is inline: the walk asks it for every sample.
  void SegmentPoint(const comms::cVec3& p, comms::cVec3& outVector, float& outT) const {
    if (SinglePoint || IsCurved) return PointOrCurvePoint(p, outVector, outT);
    const comms::cVec3 a = SegmentEnd - SegmentStart;
    const float L2 = Dot(a, a);
    if (L2 == 0) {
      outT = 0.5f;
      outVector = p - SegmentStart;
      return;
    }
    const float t = Dot(p - SegmentStart, a) / L2;
    outT = t;
    outVector = p - SegmentStart - a * (t < 0 ? 0.0f : t > 1 ? 1.0f : t);
  }
  float RadiusAt(float t) const {
    if (SinglePoint) return EndRadius;
    const float r = StartRadius + (EndRadius - StartRadius) * t;
    return r < 1e-10f ? 1e-10f : r > MaxRadius ? MaxRadius : r;
  }
  float PressureAt(float t) const;
  // The unit direction of the stroke at t (the pen's x axis for a point).
  comms::cVec3 DirectionAt(float t) const;
  // Where a sample at `v` from the stroke (parameter t, radius r) lies on
  // the strip: along it (x) and across it, `side` being the direction
  // across (the stroke's direction crossed with the surface normal).
  void StripPlace(const comms::cVec3& v, float t, float r, const comms::cVec3& side, float& x, float& y) const {
    x = t * SegmentLength / EndRadius / StripAspect + StripPhase;
    y = Dot(v, side) * StripWidth / r;
  }
  // The largest of the two radii.
  float MaxDabRadius() const { return StartRadius > EndRadius ? StartRadius : EndRadius; }

 private:
  // SegmentPoint of a single point or a curve.
  void PointOrCurvePoint(const comms::cVec3& p, comms::cVec3& outVector, float& outT) const;
};
