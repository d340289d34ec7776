// The drawn-shape tools and the hiding tools driven through the tool router
// on a seeded sphere that lives in a layer tree: cell hiding takes cells out
// of drawing, picking and export and brings them back exactly; "Hide" moves
// density into the invisible _HiddenSpace row and back, conserving it; the
// splits make a new layer behind the row or hand the cut piece to the merge
// tool; an ordinary tool with a shape pen adds a solid, cuts when inverted,
// and the extruding tools move the surface; the pen's far plane stops a shape
// at its depth limit; the freeze tool freezes what lies under the shape;
// every edit undoes to the byte, and the same shape with one or two threads
// gives the same bytes.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <sstream>
#include <vector>

#include "../tree/TreeStreamKit.h"
#include "ToolTableKit.h"
#include "BrushTestKit.h"
#include "FrontCamera.h"
#include "ClassEngine/DataFolder.h"
#include "MC/brushes/ReplayCommand.h"
#include "MC/brushes/DrawnShapeTools.h"
#include "MC/brushes/HideTools.h"
#include "MC/brushes/VolumePick.h"
#include "MC/brushes/VoxelSculptTool.h"
#include "MC/tree/VoxVisualTree.h"
#include "MC/tree/VolumeHiding.h"
#include "interchange/Mesh.h"
#include "platform/Keys.h"
#include "render/NullRender.h"
#include "render/Viewer.h"
#include "shell/tools/RouterDrag.h"
#include "shell/tools/ToolRouter.h"

namespace {
constexpr float kSphere = 28.f;

// Sum of two volumes' values at every lattice point of the sphere's box.
long long DensitySum(VolumeObject& a, VolumeObject* b) {
  long long sum = 0;
  for (int z = -36; z < 36; ++z)
    for (int y = -36; y < 36; ++y)
      for (int x = -36; x < 36; ++x) sum += a.GetVoxel(x, y, z) + (b ? b->GetVoxel(x, y, z) : 0);
  return sum;
}

struct ShapeToolFixture : ::testing::Test {
  GeneralPenSaver savedPen;
  SimplePen pen;
  ToolTable table;
  ToolRouter router{table};
  comms::cFreeViewer cam = FrontCamera();
  VoxVisualTree tree;
  VoxTreeBranch* row = nullptr;
  VolumeObject* volume = nullptr;
  VoxelSculptTool* tool = nullptr;
  int records = 0;

  void SetUp() override {
    GeneralPen::CurrentPenPtr = &pen;
    GeneralPen::DeepDegree = 0.5f;
    GeneralPen::PenRadius = 30.f;
    tool = CurrentVoxelTool(table);
    ASSERT_NE(tool, nullptr);
    row = tree.AddVolume(nullptr, nullptr, "Head");
    volume = row->Volume;
    volume->ClearVoxels();
    FillVolume(*volume, SphereShape(0, 0, 0, kSphere));
    volume->UpdateSurface();
    tool->SetScene(volume, &cam);
    tool->Tree = [this] { return &tree; };
    // The records keep the undo copies, so a test can roll them back.
    tool->OnStrokeEnd = [this](VolumeObject&) { ++records; };
    tool->OnMergeEnd = [this](const std::vector<VolumeObject*>&) { ++records; };
  }
  void TearDown() override { Pointer() = ToolPointer(); }
  void Drag(const std::vector<std::pair<float, float>>& path, bool ctrl = false) {
    if (ctrl) router.OnKeyChange(keys::Control, true, false);
    DragThrough(router, table, path);
    if (ctrl) router.OnKeyChange(keys::Control, false, false);
  }
};

const std::vector<std::pair<float, float>> kStroke = {{285, 236}, {305, 238}, {330, 243}, {351, 241}};
// A lasso of seven points, lopsided, around the right of the middle.
const std::vector<std::pair<float, float>> kLasso = {{318, 205}, {361, 214}, {377, 247}, {352, 281},
                                                     {322, 270}, {309, 244}, {318, 205}};

}  // namespace

TEST_F(ShapeToolFixture, CellHidingLeavesDrawingPickingAndExportAndComesBackExactly) {
  const VolumeSnapshot voxels = Snapshot(*volume);
  const auto triangles = CellTriangles(*volume);
  const MeshTopology full = Surface(*volume);
  comms::cVec3 o, d;
  cam.PixelRay(318, 240, o, d);
  const float of[3] = {o.x, o.y, o.z}, df[3] = {d.x, d.y, d.z};
  SurfaceHit hit;
  float before = 0, after = 0;
  ASSERT_TRUE(PickVolume(*volume, of, df, hit, false, &before));

  ASSERT_TRUE(tool->SelectMode(SCULP_CLHIDE));
  Drag(kStroke);
  EXPECT_EQ(records, 1);
  int hidden = 0;
  volume->Cells.ForEach([&](const CellKey&, VoxelCell*& c) { hidden += (c->Flags & kCellHidden) != 0; });
  EXPECT_GT(hidden, 10);
  EXPECT_EQ(Snapshot(*volume), voxels) << "hiding moves no voxel";
  const MeshTopology shown = Surface(*volume);
  EXPECT_LT(shown.faces, full.faces) << "export and drawing leave hidden cells out";
  // The pen passes through hidden cells to what lies behind them.
  const bool hits = PickVolume(*volume, of, df, hit, false, &after);
  EXPECT_TRUE(!hits || after > before + 4.f) << after << " " << before;

  // The inverted stroke shows them again; so does "unhide all".
  Drag(kStroke, true);
  int still = 0;
  volume->Cells.ForEach([&](const CellKey&, VoxelCell*& c) { still += (c->Flags & kCellHidden) != 0; });
  EXPECT_LT(still, hidden);
  UnhideAll(*volume);
  volume->UpdateSurface();
  EXPECT_EQ(CellTriangles(*volume), triangles);
  EXPECT_EQ(Surface(*volume).faces, full.faces);
}

namespace {
// Keeps the lines of the 2D layer.
class LineRecorder : public comms::cNullRender {
 public:
  struct Line {
    float x0, y0, x1, y1;
  };
  std::vector<Line> Lines;
  void DrawLine(float x0, float y0, float x1, float y1, float, uint32_t, uint32_t) override {
    Lines.push_back({x0, y0, x1, y1});
  }
};
}  // namespace

TEST_F(ShapeToolFixture, ShapeIsDrawnOverTheViewWhileTheDragLasts) {
  GeneralPen::DrawShape = kShapeRectangle;
  ASSERT_TRUE(tool->SelectMode(SCULPT_CARVE));
  const VolumeSnapshot before = Snapshot(*volume);
  router.OnPointerMove(301, 207);
  router.OnKeyChange(keys::LeftButton, true, false);
  router.OnPointerMove(333, 219);
  router.OnPointerMove(357, 262);
  table.RunFrame();
  LineRecorder render;
  ASSERT_TRUE(tool->DrawOverlay(render, cam));
  ASSERT_EQ(render.Lines.size(), 4u);
  float lo[2] = {1e9f, 1e9f}, hi[2] = {-1e9f, -1e9f};
  for (const auto& l : render.Lines) {
    lo[0] = std::min({lo[0], l.x0, l.x1}), hi[0] = std::max({hi[0], l.x0, l.x1});
    lo[1] = std::min({lo[1], l.y0, l.y1}), hi[1] = std::max({hi[1], l.y0, l.y1});
  }
  EXPECT_EQ(lo[0], 301.f);
  EXPECT_EQ(lo[1], 207.f);
  EXPECT_EQ(hi[0], 357.f);
  EXPECT_EQ(hi[1], 262.f);
  EXPECT_EQ(Snapshot(*volume), before) << "nothing happens before the shape is finished";
  router.OnKeyChange(keys::LeftButton, false, false);
  table.RunFrame();
  EXPECT_NE(Snapshot(*volume), before);
  render.Lines.clear();
  EXPECT_FALSE(tool->DrawOverlay(render, cam)) << "the finished shape is gone from the view";
  EXPECT_TRUE(render.Lines.empty());
  // Without a shape pen the same mode strokes as before.
  GeneralPen::DrawShape = kShapeNone;
  EXPECT_EQ(tool->Handler(), nullptr);
}

TEST_F(ShapeToolFixture, CellHidingUndoesToTheFlag) {
  ASSERT_TRUE(tool->SelectMode(SCULP_CLHIDE));
  GeneralPen::DrawShape = kShapeLasso;
  const auto triangles = CellTriangles(*volume);
  Drag(kLasso);
  EXPECT_EQ(records, 1);
  int hidden = 0;
  volume->Cells.ForEach([&](const CellKey&, VoxelCell*& c) { hidden += (c->Flags & kCellHidden) != 0; });
  EXPECT_GT(hidden, 3);
  volume->RestoreUndoCopies();
  volume->UpdateSurface();
  EXPECT_EQ(CellTriangles(*volume), triangles);
}

TEST_F(ShapeToolFixture, HideMovesDensityIntoTheHiddenSpaceRowAndConservesIt) {
  const VolumeSnapshot original = Snapshot(*volume);
  const long long total = DensitySum(*volume, nullptr);
  ASSERT_TRUE(tool->SelectMode(SCULP_HIDE));
  Drag(kStroke);
  VolumeObject* companion = HiddenSpaceOf(&tree, *volume, false);
  ASSERT_NE(companion, nullptr);
  EXPECT_EQ(companion->Name, kHiddenSpaceName);
  EXPECT_FALSE(companion->Visible);
  VoxTreeBranch* hiddenRow = tree.BranchOf(companion);
  ASSERT_NE(hiddenRow, nullptr);
  EXPECT_EQ(hiddenRow->ParentBranch, row);
  EXPECT_FALSE(hiddenRow->Visible);
  for (VolumeObject* v : tree.VisibleVolumes()) EXPECT_NE(v, companion) << "the hidden space is never drawn";
  EXPECT_NE(tree.TreeXml().find(kHiddenSpaceName), std::string::npos) << "the scene saves it";
  EXPECT_GT(InsideCount(*companion), 500);
  EXPECT_EQ(DensitySum(*volume, companion), total) << "density moves, none is lost";
  ExpectClosed(Surface(*volume));
  ExpectClosed(Surface(*companion));
  EXPECT_EQ(records, 1) << "one record for both volumes";
  // Undo restores both.
  volume->RestoreUndoCopies();
  companion->RestoreUndoCopies();
  EXPECT_EQ(Snapshot(*volume), original);
  EXPECT_EQ(InsideCount(*companion), 0);
}

TEST_F(ShapeToolFixture, HiddenSpaceTravelsWithTheSceneAndStaysHidden) {
  ASSERT_TRUE(tool->SelectMode(SCULP_HIDE));
  Drag(kStroke);
  VolumeObject* companion = HiddenSpaceOf(&tree, *volume, false);
  ASSERT_NE(companion, nullptr);
  const VolumeSnapshot hidden = Snapshot(*companion), kept = Snapshot(*volume);
  VoxVisualTree back;
  ThroughVolumeStream(tree, back);
  if (HasFatalFailure()) return;
  VoxTreeBranch* head = back.FindByName("Head");
  ASSERT_TRUE(head && head->Volume);
  EXPECT_EQ(back.CurrentVolume, head->Volume) << "the hidden space never becomes current";
  VolumeObject* loaded = HiddenSpaceOf(&back, *head->Volume, false);
  ASSERT_NE(loaded, nullptr);
  EXPECT_FALSE(loaded->Visible);
  EXPECT_EQ(Snapshot(*loaded), hidden);
  EXPECT_EQ(Snapshot(*head->Volume), kept);
  for (VolumeObject* v : back.VisibleVolumes()) EXPECT_NE(v, loaded);
}

TEST_F(ShapeToolFixture, HideByShapeAndBackByTheInvertedShapeRestoresEveryByte) {
  const VolumeSnapshot original = Snapshot(*volume);
  ASSERT_TRUE(tool->SelectMode(SCULP_HIDE));
  GeneralPen::DrawShape = kShapeLasso;
  Drag(kLasso);
  VolumeObject* companion = HiddenSpaceOf(&tree, *volume, false);
  ASSERT_NE(companion, nullptr);
  EXPECT_NE(Snapshot(*volume), original);
  volume->DropUndoCopies();
  companion->DropUndoCopies();
  // A rectangle around the lasso brings everything back.
  GeneralPen::DrawShape = kShapeRectangle;
  Drag({{290, 190}, {340, 240}, {401, 299}}, true);
  EXPECT_EQ(Snapshot(*volume), original);
  EXPECT_EQ(InsideCount(*companion), 0);
}

TEST_F(ShapeToolFixture, RectangleSplitMakesTheNextLayerAndSelectsTheTransform) {
  const long whole = InsideCount(*volume);
  tool->Settings.SplitBorderWidth = 0.f;
  ASSERT_TRUE(tool->SelectMode(SCULPT_RECTSPLIT));
  Drag({{331, 187}, {350, 240}, {409, 293}});
  const int at = tree.IndexOf(row);
  ASSERT_GE(at, 0);
  ASSERT_GT(tree.ChildObjects.NValues, at + 1);
  VoxTreeBranch* split = tree.ChildObjects[at + 1];
  ASSERT_NE(split->Volume, nullptr);
  EXPECT_EQ(split->Volume->Name, "Head_space_copy");
  EXPECT_EQ(tree.CurrentVolume, split->Volume);
  EXPECT_EQ(tool->Volume(), split->Volume);
  EXPECT_EQ(tool->Mode, SCULPT_TRANSFORM);
  for (int k = 0; k < 16; ++k) EXPECT_EQ(split->Volume->Transform[k], volume->Transform[k]);
  const long a = InsideCount(*volume), b = InsideCount(*split->Volume);
  EXPECT_GT(b, 1000);
  EXPECT_LT(a, whole);
  EXPECT_NEAR(a + b, whole, whole / 200) << "with no border the parts barely overlap";
  ExpectClosed(Surface(*split->Volume));
  ExpectClosed(Surface(*volume));
}

TEST_F(ShapeToolFixture, CutAndCloneHandsThePieceToTheMergeTool) {
  const long whole = InsideCount(*volume);
  ASSERT_TRUE(tool->SelectMode(SCULPT_CUTNCLONE));
  // Off the volume: no piece, no mesh, the mode stays.
  Drag({{5, 5}, {40, 30}});
  EXPECT_EQ(tool->Merge.Mesh(), nullptr);
  EXPECT_EQ(tool->Mode, SCULPT_CUTNCLONE);
  Drag({{331, 187}, {409, 293}});
  EXPECT_EQ(tool->Mode, SCULP_MERGE);
  const comms::cMesh* mesh = tool->Merge.Mesh();
  ASSERT_NE(mesh, nullptr);
  EXPECT_GT(mesh->positions.size(), 100u);
  EXPECT_LT(InsideCount(*volume), whole);
  // The mesh sits around the origin; its placement puts it back where it was:
  // right of the middle.
  float lo[3] = {1e9f, 1e9f, 1e9f}, hi[3] = {-1e9f, -1e9f, -1e9f};
  for (const auto& p : mesh->positions) {
    const float q[3] = {p.x, p.y, p.z};
    for (int k = 0; k < 3; ++k) lo[k] = std::min(lo[k], q[k]), hi[k] = std::max(hi[k], q[k]);
  }
  for (int k = 0; k < 3; ++k) EXPECT_NEAR(lo[k] + hi[k], 0.f, 0.01f * (hi[k] - lo[k]));
  EXPECT_GT(tool->Merge.Settings.ShiftX, 5.f);
  EXPECT_NEAR(tool->Merge.Settings.ShiftY, 0.f, 3.f) << "the rectangle spans the middle row";
  EXPECT_NEAR(tool->Merge.Settings.ShiftZ, 0.f, 3.f) << "the cut goes through the whole depth";
  EXPECT_LT(tool->Merge.Settings.MergeScale * (hi[0] - lo[0]) / 2, kSphere + 2);
}

TEST_F(ShapeToolFixture, ShapePenAddsASolidAndCutsWhenInverted) {
  GeneralPen::DrawShape = kShapeCircle;
  GeneralPen::PenRadius = 40.f;
  ASSERT_TRUE(tool->SelectMode(SCULP_SPHERE));
  const VolumeSnapshot original = Snapshot(*volume);
  const long whole = InsideCount(*volume);
  Drag({{331, 231}, {371, 256}});
  EXPECT_GT(InsideCount(*volume), whole + 100);
  ExpectClosed(Surface(*volume));
  volume->RestoreUndoCopies();
  EXPECT_EQ(Snapshot(*volume), original);
  volume->UpdateSurface();
  Drag({{331, 231}, {371, 256}}, true);
  EXPECT_LT(InsideCount(*volume), whole - 100);
  ExpectClosed(Surface(*volume));
}

TEST_F(ShapeToolFixture, MirroredShapeCutsItsMirrorImageToo) {
  GeneralPen::DrawShape = kShapeLasso;
  GeneralPen::Symmetry = 1;  // across x = 0
  ASSERT_TRUE(tool->SelectMode(SCULPT_CARVE));
  Drag(kLasso, true);
  // The lasso lies right of the middle: the point under it and its mirror
  // image are both cut through; beyond the lasso on either side the sphere
  // stays.
  comms::cVec3 o, d;
  cam.PixelRay(340, 245, o, d);
  const float t = -o.z / d.z, x = o.x + d.x * t, y = o.y + d.y * t;
  ASSERT_GT(x, 3.f);
  EXPECT_LT(volume->SampleField(x, y, 0), 8000.f);
  EXPECT_LT(volume->SampleField(-x, y, 0), 8000.f);
  EXPECT_GT(volume->SampleField(20, y, 0), 60000.f);
  EXPECT_GT(volume->SampleField(-20, y, 0), 60000.f);
  ExpectClosed(Surface(*volume));
}

TEST_F(ShapeToolFixture, ExtrudingToolMovesTheSurfaceUnderTheShape) {
  GeneralPen::DrawShape = kShapeRectangle;
  GeneralPen::PenRadius = 20.f;
  tool->Settings.ExtrudeDir = ViewDir;
  ASSERT_TRUE(tool->SelectMode(SCULPT_EXTRUDE));
  const long whole = InsideCount(*volume);
  Drag({{301, 221}, {346, 258}});
  EXPECT_NE(InsideCount(*volume), whole);
  EXPECT_FALSE(volume->SurfaceChanged) << "the moved surface went into the voxels";
  ExpectClosed(Surface(*volume));
}

TEST_F(ShapeToolFixture, OneAndTwoThreadsGiveTheSameBytes) {
  std::vector<VolumeSnapshot> results;
  for (int threads : {1, 2}) {
    VoxVisualTree t;
    VoxTreeBranch* r = t.AddVolume(nullptr, nullptr, "Head");
    r->Volume->ClearVoxels();
    FillVolume(*r->Volume, SphereShape(0, 0, 0, kSphere));
    r->Volume->UpdateSurface();
    tool->Tree = [&t] { return &t; };
    tool->SetScene(r->Volume, &cam);
    DrawnShape shape;
    shape.Kind = kShapeLasso;
    for (auto p : kLasso) shape.Add(p.first, p.second);
    ASSERT_TRUE(shape.Finish());
    ShapeAction action;
    action.Threads = threads;
    action.HasPick = true;
    action.Pick[2] = kSphere;
    for (int mode : {SCULP_SPHERE, SCULP_HIDE, SCULPT_RECTSPLIT}) {
      tool->SelectMode(mode);
      ASSERT_TRUE(ActOnDrawnShape(*tool, shape, action));
    }
    for (VolumeObject* v : t.Volumes()) results.push_back(Snapshot(*v));
    tool->SetScene(nullptr, nullptr);
  }
  ASSERT_EQ(results.size(), 6u);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(results[i], results[i + 3]) << i;
}

namespace {
std::string ReadShapesScript() {
  std::ifstream file(comms::DataFilePath("Replays/shapes.txt"), std::ios::binary);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}
}  // namespace

TEST(ShapeReplay, ScriptOfShapesGivesTheSameBytesWithOneAndTwoThreads) {
  const std::string script = ReadShapesScript();
  ASSERT_FALSE(script.empty());
  VolumeObject one, two;
  for (auto [volume, threads] : {std::pair{&one, "1"}, std::pair{&two, "2"}}) {
    const ReplayResult r = RunReplayScript(std::string("threads ") + threads + "\n" + script, *volume);
    ASSERT_EQ(r.Line, 0) << r.Error;
    EXPECT_EQ(r.Strokes, 5);
  }
  EXPECT_EQ(Snapshot(one), Snapshot(two));
  // What each shape did, at points inside it: the lasso and the spline cut
  // through the whole depth, the circle's solid stands out of the front.
  for (float z : {-40.f, 0.f, 40.f}) {
    EXPECT_LT(one.SampleField(-34, 5, z), 8000.f) << "lasso, depth " << z;
    EXPECT_LT(one.SampleField(-18, -45, z), 8000.f) << "spline, depth " << z;
  }
  EXPECT_GT(one.SampleField(20, 30, std::sqrt(3600.f - 1300.f) + 1.5f), 40000.f) << "the circle's solid";
  int hidden = 0;
  one.Cells.ForEach([&](const CellKey&, VoxelCell*& c) { hidden += (c->Flags & kCellHidden) != 0; });
  EXPECT_GT(hidden, 10);
  // A bad shape line names its fault.
  VolumeObject bad;
  const ReplayResult r = RunReplayScript("sphere 20\ntool carve\nshape 7 0 0 0 1 1 0 2 0 0\n", bad);
  EXPECT_EQ(r.Line, 3);
  EXPECT_NE(r.Error.find("shape"), std::string::npos);
}

TEST(ShapeReplay, ShapesOnTheSculptedHeadKeepItClosedAndLeaveTheCrownAlone) {
  std::ifstream head(comms::DataFilePath("Replays/sphere.txt"), std::ios::binary);
  std::stringstream headScript;
  headScript << head.rdbuf();
  VolumeObject volume;
  ReplayResult r = RunReplayScript(headScript.str(), volume);
  ASSERT_EQ(r.Line, 0) << r.Error;
  const VolumeSnapshot sculpted = Snapshot(volume);
  // The shapes without their own sphere: they act on the head.
  std::string shapes = ReadShapesScript();
  shapes.replace(shapes.find("sphere 60"), 9, "");
  r = RunReplayScript(shapes, volume);
  ASSERT_EQ(r.Line, 0) << r.Error;
  const VolumeSnapshot after = Snapshot(volume);
  EXPECT_NE(after, sculpted);
  // Every shape lies below y = 45 (with its soft border): the crown's cells
  // are the same bytes.
  int crown = 0;
  for (const auto& [key, values] : sculpted)
    if (std::get<1>(key) * 8 >= 56) {
      ++crown;
      auto it = after.find(key);
      ASSERT_NE(it, after.end());
      EXPECT_EQ(it->second, values);
    }
  EXPECT_GT(crown, 20);
  // The hidden cells leave a hole in the export; shown again, the surface is
  // closed.
  EXPECT_GT(Surface(volume).badEdges, 0);
  EXPECT_GT(UnhideAll(volume), 0);
  ExpectClosed(Surface(volume));
}

TEST_F(ShapeToolFixture, FarPlaneStopsTheShapeAtItsDepthLimit) {
  GeneralPen::DrawShape = kShapeRectangle;
  GeneralPen::EnableFarPlane = true;
  GeneralPen::ShapeDepthLimit = 12.f;
  ASSERT_TRUE(tool->SelectMode(SCULP_SPHERE));
  Drag({{310, 225}, {350, 255}}, true);
  EXPECT_EQ(records, 1);
  comms::cVec3 o, d;
  cam.PixelRay(330, 240, o, d);
  auto along = [&](float z) {
    const float t = (z - o.z) / d.z;
    return volume->SampleField(o.x + d.x * t, o.y + d.y * t, z);
  };
  // The front 12 voxels under the rectangle are gone, what lies deeper stays.
  EXPECT_LT(along(kSphere - 6), 16000.f);
  EXPECT_GT(along(kSphere - 20), 60000.f);
  EXPECT_GT(along(-10), 60000.f);
  ExpectClosed(Surface(*volume));
}

TEST_F(ShapeToolFixture, FreezeToolFreezesWhatLiesUnderTheShape) {
  GeneralPen::DrawShape = kShapeRectangle;
  ASSERT_TRUE(tool->SelectMode(SCULP_SFREEZE));
  const VolumeSnapshot voxels = Snapshot(*volume);
  Drag({{300, 220}, {345, 262}});
  EXPECT_EQ(records, 1);
  EXPECT_EQ(Snapshot(*volume), voxels) << "freezing moves no voxel";
  const float pick[3] = {0, 0, kSphere};
  const ShapeView view = ShapeView::Of(*volume, cam, pick);
  DrawnShape rect;
  rect.Kind = kShapeRectangle;
  rect.Add(300, 220);
  rect.Add(345, 262);
  ASSERT_TRUE(rect.Finish());
  int frozen = 0, free = 0;
  volume->Cells.ForEach([&](const CellKey&, VoxelCell*& c) {
    if (!c->Surface) return;
    for (int i = 0; i < c->Surface->Vertices.Count; ++i) {
      const MCVertex& v = c->Surface->Vertices[i];
      const float d = view.Distance(rect, v.Pos, view.S);
      if (d >= 4.f) {
        ++frozen;
        EXPECT_EQ(v.Freeze, 65535);
        const float l = std::sqrt(v.Normal[0] * v.Normal[0] + v.Normal[1] * v.Normal[1] + v.Normal[2] * v.Normal[2]);
        EXPECT_NEAR(l, 1.f + 65535.f / 65536.f, 1e-3f);
      } else if (d <= 0.f) {
        ++free;
        EXPECT_EQ(v.Freeze, 0);
      }
    }
  });
  EXPECT_GT(frozen, 50) << "front and back under the shape";
  EXPECT_GT(free, 500);
  // The inverted shape thaws them again (in its soft border, down to the
  // lower of the two weights).
  Drag({{300, 220}, {345, 262}}, true);
  EXPECT_EQ(records, 2);
  volume->Cells.ForEach([&](const CellKey&, VoxelCell*& c) {
    if (!c->Surface) return;
    for (int i = 0; i < c->Surface->Vertices.Count; ++i) {
      const MCVertex& v = c->Surface->Vertices[i];
      const float w = std::clamp(view.Distance(rect, v.Pos, view.S) / 4.f, 0.f, 1.f);
      EXPECT_LE(v.Freeze, 65535.f * std::min(w, 1 - w) + 1);
    }
  });
}

TEST_F(ShapeToolFixture, MoveAndSmoothingInSurfaceModeExtrudeTheSurfaceUnderTheShape) {
  GeneralPen::DrawShape = kShapeRectangle;
  GeneralPen::PenRadius = 20.f;
  tool->Settings.ExtrudeDir = ViewDir;
  tool->SetSurfaceMode(true);
  const VolumeSnapshot voxels = Snapshot(*volume);
  for (int mode : {SCULP_MOVE, SCULPT_SMOOTH}) {
    ASSERT_TRUE(tool->SelectMode(mode));
    const int before = records;
    std::vector<float> old;
    volume->Cells.ForEach([&](const CellKey&, VoxelCell*& c) {
      if (c->Surface)
        for (int i = 0; i < c->Surface->Vertices.Count; ++i) old.push_back(c->Surface->Vertices[i].Pos[2]);
    });
    Drag({{301, 221}, {346, 258}});
    EXPECT_EQ(records, before + 1) << mode;
    EXPECT_TRUE(Snapshot(*volume) == voxels) << "the voxels wait for the mode to end " << mode;
    EXPECT_TRUE(volume->SurfaceChanged) << mode;
    size_t at = 0;
    int moved = 0;
    volume->Cells.ForEach([&](const CellKey&, VoxelCell*& c) {
      if (c->Surface)
        for (int i = 0; i < c->Surface->Vertices.Count; ++i) moved += c->Surface->Vertices[i].Pos[2] != old[at++];
    });
    EXPECT_GT(moved, 50) << mode;
  }
  WeldedMeshBuilder m;
  volume->ExtractWeldedAll(m);
  EXPECT_EQ(Analyse(m).badEdges, 0);
}

TEST_F(ShapeToolFixture, SurfaceExtrudeToolsMoveByTheirModesUnderTheShape) {
  GeneralPen::DrawShape = kShapeRectangle;
  GeneralPen::PenRadius = 20.f;
  tool->Settings.ExtrudeDir = ViewDir;
  tool->SetSurfaceMode(true);
  // The farthest any vertex went from where the surface began.
  auto farthest = [&] {
    float most = 0;
    volume->Cells.ForEach([&](const CellKey&, VoxelCell*& c) {
      const CellSurface* s = c->Surface;
      if (!s || s->OldVertices.Count != s->Vertices.Count) return;
      for (int i = 0; i < s->Vertices.Count; ++i) {
        const float* p = s->Vertices[i].Pos;
        const float* o = s->OldVertices[i].Pos;
        most = std::max(most, std::hypot(p[0] - o[0], p[1] - o[1], p[2] - o[2]));
      }
    });
    return most;
  };
  const std::vector<std::pair<float, float>> rect = {{301, 221}, {346, 258}};
  // Mode 3 needs depth: at 0.05 the second tool leaves the surface, the first moves it.
  GeneralPen::DeepDegree = 0.05f;
  ASSERT_TRUE(tool->SelectMode(SCULP_SFEXTRUDE));
  Drag(rect);
  EXPECT_EQ(farthest(), 0.f);
  ASSERT_TRUE(tool->SelectMode(SCULP_SFEXTRUDE0));
  Drag(rect);
  EXPECT_GT(farthest(), 0.f);
  tool->SetSurfaceMode(false);
  // Mode 2 stops at the displacement's level; mode 0 goes on.
  GeneralPen::DeepDegree = 0.5f;
  tool->SetSurfaceMode(true);
  ASSERT_TRUE(tool->SelectMode(SCULP_SFEXTRUDEA));
  Drag(rect);
  const float once = farthest();
  Drag(rect);
  EXPECT_GT(once, 0.5f);
  EXPECT_NEAR(farthest(), once, 1e-4f);
  tool->SetSurfaceMode(false);
  tool->SetSurfaceMode(true);
  ASSERT_TRUE(tool->SelectMode(SCULP_SFEXTRUDE0));
  Drag(rect);
  Drag(rect);
  EXPECT_GT(farthest(), 1.8f * once);
}
