// The camera's maths without a device: projection formulas, the view matrix,
// orbit steps and their clamps, quaternion order.
#include <gtest/gtest.h>

#include <cmath>

#include "platform/Keys.h"
#include "render/Viewer.h"

using namespace comms;

namespace {
constexpr float kPi = 3.14159265f;

void ExpectNear(const cVec3& a, const cVec3& b, float eps = 1e-4f) {
  EXPECT_NEAR(a.x, b.x, eps);
  EXPECT_NEAR(a.y, b.y, eps);
  EXPECT_NEAR(a.z, b.z, eps);
}

cFreeViewer OrbitCamera() {
  cFreeViewer c;
  c.ViewRect = cRect(0, 0, 800, 600);
  c.Fov = 50, c.Znear = 1, c.Zfar = 1000;
  c.SetHome(cVec3(1, 2, 3), 100, cQuat());
  return c;
}
}  // namespace

TEST(CameraProjection, PerspectiveFollowsTheFormula) {
  cViewer c;
  c.ViewRect = cRect(0, 0, 800, 400);
  c.Fov = 60, c.Znear = 2, c.Zfar = 500;
  c.Update();
  float t = std::tan(30 * kPi / 180);
  EXPECT_FLOAT_EQ(c.Aspect, 2.0f);
  EXPECT_NEAR(c.Proj.m[0][0], 1 / (t * 2), 1e-5);
  EXPECT_NEAR(c.Proj.m[1][1], 1 / t, 1e-5);
  EXPECT_NEAR(c.Proj.m[2][2], 502.0f / (2 - 500), 1e-5);
  EXPECT_FLOAT_EQ(c.Proj.m[2][3], -1);
  EXPECT_NEAR(c.Proj.m[3][2], 2 * 2 * 500.0f / (2 - 500), 1e-3);
  // A point on the near plane maps to depth -1, on the far plane to +1.
  EXPECT_NEAR(TransformPoint(cVec3(0, 0, -2), c.Proj).z, -1, 1e-4);
  EXPECT_NEAR(TransformPoint(cVec3(0, 0, -500), c.Proj).z, 1, 1e-4);
}

TEST(CameraProjection, InfiniteAndAspectOverride) {
  cViewer c;
  c.ViewRect = cRect(0, 0, 100, 100);
  c.IsInfinite = true;
  c.AspectOverride = 1.5f;
  c.Znear = 0.5f;
  c.Update();
  EXPECT_FLOAT_EQ(c.Aspect, 1.5f);
  EXPECT_FLOAT_EQ(c.Proj.m[2][2], -0.999f);
  EXPECT_FLOAT_EQ(c.Proj.m[3][2], -1.999f * 0.5f);
}

TEST(CameraProjection, ParallelUsesPixelsPerUnit) {
  cViewer c;
  c.ViewRect = cRect(0, 0, 400, 200);
  c.OrthoProj = true;
  c.OrthoScale = 10;
  c.OrthoZrange = 50;
  c.Update();
  EXPECT_FLOAT_EQ(c.Proj.m[0][0], 2 / 40.0f);
  EXPECT_FLOAT_EQ(c.Proj.m[1][1], 2 / 20.0f);
  EXPECT_FLOAT_EQ(c.Proj.m[2][2], 1 / (-50.0f - 50.0f));
  EXPECT_FLOAT_EQ(c.Proj.m[3][2], -50.0f / (-100.0f));
  // 20 world units right of the axis is the right edge of the view.
  EXPECT_NEAR(c.ProjectToView(cVec3(20, 0, 0)).x, 400, 1e-3);
}

TEST(CameraProjection, ShiftMovesTheImageByPixels) {
  cViewer c;
  c.ViewRect = cRect(0, 0, 200, 100);
  c.Update();
  float before = c.ProjectToView(cVec3(0, 0, -10)).x;
  c.ShiftX = 20;
  c.Update();
  // The shift is a fraction of the width in clip units: 20 / 200 * 100 px.
  EXPECT_NEAR(c.ProjectToView(cVec3(0, 0, -10)).x - before, 10, 1e-3);
}

TEST(CameraProjection, ScreenMatrixAndInversesAgree) {
  cFreeViewer c = OrbitCamera();
  c.ViewRect = cRect(10, 20, 810, 620);
  c.Update();
  EXPECT_FLOAT_EQ(c.Screen.m[0][0], 400);
  EXPECT_FLOAT_EQ(c.Screen.m[3][0], 10 + 400);
  EXPECT_FLOAT_EQ(c.Screen.m[3][1], 20 + 300);
  cMat4 id = c.ViewProjScreen * c.InvViewProjScreen;
  for (int i = 0; i < 4; i++)
    for (int j = 0; j < 4; j++) EXPECT_NEAR(id.m[i][j], i == j ? 1.0f : 0.0f, 1e-3);
}

TEST(CameraView, EyeLooksDownItsMinusZ) {
  cFreeViewer c = OrbitCamera();
  // Identity orientation: Forward is -Z, the eye behind the pivot on +Z.
  ExpectNear(c.Forward, cVec3(0, 0, -1));
  ExpectNear(c.Pos, cVec3(1, 2, 103));
  ExpectNear(TransformPoint(c.Pos, c.View), cVec3(0, 0, 0));
  ExpectNear(TransformPoint(c.m_Center, c.View), cVec3(0, 0, -100), 1e-3f);
  // The pivot lands in the middle of the view.
  cVec3 p = c.ProjectToView(c.m_Center);
  EXPECT_NEAR(p.x, 400, 1e-3);
  EXPECT_NEAR(p.y, 300, 1e-3);
}

TEST(CameraView, ParallelViewerPosIsFarBehind) {
  cFreeViewer c = OrbitCamera();
  c.Key(keys::Num0 + 5, false);
  EXPECT_TRUE(c.OrthoProj);
  EXPECT_LE(c.OrthoScale, c.MaxOrthoScale);
  c.Key(keys::Num0 + 5, false);
  EXPECT_FALSE(c.OrthoProj);
}

TEST(CameraView, QuaternionProductAppliesLeftFirst) {
  cQuat a = cQuat::FromAxisAngle(cVec3(1, 0, 0), 0.7f), b = cQuat::FromAxisAngle(cVec3(0, 1, 0), -1.1f);
  cMat4 m = (a * b).ToMatrix(), e = a.ToMatrix() * b.ToMatrix();
  for (int i = 0; i < 3; i++)
    for (int j = 0; j < 3; j++) EXPECT_NEAR(m.m[i][j], e.m[i][j], 1e-5);
  // A quarter turn about Y takes +X to -Z (right-handed).
  ExpectNear(TransformVector(cVec3(1, 0, 0), cQuat::FromAxisAngle(cVec3(0, 1, 0), kPi / 2).ToMatrix()),
             cVec3(0, 0, -1));
}

TEST(CameraView, ObliqueClipPlaneCutsAtThePlane) {
  cViewer c;
  c.ViewRect = cRect(0, 0, 100, 100);
  c.Pos = cVec3(0, 0, 10);
  c.UseClipPlane = true;
  c.ClipPlane = cVec4(0, 0, -1, 0);  // keep z <= 0: the near plane is z = 0 in the world
  c.Update();
  cVec4 onPlane = Transform(cVec4(0.3f, -0.2f, 0, 1), c.ViewProj);
  EXPECT_NEAR(onPlane.z / onPlane.w, -1, 1e-3);
  cVec4 beyond = Transform(cVec4(0, 0, -5, 1), c.ViewProj);
  EXPECT_GT(beyond.z / beyond.w, -1);
}

TEST(CameraOrbit, PanMovesThePivotAlongTheScreenAxes) {
  cFreeViewer c = OrbitCamera();
  c.Pan(10, 0);
  float step = 10 * 0.001f * (100 + 10);
  ExpectNear(c.m_Center, cVec3(1 - step, 2, 3));
  c.Pan(0, -10);
  ExpectNear(c.m_Center, cVec3(1 - step, 2 + step, 3));
  EXPECT_FLOAT_EQ(c.m_ToEye, 100);
}

TEST(CameraOrbit, ParallelPanStepIsOnePixel) {
  cFreeViewer c = OrbitCamera();
  c.OrthoProj = true;
  c.OrthoScale = 4;
  c.Pan(8, 0);
  ExpectNear(c.m_Center, cVec3(-1, 2, 3));
}

TEST(CameraOrbit, HeldPivotPansTheShiftInstead) {
  cFreeViewer c = OrbitCamera();
  c.HoldPivot = true;
  c.Pan(10, 20);
  ExpectNear(c.m_Center, cVec3(1, 2, 3));
  EXPECT_LT(c.m_CenterShift.x, 0);
  EXPECT_LT(c.m_CenterShift.y, 0);
  // The eye moves with the shift while the pivot stays.
  ExpectNear(c.Pos, cVec3(1, 2, 103) + cVec3(c.m_CenterShift.x, c.m_CenterShift.y, 0));
}

TEST(CameraOrbit, RotateKeepsTheDistanceAndTurnsByTheSpeed) {
  cFreeViewer c = OrbitCamera();
  c.Rotate(300, 0);  // 300 px * 0.3 degrees = 90 degrees about Y
  EXPECT_NEAR((c.Pos - c.m_Center).Length(), 100, 1e-3);
  // A yaw of -90 degrees about Y turns the view from -Z to +X.
  ExpectNear(c.Forward, cVec3(1, 0, 0), 1e-4f);
  c.Rotate(0, 100);  // 30 degrees of pitch
  EXPECT_NEAR(std::asin(std::fabs(c.Forward.y)) * 180 / kPi, 30, 1e-2);
  EXPECT_NEAR((c.Pos - c.m_Center).Length(), 100, 1e-3);
}

TEST(CameraOrbit, RollTurnsAboutTheViewAxis) {
  cFreeViewer c = OrbitCamera();
  cVec3 forward = c.Forward;
  c.Roll(150, 150);  // 90 degrees
  ExpectNear(c.Forward, forward);
  EXPECT_NEAR(std::fabs(c.Up.x), 1, 1e-4);
}

TEST(CameraOrbit, DragZoomThroughThePivotCarriesItOn) {
  cFreeViewer c = OrbitCamera();
  c.DragZoom(450, -50);  // (dx - dy) * 0.2 = 100: exactly at the pivot
  EXPECT_NEAR(c.m_ToEye, 0, 1e-4);
  ExpectNear(c.m_Center, cVec3(1, 2, 3));
  c.DragZoom(100, 0);  // 20 more: the pivot moves on by 20 along Forward
  EXPECT_FLOAT_EQ(c.m_ToEye, 0);
  ExpectNear(c.m_Center, cVec3(1, 2, -17), 1e-3f);
  ExpectNear(c.Pos, c.m_Center);
}

TEST(CameraOrbit, ParallelDragZoomStopsAtTheLargestScale) {
  cFreeViewer c = OrbitCamera();
  c.OrthoProj = true;
  c.OrthoScale = 100;
  c.DragZoom(100, 0);
  EXPECT_FLOAT_EQ(c.OrthoScale, 100 + 100 * 0.002f * 100);
  for (int i = 0; i < 50; i++) c.DragZoom(500, 0);
  EXPECT_FLOAT_EQ(c.OrthoScale, 1000);
}

TEST(CameraOrbit, WheelMovesThePivotAndLeavesTheEye) {
  cFreeViewer c = OrbitCamera();
  cVec3 eye = c.Pos;
  c.Wheel(10);
  EXPECT_FLOAT_EQ(c.m_ToEye, 112);
  ExpectNear(c.Pos, eye, 1e-3f);
  c.Wheel(-1000);  // kept above 0
  EXPECT_GT(c.m_ToEye, 0);
  ExpectNear(c.Pos, eye, 1e-3f);
}

TEST(CameraOrbit, DollyApproachesThePivot) {
  cFreeViewer c = OrbitCamera();
  c.Dolly(1);
  EXPECT_NEAR(c.m_ToEye, 85, 1e-3);
  c.Dolly(-2);
  EXPECT_NEAR(c.m_ToEye, 85 / 0.85f / 0.85f, 1e-2);
  ExpectNear(c.m_Center, cVec3(1, 2, 3));
}

TEST(CameraOrbit, ButtonsChooseModesAndModifiersSwitchThem) {
  cFreeViewer c = OrbitCamera();
  c.ButtonDown(keys::LeftButton, false);
  EXPECT_EQ(c.MouseMode, cFreeViewer::ModeRotate);
  cVec3 centre = c.m_Center;
  c.MouseMove(10, 0, true, true, false);  // right also down: pan
  EXPECT_NE(c.m_Center.x, centre.x);
  c.ButtonUp(keys::LeftButton);
  EXPECT_FALSE(c.MouseMove(10, 0, false, false, false));
  c.ButtonDown(keys::RightButton, false);
  EXPECT_EQ(c.MouseMode, cFreeViewer::ModeZoom);
  c.ButtonUp(keys::RightButton);
  c.ButtonDown(keys::MiddleButton, false);
  EXPECT_EQ(c.MouseMode, cFreeViewer::ModePan);
  c.ButtonUp(keys::MiddleButton);
  c.ButtonDown(keys::LeftButton, true);
  EXPECT_EQ(c.MouseMode, cFreeViewer::ModeAlt);
}

TEST(CameraOrbit, KeypadViewsAndHome) {
  cFreeViewer c = OrbitCamera();
  c.Rotate(123, 45);
  c.Pan(5, 5);
  ASSERT_TRUE(c.Key(keys::Num0 + 3, false));
  EXPECT_NEAR(std::fabs(c.Forward.x), 1, 1e-4);
  ASSERT_TRUE(c.Key(keys::Num0 + 7, false));
  ExpectNear(c.Forward, cVec3(0, -1, 0));  // from the top, looking down
  ASSERT_TRUE(c.Key(keys::Home, false));
  ExpectNear(c.m_Center, cVec3(1, 2, 3));
  ExpectNear(c.Pos, cVec3(1, 2, 103));
  EXPECT_FALSE(c.Key(keys::A, false));
}

TEST(CameraFrustum, PlanesHoldThePivotAndCornersLieOnThem) {
  cFreeViewer c = OrbitCamera();
  c.Rotate(40, 20);
  for (const cVec4& p : c.FrustumPlanes)
    EXPECT_GT(p.x * c.m_Center.x + p.y * c.m_Center.y + p.z * c.m_Center.z + p.w, 0);
  // The near corners are Znear in front of the eye.
  for (int i = 0; i < 4; i++) EXPECT_NEAR(Dot(c.FrustumCorners[i] - c.Pos, c.Forward), 1, 1e-3);
  cVec3 o, d;
  c.PixelRay(400, 300, o, d);
  ExpectNear(d, c.Forward, 1e-4f);
}
