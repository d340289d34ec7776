// Strips: a StripPen is read across (x, held at the sides) and along (y,
// repeating every 2), the sample multiplies the pen's colour and weights by
// the strip's (and on micro-vertices by the pressure's share q too), each
// sample finds its place along and across the strip from the stroke, and the
// phase walks on from dab to dab by the distance over the radius and aspect.
// Every expected value is worked out by hand from the 3 x 5 strip below.
#include <gtest/gtest.h>

#include "OneVertexSample.h"
#include "PaintMeshes.h"
#include "paint/GeneralPen.h"
#include "paint/PenShapes.h"
#include "paint/layers/OneLayerInfo.h"
#include "paint/stroke/PaintDabs.h"
#include "paint/stroke/PaintSample.h"

using comms::cVec3;

namespace {
// 3 columns across, 5 rows along: depth 0.1 x + 0.02 y, so a strip read
// across for along (or flipped) gives other numbers; colour (0.5, 1, 1, 0.8).
PenImage StripImage() {
  PenImage img;
  img.Width = 3, img.Height = 5;
  for (int y = 0; y < 5; y++)
    for (int x = 0; x < 3; x++) {
      img.Depth.push_back(0.1f * x + 0.02f * y);
      for (float c : {0.5f, 1.f, 1.f, 0.8f}) img.Rgba.push_back(c);
    }
  return img;
}
}  // namespace

TEST(Strip, ReadsAcrossAndAlongAndRepeats) {
  StripPen strip;
  strip.SetImage(StripImage());
  EXPECT_FLOAT_EQ(strip.GetAspect(), 5.f / 3.f);
  auto depth = [&](float x, float y) {
    float c[4], w[4];
    strip.Sample(x, y, c, w);
    EXPECT_FLOAT_EQ(c[0], 0.5f);
    EXPECT_FLOAT_EQ(c[3], 0.8f);
    EXPECT_EQ(w[2], 0.f);
    EXPECT_EQ(w[1], 1.f);  // no specular channel: the specular weight stays whole
    return w[0];
  };
  EXPECT_NEAR(depth(-1, -1), 0.f, 1e-6f);
  EXPECT_NEAR(depth(1, 0), 0.24f, 1e-6f);     // column 2, row 2
  EXPECT_NEAR(depth(0, -0.5f), 0.12f, 1e-6f);  // column 1, row 1
  EXPECT_NEAR(depth(0, 3.5f), 0.12f, 1e-6f);   // two strip lengths on
  EXPECT_NEAR(depth(5, 0), 0.24f, 1e-6f);      // held at the side
  // Falloff does not thin a strip.
  GeneralPenSaver saved;
  GeneralPen::Falloff = 1;
  EXPECT_NEAR(depth(0.9f, 0), 0.1f * 1.9f + 0.02f * 2, 1e-6f);  // column 1.9, row 2
}

TEST(Strip, ASamplesPlaceAlongAndAcross) {
  StrokeFrame f;
  f.SetSegment(cVec3(0, 0, 0), cVec3(4, 0, 0), 2, 2);
  f.StripAspect = 0.5f, f.StripWidth = 1, f.StripPhase = 0.25f;
  const cVec3 dir = f.DirectionAt(0.5f);
  EXPECT_FLOAT_EQ(dir.x, 1.f);
  const cVec3 side = Cross(dir, cVec3(0, 0, 1));  // (0, -1, 0)
  float x, y;
  f.StripPlace(cVec3(0, 1, 0), 0.5f, 2, side, x, y);
  EXPECT_FLOAT_EQ(x, 0.5f * 4 / 2 / 0.5f + 0.25f);
  EXPECT_FLOAT_EQ(y, -0.5f);
  // A single point goes along the pen's x axis.
  f.SinglePoint = true;
  f.AxisX = cVec3(0, 1, 0);
  EXPECT_FLOAT_EQ(f.DirectionAt(0.3f).y, 1.f);
}

TEST(Strip, MultipliesTheSamplesColourAndWeights) {
  OneVertexSample one;
  auto& [saved, frame, ctx, mv, dest, backup, layer, s] = one;
  GeneralPen::DrawDepth = GeneralPen::DrawColor = true;
  GeneralPen::DeepDegree = 0.5f;
  StripPen strip;
  strip.SetImage(StripImage());
  ctx.Strip = &strip;
  s.StripX = 0, s.StripY = 1;  // column 2, row 2: depth 0.24
  // q = scaled / radius = 0.5: the strip's weights halve on micro-vertices.
  PaintSample().Vertex(ctx, s, 1, 0.5f);
  EXPECT_NEAR(dest.Offset.z, 1 * (0.24f * 0.5f) * 0.5f * 1, 1e-6f);
  EXPECT_EQ((dest.Color >> 16) & 255, 128u);  // 255 * 0.5
  EXPECT_EQ((dest.Color >> 8) & 255, 255u);
  EXPECT_NEAR(dest.Opacity, 0.8f * 0.8f, 1e-6f);  // a = 0.8, on an empty layer a^2
  // A texel takes no q.
  TilePixel px;
  LayerPixel ld, lb;
  PixelSample p;
  p.Pixel = &px, p.Dest = &ld, p.Backup = &lb, p.Layer = &layer, p.Normal = cVec3(0, 0, 1);
  p.StripX = 0, p.StripY = 1;
  PaintSample().Pixel(ctx, p, 1, 0.5f);
  EXPECT_NEAR(ld.Depth, 0.24f * 0.5f, 1e-6f);
}

// Dab after dab the phase moves on by the distance over the radius and the
// strip's aspect, and the painted depth follows the strip's rows.
TEST(Strip, ThePhaseWalksOnAlongTheStroke) {
  GeneralPenSaver saved;
  GeneralPen::Reset();
  GeneralPen::DrawColor = GeneralPen::DrawSpecular = false;
  SimplePen pen;
  StripPen strip;
  strip.SetImage(StripImage());
  GeneralPen::CurrentPenPtr = &pen;
  GeneralPen::CurrentStrip = &strip;
  PaintScene scene;
  ASSERT_TRUE(ImportMeshIntoScene(scene, paintmeshes::Sheet(4, 3), PaintImportMode::MicroVertex,
                                  paintmeshes::Grid(4)).ok);
  scene.NewLayer(true);
  PaintDabs dabs(scene);
  dabs.Begin(2);
  const float R = 0.4f;
  for (float x : {0.5f, 1.5f, 2.5f}) {
    PenHit h;
    h.Pos = cVec3(x, 1.5f, 0), h.Face = 4 + (int)x, h.WorldRadius = R;
    dabs.Dab(h);
  }
  dabs.End();
  EXPECT_NEAR(GeneralPen::StripPhase, 2.0f / R / strip.GetAspect(), 1e-4f);
  // Across the stroke the strip's columns differ: depth on one side of the
  // track (column 2 of the strip) is deeper than on the other (column 0).
  auto depthAt = [&](float x, float y) {
    const int f = (int)y * 4 + (int)x;
    const int gx = (int)((x - (int)x) * 16), gy = (int)((y - (int)y) * 16);
    FaceLayer* fl = scene.GetFaceLayer(f, scene.CurrentLayer, false);
    return fl ? Dot(fl->Data[gy * 16 + gx].Offset, cVec3(0, 0, 1)) : 0.f;
  };
  const float above = depthAt(1.5f, 1.5f + 0.2f), below = depthAt(1.5f, 1.5f - 0.2f);
  EXPECT_GT(std::fabs(above - below), 0.005f);
}
