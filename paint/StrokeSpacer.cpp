// Spacing, re-projection and mirror copies of a stroke (see StrokeSpacer.h).
#include "paint/StrokeSpacer.h"

#include <algorithm>
#include <cmath>

#include "paint/GeneralPen.h"
#include "paint/PenDab.h"
#include "paint/PenShapes.h"

namespace {
float Distance(const float a[3], const float b[3]) {
  const float d[3] = {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
  return std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
}
}  // namespace

void MirrorPoint(const float in[3], int mirror, const float origin[3], float out[3]) {
  for (int a = 0; a < 3; ++a) out[a] = (mirror & (1 << a)) ? 2 * origin[a] - in[a] : in[a];
}

void MirrorVector(const float in[3], int mirror, float out[3]) {
  for (int a = 0; a < 3; ++a) out[a] = (mirror & (1 << a)) ? -in[a] : in[a];
}

StrokeSpacer::StrokeSpacer(StrokeSurface& surface, DabFn onDab, StrokeSpacerHooks* hooks)
    : surface_(surface), onDab_(std::move(onDab)), hooks_(hooks ? hooks : &defaultHooks_) {}

void StrokeSpacer::Begin() {
  hasHit_ = hasDab_ = false;
  GeneralPen::StripPhase = 0;
}

void DabWithMirrors(StrokeSurface& surface, const SurfaceHit& hit, float sx, float sy, const float origin[3],
                    const std::function<void(const Dab&)>& onDab) {
  onDab(Dab{hit, sx, sy, 0});
  ++GeneralPen::MoveCounter;
  // Mirror copies: every non-zero combination of the enabled axes; the
  // all-zero case was the main dab.
  for (int m = 1; m < 8; ++m) {
    if ((m & GeneralPen::Symmetry) != m) continue;
    float p[3];
    MirrorPoint(hit.Pos, m, origin, p);
    float msx, msy;
    surface.Project(p, msx, msy);
    SurfaceHit mh;
    if (!surface.PickNear(msx, msy, p, mh)) continue;
    onDab(Dab{mh, msx, msy, m});
    ++GeneralPen::MoveCounter;
  }
}

void StrokeSpacer::MakeDab(const SurfaceHit& hit, float sx, float sy) {
  if (!hooks_->CanMoveTo(hit.Pos)) return;
  DabWithMirrors(surface_, hit, sx, sy, SymmetryOrigin, onDab_);
  lastDab_ = hit;
  lastSx_ = sx, lastSy_ = sy;  // the next move is measured from the last dab
  hasDab_ = true;
}

int StrokeSpacer::Step(float sx, float sy, float radius) {
  radius = std::max(radius, GeneralPen::StrokeRadius / 2);
  BasicPenShape* pen = GeneralPen::CurrentPenPtr;
  bool useSpacing = pen ? pen->UseSpacing : true;
  float spacing = pen ? pen->Spacing : 10.f;
  hooks_->AdjustSpacing(useSpacing, spacing);

  SurfaceHit hit;
  if (!surface_.Pick(sx, sy, hit)) {
    hasHit_ = false;  // off the surface: no dab, and the next hit starts afresh
    return 0;
  }
  const int before = GeneralPen::MoveCounter;
  if (!hasDab_) {
    MakeDab(hit, sx, sy);
  } else {
    const float moved = std::hypot(sx - lastSx_, sy - lastSy_);
    const bool spaced = useSpacing && SpacingApplies(GeneralPen::StrokeMode);
    if (moved > MinScreenMove || spaced) {
      if (!spaced) {
        MakeDab(hit, sx, sy);
      } else {
        const float step = radius / (spacing + 0.01f);
        // Walk from the last dab toward the cursor one step at a time, each
        // point put back on the surface by a pick through its screen position.
        for (int guard = 0; guard < 10000 && Distance(lastDab_.Pos, hit.Pos) >= step; ++guard) {
          const float d = Distance(lastDab_.Pos, hit.Pos);
          float p[3];
          for (int a = 0; a < 3; ++a) p[a] = lastDab_.Pos[a] + (hit.Pos[a] - lastDab_.Pos[a]) * (step / d);
          float psx, psy;
          surface_.Project(p, psx, psy);
          SurfaceHit ph;
          if (!surface_.Pick(psx, psy, ph)) {
            for (int a = 0; a < 3; ++a) ph.Pos[a] = p[a];
            ph.Normal[0] = hit.Normal[0], ph.Normal[1] = hit.Normal[1], ph.Normal[2] = hit.Normal[2];
          }
          // A re-projection that fails to advance would loop forever.
          if (Distance(ph.Pos, hit.Pos) >= d) {
            for (int a = 0; a < 3; ++a) ph.Pos[a] = p[a];
          }
          MakeDab(ph, psx, psy);
        }
      }
    }
  }
  hasHit_ = true;
  lastHit_ = hit;
  return GeneralPen::MoveCounter - before;
}
