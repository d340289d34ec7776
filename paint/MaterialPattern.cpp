// The material pattern's placement; see MaterialPattern.h.
#include "paint/MaterialPattern.h"

#include <cmath>

void MaterialPattern::ScaleAbout(float sx, float sy, float cx, float cy) {
  // Along the pattern's own axes: turn the origin's offset from the centre
  // into them, scale, and turn back.
  const float c = std::cos(Rotation), s = std::sin(Rotation);
  const float x = OffsetX - cx, y = OffsetY - cy;
  const float a = (x * c + y * s) * sx, b = (-x * s + y * c) * sy;
  OffsetX = cx + a * c - b * s;
  OffsetY = cy + a * s + b * c;
  ScaleX *= sx, ScaleY *= sy;
}

void MaterialPattern::RotateAbout(float angle, float cx, float cy) {
  const float c = std::cos(angle), s = std::sin(angle);
  const float x = OffsetX - cx, y = OffsetY - cy;
  OffsetX = cx + x * c - y * s;
  OffsetY = cy + x * s + y * c;
  Rotation += angle;
}

void MaterialPattern::ToPattern(float x, float y, float& u, float& v) const {
  // Undo the turn about the origin, then the scale.
  const float c = std::cos(-Rotation), s = std::sin(-Rotation);
  const float dx = x - OffsetX, dy = y - OffsetY;
  u = (dx * c - dy * s) / (ScaleX != 0 ? ScaleX : 1);
  v = (dx * s + dy * c) / (ScaleY != 0 ? ScaleY : 1);
}
