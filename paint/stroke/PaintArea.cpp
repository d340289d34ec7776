// The drawn shape as a mask over the view, and the faces it may reach.
#include "paint/stroke/PaintArea.h"

#include <algorithm>
#include <cmath>

#include "paint/scene/PaintScene.h"

AreaMask::AreaMask(const DrawnShape& shape, StencilMask::Projection project, const BrushMaskSource* inner,
                   float softBorder)
    : shape_(shape), project_(std::move(project)), inner_(inner), invSoft_(1.0f / std::max(softBorder, 1e-3f)) {}

float AreaMask::At(const float p[3]) const {
  float sx, sy;
  if (!project_ || !project_(p, sx, sy)) return 0;
  const float d = shape_.Distance(sx, sy) * invSoft_;
  if (!(d > 0)) return 0;
  const float m = d < 1 ? d : 1.0f;
  return inner_ ? m * inner_->At(p) : m;
}

void FacesUnderShape(const PaintScene& scene, const DrawnShape& shape, const StencilMask::Projection& project,
                     std::vector<int>& out, float margin) {
  out.clear();
  if (!project) return;
  const std::array<float, 4> box = shape.Box();
  for (int f = 0; f < (int)scene.Faces.size(); f++) {
    const PaintFace& F = scene.Faces[f];
    if (!F.Editable || !F.Visible || (!F.Grid && !F.Texels)) continue;
    const int n = scene.FaceCornerMap.Entries(f) - 1;
    const int* c = scene.FaceCornerMap.Of(f);
    float x0 = 1e30f, y0 = 1e30f, x1 = -1e30f, y1 = -1e30f;
    bool behind = false;
    for (int i = 0; i < n; i++) {
      const comms::cVec3& q = scene.Vertices[scene.Corners[c[i]].Vertex].Position;
      const float p[3] = {q.x, q.y, q.z};
      float sx, sy;
      if (!project(p, sx, sy)) {
        behind = true;
        break;
      }
      x0 = std::min(x0, sx), x1 = std::max(x1, sx), y0 = std::min(y0, sy), y1 = std::max(y1, sy);
    }
    if (n <= 0) continue;
    if (behind || (x1 >= box[0] - margin && x0 <= box[2] + margin && y1 >= box[1] - margin &&
                   y0 <= box[3] + margin))
      out.push_back(f);
  }
}
