// The voxel room's tool driven through the tool router with a synthetic
// camera: a drag sculpts exactly as a direct stroke of the same pen points,
// the surface is current after each frame, presses off the volume stay free
// for navigation, unavailable modes refuse, pressure reaches the field, the
// parameters come back after the tool was switched away, and the view's
// stencil holds a drag where it is dark.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>
#include <tuple>

#include "ToolTableKit.h"
#include "BrushTestKit.h"
#include "ClassEngine/xml/ErrorCollector.h"
#include "ClassEngine/xml/XmlNode.h"
#include "MC/brushes/VolumePick.h"
#include "MC/brushes/VoxelSculptTool.h"
#include "interchange/TestFiles.h"
#include "paint/PenPressure.h"
#include "paint/StencilMask.h"
#include "platform/Keys.h"
#include "render/Viewer.h"
#include "shell/tools/RouterDrag.h"
#include "shell/tools/ToolRouter.h"

namespace {
constexpr float kSphere = 28.f;

// Looks down -z at the origin from 100 units, 640 x 480 pixels.
comms::cFreeViewer FrontCamera() {
  comms::cFreeViewer cam;
  cam.ViewRect = comms::cRect{0, 0, 640, 480};
  cam.SetHome(comms::cVec3(0, 0, 0), 100.f, comms::cQuat());
  return cam;
}

void MakeSphere(VolumeObject& v) {
  FillVolume(v, SphereShape(0, 0, 0, kSphere));
  v.UpdateSurface();
}

// The pen at a pixel, worked out here from the camera alone: the ray's first
// crossing and the pen's pixel radius turned to world units at that depth.
bool PenFromCamera(VolumeObject& v, const comms::cViewer& cam, float x, float y, bool fromUndo, PenPoint& p) {
  comms::cVec3 o, d;
  cam.PixelRay(x, y, o, d);
  const float of[3] = {o.x, o.y, o.z}, df[3] = {d.x, d.y, d.z};
  SurfaceHit hit;
  if (!PickVolume(v, of, df, hit, fromUndo)) return false;
  for (int k = 0; k < 3; ++k) p.P[k] = hit.Pos[k], p.N[k] = hit.Normal[k];
  const comms::cVec3 at(hit.Pos[0], hit.Pos[1], hit.Pos[2]);
  const comms::cVec3 a = cam.ProjectToView(at), b = cam.ProjectToView(at + comms::cVec3(1, 0, 0));
  p.Radius = GeneralPen::PenRadius / std::hypot(b.x - a.x, b.y - a.y);
  p.Pressure = GeneralPen::PenPressure;
  return true;
}

struct ToolFixture : ::testing::Test {
  GeneralPenSaver savedPen;
  SimplePen pen;
  ToolTable table;
  ToolRouter router{table};
  comms::cFreeViewer cam = FrontCamera();
  VolumeObject volume;
  VoxelSculptTool* tool = nullptr;

  void SetUp() override {
    GeneralPen::CurrentPenPtr = &pen;
    GeneralPen::DeepDegree = 0.5f;
    GeneralPen::PenRadius = 30.f;
    tool = CurrentVoxelTool(table);
    ASSERT_NE(tool, nullptr);
    ASSERT_EQ(table.CurrentTool(), tool);
    MakeSphere(volume);
    tool->SetScene(&volume, &cam);
  }
  void TearDown() override { Pointer() = ToolPointer(); }

  // Press at the first pixel, one frame per further pixel, release.
  void Drag(const std::vector<std::pair<float, float>>& path) { DragThrough(router, table, path); }
};

const std::vector<std::pair<float, float>> kPath = {{250, 240}, {290, 236}, {330, 244}, {380, 240}};

TEST_F(ToolFixture, DragSculptsAsTheDirectStrokeOfTheSamePenPoints) {
  tool->SelectMode(SCULPT_CARVE);
  const VolumeSnapshot untouched = Snapshot(volume);
  Drag(kPath);
  const VolumeSnapshot viaTool = Snapshot(volume);
  EXPECT_NE(viaTool, untouched);
  EXPECT_EQ(volume.UndoCopies, 0) << "pen up hands the undo copies on";

  VolumeObject direct;
  MakeSphere(direct);
  VoxelBrushSettings settings;
  VoxelSculptStroke stroke(settings);
  stroke.Tool = SCULPT_CARVE;
  PenPoint p;
  ASSERT_TRUE(PenFromCamera(direct, cam, kPath[0].first, kPath[0].second, false, p));
  ASSERT_TRUE(stroke.Begin(direct, p, 1));
  for (size_t i = 1; i < kPath.size(); ++i) {
    ASSERT_TRUE(PenFromCamera(direct, cam, kPath[i].first, kPath[i].second, true, p));
    stroke.MoveTo(p);
    direct.UpdateSurface();
  }
  stroke.End();
  EXPECT_EQ(Snapshot(direct), viaTool);
}

TEST_F(ToolFixture, SurfaceIsCurrentAfterEveryFrameOfTheDrag) {
  tool->SelectMode(SCULPT_CARVE);
  const long before = InsideCount(volume);
  router.OnPointerMove(260, 240);
  ASSERT_TRUE(router.OnKeyChange(keys::LeftButton, true, false));
  EXPECT_TRUE(tool->Stroking());
  router.OnPointerMove(330, 240);
  table.RunFrame();
  EXPECT_EQ(volume.DirtyCells.Count(), 0);
  EXPECT_LT(InsideCount(volume), before);
  EXPECT_GT(volume.UndoCopies, 0) << "touched cells keep their copies while the pen is down";
  const MeshTopology t = Surface(volume);
  EXPECT_EQ(t.badEdges, 0);
  EXPECT_EQ(t.flippedEdges, 0);
  router.OnKeyChange(keys::LeftButton, false, false);
  EXPECT_FALSE(tool->Stroking());
}

TEST_F(ToolFixture, PressOffTheVolumeIsLeftToTheView) {
  const VolumeSnapshot untouched = Snapshot(volume);
  router.OnPointerMove(5, 5);
  EXPECT_FALSE(router.OnKeyChange(keys::LeftButton, true, false));
  router.OnPointerMove(20, 20);
  table.RunFrame();
  router.OnKeyChange(keys::LeftButton, false, false);
  EXPECT_EQ(Snapshot(volume), untouched);

  // Alt with the button navigates the view, even over the volume.
  router.OnKeyChange(keys::Alt, true, false);
  router.OnPointerMove(320, 240);
  EXPECT_FALSE(router.OnKeyChange(keys::LeftButton, true, false));
  EXPECT_FALSE(tool->Stroking());
  router.OnKeyChange(keys::LeftButton, false, false);
  router.OnKeyChange(keys::Alt, false, false);
  EXPECT_EQ(Snapshot(volume), untouched);

  tool->SetScene(nullptr, &cam);
  router.OnPointerMove(320, 240);
  EXPECT_FALSE(router.OnKeyChange(keys::LeftButton, true, false));
  router.OnKeyChange(keys::LeftButton, false, false);
}

TEST_F(ToolFixture, ModesOfLaterPartsSayNotAvailableAndChangeNothing) {
  const VolumeSnapshot untouched = Snapshot(volume);
  // Curves and cloth wait for their own engines: they say so rather than doing nothing.
  for (int mode : {SCULP_CURVES, SCULP_CLOTH}) {
    ASSERT_TRUE(tool->SelectMode(mode));
    EXPECT_STREQ(tool->GetSecondHintId(), "NOT_AVAILABLE_YET");
    Drag(kPath);
    EXPECT_EQ(tool->Message(), "not available yet");
    EXPECT_EQ(Snapshot(volume), untouched);
  }

  // Section titles and unknown indices are no modes.
  Enumerator* list = tool->GetToolList();
  ASSERT_NE(list, nullptr);
  ASSERT_GT(list->GetStoredAmount(), 0);
  EXPECT_EQ(list->Values[0], -1);
  EXPECT_EQ(std::string(list->Get(-1)), "*Voxels");
  EXPECT_EQ(std::string(list->Get(SCULP_GROW)), "SCULP_GROW");
  tool->OnToolListClick(0);
  EXPECT_EQ(tool->Mode, SCULP_CLOTH);
  tool->OnToolListClick(1 + SCULP_FILL);  // the title shifts the entries by one
  EXPECT_EQ(tool->Mode, SCULP_FILL);
  EXPECT_FALSE(tool->SelectMode(9999));
  EXPECT_EQ(tool->Mode, SCULP_FILL);
}

TEST_F(ToolFixture, PressureFromTheSourceScalesTheCut) {
  tool->SelectMode(SCULPT_CARVE);
  const long before = InsideCount(volume);
  Drag(kPath);
  const long fullCut = before - InsideCount(volume);

  VolumeObject light;
  MakeSphere(light);
  tool->SetScene(&light, &cam);
  ReplayPressure soft({0.3f});
  tool->SetPressureSource(&soft);
  Drag(kPath);
  tool->SetPressureSource(nullptr);
  const long lightCut = before - InsideCount(light);
  EXPECT_GT(lightCut, 0);
  EXPECT_LT(lightCut, fullCut);
  EXPECT_NEAR(GeneralPen::PenPressure, MapPressure(307, 1024, GeneralPen::PenSensivity), 1e-6f);
}

TEST_F(ToolFixture, ParametersComeBackAfterSwitchingAway) {
  ASSERT_TRUE(tool->SelectMode(SCULP_GROW));
  tool->Settings.GrowPower = 0.25f;
  tool->Settings.DoubleSided = true;
  tool->Settings.BorderStyle = voBorderSharp;
  tool->Settings.InvertToolAction[SCULP_CLAY] = true;

  // Away in the middle of a stroke: the stroke ends cleanly.
  router.OnPointerMove(300, 240);
  ASSERT_TRUE(router.OnKeyChange(keys::LeftButton, true, false));
  table.SetCurrentTool("StdPen");
  EXPECT_FALSE(tool->Stroking());
  EXPECT_EQ(volume.UndoCopies, 0);
  router.OnKeyChange(keys::LeftButton, false, false);

  // The saved state carries the values by itself...
  XmlNode* saved = table.SavedState("VOX_SCULPT_TOOL");
  ASSERT_NE(saved, nullptr);
  VoxelSculptTool fresh;
  ErrorCollector quiet(false);
  ASSERT_TRUE(fresh.Load(saved, &fresh, &quiet));
  EXPECT_EQ(fresh.Mode, SCULP_GROW);
  EXPECT_FLOAT_EQ(fresh.Settings.GrowPower, 0.25f);
  EXPECT_TRUE(fresh.Settings.DoubleSided);
  EXPECT_EQ(fresh.Settings.BorderStyle, voBorderSharp);
  EXPECT_TRUE(fresh.Settings.InvertToolAction[SCULP_CLAY]);
  EXPECT_FALSE(fresh.Settings.InvertToolAction[SCULPT_CARVE]);

  // ...and coming back restores them over whatever the object held.
  tool->Settings.Reset();
  tool->Mode = SCULPT_CARVE;
  table.SetCurrentTool("VOX_SCULPT_TOOL");
  EXPECT_EQ(table.CurrentTool(), tool);
  EXPECT_EQ(tool->Mode, SCULP_GROW);
  EXPECT_FLOAT_EQ(tool->Settings.GrowPower, 0.25f);
  EXPECT_TRUE(tool->Settings.DoubleSided);
  EXPECT_TRUE(tool->Settings.InvertToolAction[SCULP_CLAY]);
  EXPECT_STREQ(tool->GetRoomName(), "Voxels");
}
}  // namespace

namespace {
TEST_F(ToolFixture, StrokeEndHookFiresOncePerStrokeWithTheTouchedCells) {
  tool->SelectMode(SCULPT_CARVE);
  int calls = 0;
  bool hadCopies = false;
  std::set<std::tuple<int, int, int>> touched;
  tool->OnStrokeEnd = [&](VolumeObject& v) {
    ++calls;
    hadCopies = v.UndoCopies > 0;
    for (const CellKey& k : v.TouchedCells) touched.insert({k.x, k.y, k.z});
    v.DropUndoCopies();
  };
  const VolumeSnapshot before = Snapshot(volume);
  Drag(kPath);
  EXPECT_EQ(calls, 1);
  EXPECT_TRUE(hadCopies);
  const VolumeSnapshot after = Snapshot(volume);
  int changed = 0;
  for (const auto& [key, values] : after) {
    auto old = before.find(key);
    if (old != before.end() && old->second == values) continue;
    ++changed;
    EXPECT_TRUE(touched.count(key)) << "changed cell missing from the touched list";
  }
  EXPECT_GT(changed, 0);
  // A press off the volume is no stroke; a second stroke is a second call.
  router.OnPointerMove(5, 5);
  router.OnKeyChange(keys::LeftButton, true, false);
  router.OnKeyChange(keys::LeftButton, false, false);
  EXPECT_EQ(calls, 1);
  Drag(kPath);
  EXPECT_EQ(calls, 2);
  // Leaving the tool mid-stroke ends the stroke once too.
  router.OnPointerMove(kPath[0].first, kPath[0].second);
  router.OnKeyChange(keys::LeftButton, true, false);
  tool->SelectMode(SCULP_GROW);
  EXPECT_EQ(calls, 3);
  EXPECT_FALSE(tool->Stroking());
  router.OnKeyChange(keys::LeftButton, false, false);
  EXPECT_EQ(calls, 3);
}

TEST_F(ToolFixture, CommandsRunAtOnceAndKeepTheMode) {
  ASSERT_TRUE(tool->SelectMode(SCULPT_CARVE));
  const VolumeSnapshot before = Snapshot(volume);
  const long inside = InsideCount(volume);
  ASSERT_TRUE(tool->SelectMode(VOX_SMALL));
  EXPECT_EQ(tool->Mode, SCULPT_CARVE);
  EXPECT_NE(Snapshot(volume), before) << "SmAll smooths";
  EXPECT_NEAR((double)InsideCount(volume), (double)inside, inside * 0.05) << "and keeps the volume";
  EXPECT_EQ(volume.UndoCopies, 0);
  EXPECT_EQ(volume.DirtyCells.Count(), 0) << "the surface is current";
  // IncRes asks first; no leaves the volume as it was.
  uint64_t asked = 0;
  tool->ConfirmIncreaseResolution = [&](uint64_t bytes) { return (asked = bytes), false; };
  const VolumeSnapshot smoothed = Snapshot(volume);
  ASSERT_TRUE(tool->SelectMode(VOX_INCRES));
  EXPECT_GT(asked, 0u);
  EXPECT_EQ(Snapshot(volume), smoothed);
  tool->ConfirmIncreaseResolution = [](uint64_t) { return true; };
  const int cells = volume.Cells.Count();
  ASSERT_TRUE(tool->SelectMode(VOX_INCRES));
  EXPECT_EQ(tool->Message(), "");
  EXPECT_NEAR(volume.TransformScale, 0.5f, 1e-6f) << "each voxel half as big";
  EXPECT_GT(volume.Cells.Count(), cells * 4);
  EXPECT_EQ(volume.DirtyCells.Count(), 0) << "the surface is current";
  EXPECT_EQ(tool->Mode, SCULPT_CARVE);
  ASSERT_TRUE(tool->SelectMode(VOX_CLEAR));
  EXPECT_EQ(InsideCount(volume), 0);
  EXPECT_EQ(volume.Cells.Count(), 0);
  EXPECT_EQ(tool->Mode, SCULPT_CARVE);
  // The list's entries run them too.
  Enumerator* list = tool->GetToolList();
  EXPECT_STREQ(list->Get(VOX_SMALL), "SmAll");
}
}  // namespace

namespace {
// The radius steps are commands that "[" and "]" are bound to in the hot-key
// table; the tool leaves those keys alone so that a user may rebind them.
TEST_F(ToolFixture, RadiusStepsStayInRangeAndReachTheStroke) {
  GeneralPen::PenRadius = 20.f;
  StepPenRadius(true);
  EXPECT_NEAR(GeneralPen::PenRadius, 23.f, 1e-4f);
  StepPenRadius(false);
  EXPECT_NEAR(GeneralPen::PenRadius, 20.f, 1e-4f);
  for (int i = 0; i < 100; ++i) StepPenRadius(false);
  EXPECT_EQ(GeneralPen::PenRadius, 1.f);
  for (int i = 0; i < 100; ++i) StepPenRadius(true);
  EXPECT_EQ(GeneralPen::PenRadius, 500.f);
  EXPECT_FALSE(tool->OnKey(keys::RightBracket)) << "left to the hot keys";
  EXPECT_FALSE(tool->OnKey(keys::Shift)) << "other keys are left to the rest";
  // A bigger pen cuts a wider groove: the radius reaches the stroke.
  GeneralPen::PenRadius = 30.f;
  PenPoint p;
  ASSERT_TRUE(tool->PenAt(320, 240, p));
  StepPenRadius(true);
  PenPoint q;
  ASSERT_TRUE(tool->PenAt(320, 240, q));
  EXPECT_NEAR(q.Radius / p.Radius, 1.15f, 1e-3f);
}
}  // namespace

namespace {
// The rows the panel would list for an object, by name.
std::vector<std::string> PanelRows(BaseClass& c) {
  std::vector<std::string> rows;
  const int n = c.GetAmountOfEditableElements(&c, 7);
  for (int i = 0; i < n; ++i)
    if (const char* id = c.GetEditableElementID(i, &c, 7)) rows.push_back(id);
  return rows;
}

TEST_F(ToolFixture, PanelShowsThePenFirstAndOnlyTheModesOwnSettings) {
  const std::vector<std::string> top = PanelRows(*tool);
  ASSERT_GE(top.size(), 3u);
  EXPECT_EQ(top[0], "VoxelPenSettings");
  const std::vector<std::string> pen = PanelRows(tool->Pen);
  for (const char* want :
       {"PenRadius", "DeepDegree", "Falloff", "PenPressureMode", "PenSensivity", "EnableFarPlane", "ShapeDepthLimit", "MirrorX"})
    EXPECT_NE(std::find(pen.begin(), pen.end(), want), pen.end()) << want;

  ASSERT_TRUE(tool->SelectMode(SCULPT_CARVE));
  const std::vector<std::string> carve = PanelRows(tool->Settings);
  EXPECT_LT(carve.size(), 10u);
  EXPECT_NE(std::find(carve.begin(), carve.end(), "DoubleSided"), carve.end());
  EXPECT_NE(std::find(carve.begin(), carve.end(), "InvertToolAction4"), carve.end());
  EXPECT_EQ(std::find(carve.begin(), carve.end(), "GrowPower"), carve.end());
  EXPECT_EQ(std::find(carve.begin(), carve.end(), "InvertToolAction0"), carve.end());
  ASSERT_TRUE(tool->SelectMode(SCULP_GROW));
  const std::vector<std::string> grow = PanelRows(tool->Settings);
  EXPECT_NE(std::find(grow.begin(), grow.end(), "GrowPower"), grow.end());
  EXPECT_EQ(std::find(grow.begin(), grow.end(), "DoubleSided"), grow.end());
  // Without a tool every setting is listed (files and the class explorer).
  VoxelBrushSettings all;
  EXPECT_GT(PanelRows(all).size(), 80u);
}

TEST_F(ToolFixture, MirrorBoxesAreTheSymmetryBits) {
  tool->Pen.MirrorX = true;
  tool->Pen.MirrorZ = true;
  tool->Pen.OnChange(&tool->Pen, &tool->Pen.MirrorZ, nullptr, "MirrorZ");
  EXPECT_EQ(GeneralPen::Symmetry, 5);
  GeneralPen::Symmetry = 2;
  tool->Pen.Sync();
  EXPECT_FALSE(tool->Pen.MirrorX);
  EXPECT_TRUE(tool->Pen.MirrorY);
  EXPECT_FALSE(tool->Pen.MirrorZ);
}
}  // namespace

namespace {
// Counts what the tool hands to the handler of its mode; takes presses only.
struct CountingHandler : VoxelModeHandler {
  static inline int downs, ups, moves, keys, activations, deactivations;
  bool OnLMBDown(VoxelSculptTool&) override { return ++downs, true; }
  bool OnLMBUp(VoxelSculptTool&) override { return ++ups, true; }
  bool OnMouseMove(VoxelSculptTool&) override { return ++moves, true; }
  bool OnKey(VoxelSculptTool&, int) override { return ++keys, false; }
  void Activate(VoxelSculptTool&) override { ++activations; }
  void Deactivate(VoxelSculptTool&) override { ++deactivations; }
};
}  // namespace

TEST_F(ToolFixture, AModesHandlerTakesItsEventsAndTheStrokeRoadIsLeftAlone) {
  CountingHandler::downs = CountingHandler::ups = CountingHandler::moves = CountingHandler::keys = 0;
  CountingHandler::activations = CountingHandler::deactivations = 0;
  RegisterVoxelModeHandler(SCULP_TUBE, [] { return std::make_unique<CountingHandler>(); });
  const VolumeSnapshot untouched = Snapshot(volume);
  ASSERT_TRUE(tool->SelectMode(SCULP_TUBE));
  EXPECT_EQ(CountingHandler::activations, 1);
  Drag(kPath);
  EXPECT_EQ(CountingHandler::downs, 1);
  EXPECT_EQ(CountingHandler::ups, 1);
  EXPECT_GE(CountingHandler::moves, 3);
  EXPECT_EQ(tool->Message(), "") << "the handler took the press: the stroke road never refused it";
  EXPECT_EQ(Snapshot(volume), untouched);
  // A key the handler leaves goes on to the tool's own keys, and "]" (a hot
  // key of the pen's radius) on past the tool to the hot-key table.
  const float radius = GeneralPen::PenRadius;
  EXPECT_FALSE(tool->OnKey(keys::RightBracket));
  EXPECT_EQ(CountingHandler::keys, 1);
  EXPECT_EQ(GeneralPen::PenRadius, radius);
  // Leaving the mode deactivates the handler; other modes never reach it.
  ASSERT_TRUE(tool->SelectMode(SCULPT_CARVE));
  EXPECT_EQ(CountingHandler::deactivations, 1);
  Drag(kPath);
  EXPECT_EQ(CountingHandler::downs, 1);
  EXPECT_NE(Snapshot(volume), untouched);
  RegisterVoxelModeHandler(SCULP_TUBE, nullptr);
}

TEST_F(ToolFixture, AMirroredDragCarvesTheMirrorImageOfItself) {
  GeneralPen::Symmetry = 1;
  tool->SelectMode(SCULPT_CARVE);
  GeneralPen::PenRadius = 12.f;
  VolumeObject before;
  MakeSphere(before);
  // As the window starts: the view turned and tilted, and shifted off the panels.
  cam.SetHome(comms::cVec3(0, 0, 0), 100.f,
              comms::cQuat::FromAxisAngle(comms::cVec3(1, 0, 0), -0.25f) *
                  comms::cQuat::FromAxisAngle(comms::cVec3(0, 1, 0), 0.45f));
  cam.ShiftX = 150;
  // Left of the sphere's middle, across; the mirror image across x = 0 lies elsewhere on screen.
  Drag({{230, 200}, {250, 200}, {270, 200}, {290, 200}});
  GeneralPen::Symmetry = 0;
  long carvedLeft = 0, carvedRight = 0, mismatched = 0;
  const int r = int(kSphere) + 4;
  for (int z = -r; z <= r; ++z)
    for (int y = -r; y <= r; ++y)
      for (int x = -r; x <= r; ++x) {
        const int here = volume.GetVoxel(x, y, z), there = volume.GetVoxel(-x, y, z);
        // Where the two copies overlap at the plane, the last bit of the
        // field may round either way.
        if (std::abs(here - there) > 1) ++mismatched;
        if (x != 0 && here < before.GetVoxel(x, y, z)) (x < 0 ? carvedLeft : carvedRight)++;
      }
  EXPECT_GT(carvedLeft, 0);
  EXPECT_EQ(carvedLeft, carvedRight);
  EXPECT_EQ(mismatched, 0);
}

// A stencil over the view holds a carve dragged through the router where it
// is dark: no lattice point seen under its dark half changes, while the light
// half is cut. The stencil is read where each lattice point lies on the
// screen, in a volume at the origin and in one placed smaller and off it.
TEST_F(ToolFixture, AStencilHoldsADragUnderItsDarkPart) {
  if (!testfiles::HaveConvert()) GTEST_SKIP() << "ImageMagick is not installed (scripts/deps.sh --tests)";
  comms::cImage picture;
  // 65 x 49 pixels over 650 x 490 view pixels: dark where the view's x < 320.
  ASSERT_TRUE(testfiles::MagickImage("-size 65x49 xc:white -fill black", "-draw \"rectangle 0,0 31,48\"",
                                     testfiles::FreshFolder() + "stencil.png", picture));
  StencilMask mask;
  mask.ProjectThrough(cam);
  ASSERT_TRUE(mask.SetStencil(picture, 0, 0, 650, 490));
  GeneralPen::Mask = &mask;
  tool->SelectMode(SCULPT_CARVE);
  for (bool placed : {false, true}) {
    SCOPED_TRACE(placed);
    VolumeObject moved;
    if (placed) {
      const float m[16] = {0.8f, 0, 0, 0, 0, 0.8f, 0, 0, 0, 0, 0.8f, 0, -3.f, 2.f, 1.f, 1};
      moved.SetTransform(m);
    }
    MakeSphere(moved);
    tool->SetScene(&moved, &cam);
    const VolumeSnapshot untouched = Snapshot(moved);
    Drag(kPath);
    const VolumeSnapshot cut = Snapshot(moved);
    int light = 0;
    for (const auto& [key, values] : cut) {
      const auto before = untouched.find(key);
      for (int i = 0; i < kCellVoxels; ++i) {
        const uint16_t old = before == untouched.end() ? 0 : before->second[i];
        if (values[i] == old) continue;
        const int x = i % 9, y = i / 9 % 9, z = i / 81;
        const float lattice[3] = {(float)(std::get<0>(key) * 8 + x), (float)(std::get<1>(key) * 8 + y),
                                  (float)(std::get<2>(key) * 8 + z)};
        float scene[3];
        moved.PointToScene(lattice, scene);
        const comms::cVec3 s = cam.ProjectToView(comms::cVec3(scene[0], scene[1], scene[2]));
        ASSERT_GT(s.x, 315.f) << "changed under the dark part at " << s.x << ", " << s.y;
        light += s.x > 330.f;
      }
    }
    EXPECT_GT(light, 20);
  }
  tool->SetScene(&volume, &cam);
  GeneralPen::Mask = nullptr;
}
