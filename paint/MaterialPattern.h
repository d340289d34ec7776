// The placement of the material pattern that the pen paints through: where
// its origin lies on the screen, its scale along each axis and its turn. The
// navigation rows of the pattern (move, scale, rotate, aspect) and the
// pattern handles change it; the pen's mask reads it to map the screen onto
// the pattern. Nothing draws it yet.
#pragma once

struct MaterialPattern {
  float OffsetX = 0, OffsetY = 0;  // the pattern's origin, screen pixels
  float ScaleX = 1, ScaleY = 1;
  float Rotation = 0;  // radians

  void Move(float dx, float dy) { OffsetX += dx, OffsetY += dy; }
  // Scales by (sx, sy) along the pattern's axes about the screen point
  // (cx, cy): that point keeps its place on the pattern.
  void ScaleAbout(float sx, float sy, float cx, float cy);
  // Turns by `angle` radians about the screen point (cx, cy).
  void RotateAbout(float angle, float cx, float cy);
  // The pattern coordinates of a screen point.
  void ToPattern(float x, float y, float& u, float& v) const;
};
