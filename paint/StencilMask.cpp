// The stencil and the material pattern over the view (see StencilMask.h).
#include "paint/StencilMask.h"

#include <algorithm>
#include <cmath>

#include "interchange/Image.h"
#include "interchange/PictureGreen.h"
#include "render/Viewer.h"

ViewProjection ProjectionThrough(const comms::cViewer& camera) {
  return [&camera](const float p[3], float& sx, float& sy) {
    const comms::cVec3 s = camera.ProjectToView(comms::cVec3(p[0], p[1], p[2]));
    sx = s.x, sy = s.y;
    return std::isfinite(s.x) && std::isfinite(s.y);
  };
}

void StencilMask::ProjectThrough(const comms::cViewer& camera) { Project = ProjectionThrough(camera); }

bool StencilMask::GreenPlane(const comms::cImage& picture, Plane& out) {
  if (!PictureReadable(picture)) return false;
  out.W = picture.width, out.H = picture.height;
  out.V.resize((size_t)out.W * out.H);
  // Rows of a picture are stored bottom-up; the plane keeps the top first.
  for (int y = 0; y < out.H; y++)
    for (int x = 0; x < out.W; x++) out.V[(size_t)y * out.W + x] = PictureGreen(picture, x, out.H - 1 - y) / 255.0f;
  return true;
}

float StencilMask::Plane::Sample(float x, float y) const {
  x = std::clamp(x - 0.5f, 0.0f, (float)(W - 1)), y = std::clamp(y - 0.5f, 0.0f, (float)(H - 1));
  const int x0 = (int)x, y0 = (int)y, x1 = std::min(x0 + 1, W - 1), y1 = std::min(y0 + 1, H - 1);
  const float fx = x - x0, fy = y - y0;
  auto at = [&](int i, int j) { return V[(size_t)j * W + i]; };
  return (at(x0, y0) * (1 - fx) + at(x1, y0) * fx) * (1 - fy) + (at(x0, y1) * (1 - fx) + at(x1, y1) * fx) * fy;
}

bool StencilMask::SetStencil(const comms::cImage& picture, float x, float y, float w, float h) {
  stencil_ = Plane();
  if (!(w > 0) || !(h > 0) || !GreenPlane(picture, stencil_)) return false;
  x_ = x, y_ = y, w_ = w, h_ = h;
  return true;
}

bool StencilMask::SetPattern(const comms::cImage& picture, float scale) {
  pattern_ = Plane();
  if (!(scale > 0) || !GreenPlane(picture, pattern_)) return false;
  scale_ = scale;
  return true;
}

float StencilMask::At(const float p[3]) const {
  if ((stencil_.Empty() && pattern_.Empty()) || !Project) return 1.0f;
  float sx, sy;
  if (!Project(p, sx, sy)) return 1.0f;
  float v = 1.0f;
  if (!stencil_.Empty()) {
    const float u = (sx - x_) / w_, t = (sy - y_) / h_;
    if (u >= 0 && u <= 1 && t >= 0 && t <= 1) {
      const float s = stencil_.Sample(u * stencil_.W, t * stencil_.H);
      v *= InvMask ? 1 - s : s;
    }
  }
  if (!pattern_.Empty()) {
    float u = sx, t = sy;
    if (Placement) Placement->ToPattern(sx, sy, u, t);
    const float px = u / scale_, py = t / scale_;
    const float wx = px - std::floor(px / pattern_.W) * pattern_.W, wy = py - std::floor(py / pattern_.H) * pattern_.H;
    v *= pattern_.Sample(wx, wy);
  }
  return v;
}
