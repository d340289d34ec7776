// Covering triangle: rows, corners, then columns.
#include "paint/raster/Rasterizator.h"

#include <algorithm>
#include <cmath>

using comms::cVec3;

namespace {
bool Finite(const cVec3& p) { return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z); }
constexpr double kHalfDown = 0.49999999999;
}  // namespace

void Rasterizator::ScanRows(const cVec3 p[3], bool swapped) {
  const double ymin = std::min({p[0].y, p[1].y, p[2].y}), ymax = std::max({p[0].y, p[1].y, p[2].y});
  const long r0 = std::lround(ymin - kHalfDown), r1 = std::lround(ymax - kHalfDown);
  if (r1 - r0 >= 2001) return;
  for (long y = r0; y <= r1; y++) {
    const double fy = (double)y + 0.5;
    double lx = 1e8, rx = -1e8, lv = 0, rv = 0;
    for (int e = 0; e < 3; e++) {
      int a = e, b = (e + 1) % 3;
      if (p[a].y > p[b].y) std::swap(a, b);
      if (!(p[a].y <= fy && p[b].y > fy)) continue;
      const double t = (fy - p[a].y) / ((double)p[b].y - p[a].y);
      const double x = p[a].x + (p[b].x - p[a].x) * t, v = p[a].z + (p[b].z - p[a].z) * t;
      if (x < lx) lx = x, lv = v;
      if (x > rx) rx = x, rv = v;
    }
    if (lx > rx) continue;
    const long x0 = std::lround(lx - Margin - kHalfDown), x1 = std::lround(rx + Margin - kHalfDown);
    for (long x = x0; x <= x1; x++) {
      const double c = (double)x + 0.5;
      const double value = c <= lx ? lv : c >= rx ? rv : lv + (rv - lv) * (c - lx) / (rx - lx);
      OnEdge = x == x0 || x == x1;
      if (swapped)
        Op((int)y, (int)x, (float)value);
      else
        Op((int)x, (int)y, (float)value);
    }
  }
  OnEdge = false;
}

void Rasterizator::CoverTriangle(const cVec3& p0, const cVec3& p1, const cVec3& p2) {
  if (!Finite(p0) || !Finite(p1) || !Finite(p2)) return;
  const cVec3 p[3] = {p0, p1, p2};
  ScanRows(p, false);
  OnEdge = true;
  for (const cVec3& c : p) Op((int)std::lround(c.x - 0.5f), (int)std::lround(c.y), c.z);
  const cVec3 q[3] = {{p0.y, p0.x, p0.z}, {p1.y, p1.x, p1.z}, {p2.y, p2.x, p2.z}};
  ScanRows(q, true);
  OnEdge = false;
}
