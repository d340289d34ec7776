// The screen paths of the line, curve and preview stroke modes: a straight line from
// the press to the release, or a curve through the clicked points (Catmull-Rom,
// or a uniform B-spline held at its ends when GeneralPen::BSpilnes is on).
// Either is cut into points an equal screen distance apart, at least ten
// steps, so the dabs laid along it keep the pen's spacing.
#pragma once
#include <vector>

struct ScreenPoint {
  float X = 0, Y = 0;
};

// The screen step between two dabs: the pen's radius in pixels over its
// spacing (dabs per radius), or a fifth of the radius without spacing.
float PathStep(float radiusPixels, bool useSpacing, float spacing);

// `step` apart from a to b, both ends included; at least 11 points.
std::vector<ScreenPoint> LinePath(ScreenPoint a, ScreenPoint b, float step);

// The freehand track of the preview mode (the pointer's places while the
// button was held), cut as a line along its polyline. Fewer than two points
// stay as they are.
std::vector<ScreenPoint> TrackPath(const std::vector<ScreenPoint>& track, float step);

// The curve through (or, as a B-spline, guided by) the nodes, cut as above
// by its length. One node gives that point; none gives nothing.
std::vector<ScreenPoint> CurvePath(const std::vector<ScreenPoint>& nodes, float step, bool bSpline);
