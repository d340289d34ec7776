// The view state of the UV preview: the rectangle it takes on the screen
// while shown, and its own pan and zoom. Navigation pans it (the UV move row,
// and a pan or zoom row that starts over it) instead of the camera, and rows
// marked "only in UV" start only over it. Nothing draws it yet.
#pragma once

struct UvPreview {
  bool Shown = false;
  float X = 0, Y = 0, W = 0, H = 0;  // on the screen
  float PanX = 0, PanY = 0;          // pixels
  float Zoom = 1;

  bool Contains(float x, float y) const { return Shown && x >= X && x < X + W && y >= Y && y < Y + H; }
  void Pan(float dx, float dy) { PanX += dx, PanY += dy; }
  // Zooms by `factor` about the screen point (x, y), which stays over the
  // same place of the UV square; the zoom stays within 1/64 to 64.
  void ZoomAbout(float factor, float x, float y);
};
