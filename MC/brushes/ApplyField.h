// The generic brush driver and the field operations built on it. ApplyField
// probes the cells of a box on a coarse lattice, keeps those the field reaches
// (and, growing outward by waves, those beyond the box it still reaches), and
// merges the field into them: union takes the max, subtraction the min with
// the complement, intersection the min (and empties every cell not reached).
// The brush operations below work in object space, in voxels.
#pragma once
#include "MC/brushes/BrushFields.h"
#include "MC/mcubes/VolumeObject.h"

class Random;

enum FieldMode { kFieldUnion = 0, kFieldSubtract = 1, kFieldIntersect = 2 };

struct FieldOptions {
  int Mode = kFieldUnion;
  // Absolute: every mode but union lowers by the field (old - v).
  bool Absolute = false;
  // Probe by the change a field would make rather than its value.
  bool Compare = false;
  int Threads = 0;  // 0: UsingProcessors()
  // Union and subtraction meet the old surface in an arc of this many voxels
  // (RoundedMax, RoundedMin) rather than a crease; 0 keeps the crease.
  float Rounding = 0.f;
  float Band = 4.f;
};

// Box of voxels: the union of two end spheres.
struct FieldBox {
  float Min[3], Max[3];
  static FieldBox OfSpheres(const float a[3], float ra, const float b[3], float rb);
};

// Returns the number of cells changed.
int ApplyField(VolumeObject& volume, const BrushField& field, const FieldBox& box, const FieldOptions& options);

// The brush operations; `threads` 0 uses UsingProcessors().
// `before` and `after`, when given, bend the capsule's axis into the cubic
// through them (CubicInterpolation).
int BrushSegment(VolumeObject& v, const BrushEnd& a, const BrushEnd& b, int mode, int threads = 0,
                 const float* before = nullptr, const float* after = nullptr);
// `flatOffset` deepens the double-sided (flat) carve on both sides.
int BrushCarve(VolumeObject& v, const BrushEnd& a, const BrushEnd& b, bool flat, bool invert, const PenProfile& pen,
               int threads = 0, float flatOffset = 0.f);
// Grows (or, inverted, pushes in) the surface under the pen along the normals.
int BrushDisplace(VolumeObject& v, const BrushEnd& a, const BrushEnd& b, bool invert, bool useProfile,
                  const PenProfile& pen, float reachExtra = -1.f, int threads = 0);

struct SmoothParams {
  float Center[3];
  float Radius;
  float Add = 0.f;       // -4..16: negative swells, positive shrinks
  int Side = 0;          // 1 raises only, -1 lowers only
  float Pressure = 1.f;
  float Degree = 1.f;    // SMOOTH_DEG
  bool Accurate = false; // stride 1 always
};
int BrushSmooth(VolumeObject& v, const SmoothParams& p, Random& rnd, int threads = 0);

// Resamples the field toward c (Degree) and along Shift.
int BrushPinch(VolumeObject& v, const float c[3], float radius, float degree, const float shift[3], int threads = 0);

// Cuts what lies above the plane through `point` with outward normal `n`
// inside the sphere of `radius`; inverted, fills up to the plane.
int PlaneCut(VolumeObject& v, const float point[3], const float n[3], float radius, bool invert, int threads = 0);
