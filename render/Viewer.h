// Cameras: cViewer holds the description (position, orientation, lens, view
// rectangle) and derives axes, matrices and the frustum once per change;
// cFreeViewer orbits a pivot and turns mouse drags into pan, rotate, roll and
// zoom. Pure maths: no device is touched here.
#pragma once
#include "render/Math3D.h"

namespace comms {

class cViewer {
 public:
  virtual ~cViewer() = default;

  cVec3 Pos;     // eye position (derived in an orbiting camera)
  cQuat Orient;  // orientation
  cRect ViewRect{0, 0, 640, 480};  // pixels, left, top, right, bottom, y downwards
  bool IsInfinite = false;
  float Fov = 67.5f;  // vertical, degrees
  float Znear = 0.1f, Zfar = 2000.0f;
  float AspectOverride = 0;  // 0: width / height of ViewRect
  bool UseClipPlane = false;
  cVec4 ClipPlane;  // world-space plane, folded in as an oblique near plane
  bool OrthoProj = false;
  float OrthoScale = 2000.0f;  // pixels per world unit
  float OrthoZrange = 10000.0f;
  float ShiftX = 0, ShiftY = 0;  // projection shift in pixels

  // Derived by Update().
  cVec3 Forward, Right, Up;
  float Aspect = 1;
  cMat4 View, InvView, Proj, InvProj, Screen, InvScreen, ViewProj, InvViewProj, ViewProjScreen,
      InvViewProjScreen, ProjScreen, InvProjScreen;
  cVec4 FrustumPlanes[6];   // left, right, bottom, top, near, far; inside when dot >= 0
  cVec3 FrustumCorners[8];  // near then far, each bottom-left, bottom-right, top-right, top-left

  // Recomputes axes, matrices and frustum; call after changing any field.
  virtual void Update();
  // The eye's axes from Orient: Forward is the negated third row of its matrix.
  void DeriveAxes();
  // The projection alone, by the lens fields and the view size.
  cMat4 ComputeProjection() const;
  float ViewWidth() const { return ViewRect.Width(); }
  float ViewHeight() const { return ViewRect.Height(); }
  // World point to pixels of the view (y downwards like ViewRect); z is depth.
  cVec3 ProjectToView(const cVec3& world) const;
  // A view pixel (y downwards) to a world ray from the eye.
  void PixelRay(float x, float y, cVec3& origin, cVec3& direction) const;
};

class cFreeViewer : public cViewer {
 public:
  // Mouse modes: 0 none, 1 pan, 2 rotate, 3 drag zoom, 4 Alt navigation.
  enum { ModeNone = 0, ModePan = 1, ModeRotate = 2, ModeZoom = 3, ModeAlt = 4 };

  cVec3 m_Center;        // pivot
  float m_ToEye = 100;   // distance from eye to pivot
  float m_OrthoScale = 2000;
  bool m_Persp = true;
  cVec2 m_CenterShift;   // used while the pivot is held
  bool HoldPivot = false;
  int MouseMode = ModeNone;

  float PanSpeed = 0.001f;
  float RotateSpeed = 0.3f;  // degrees per pixel
  float ZoomSpeed = 0.2f;
  float RollSpeed = 0.3f;    // degrees per pixel
  float WheelSpeed = 1.2f;
  float OrthoZoomSpeed = 0.002f;
  float MaxOrthoScale = 1000.0f;

  // Start position: Home goes back here.
  cVec3 HomeCenter;
  float HomeToEye = 100;
  cQuat HomeOrient;
  void SetHome(const cVec3& center, float toEye, const cQuat& orient);

  // Derives Pos from the pivot, then everything of cViewer.
  void Update() override;

  // Deltas are in pixels with dy positive upwards.
  void Pan(float dx, float dy);
  void Rotate(float dx, float dy);
  void Roll(float dx, float dy);
  void DragZoom(float dx, float dy);
  // Moves the pivot along Forward by WheelSpeed * delta; the eye stays.
  void Wheel(float delta);
  // Moves the eye toward the pivot: each notch scales the distance by 0.85
  // (parallel cameras scale OrthoScale instead). The viewport's wheel zoom.
  void Dolly(float notches);

  // Button presses and releases by key number (93 left, 94 right, 95 middle),
  // with Alt held; a move with the buttons held now. Returns true when the
  // camera changed.
  void ButtonDown(int key, bool alt);
  void ButtonUp(int key);
  bool MouseMove(float dx, float dy, bool left, bool right, bool middle);
  // Keypad 1, 3, 7 (and with Ctrl the opposite views), keypad 5 and Home.
  bool Key(int key, bool ctrl);
};

}  // namespace comms
