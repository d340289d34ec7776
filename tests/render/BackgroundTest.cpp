// The view's background: the gradient runs from the top colour down, a picture
// keeps its top row at the top of the view, and a picture that cannot be
// loaded falls back to the gradient.
#include <cstdio>
#include <filesystem>

#include "GLTestContext.h"
#include "interchange/IO.h"
#include "render/Background.h"
#include "render/Viewer.h"

using namespace comms;

namespace rendertest {

class BackgroundTest : public GLTest {
 protected:
  void SetUp() override {
    GLTest::SetUp();
    camera_.ViewRect = cRect(0, 0, kWidth, kHeight);
    camera_.Update();
  }
  cViewer camera_;
};

TEST_F(BackgroundTest, GradientRunsFromTopToBottom) {
  cBackground b;
  b.TopBackgroundColor1 = 0xffff0000u;
  b.BottomBackgroundColor1 = 0xff0000ffu;
  b.Draw(*render_, camera_);
  cImage s = Screen();
  EXPECT_GT(PixelAt(s, 5, 0).r, 245);
  EXPECT_LT(PixelAt(s, 5, 0).b, 10);
  EXPECT_GT(PixelAt(s, 5, kHeight - 1).b, 245);
  EXPECT_NEAR(PixelAt(s, 5, kHeight / 2).r, 128, 6);
}

TEST_F(BackgroundTest, PictureKeepsItsTopRowAtTheTopAndMissingOnesFallBack) {
  cImage pic;
  pic.Create(2, 2, kPixARGB8);
  auto set = [&](int x, int y, uint32_t argb) {
    uint8_t* p = pic.Pixel(x, y);
    p[0] = uint8_t(argb >> 16), p[1] = uint8_t(argb >> 8), p[2] = uint8_t(argb), p[3] = 255;
  };
  set(0, 1, 0xffff0000u);  // row 1 is the picture's top: red left, green right
  set(1, 1, 0xff00ff00u);
  set(0, 0, 0xff0000ffu);  // bottom: blue left, white right
  set(1, 0, 0xffffffffu);
  const std::string path = (std::filesystem::temp_directory_path() / "morvane_background.png").string();
  ASSERT_TRUE(cIO::SaveImage(path, pic));
  cBackground b;
  b.UseBackgrImage = cBackground::Picture;
  b.BackgrImage = path;
  b.Draw(*render_, camera_);
  cImage s = Screen();
  EXPECT_GT(PixelAt(s, 0, 0).r, 200);
  EXPECT_GT(PixelAt(s, kWidth - 1, 0).g, 200);
  EXPECT_GT(PixelAt(s, 0, kHeight - 1).b, 200);
  EXPECT_GT(PixelAt(s, kWidth - 1, kHeight - 1).r, 200);
  EXPECT_GT(PixelAt(s, kWidth - 1, kHeight - 1).b, 200);
  std::remove(path.c_str());
  b.BackgrImage = path + ".missing.png";
  b.TopBackgroundColor1 = b.BottomBackgroundColor1 = 0xff102030u;
  b.Draw(*render_, camera_);
  EXPECT_EQ(PixelAt(Screen(), 30, 20).g, 0x20);
}

TEST_F(BackgroundTest, SkyBoxShowsTheFaceAheadOfTheEye) {
  // A cube picture of 1 x 1 faces: +X red, -X green, +Y blue, -Y yellow, +Z white, -Z magenta.
  const uint32_t faces[6] = {0xffff0000u, 0xff00ff00u, 0xff0000ffu, 0xffffff00u, 0xffffffffu, 0xffff00ffu};
  cImage cube;
  cube.Create(1, 1, kPixARGB8);
  cube.kind = cImage::Kind::Cube;
  cube.depth = 6;
  cube.data.clear();
  for (uint32_t c : faces) cube.data.insert(cube.data.end(), {uint8_t(c >> 16), uint8_t(c >> 8), uint8_t(c), 255});
  const std::string path = (std::filesystem::temp_directory_path() / "morvane_sky.dds").string();
  ASSERT_TRUE(cIO::SaveImage(path, cube));
  cBackground b;
  b.UseBackgrImage = cBackground::SkyBox;
  b.SkyBoxImage = path;
  camera_.Znear = 0.1f, camera_.Zfar = 100;
  camera_.Update();  // looking down -Z
  b.Draw(*render_, camera_);
  // Seamless filtering of 1 x 1 faces bleeds a little of the neighbours in.
  Rgba ahead = PixelAt(Screen(), kWidth / 2, kHeight / 2);
  EXPECT_NEAR(ahead.r, 255, 8);
  EXPECT_NEAR(ahead.g, 0, 8);
  EXPECT_NEAR(ahead.b, 255, 8);
  camera_.Orient = cQuat::FromAxisAngle(cVec3(0, 1, 0), -1.5707963f);  // now looking down +X
  camera_.Update();
  b.Draw(*render_, camera_);
  ahead = PixelAt(Screen(), kWidth / 2, kHeight / 2);
  EXPECT_NEAR(ahead.r, 255, 8);
  EXPECT_NEAR(ahead.g, 0, 8);
  EXPECT_NEAR(ahead.b, 0, 8);
  std::remove(path.c_str());
}

}  // namespace rendertest
