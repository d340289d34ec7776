// Dab radius, amounts, colour jitter and pen frame (see PenDab.h).
#include "paint/PenDab.h"

#include <algorithm>
#include <cmath>

#include "paint/GeneralPen.h"
#include "paint/PenShapes.h"

namespace {
constexpr float kPi = 3.14159265358979f;
// The generator gives 0..32767; the variation formulas centre on 16384.
float Centred(Random& rnd) { return (float)(rnd.Next() - 16384); }
float Dot(const float a[3], const float b[3]) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
void Cross(const float a[3], const float b[3], float o[3]) {
  o[0] = a[1] * b[2] - a[2] * b[1], o[1] = a[2] * b[0] - a[0] * b[2], o[2] = a[0] * b[1] - a[1] * b[0];
}
float Normalise(float v[3]) {
  const float l = std::sqrt(Dot(v, v));
  if (l > 0) v[0] /= l, v[1] /= l, v[2] /= l;
  return l;
}
}  // namespace

bool RadiusFollowsPressure(int m) { return m == kStrokeDefault || m == kStrokeDoubleSoft || m == kStrokeMiddleNarrow; }
bool AmountsFollowPressure(int m) { return m == kStrokeSoft || m == kStrokeDoubleSoft || m == kStrokeMiddleNarrow; }
bool DepthScalesWithRadius(int m) { return m == kStrokeDefault; }
bool VariationAllowed(int m) { return m != kStrokePreview; }
bool SpacingApplies(int m) { return m < kStrokePoints; }

float DabRadius(const BasicPenShape& pen, float p, Random& rnd, bool toolAllows, bool hold, float previousRadius) {
  float r = GeneralPen::PenRadius;
  if (pen.RadiusVariation > 0 && VariationAllowed(GeneralPen::StrokeMode)) {
    const float q = pen.RadiusVariationDependsOnPressure ? p : 1.f;
    r *= 1.f + Centred(rnd) * pen.RadiusVariation * q / 1639000.f;
  }
  if (toolAllows && RadiusFollowsPressure(GeneralPen::StrokeMode)) {
    if (GeneralPen::StrokeMode == kStrokeMiddleNarrow) {
      r *= (1 - p) * (1 - p);
      if (hold) r = std::min(r, previousRadius);
    } else {
      const float z = pen.ZeroPressureRadius;
      r *= z + (1 - z) * p;
    }
  }
  return r;
}

DabAmounts::DabAmounts(const BasicPenShape& pen, float p, Random& rnd)
    : depth_(GeneralPen::DeepDegree), opacity_(GeneralPen::ColorOpacity) {
  if (!VariationAllowed(GeneralPen::StrokeMode)) return;
  if (pen.DepthVariation > 0) {
    const float q = pen.DepthVariationDependsOnPressure ? p : 1.f;
    GeneralPen::DeepDegree *= 1.f + Centred(rnd) * pen.DepthVariation * q / 1639000.f;
  }
  if (pen.OpacityVariation > 0) {
    const float v = std::min(100.f, pen.OpacityVariation * (pen.OpacityVariationDependsOnPressure ? p : 1.f));
    GeneralPen::ColorOpacity *= 1.f - (float)rnd.Next() * v / 3276900.f;
  }
}

DabAmounts::~DabAmounts() {
  GeneralPen::DeepDegree = depth_;
  GeneralPen::ColorOpacity = opacity_;
}

void JitterColor(float out[4], Random& rnd, float travelRatio) {
  const float* a = GeneralPen::Color;
  const float* b = GeneralPen::Color2;
  float t = 0.f;
  switch (GeneralPen::ColorJitterMode) {
    case 1: t = rnd.Next() < 16384 ? 0.f : 1.f; break;
    case 2: t = (float)rnd.Next() / 32768.f; break;
    case 3: t = std::clamp(travelRatio, 0.f, 1.f); break;
    default: break;
  }
  for (int c = 0; c < 4; ++c) out[c] = a[c] + (b[c] - a[c]) * t;
}

PenFrame BuildPenFrame(const BasicPenShape& pen, const PenFrameInput& in, float p, Random& rnd) {
  PenFrame f;
  const float* zsrc = (!pen.RotateAlongMotion && in.FixedNormal) ? in.FixedNormal : in.ViewDir;
  for (int i = 0; i < 3; ++i) f.Z[i] = zsrc[i];
  if (Normalise(f.Z) == 0) f.Z[0] = 0, f.Z[1] = 0, f.Z[2] = 1;

  float x[3] = {in.Motion[0], in.Motion[1], in.Motion[2]};
  const float along = Dot(x, f.Z);
  for (int i = 0; i < 3; ++i) x[i] -= along * f.Z[i];
  if (std::sqrt(Dot(x, x)) < 0.1f) {
    // No usable motion: an axis perpendicular to Z's largest component.
    const float a[3] = {std::fabs(f.Z[0]), std::fabs(f.Z[1]), std::fabs(f.Z[2])};
    const int big = a[0] >= a[1] && a[0] >= a[2] ? 0 : (a[1] >= a[2] ? 1 : 2);
    float axis[3] = {0, 0, 0};
    axis[(big + 1) % 3] = 1;
    const float d = Dot(axis, f.Z);
    for (int i = 0; i < 3; ++i) x[i] = axis[i] - d * f.Z[i];
  }
  Normalise(x);
  float y[3];
  Cross(f.Z, x, y);
  Normalise(y);
  for (int i = 0; i < 3; ++i) y[i] *= (float)in.MirrorSigns;

  float angle = 3.f * kPi / 2.f - GeneralPen::PenRotation;
  if (in.LeftHandedView) {
    angle = -angle;
    for (float& c : y) c = -c;
  }
  if (pen.RotationAmplitude > 0 && VariationAllowed(GeneralPen::StrokeMode)) {
    const float q = pen.RotationAmplitudeDependsOnPressure ? p : 1.f;
    angle += Centred(rnd) * pen.RotationAmplitude * q * kPi / 180.f / 32768.f;
  }
  const float c = std::cos(angle), s = std::sin(angle);
  for (int i = 0; i < 3; ++i) {
    f.X[i] = x[i] * c + y[i] * s;
    f.Y[i] = -x[i] * s + y[i] * c;
  }
  if (pen.RandomFlipX && rnd.Next() < 16384)
    for (float& v : f.X) v = -v;
  if (pen.RandomFlipY && rnd.Next() < 16384)
    for (float& v : f.Y) v = -v;
  return f;
}

void DabJitter(const BasicPenShape& pen, const PenFrame& frame, float p, Random& rnd, float out[3]) {
  out[0] = out[1] = out[2] = 0;
  if (pen.Jitter <= 0 || !VariationAllowed(GeneralPen::StrokeMode)) return;
  const float mag = pen.Jitter * GeneralPen::StrokeRadius * (pen.JitterDependsOnPressure ? p : 1.f);
  // Uniform in the disc: angle and the square root of a uniform length.
  const float a = rnd.Unit() * 2.f * kPi, l = mag * std::sqrt(rnd.Unit());
  for (int i = 0; i < 3; ++i) out[i] = (frame.X[i] * std::cos(a) + frame.Y[i] * std::sin(a)) * l;
}
