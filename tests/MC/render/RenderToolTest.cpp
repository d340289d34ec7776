// The render room's tool: a still goes to a numbered file that does not
// overwrite the last one and leaves rparam.xml beside it; a turn writes one
// picture per step and stops when asked; the incremental picture grows while
// the camera stands and starts again when it moves or a setting changes.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "MC/TempFolder.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/render/RenderFrames.h"
#include "MC/render/RenderTool.h"
#include "MC/render/VolumeRender.h"
#include "ClassEngine/Enumerator.h"
#include "interchange/IO.h"
#include "interchange/Image.h"
#include "render/Viewer.h"

namespace {

struct RenderToolFixture : TempFolderTest {
  VolumeObject sphere;
  comms::cViewer camera;
  RenderTool tool;
  float pivot[3] = {0, 0, 0};
  void SetUp() override {
    TempFolderTest::SetUp();
    FillVolume(sphere, SphereShape(0, 0, 0, 9));
    camera.Pos = comms::cVec3(0, 0, 60);
    camera.ViewRect = {0, 0, 48, 32};
    camera.Update();
    tool.SetScene([this] { return std::vector<VolumeObject*>{&sphere}; }, &camera, pivot);
    tool.Folder = (dir / "RenderedImages").string();
    tool.Params.ViewSize = CustomRenderSize;
    tool.Params.ViewSizeX = 40, tool.Params.ViewSizeY = 30;
    tool.Params.MaxRenederSteps = 4;
  }
};

TEST_F(RenderToolFixture, StillsGoToNumberedFiles) {
  tool.Params.DontOverwriteFiles = true;
  const std::string first = tool.RenderStill(), second = tool.RenderStill();
  EXPECT_EQ(std::filesystem::path(first).filename(), "render000000.png");
  EXPECT_EQ(std::filesystem::path(second).filename(), "render000001.png");
  comms::cImage im;
  ASSERT_TRUE(comms::cIO::LoadImage(second, im));
  EXPECT_EQ(im.width, 40);
  EXPECT_EQ(im.height, 30);
  // The sphere stands in the middle of the picture, lighter than the corner.
  EXPECT_GT(im.Pixel(20, 15)[1], im.Pixel(0, 0)[1]);
  RenderParams back;
  ASSERT_TRUE(back.ReadFromFile((tool.Folder + "/rparam.xml").c_str()));
  EXPECT_EQ(back.MaxRenederSteps, 4);
  EXPECT_EQ(back.ViewSizeX, 40);
  tool.Params.DontOverwriteFiles = false;
  tool.Params.SaveAsBMP = true;
  EXPECT_EQ(std::filesystem::path(tool.RenderStill()).filename(), "render000000.bmp");
}

TEST_F(RenderToolFixture, TurnWritesOnePicturePerStepAndStopsWhenAsked) {
  tool.NumFinalFrames = 3;
  tool.Params.DontOverwriteFiles = true;
  EXPECT_EQ(tool.RenderTurn().size(), 3u);
  int asked = 0;
  tool.StopRequested = [&](int) { return ++asked >= 6; };
  const auto files = tool.RenderTurn();
  EXPECT_EQ(files.size(), 2u) << "the picture reached when Esc came is still saved";
  EXPECT_EQ(std::filesystem::path(files.back()).filename(), "turn000004.png");
}

TEST_F(RenderToolFixture, AStillShowsEachFrameWithItsRaysAndKeepsThePictureWhenStopped) {
  std::vector<std::string> lines;
  std::vector<int> rays;
  tool.ShowProgress = [&](const VolumeRender& picture, const std::string& line) {
    EXPECT_EQ(tool.Running(), &picture) << "the picture being rendered is the tool's to show";
    EXPECT_EQ(tool.RunningLine(), line);
    lines.push_back(line);
    rays.push_back(picture.Rays());
    return picture.Rays() == 3;  // Esc after the third frame
  };
  const std::string file = tool.RenderStill();
  EXPECT_EQ(lines, (std::vector<std::string>{"Press ESC to stop. Rays: 1", "Press ESC to stop. Rays: 2",
                                             "Press ESC to stop. Rays: 3"}));
  EXPECT_EQ(rays, (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(tool.Running(), nullptr);
  comms::cImage im;
  ASSERT_TRUE(comms::cIO::LoadImage(file, im)) << "the picture reached is saved";
  EXPECT_GT(im.Pixel(20, 15)[1], im.Pixel(0, 0)[1]);
}

TEST_F(RenderToolFixture, ASequenceTellsItsFrameTheMinutesLeftAndTheRays) {
  tool.NumFinalFrames = 3;
  tool.Params.MaxRenederSteps = 2;
  // Each look at the clock is a minute later than the last.
  uint64_t minute = 0;
  tool.ClockMs = [&] { return 60000 * minute++; };
  std::vector<std::string> lines;
  tool.ShowProgress = [&](const VolumeRender&, const std::string& line) {
    lines.push_back(line);
    return false;
  };
  EXPECT_EQ(tool.RenderTurn().size(), 3u);
  // After m minutes with d frames of 3 done: m * (3 / d - 1) minutes left.
  EXPECT_EQ(lines, (std::vector<std::string>{
                       "Frame 0001/3 (5 min left). Press ESC to stop. Rays: 1",
                       "Frame 0001/3 (4 min left). Press ESC to stop. Rays: 2",
                       "Frame 0002/3 (3 min left). Press ESC to stop. Rays: 1",
                       "Frame 0002/3 (2 min left). Press ESC to stop. Rays: 2",
                       "Frame 0003/3 (1 min left). Press ESC to stop. Rays: 1",
                       "Frame 0003/3 (0 min left). Press ESC to stop. Rays: 2",
                   }));
  EXPECT_EQ(MinutesLeft(7, 0, 3), 0) << "nothing done, nothing to tell";
}

TEST_F(RenderToolFixture, IncrementalPictureGrowsWhileTheCameraStands) {
  EXPECT_FALSE(tool.WantsFrames());
  tool.IncrementalRender = true;
  ASSERT_TRUE(tool.WantsFrames());
  for (int i = 0; i < 3; ++i) tool.FrameUpdate();
  ASSERT_NE(tool.Incremental(), nullptr);
  EXPECT_EQ(tool.Incremental()->Rays(), 3);
  camera.Pos = comms::cVec3(5, 0, 60);
  camera.Update();
  tool.FrameUpdate();
  EXPECT_EQ(tool.Incremental()->Rays(), 1) << "a moved camera starts again";
  for (int i = 0; i < 10; ++i) tool.FrameUpdate();
  EXPECT_EQ(tool.Incremental()->Rays(), 4) << "no more than MaxRenederSteps";
  tool.OnChange(&tool.Params, nullptr, nullptr, "Lightness");
  tool.FrameUpdate();
  EXPECT_EQ(tool.Incremental()->Rays(), 1) << "a changed setting starts again";
  tool.AddLight();
  EXPECT_EQ(tool.Params.Lights.NValues, 1);
}

TEST(RenderSize, ViewOrCustomSizeTimesTheMultipleOfAFinishedPicture) {
  RenderParams p;
  int w = 0, h = 0;
  PictureSize(p, 641, 359, true, w, h);
  EXPECT_EQ(w, 641);
  EXPECT_EQ(h, 359) << "the whole view by default";
  p.ViewSize = CustomRenderSize, p.ViewSizeX = 97, p.ViewSizeY = 61;
  PictureSize(p, 641, 359, true, w, h);
  EXPECT_EQ(w, 97);
  EXPECT_EQ(h, 61);
  p.RenderSize = 2;
  PictureSize(p, 641, 359, true, w, h);
  EXPECT_EQ(w, 291);
  EXPECT_EQ(h, 183);
  PictureSize(p, 641, 359, false, w, h);
  EXPECT_EQ(w, 97) << "the viewport refines at the custom size itself";
  // Sizes from a file are kept sane.
  p.ViewSizeX = 0, p.ViewSizeY = 1 << 30, p.RenderSize = 99;
  PictureSize(p, 641, 359, true, w, h);
  EXPECT_EQ(w, kRenderSizeMultiples);
  EXPECT_LE(h, kMaxPictureSide);
  EXPECT_GT(h, kMaxPictureSide - kRenderSizeMultiples);
  p.RenderSize = -5;
  PictureSize(p, 641, 359, true, w, h);
  EXPECT_EQ(w, 1);
  Enumerator* sizes = RenderSizes();
  ASSERT_EQ(sizes->GetStoredAmount(), kRenderSizeMultiples);
  EXPECT_STREQ(sizes->Get(2), "3 x 3");
  EXPECT_STREQ(RenderViewSizes()->Get(CustomRenderSize), "CustomRenderSize");
}

TEST_F(RenderToolFixture, StillsTakeTheCustomSizeOrTheViewTimesTheMultiple) {
  tool.Params.ViewSizeX = 97, tool.Params.ViewSizeY = 61;
  comms::cImage im;
  ASSERT_TRUE(comms::cIO::LoadImage(tool.RenderStill(), im));
  EXPECT_EQ(im.width, 97);
  EXPECT_EQ(im.height, 61);
  tool.Params.ViewSize = WholeScreen;
  tool.Params.RenderSize = 1;
  ASSERT_TRUE(comms::cIO::LoadImage(tool.RenderStill(), im));
  EXPECT_EQ(im.width, 96) << "twice the camera's 48 x 32 view";
  EXPECT_EQ(im.height, 64);
  // The sphere stays in the middle at any size: the view is scaled, not cut.
  EXPECT_GT(im.Pixel(48, 32)[1], im.Pixel(2, 2)[1]);
  RenderParams back;
  ASSERT_TRUE(back.ReadFromFile((tool.Folder + "/rparam.xml").c_str()));
  EXPECT_EQ(back.ViewSize, WholeScreen);
  EXPECT_EQ(back.RenderSize, 1);
  tool.Params.ViewSize = CustomRenderSize;
  tool.IncrementalRender = true;
  tool.FrameUpdate();
  ASSERT_NE(tool.Incremental(), nullptr);
  EXPECT_EQ(tool.Incremental()->Width(), 97);
  EXPECT_EQ(tool.Incremental()->Height(), 61);
}

}  // namespace
