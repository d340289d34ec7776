// The camera under the pointer in the view: the wheel moves the pivot in
// depth and leaves the eye where it is, a notch at a time or in parts of one.
#include <gtest/gtest.h>

#include <cmath>

#include "ShellFixture.h"
#include "shell/Viewport.h"

namespace {
class ViewportNavigation : public ShellTest {
 protected:
  // The viewport's seams (headless: EGL or the recording renderer) on the
  // fake window.
  Shell& StartedView() {
    fake.SetClientSize(320, 200);
    view_ = std::make_unique<ViewportSeams>(fake, true);
    shell_ = std::make_unique<Shell>(fake, *view_);
    view_->Attach(*shell_);
    StartOptions o;
    o.installCrashHandler = false;
    EXPECT_TRUE(shell_->Start(o));
    shell_->RunFrames(1);
    return *shell_;
  }
  void Wheel(int delta) {
    PlatformEvent e;
    e.type = PlatformEvent::Type::Wheel;
    e.wheelDelta = delta;
    e.x = 160, e.y = 100;
    fake.Push(e);
    shell_->RunFrames(1);
  }
  void TearDown() override {
    shell_.reset();
    view_.reset();
    ShellTest::TearDown();
  }
  std::unique_ptr<ViewportSeams> view_;
};

float Distance(const comms::cVec3& a, const comms::cVec3& b) {
  return std::sqrt((a.x - b.x) * (a.x - b.x) + (a.y - b.y) * (a.y - b.y) + (a.z - b.z) * (a.z - b.z));
}
}  // namespace

TEST_F(ViewportNavigation, WheelMovesThePivotAndKeepsTheEye) {
  StartedView();
  comms::cFreeViewer& cam = view_->Camera();
  const comms::cVec3 eye = cam.Pos, pivot = cam.m_Center;
  const float toEye = cam.m_ToEye;

  Wheel(120);  // one notch up
  EXPECT_NEAR(cam.m_ToEye, toEye + cam.WheelSpeed, 1e-3f);
  EXPECT_LT(Distance(cam.Pos, eye), 1e-3f) << "the eye stays";
  EXPECT_NEAR(Distance(cam.m_Center, pivot), cam.WheelSpeed, 1e-3f);
  // The pivot went away from the eye, along the view.
  EXPECT_GT(Distance(cam.m_Center, eye), Distance(pivot, eye));

  Wheel(-360);  // three notches down
  EXPECT_NEAR(cam.m_ToEye, toEye - 2 * cam.WheelSpeed, 1e-3f);
  EXPECT_LT(Distance(cam.Pos, eye), 1e-3f);
}

TEST_F(ViewportNavigation, WheelNeverPullsThePivotBehindTheEye) {
  StartedView();
  comms::cFreeViewer& cam = view_->Camera();
  const comms::cVec3 eye = cam.Pos;
  const int notches = int(cam.m_ToEye / cam.WheelSpeed) + 20;
  for (int i = 0; i < 4; ++i) Wheel(-120 * notches / 4);
  EXPECT_GT(cam.m_ToEye, 0.0f);
  EXPECT_LT(Distance(cam.Pos, eye), 1e-2f);
}
