// Samples and dispatch of a voxel stroke (see VoxelStroke.h).
#include "MC/brushes/VoxelStroke.h"

#include <algorithm>
#include <cmath>

#include "ClassEngine/Log.h"
#include "MC/brushes/ApplyField.h"
#include "MC/brushes/VolumePick.h"
#include "MC/mcubes/VolumeObject.h"
#include "paint/GeneralPen.h"

namespace {
constexpr int kMaxSamples = 80;
float Dist(const float a[3], const float b[3]) {
  return std::sqrt((a[0] - b[0]) * (a[0] - b[0]) + (a[1] - b[1]) * (a[1] - b[1]) + (a[2] - b[2]) * (a[2] - b[2]));
}
void Normalise(float v[3]) {
  const float l = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
  if (l > 1e-12f) v[0] /= l, v[1] /= l, v[2] /= l;
}
BrushEnd EndOf(const StrokeSample& s, float depth) {
  BrushEnd e;
  for (int i = 0; i < 3; ++i) e.P[i] = s.P[i], e.N[i] = s.N[i];
  e.R = std::max(s.Radius, 0.0001f);
  e.H = depth;
  return e;
}
}  // namespace

bool VoxelSculptStroke::Inverted() const {
  const bool flag = Tool >= 0 && Tool < kVoxModeCount && settings_.InvertToolAction[Tool];
  return flag != InvertModifier;
}

void VoxelSculptStroke::ToObject(const PenPoint& p, StrokeSample& s) const {
  volume_->PointToObject(p.P, s.P);
  volume_->VectorToObject(p.N, s.N);
  Normalise(s.N);
  s.Radius = std::max(p.Radius / volume_->TransformScale, 0.0001f);
  s.Pressure = GeneralPen::IgnorePressure ? 1.f : p.Pressure;
}

bool VoxelSculptStroke::Begin(VolumeObject& volume, const PenPoint& first, uint32_t seed) {
  message_.clear();
  const VoxModeInfo* info = FindVoxMode(Tool);
  if (!info || !info->Available) {
    message_ = "not available yet";
    Log("VoxelSculptStroke::Begin(): tool %d (%s) is not available yet", Tool, info ? info->Name : "?");
    return false;
  }
  volume_ = &volume;
  rnd_.Seed(seed);
  last_ = first;
  ToObject(first, first_);
  samples_.clear();
  // The first position acts at once: a click leaves a mark.
  samples_.push_back(first_);
  ApplyPair(first_, first_, false);
  return true;
}

std::vector<StrokeSample> VoxelSculptStroke::MakeSamples(const PenPoint& a, const PenPoint& b) const {
  std::vector<StrokeSample> out;
  StrokeSample sa, sb;
  ToObject(a, sa);
  ToObject(b, sb);
  if (SingleStamp) return {sb, sb};
  const float d = Dist(sa.P, sb.P);
  const float r = std::max((sa.Radius + sb.Radius) / 2, 1.f);
  const int n = std::min((int)(3 * d / r + 1), kMaxSamples);
  for (int i = 0; i <= n; ++i) {
    const float t = (float)i / (float)n;
    StrokeSample s;
    for (int k = 0; k < 3; ++k) s.P[k] = sa.P[k] + (sb.P[k] - sa.P[k]) * t, s.N[k] = sa.N[k] + (sb.N[k] - sa.N[k]) * t;
    Normalise(s.N);
    s.Radius = sa.Radius + (sb.Radius - sa.Radius) * t;
    s.Pressure = sa.Pressure + (sb.Pressure - sa.Pressure) * t;
    if (Reproject && Tool != SCULPT_BRANCH && i > 0 && i < n) {
      // Back onto the surface as it was before the stroke, from above the point.
      float o[3], dir[3];
      for (int k = 0; k < 3; ++k) o[k] = s.P[k] + s.N[k] * s.Radius, dir[k] = -s.N[k];
      SurfaceHit hit;
      float t2;
      if (PickVolume(*volume_, o, dir, hit, true, &t2) && t2 < 2 * s.Radius)
        for (int k = 0; k < 3; ++k) s.P[k] = hit.Pos[k];
    }
    out.push_back(s);
  }
  // Even spacing along the polyline the re-projection made.
  std::vector<float> len(out.size(), 0.f);
  for (size_t i = 1; i < out.size(); ++i) len[i] = len[i - 1] + Dist(out[i - 1].P, out[i].P);
  if (out.size() > 2 && len.back() > 1e-6f) {
    std::vector<StrokeSample> even;
    size_t seg = 1;
    for (size_t i = 0; i < out.size(); ++i) {
      const float want = len.back() * (float)i / (float)(out.size() - 1);
      while (seg < out.size() - 1 && len[seg] < want) ++seg;
      const float span = len[seg] - len[seg - 1];
      const float t = span > 0 ? std::clamp((want - len[seg - 1]) / span, 0.f, 1.f) : 0.f;
      const StrokeSample &a0 = out[seg - 1], &b0 = out[seg];
      StrokeSample s;
      for (int k = 0; k < 3; ++k) s.P[k] = a0.P[k] + (b0.P[k] - a0.P[k]) * t, s.N[k] = a0.N[k] + (b0.N[k] - a0.N[k]) * t;
      Normalise(s.N);
      s.Radius = a0.Radius + (b0.Radius - a0.Radius) * t;
      s.Pressure = a0.Pressure + (b0.Pressure - a0.Pressure) * t;
      even.push_back(s);
    }
    out.swap(even);
  }
  return out;
}

int VoxelSculptStroke::MoveTo(const PenPoint& p) {
  if (!volume_) return 0;
  samples_ = MakeSamples(last_, p);
  const bool moving = Dist(last_.P, p.P) > 1e-6f;
  last_ = p;
  int changed = 0;
  for (size_t i = 1; i < samples_.size(); ++i) changed += ApplyPair(samples_[i - 1], samples_[i], moving);
  return changed;
}

void VoxelSculptStroke::End() { volume_ = nullptr; }

int VoxelSculptStroke::ApplyPair(const StrokeSample& a, const StrokeSample& b, bool moving) {
  VolumeObject& v = *volume_;
  const bool inv = Inverted();
  const float depth = GeneralPen::DeepDegree;
  const float pressure = b.Pressure;
  const PenProfile pen = PenProfile::Current();
  const VoxelBrushSettings& s = settings_;
  auto smooth = [&](float add, int side, float degree) {
    SmoothParams sp;
    for (int k = 0; k < 3; ++k) sp.Center[k] = b.P[k];
    sp.Radius = b.Radius;
    sp.Add = add;
    sp.Side = side;
    sp.Pressure = pressure;
    sp.Degree = degree;
    sp.Accurate = s.AccurateSmoothing;
    return BrushSmooth(v, sp, rnd_, Threads);
  };
  switch (Tool) {
    case SCULP_GROW:  // SMOOTH_DEG is the depth for the time of the operation
      return smooth(inv ? s.ThawPower : -s.GrowPower, 0, std::min(std::fabs(depth), 1.f));
    case SCULPT_SMOOTH:
      return smooth(0, 0, s.SMOOTH_DEG);
    case SCULP_FILL:
      return smooth(0, inv ? -1 : 1, std::min(std::fabs(depth), 1.f));
    case SCULP_CLAY: {
      int n = BrushDisplace(v, EndOf(a, depth * pressure * 0.25f), EndOf(b, depth * pressure * 0.25f), inv, true, pen,
                            -1.f, Threads);
      return n + smooth(0, 0, s.SMOOTH_DEG * 0.5f);
    }
    case SCULPT_CARVE:
    case SCULPT_BRANCH:
      return BrushCarve(v, EndOf(a, depth * pressure), EndOf(b, depth * pressure), s.DoubleSided, inv, pen, Threads);
    case SCULPT_RASPFILE: {
      // Both points 2 voxels into (or, inverted, out of) the surface: each
      // pass scrapes a constant layer.
      BrushEnd ea = EndOf(a, depth * pressure), eb = EndOf(b, depth * pressure);
      const float off = inv ? 2.f : -2.f;
      for (int k = 0; k < 3; ++k) ea.P[k] += ea.N[k] * off, eb.P[k] += eb.N[k] * off;
      return BrushCarve(v, ea, eb, false, inv, pen, Threads);
    }
    case SCULPT_ALPGROW:
      return BrushDisplace(v, EndOf(a, 0.1f * pressure), EndOf(b, 0.1f * pressure), inv, true, pen, 20.f, Threads);
    case SCULPT_BUILD:
      if (!moving) return 0;
      return BrushDisplace(v, EndOf(a, 0.1f * pressure), EndOf(b, 0.1f * pressure), inv, true, pen, -1.f, Threads);
    case SCULPT_EXTRUDE:
      return BrushDisplace(v, EndOf(a, depth * pressure), EndOf(b, depth * pressure), inv, true, pen, -1.f, Threads);
    case SCULP_SPHERE: {
      BrushEnd ea = EndOf(a, 0), eb = EndOf(b, 0);
      for (BrushEnd* e : {&ea, &eb}) {
        const float shift = pressure * e->R * s.SphereExtrusion;
        for (int k = 0; k < 3; ++k) e->P[k] += e->N[k] * shift;
        if (s.SpDependsOnPressure) e->R = std::max(e->R * pressure, 0.0001f);
      }
      return BrushSegment(v, ea, eb, inv ? kFieldSubtract : kFieldUnion, Threads);
    }
    case SCULP_VXPLANE: {
      int n = PlaneCut(v, first_.P, first_.N, b.Radius, inv, Threads);
      if (s.SoftScrape) n += smooth(0, 0, s.SMOOTH_DEG);
      return n;
    }
    case SCULP_VXPINCH: {
      const float zero[3] = {0, 0, 0};
      return BrushPinch(v, b.P, b.Radius, (inv ? -1.f : 1.f) * std::fabs(depth) * pressure, zero, Threads);
    }
    case SCULP_VXFOLLOW: {
      float shift[3];
      for (int k = 0; k < 3; ++k) shift[k] = (b.P[k] - a.P[k]) * s.FollowDegree * 2.f;
      return BrushPinch(v, b.P, b.Radius, 0.f, shift, Threads);
    }
    default:
      return 0;  // picking acts on press, not per sample
  }
}
