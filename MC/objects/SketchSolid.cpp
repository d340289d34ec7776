// The sketch tool's solid from three pictures (see SketchSolid.h).
#include "MC/objects/SketchSolid.h"

#include <algorithm>
#include <cmath>

#include "MC/brushes/CellJobs.h"
#include "interchange/PictureGreen.h"

namespace {

constexpr float kOutside = -1e6f;
constexpr float kBand = 4;

// Chamfer distances (1 and sqrt 2 steps) from every pixel to the nearest
// pixel where `target` holds; 0 on those pixels.
std::vector<float> DistanceTo(const std::vector<uint8_t>& target, int w, int h) {
  const float big = 1e9f, diag = std::sqrt(2.f);
  std::vector<float> d(target.size());
  for (size_t i = 0; i < d.size(); ++i) d[i] = target[i] ? 0.f : big;
  auto at = [&](int x, int y) { return (x < 0 || y < 0 || x >= w || y >= h) ? big : d[size_t(y) * w + x]; };
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      float& v = d[size_t(y) * w + x];
      v = std::min({v, at(x - 1, y) + 1, at(x, y - 1) + 1, at(x - 1, y - 1) + diag, at(x + 1, y - 1) + diag});
    }
  for (int y = h - 1; y >= 0; --y)
    for (int x = w - 1; x >= 0; --x) {
      float& v = d[size_t(y) * w + x];
      v = std::min({v, at(x + 1, y) + 1, at(x, y + 1) + 1, at(x + 1, y + 1) + diag, at(x - 1, y + 1) + diag});
    }
  return d;
}

}  // namespace

float SketchView::Sample(float u, float v) const {
  if (!(u >= 0 && u <= 1 && v >= 0 && v <= 1) || Width <= 0 || Height <= 0) return kOutside;
  // Pixel centres lie at (i + 0.5) / Width.
  const float x = std::clamp(u * float(Width) - 0.5f, 0.f, float(Width - 1));
  const float y = std::clamp(v * float(Height) - 0.5f, 0.f, float(Height - 1));
  const int x0 = std::min(int(x), Width - 1), y0 = std::min(int(y), Height - 1);
  const int x1 = std::min(x0 + 1, Width - 1), y1 = std::min(y0 + 1, Height - 1);
  const float fx = x - float(x0), fy = y - float(y0);
  auto px = [&](int i, int j) { return Values[size_t(j) * Width + i]; };
  return (px(x0, y0) * (1 - fx) + px(x1, y0) * fx) * (1 - fy) + (px(x0, y1) * (1 - fx) + px(x1, y1) * fx) * fy;
}

float SketchView::At(const float p[3]) const {
  const float* m = Matrix;
  const float u = p[0] * m[0] + p[1] * m[4] + p[2] * m[8] + m[12];
  const float v = p[0] * m[1] + p[1] * m[5] + p[2] * m[9] + m[13];
  return Sample(u, v);
}

bool SketchValues(const comms::cImage& picture, int smoothSteps, float voxelsPerPixel, SketchView& view) {
  if (!PictureReadable(picture)) return false;
  const int w = picture.width, h = picture.height;
  std::vector<float> g(size_t(w) * h), next(g.size());
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) g[size_t(y) * w + x] = PictureGreen(picture, x, y);
  for (int s = 0; s < smoothSteps; ++s) {
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) {
        float sum = 0;
        int n = 0;
        for (int dy = -1; dy <= 1; ++dy)
          for (int dx = -1; dx <= 1; ++dx) {
            const int i = x + dx, j = y + dy;
            if (i < 0 || j < 0 || i >= w || j >= h) continue;
            sum += g[size_t(j) * w + i], ++n;
          }
        next[size_t(y) * w + x] = sum / float(n);
      }
    g.swap(next);
  }
  std::vector<uint8_t> inside(g.size()), outside(g.size());
  for (size_t i = 0; i < g.size(); ++i) inside[i] = g[i] >= 128, outside[i] = !inside[i];
  const std::vector<float> toOut = DistanceTo(outside, w, h), toIn = DistanceTo(inside, w, h);
  view.Width = w, view.Height = h;
  view.Values.resize(g.size());
  // The border lies half a pixel beyond the last pixel inside; on the
  // pixels along it the grey's slope places it between pixels, so a slanted
  // edge does not come out as a staircase of whole pixels.
  const float k = voxelsPerPixel / kBand;
  auto grey = [&](int x, int y) { return g[size_t(std::clamp(y, 0, h - 1)) * w + std::clamp(x, 0, w - 1)]; };
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const size_t i = size_t(y) * w + x;
      float d = inside[i] ? toOut[i] - 0.5f : 0.5f - toIn[i];
      if (std::fabs(d) < 1) {
        const float gx = (grey(x + 1, y) - grey(x - 1, y)) / 2, gy = (grey(x, y + 1) - grey(x, y - 1)) / 2;
        const float slope = std::hypot(gx, gy);
        if (slope > 1) d = std::clamp((g[i] - 128) / slope, inside[i] ? 0.f : -1.f, inside[i] ? 1.f : 0.f);
      }
      view.Values[i] = d * k;
    }
  return true;
}

void PlaceSketchView(SketchView& view, int side, const float centre[3], float size) {
  const int w = std::max(view.Width, 1), h = std::max(view.Height, 1);
  const float pixel = size / float(std::max(w, h));
  // The picture spans w * pixel by h * pixel voxels: its unit square's
  // steps per voxel along its right and up directions.
  const float su = 1.f / (float(w) * pixel), sv = 1.f / (float(h) * pixel);
  float right[3] = {0, 0, 0}, up[3] = {0, 0, 0};
  switch (side) {
    case kSketchSide:
      right[2] = -1, up[1] = 1;
      break;
    case kSketchTop:
      right[0] = 1, up[2] = -1;
      break;
    default:
      right[0] = 1, up[1] = 1;
      break;
  }
  float* m = view.Matrix;
  std::fill(m, m + 16, 0.f);
  for (int a = 0; a < 3; ++a) m[a * 4 + 0] = right[a] * su, m[a * 4 + 1] = up[a] * sv;
  m[10] = 1, m[15] = 1;
  float cu = 0, cv = 0;
  for (int a = 0; a < 3; ++a) cu += centre[a] * right[a] * su, cv += centre[a] * up[a] * sv;
  m[12] = 0.5f - cu, m[13] = 0.5f - cv;
}

float SketchValue(const std::vector<const SketchView*>& views, const float p[3], float softness) {
  float value = 1;
  bool any = false;
  for (const SketchView* view : views) {
    if (!view || !view->Visible) continue;
    any = true;
    const float v = view->At(p);
    if (softness <= 0) {
      value = std::min(value, v + 0.5f);
    } else {
      const float x = std::clamp(v / softness + 0.5f, 0.f, 1.f);
      value *= x * x * (3 - 2 * x);
    }
  }
  if (!any) return 0;
  if (softness > 0) value = softness * (value - 0.5f) + 0.5f;
  return std::clamp(value, 0.f, 1.f);
}

int MergeSketch(VolumeObject& volume, const std::vector<const SketchView*>& views, const float lo[3], const float hi[3],
                const SketchParams& params) {
  bool any = false;
  for (const SketchView* v : views) any |= v && v->Visible;
  if (!any) return 0;
  return RunCellJobs(
      volume, CellsOfBox(lo, hi),
      [&](const CellKey& k, const VoxelCell* cell, uint16_t* out) {
        uint16_t fresh[kCellVoxels];
        uint16_t low = 65535, high = 0;
        bool uniform = false;
        for (int offset = 0; offset < 64 && !uniform; ++offset) {
          const int ox = offset & 3, oy = (offset >> 2) & 3, oz = offset >> 4;
          for (int z = oz; z <= 8; z += 4)
            for (int y = oy; y <= 8; y += 4)
              for (int x = ox; x <= 8; x += 4) {
                const float p[3] = {float(k.x * 8 + x), float(k.y * 8 + y), float(k.z * 8 + z)};
                const uint16_t v = uint16_t(SketchValue(views, p, params.Softness) * 65535.f);
                fresh[LatticeIndex(x, y, z)] = v;
                low = std::min(low, v), high = std::max(high, v);
              }
          // The 27 points of the first offset agree: the cell takes their value.
          if (offset == 0 && params.EarlyOut && low == high) {
            std::fill(fresh, fresh + kCellVoxels, low);
            uniform = true;
          }
        }
        bool changed = false;
        for (int i = 0; i < kCellVoxels; ++i) {
          const uint16_t old = OldValue(cell, i);
          out[i] = std::max(old, fresh[i]);
          changed |= out[i] != old;
        }
        return changed;
      },
      params.Threads);
}
