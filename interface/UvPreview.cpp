// The UV preview's view state; see UvPreview.h.
#include "interface/UvPreview.h"

#include <algorithm>

void UvPreview::ZoomAbout(float factor, float x, float y) {
  const float z = std::clamp(Zoom * factor, 1.0f / 64, 64.0f);
  const float f = z / Zoom;
  // The point under (x, y) relative to the preview's panned origin keeps its place.
  const float ox = X + PanX, oy = Y + PanY;
  PanX = x - (x - ox) * f - X;
  PanY = y - (y - oy) * f - Y;
  Zoom = z;
}
