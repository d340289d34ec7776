// The field functions of the voxel brushes (see BrushFields.h).
#include "MC/brushes/BrushFields.h"

#include <algorithm>
#include <cmath>
#include <typeinfo>

#include "MC/mcubes/VolumeObject.h"
#include "paint/GeneralPen.h"
#include "paint/PenShapes.h"

namespace {
constexpr float kTinyLength = 1e-10f;
float Dot(const float a[3], const float b[3]) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
void Normalise(float v[3]) {
  const float l = std::sqrt(Dot(v, v));
  if (l > kTinyLength) v[0] /= l, v[1] /= l, v[2] /= l;
}
}  // namespace

float FalloffCurve(float x) { return PenFalloffFactor(x, GeneralPen::Falloff); }

float RoundedMin(float a, float b, float band, float radius) {
  // In voxels, positive inside.
  const float A = (a - 0.5f) * band, B = (b - 0.5f) * band;
  if (A >= radius || B >= radius) return std::min(a, b);
  const float u = radius - A, v = radius - B;
  return (radius - std::sqrt(u * u + v * v)) / band + 0.5f;
}

float RoundedMax(float a, float b, float band, float radius) { return 1.f - RoundedMin(1.f - a, 1.f - b, band, radius); }

float RimRounding(float r, float band) { return std::clamp(0.2f * r, 0.f, 0.5f * band - 0.25f); }

float PenProfile::BrushMask(const float p[3], bool soft) const {
  if (!Mask) return 1.f;
  const float v = Mask->At(p);
  return soft ? std::clamp(4.f * v - 2.f, 0.f, 1.f) : v;
}

PenProfile PenProfile::Current() {
  PenProfile p;
  p.Pen = GeneralPen::CurrentPenPtr;
  p.Radial = !p.Pen || dynamic_cast<RadialPenShape*>(p.Pen) || typeid(*p.Pen) == typeid(BasicPenShape);
  p.Falloff = GeneralPen::Falloff;
  p.Mask = GeneralPen::Mask;
  return p;
}

void TangentFrame(const float n[3], const float along[3], float t[3], float b[3]) {
  const float d = Dot(along, n);
  for (int i = 0; i < 3; ++i) t[i] = along[i] - d * n[i];
  if (Dot(t, t) < 1e-8f) {
    const float a[3] = {std::fabs(n[0]), std::fabs(n[1]), std::fabs(n[2])};
    const int big = a[0] >= a[1] && a[0] >= a[2] ? 0 : (a[1] >= a[2] ? 1 : 2);
    float axis[3] = {0, 0, 0};
    axis[(big + 1) % 3] = 1;
    const float e = Dot(axis, n);
    for (int i = 0; i < 3; ++i) t[i] = axis[i] - e * n[i];
  }
  Normalise(t);
  b[0] = n[1] * t[2] - n[2] * t[1], b[1] = n[2] * t[0] - n[0] * t[2], b[2] = n[0] * t[1] - n[1] * t[0];
}

void BrushField::Row(float x0, float y, float z, float out[9]) const {
  for (int i = 0; i < 9; ++i) out[i] = Value(x0 + (float)i, y, z);
}

void BrushField::Plane(float x0, float y0, float z, unsigned open, float out[81]) const {
  for (int j = 0; j < 9; ++j)
    if (open >> j & 1) Row(x0, y0 + (float)j, z, out + 9 * j);
}

void BrushField::Values(int n, const float (*p)[3], float* out) const {
  for (int i = 0; i < n; ++i) out[i] = Value(p[i][0], p[i][1], p[i][2]);
}

bool BrushField::ZeroAround(const float*, float) const { return false; }

float SphereField::Value(float x, float y, float z) const {
  const float d2 = (x - c_[0]) * (x - c_[0]) + (y - c_[1]) * (y - c_[1]) + (z - c_[2]) * (z - c_[2]);
  return (1.f - d2 / (r_ * r_)) / (w_ / r_) / 2.f + 0.5f;
}

SegmentFrame::SegmentFrame(const BrushEnd& a, const BrushEnd& b) : A(a), B(b) {
  A.R = std::max(A.R, 0.0001f), B.R = std::max(B.R, 0.0001f);
  for (int i = 0; i < 3; ++i) S[i] = a.P[i], Dir[i] = b.P[i] - a.P[i];
  L = std::sqrt(Dot(Dir, Dir));
  if (L < kTinyLength) {
    // A zero-length stroke still acts once at its start; any direction will do.
    L = kTinyLength;
    if (Dot(a.X, a.X) > 0.25f) {
      for (int i = 0; i < 3; ++i) Dir[i] = a.X[i];
      Normalise(Dir);
    } else {
      Dir[0] = 1, Dir[1] = 0, Dir[2] = 0;
    }
  } else {
    for (float& d : Dir) d /= L;
  }
  SameNormal = a.N[0] == b.N[0] && a.N[1] == b.N[1] && a.N[2] == b.N[2];
  if (SameNormal) {
    for (int i = 0; i < 3; ++i) N[i] = a.N[i];
    Normalise(N);
    TangentFrame(N, Dir, T, Bt);
  }
}

void SegmentField::SetCubic(const float p0[3], const float p3[3]) {
  // Catmull-Rom between a and b: t 0 at a, 1 at b, -1 and 2 near the outer points.
  const float* p1 = f_.A.P;
  const float* p2 = f_.B.P;
  for (int i = 0; i < 3; ++i) {
    c_[0][i] = p1[i];
    c_[1][i] = 0.5f * (p2[i] - p0[i]);
    c_[2][i] = 0.5f * (2 * p0[i] - 5 * p1[i] + 4 * p2[i] - p3[i]);
    c_[3][i] = 0.5f * (-p0[i] + 3 * p1[i] - 3 * p2[i] + p3[i]);
  }
  cubic_ = true;
}

float SegmentField::Value(float x, float y, float z) const {
  const float p[3] = {x, y, z};
  float t, q[3];
  f_.Project(p, t, q);
  if (cubic_) {
    // Nearest point of the cubic: Newton steps from the straight projection.
    for (int it = 0; it < 6; ++it) {
      float c[3], d1[3], d2[3];
      for (int i = 0; i < 3; ++i) {
        c[i] = c_[0][i] + t * (c_[1][i] + t * (c_[2][i] + t * c_[3][i]));
        d1[i] = c_[1][i] + t * (2 * c_[2][i] + 3 * t * c_[3][i]);
        d2[i] = 2 * c_[2][i] + 6 * t * c_[3][i];
      }
      const float e[3] = {c[0] - x, c[1] - y, c[2] - z};
      const float g = Dot(e, d1), h = Dot(d1, d1) + Dot(e, d2);
      if (std::fabs(h) < 1e-12f) break;
      t = std::clamp(t - g / h, -1.f, 2.f);
    }
    for (int i = 0; i < 3; ++i) q[i] = p[i] - (c_[0][i] + t * (c_[1][i] + t * (c_[2][i] + t * c_[3][i])));
    const float r = std::max(f_.A.R + (f_.B.R - f_.A.R) * t, 0.1f);
    return (r - std::sqrt(Dot(q, q))) / w_ + 0.5f;
  }
  const float r = f_.A.R + (f_.B.R - f_.A.R) * t;
  return (r - std::sqrt(Dot(q, q))) / w_ + 0.5f;
}

CarveField::CarveField(const BrushEnd& a, const BrushEnd& b, float band, bool flat, bool invert, const PenProfile& pen,
                       float flatOffset)
    : f_(a, b), w_(band), flat_(flat), invert_(invert), pen_(pen), offset_(flatOffset),
      round_(RimRounding(std::min(a.R, b.R), band)),
      simplePen_(pen.Pen && typeid(*pen.Pen) == typeid(SimplePen)) {}

namespace {
// The pen's footprint at a lattice point: (u, v) in the pen plane, h along the
// normal, R(t), H(t); false when the point is outside the footprint.
struct Footprint {
  float u, v, r2, h, R, H, N[3];
};
[[gnu::always_inline]] inline bool PenFootprint(const SegmentFrame& f, const float p[3], Footprint& out) {
  float t, q[3];
  f.Project(p, t, q);
  float n[3], T[3], B[3];
  if (f.SameNormal) {
    for (int i = 0; i < 3; ++i) n[i] = f.N[i], T[i] = f.T[i], B[i] = f.Bt[i];
  } else {
    for (int i = 0; i < 3; ++i) n[i] = f.A.N[i] + (f.B.N[i] - f.A.N[i]) * t;
    Normalise(n);
    TangentFrame(n, f.Dir, T, B);
  }
  out.R = f.A.R + (f.B.R - f.A.R) * t;
  out.H = f.A.H + (f.B.H - f.A.H) * t;
  out.h = Dot(n, q);
  float qq[3];
  for (int i = 0; i < 3; ++i) qq[i] = q[i] - out.h * n[i], out.N[i] = n[i];
  // T and B lie in the pen plane, so q's part along n drops out of u and v.
  out.u = Dot(T, qq) / out.R;
  out.v = -Dot(B, qq) / out.R;
  out.r2 = out.u * out.u + out.v * out.v;
  return out.r2 < 1.f;
}
}  // namespace

[[gnu::always_inline]] inline float CarveField::At(const float p[3]) const {
  Footprint fp;
  const bool inside = PenFootprint(f_, p, fp);
  // The rim term reaches 0 two voxels beyond the pen (W / 2): out there the
  // field goes on as the distance to the pen's wall instead of dropping to 0,
  // so the cut's rim is as smooth as any other part of the surface.
  const float rim = (1.f - std::sqrt(fp.r2)) * fp.R / w_ + 0.5f;
  if (rim <= 0.f) return rim;
  if (!flat_) {
    // Beyond the slab's fixed face (2 voxels out, or in when inverted) the
    // value is at most that face's term whatever the pen: no profile read.
    const float face = (invert_ ? fp.h + 2.f : 2.f - fp.h) / w_ + 0.5f;
    if (face <= 0.f) return face;
  }
  // Where the stencil holds the pen back wholly the field leaves the volume
  // alone: value 0 changes nothing in either merge, whereas the closed slab
  // below would still take the rounded rim's bite out of the old surface.
  const float k = pen_.Mask ? pen_.BrushMask(p) : 1.f;
  if (k <= 0.f) return 0.f;
  const float a = inside ? pen_.Alpha(fp.u, -fp.v) * fp.R : 0.f;
  // Below the pen's profile the slab thins (and closes) smoothly; 0.1 rounds the rim.
  const float a2 = k * a - 0.1f * fp.r2 * fp.R;
  // h is measured outward; the slab's "top" is on the outer side. Where the
  // cut is shallower than the rounding of its rim, it is drawn back out of the
  // old surface, so the rounded merge never eats into what the pen leaves.
  auto lift = [this](float c) { return c >= round_ ? c : (c > 0 ? c - (round_ - c) * (round_ - c) / round_ : c - round_); };
  float m;
  if (flat_) {
    const float c = lift(a2 * fp.H + offset_);
    m = std::min(fp.h + c, c - fp.h);
  } else {
    const float c = lift(a2 * std::max(fp.H, 0.f));
    const float top = invert_ ? c : 2.f, bottom = invert_ ? -2.f : -c;
    m = std::min(fp.h - bottom, top - fp.h);
  }
  // The second term closes the rim: never wider than the pen. The floor meets
  // the wall in an arc rather than a corner.
  return RoundedMin(m / w_ + 0.5f, rim, w_, round_);
}

// The same steps as At, in the same order, for a frame that does not turn.
// The points are (x0 + i, y, z), or (x0, y + i, z) down a column (Axis 1), or
// pts[i] (Axis 2).
// With `Simple` the pen is the built-in simple pen (no focal shift), read in
// the lanes with the arithmetic of its virtual calls.
template <int N, int Axis, bool Flat, bool Invert, bool Simple>
[[gnu::always_inline]] inline void CarveField::Lanes(float x0, float y, float z, float out[N],
                                                     const float (*pts)[3]) const {
  const SegmentFrame& f = f_;
  const float w = w_, round = round_, offset = offset_;
  float h[N], u[N], v[N], r2[N], R[N], H[N], rim[N], face[N], a[N];
  bool held[N];  // the stencil holds the pen back wholly: the volume is left alone
  auto px = [&](int i) { return Axis == 2 ? pts[i][0] : (Axis == 0 ? x0 + (float)i : x0); };
  auto py = [&](int i) { return Axis == 2 ? pts[i][1] : (Axis == 1 ? y + (float)i : y); };
  auto pz = [&](int i) { return Axis == 2 ? pts[i][2] : z; };
  for (int i = 0; i < N; ++i) {
    const float vx = px(i) - f.S[0];
    const float vy = py(i) - f.S[1];
    const float vz = pz(i) - f.S[2];
    const float d = (f.Dir[0] * vx + f.Dir[1] * vy + f.Dir[2] * vz) / f.L;
    const float t = d < 0.f ? 0.f : (1.f < d ? 1.f : d);
    const float q0 = vx - f.Dir[0] * t * f.L, q1 = vy - f.Dir[1] * t * f.L, q2 = vz - f.Dir[2] * t * f.L;
    R[i] = f.A.R + (f.B.R - f.A.R) * t;
    H[i] = f.A.H + (f.B.H - f.A.H) * t;
    const float hi = f.N[0] * q0 + f.N[1] * q1 + f.N[2] * q2;
    const float qq0 = q0 - hi * f.N[0], qq1 = q1 - hi * f.N[1], qq2 = q2 - hi * f.N[2];
    h[i] = hi;
    u[i] = (f.T[0] * qq0 + f.T[1] * qq1 + f.T[2] * qq2) / R[i];
    v[i] = -(f.Bt[0] * qq0 + f.Bt[1] * qq1 + f.Bt[2] * qq2) / R[i];
    r2[i] = u[i] * u[i] + v[i] * v[i];
  }
  for (int i = 0; i < N; ++i) {
    rim[i] = (1.f - std::sqrt(r2[i])) * R[i] / w + 0.5f;
    // A flat carve has no fixed face: its value is never cut short there.
    face[i] = Flat ? 1.f : (Invert ? h[i] + 2.f : 2.f - h[i]) / w + 0.5f;
  }
  if constexpr (Simple) {
    // PenProfile::Alpha(u, -v) through SimplePen's GetDepthClamped, GetDepth
    // and Profile, step for step, in every lane: where the rim or the face
    // already decides, the value read is not used.
    const float hand = pen_.Handed, ax0 = pen_.Axes[0], ax1 = pen_.Axes[1], ax2 = pen_.Axes[2], ax3 = pen_.Axes[3];
    for (int i = 0; i < N; ++i) {
      const float pu = u[i], pv = -v[i] * hand;
      const float px = ax0 * pu + ax1 * pv, py = ax2 * pu + ax3 * pv;
      const float r = std::sqrt(px * px + py * py);
      const float t = 1.f - r;
      const float depth = r >= 1.f ? 0.f : t * t * (2.f - t) * (2.f - t);
      a[i] = (px < -1.f || px > 1.f || py < -1.f || py > 1.f) ? 0.f : depth;
    }
    if (pen_.Radial && pen_.Falloff > 0)
      for (int i = 0; i < N; ++i) {
        if (rim[i] <= 0.f || face[i] <= 0.f || !(r2[i] < 1.f)) continue;
        const float pu = u[i], pv = -v[i] * hand;
        a[i] *= PenFalloffFactor(pu * pu + pv * pv, pen_.Falloff);
      }
    for (int i = 0; i < N; ++i) {
      a[i] = r2[i] < 1.f ? a[i] * R[i] : 0.f;
      held[i] = false;
    }
    if (pen_.Mask)
      for (int i = 0; i < N; ++i) {
        if (rim[i] <= 0.f || face[i] <= 0.f) continue;
        const float p[3] = {px(i), py(i), pz(i)};
        const float k = pen_.BrushMask(p);
        held[i] = k <= 0.f;
        a[i] = k * a[i];
      }
  }
  // The pen is read only where the early answers (rim, face) do not hold.
  for (int i = 0; i < N && !Simple; ++i) {
    a[i] = 0.f;
    held[i] = false;
    if (rim[i] <= 0.f || face[i] <= 0.f) continue;
    const float ai = r2[i] < 1.f ? pen_.Alpha(u[i], -v[i]) * R[i] : 0.f;
    if (pen_.Mask) {
      const float p[3] = {px(i), py(i), pz(i)};
      const float k = pen_.BrushMask(p);
      held[i] = k <= 0.f;
      a[i] = k * ai;
    } else {
      a[i] = ai;
    }
  }
  for (int i = 0; i < N; ++i) {
    const float a2 = a[i] - 0.1f * r2[i] * R[i];
    float c = Flat ? a2 * H[i] + offset : a2 * (H[i] < 0.f ? 0.f : H[i]);
    c = c >= round ? c : (c > 0 ? c - (round - c) * (round - c) / round : c - round);
    float lo, hi;
    if (Flat) {
      lo = h[i] + c, hi = c - h[i];
    } else {
      lo = h[i] - (Invert ? -2.f : -c), hi = (Invert ? c : 2.f) - h[i];
    }
    const float m = hi < lo ? hi : lo;
    // RoundedMin(m / w + 0.5, rim, w, round), spelled out.
    const float ma = m / w + 0.5f;
    const float A = (ma - 0.5f) * w, B = (rim[i] - 0.5f) * w;
    const float uu = round - A, vv = round - B;
    const float arc = (round - std::sqrt(uu * uu + vv * vv)) / w + 0.5f;
    const float crease = rim[i] < ma ? rim[i] : ma;
    const float value = (A >= round || B >= round) ? crease : arc;
    out[i] = rim[i] <= 0.f ? rim[i] : (face[i] <= 0.f ? face[i] : (held[i] ? 0.f : value));
  }
}

template <int N, int Axis>
[[gnu::always_inline]] inline void CarveField::Lanes(float x0, float y, float z, float out[N],
                                                     const float (*pts)[3]) const {
  // The focal shift is read as the pen reads it, at every row.
  if (simplePen_ && GeneralPen::FocalShift == 0.f) {
    if (flat_)
      Lanes<N, Axis, true, false, true>(x0, y, z, out, pts);
    else if (invert_)
      Lanes<N, Axis, false, true, true>(x0, y, z, out, pts);
    else
      Lanes<N, Axis, false, false, true>(x0, y, z, out, pts);
  } else if (flat_) {
    Lanes<N, Axis, true, false, false>(x0, y, z, out, pts);
  } else if (invert_) {
    Lanes<N, Axis, false, true, false>(x0, y, z, out, pts);
  } else {
    Lanes<N, Axis, false, false, false>(x0, y, z, out, pts);
  }
}

float CarveField::Value(float x, float y, float z) const {
  if (f_.SameNormal) {
    float out[1];
    Lanes<1, 0>(x, y, z, out);
    return out[0];
  }
  const float p[3] = {x, y, z};
  return At(p);
}

void CarveField::LanesRow(float x0, float y, float z, float out[9]) const {
  Lanes<8, 0>(x0, y, z, out);
  Lanes<1, 0>(x0 + 8.f, y, z, out + 8);
}

[[gnu::always_inline]] inline void CarveField::PlaneBody(float x0, float y0, float z, unsigned open, float out[81]) const {
  int column = 0;
  for (int j = 0; j < 9; ++j)
    if (open >> j & 1) Lanes<8, 0>(x0, y0 + (float)j, z, out + 9 * j), column += j < 8;
  // The rows' ninth points, down the column x0 + 8: eight in lanes when
  // enough rows need them, else one by one.
  if (column >= 3) {
    float c[8];
    Lanes<8, 1>(x0 + 8.f, y0, z, c);
    for (int j = 0; j < 8; ++j)
      if (open >> j & 1) out[9 * j + 8] = c[j];
  } else {
    for (int j = 0; j < 8; ++j)
      if (open >> j & 1) Lanes<1, 0>(x0 + 8.f, y0 + (float)j, z, out + 9 * j + 8);
  }
  if (open >> 8 & 1) Lanes<1, 0>(x0 + 8.f, y0 + 8.f, z, out + 80);
}

void CarveField::LanesPlane(float x0, float y0, float z, unsigned open, float out[81]) const {
  PlaneBody(x0, y0, z, open, out);
}

[[gnu::always_inline]] inline void CarveField::PointsBody(int n, const float (*p)[3], float* out) const {
  for (int i = 0; i < n; i += 8) {
    const int m = std::min(n - i, 8);
    float q[8][3], v[8];
    // A short last group repeats its last point.
    for (int j = 0; j < 8; ++j)
      for (int a = 0; a < 3; ++a) q[j][a] = p[i + std::min(j, m - 1)][a];
    Lanes<8, 2>(0.f, 0.f, 0.f, v, q);
    std::copy(v, v + m, out + i);
  }
}

void CarveField::LanesPoints(int n, const float (*p)[3], float* out) const { PointsBody(n, p, out); }

#if CARVE_WIDE_LANES
// The same row in eight-wide lanes. Without fused multiply-adds every step is
// the same IEEE operation as in the narrow lanes, so the values are the same.
[[gnu::target("avx2")]] void CarveField::WideLanesRow(float x0, float y, float z, float out[9]) const {
  Lanes<8, 0>(x0, y, z, out);
  Lanes<1, 0>(x0 + 8.f, y, z, out + 8);
}

[[gnu::target("avx2")]] void CarveField::WideLanesPlane(float x0, float y0, float z, unsigned open, float out[81]) const {
  PlaneBody(x0, y0, z, open, out);
}

[[gnu::target("avx2")]] void CarveField::WideLanesPoints(int n, const float (*p)[3], float* out) const {
  PointsBody(n, p, out);
}

bool CarveField::WideLanes = [] {
  __builtin_cpu_init();  // this may run before the library's own start-up code
  return __builtin_cpu_supports("avx2") != 0;
}();
#else
bool CarveField::WideLanes = false;
#endif

void CarveField::Row(float x0, float y, float z, float out[9]) const {
  if (f_.SameNormal) {
#if CARVE_WIDE_LANES
    if (WideLanes) return WideLanesRow(x0, y, z, out);
#endif
    return LanesRow(x0, y, z, out);
  }
  float p[3] = {x0, y, z};
  for (int i = 0; i < 9; ++i, p[0] += 1.f) out[i] = At(p);
}

void CarveField::Plane(float x0, float y0, float z, unsigned open, float out[81]) const {
  if (!f_.SameNormal) return BrushField::Plane(x0, y0, z, open, out);
#if CARVE_WIDE_LANES
  if (WideLanes) return WideLanesPlane(x0, y0, z, open, out);
#endif
  LanesPlane(x0, y0, z, open, out);
}

void CarveField::Values(int n, const float (*p)[3], float* out) const {
  if (!f_.SameNormal) return BrushField::Values(n, p, out);
#if CARVE_WIDE_LANES
  if (WideLanes) return WideLanesPoints(n, p, out);
#endif
  LanesPoints(n, p, out);
}

bool CarveField::ZeroAround(const float c[3], float radius) const {
  // With one normal and one radius the rim term, (R - |q'|) / W + 0.5, and the
  // slab's fixed face, (2 - h) / W + 0.5 (h + 2 inverted), change by at most
  // 1 / W per voxel, and the value never exceeds either. Half a voxel more
  // covers the rounding of the arithmetic.
  if (!f_.SameNormal || f_.A.R != f_.B.R) return false;
  float t, q[3];
  f_.Project(c, t, q);
  const float h = Dot(f_.N, q);
  float qq[3];
  for (int i = 0; i < 3; ++i) qq[i] = q[i] - h * f_.N[i];
  const float reach = (radius + 0.5f) / w_;
  if ((f_.A.R - std::sqrt(Dot(qq, qq))) / w_ + 0.5f + reach <= 0.f) return true;
  if (flat_) return false;
  return (invert_ ? h + 2.f : 2.f - h) / w_ + 0.5f + reach <= 0.f;
}

DisplaceField::DisplaceField(VolumeObject& volume, const BrushEnd& a, const BrushEnd& b, bool invert, bool useProfile,
                             const PenProfile& pen, float reachExtra)
    : volume_(volume), f_(a, b), invert_(invert), useProfile_(useProfile), pen_(pen), reachExtra_(reachExtra) {}

float DisplaceField::Value(float x, float y, float z) const {
  const float p[3] = {x, y, z};
  Footprint fp;
  const bool inside = PenFootprint(f_, p, fp);
  float shift = 0.f;  // along -N: growing reads the field deeper inside
  if (useProfile_) {
    if (inside) {
      // The mask factor applies only when there is a mask.
      const float a = pen_.Alpha(fp.u, -fp.v) * fp.R * (pen_.Mask ? pen_.BrushMask(p) : 1.f);
      const float reach = reachExtra_ >= 0 ? fp.R + reachExtra_ : std::min(std::fabs(fp.H), 1.f) * fp.R + 8.f;
      const float g = std::clamp(1.f - (fp.h / reach) * (fp.h / reach), 0.f, 1.f);
      shift = a * g * fp.H;
    }
  } else {
    const float s = std::min(std::sqrt(fp.u * fp.u + fp.v * fp.v + (fp.h / fp.R) * (fp.h / fp.R)), 1.f);
    shift = (1.f - s * s * (2.f - s) * (2.f - s)) * fp.R * fp.H;
  }
  // Growing (not inverted) reads deeper inside, so the surface moves out;
  // inverted reads outside and takes the complement for the subtraction.
  const float sgn = invert_ ? 1.f : -1.f;
  const float v = volume_.SampleField(x + sgn * fp.N[0] * shift, y + sgn * fp.N[1] * shift, z + sgn * fp.N[2] * shift) / 65535.f;
  return invert_ ? 1.f - v : v;
}
