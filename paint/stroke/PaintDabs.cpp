// Hits to dabs: the pen state of one dab and the call into ApplyStroke.
#include "paint/stroke/PaintDabs.h"

#include <algorithm>

#include "paint/GeneralPen.h"
#include "paint/PenDab.h"
#include "paint/PenShapes.h"
#include "paint/layers/OneLayerInfo.h"
#include "paint/scene/PaintScene.h"
#include "paint/stroke/PickState.h"
#include "paint/stroke/StrokeFlood.h"

using comms::cVec3;

void PaintDabs::Begin(uint32_t seed) {
  End();
  if (Recording) Recording->Kind = Kind, Recording->Seed = seed, Recording->Hits.clear();
  rnd_.Seed(seed);
  Stroke.Begin();
  smudge_.Reset();
  GeneralPen::StripPhase = 0;
  active_ = true, dabs_ = 0;
  island_.clear();
  BreakPath();
}

void PaintDabs::End() {
  if (!active_) return;
  Stroke.End();
  active_ = false;
  BreakPath();
}

void PaintDabs::BreakPath() {
  for (Track& t : tracks_) t.HasLast = false;
  breakNext_ = true;
}

bool PaintDabs::Checkpoint() {
  BreakPath();
  return active_ && Stroke.Checkpoint();
}

void PaintDabs::Replay(const StrokeRecord& record) {
  Kind = record.Kind;
  Begin(record.Seed);
  for (const PenHit& h : record.Hits) Dab(h);
  End();
}

DabResult PaintDabs::Dab(const PenHit& given) {
  if (!active_) Begin();
  PenHit hit = given;
  if (breakNext_) hit.NewTrack = true, breakNext_ = false;
  if (hit.NewTrack)
    for (Track& t : tracks_) t.HasLast = false;
  if (Recording) Recording->Hits.push_back(hit);
  Track& track = tracks_[hit.Mirror & 7];
  Stroke.IslandOnly = GeneralPen::StrokeMode == kStrokeIsland;
  if (Stroke.IslandOnly) {
    // Off the island the stroke began on, the pen paints nothing.
    if (island_.empty()) UVIslandOf(scene_, hit.Face, island_);
    if (hit.Face < 0 || hit.Face >= (int)island_.size() || !island_[hit.Face]) {
      track.HasLast = false;
      return DabResult::Nothing;
    }
  }
  const bool hasLast = track.HasLast;
  const PenHit& last = track.Last;
  BasicPenShape* pen = GeneralPen::CurrentPenPtr ? GeneralPen::CurrentPenPtr : &plainPen_;
  GeneralPen::PrevPressure = hasLast ? last.Pressure : hit.Pressure;
  GeneralPen::PenPressure = hit.Pressure;
  const float us = scene_.UnitScale;
  // The pen's radius in pixels after pressure and variation, in world units here.
  const float pixels = GeneralPen::PenRadius > 0 ? GeneralPen::PenRadius : 1.0f;
  const float radius = hit.WorldRadius * DabRadius(*pen, hit.Pressure, rnd_) / pixels;
  GeneralPen::StrokeRadius = radius;
  StrokeFrame f;
  const cVec3 start = hasLast ? last.Pos : hit.Pos;
  f.SetSegment(start * us, hit.Pos * us, (hasLast ? track.LastRadius : radius) * us, radius * us);
  f.SinglePoint = !hasLast;
  f.PrevPressure = GeneralPen::PrevPressure, f.PenPressure = GeneralPen::PenPressure;
  f.SetStrokeMode(GeneralPen::StrokeMode);
  f.PenRadius = hit.WorldRadius * us;
  f.ViewDir = hit.ViewDir.Normalized();
  f.IgnoreBackfaces = GeneralPen::IgnoreBackfaces;
  PenFrameInput in;
  // A copy mirrored in an odd number of axes turns the other way.
  in.MirrorSigns = __builtin_popcount((unsigned)hit.Mirror & 7) % 2 ? -1 : 1;
  in.ViewDir[0] = f.ViewDir.x, in.ViewDir[1] = f.ViewDir.y, in.ViewDir[2] = f.ViewDir.z;
  const cVec3 motion = hit.Pos - start;
  in.Motion[0] = motion.x * us, in.Motion[1] = motion.y * us, in.Motion[2] = motion.z * us;
  const PenFrame pf = BuildPenFrame(*pen, in, hit.Pressure, rnd_);
  f.AxisX = cVec3(pf.X[0], pf.X[1], pf.X[2]);
  f.AxisY = cVec3(pf.Y[0], pf.Y[1], pf.Y[2]);
  f.AxisZ = cVec3(pf.Z[0], pf.Z[1], pf.Z[2]);
  JitterColor(f.DabColor, rnd_);
  f.DabColor[3] = 1;
  DabAmounts amounts(*pen, hit.Pressure, rnd_);
  Stroke.Pen = pen;
  Stroke.Mask = GeneralPen::Mask;
  Stroke.Strip = GeneralPen::CurrentStrip;
  if (Stroke.Strip) {
    f.StripAspect = Stroke.Strip->GetAspect();
    f.StripPhase = GeneralPen::StripPhase;
  }
  DabResult r;
  if (Kind == PaintKind::Smudge) {
    // Gather what lies under the pen where the dab starts, then lay it here.
    StrokeFrame at = f;
    at.SinglePoint = true;
    at.SegmentEnd = at.SegmentStart;
    smudge_.BeginGather();
    Stroke.ApplyStroke(smudge_, at, hasLast ? last.Face : hit.Face, false);
    smudge_.EndGather(f.SegmentLength / std::max(f.EndRadius, 1e-6f));
    r = Stroke.ApplyStroke(smudge_, f, hit.Face, true);
  } else {
    const SampleFunction& fn = Kind == PaintKind::Erase ? (const SampleFunction&)erase_ : paint_;
    r = Stroke.ApplyStroke(fn, f, hit.Face, true);
  }
  // The next dab goes on along the strip where this one ended.
  if (Stroke.Strip && hit.Mirror == 0 && f.EndRadius > 0)
    GeneralPen::StripPhase += f.SegmentLength / f.EndRadius / f.StripAspect;
  scene_.Picks.Note(hit.Mirror, hit.Pos, f.ViewDir, f.AxisY, hit.Face, hit.Pressure, (uint32_t)GeneralPen::StrokeMode);
  track.Last = hit, track.LastRadius = radius, track.HasLast = true;
  dabs_++;
  return r;
}

DabResult PaintDabs::Area(const BrushMaskSource& area, const std::vector<int>& faces, float worldRadius,
                          const cVec3& viewDir) {
  if (Kind == PaintKind::Smudge || faces.empty()) return DabResult::Nothing;
  if (!active_) Begin();
  const OneLayerInfo* info = scene_.GetLayerByID(scene_.CurrentLayer);
  if (info && !info->Visible) return DabResult::InvisibleLayer;
  BasicPenShape* pen = GeneralPen::CurrentPenPtr ? GeneralPen::CurrentPenPtr : &plainPen_;
  GeneralPen::PrevPressure = GeneralPen::PenPressure = 1;
  const float us = scene_.UnitScale;
  GeneralPen::StrokeRadius = worldRadius;
  StrokeFrame f;
  f.SetSegment(cVec3(), cVec3(), worldRadius * us, worldRadius * us);
  f.SinglePoint = true;
  f.SetStrokeMode(kStrokeDefault);
  f.PenRadius = worldRadius * us;
  f.ViewDir = viewDir.Normalized();
  f.IgnoreBackfaces = GeneralPen::IgnoreBackfaces;
  f.AxisZ = f.ViewDir;
  JitterColor(f.DabColor, rnd_);
  f.DabColor[3] = 1;
  Stroke.Pen = pen;
  Stroke.Mask = &area;
  Stroke.Strip = nullptr;
  GeneralPen::MoveCounter++;
  scene_.StrokeFaces = faces;
  Stroke.ApplyToAllFaces(Kind == PaintKind::Erase ? (const SampleFunction&)erase_ : paint_, f, true);
  Stroke.Mask = GeneralPen::Mask;
  dabs_++;
  return Stroke.LastTouchedFaces > 0 ? DabResult::Painted : DabResult::Nothing;
}
