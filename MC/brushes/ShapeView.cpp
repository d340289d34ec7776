// Object space to screen pixels for the drawn-shape tools (see ShapeView.h).
#include "MC/brushes/ShapeView.h"

#include <algorithm>
#include <cmath>

#include "MC/mcubes/VolumeObject.h"
#include "render/Viewer.h"

namespace {

void Unit(float v[3]) {
  const float l = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
  if (l > 1e-20f)
    for (int a = 0; a < 3; ++a) v[a] /= l;
}

}  // namespace

ShapeView ShapeView::Of(const VolumeObject& volume, const comms::cViewer& camera, const float pick[3]) {
  ShapeView v;
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) {
      float s = 0;
      for (int k = 0; k < 4; ++k) s += volume.Transform[i * 4 + k] * camera.ViewProj.m[k][j];
      v.M[i][j] = s;
    }
  v.Left = camera.ViewRect.left;
  v.Top = camera.ViewRect.top;
  v.Width = std::max(1.f, camera.ViewWidth());
  v.Height = std::max(1.f, camera.ViewHeight());
  v.Ortho = camera.OrthoProj;
  const float f[3] = {camera.Forward.x, camera.Forward.y, camera.Forward.z};
  const float r[3] = {camera.Right.x, camera.Right.y, camera.Right.z};
  const float u[3] = {camera.Up.x, camera.Up.y, camera.Up.z};
  volume.VectorToObject(f, v.ViewDir);
  volume.VectorToObject(r, v.Side);
  volume.VectorToObject(u, v.Up);
  Unit(v.ViewDir), Unit(v.Side), Unit(v.Up);
  // A unit step along the side at the pick covers this many pixels.
  float x0, y0, x1, y1;
  const float step[3] = {pick[0] + v.Side[0], pick[1] + v.Side[1], pick[2] + v.Side[2]};
  if (v.Project(pick, x0, y0) && v.Project(step, x1, y1)) {
    const float pixels = std::hypot(x1 - x0, y1 - y0);
    if (pixels > 1e-6f) v.S = 1.f / pixels;
  }
  return v;
}

bool ShapeView::Project(const float p[3], float& x, float& y) const {
  float c[4];
  for (int j = 0; j < 4; ++j) c[j] = p[0] * M[0][j] + p[1] * M[1][j] + p[2] * M[2][j] + M[3][j];
  if (!Ortho && c[3] <= 1e-6f) return false;
  const float w = Ortho ? (c[3] != 0 ? c[3] : 1.f) : c[3];
  x = Left + (c[0] / w + 1) * 0.5f * Width;
  y = Top + (1 - c[1] / w) * 0.5f * Height;
  return true;
}

float ShapeView::Distance(const DrawnShape& shape, const float p[3], float k) const {
  float x, y;
  if (!Project(p, x, y)) return -1000.f;
  return std::min(shape.Distance(x, y), DepthCap(p, k));
}

float ShapeView::DepthCap(const float p[3], float k) const {
  if (!DepthLimited) return 1e30f;
  const float z = p[0] * Depth[0] + p[1] * Depth[1] + p[2] * Depth[2] + Depth[3];
  return (DepthLimit - z) / std::max(k, 1e-6f);
}

void ShapeView::LimitDepth(const VolumeObject& volume, const DrawnShape& shape, float limit, const float fallback[3]) {
  const std::array<float, 4> area = shape.Box();
  float front = 1e30f;
  volume.Cells.ForEach([&](const CellKey& k, VoxelCell* const& c) {
    if ((c->Flags & kCellHidden) || !c->Surface || !c->Surface->Vertices.Count) return;
    std::array<float, 4> box;
    if (CellBox(k.x, k.y, k.z, box) &&
        (box[2] < area[0] || box[0] > area[2] || box[3] < area[1] || box[1] > area[3]))
      return;
    const CellSurface& s = *c->Surface;
    for (int i = 0; i < s.Vertices.Count; ++i) {
      const float* p = s.Vertices[i].Pos;
      float x, y;
      if (!Project(p, x, y) || shape.Distance(x, y) <= 0) continue;
      front = std::min(front, p[0] * ViewDir[0] + p[1] * ViewDir[1] + p[2] * ViewDir[2]);
    }
  });
  if (front == 1e30f) front = fallback[0] * ViewDir[0] + fallback[1] * ViewDir[1] + fallback[2] * ViewDir[2];
  DepthLimited = true;
  DepthLimit = limit;
  for (int a = 0; a < 3; ++a) Depth[a] = ViewDir[a];
  Depth[3] = -front;
}

bool ShapeView::CellBox(int cx, int cy, int cz, std::array<float, 4>& box) const {
  box = {1e30f, 1e30f, -1e30f, -1e30f};
  for (int c = 0; c < 8; ++c) {
    const float p[3] = {float((cx + (c & 1)) * 8), float((cy + ((c >> 1) & 1)) * 8), float((cz + (c >> 2)) * 8)};
    float x, y;
    if (!Project(p, x, y)) return false;
    box[0] = std::min(box[0], x), box[1] = std::min(box[1], y);
    box[2] = std::max(box[2], x), box[3] = std::max(box[3], y);
  }
  return true;
}

ShapeView MirroredView(const ShapeView& view, const float m[9]) {
  ShapeView v = view;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 4; ++j) v.M[i][j] = m[i * 3] * view.M[0][j] + m[i * 3 + 1] * view.M[1][j] + m[i * 3 + 2] * view.M[2][j];
  auto turn = [&](const float in[3], float out[3]) {
    for (int j = 0; j < 3; ++j) out[j] = in[0] * m[j] + in[1] * m[3 + j] + in[2] * m[6 + j];
  };
  // The mirrored point's depth is the depth of the point it mirrors.
  for (int i = 0; i < 3; ++i) v.Depth[i] = m[i * 3] * view.Depth[0] + m[i * 3 + 1] * view.Depth[1] + m[i * 3 + 2] * view.Depth[2];
  turn(view.ViewDir, v.ViewDir);
  turn(view.Side, v.Side);
  turn(view.Up, v.Up);
  return v;
}
