// Camera matrices and the orbiting camera's input steps.
#include "render/Viewer.h"

#include <algorithm>
#include <cmath>

#include "platform/Keys.h"

namespace comms {

namespace {
constexpr float kDegToRad = 3.14159265358979f / 180.0f;

cVec4 Plane(const cMat4& m, int column, float sign) {
  // Clip-space planes from the columns of view-projection (row vectors).
  cVec4 p(m.m[0][3] + sign * m.m[0][column], m.m[1][3] + sign * m.m[1][column], m.m[2][3] + sign * m.m[2][column],
          m.m[3][3] + sign * m.m[3][column]);
  float l = std::sqrt(p.x * p.x + p.y * p.y + p.z * p.z);
  if (l > 0) p = cVec4(p.x / l, p.y / l, p.z / l, p.w / l);
  return p;
}
}  // namespace

void cViewer::DeriveAxes() {
  cMat4 r = Orient.Normalized().ToMatrix();
  Right = cVec3(r.m[0][0], r.m[0][1], r.m[0][2]);
  Up = cVec3(r.m[1][0], r.m[1][1], r.m[1][2]);
  Forward = cVec3(-r.m[2][0], -r.m[2][1], -r.m[2][2]);
}

cMat4 cViewer::ComputeProjection() const {
  float w = std::max(1.0f, ViewWidth()), h = std::max(1.0f, ViewHeight());
  cMat4 p = cMat4::Zero();
  if (OrthoProj) {
    float vw = w / OrthoScale, vh = h / OrthoScale;
    float n = -OrthoZrange, f = OrthoZrange;
    p.m[0][0] = 2 / vw;
    p.m[1][1] = 2 / vh;
    p.m[2][2] = 1 / (n - f);
    p.m[3][2] = n / (n - f);
    p.m[3][3] = 1;
  } else {
    float t = std::tan(Fov * 0.5f * kDegToRad);
    p.m[0][0] = 1 / (t * Aspect);
    p.m[1][1] = 1 / t;
    p.m[2][3] = -1;
    if (IsInfinite) {
      p.m[2][2] = -0.999f;
      p.m[3][2] = -1.999f * Znear;
    } else {
      p.m[2][2] = (Zfar + Znear) / (Znear - Zfar);
      p.m[3][2] = 2 * Znear * Zfar / (Znear - Zfar);
    }
  }
  if (UseClipPlane) {
    // Oblique near plane (Lengyel): the plane in view space replaces the near
    // row so geometry behind it clips, keeping the far plane's direction.
    cVec4 c = Transform(ClipPlane, InvView.Transposed());
    cMat4 inv = p.Inverse();
    cVec4 corner(c.x > 0 ? 1.0f : (c.x < 0 ? -1.0f : 0.0f), c.y > 0 ? 1.0f : (c.y < 0 ? -1.0f : 0.0f), 1, 1);
    cVec4 q = Transform(corner, inv);
    float dot = c.x * q.x + c.y * q.y + c.z * q.z + c.w * q.w;
    if (dot != 0) {
      float s = 2.0f / dot;
      p.m[0][2] = c.x * s - p.m[0][3];
      p.m[1][2] = c.y * s - p.m[1][3];
      p.m[2][2] = c.z * s - p.m[2][3];
      p.m[3][2] = c.w * s - p.m[3][3];
    }
  }
  if (ShiftX != 0 || ShiftY != 0) p = p * cMat4::Translation(cVec3(ShiftX / w, ShiftY / h, 0));
  return p;
}

void cViewer::Update() {
  DeriveAxes();
  float w = std::max(1.0f, ViewWidth()), h = std::max(1.0f, ViewHeight());
  Aspect = AspectOverride > 0 ? AspectOverride : w / h;
  View = cMat4::Identity();
  const cVec3 back = -Forward;
  const cVec3 axes[3] = {Right, Up, back};
  for (int c = 0; c < 3; c++) {
    View.m[0][c] = axes[c].x;
    View.m[1][c] = axes[c].y;
    View.m[2][c] = axes[c].z;
    View.m[3][c] = -Dot(axes[c], Pos);
  }
  InvView = View.Inverse();
  Proj = ComputeProjection();
  InvProj = Proj.Inverse();
  Screen = cMat4::Scaling(w / 2, h / 2, 1) * cMat4::Translation(cVec3(ViewRect.left + w / 2, ViewRect.top + h / 2, 0));
  InvScreen = Screen.Inverse();
  ViewProj = View * Proj;
  InvViewProj = ViewProj.Inverse();
  ViewProjScreen = ViewProj * Screen;
  InvViewProjScreen = ViewProjScreen.Inverse();
  ProjScreen = Proj * Screen;
  InvProjScreen = ProjScreen.Inverse();
  FrustumPlanes[0] = Plane(ViewProj, 0, 1);
  FrustumPlanes[1] = Plane(ViewProj, 0, -1);
  FrustumPlanes[2] = Plane(ViewProj, 1, 1);
  FrustumPlanes[3] = Plane(ViewProj, 1, -1);
  FrustumPlanes[4] = Plane(ViewProj, 2, 1);
  FrustumPlanes[5] = Plane(ViewProj, 2, -1);
  const float zn = OrthoProj ? 0.0f : -1.0f;
  const float xy[4][2] = {{-1, -1}, {1, -1}, {1, 1}, {-1, 1}};
  for (int i = 0; i < 8; i++) {
    float z = i < 4 ? zn : (IsInfinite ? 0.999f : 1.0f);
    FrustumCorners[i] = TransformPoint(cVec3(xy[i % 4][0], xy[i % 4][1], z), InvViewProj);
  }
}

cVec3 cViewer::ProjectToView(const cVec3& world) const {
  cVec4 c = Transform(cVec4(world.x, world.y, world.z, 1), ViewProj);
  float w = c.w != 0 ? c.w : 1;
  float x = c.x / w, y = c.y / w;
  // Clip y runs upwards; the view rectangle's y downwards.
  return {ViewRect.left + (x + 1) * 0.5f * ViewWidth(), ViewRect.top + (1 - y) * 0.5f * ViewHeight(), c.z / w};
}

void cViewer::PixelRay(float x, float y, cVec3& origin, cVec3& direction) const {
  float cx = (x - ViewRect.left) / std::max(1.0f, ViewWidth()) * 2 - 1;
  float cy = 1 - (y - ViewRect.top) / std::max(1.0f, ViewHeight()) * 2;
  cVec3 nearP = TransformPoint(cVec3(cx, cy, OrthoProj ? 0.0f : -1.0f), InvViewProj);
  cVec3 farP = TransformPoint(cVec3(cx, cy, 0.5f), InvViewProj);
  origin = OrthoProj ? nearP : Pos;
  direction = (farP - nearP).Normalized();
}

void cFreeViewer::SetHome(const cVec3& center, float toEye, const cQuat& orient) {
  HomeCenter = m_Center = center;
  HomeToEye = m_ToEye = toEye;
  HomeOrient = Orient = orient;
  Update();
}

void cFreeViewer::Update() {
  DeriveAxes();
  Pos = m_Center - Forward * m_ToEye;
  if (HoldPivot) Pos += Right * m_CenterShift.x + Up * m_CenterShift.y;
  cViewer::Update();
}

void cFreeViewer::Pan(float dx, float dy) {
  float step = OrthoProj ? 1.0f / OrthoScale : PanSpeed * (std::fabs(m_ToEye) + 10);
  if (HoldPivot) {
    m_CenterShift.x -= dx * step;
    m_CenterShift.y -= dy * step;
  } else {
    m_Center -= Right * (dx * step) + Up * (dy * step);
  }
  Update();
}

void cFreeViewer::Rotate(float dx, float dy) {
  cQuat pitch = cQuat::FromAxisAngle(cVec3(1, 0, 0), dy * RotateSpeed * kDegToRad);
  cQuat yaw = cQuat::FromAxisAngle(cVec3(0, 1, 0), -dx * RotateSpeed * kDegToRad);
  Orient = ((pitch * Orient) * yaw).Normalized();
  Update();
}

void cFreeViewer::Roll(float dx, float dy) {
  cQuat roll = cQuat::FromAxisAngle(cVec3(0, 0, 1), (dx + dy) * RollSpeed * kDegToRad);
  Orient = (roll * Orient).Normalized();
  Update();
}

void cFreeViewer::DragZoom(float dx, float dy) {
  if (OrthoProj) {
    OrthoScale = std::min(MaxOrthoScale, OrthoScale + (dx - dy) * OrthoZoomSpeed * OrthoScale);
    OrthoScale = std::max(OrthoScale, 1e-6f);
  } else {
    m_ToEye -= (dx - dy) * ZoomSpeed;
    if (m_ToEye < 0) {
      // The camera passes through the pivot: the excess carries the pivot on.
      DeriveAxes();
      m_Center += Forward * (-m_ToEye);
      m_ToEye = 0;
    }
  }
  Update();
}

void cFreeViewer::Wheel(float delta) {
  float old = m_ToEye;
  m_ToEye = std::clamp(m_ToEye + WheelSpeed * delta, 1e-6f, 1e30f);
  DeriveAxes();
  m_Center += Forward * (m_ToEye - old);
  Update();
}

void cFreeViewer::Dolly(float notches) {
  float k = std::pow(0.85f, notches);
  if (OrthoProj)
    OrthoScale = std::clamp(OrthoScale / k, 1e-6f, MaxOrthoScale);
  else
    m_ToEye = std::clamp(m_ToEye * k, 1e-3f, 1e30f);
  Update();
}

void cFreeViewer::ButtonDown(int key, bool alt) {
  if (alt)
    MouseMode = ModeAlt;
  else if (MouseMode == ModeNone)
    MouseMode = key == keys::LeftButton ? ModeRotate : key == keys::RightButton ? ModeZoom
                : key == keys::MiddleButton                                     ? ModePan
                                                                                : ModeNone;
}

void cFreeViewer::ButtonUp(int) { MouseMode = ModeNone; }

bool cFreeViewer::MouseMove(float dx, float dy, bool left, bool right, bool middle) {
  if (dx == 0 && dy == 0) return false;
  switch (MouseMode) {
    case ModePan: Pan(dx, dy); return true;
    case ModeRotate:
      if (right) Pan(dx, dy);
      else if (middle) Roll(dx, dy);
      else Rotate(dx, dy);
      return true;
    case ModeZoom:
      if (left) Pan(dx, dy);
      else if (middle) Roll(dx, dy);
      else DragZoom(dx, dy);
      return true;
    case ModeAlt:
      // Alt navigation: left rotates, middle pans, right zooms.
      if (left) Rotate(dx, dy);
      else if (middle) Pan(dx, dy);
      else if (right) DragZoom(dx, dy);
      return true;
    default: return false;
  }
}

bool cFreeViewer::Key(int key, bool ctrl) {
  const float h = 0.70710678f;
  cQuat q;
  switch (key) {
    case keys::Num0 + 1: q = ctrl ? cQuat(0, 1, 0, 0) : cQuat(); break;      // front / back
    case keys::Num0 + 3: q = ctrl ? cQuat(0, -h, 0, h) : cQuat(0, h, 0, h); break;  // right / left
    case keys::Num0 + 7: q = ctrl ? cQuat(h, 0, 0, h) : cQuat(-h, 0, 0, h); break;  // top / bottom
    case keys::Num0 + 5:
      OrthoProj = !OrthoProj;
      m_Persp = !OrthoProj;
      if (OrthoProj) OrthoScale = std::min(MaxOrthoScale, ViewHeight() / std::max(1e-3f, m_ToEye));
      Update();
      return true;
    case keys::Home:
      m_Center = HomeCenter, m_ToEye = HomeToEye, Orient = HomeOrient;
      Update();
      return true;
    default: return false;
  }
  Orient = q;
  Update();
  return true;
}

}  // namespace comms
