// The render room over the view: the refining picture is drawn as large as
// it fits with its own proportions, centred, and the "rays" line over its top
// left tells how many frames it holds.
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/render/RenderFrames.h"
#include "MC/render/RenderTool.h"
#include "MC/render/VolumeRender.h"
#include "interface/UiContext.h"
#include "render/NullRender.h"
#include "render/Viewer.h"
#include "shell/RenderRoom.h"

namespace {

struct RenderRoomPicture : ::testing::Test {
  VolumeObject sphere;
  comms::cFreeViewer camera;
  RenderTool tool;
  comms::cNullRender render;
  ShownPicture shown;
  float pivot[3] = {0, 0, 0};
  void SetUp() override {
    if (!Ui().Font.Ready()) Ui().LoadFont();
    ASSERT_TRUE(Ui().Font.Ready());
    Ui().Scale = 1;
    FillVolume(sphere, SphereShape(0, 0, 0, 9));
    camera.ViewRect = comms::cRect{0, 0, 640, 480};
    camera.SetHome(comms::cVec3(0, 0, 0), 60.f, comms::cQuat());
    tool.SetScene([this] { return std::vector<VolumeObject*>{&sphere}; }, &camera, pivot);
    tool.Params.MaxRenederSteps = 8;
    tool.IncrementalRender = true;
  }
  const comms::RenderCall* Picture() const {
    for (const comms::RenderCall& c : render.Calls)
      if (c.Op == "DrawTexture") return &c;
    return nullptr;
  }
  int Glyphs() const { return render.Count("DrawTexturedQuad"); }
};

int Inked(const std::string& line) { return int(std::count_if(line.begin(), line.end(), [](char c) { return c != ' '; })); }

}  // namespace

TEST_F(RenderRoomPicture, NothingToShowBeforeTheFirstFrame) {
  EXPECT_FALSE(DrawRenderPicture(render, camera, tool, shown));
  EXPECT_EQ(Picture(), nullptr);
  EXPECT_EQ(Glyphs(), 0);
}

TEST_F(RenderRoomPicture, TheWholeViewWithTheRaysLine) {
  for (int i = 0; i < 3; ++i) tool.FrameUpdate();
  ASSERT_TRUE(DrawRenderPicture(render, camera, tool, shown));
  const comms::RenderCall* p = Picture();
  ASSERT_NE(p, nullptr);
  EXPECT_NEAR(p->Args[0], 0, 0.01);
  EXPECT_NEAR(p->Args[1], 0, 0.01);
  EXPECT_NEAR(p->Args[2], 640, 0.01);
  EXPECT_NEAR(p->Args[3], 480, 0.01);
  EXPECT_EQ(RaysLine(3), "Press ESC to stop. Rays: 3");
  EXPECT_EQ(Glyphs(), Inked(RaysLine(3))) << "one glyph per letter of the line";
  for (const comms::RenderCall& c : render.Calls) {
    if (c.Op != "DrawTexturedQuad") continue;
    EXPECT_GE(c.Args[0], 8);
    EXPECT_LT(c.Args[1], 40) << "the line stands at the picture's top";
  }
  // More frames: the texture is made again and the count follows.
  tool.FrameUpdate();
  render.ClearCalls();
  ASSERT_TRUE(DrawRenderPicture(render, camera, tool, shown));
  EXPECT_EQ(render.Count("CreateTexture"), 1);
  EXPECT_EQ(Glyphs(), Inked(RaysLine(4)));
  // Panels over the view: the line moves into the part they leave free.
  const comms::cRect free(473, 41, 979, 699);
  render.ClearCalls();
  ASSERT_TRUE(DrawRenderPicture(render, camera, tool, shown, &free));
  EXPECT_EQ(Glyphs(), Inked(RaysLine(4)));
  for (const comms::RenderCall& c : render.Calls) {
    if (c.Op != "DrawTexturedQuad") continue;
    EXPECT_GE(c.Args[0], 473 + 8);
    EXPECT_GE(c.Args[1], 41);
    EXPECT_LT(c.Args[1], 41 + 40);
  }
}

TEST_F(RenderRoomPicture, ACustomSizeIsFittedWithItsOwnProportions) {
  tool.Params.ViewSize = CustomRenderSize;
  tool.Params.ViewSizeX = 97, tool.Params.ViewSizeY = 61;
  tool.FrameUpdate();
  ASSERT_TRUE(DrawRenderPicture(render, camera, tool, shown));
  const comms::RenderCall* p = Picture();
  ASSERT_NE(p, nullptr);
  // 97 x 61 in 640 x 480: the width fills, bands above and below.
  const double h = 640.0 * 61 / 97;
  EXPECT_NEAR(p->Args[0], 0, 0.01);
  EXPECT_NEAR(p->Args[2], 640, 0.01);
  EXPECT_NEAR(p->Args[1], (480 - h) / 2, 0.01);
  EXPECT_NEAR(p->Args[3], (480 + h) / 2, 0.01);
  bool sized = false;
  for (const comms::RenderCall& c : render.Calls)
    sized |= c.Op == "CreateTexture" && c.Args[1] == 97 && c.Args[2] == 61;
  EXPECT_TRUE(sized) << "the texture has the picture's own pixels";
  for (const comms::RenderCall& c : render.Calls) {
    if (c.Op != "DrawTexturedQuad") continue;
    EXPECT_GE(c.Args[1], (480 - h) / 2) << "the line sits on the picture";
  }
  // A narrow custom size fills the height instead.
  tool.Params.ViewSizeX = 31, tool.Params.ViewSizeY = 77;
  tool.OnChange(&tool.Params, nullptr, nullptr, "ViewSizeX");
  tool.FrameUpdate();
  render.ClearCalls();
  ASSERT_TRUE(DrawRenderPicture(render, camera, tool, shown));
  p = Picture();
  ASSERT_NE(p, nullptr);
  EXPECT_NEAR(p->Args[1], 0, 0.01);
  EXPECT_NEAR(p->Args[3], 480, 0.01);
  EXPECT_NEAR(p->Args[2] - p->Args[0], 480.0 * 31 / 77, 0.01);
}

TEST_F(RenderRoomPicture, AStillOrASequenceShowsThePictureItIsRenderingWithItsLine) {
  tool.IncrementalRender = false;
  tool.NumFinalFrames = 2;
  tool.Params.MaxRenederSteps = 2;
  tool.Folder = (std::filesystem::temp_directory_path() / ("morvane-turn-" + std::to_string(getpid()))).string();
  int shownFrames = 0;
  tool.ShowProgress = [&](const VolumeRender& picture, const std::string& line) {
    render.ClearCalls();
    EXPECT_TRUE(DrawRenderPicture(render, camera, tool, shown));
    EXPECT_EQ(shown.picture, &picture) << "the picture being rendered, not the refining one";
    EXPECT_EQ(shown.rays, picture.Rays());
    int uploads = 0;  // the font's atlas may be made beside it on the first frame
    for (const comms::RenderCall& c : render.Calls)
      uploads += c.Op == "CreateTexture" && c.Args[1] == picture.Width() && c.Args[2] == picture.Height();
    EXPECT_EQ(uploads, 1) << "each frame is shown";
    EXPECT_EQ(Glyphs(), Inked(line));
    EXPECT_EQ(line.rfind("Frame 000", 0), 0u) << line;
    ++shownFrames;
    return false;
  };
  EXPECT_EQ(tool.RenderTurn().size(), 2u);
  EXPECT_EQ(shownFrames, 4);
  EXPECT_FALSE(DrawRenderPicture(render, camera, tool, shown)) << "afterwards only a refining picture shows";
  std::filesystem::remove_all(tool.Folder);
}
