// Filling a set of closed outlines (a glyph's contours) with triangles: the
// outlines are nested by containment (even depth fills, odd depth is a
// hole), each hole is bridged to its outer outline, and each outer outline
// with its holes is cut into ears. The result is a FlatFigure whose border
// is exactly the outlines, outer ones counter-clockwise and holes clockwise.
#pragma once
#include <vector>

#include "MC/objects/ExtrudedFigure.h"

// One closed outline: x, y pairs, the last point joined to the first.
using Outline = std::vector<float>;

// Adds the filled outlines to `figure` (their vertices, triangles and
// border). Outlines with fewer than 3 points or no area are dropped. The
// outlines must not cross each other or themselves.
void FillOutlines(const std::vector<Outline>& outlines, FlatFigure& figure);
