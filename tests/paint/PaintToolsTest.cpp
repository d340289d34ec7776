// The paint room's brush tools driven through the tool router with a
// synthetic camera: the table holds the pen, eraser and smudge as real tools
// and the rest of the room as pending ones; their panels come from their
// members; a drag paints exactly as the same hits given to the dabs directly;
// the eraser takes the paint back and the smudge drags colour along.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "PaintMeshes.h"
#include "paint/PenShapes.h"
#include "paint/tools/PaintBrushTools.h"
#include "platform/Keys.h"
#include "render/Viewer.h"
#include "shell/tools/RouterDrag.h"
#include "shell/tools/ToolRouter.h"

using comms::cVec3;

namespace {

// Looks down -z at the middle of a 4 x 3 sheet from 4 units, 640 x 480
// pixels: one unit is about 90 pixels at the sheet, pixel rows grow downward.
comms::cFreeViewer TopCamera() {
  comms::cFreeViewer cam;
  cam.ViewRect = comms::cRect{0, 0, 640, 480};
  cam.SetHome(cVec3(2, 1.5f, 0), 4.f, comms::cQuat());
  return cam;
}

struct PaintToolFixture : ::testing::Test {
  GeneralPenSaver savedPen;
  SimplePen pen;
  ToolTable table;
  ToolRouter router{table};
  comms::cFreeViewer cam = TopCamera();
  PaintScene scene;

  void SetUp() override {
    GeneralPen::Reset();
    GeneralPen::CurrentPenPtr = &pen;
    GeneralPen::PenRadius = 12.f;  // about 0.13 units
    GeneralPen::DrawDepth = GeneralPen::DrawSpecular = false;
    GeneralPen::Color[0] = 1, GeneralPen::Color[1] = 0, GeneralPen::Color[2] = 0;
    ToolProviders providers;
    RegisterPaintTools(providers);
    RegisterStandardTools(table, providers);
    ASSERT_TRUE(ImportMeshIntoScene(scene, paintmeshes::Sheet(4, 3), PaintImportMode::MicroVertex,
                                    paintmeshes::Grid(4)).ok);
    scene.NewLayer(true);
    for (const char* name : {"StdPen", "EraserTool", "SmudgeTool"}) FindPaintTool(table, name)->SetScene(&scene, &cam);
  }
  void TearDown() override { Pointer() = ToolPointer(); }

  void Drag(const char* tool, const std::vector<std::pair<float, float>>& path) {
    table.SetCurrentTool(tool);
    DragThrough(router, table, path);
  }
  // The layer's samples, face by face.
  std::vector<LayerMicroVertex> Layer(PaintScene& s) {
    std::vector<LayerMicroVertex> all;
    for (int f = 0; f < (int)s.Faces.size(); f++) {
      FaceLayer* fl = s.GetFaceLayer(f, s.CurrentLayer, false);
      LayerMicroVertex empty;
      for (int i = 0; i < s.Faces[f].SampleCount(); i++) all.push_back(fl ? fl->Data[i] : empty);
    }
    return all;
  }
  // Red of the composite at a world point of the sheet (16 x 16 samples a face).
  int RedAt(float x, float y) {
    const int f = (int)y * 4 + (int)x;
    const int gx = (int)((x - (int)x) * 16), gy = (int)((y - (int)y) * 16);
    return (int)((scene.Faces[f].Grid[gy * 16 + gx].Color >> 16) & 255);
  }
};

const std::vector<std::pair<float, float>> kPath = {{200, 240}, {260, 236}, {330, 244}, {420, 240}};

}  // namespace

TEST_F(PaintToolFixture, ThePaintRoomsToolsAndTheirPanels) {
  for (const char* name : {"StdPen", "EraserTool", "SmudgeTool"}) {
    BasicTool* t = table.FindTool(name);
    ASSERT_NE(dynamic_cast<PaintBrushTool*>(t), nullptr) << name;
    EXPECT_TRUE(t->IsAvailable()) << name;
    EXPECT_TRUE(t->UsesPenSettings()) << name;
    EXPECT_STREQ(t->GetRoomName(), "Paint");
  }
  // The rest of the room waits for its turn.
  for (const char* name : {"ChangeColor", "CloneTool", "PickTool", "TextTool"}) {
    BasicTool* t = table.FindTool(name);
    ASSERT_NE(t, nullptr) << name;
    EXPECT_FALSE(t->IsAvailable()) << name;
    EXPECT_STREQ(t->GetSecondHintId(), "NOT_AVAILABLE_YET");
  }
  // The pen's panel rows are its members.
  BasicTool* std = table.FindTool("StdPen");
  std::vector<std::string> rows;
  for (int i = 0; i < std->GetAmountOfElements(); i++) rows.push_back(std->GetElementID(i));
  for (const char* row : {"UseFillParams", "DrawDepth", "DrawColor", "DrawSpecular"})
    EXPECT_NE(std::find(rows.begin(), rows.end(), row), rows.end()) << row;
}

TEST_F(PaintToolFixture, ADragPaintsAsTheSameHitsGivenToTheDabs) {
  Drag("StdPen", kPath);
  EXPECT_FALSE(FindPaintTool(table, "StdPen")->Stroking());
  EXPECT_GT(RedAt(2.0f, 1.5f), 150);
  EXPECT_LT(RedAt(2.0f, 0.3f), 140);  // far from the path: the sheet's grey
  EXPECT_FALSE(scene.DirtyFaces.empty());
  // The same path, picked through the camera and dabbed directly.
  PaintScene direct;
  ASSERT_TRUE(ImportMeshIntoScene(direct, paintmeshes::Sheet(4, 3), PaintImportMode::MicroVertex,
                                  paintmeshes::Grid(4)).ok);
  direct.NewLayer(true);
  PaintBrushTool probe;
  probe.SetScene(&direct, &cam);
  PaintDabs dabs(direct);
  dabs.Begin(1);
  std::vector<LayerMicroVertex> viaTool = Layer(scene);
  // The tool spaces dabs along the drag; replay its hits by the same spacer.
  StrokeSpacer spacer(probe, [&](const Dab& d) {
    PaintPenPoint at;
    ASSERT_TRUE(probe.PenAt(d.ScreenX, d.ScreenY, at));
    PenHit h;
    h.Pos = cVec3(d.Hit.Pos[0], d.Hit.Pos[1], d.Hit.Pos[2]);
    h.Face = d.Hit.Face, h.WorldRadius = at.WorldRadius, h.ViewDir = cam.Forward;
    dabs.Dab(h);
  });
  spacer.Begin();
  PaintPenPoint p;
  for (auto [x, y] : kPath) {
    ASSERT_TRUE(probe.PenAt(x, y, p));
    spacer.Step(x, y, p.WorldRadius);
  }
  dabs.End();
  const std::vector<LayerMicroVertex> viaDabs = Layer(direct);
  ASSERT_EQ(viaDabs.size(), viaTool.size());
  EXPECT_EQ(std::memcmp(viaDabs.data(), viaTool.data(), viaTool.size() * sizeof(viaTool[0])), 0);
}

TEST_F(PaintToolFixture, TheEraserTakesPaintBackAndTheSmudgeDragsIt) {
  Drag("StdPen", kPath);
  ASSERT_GT(RedAt(2.0f, 1.5f), 150);
  Drag("EraserTool", {{300, 240}, {340, 240}});
  EXPECT_LT(RedAt(2.0f, 1.5f), 140);
  EXPECT_GT(RedAt(1.2f, 1.5f), 150);  // outside the eraser's path
  // Smudge from the red band up into the grey (pixel rows grow downward):
  // red follows the pen.
  const int before = RedAt(0.78f, 1.75f);
  Drag("SmudgeTool", {{210, 240}, {210, 225}, {210, 210}, {210, 195}});
  EXPECT_GT(RedAt(0.78f, 1.75f), before + 10);
}

// The radius steps are commands with hot keys ("[" and "]" by default): the
// pen tool leaves those keys to the hot-key table, so a user may rebind them.
TEST_F(PaintToolFixture, RadiusStepsStayInRangeAndTheBracketsAreLeftToHotKeys) {
  GeneralPenSaver keep;
  BasicTool* pen = FindPaintTool(table, "StdPen");
  GeneralPen::PenRadius = 20;
  StepPenRadius(true);
  EXPECT_FLOAT_EQ(GeneralPen::PenRadius, 23);
  StepPenRadius(false);
  EXPECT_NEAR(GeneralPen::PenRadius, 20, 1e-4f);
  GeneralPen::PenRadius = 499;
  StepPenRadius(true);
  EXPECT_EQ(GeneralPen::PenRadius, 500.0f);
  GeneralPen::PenRadius = 1.05f;
  StepPenRadius(false);
  EXPECT_EQ(GeneralPen::PenRadius, 1.0f);
  GeneralPen::PenRadius = 20;
  EXPECT_FALSE(pen->OnKey(keys::RightBracket));
  EXPECT_FALSE(pen->OnKey(keys::LeftBracket));
  EXPECT_EQ(GeneralPen::PenRadius, 20.0f);
}

// With the x axis of symmetry on, a drag over one half of a sheet centred on
// the plane x = 0 paints the other half as its mirror image; with it off, the
// other half stays grey.
TEST_F(PaintToolFixture, SymmetryPaintsTheMirroredTrackToo) {
  for (int symmetry : {0, 1}) {
    SCOPED_TRACE(symmetry);
    comms::cMesh sheet = paintmeshes::Sheet(4, 3);
    for (auto& p : sheet.positions) p.x -= 2;
    PaintScene mirrored;
    ASSERT_TRUE(ImportMeshIntoScene(mirrored, sheet, PaintImportMode::MicroVertex, paintmeshes::Grid(4)).ok);
    mirrored.NewLayer(true);
    comms::cFreeViewer view;
    view.ViewRect = comms::cRect{0, 0, 640, 480};
    view.SetHome(cVec3(0, 1.5f, 0), 4.f, comms::cQuat());
    FindPaintTool(table, "StdPen")->SetScene(&mirrored, &view);
    GeneralPen::Symmetry = symmetry;
    // Right of the plane (screen x 360 and more: world x 0.45 to 1.6), a
    // little slanted so that up and down would show a flip.
    Drag("StdPen", {{360, 250}, {400, 240}, {440, 232}, {470, 226}});
    GeneralPen::Symmetry = 0;
    auto red = [&](float x, float y) {
      const int fx = (int)std::floor(x + 2), fy = (int)y;
      const int gx = (int)((x + 2 - fx) * 16), gy = (int)((y - fy) * 16);
      return (int)((mirrored.Faces[fy * 4 + fx].Grid[gy * 16 + gx].Color >> 16) & 255);
    };
    int painted = 0, mirroredPainted = 0, worst = 0, middle = 0;
    for (float y = 0.03125f; y < 3; y += 0.0625f)
      for (float x = 0.03125f; x < 2; x += 0.0625f) {
        const int right = red(x, y), left = red(-x, y);
        painted += right > 150, mirroredPainted += left > 150;
        worst = std::max(worst, std::abs(right - left));
        // The pen (0.13 units) starts at x = 0.45: each copy keeps to its
        // own track, none sweeps across the plane to the other.
        if (x < 0.25f) middle += right > 150 || left > 150;
      }
    EXPECT_GT(painted, 10);
    EXPECT_EQ(middle, 0);
    if (symmetry) {
      EXPECT_EQ(mirroredPainted, painted);
      EXPECT_LE(worst, 8) << "the copy should be the mirror image";
    } else {
      EXPECT_EQ(mirroredPainted, 0);
    }
    FindPaintTool(table, "StdPen")->SetScene(&scene, &cam);
  }
}
