// The stencil and material mask over the view: an odd-sized picture made by
// ImageMagick, dark in its left third and in a band along its top, holds a
// paint dab back where it is dark and lets it through where it is light,
// the right way round (a flipped or mirrored read would paint the band or
// the left third); the switch inverts it, the pattern tiles, and a picture of
// no use leaves the mask unset.
#include <gtest/gtest.h>

#include <cmath>

#include "PaintMeshes.h"
#include "interchange/TestFiles.h"
#include "paint/GeneralPen.h"
#include "paint/PenShapes.h"
#include "paint/StencilMask.h"
#include "paint/stroke/PaintDabs.h"
#include "render/Viewer.h"

using comms::cVec3;

namespace {
constexpr int kW = 61, kH = 37;
// Dark where x <= 20 or y <= 13 (ImageMagick's rows count from the top).
bool Dark(float x, float y) { return x < 21 || y < 14; }
// Farther than a pixel and a half from the edge between dark and light.
bool Clear(float x, float y) {
  return std::fabs(x - 21) > 1.5f && (x < 21 || std::fabs(y - 14) > 1.5f) && x > 0.5f && y > 0.5f && x < kW - 0.5f &&
         y < kH - 0.5f;
}

bool Stencil(comms::cImage& out) {
  const std::string dir = testfiles::FreshFolder();
  return testfiles::MagickImage("-size " + std::to_string(kW) + "x" + std::to_string(kH) + " xc:white -fill black",
                                "-draw \"rectangle 0,0 20,36\" -draw \"rectangle 21,0 60,13\"", dir + "stencil.png",
                                out);
}
}  // namespace

TEST(StencilMask, ReadsTheStencilTheRightWayRoundAndTilesThePattern) {
  if (!testfiles::HaveConvert()) GTEST_SKIP() << "ImageMagick is not installed (scripts/deps.sh --tests)";
  comms::cImage picture;
  ASSERT_TRUE(Stencil(picture));
  StencilMask mask;
  const float none[3] = {3, 3, 0};
  EXPECT_EQ(mask.At(none), 1.0f);  // nothing set
  // Screen = the point's x, y: the stencil over its own pixels.
  mask.Project = [](const float p[3], float& sx, float& sy) { return sx = p[0], sy = p[1], true; };
  ASSERT_TRUE(mask.SetStencil(picture, 0, 0, kW, kH));
  for (float y = 0.25f; y < kH; y += 0.5f)
    for (float x = 0.25f; x < kW; x += 0.5f) {
      if (!Clear(x, y)) continue;
      const float p[3] = {x, y, 0};
      EXPECT_NEAR(mask.At(p), Dark(x, y) ? 0.0f : 1.0f, 1e-5f) << x << ", " << y;
    }
  const float outside[3] = {-4, 20, 0};
  EXPECT_EQ(mask.At(outside), 1.0f);
  const float light[3] = {40, 30, 0}, dark[3] = {40, 5, 0};
  mask.InvMask = true;
  EXPECT_NEAR(mask.At(light), 0.0f, 1e-5f);
  EXPECT_NEAR(mask.At(dark), 1.0f, 1e-5f);
  // The same picture as a pattern: tiled, and multiplied with the stencil.
  mask.InvMask = false;
  mask.ClearStencil();
  ASSERT_TRUE(mask.SetPattern(picture, 2.0f));
  const float tiledLight[3] = {80 + 2 * kW * 3, 60 + 2 * kH, 0}, tiledDark[3] = {80 + 2 * kW, 10 - 2 * kH, 0};
  EXPECT_NEAR(mask.At(tiledLight), 1.0f, 1e-5f);
  EXPECT_NEAR(mask.At(tiledDark), 0.0f, 1e-5f);
  // Laid where the placement says: moved by whole tiles it reads the same;
  // turned half a circle about its origin, a point reads what its mirror
  // through the origin read.
  MaterialPattern placement;
  mask.Placement = &placement;
  placement.Move(2 * kW * 5, -2 * kH * 2);
  EXPECT_NEAR(mask.At(tiledLight), 1.0f, 1e-5f);
  EXPECT_NEAR(mask.At(tiledDark), 0.0f, 1e-5f);
  placement = MaterialPattern();
  placement.RotateAbout(3.14159265f, 0, 0);
  const float mirrorLight[3] = {-tiledLight[0], -tiledLight[1], 0}, mirrorDark[3] = {-tiledDark[0], -tiledDark[1], 0};
  EXPECT_NEAR(mask.At(mirrorLight), 1.0f, 1e-3f);
  EXPECT_NEAR(mask.At(mirrorDark), 0.0f, 1e-3f);
  mask.Placement = nullptr;
  // A picture of no use: unset, and the factor is 1 again.
  comms::cImage empty;
  EXPECT_FALSE(mask.SetPattern(empty, 1.0f));
  EXPECT_EQ(mask.At(dark), 1.0f);
}

TEST(StencilMask, HoldsAPaintDabBackWhereItIsDark) {
  if (!testfiles::HaveConvert()) GTEST_SKIP() << "ImageMagick is not installed (scripts/deps.sh --tests)";
  comms::cImage picture;
  ASSERT_TRUE(Stencil(picture));
  GeneralPenSaver saved;
  GeneralPen::Reset();
  SimplePen pen;
  GeneralPen::CurrentPenPtr = &pen;
  GeneralPen::DrawDepth = GeneralPen::DrawSpecular = false;
  PaintScene scene;
  ASSERT_TRUE(ImportMeshIntoScene(scene, paintmeshes::Sheet(4, 3), PaintImportMode::MicroVertex,
                                  paintmeshes::Grid(4)).ok);
  scene.NewLayer(true);
  comms::cFreeViewer cam;
  cam.ViewRect = comms::cRect{0, 0, 640, 480};
  cam.SetHome(cVec3(2, 1.5f, 0), 4.f, comms::cQuat());
  StencilMask mask;
  mask.ProjectThrough(cam);
  ASSERT_TRUE(mask.SetStencil(picture, 0, 0, 640, 480));
  GeneralPen::Mask = &mask;
  // One dab wide enough to reach the whole sheet.
  PaintDabs dabs(scene);
  dabs.Begin(3);
  PenHit h;
  h.Pos = cVec3(2, 1.5f, 0), h.Face = 6, h.WorldRadius = 4, h.ViewDir = cam.Forward;
  dabs.Dab(h);
  dabs.End();
  int dark = 0, light = 0;
  for (int f = 0; f < (int)scene.Faces.size(); f++) {
    const PaintFace& F = scene.Faces[f];
    FaceLayer* fl = scene.GetFaceLayer(f, scene.CurrentLayer, false);
    ASSERT_NE(fl, nullptr);
    for (int i = 0; i < F.SampleCount(); i++) {
      const cVec3 s = cam.ProjectToView(F.Grid[i].Position);
      const float x = s.x * kW / 640, y = s.y * kH / 480;
      if (!Clear(x, y)) continue;
      if (Dark(x, y)) {
        EXPECT_EQ(fl->Data[i].Opacity, 0.0f) << f << " " << i;
        dark++;
      } else {
        EXPECT_GT(fl->Data[i].Opacity, 0.05f) << f << " " << i;
        light++;
      }
    }
  }
  EXPECT_GT(dark, 200);
  EXPECT_GT(light, 200);
}
