// The two triangle walks of RasterOp: spans with interpolated weights, and
// fixed-point edge functions for exact coverage.
#include "paint/raster/RasterOp.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

using comms::cVec3;

namespace {

bool Finite(const cVec3& p) { return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z); }

// Where an edge crosses a row: x, depth and the two corner weights.
struct Crossing {
  float x, z, u, v;
};

}  // namespace

void RasterOp::Triangle(const cVec3& p0, const cVec3& p1, const cVec3& p2) {
  if (!Finite(p0) || !Finite(p1) || !Finite(p2)) return;
  const cVec3 p[3] = {p0, p1, p2};
  const float cu[3] = {0, 1, 0}, cv[3] = {0, 0, 1};
  if (PointsOnly) {
    for (int i = 0; i < 3; i++) Op((int)std::lround(p[i].x), (int)std::lround(p[i].y), p[i].z, cu[i], cv[i]);
    return;
  }
  const long r0 = std::lround(std::min({p0.y, p1.y, p2.y}));
  const long r1 = std::lround(std::max({p0.y, p1.y, p2.y}));
  if (r1 - r0 >= 2001) return;
  // Row r0 - 1 too: a corner at y = k + 0.5 rounds up, yet row k, sampled at
  // k + 0.5001, lies inside. The crossing test decides each row.
  for (long y = r0 - 1; y <= r1; y++) {
    const float fy = (float)y + 0.5001f;
    Crossing left{1e6f, 0, 0, 0}, right{-1e6f, 0, 0, 0};
    for (int e = 0; e < 3; e++) {
      int a = e, b = (e + 1) % 3;
      if (p[a].y > p[b].y) std::swap(a, b);  // interpolate from the lower end, so both
      if (!(p[a].y <= fy && p[b].y > fy)) continue;  // triangles of an edge agree bit for bit
      const float t = (fy - p[a].y) / (p[b].y - p[a].y);
      Crossing c{p[a].x + (p[b].x - p[a].x) * t, p[a].z + (p[b].z - p[a].z) * t,
                 cu[a] + (cu[b] - cu[a]) * t, cv[a] + (cv[b] - cv[a]) * t};
      if (c.x < left.x) left = c;
      if (c.x > right.x) right = c;
    }
    if (!(left.x < right.x)) continue;
    const long x0 = std::lround(left.x + 0.4999f), x1 = std::lround(right.x + 0.4999f);
    const float span = right.x - left.x;
    for (long x = x0; x < x1; x++) {
      const float t = ((float)x + 0.5f - left.x) / span;
      Op((int)x, (int)y, left.z + (right.z - left.z) * t, left.u + (right.u - left.u) * t,
         left.v + (right.v - left.v) * t);
    }
  }
}

void RasterOp::PixelTriangle(const cVec3& c0, const cVec3& c1, const cVec3& c2) {
  if (!Finite(c0) || !Finite(c1) || !Finite(c2)) return;
  cVec3 c[3] = {c0, c1, c2};
  auto fixed = [](float v) { return (int64_t)std::llround((double)v * 1024.0 - 0.49999999999); };
  int64_t X[3], Y[3];
  for (int i = 0; i < 3; i++) X[i] = fixed(c[i].x), Y[i] = fixed(c[i].y);
  int64_t area = (X[1] - X[0]) * (Y[2] - Y[0]) - (Y[1] - Y[0]) * (X[2] - X[0]);
  if (area == 0) return;
  if (area < 0) {
    std::swap(X[1], X[2]), std::swap(Y[1], Y[2]), std::swap(c[1], c[2]);
    area = -area;
  }
  // Whole pixels of the first corner come off, so products stay small.
  const int64_t baseX = X[0] >> 10, baseY = Y[0] >> 10;
  for (int i = 0; i < 3; i++) X[i] -= baseX << 10, Y[i] -= baseY << 10;
  int64_t minX = (std::min({X[0], X[1], X[2]}) + 1023) >> 10;
  int64_t maxX = (std::max({X[0], X[1], X[2]}) + 1023) >> 10;
  int64_t minY = (std::min({Y[0], Y[1], Y[2]}) + 1023) >> 10;
  int64_t maxY = (std::max({Y[0], Y[1], Y[2]}) + 1023) >> 10;
  if (maxX <= minX || maxY <= minY) return;
  if ((double)(maxX - minX) * (double)(maxY - minY) > 1e9) return;
  minX = std::max(minX, (int64_t)ClipX0 - baseX), maxX = std::min(maxX, (int64_t)ClipX1 - baseX);
  minY = std::max(minY, (int64_t)ClipY0 - baseY), maxY = std::min(maxY, (int64_t)ClipY1 - baseY);
  if (maxX <= minX || maxY <= minY) return;
  // Edge a -> b: E(p) = (bx - ax)(py - ay) - (by - ay)(px - ax), positive inside.
  int64_t A[3], B[3], C[3];
  for (int e = 0; e < 3; e++) {
    const int a = e, b = (e + 1) % 3;
    const int64_t dx = X[b] - X[a], dy = Y[b] - Y[a];
    A[e] = -dy, B[e] = dx;
    C[e] = dy * X[a] - dx * Y[a];
    if (dy < 0 || (dy == 0 && dx >= 1)) C[e] += 1;  // top-left rule
  }
  // Depth plane through the corners, made at first need.
  bool planeMade = false;
  double zx = 0, zy = 0, z0 = 0;
  const float zmin = std::min({c[0].z, c[1].z, c[2].z}), zmax = std::max({c[0].z, c[1].z, c[2].z});
  auto depth = [&](int64_t px, int64_t py) {
    if (!planeMade) {
      const double x0 = X[0] / 1024.0, y0 = Y[0] / 1024.0;
      const double ax = X[1] / 1024.0 - x0, ay = Y[1] / 1024.0 - y0, az = c[1].z - c[0].z;
      const double bx = X[2] / 1024.0 - x0, by = Y[2] / 1024.0 - y0, bz = c[2].z - c[0].z;
      const double det = ax * by - ay * bx;
      zx = (az * by - ay * bz) / det, zy = (ax * bz - az * bx) / det;
      z0 = c[0].z - zx * x0 - zy * y0;
      planeMade = true;
    }
    return std::clamp((float)(z0 + zx * (double)px + zy * (double)py), zmin, zmax);
  };
  // Each row's span is solved from the three edge functions exactly, in
  // integers, so only covered pixels are visited.
  for (int64_t py = minY; py < maxY; py++) {
    const int64_t sy = py << 10;
    int64_t lo = minX, hi = maxX;  // [lo, hi)
    for (int k = 0; k < 3 && lo < hi; k++) {
      const int64_t e = A[k] * (minX << 10) + B[k] * sy + C[k], step = A[k] << 10;
      // e + step (px - minX) >= 1
      if (step > 0) {
        const int64_t need = 1 - e;
        if (need > 0) lo = std::max(lo, minX + (need + step - 1) / step);
      } else if (step < 0) {
        const int64_t room = e - 1;
        if (room < 0) hi = lo;
        else hi = std::min(hi, minX + room / -step + 1);
      } else if (e < 1) {
        hi = lo;
      }
    }
    for (int64_t px = lo; px < hi; px++) Op((int)(px + baseX), (int)(py + baseY), depth(px, py), 0.f, 0.f);
  }
}
