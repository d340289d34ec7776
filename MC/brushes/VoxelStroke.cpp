// Samples and dispatch of a voxel stroke (see VoxelStroke.h).
#include "MC/brushes/VoxelStroke.h"

#include <algorithm>
#include <cmath>

#include "ClassEngine/Log.h"
#include "MC/brushes/ApplyField.h"
#include "MC/brushes/DropSpecks.h"
#include "MC/brushes/Symmetry.h"
#include "MC/brushes/VolumePick.h"
#include "MC/mcubes/VolumeObject.h"
#include "paint/GeneralPen.h"
#include "paint/PenDab.h"
#include "paint/PenShapes.h"

namespace {
constexpr int kMaxSamples = 80;
float Dist(const float a[3], const float b[3]) {
  return std::sqrt((a[0] - b[0]) * (a[0] - b[0]) + (a[1] - b[1]) * (a[1] - b[1]) + (a[2] - b[2]) * (a[2] - b[2]));
}
void Normalise(float v[3]) {
  const float l = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
  if (l > 1e-12f) v[0] /= l, v[1] /= l, v[2] /= l;
}
float Dot(const float a[3], const float b[3]) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
// A sample carried into a symmetry copy: position and normal (and pen frame).
StrokeSample Carried(const StrokeSample& s, const SymmetryCopy& c) {
  StrokeSample o = s;
  c.Point(s.P, o.P);
  c.Point(s.N, o.N);
  c.Point(s.PenX, o.PenX);
  c.Point(s.PenY, o.PenY);
  return o;
}
BrushEnd EndOf(const StrokeSample& s, float depth) {
  BrushEnd e;
  for (int i = 0; i < 3; ++i) e.P[i] = s.P[i], e.N[i] = s.N[i], e.X[i] = s.PenX[i];
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

float LatticeMask::At(const float p[3]) const {
  if (!SceneMask) return 1.f;
  if (!Volume) return SceneMask->At(p);
  float scene[3];
  Volume->PointToScene(p, scene);
  return SceneMask->At(scene);
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
  const float still[3] = {0, 0, 0};
  ShapeDab(first_, still);
  samples_.clear();
  // The first position acts at once: a click leaves a mark.
  samples_.push_back(first_);
  prevDab_ = first_;
  pairIndex_ = 0;
  surface_ = {};
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

void VoxelSculptStroke::ShapeDab(StrokeSample& s, const float motion[3]) {
  static BasicPenShape plain;
  const BasicPenShape& pen = GeneralPen::CurrentPenPtr ? *GeneralPen::CurrentPenPtr : plain;
  const float p = s.Pressure;
  // Radius: the pen's variation and pressure curve, as a share of its setting.
  if (GeneralPen::PenRadius > 0)
    s.Radius = std::max(s.Radius * DabRadius(pen, p, rnd_) / GeneralPen::PenRadius, 0.0001f);
  GeneralPen::StrokeRadius = s.Radius;
  {
    // Depth: the varied depth, and pressure where the stroke mode says so;
    // opacity variation lowers the amount as it would a colour's.
    const float opacity = GeneralPen::ColorOpacity;
    DabAmounts varied(pen, p, rnd_);
    s.Strength = AmountsFollowPressure(GeneralPen::StrokeMode) ? p : 1.f;
    if (opacity > 0) s.Strength *= GeneralPen::ColorOpacity / opacity;
    s.Depth = GeneralPen::DeepDegree * s.Strength;
    if (GeneralPen::DeepDegree != 0 && s.Depth == 0) s.Depth = 0;
  }
  // The pen frame looks into the surface; its axes lie across the normal.
  PenFrameInput in;
  for (int k = 0; k < 3; ++k) in.ViewDir[k] = -s.N[k], in.Motion[k] = motion[k];
  const PenFrame f = BuildPenFrame(pen, in, p, rnd_);
  for (int k = 0; k < 3; ++k) s.PenX[k] = f.X[k], s.PenY[k] = f.Y[k];
  float shift[3];
  DabJitter(pen, f, p, rnd_, shift);
  if (Dot(shift, shift) > 0) {
    // The shifted dab goes back onto the surface as it was before the stroke.
    float o[3], dir[3];
    for (int k = 0; k < 3; ++k) s.P[k] += shift[k], o[k] = s.P[k] + s.N[k] * s.Radius, dir[k] = -s.N[k];
    SurfaceHit hit;
    float t;
    if (volume_ && PickVolume(*volume_, o, dir, hit, true, &t) && t < 2 * s.Radius)
      for (int k = 0; k < 3; ++k) s.P[k] = hit.Pos[k];
  }
}

int VoxelSculptStroke::MoveTo(const PenPoint& p) {
  if (!volume_) return 0;
  samples_ = MakeSamples(last_, p);
  const bool moving = Dist(last_.P, p.P) > 1e-6f;
  last_ = p;
  float motion[3] = {0, 0, 0};
  if (samples_.size() > 1)
    for (int k = 0; k < 3; ++k) motion[k] = samples_.back().P[k] - samples_.front().P[k];
  // The first sample is the last one of the frame before: already a dab.
  for (size_t i = 1; i < samples_.size(); ++i) ShapeDab(samples_[i], motion);
  if (!samples_.empty() && prevDab_) {
    samples_[0].Radius = prevDab_->Radius, samples_[0].Depth = prevDab_->Depth, samples_[0].Strength = prevDab_->Strength;
    for (int k = 0; k < 3; ++k) samples_[0].P[k] = prevDab_->P[k], samples_[0].PenX[k] = prevDab_->PenX[k],
                                samples_[0].PenY[k] = prevDab_->PenY[k];
  }
  int changed = 0;
  for (size_t i = 1; i < samples_.size(); ++i) {
    pairIndex_ = i;
    changed += ApplyPair(samples_[i - 1], samples_[i], moving);
  }
  if (samples_.size() > 1) prevDab_ = samples_.back();
  return changed;
}

void VoxelSculptStroke::End() {
  // Crumbs the stroke left floating go before the surface and the undo record see them.
  if (volume_) EndSurfaceStroke(*volume_, Tool);
  if (volume_) DropSpecks(*volume_, volume_->TouchedCells);
  volume_ = nullptr;
  prevDab_.reset();
}

int VoxelSculptStroke::ApplyPair(const StrokeSample& a, const StrokeSample& b, bool moving) {
  int changed = 0;
  // The sphere tool's cubic needs the samples on either side of the pair.
  const bool cubic = settings_.CubicInterpolation && pairIndex_ >= 2 && pairIndex_ + 1 < samples_.size();
  // Every copy draws the same random numbers (a smoothing stride), so the
  // copies stay images of each other.
  const Random atStart = rnd_;
  ForEachSymmetry(
      [&](const SymmetryCopy& c, bool) {
        rnd_ = atStart;
        hasCubic_ = cubic;
        if (cubic) c.Point(samples_[pairIndex_ - 2].P, cubicBefore_), c.Point(samples_[pairIndex_ + 1].P, cubicAfter_);
        changed += ApplyTool(Carried(a, c), Carried(b, c), Carried(first_, c), c.Handed, moving);
      },
      GeneralPen::Symmetry, settings_.AxialSymmetry, settings_.AxialAxis);
  return changed;
}

int VoxelSculptStroke::ApplyTool(const StrokeSample& a, const StrokeSample& b, const StrokeSample& first, float handed,
                                 bool moving) {
  VolumeObject& v = *volume_;
  const bool inv = Inverted();
  const float pressure = b.Pressure;
  PenProfile pen = PenProfile::Current();
  pen.Handed = handed;
  if (Mask) {
    pen.Mask = Mask;  // the stroke's own, in the lattice's space
  } else if (pen.Mask) {
    viewMask_.Volume = volume_, viewMask_.SceneMask = pen.Mask;
    pen.Mask = &viewMask_;
  }
  {
    // The pen frame in the carve's (u, v) frame at the pair's end.
    float t[3], bb[3];
    float dir[3] = {b.P[0] - a.P[0], b.P[1] - a.P[1], b.P[2] - a.P[2]};
    if (Dot(dir, dir) < 1e-20f) {
      // As the field's frame does for a zero-length pair: the pen's x axis.
      const bool hasX = Dot(b.PenX, b.PenX) > 0.25f;
      for (int k = 0; k < 3; ++k) dir[k] = hasX ? b.PenX[k] : (k == 0 ? 1.f : 0.f);
    }
    TangentFrame(b.N, dir, t, bb);
    if (Dot(b.PenX, b.PenX) > 0.5f) {
      // Read in the copy's own frame; Handed undoes the mirror of v.
      pen.Axes[0] = Dot(b.PenX, t), pen.Axes[1] = Dot(b.PenX, bb) * handed;
      pen.Axes[2] = Dot(b.PenY, t), pen.Axes[3] = Dot(b.PenY, bb) * handed;
    }
  }
  const VoxelBrushSettings& s = settings_;
  if (UsesSurfacePath(Tool, v)) return ApplySurfaceTool(v, Tool, a, b, first, s, inv, pen, surface_);
  const float strength = b.Strength;
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
      return smooth(inv ? s.ThawPower : -s.GrowPower, 0, std::min(std::fabs(b.Depth), 1.f));
    case SCULPT_SMOOTH:
      return smooth(0, 0, s.SMOOTH_DEG);
    case SCULP_FILL:
      return smooth(0, inv ? -1 : 1, std::min(std::fabs(b.Depth), 1.f));
    case SCULP_CLAY: {
      int n = BrushDisplace(v, EndOf(a, a.Depth * 0.25f), EndOf(b, b.Depth * 0.25f), inv, true, pen,
                            -1.f, Threads);
      return n + smooth(0, 0, s.SMOOTH_DEG * 0.5f);
    }
    case SCULPT_CARVE:
    case SCULPT_BRANCH:
      return BrushCarve(v, EndOf(a, a.Depth), EndOf(b, b.Depth), s.DoubleSided, inv, pen, Threads, s.FlatCarveOffset);
    case SCULPT_RASPFILE: {
      // Both points 2 voxels into (or, inverted, out of) the surface: each
      // pass scrapes a constant layer.
      BrushEnd ea = EndOf(a, a.Depth), eb = EndOf(b, b.Depth);
      const float off = inv ? 2.f : -2.f;
      for (int k = 0; k < 3; ++k) ea.P[k] += ea.N[k] * off, eb.P[k] += eb.N[k] * off;
      return BrushCarve(v, ea, eb, false, inv, pen, Threads);
    }
    case SCULPT_ALPGROW:
      return BrushDisplace(v, EndOf(a, 0.1f * a.Strength), EndOf(b, 0.1f * strength), inv, true, pen, 20.f, Threads);
    case SCULPT_BUILD:
      if (!moving) return 0;
      return BrushDisplace(v, EndOf(a, 0.1f * a.Strength), EndOf(b, 0.1f * strength), inv, true, pen, -1.f, Threads);
    case SCULPT_EXTRUDE:
      return BrushDisplace(v, EndOf(a, a.Depth), EndOf(b, b.Depth), inv, true, pen, -1.f, Threads);
    case SCULP_SPHERE: {
      BrushEnd ea = EndOf(a, 0), eb = EndOf(b, 0);
      for (BrushEnd* e : {&ea, &eb}) {
        const float shift = pressure * e->R * s.SphereExtrusion;
        for (int k = 0; k < 3; ++k) e->P[k] += e->N[k] * shift;
        if (s.SpDependsOnPressure) e->R = std::max(e->R * pressure, 0.0001f);
      }
      const int mode = inv ? kFieldSubtract : kFieldUnion;
      // The neighbours of the pair, carried into this copy like its ends.
      if (!hasCubic_) return BrushSegment(v, ea, eb, mode, Threads);
      float before[3], after[3];
      for (int k = 0; k < 3; ++k)
        before[k] = cubicBefore_[k] + ea.P[k] - a.P[k], after[k] = cubicAfter_[k] + eb.P[k] - b.P[k];
      return BrushSegment(v, ea, eb, mode, Threads, before, after);
    }
    case SCULP_VXPLANE: {
      int n = PlaneCut(v, first.P, first.N, b.Radius, inv, Threads);
      if (s.SoftScrape) n += smooth(0, 0, s.SMOOTH_DEG);
      return n;
    }
    case SCULP_VXPINCH: {
      const float zero[3] = {0, 0, 0};
      return BrushPinch(v, b.P, b.Radius, (inv ? -1.f : 1.f) * std::fabs(b.Depth) * pressure, zero, Threads);
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
