// The stroke step: turns the cursor's path into dabs on a surface. A dab is
// due every radius / spacing of travel; the point between the last dab and the
// cursor is re-projected on the surface through a pick from its screen
// position, so dabs follow the surface and not the chord. Each dab is repeated
// for the enabled mirror copies (GeneralPen::Symmetry). The surface and the
// camera come from the caller through StrokeSurface.
#pragma once
#include <functional>

struct SurfaceHit {
  float Pos[3] = {0, 0, 0};
  float Normal[3] = {0, 0, 1};  // facing out of the surface
  int Face = -1;
};

// What the stroke needs to know about the surface and the view.
class StrokeSurface {
 public:
  virtual ~StrokeSurface() = default;
  // The surface under a screen point, or false.
  virtual bool Pick(float sx, float sy, SurfaceHit& hit) = 0;
  // Screen position of a world point.
  virtual void Project(const float world[3], float& sx, float& sy) = 0;
  // The surface under a screen point nearest to the world point `near`
  // (which lies on that point's ray): a dab mirrored to the far side of the
  // mesh lands on the far surface. By default the first surface.
  virtual bool PickNear(float sx, float sy, const float* /*near*/, SurfaceHit& hit) { return Pick(sx, sy, hit); }
};

// The tool's hooks on the stroke; the default tool changes nothing.
class StrokeSpacerHooks {
 public:
  virtual ~StrokeSpacerHooks() = default;
  virtual void AdjustSpacing(bool& /*useSpacing*/, float& /*spacing*/) {}
  virtual bool CanMoveTo(const float* /*point*/) { return true; }
};

struct Dab {
  SurfaceHit Hit;
  float ScreenX = 0, ScreenY = 0;
  int Mirror = 0;  // 0 the main dab, else x + 2y + 4z of the mirrored axes
};

// Mirror of a point or direction about the symmetry planes through `origin`.
void MirrorPoint(const float in[3], int mirror, const float origin[3], float out[3]);
void MirrorVector(const float in[3], int mirror, float out[3]);

// The dab of `hit` first (mirror 0), then one for each copy that
// GeneralPen::Symmetry enables and that lands on the surface, each at the
// surface nearest to the mirrored point.
void DabWithMirrors(StrokeSurface& surface, const SurfaceHit& hit, float sx, float sy, const float origin[3],
                    const std::function<void(const Dab&)>& onDab);

class StrokeSpacer {
 public:
  using DabFn = std::function<void(const Dab&)>;
  StrokeSpacer(StrokeSurface& surface, DabFn onDab, StrokeSpacerHooks* hooks = nullptr);

  // Button press: resets the path; the first hit makes a dab.
  void Begin();
  // One frame's cursor position; `radius` is the pen's world radius for the
  // spacing. Returns the dabs made.
  int Step(float sx, float sy, float radius);
  bool HasHit() const { return hasHit_; }
  const SurfaceHit& LastDab() const { return lastDab_; }

  float SymmetryOrigin[3] = {0, 0, 0};
  // Screen distance below which a cursor move waits for more.
  float MinScreenMove = 5.f;

 private:
  void MakeDab(const SurfaceHit& hit, float sx, float sy);
  StrokeSurface& surface_;
  DabFn onDab_;
  StrokeSpacerHooks* hooks_;
  StrokeSpacerHooks defaultHooks_;
  bool hasHit_ = false, hasDab_ = false;
  SurfaceHit lastHit_, lastDab_;
  float lastSx_ = 0, lastSy_ = 0;
};
