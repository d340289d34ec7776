// The voxel room's links in the window: the brush circle sits on the surface
// under the pointer at the pen's pixel radius and only while the voxel tool is
// current; the headless scene is sculpted by the shipped script.
#include <gtest/gtest.h>

#include <cmath>

#include "MC/brushes/VoxelSculptTool.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "paint/GeneralPen.h"
#include "render/NullRender.h"
#include "render/Viewer.h"
#include "shell/VoxelRoom.h"
#include "shell/tools/StandardTools.h"

namespace {
struct VoxelRoomFixture : ::testing::Test {
  GeneralPenSaver keepPen;
  ToolTable table;
  comms::cFreeViewer cam;
  VolumeObject volume;
  comms::cNullRender render;
  VoxelRoomLink link;

  void SetUp() override {
    ToolProviders providers;
    RegisterVoxelTools(providers);
    RegisterStandardTools(table, providers);
    table.SetCurrentTool("VOX_SCULPT_TOOL");
    cam.ViewRect = comms::cRect{0, 0, 640, 480};
    cam.SetHome(comms::cVec3(0, 0, 0), 100.f, comms::cQuat());
    FillVolume(volume, SphereShape(0, 0, 0, 28));
    volume.UpdateSurface();
    ASSERT_TRUE(link.Connect(table, &volume, &cam, nullptr, false));
    GeneralPen::PenRadius = 30.f;
  }
  void TearDown() override { Pointer() = ToolPointer(); }
};

TEST_F(VoxelRoomFixture, BrushCircleHasThePenRadiusOnTheSurface) {
  Pointer().X = 320, Pointer().Y = 240;
  ASSERT_TRUE(link.DrawBrushCursor(render, cam, table));
  ASSERT_EQ(render.Count("DrawLine"), 48);
  for (const comms::RenderCall& c : render.Calls) {
    if (c.Op != "DrawLine") continue;
    // The surface faces the camera here: the circle stays round on screen.
    EXPECT_NEAR(std::hypot(c.Args[0] - 320, c.Args[1] - 240), 30.0, 1.5);
    EXPECT_NEAR(std::hypot(c.Args[2] - 320, c.Args[3] - 240), 30.0, 1.5);
  }
  // Near the rim the surface turns away: the circle flattens across it.
  render.ClearCalls();
  Pointer().X = 320 + 88, Pointer().Y = 240;  // the sphere spans about 100 pixels
  ASSERT_TRUE(link.DrawBrushCursor(render, cam, table));
  double minX = 1e9, maxX = -1e9, minY = 1e9, maxY = -1e9;
  for (const comms::RenderCall& c : render.Calls)
    if (c.Op == "DrawLine")
      minX = std::min(minX, c.Args[0]), maxX = std::max(maxX, c.Args[0]), minY = std::min(minY, c.Args[1]),
      maxY = std::max(maxY, c.Args[1]);
  EXPECT_LT(maxX - minX, 0.8 * (maxY - minY));
}

TEST_F(VoxelRoomFixture, MirroredPensShowTheirRingsWhereTheyLandOnTheNearSide) {
  // Left of the middle: the mirror across x lands as far to the right.
  Pointer().X = 320 - 40, Pointer().Y = 250;
  GeneralPen::Symmetry = 1;
  ASSERT_TRUE(link.DrawBrushCursor(render, cam, table));
  ASSERT_EQ(render.Count("DrawLine"), 96);
  double left = 0, right = 0;
  int n = 0;
  for (const comms::RenderCall& c : render.Calls)
    if (c.Op == "DrawLine") (n++ < 48 ? left : right) += c.Args[0] / 48;
  EXPECT_NEAR(left, 280, 2);
  EXPECT_NEAR(right, 360, 2);
  // A mirror across z lands behind the model, and is not shown; x and z
  // together give one more ring in front (x) and two behind.
  render.ClearCalls();
  GeneralPen::Symmetry = 5;
  ASSERT_TRUE(link.DrawBrushCursor(render, cam, table));
  EXPECT_EQ(render.Count("DrawLine"), 96);
}

TEST_F(VoxelRoomFixture, NoCircleOffTheVolumeOrForAnotherTool) {
  Pointer().X = 4, Pointer().Y = 4;
  EXPECT_FALSE(link.DrawBrushCursor(render, cam, table));
  Pointer().X = 320, Pointer().Y = 240;
  table.SetCurrentTool("StdPen");
  EXPECT_FALSE(link.DrawBrushCursor(render, cam, table));
  EXPECT_EQ(render.Count("DrawLine"), 0);
  ToolTable empty;
  EXPECT_FALSE(link.Connect(empty, &volume, &cam, nullptr, false));
}

TEST(HeadlessScene, TheShippedScriptSculptsTheStartVolume) {
  VolumeObject head, plain;
  FillVolume(plain, SphereShape(0, 0, 0, 60));
  plain.UpdateSurface();
  FillVolume(head, SphereShape(0, 0, 0, 60));
  head.UpdateSurface();
  const int before = head.CellCount();
  ASSERT_TRUE(SculptHeadlessScene(head));
  EXPECT_NE(head.CellCount(), before) << "nose, ears and chin add cells";
  EXPECT_EQ(head.UndoCopies, 0);
  EXPECT_EQ(head.DirtyCells.Count(), 0);
  // The face side changed, the back of the skull did not.
  EXPECT_NE(head.GetVoxel(0, 0, 58), plain.GetVoxel(0, 0, 58));
  EXPECT_EQ(head.GetVoxel(0, 0, -59), plain.GetVoxel(0, 0, -59));
}
}  // namespace
