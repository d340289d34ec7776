// The render room's picture of a sphere on a floor: it converges as frames
// add up (the change from 64 to 256 frames is measured and small), the shadow
// falls on the side away from the light, depth of field blurs what lies off
// the plane in focus and leaves what lies on it sharp, and the picture is the
// same with one thread and two.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <string>

#include "ClassEngine/Threader.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/render/VolumeRender.h"
#include "interchange/Image.h"

namespace {

using comms::cVec3;

struct SphereOnFloor {
  VolumeObject floor, sphere, farSphere;
  SphereOnFloor() {
    FillVolume(floor, BoxShape(0, -3, 0, 60, 3, 45));
    FillVolume(sphere, SphereShape(0, 10, 0, 10));
    FillVolume(farSphere, SphereShape(-30, 8, -40, 8));
  }
  std::vector<VolumeObject*> All() { return {&floor, &sphere, &farSphere}; }
};

VolumeRender::Eye LookAt(const cVec3& pos, const cVec3& target, float fov) {
  VolumeRender::Eye e;
  e.Pos = pos;
  e.Forward = (target - pos).Normalized();
  e.Right = comms::Cross(e.Forward, cVec3(0, 1, 0)).Normalized();
  e.Up = comms::Cross(e.Right, e.Forward);
  e.Fov = fov;
  e.FocusDistance = (target - pos).Length();
  return e;
}

float Luma(const comms::cImage& im, float x, float y) {
  const uint8_t* p = im.Pixel((int)x, im.height - 1 - (int)y);
  return 0.3f * p[0] + 0.59f * p[1] + 0.11f * p[2];
}

// With MORVANE_TEST_PICTURES set, the pictures are kept there to be looked at.
void Keep(const VolumeRender& r, const char* name, bool alpha = false) {
  if (const char* dir = std::getenv("MORVANE_TEST_PICTURES")) r.Save(std::string(dir) + "/" + name, alpha);
}

double MeanDifference(const comms::cImage& a, const comms::cImage& b) {
  double sum = 0;
  for (size_t i = 0; i < a.data.size(); ++i) sum += std::abs((int)a.data[i] - (int)b.data[i]);
  return sum / (double)a.data.size();
}

// Partly covered pixels along row y from x0 to x1 of a picture with alpha:
// how wide a silhouette edge is smeared.
int SoftPixels(const comms::cImage& im, int y, int x0, int x1) {
  int n = 0;
  for (int x = std::max(0, x0); x < std::min(im.width, x1); ++x) {
    const uint8_t a = im.Pixel(x, im.height - 1 - y)[3];
    n += a > 8 && a < 247;
  }
  return n;
}

TEST(RenderRoom, PictureConvergesAsFramesAddUp) {
  SphereOnFloor scene;
  RenderParams params;
  VolumeRender r(params, 161, 97, 11);
  r.SetScene(scene.All());
  r.SetEye(LookAt(cVec3(10, 40, 90), cVec3(0, 6, 0), 45));
  std::vector<comms::cImage> at(5);
  const int marks[5] = {16, 32, 64, 128, 256};
  for (int k = 0, f = 0; k < 5; ++k) {
    while (f < marks[k]) r.RenderFrame(), ++f;
    r.Picture(at[k], false);
  }
  EXPECT_EQ(r.Rays(), 256);
  Keep(r, "sphere-on-floor-256.png");
  const double d16 = MeanDifference(at[0], at[4]), d64 = MeanDifference(at[2], at[4]),
               d128 = MeanDifference(at[3], at[4]);
  RecordProperty("MeanDifference64to256", std::to_string(d64));
  std::printf("mean difference to 256 frames: 16: %.3f  64: %.3f  128: %.3f (of 255)\n", d16, d64, d128);
  EXPECT_LT(d64, 2.5) << "64 frames are close to 256";
  EXPECT_LT(d64, d16);
  EXPECT_LT(d128, d64);
}

TEST(RenderRoom, ShadowFallsAwayFromTheLight) {
  SphereOnFloor scene;
  RenderParams params;
  params.AO_Percent = 0;
  params.Use_AA = false;
  params.Lightness = 100;
  // Seen nearly from above, with and without the sphere.
  comms::cImage with, without;
  VolumeRender r(params, 201, 151, 3);
  r.SetEye(LookAt(cVec3(0, 150, 20), cVec3(0, 0, 0), 40));
  auto shoot = [&](std::vector<VolumeObject*> volumes, comms::cImage& im) {
    r.SetScene(volumes);
    for (int i = 0; i < 4; ++i) r.RenderFrame();
    r.Picture(im, false);
  };
  shoot({&scene.floor, &scene.sphere}, with);
  Keep(r, "shadow-from-above.png");
  shoot({&scene.floor}, without);
  // The main light comes from the upper left of the view. The ray from it
  // through a point inside the sphere lands in shadow; the floor as far on
  // the light's side is lit.
  const cVec3 l = r.MainLight(), inside(0, 16, 0);
  ASSERT_GT(l.y, 0.3f);
  const cVec3 behind = inside - l * (inside.y / l.y);
  const cVec3 side = cVec3(l.x, 0, l.z).Normalized();
  const cVec3 before(side.x * 25, 0, side.z * 25);
  float bx, by, fx, fy;
  ASSERT_TRUE(r.PixelOf(behind, bx, by));
  ASSERT_TRUE(r.PixelOf(before, fx, fy));
  for (float v : {bx, fx}) ASSERT_TRUE(v >= 0 && v < with.width);
  for (float v : {by, fy}) ASSERT_TRUE(v >= 0 && v < with.height);
  EXPECT_GT(bx, fx) << "the light comes from the left, the shadow lies right";
  const float shade = Luma(with, bx, by), lit = Luma(with, fx, fy), open = Luma(without, bx, by);
  std::printf("floor behind the sphere %.0f, on the light side %.0f, without the sphere %.0f\n", shade, lit, open);
  EXPECT_LT(shade, open * 0.6f);
  EXPECT_NEAR(lit, Luma(without, fx, fy), 4.f) << "the light side is as bright as open floor";
  // Without shadows the sphere darkens nothing.
  params.WithoutShadow = true;
  shoot({&scene.floor, &scene.sphere}, with);
  EXPECT_NEAR(Luma(with, bx, by), open, 4.f);
}

TEST(RenderRoom, DepthOfFieldBlursOffTheFocalPlane) {
  SphereOnFloor scene;
  RenderParams params;
  params.Use_AA = false;
  params.AO_Percent = 0;
  const VolumeRender::Eye eye = LookAt(cVec3(0, 12, 60), cVec3(0, 10, 0), 45);
  auto edges = [&](float dof, int& nearSoft, int& farSoft) {
    params.DOF_Degree = dof;
    VolumeRender r(params, 241, 161, 5);
    r.SetScene({&scene.sphere, &scene.farSphere});
    r.SetEye(eye);  // in focus: the near sphere's centre
    for (int i = 0; i < 48; ++i) r.RenderFrame();
    comms::cImage im;
    r.Picture(im, true);
    Keep(r, dof > 0 ? "depth-of-field.png" : "no-depth-of-field.png");
    float x, y, fx, fy;
    ASSERT_TRUE(r.PixelOf(cVec3(0, 10, 0), x, y));
    ASSERT_TRUE(r.PixelOf(cVec3(-30, 8, -40), fx, fy));
    nearSoft = SoftPixels(im, (int)y, (int)x, im.width);
    farSoft = SoftPixels(im, (int)fy, 0, (int)fx);
  };
  int sharpNear, sharpFar, blurNear, blurFar;
  edges(0, sharpNear, sharpFar);
  edges(3, blurNear, blurFar);
  std::printf("soft edge pixels, sharp: near %d far %d; with lens: near %d far %d\n", sharpNear, sharpFar, blurNear,
              blurFar);
  EXPECT_LE(sharpFar, 2);
  EXPECT_GE(blurFar, sharpFar + 4) << "the far sphere is out of focus";
  EXPECT_LE(blurNear, sharpNear + 3) << "the sphere in focus stays sharp";
}

TEST(RenderRoom, SameWithOneAndTwoThreads) {
  SphereOnFloor scene;
  RenderParams params;
  params.DOF_Degree = 1;
  comms::cImage pictures[2];
  for (int threads : {1, 2}) {
    const int saved = ThreadOptions::MaxProcessorsToBeUsed;
    ThreadOptions::MaxProcessorsToBeUsed = threads;
    VolumeRender r(params, 97, 61, 9);
    r.SetScene(scene.All());
    r.SetEye(LookAt(cVec3(10, 40, 90), cVec3(0, 6, 0), 45));
    for (int i = 0; i < 6; ++i) r.RenderFrame();
    r.Picture(pictures[threads - 1], true);
    ThreadOptions::MaxProcessorsToBeUsed = saved;
  }
  EXPECT_EQ(pictures[0].data, pictures[1].data);
}

TEST(RenderRoom, EmptySceneGivesTheBackdrop) {
  RenderParams params;
  VolumeRender r(params, 33, 17);
  r.SetScene({});
  r.RenderFrame();
  comms::cImage im;
  r.Picture(im, true);
  for (int y = 0; y < im.height; ++y)
    for (int x = 0; x < im.width; ++x) ASSERT_EQ(im.Pixel(x, y)[3], 0);
}

}  // namespace

#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "MC/TempFolder.h"
#include "MC/render/RenderFrames.h"
#include "MC/tree/VolumeTreeScene.h"
#include "MC/tree/VoxVisualTree.h"
#include "interchange/FloatImage.h"
#include "interchange/IO.h"

namespace {

using RenderFolder = TempFolderTest;

TEST_F(RenderFolder, LoopStopsAtTheLimitOrWhenAsked) {
  SphereOnFloor scene;
  RenderParams params;
  VolumeRender r(params, 31, 23);
  r.SetScene({&scene.sphere});
  r.SetEye(r.FramingEye());
  EXPECT_EQ(RenderFrames(r, 5), 5);
  EXPECT_EQ(RenderFrames(r, 5), 0) << "the picture is done";
  EXPECT_EQ(RenderFrames(r, 50, [](int rays) { return rays >= 8; }), 3) << "Esc keeps what was reached";
  EXPECT_EQ(RaysLine(r.Rays()), "Press ESC to stop. Rays: 8");
}

TEST_F(RenderFolder, NumberedNamesSkipExistingFiles) {
  const std::string stem = Path("shot");
  EXPECT_EQ(NumberedFileName(stem, "png", true), stem + "000000.png");
  std::ofstream(stem + "000000.png") << "x";
  std::ofstream(stem + "000001.png") << "x";
  EXPECT_EQ(NumberedFileName(stem, "png", true), stem + "000002.png");
  EXPECT_EQ(NumberedFileName(stem, "png", false), stem + "000000.png") << "overwriting allowed";
}

TEST_F(RenderFolder, CommandRendersASceneFileToEachFormat) {
  VoxVisualTree tree;
  FillVolume(*tree.AddVolume()->Volume, SphereShape(0, 0, 0, 7));
  VoxTreeBranch* hidden = tree.AddVolume();
  FillVolume(*hidden->Volume, SphereShape(40, 0, 0, 7));
  hidden->Visible = false;
  std::string error;
  ASSERT_TRUE(SaveTreeAsScene(Path("in.mvn"), tree, &error)) << error;
  for (const char* out : {"out.png", "out.tga", "out.bmp", "out.exr"}) {
    ASSERT_EQ(RunRenderCommand({Path("in.mvn"), Path(out), "3", "65", "43"}), 0) << out;
    int w = 0, h = 0;
    if (std::string(out) == "out.exr") {
      comms::cFloatImage f;
      ASSERT_TRUE(f.Load(Path(out)));
      w = f.width, h = f.height;
    } else {
      comms::cImage im;
      ASSERT_TRUE(comms::cIO::LoadImage(Path(out), im)) << out;
      w = im.width, h = im.height;
    }
    EXPECT_EQ(w, 65) << out;
    EXPECT_EQ(h, 43) << out;
  }
  comms::cImage im;
  ASSERT_TRUE(comms::cIO::LoadImage(Path("out.png"), im));
  // The hidden sphere stays out: the visible one is framed in the middle.
  EXPECT_NE(im.Pixel(32, 21)[0], im.Pixel(1, 21)[0]);
  EXPECT_EQ(RunRenderCommand({Path("missing.mvn"), Path("x.png"), "3"}), 1);
  EXPECT_EQ(RunRenderCommand({Path("in.mvn"), Path("x.png"), "0"}), 2);
  EXPECT_EQ(RunRenderCommand({Path("in.mvn")}), 2);
}

}  // namespace
