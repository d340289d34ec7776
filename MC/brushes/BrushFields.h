// Density fields of the voxel brushes: plain functions of a lattice position
// that give 0..1 (0.5 is the surface, the slope is that of a distance field in
// a band of BandWidth voxels). The driver (ApplyField.h) finds the cells a
// field can reach and merges it into them. Positions are object space, in
// voxels. Normals N passed to the fields point out of the solid.
#pragma once
#include <algorithm>

#include "paint/BrushMaskSource.h"
#include "paint/PenShapes.h"

class VolumeObject;

#if defined(__GNUC__) && defined(__x86_64__)
#define CARVE_WIDE_LANES 1
#else
#define CARVE_WIDE_LANES 0
#endif

// pow(max(1 - x, 0), 8 F^2), F = GeneralPen::Falloff.
float FalloffCurve(float x);

// Rounded intersection and union of two densities (0.5 the surface, a slope
// of 1 / band per voxel): where the two surfaces meet, the crease becomes an
// arc of `radius` voxels, so the lattice never samples a sharp edge; where
// either density lies more than `radius` inside (intersection) or outside
// (union), the plain min or max. `radius` must stay below band / 2.
float RoundedMin(float a, float b, float band, float radius);
float RoundedMax(float a, float b, float band, float radius);
// The arc of a rim, in voxels, for a pen of radius r: a fifth of the pen, at
// most `band` / 2 - 0.25.
float RimRounding(float r, float band);

class BrushField {
 public:
  virtual ~BrushField() = default;
  virtual float Value(float x, float y, float z) const = 0;
  // The values at the 9 lattice points (x0 + i, y, z), i = 0..8: the same
  // numbers Value gives, for one virtual call per row of a cell.
  virtual void Row(float x0, float y, float z, float out[9]) const;
  // The rows (x0 + i, y0 + j, z) of a cell's plane for each j whose bit is
  // set in `open`, row j at out + 9 j: the numbers Row gives.
  virtual void Plane(float x0, float y0, float z, unsigned open, float out[81]) const;
  // The values at n points p[i]: the numbers Value gives.
  virtual void Values(int n, const float (*p)[3], float* out) const;
  // True when Value is 0 or below everywhere within `radius` of `c`, so a
  // probe there may pass over the points; false when the field cannot tell.
  virtual bool ZeroAround(const float c[3], float radius) const;
};

// What the brushes read of the pen: its profile Alpha(u, v) on -1..1 (1 with
// no pen), whether the falloff applies (radial pens only), the pen frame and
// the mask.
struct PenProfile {
  BasicPenShape* Pen = nullptr;
  bool Radial = true;
  float Falloff = 0.f;
  // The pen's x and y axes in the brush's (u, v) frame: (x.u, x.v, y.u, y.v).
  float Axes[4] = {1, 0, 0, 1};
  // -1 in a mirrored copy of the operation: v is read mirrored back.
  float Handed = 1.f;
  const BrushMaskSource* Mask = nullptr;
  float Alpha(float u, float v) const {
    v *= Handed;
    float a = Pen ? Pen->GetDepthClamped(Axes[0] * u + Axes[1] * v, Axes[2] * u + Axes[3] * v) : 1.f;
    if (Radial && Falloff > 0) a *= PenFalloffFactor(u * u + v * v, Falloff);
    return a;
  }
  // BrushMask(p): the mask's factor, 1 without a mask; with `soft` the
  // factor v becomes clamp(4v - 2, 0, 1).
  float BrushMask(const float p[3], bool soft = false) const;
  // The pen as the global state has it now.
  static PenProfile Current();
};

// The two ends of a brush operation: position, outward normal, depth, radius.
struct BrushEnd {
  float P[3] = {0, 0, 0};
  float N[3] = {0, 0, 1};
  float H = 0.5f;
  float R = 10.f;
  // The pen's x axis: the direction a zero-length operation takes (zero: x).
  float X[3] = {0, 0, 0};
};

class SphereField final : public BrushField {
 public:
  SphereField(const float c[3], float r, float band) : c_{c[0], c[1], c[2]}, r_(r), w_(band) {}
  float Value(float x, float y, float z) const override;

 private:
  float c_[3], r_, w_;
};

// Shared geometry of the segment-based fields: S, dir, L, and the nearest
// point parameter of a position.
class SegmentFrame {
 public:
  SegmentFrame(const BrushEnd& a, const BrushEnd& b);
  // t in 0..1 and q = p - S - dir t L.
  void Project(const float p[3], float& t, float q[3]) const {
    const float v[3] = {p[0] - S[0], p[1] - S[1], p[2] - S[2]};
    t = std::clamp((Dir[0] * v[0] + Dir[1] * v[1] + Dir[2] * v[2]) / L, 0.f, 1.f);
    for (int i = 0; i < 3; ++i) q[i] = v[i] - Dir[i] * t * L;
  }
  BrushEnd A, B;
  float S[3], Dir[3], L;
  // When both ends share their normal (a dab, a stroke across a plane) the
  // pen plane's frame is the same everywhere: N, T and B, worked out once.
  bool SameNormal = false;
  float N[3], T[3], Bt[3];
};

// Round-ended capsule between two spheres.
class SegmentField final : public BrushField {
 public:
  SegmentField(const BrushEnd& a, const BrushEnd& b, float band) : f_(a, b), w_(band) {}
  // With a point before `a` and one after `b` the axis becomes the cubic
  // through the four (CubicInterpolation): t runs -1..2 over it and the
  // radius stays at least 0.1.
  void SetCubic(const float before[3], const float after[3]);
  float Value(float x, float y, float z) const override;

 private:
  SegmentFrame f_;
  float w_;
  bool cubic_ = false;
  float c_[4][3];  // the cubic's coefficients, p(t) = c0 + c1 t + c2 t^2 + c3 t^3
};

// Carve: a slab under the pen profile swept between two samples. Not
// inverted it spans from depth c below the surface to 2 above it (cut away in
// subtraction); inverted from 2 below to c above (added by union), so one field
// digs a groove or raises a ridge. `flat` is the double-sided variant.
class CarveField final : public BrushField {
 public:
  CarveField(const BrushEnd& a, const BrushEnd& b, float band, bool flat, bool invert, const PenProfile& pen,
             float flatOffset = 0.f);
  float Value(float x, float y, float z) const override;
  void Row(float x0, float y, float z, float out[9]) const override;
  void Plane(float x0, float y0, float z, unsigned open, float out[81]) const override;
  void Values(int n, const float (*p)[3], float* out) const override;
  bool ZeroAround(const float c[3], float radius) const override;
  // Rows run eight lanes to an instruction (AVX2); true where the processor
  // can. The values are the same either way.
  static bool WideLanes;

 private:
  // Value at p; Row inlines it.
  float At(const float p[3]) const;
  // The values at (x0 + i, y, z), i < N, when both ends share their normal:
  // each step is one loop over the points, so the compiler runs them side by
  // side, and a single point (N = 1) takes the same arithmetic as a row.
  template <int N, int Axis>
  void Lanes(float x0, float y, float z, float out[N], const float (*pts)[3] = nullptr) const;
  template <int N, int Axis, bool Flat, bool Invert, bool Simple>
  void Lanes(float x0, float y, float z, float out[N], const float (*pts)[3]) const;
  // A row through the lanes; on processors with AVX2 the same arithmetic
  // eight lanes to an instruction.
  void LanesRow(float x0, float y, float z, float out[9]) const;
  void LanesPlane(float x0, float y0, float z, unsigned open, float out[81]) const;
  void PlaneBody(float x0, float y0, float z, unsigned open, float out[81]) const;
  void LanesPoints(int n, const float (*p)[3], float* out) const;
  void PointsBody(int n, const float (*p)[3], float* out) const;
#if CARVE_WIDE_LANES
  void WideLanesRow(float x0, float y, float z, float out[9]) const;
  void WideLanesPlane(float x0, float y0, float z, unsigned open, float out[81]) const;
  void WideLanesPoints(int n, const float (*p)[3], float* out) const;
#endif
  SegmentFrame f_;
  float w_;
  bool flat_, invert_;
  PenProfile pen_;
  float offset_;
  float round_;
  // The pen is the built-in simple pen itself (not a class derived from it):
  // its profile is worked out in the lanes instead of through virtual calls.
  bool simplePen_;
};

// Displacement: the old field read at p moved along N by the profile times
// the depth. `reachExtra` < 0 uses min(|H|, 1) R + 8, else R + reachExtra.
class DisplaceField final : public BrushField {
 public:
  DisplaceField(VolumeObject& volume, const BrushEnd& a, const BrushEnd& b, bool invert, bool useProfile,
                const PenProfile& pen, float reachExtra = -1.f);
  float Value(float x, float y, float z) const override;

 private:
  VolumeObject& volume_;
  SegmentFrame f_;
  bool invert_, useProfile_;
  PenProfile pen_;
  float reachExtra_;
};

// A tangent frame (T, B) across a unit normal n, T following `along` where it can.
void TangentFrame(const float n[3], const float along[3], float t[3], float b[3]);
