// The gizmo's pixels-to-matrix maths under a known camera: a drag along an
// arrow keeps the grabbed point of it under the pointer, a sweep around
// a ring turns by the swept angle, the centre box scales by the ratio of
// distances, and presses away from the handles take nothing.
#include <gtest/gtest.h>

#include <cmath>

#include "MC/adjust/TransformGizmo.h"
#include "render/Viewer.h"

using comms::cMat4;
using comms::cVec3;

namespace {

comms::cFreeViewer Camera(float yawDegrees = 0) {
  comms::cFreeViewer cam;
  cam.ViewRect = comms::cRect{0, 0, 641, 479};
  cam.SetHome(cVec3(3, -2, 1), 120.f,
              comms::cQuat::FromAxisAngle(cVec3(0, 1, 0), yawDegrees * 3.14159265f / 180.f));
  return cam;
}

struct GizmoFixture : ::testing::Test {
  comms::cFreeViewer cam = Camera(25.f);
  TransformGizmo gizmo;
  void SetUp() override { gizmo.Centre = cVec3(3, -2, 1); }
  cVec3 Screen(const cVec3& p) const { return cam.ProjectToView(p); }
};

TEST_F(GizmoFixture, DraggingAnArrowMovesTheCentreByTheDraggedPixelsAlongIt) {
  const cVec3 c = Screen(gizmo.Centre);
  for (int axis = 0; axis < 3; ++axis) {
    const cVec3 dir(axis == 0, axis == 1, axis == 2);
    const cVec3 tip = Screen(gizmo.Centre + dir * gizmo.WorldSize(cam));
    const float len = std::hypot(tip.x - c.x, tip.y - c.y);
    if (len < 20) continue;  // an arrow seen end-on is not offered
    const float ux = (tip.x - c.x) / len, uy = (tip.y - c.y) / len;
    // Grab the arrow half way along it.
    const cVec3 grabbed = gizmo.Centre + dir * (gizmo.WorldSize(cam) / 2);
    const cVec3 g = Screen(grabbed);
    const float gx = g.x, gy = g.y;
    ASSERT_EQ(gizmo.HitTest(cam, gx, gy), TransformGizmo::kMoveX + axis);
    ASSERT_TRUE(gizmo.Begin(cam, gx, gy));
    const float pixels = 37.f;
    const cMat4 m = gizmo.DragTo(cam, gx + ux * pixels, gy + uy * pixels);
    // The sideways part of a drag does not count.
    const cMat4 side = gizmo.DragTo(cam, gx + ux * pixels - uy * 11.f, gy + uy * pixels + ux * 11.f);
    gizmo.End();
    const cVec3 moved = TransformPoint(gizmo.Centre, m);
    // Only along the arrow's axis.
    for (int k = 0; k < 3; ++k)
      if (k != axis) {
        EXPECT_NEAR((&moved.x)[k], (&gizmo.Centre.x)[k], 1e-4f);
      }
    // The grabbed point of the arrow stays under the pointer.
    const cVec3 s = Screen(TransformPoint(grabbed, m));
    EXPECT_NEAR(s.x, gx + ux * pixels, 0.05f) << "axis " << axis;
    EXPECT_NEAR(s.y, gy + uy * pixels, 0.05f) << "axis " << axis;
    const cVec3 sideMoved = Screen(TransformPoint(grabbed, side));
    EXPECT_NEAR(std::hypot(sideMoved.x - gx, sideMoved.y - gy), pixels, 1.f) << "axis " << axis;
    EXPECT_GT((s.x - gx) * ux + (s.y - gy) * uy, 0.f);
  }
}

TEST_F(GizmoFixture, SweepingTheRingFacingTheEyeTurnsAboutItsAxisByTheSweptAngle) {
  comms::cFreeViewer front = Camera(0.f);  // looks down -z: the z ring faces the eye
  const cVec3 c = front.ProjectToView(gizmo.Centre);
  // Find a pixel on the z ring, up and to the right of the centre, away
  // from the arrows.
  const float h = std::sqrt(0.5f);
  float grab = -1;
  for (float r = 1; r < 200 && grab < 0; r += 0.25f)
    if (gizmo.HitTest(front, c.x + r * h, c.y - r * h) == TransformGizmo::kTurnZ) grab = r;
  ASSERT_GT(grab, 0.f);
  ASSERT_TRUE(gizmo.Begin(front, c.x + grab * h, c.y - grab * h));
  // A quarter turn on the screen, counter-clockwise: to up and left.
  const cMat4 m = gizmo.DragTo(front, c.x - grab * h, c.y - grab * h);
  gizmo.End();
  const cVec3 p = TransformPoint(gizmo.Centre + cVec3(10, 0, 0), m) - gizmo.Centre;
  // Seen from +z, screen-up is +y: +x turns to +y, counter-clockwise about +z.
  EXPECT_NEAR(p.x, 0.f, 1e-3f);
  EXPECT_NEAR(p.y, 10.f, 1e-3f);
  EXPECT_NEAR(p.z, 0.f, 1e-3f);
  // The centre stays.
  const cVec3 centre = TransformPoint(gizmo.Centre, m);
  EXPECT_NEAR(std::hypot(centre.x - 3.f, centre.y + 2.f), 0.f, 1e-4f);
}

TEST_F(GizmoFixture, TheCentreBoxScalesByTheRatioOfDistances) {
  const cVec3 c = Screen(gizmo.Centre);
  ASSERT_EQ(gizmo.HitTest(cam, c.x + 3, c.y - 2), TransformGizmo::kScale);
  ASSERT_TRUE(gizmo.Begin(cam, c.x + 4, c.y - 3));  // 5 pixels out
  const cMat4 m = gizmo.DragTo(cam, c.x + 12, c.y - 9);  // 15 pixels out
  gizmo.End();
  const cVec3 p = TransformPoint(gizmo.Centre + cVec3(1, 2, -3), m) - gizmo.Centre;
  EXPECT_NEAR(p.x, 3.f, 1e-3f);
  EXPECT_NEAR(p.y, 6.f, 1e-3f);
  EXPECT_NEAR(p.z, -9.f, 1e-3f);
}

TEST_F(GizmoFixture, PressesAwayFromTheHandlesTakeNothing) {
  EXPECT_EQ(gizmo.HitTest(cam, 2, 2), TransformGizmo::kNone);
  EXPECT_FALSE(gizmo.Begin(cam, 2, 2));
  EXPECT_FALSE(gizmo.Dragging());
  const cMat4 m = gizmo.DragTo(cam, 300, 300);
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) EXPECT_EQ(m.m[i][j], i == j ? 1.f : 0.f);
}

}  // namespace
