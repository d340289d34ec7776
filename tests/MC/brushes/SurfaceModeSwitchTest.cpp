// Surface mode through the voxel room's tool and the tool router: the switch
// offers the surface list and swaps a voxel mode for a surface tool and back,
// a drag moves the surface and leaves the voxels until the mode is left,
// leaving writes the surface into the voxels as one undoable edit, a surface
// tool outside surface mode writes the voxels at pen-up, and a scene saved in
// surface mode carries the edit in its voxels and keeps the live surface.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>

#include "ToolTableKit.h"
#include "BrushTestKit.h"
#include "../mesh/SurfaceDistance.h"
#include "MC/brushes/VoxelSculptTool.h"
#include "paint/file/SceneFile.h"
#include "render/Viewer.h"
#include "shell/tools/RouterDrag.h"
#include "shell/tools/ToolRouter.h"

namespace {

struct SurfaceSwitch : ::testing::Test {
  GeneralPenSaver savedPen;
  SimplePen pen;
  ToolTable table;
  ToolRouter router{table};
  comms::cFreeViewer cam;
  VolumeObject volume;
  VoxelSculptTool* tool = nullptr;
  int records = 0;

  void SetUp() override {
    GeneralPen::CurrentPenPtr = &pen;
    GeneralPen::DeepDegree = 0.8f;
    GeneralPen::PenRadius = 40.f;
    cam.ViewRect = comms::cRect{0, 0, 640, 480};
    cam.SetHome(comms::cVec3(0, 0, 0), 100.f, comms::cQuat());
    tool = CurrentVoxelTool(table);
    ASSERT_NE(tool, nullptr);
    FillVolume(volume, SphereShape(0, 0, 0, 28));
    volume.UpdateSurface();
    tool->SetScene(&volume, &cam);
    // Each undo record: the copies are dropped as the stack would take them.
    tool->OnStrokeEnd = [this](VolumeObject& v) {
      ++records;
      v.DropUndoCopies();
    };
  }
  void TearDown() override { Pointer() = ToolPointer(); }
};

const std::vector<std::pair<float, float>> kPath = {{290, 240}, {310, 236}, {330, 244}, {350, 240}};

}  // namespace

TEST_F(SurfaceSwitch, TheSwitchOffersTheSurfaceListAndGivesTheVoxelModeBack) {
  tool->SelectMode(SCULPT_CARVE);
  EXPECT_EQ(tool->GetToolList(), GetEnumerator("VOXMODES"));
  tool->SetSurfaceMode(true);
  EXPECT_TRUE(volume.SurfaceMode);
  EXPECT_EQ(tool->GetToolList(), GetEnumerator("VOXSURFMODES"));
  EXPECT_EQ(tool->Mode, SCULPT_DRAW) << "carve is no surface tool";
  // A voxel mode chosen meanwhile gives way at the next frame.
  tool->SelectMode(SCULP_GROW);
  table.RunFrame();
  EXPECT_EQ(tool->Mode, SCULPT_DRAW);
  EXPECT_EQ(tool->ModeBeforeSurface, SCULP_GROW);
  tool->SetSurfaceMode(false);
  EXPECT_FALSE(volume.SurfaceMode);
  EXPECT_EQ(tool->Mode, SCULP_GROW);
  EXPECT_EQ(tool->GetToolList(), GetEnumerator("VOXMODES"));
  // The transform and the surface tools stay when the mode is entered.
  tool->SelectMode(SCULP_PLANE);
  tool->SetSurfaceMode(true);
  EXPECT_EQ(tool->Mode, SCULP_PLANE);
  tool->SetSurfaceMode(false);
  EXPECT_EQ(tool->Mode, SCULP_PLANE);
}

TEST_F(SurfaceSwitch, ADragInSurfaceModeKeepsTheVoxelsUntilTheModeIsLeft) {
  tool->SetSurfaceMode(true);
  tool->SelectMode(SCULPT_DRAW);
  const VolumeSnapshot voxels = Snapshot(volume);
  WeldedMeshBuilder before;
  volume.ExtractWeldedAll(before);
  const double size = Analyse(before).signedVolume;
  DragThrough(router, table, kPath);
  EXPECT_TRUE(Snapshot(volume) == voxels);
  EXPECT_TRUE(volume.SurfaceChanged);
  EXPECT_EQ(records, 1) << "the stroke is one undo record";
  WeldedMeshBuilder moved;
  volume.ExtractWeldedAll(moved);
  const MeshTopology t = Analyse(moved);
  EXPECT_EQ(t.badEdges, 0);
  EXPECT_GT(t.signedVolume, size + 5);
  const long inside = InsideCount(volume);
  tool->SetSurfaceMode(false);
  EXPECT_EQ(records, 2) << "leaving surface mode is an undoable edit";
  EXPECT_GT(InsideCount(volume), inside) << "the raised surface is in the voxels now";
  EXPECT_FALSE(volume.SurfaceChanged);
  const MeshTopology after = Surface(volume);
  EXPECT_EQ(after.badEdges, 0);
  EXPECT_NEAR(after.signedVolume, t.signedVolume, 0.01 * t.signedVolume);
}

TEST_F(SurfaceSwitch, ASurfaceToolOutsideSurfaceModeWritesTheVoxelsAtPenUp) {
  tool->SelectMode(SCULP_MOVE);
  const long inside = InsideCount(volume);
  DragThrough(router, table, {{320, 240}, {340, 240}, {360, 240}});
  EXPECT_FALSE(volume.SurfaceMode);
  EXPECT_FALSE(volume.SurfaceChanged);
  EXPECT_NE(InsideCount(volume), inside);
  EXPECT_EQ(records, 1);
  EXPECT_EQ(Surface(volume).badEdges, 0);
}

namespace {
// Every vertex of every cell, as bytes.
std::string VertexBytes(VolumeObject& v) {
  std::string out;
  v.Cells.ForEach([&](const CellKey&, VoxelCell*& c) {
    if (c->Surface)
      out.append((const char*)c->Surface->Vertices.Data, sizeof(MCVertex) * (size_t)c->Surface->Vertices.Count);
  });
  return out;
}
class EverySurfaceTool : public SurfaceSwitch, public ::testing::WithParamInterface<int> {};
}  // namespace

TEST_P(EverySurfaceTool, ADragThroughTheRouterChangesTheSurfaceAndKeepsItClosed) {
  tool->SetSurfaceMode(true);
  ASSERT_TRUE(tool->SelectMode(GetParam()));
  const std::string before = VertexBytes(volume);
  const VolumeSnapshot voxels = Snapshot(volume);
  DragThrough(router, table, kPath);
  EXPECT_TRUE(tool->Message().empty()) << tool->Message();
  EXPECT_NE(VertexBytes(volume), before);
  EXPECT_TRUE(Snapshot(volume) == voxels);
  EXPECT_EQ(records, 1);
  WeldedMeshBuilder m;
  volume.ExtractWeldedAll(m);
  EXPECT_EQ(Analyse(m).badEdges, 0);
}

INSTANTIATE_TEST_SUITE_P(SurfaceList, EverySurfaceTool,
                         ::testing::Values(SCULPT_SMOOTH, SCULP_MOVE, SCULPT_DRAW, SCULPT_PINCH, SCULP_FOLLOW,
                                           SCULP_PLANE, SCULP_PLANE2, SCULP_SCLAY, SCULP_SFILL, SCULP_SFEXTRUDE0,
                                           SCULP_SFEXTRUDE, SCULP_SFEXTRUDEA, SCULP_SFREEZE, SCULPT_RAPID));

namespace {
// The farthest vertex of `m` from the triangles of `to` (1 voxel when none is near).
double Farthest(const WeldedMeshBuilder& m, const WeldedMeshBuilder& to) {
  const meshtest::Soup soup = meshtest::SoupOf(to);
  const meshtest::NearTriangles near(soup, 1.f);
  double worst = 0;
  for (int i = 0; i < m.VertexCount(); ++i) {
    const double p[3] = {m.Positions[i * 3], m.Positions[i * 3 + 1], m.Positions[i * 3 + 2]};
    worst = std::max(worst, near.Distance(p));
  }
  return worst;
}
}  // namespace

TEST_F(SurfaceSwitch, ASceneSavedInSurfaceModeCarriesTheEditInItsVoxels) {
  tool->SetSurfaceMode(true);
  tool->SelectMode(SCULPT_DRAW);
  const long inside = InsideCount(volume);
  DragThrough(router, table, kPath);
  ASSERT_TRUE(volume.SurfaceChanged);
  WeldedMeshBuilder edited;
  volume.ExtractWeldedAll(edited);
  const std::string live = VertexBytes(volume);

  tool->SceneVolumes = [this] { return std::vector<VolumeObject*>{&volume}; };
  const std::string path =
      std::string(::testing::TempDir()) + "surface_mode_scene_" + std::to_string(getpid()) + ".mvn";
  ASSERT_TRUE(SaveToolBlocks(path, {tool}).ok);
  // Saving ends neither the mode nor the surface the user works on.
  table.RunFrame();
  EXPECT_TRUE(volume.SurfaceMode);
  EXPECT_EQ(tool->Mode, SCULPT_DRAW);
  EXPECT_EQ(VertexBytes(volume), live);
  EXPECT_GT(InsideCount(volume), inside) << "the raised surface is in the voxels now";
  EXPECT_EQ(records, 1) << "saving is no edit of its own";

  VoxelSculptTool loader;
  std::vector<std::unique_ptr<VolumeObject>> taken;
  loader.SceneVolumes = [] { return std::vector<VolumeObject*>(); };
  loader.TakeVolumes = [&](std::vector<std::unique_ptr<VolumeObject>>&& v) { taken = std::move(v); };
  ASSERT_TRUE(LoadToolBlocks(path, {&loader}).ok);
  std::remove(path.c_str());
  ASSERT_EQ(taken.size(), 1u);
  VolumeObject& back = *taken[0];
  EXPECT_TRUE(back.SurfaceMode);
  back.UpdateSurface();
  WeldedMeshBuilder carried;
  back.ExtractWeldedAll(carried);
  EXPECT_LT(Farthest(carried, edited), 0.1);
  EXPECT_LT(Farthest(edited, carried), 0.1);
  // The loaded voxels alone give the edited surface again.
  back.Cells.ForEach([&](const CellKey& k, VoxelCell*&) { back.MarkDirty(k.x, k.y, k.z, false); });
  back.UpdateSurface();
  WeldedMeshBuilder fromVoxels;
  back.ExtractWeldedAll(fromVoxels);
  EXPECT_EQ(Analyse(fromVoxels).badEdges, 0);
  EXPECT_LT(Farthest(fromVoxels, edited), 0.1);
  EXPECT_LT(Farthest(edited, fromVoxels), 0.1);
}
