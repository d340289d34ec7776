// The drawn shape's points, raster and signed distance (see DrawnShape.h).
#include "paint/stroke/DrawnShape.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace {

constexpr int kMargin = 2;
constexpr float kPi = 3.14159265358979f;

constexpr float kFar = 1e20f;

// Squared distance transform of one line (Felzenszwalb and Huttenlocher):
// out[q] = min over p of (q - p)^2 + f[p]; kFar marks no seed.
void DistanceLine(const float* f, int n, float* out, std::vector<int>& v, std::vector<float>& z) {
  v.assign(n, 0);
  z.assign(n + 1, 0.f);
  int k = 0;
  z[0] = -kFar, z[1] = kFar;
  for (int q = 1; q < n; ++q) {
    float s;
    for (;;) {
      const int p = v[k];
      s = ((f[q] + float(q) * q) - (f[p] + float(p) * p)) / (2.f * (q - p));
      if (s > z[k] || k == 0) break;
      --k;
    }
    if (s <= z[k]) {  // k == 0: q replaces the first parabola
      v[0] = q;
      z[1] = kFar;
      continue;
    }
    ++k;
    v[k] = q;
    z[k] = s;
    z[k + 1] = kFar;
  }
  k = 0;
  for (int q = 0; q < n; ++q) {
    while (z[k + 1] < q) ++k;
    const float d = float(q - v[k]);
    out[q] = std::min(d * d + f[v[k]], kFar);
  }
}

// Euclidean distance, in samples, from each sample to the nearest sample
// whose `seed` is set (infinite where none is).
std::vector<float> DistanceToSeeds(const std::vector<uint8_t>& seed, int w, int h) {
  const float inf = kFar;
  std::vector<float> g(size_t(w) * h), line(std::max(w, h)), out(std::max(w, h));
  std::vector<int> v;
  std::vector<float> z;
  for (int x = 0; x < w; ++x) {
    for (int y = 0; y < h; ++y) line[y] = seed[size_t(y) * w + x] ? 0.f : inf;
    DistanceLine(line.data(), h, out.data(), v, z);
    for (int y = 0; y < h; ++y) g[size_t(y) * w + x] = out[y];
  }
  for (int y = 0; y < h; ++y) {
    DistanceLine(&g[size_t(y) * w], w, out.data(), v, z);
    for (int x = 0; x < w; ++x) g[size_t(y) * w + x] = std::sqrt(out[x]);
  }
  return g;
}

// A closed Catmull-Rom curve through the points, 8 pieces per span.
std::vector<DrawnShape::Point> ClosedSpline(const std::vector<DrawnShape::Point>& p) {
  const int n = (int)p.size();
  std::vector<DrawnShape::Point> out;
  out.reserve(size_t(n) * 8);
  for (int i = 0; i < n; ++i) {
    const auto& p0 = p[(i + n - 1) % n];
    const auto& p1 = p[i];
    const auto& p2 = p[(i + 1) % n];
    const auto& p3 = p[(i + 2) % n];
    for (int s = 0; s < 8; ++s) {
      const float t = s / 8.f, t2 = t * t, t3 = t2 * t;
      DrawnShape::Point q;
      for (int a = 0; a < 2; ++a)
        q[a] = 0.5f * (2 * p1[a] + (p2[a] - p0[a]) * t + (2 * p0[a] - 5 * p1[a] + 4 * p2[a] - p3[a]) * t2 +
                       (3 * p1[a] - p0[a] - 3 * p2[a] + p3[a]) * t3);
      out.push_back(q);
    }
  }
  return out;
}

}  // namespace

void DrawnShape::Clear() {
  points_.clear();
  raster_.clear();
  finished_ = false;
  rw_ = rh_ = 0;
  rasterMax_ = 0.f;
}

void DrawnShape::Add(float x, float y) {
  if (finished_) Clear();
  if (!points_.empty() && points_.back()[0] == x && points_.back()[1] == y) return;
  points_.push_back({x, y});
}

std::vector<DrawnShape::Point> DrawnShape::Polygon() const {
  return Kind == kShapeSpline && points_.size() >= 3 ? ClosedSpline(points_) : points_;
}

bool DrawnShape::Finish() {
  finished_ = false;
  if (Kind == kShapeNone) return finished_ = true;
  if (points_.size() < 2) return false;
  const Point& a = points_.front();
  const Point& b = points_.back();
  if (Kind == kShapeRectangle) return finished_ = a[0] != b[0] && a[1] != b[1];
  if (Kind == kShapeCircle) return finished_ = a[0] != b[0] && a[1] != b[1];
  if (points_.size() < 3) return false;
  const std::vector<Point> polygon = Polygon();
  double area = 0;
  for (size_t i = 0; i < polygon.size(); ++i) {
    const Point& p = polygon[i];
    const Point& q = polygon[(i + 1) % polygon.size()];
    area += double(p[0]) * q[1] - double(q[0]) * p[1];
  }
  if (std::fabs(area) < 1.0) return false;
  MakeRaster(polygon);
  return finished_ = rasterMax_ > 0.f;
}

void DrawnShape::MakeRaster(const std::vector<Point>& polygon) {
  float lo[2] = {polygon[0][0], polygon[0][1]}, hi[2] = {lo[0], lo[1]};
  for (const Point& p : polygon)
    for (int a = 0; a < 2; ++a) lo[a] = std::min(lo[a], p[a]), hi[a] = std::max(hi[a], p[a]);
  rx_ = (int)std::floor(lo[0]) - kMargin;
  ry_ = (int)std::floor(lo[1]) - kMargin;
  rw_ = (int)std::ceil(hi[0]) + kMargin - rx_ + 1;
  rh_ = (int)std::ceil(hi[1]) + kMargin - ry_ + 1;
  // Inside by crossings along each row of samples (even-odd rule).
  std::vector<uint8_t> inside(size_t(rw_) * rh_, 0), outside(size_t(rw_) * rh_, 1);
  std::vector<float> xs;
  for (int j = 0; j < rh_; ++j) {
    const float y = float(ry_ + j);
    xs.clear();
    for (size_t i = 0; i < polygon.size(); ++i) {
      const Point& p = polygon[i];
      const Point& q = polygon[(i + 1) % polygon.size()];
      if ((p[1] <= y) == (q[1] <= y)) continue;
      xs.push_back(p[0] + (y - p[1]) / (q[1] - p[1]) * (q[0] - p[0]));
    }
    std::sort(xs.begin(), xs.end());
    for (size_t k = 0; k + 1 < xs.size(); k += 2) {
      const int from = std::max(0, (int)std::ceil(xs[k]) - rx_);
      const int to = std::min(rw_ - 1, (int)std::floor(xs[k + 1]) - rx_);
      for (int i = from; i <= to; ++i) inside[size_t(j) * rw_ + i] = 1, outside[size_t(j) * rw_ + i] = 0;
    }
  }
  const std::vector<float> toOutside = DistanceToSeeds(outside, rw_, rh_);
  const std::vector<float> toInside = DistanceToSeeds(inside, rw_, rh_);
  raster_.assign(size_t(rw_) * rh_, 0.f);
  rasterMax_ = 0.f;
  // Away from the border, the distance between samples less half a sample:
  // the inside reads above 0, the outside below. A polygon too thin to hold
  // a sample has no inside and stays unfinished.
  std::vector<size_t> nearBorder;
  for (size_t i = 0; i < raster_.size(); ++i) {
    if (inside[i]) {
      raster_[i] = toOutside[i] - 0.5f;
      rasterMax_ = std::max(rasterMax_, raster_[i]);
    } else {
      raster_[i] = toInside[i] >= 1e9f ? -float(rw_ + rh_) : 0.5f - toInside[i];
    }
    if (std::fabs(raster_[i]) < 4.f) nearBorder.push_back(i);
  }
  // Near the border the sample grid's distance steps by whole pixels, which a
  // cut along a slanted edge would print as ridges: there the distance to
  // the polygon's edges is taken exactly (within a budget of work).
  if (nearBorder.size() * polygon.size() > 40000000u) return;
  for (size_t i : nearBorder) {
    const float x = float(rx_ + int(i % rw_)), y = float(ry_ + int(i / rw_));
    float best = 1e30f;
    for (size_t e = 0; e < polygon.size(); ++e) {
      const Point& a = polygon[e];
      const Point& b = polygon[(e + 1) % polygon.size()];
      const float dx = b[0] - a[0], dy = b[1] - a[1];
      const float len2 = dx * dx + dy * dy;
      const float t = len2 > 0 ? std::clamp(((x - a[0]) * dx + (y - a[1]) * dy) / len2, 0.f, 1.f) : 0.f;
      const float ex = a[0] + dx * t - x, ey = a[1] + dy * t - y;
      best = std::min(best, ex * ex + ey * ey);
    }
    // A sample on the edge itself keeps its side: never 0 inside.
    const float d = std::max(std::sqrt(best), 1e-3f);
    raster_[i] = inside[i] ? d : -d;
    if (inside[i]) rasterMax_ = std::max(rasterMax_, d);
  }
}

float DrawnShape::RasterAt(float x, float y) const {
  if (rw_ < 2 || rh_ < 2) return -1.f;
  float fx = x - rx_, fy = y - ry_;
  // Beyond the raster the border's value falls on with the distance.
  float beyond = 0.f;
  const float cx = std::clamp(fx, 0.f, float(rw_ - 1)), cy = std::clamp(fy, 0.f, float(rh_ - 1));
  if (cx != fx || cy != fy) beyond = std::hypot(fx - cx, fy - cy);
  fx = cx, fy = cy;
  const int ix = std::min((int)fx, rw_ - 2), iy = std::min((int)fy, rh_ - 2);
  const float tx = fx - ix, ty = fy - iy;
  const float* r0 = &raster_[size_t(iy) * rw_ + ix];
  const float* r1 = r0 + rw_;
  const float top = r0[0] + (r0[1] - r0[0]) * tx, bottom = r1[0] + (r1[1] - r1[0]) * tx;
  return top + (bottom - top) * ty - beyond;
}

float DrawnShape::Distance(float x, float y) const {
  if (Kind == kShapeNone) return 1.f;
  if (points_.size() < 2) return -100000.f;
  const Point& a = points_.front();
  const Point& b = points_.back();
  if (Kind == kShapeRectangle) {
    const float x0 = std::min(a[0], b[0]), x1 = std::max(a[0], b[0]);
    const float y0 = std::min(a[1], b[1]), y1 = std::max(a[1], b[1]);
    float e = std::min(std::min(x - x0, x1 - x), std::min(y - y0, y1 - y));
    const float h = 0.5f * std::min(x1 - x0, y1 - y0);
    if (e > 0 && BorderStyle < 2 && h > 0) e = (h * h - (e - h) * (e - h)) / (2 * h);
    return e;
  }
  if (Kind == kShapeCircle) {
    const float ax = std::fabs(b[0] - a[0]), ay = std::fabs(b[1] - a[1]);
    if (ax <= 0 || ay <= 0) return -100000.f;
    const float m = std::max(ax, ay);
    float e = m - std::hypot((x - a[0]) * m / ax, (y - a[1]) * m / ay);
    if (e > 0 && BorderStyle < 2) e = (m * m - (m - e) * (m - e)) / (2 * m);
    return e;
  }
  return finished_ ? RasterAt(x, y) : -100000.f;
}

float DrawnShape::InnerRadius() const {
  if (Kind == kShapeNone) return 1.f;
  if (points_.size() < 2) return 0.f;
  const Point& a = points_.front();
  const Point& b = points_.back();
  if (Kind == kShapeRectangle) return 0.5f * std::min(std::fabs(b[0] - a[0]), std::fabs(b[1] - a[1]));
  if (Kind == kShapeCircle) return std::min(std::fabs(b[0] - a[0]), std::fabs(b[1] - a[1]));
  return rasterMax_;
}

std::array<float, 4> DrawnShape::Box() const {
  if (points_.empty()) return {0, 0, 0, 0};
  if (Kind == kShapeCircle && points_.size() >= 2) {
    const Point& a = points_.front();
    const Point& b = points_.back();
    const float ax = std::fabs(b[0] - a[0]), ay = std::fabs(b[1] - a[1]);
    return {a[0] - ax, a[1] - ay, a[0] + ax, a[1] + ay};
  }
  const std::vector<Point> outline = Outline();
  std::array<float, 4> box = {outline[0][0], outline[0][1], outline[0][0], outline[0][1]};
  for (const Point& p : outline) {
    box[0] = std::min(box[0], p[0]), box[1] = std::min(box[1], p[1]);
    box[2] = std::max(box[2], p[0]), box[3] = std::max(box[3], p[1]);
  }
  return box;
}

std::vector<DrawnShape::Point> DrawnShape::Outline() const {
  if (points_.empty()) return {};
  const Point& a = points_.front();
  const Point& b = points_.back();
  if (Kind == kShapeRectangle) return {a, {b[0], a[1]}, b, {a[0], b[1]}};
  if (Kind == kShapeCircle) {
    std::vector<Point> out;
    const float ax = std::fabs(b[0] - a[0]), ay = std::fabs(b[1] - a[1]);
    for (int i = 0; i < 64; ++i) {
      const float t = 2 * kPi * i / 64;
      out.push_back({a[0] + ax * std::cos(t), a[1] + ay * std::sin(t)});
    }
    return out;
  }
  return Polygon();
}
