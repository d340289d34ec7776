// Navigation rows driven through the fake platform: each action moves the
// camera or a pen value by what a scripted drag asks, rows start only on the
// press of their button, the wheel with a modifier does the configured
// action, and a preset comes back as it was saved.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>

#include "interface/AppOptions.h"
#include "interface/Navigation.h"
#include "paint/GeneralPen.h"
#include "platform/FakePlatform.h"
#include "platform/Keys.h"
#include "render/Viewer.h"

namespace {
constexpr float kPi = 3.14159265358979f;

class NavigationTest : public ::testing::Test {
 protected:
  void SetUp() override {
    nav.World.Input = &fake;
    nav.World.Camera = &cam;
    nav.World.ViewW = 800, nav.World.ViewH = 600;
    nav.World.PenPixelRadius = [] { return 20.0f; };
    cam.ViewRect = comms::cRect(0, 0, 800, 600);
    cam.Update();
    GeneralPen::PenRadius = 20;
    GeneralPen::DeepDegree = 0.5f;
    GeneralPen::PenRotation = 0;
    GeneralPen::Falloff = 0.5f;
    GeneralPen::ColorOpacity = 1;
    GeneralPen::SpecularDegree = 0.5f;
    GeneralPen::FocalShift = 0;
    AppOptions::CamRotSpeed = 1;
    AppOptions::CamZoomSpeed = 1;
  }
  void TearDown() override { SetDefaultOptions(); }
  void Move(float x, float y) {
    fake.WarpPointer(x, y);
    nav.Update(-1);
  }
  void Key(int key, bool down) {
    fake.SetKeyDown(key, down);
    nav.Update(key);
  }
  // Holds `modifier` (or nothing), presses the left button at (x0, y0),
  // drags to (x1, y1) in steps and lets go.
  void Drag(int modifier, int button, float x0, float y0, float x1, float y1, int steps = 4) {
    Move(x0, y0);
    if (modifier >= 0) Key(modifier, true);
    Key(button, true);
    for (int i = 1; i <= steps; ++i) Move(x0 + (x1 - x0) * float(i) / float(steps), y0 + (y1 - y0) * float(i) / float(steps));
    Key(button, false);
    if (modifier >= 0) Key(modifier, false);
  }
  FakePlatform fake;
  comms::cFreeViewer cam;
  NaviSystem nav;
};

bool SameOrientation(const comms::cFreeViewer& a, const comms::cFreeViewer& b) {
  return std::fabs(a.Pos.x - b.Pos.x) < 1e-3f && std::fabs(a.Pos.y - b.Pos.y) < 1e-3f &&
         std::fabs(a.Pos.z - b.Pos.z) < 1e-3f;
}
}  // namespace

TEST_F(NavigationTest, RotateAndZoomMoveTheCameraAsTheDragAsks) {
  nav.Add(NAVI_ROTATE, "ALT+LMB");
  nav.Add(NAVI_SCALE, "ALT+RMB");
  comms::cFreeViewer expected = cam;
  Drag(keys::Alt, keys::LeftButton, 100, 100, 140, 80);
  for (int i = 0; i < 4; ++i) expected.Rotate(10, 5);
  EXPECT_TRUE(SameOrientation(cam, expected));
  EXPECT_FALSE(SameOrientation(cam, comms::cFreeViewer())) << "the camera moved";
  // Twice the speed option: twice the turn.
  comms::cFreeViewer faster = cam;
  AppOptions::CamRotSpeed = 2;
  Drag(keys::Alt, keys::LeftButton, 100, 100, 140, 80);
  for (int i = 0; i < 4; ++i) faster.Rotate(20, 10);
  EXPECT_TRUE(SameOrientation(cam, faster));
  const float toEye = cam.m_ToEye;
  Drag(keys::Alt, keys::RightButton, 100, 100, 100, 160);
  comms::cFreeViewer zoomed = faster;
  for (int i = 0; i < 4; ++i) zoomed.DragZoom(0, -15);
  EXPECT_NEAR(cam.m_ToEye, zoomed.m_ToEye, 1e-3f);
  EXPECT_NE(cam.m_ToEye, toEye);
}

TEST_F(NavigationTest, ARowNeedsItsModifiersAndNoOthers) {
  nav.Add(NAVI_ROTATE, "ALT+LMB");
  const comms::cVec3 eye = cam.Pos;
  Drag(-1, keys::LeftButton, 100, 100, 200, 100);
  EXPECT_TRUE(SameOrientation(cam, comms::cFreeViewer()) || (cam.Pos.x == eye.x)) << "no Alt, no rotation";
  fake.SetKeyDown(keys::Control, true);
  Drag(keys::Alt, keys::LeftButton, 100, 100, 200, 100);
  EXPECT_EQ(cam.Pos.x, eye.x) << "Ctrl is held and the row does not name it";
}

TEST_F(NavigationTest, RadiusTweakScalesByTheDragAndStopsAtItsLimits) {
  nav.Add(NAVI_START_TWEAK_RADIUS, "R+LMB");
  // p = 20 pixels: dragging 20 to the right doubles the radius.
  Drag(keys::A + ('R' - 'A'), keys::LeftButton, 100, 100, 120, 100);
  EXPECT_NEAR(GeneralPen::PenRadius, 40.0f, 1e-3f);
  Drag(keys::A + ('R' - 'A'), keys::LeftButton, 100, 100, 700, 100);
  EXPECT_EQ(GeneralPen::PenRadius, 300.0f);
  Drag(keys::A + ('R' - 'A'), keys::LeftButton, 300, 100, 0, 100);
  EXPECT_NEAR(GeneralPen::PenRadius, 0.1f, 1e-6f);
}

TEST_F(NavigationTest, DepthFalloffOpacityAndSpecularFollowTheDrag) {
  nav.Add(NAVI_START_TWEAK_DEPTH, "D+LMB");
  nav.Add(NAVI_START_TWEAK_FALLOFF, "F+LMB");
  nav.Add(NAVI_START_TWEAK_OPACIRY, "O+LMB");
  nav.Add(NAVI_START_TWEAK_SPECL, "P+LMB");
  Drag(keys::A + ('D' - 'A'), keys::LeftButton, 100, 100, 100, 90);  // 10 up: +0.5
  EXPECT_NEAR(GeneralPen::DeepDegree, 1.0f, 1e-4f);
  Drag(keys::A + ('F' - 'A'), keys::LeftButton, 100, 100, 100, 104);  // 4 down: -0.2
  EXPECT_NEAR(GeneralPen::Falloff, 0.3f, 1e-4f);
  Drag(keys::A + ('O' - 'A'), keys::LeftButton, 100, 100, 130, 100);  // +1.5, kept at 2
  EXPECT_NEAR(GeneralPen::ColorOpacity, 2.0f, 1e-4f);
  Drag(keys::A + ('P' - 'A'), keys::LeftButton, 100, 100, 96, 100);  // -0.2
  EXPECT_NEAR(GeneralPen::SpecularDegree, 0.3f, 1e-4f);
}

TEST_F(NavigationTest, PenParamsTakeTheMainDirectionAndRestoreTheOther) {
  nav.Add(NAVI_START_TWEAK_PEN_PARAMS, "SPACE+LMB");
  Move(100, 100);
  Key(keys::Space, true);
  Key(keys::LeftButton, true);
  Move(100, 90);  // up first: depth
  EXPECT_NEAR(GeneralPen::DeepDegree, 1.0f, 1e-4f);
  Move(140, 95);  // now mostly sideways: radius, and depth back to its start
  EXPECT_NEAR(GeneralPen::DeepDegree, 0.5f, 1e-4f);
  EXPECT_NEAR(GeneralPen::PenRadius, 60.0f, 1e-3f);
  Key(keys::LeftButton, false);
}

TEST_F(NavigationTest, RotationTweakWrapsRound) {
  nav.Add(NAVI_START_TWEAK_ROTATION, "T+LMB");
  Move(100, 100);
  Key(keys::A + ('T' - 'A'), true);
  Key(keys::LeftButton, true);
  Move(100, 150);  // straight below the pen point: angle pi/2, no turn
  EXPECT_NEAR(GeneralPen::PenRotation, 0.0f, 1e-4f);
  Move(150, 100);  // to the right: -pi/2, wrapped to 3pi/2
  EXPECT_NEAR(GeneralPen::PenRotation, 1.5f * kPi, 1e-4f);
  EXPECT_GE(GeneralPen::PenRotation, 0.0f);
  Key(keys::LeftButton, false);
}

TEST_F(NavigationTest, SwapXYMakesScaleFollowTheOtherAxis) {
  NaviEvent* e = nav.Add(NAVI_SCALE, "ALT+RMB");
  e->SwapXY = true;
  comms::cFreeViewer expected = cam;
  Drag(keys::Alt, keys::RightButton, 100, 100, 160, 100);
  for (int i = 0; i < 4; ++i) expected.DragZoom(0, -15);
  EXPECT_NEAR(cam.m_ToEye, expected.m_ToEye, 1e-3f);
}

TEST_F(NavigationTest, AButtonRowStartsOnlyOnThePress) {
  nav.Add(NAVI_START_TWEAK_RADIUS, "R+LMB");
  Move(100, 100);
  Key(keys::LeftButton, true);  // the button first, R later: no edge, no start
  Key(keys::A + ('R' - 'A'), true);
  Move(140, 100);
  EXPECT_EQ(nav.Running(), -1);
  EXPECT_EQ(GeneralPen::PenRadius, 20.0f);
  Key(keys::LeftButton, false);
  Key(keys::LeftButton, true);  // a fresh press with R held starts it
  EXPECT_EQ(nav.Running(), 0);
  Key(keys::A + ('R' - 'A'), false);  // R up ends it, the button stays down
  EXPECT_EQ(nav.Running(), -1);
  Move(200, 100);
  EXPECT_EQ(nav.Running(), -1) << "a held button does not start again";
}

TEST_F(NavigationTest, HomeIsOneShot) {
  nav.Add(NAVI_ROTATE, "ALT+LMB");
  nav.Add(NAVI_HOME, "HOME");
  cam.SetHome(cam.m_Center, cam.m_ToEye, cam.Orient);
  const comms::cVec3 home = cam.Pos;
  Drag(keys::Alt, keys::LeftButton, 100, 100, 180, 130);
  ASSERT_GT(std::fabs(cam.Pos.x - home.x) + std::fabs(cam.Pos.y - home.y), 1e-3f);
  Key(keys::Home, true);
  EXPECT_EQ(nav.Running(), -1);
  EXPECT_NEAR(cam.Pos.x, home.x, 1e-3f);
  EXPECT_NEAR(cam.Pos.y, home.y, 1e-3f);
}

TEST(NavigationWheel, ModifiersPickTheConfiguredAction) {
  GeneralPen::PenRadius = 20;
  GeneralPen::DeepDegree = 0.5f;
  GeneralPen::ColorOpacity = 0.5f;
  GeneralPen::FocalShift = 0.05f;
  AppOptions::CTRL_WHEEL_ACTION = WHEEL_CHANGE_PRESSURE;
  AppOptions::ALT_WHEEL_ACTION = WHEEL_CHANGE_FOCAL;
  AppOptions::WHEEL_ACTION = WHEEL_CHANGE_RADIUS;
  EXPECT_TRUE(NaviSystem::ApplyWheel(2, true, false, false));
  EXPECT_NEAR(GeneralPen::DeepDegree, 0.5f * std::exp(2.0f / 16), 1e-5f);
  EXPECT_EQ(GeneralPen::PenRadius, 20.0f);
  EXPECT_TRUE(NaviSystem::ApplyWheel(-0.5f, false, true, false));
  EXPECT_EQ(GeneralPen::FocalShift, 0.0f) << "a tiny shift becomes none";
  EXPECT_TRUE(NaviSystem::ApplyWheel(30, false, true, false));
  EXPECT_EQ(GeneralPen::FocalShift, 1.0f);
  EXPECT_TRUE(NaviSystem::ApplyWheel(16, true, false, false));
  EXPECT_EQ(GeneralPen::DeepDegree, 1.0f) << "pressure stops at 1";
  AppOptions::ALT_WHEEL_ACTION = WHEEL_CHANGE_OPACITY;
  EXPECT_TRUE(NaviSystem::ApplyWheel(16, false, true, false));
  EXPECT_NEAR(GeneralPen::ColorOpacity, 0.5f * std::exp(1.0f), 1e-5f);
  EXPECT_TRUE(NaviSystem::ApplyWheel(16, false, false, false));
  EXPECT_NEAR(GeneralPen::PenRadius, 20.0f * std::exp(1.0f), 1e-4f);
  SetDefaultOptions();
}

TEST_F(NavigationTest, PresetsRoundTrip) {
  nav.SetDefaultRows();
  nav.Events[2]->SwapXY = true;
  nav.Events[3]->XScale = -2.5f;
  nav.NaviZoneWidth = 40;
  auto path = std::filesystem::temp_directory_path() / ("nav-" + std::to_string(getpid()) + ".navigation");
  ASSERT_TRUE(nav.SavePreset(path.string()));
  NaviSystem other;
  ASSERT_TRUE(other.LoadPreset(path.string()));
  ASSERT_EQ(other.Events.GetAmount(), nav.Events.GetAmount());
  for (int i = 0; i < nav.Events.GetAmount(); ++i) {
    EXPECT_EQ(other.Events[i]->ActionType, nav.Events[i]->ActionType);
    EXPECT_STREQ(other.Events[i]->Sequence.cpchar(), nav.Events[i]->Sequence.cpchar());
    EXPECT_EQ(other.Events[i]->SwapXY, nav.Events[i]->SwapXY);
    EXPECT_EQ(other.Events[i]->XScale, nav.Events[i]->XScale);
  }
  EXPECT_EQ(other.NaviZoneWidth, 40);
  EXPECT_FALSE(other.LoadPreset("/nonexistent.navigation"));
  EXPECT_EQ(other.Events.GetAmount(), nav.Events.GetAmount()) << "a failed load keeps the rows";
  std::filesystem::remove(path);
}

TEST(NaviSequence, NamesThatDoNotConvertAreDropped) {
  NaviEvent e;
  e.Sequence = "ALT + LMB, NOSUCH;;";
  ASSERT_EQ(e.Keys().size(), 2u);
  EXPECT_EQ(e.Keys()[0], keys::Alt);
  EXPECT_EQ(e.Keys()[1], keys::LeftButton);
  e.Sequence = "nothing";
  EXPECT_TRUE(e.Keys().empty());
}

namespace {
// The pattern coordinates of a screen point.
std::pair<float, float> OnPattern(const MaterialPattern& p, float x, float y) {
  float u = 0, v = 0;
  p.ToPattern(x, y, u, v);
  return {u, v};
}
constexpr int kM = keys::A + ('M' - 'A');
}  // namespace

TEST_F(NavigationTest, PatternRowsNeedAPatternAndMoveItByTheDrag) {
  nav.Add(NAVI_MOVE_MTL, "M+LMB");
  static MaterialPattern pattern;
  pattern = MaterialPattern();
  Drag(kM, keys::LeftButton, 100, 100, 140, 80);
  EXPECT_EQ(nav.Running(), -1);
  nav.World.Pattern = &pattern;
  comms::cFreeViewer before = cam;
  Drag(kM, keys::LeftButton, 100, 100, 140, 80);
  EXPECT_FLOAT_EQ(pattern.OffsetX, -40) << "moved by (-dx, dy)";
  EXPECT_FLOAT_EQ(pattern.OffsetY, -20);
  EXPECT_TRUE(SameOrientation(cam, before)) << "the camera stays";
  // Each move is announced once, before the pattern moves (its undo record).
  std::vector<float> announced;
  nav.World.BeforePatternMove = [&] { announced.push_back(pattern.OffsetX); };
  Drag(kM, keys::LeftButton, 100, 100, 110, 100);
  EXPECT_EQ(announced, std::vector<float>{-40.f});
  EXPECT_FLOAT_EQ(pattern.OffsetX, -50);
  nav.World.BeforePatternMove = nullptr;
  nav.World.Pattern = nullptr;
}

TEST_F(NavigationTest, PatternScaleTurnAndAspectKeepTheStartPointOnThePattern) {
  static MaterialPattern pattern;
  pattern = MaterialPattern();
  pattern.OffsetX = 37, pattern.OffsetY = -11, pattern.Rotation = 0.3f;
  nav.World.Pattern = &pattern;
  const float sx = 213, sy = 157;  // where each drag starts
  struct Case {
    int action;
    float scaleX, scaleY, turn;
  } cases[] = {
      {NAVI_SCALE_MTL, std::pow(1.1f, 4), std::pow(1.1f, 4), 0},
      {NAVI_ROTATE_MTL, 1, 1, 0.4f},
      {NAVI_ASPECT_MTL, std::pow(0.9f, 4), std::pow(1.1f, 4), 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.action);
    nav.Events.Clear();
    nav.Add(c.action, "M+LMB");
    const MaterialPattern start = pattern;
    const auto anchor = OnPattern(pattern, sx, sy);
    Drag(kM, keys::LeftButton, sx, sy, sx + 40, sy + 30);  // dx 10 a step; dy plays no part
    EXPECT_NEAR(pattern.ScaleX, start.ScaleX * c.scaleX, 1e-4f);
    EXPECT_NEAR(pattern.ScaleY, start.ScaleY * c.scaleY, 1e-4f);
    EXPECT_NEAR(pattern.Rotation, start.Rotation + c.turn, 1e-5f);
    const auto after = OnPattern(pattern, sx, sy);
    EXPECT_NEAR(after.first, anchor.first, 1e-2f) << "the start point stays where it was on the pattern";
    EXPECT_NEAR(after.second, anchor.second, 1e-2f);
    EXPECT_FALSE(OnPattern(pattern, sx + 50, sy + 9) == OnPattern(start, sx + 50, sy + 9)) << "elsewhere it moved";
  }
  nav.World.Pattern = nullptr;
}

TEST_F(NavigationTest, TheUvPreviewTakesItsOwnRowsAndThePansThatStartOverIt) {
  static UvPreview uv;
  uv = UvPreview();
  uv.Shown = true;
  uv.X = 601, uv.Y = 403, uv.W = 151, uv.H = 147;
  nav.World.Uv = &uv;
  nav.Add(NAVI_MOVE_UV, "M+LMB");
  NaviEvent* rotate = nav.Add(NAVI_ROTATE, "ALT+LMB");
  rotate->OnlyInUV = true;
  nav.Add(NAVI_MOVE_SCREEN, "ALT+MMB");
  nav.Add(NAVI_SCALE, "ALT+RMB");
  // The UV move: only over the preview.
  Drag(kM, keys::LeftButton, 100, 100, 140, 80);
  EXPECT_EQ(uv.PanX, 0.0f);
  Drag(kM, keys::LeftButton, 620, 420, 660, 400);
  EXPECT_FLOAT_EQ(uv.PanX, 40);
  EXPECT_FLOAT_EQ(uv.PanY, -20);
  // A row only for the preview does nothing elsewhere, and turns the camera over it.
  comms::cFreeViewer before = cam;
  Drag(keys::Alt, keys::LeftButton, 100, 100, 140, 80);
  EXPECT_TRUE(SameOrientation(cam, before));
  Drag(keys::Alt, keys::LeftButton, 620, 420, 660, 400);
  EXPECT_FALSE(SameOrientation(cam, before));
  // A pan that starts over the preview pans the preview, not the camera.
  before = cam;
  Drag(keys::Alt, keys::MiddleButton, 650, 450, 630, 480);
  EXPECT_TRUE(SameOrientation(cam, before));
  EXPECT_FLOAT_EQ(uv.PanX, 20);
  EXPECT_FLOAT_EQ(uv.PanY, 10);
  Drag(keys::Alt, keys::MiddleButton, 100, 100, 120, 130);
  EXPECT_FALSE(SameOrientation(cam, before)) << "outside it the camera pans";
  EXPECT_FLOAT_EQ(uv.PanX, 20);
  // A zoom over it zooms about the start point: that UV point stays put.
  const float zx = 655, zy = 461;
  const float u0 = (zx - uv.X - uv.PanX) / uv.Zoom, v0 = (zy - uv.Y - uv.PanY) / uv.Zoom;
  Drag(keys::Alt, keys::RightButton, zx, zy, zx + 40, zy - 20);
  EXPECT_NEAR(uv.Zoom, std::exp(60 / 100.0f), 1e-4f);
  EXPECT_NEAR((zx - uv.X - uv.PanX) / uv.Zoom, u0, 1e-3f);
  EXPECT_NEAR((zy - uv.Y - uv.PanY) / uv.Zoom, v0, 1e-3f);
  // Hidden, the preview takes nothing.
  uv.Shown = false;
  const float panX = uv.PanX;
  Drag(kM, keys::LeftButton, 620, 420, 660, 400);
  EXPECT_EQ(uv.PanX, panX);
  nav.World.Uv = nullptr;
}

TEST_F(NavigationTest, PlanePansKeepTheirThirdAxisAndScreenPanMovesAll) {
  cam.Rotate(37, 23);  // looking down at a slant, so every axis shows on screen
  const struct {
    int action;
    int fixedAxis;
  } rows[] = {{NAVI_MOVE_ZX, 1}, {NAVI_MOVE_YZ, 0}, {NAVI_MOVE_XY, 2}};
  auto axis = [](const comms::cVec3& v, int i) { return i == 0 ? v.x : i == 1 ? v.y : v.z; };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.action);
    nav.Events.Clear();
    nav.Add(r.action, "ALT+MMB");
    const comms::cVec3 before = cam.m_Center;
    Drag(keys::Alt, keys::MiddleButton, 300, 200, 347, 171);
    EXPECT_NEAR(axis(cam.m_Center, r.fixedAxis), axis(before, r.fixedAxis), 1e-4f) << "stays in its plane";
    float moved = 0;
    for (int i = 0; i < 3; ++i) moved += std::fabs(axis(cam.m_Center, i) - axis(before, i));
    EXPECT_GT(moved, 1e-3f);
  }
  nav.Events.Clear();
  nav.Add(NAVI_MOVE_SCREEN, "ALT+MMB");
  comms::cFreeViewer expected = cam;
  Drag(keys::Alt, keys::MiddleButton, 300, 200, 340, 180);
  for (int i = 0; i < 4; ++i) expected.Pan(10, 5);
  EXPECT_NEAR(cam.m_Center.x, expected.m_Center.x, 1e-4f);
  EXPECT_NEAR(cam.m_Center.y, expected.m_Center.y, 1e-4f);
  EXPECT_NEAR(cam.m_Center.z, expected.m_Center.z, 1e-4f);
}

TEST_F(NavigationTest, ScreenTurnKeepsTheScreensUpWhereTheOrbitTiltsIt) {
  cam.Rotate(0, 30);  // tilted down: the orbit's vertical axis is not the screen's
  cam.Update();
  const comms::cVec3 up = cam.Up;
  nav.Add(NAVI_SCREEN_ROTATE, "ALT+LMB");
  Drag(keys::Alt, keys::LeftButton, 300, 200, 360, 200);  // across only
  EXPECT_NEAR(cam.Up.x, up.x, 1e-4f);
  EXPECT_NEAR(cam.Up.y, up.y, 1e-4f);
  EXPECT_NEAR(cam.Up.z, up.z, 1e-4f);
  const comms::cVec3 screenUp = cam.Up;
  nav.Events.Clear();
  nav.Add(NAVI_ROTATE, "ALT+LMB");
  Drag(keys::Alt, keys::LeftButton, 300, 200, 360, 200);
  EXPECT_GT(std::fabs(cam.Up.x - screenUp.x) + std::fabs(cam.Up.z - screenUp.z), 1e-3f) << "the orbit turns about the world's up";
}

TEST_F(NavigationTest, RollsFovAndPivotPick) {
  nav.Add(NAVI_ROLL, "ALT+LMB");
  nav.Add(NAVI_SCREEN_ROLL, "ALT+SHIFT+LMB");
  nav.Add(NAVI_FOV, "ALT+RMB");
  nav.Add(NAVI_PICK_PIVOT, "P");
  comms::cFreeViewer expected = cam;
  Drag(keys::Alt, keys::LeftButton, 300, 200, 340, 180);
  for (int i = 0; i < 4; ++i) expected.Roll(10, 5);
  EXPECT_TRUE(SameOrientation(cam, expected));
  // The roll about the screen, with Shift too, and at twice the speed.
  AppOptions::CamRotSpeed = 2;
  fake.SetKeyDown(keys::Shift, true);
  Drag(keys::Alt, keys::LeftButton, 300, 200, 340, 180);
  fake.SetKeyDown(keys::Shift, false);
  for (int i = 0; i < 4; ++i) expected.Roll(20, 10);
  EXPECT_TRUE(SameOrientation(cam, expected));
  // FOV: times exp(-dy / 100) per move, never past 179.
  cam.Fov = 60;
  Drag(keys::Alt, keys::RightButton, 300, 200, 300, 160);
  EXPECT_NEAR(cam.Fov, 60 * std::exp(0.4f), 1e-3f);
  Drag(keys::Alt, keys::RightButton, 300, 590, 300, 0, 8);
  EXPECT_EQ(cam.Fov, 179.0f);
  // The pivot: the surface point under the pointer, once.
  nav.World.SurfacePoint = [](float x, float y, float out[3]) {
    out[0] = x / 100, out[1] = -y / 100, out[2] = 7;
    return true;
  };
  Move(250, 150);
  Key(keys::A + ('P' - 'A'), true);
  EXPECT_EQ(nav.Running(), -1);
  EXPECT_NEAR(cam.m_Center.x, 2.5f, 1e-5f);
  EXPECT_NEAR(cam.m_Center.y, -1.5f, 1e-5f);
  EXPECT_NEAR(cam.m_Center.z, 7, 1e-5f);
  EXPECT_EQ(AppOptions::PivotType, 4);
  Key(keys::A + ('P' - 'A'), false);
}
