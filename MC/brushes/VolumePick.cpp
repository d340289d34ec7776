// Ray picking on the density field (see VolumePick.h).
#include "MC/brushes/VolumePick.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "MC/mcubes/VolumeObject.h"

namespace {
constexpr float kLevel = 32768.f;
constexpr float kStep = 0.5f;
}  // namespace

bool PickVolume(VolumeObject& v, const float o[3], const float dIn[3], SurfaceHit& hit, bool fromUndo,
                float* distance) {
  float d[3] = {dIn[0], dIn[1], dIn[2]};
  const float len = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
  if (len <= 0 || v.CellCount() == 0) return false;
  for (float& c : d) c /= len;
  // Clip the ray to the box of the cells.
  float t0 = 0, t1 = std::numeric_limits<float>::max();
  for (int a = 0; a < 3; ++a) {
    const float lo = v.CellBoundsMin[a] * 8.f - 1.f, hi = (v.CellBoundsMax[a] + 1) * 8.f + 1.f;
    if (std::fabs(d[a]) < 1e-12f) {
      if (o[a] < lo || o[a] > hi) return false;
      continue;
    }
    float ta = (lo - o[a]) / d[a], tb = (hi - o[a]) / d[a];
    if (ta > tb) std::swap(ta, tb);
    t0 = std::max(t0, ta), t1 = std::min(t1, tb);
  }
  if (t0 > t1) return false;
  // Hidden cells read as empty: the pen passes through them. The ray stays
  // in one cell for many steps: its flag is looked up once.
  int lastCell[3] = {INT32_MIN, 0, 0};
  bool lastHidden = false;
  auto at = [&](float t) {
    const float p[3] = {o[0] + d[0] * t, o[1] + d[1] * t, o[2] + d[2] * t};
    const int c[3] = {(int)std::floor(p[0] / 8.f), (int)std::floor(p[1] / 8.f), (int)std::floor(p[2] / 8.f)};
    if (c[0] != lastCell[0] || c[1] != lastCell[1] || c[2] != lastCell[2]) {
      VoxelCell** found = v.Cells.Find(c[0], c[1], c[2]);
      lastHidden = found && ((*found)->Flags & kCellHidden);
      std::copy(c, c + 3, lastCell);
    }
    return lastHidden ? 0.f : v.SampleField(p[0], p[1], p[2], fromUndo);
  };
  float prevT = t0;
  if (at(t0) >= kLevel) return false;  // starts inside: no front face to pick
  for (float t = t0 + kStep; t <= t1 + kStep; t += kStep) {
    if (at(t) < kLevel) {
      prevT = t;
      continue;
    }
    float a = prevT, b = t;
    for (int i = 0; i < 12; ++i) {
      const float m = (a + b) / 2;
      (at(m) >= kLevel ? b : a) = m;
    }
    const float th = (a + b) / 2;
    for (int k = 0; k < 3; ++k) hit.Pos[k] = o[k] + d[k] * th;
    // The density rises inward: the outward normal is minus its gradient.
    float g[3];
    for (int k = 0; k < 3; ++k) {
      float p1[3] = {hit.Pos[0], hit.Pos[1], hit.Pos[2]}, p0[3] = {hit.Pos[0], hit.Pos[1], hit.Pos[2]};
      p1[k] += 1, p0[k] -= 1;
      g[k] = v.SampleField(p0[0], p0[1], p0[2], fromUndo) - v.SampleField(p1[0], p1[1], p1[2], fromUndo);
    }
    const float gl = std::sqrt(g[0] * g[0] + g[1] * g[1] + g[2] * g[2]);
    for (int k = 0; k < 3; ++k) hit.Normal[k] = gl > 0 ? g[k] / gl : -d[k];
    hit.Face = -1;
    if (distance) *distance = th;
    return true;
  }
  return false;
}

int PickVolumeIndex(const std::vector<VolumeObject*>& volumes, const float origin[3], const float dir[3]) {
  int best = -1;
  float bestDist = std::numeric_limits<float>::max();
  for (size_t i = 0; i < volumes.size(); ++i) {
    VolumeObject* v = volumes[i];
    if (!v || !v->Visible) continue;
    float o[3], d[3];
    v->PointToObject(origin, o);
    v->VectorToObject(dir, d);
    SurfaceHit hit;
    float t;
    if (!PickVolume(*v, o, d, hit, false, &t)) continue;
    float ps[3];
    v->PointToScene(hit.Pos, ps);
    const float dist = std::sqrt((ps[0] - origin[0]) * (ps[0] - origin[0]) + (ps[1] - origin[1]) * (ps[1] - origin[1]) +
                                 (ps[2] - origin[2]) * (ps[2] - origin[2]));
    if (dist < bestDist) bestDist = dist, best = (int)i;
  }
  return best;
}
