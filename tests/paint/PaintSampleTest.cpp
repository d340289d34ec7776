// The paint sample on one micro-vertex or texel, against values worked out by
// hand: the pen's edge, depth along BaseNormal that never stacks within a
// stroke, the absolute depth mode, colour over opacity, the freeze factor,
// back faces, the 0.005 alpha cut, locked transparency, spots that stack,
// the eraser's weight and specular.
#include <gtest/gtest.h>

#include "paint/GeneralPen.h"
#include "paint/PenShapes.h"
#include "paint/layers/OneLayerInfo.h"
#include "paint/stroke/PaintSample.h"
#include "OneVertexSample.h"

using comms::cVec3;

namespace {

// A pen that only erases: erase weight 1, full colour alpha.
class EraseOnlyPen : public BasicPenShape {
 public:
  void Sample(float, float, float c[4], float w[4]) override {
    c[0] = c[1] = c[2] = c[3] = 1;
    w[0] = w[1] = w[3] = 0, w[2] = 1;
  }
};

struct OneVertex : ::testing::Test, OneVertexSample {
  PaintSample paint;

  float Run(float px = 0, float py = 0) {
    s.PenX = px, s.PenY = py;
    return paint.Vertex(ctx, s, 1, 1);
  }
  // The dab starts a new stroke: what is in the layer now is the start state.
  void NewStroke() { backup = dest; }
};

}  // namespace

TEST_F(OneVertex, ThePenEdgeIsOutside) {
  GeneralPen::DrawDepth = true;
  EXPECT_EQ(Run(1, 0), 0.0f);
  EXPECT_EQ(Run(0.6f, 0.8f), 0.0f);  // r = 1 exactly
  EXPECT_EQ(dest.Offset.z, 0.0f);
  EXPECT_GT(Run(0.99f, 0), 0.0f);
  EXPECT_FLOAT_EQ(dest.Offset.z, 0.5f);
}

TEST_F(OneVertex, DepthAlongTheBaseNormalKeepsTheStrongestDabOfAStroke) {
  GeneralPen::DrawDepth = true;
  mv.BaseNormal = cVec3(0, 0.6f, 0.8f);  // depth follows BaseNormal, not Normal
  GeneralPen::DeepDegree = 0.5f;
  Run();
  EXPECT_FLOAT_EQ(dest.Offset.y, 0.3f);
  EXPECT_FLOAT_EQ(dest.Offset.z, 0.4f);
  GeneralPen::DeepDegree = 0.25f;  // asks for less: unchanged
  Run();
  EXPECT_FLOAT_EQ(dest.Offset.z, 0.4f);
  GeneralPen::DeepDegree = 1.0f;  // asks for more: replaces, not adds
  Run();
  EXPECT_FLOAT_EQ(dest.Offset.z, 0.8f);
  // A new stroke over the earlier depth adds to it.
  NewStroke();
  GeneralPen::DeepDegree = 0.5f;
  Run();
  EXPECT_FLOAT_EQ(dest.Offset.z, 0.8f + 0.4f);
}

TEST_F(OneVertex, AbsoluteDepthRaisesToTheDabButNeverLowers) {
  GeneralPen::DrawDepth = true;
  GeneralPen::AbsoluteDepth = true;
  dest.Offset = backup.Offset = cVec3(0, 0, 0.5f);
  GeneralPen::DeepDegree = 0.3f;
  Run();
  EXPECT_FLOAT_EQ(dest.Offset.z, 0.5f);
  GeneralPen::DeepDegree = -0.7f;  // magnitude above: taken, sign and all
  Run();
  EXPECT_FLOAT_EQ(dest.Offset.z, -0.7f);
}

TEST_F(OneVertex, ColourOverOpacity) {
  GeneralPen::DrawColor = true;
  GeneralPen::ColorOpacity = 0.5f;
  frame.DabColor[0] = 1, frame.DabColor[1] = 0, frame.DabColor[2] = 0;
  // An empty layer: the colour is laid whole, coverage a * a.
  Run();
  EXPECT_EQ(dest.Color, 0x00ff0000u);
  EXPECT_FLOAT_EQ(dest.Opacity, 0.25f);
  // Over full red, half blue: the mix, coverage stays full.
  dest.Color = backup.Color = 0x00ff0000u;
  dest.Opacity = backup.Opacity = 1;
  frame.DabColor[0] = 0, frame.DabColor[2] = 1;
  Run();
  EXPECT_EQ(dest.Color, 0x00800080u);  // 127.5 rounds up
  EXPECT_FLOAT_EQ(dest.Opacity, 1.0f);
  // UsePenColor off paints white, whatever the colour says.
  frame.UsePenColor = false;
  dest = backup;
  Run();
  EXPECT_EQ(dest.Color, 0x00ff8080u);
}

TEST_F(OneVertex, FreezeScalesEveryWeightAndFullFreezeSkipsColour) {
  GeneralPen::DrawDepth = GeneralPen::DrawColor = true;
  frame.DabColor[0] = frame.DabColor[1] = frame.DabColor[2] = 1;
  mv.Freeze = 0.5f;
  Run();
  EXPECT_FLOAT_EQ(dest.Offset.z, 0.25f);
  EXPECT_FLOAT_EQ(dest.Opacity, 0.25f);  // a = 0.5, a * a
  LayerMicroVertex before = dest;
  mv.Freeze = 1;
  NewStroke();
  Run();
  EXPECT_EQ(dest.Offset.z, before.Offset.z);
  EXPECT_EQ(dest.Color, before.Color);
  EXPECT_EQ(dest.Opacity, before.Opacity);
}

TEST_F(OneVertex, BackFacesAreSkippedWhenAsked) {
  GeneralPen::DrawDepth = true;
  frame.ViewDir = cVec3(0, 0, 1);  // looking at the back
  EXPECT_EQ(Run(), 0.0f);
  EXPECT_EQ(dest.Offset.z, 0.0f);
  frame.IgnoreBackfaces = false;
  EXPECT_GT(Run(), 0.0f);
  EXPECT_FLOAT_EQ(dest.Offset.z, 0.5f);
}

TEST_F(OneVertex, AFaintPenWritesDepthButNotColour) {
  GeneralPen::DrawDepth = GeneralPen::DrawColor = GeneralPen::DrawSpecular = true;
  GeneralPen::SpecularDegree = 1;
  mv.Freeze = 0.996f;  // colour alpha 0.004
  Run();
  EXPECT_NEAR(dest.Offset.z, 0.5f * 0.004f, 1e-6f);
  EXPECT_EQ(dest.Color, 0x00808080u);
  EXPECT_EQ(dest.Opacity, 0.0f);
}

TEST_F(OneVertex, LockedTransparencyKeepsCoverage) {
  GeneralPen::DrawColor = true;
  layer.LockTransparency = true;
  dest.Opacity = backup.Opacity = 0.3f;
  frame.DabColor[0] = frame.DabColor[1] = frame.DabColor[2] = 0;
  Run();
  EXPECT_EQ(dest.Opacity, 0.3f);
  EXPECT_EQ(dest.Color, 0x00000000u);  // a = 1: the colour changes
}

TEST_F(OneVertex, SpotsStackAContinuousStrokeDoesNot) {
  GeneralPen::DrawColor = true;
  GeneralPen::ColorOpacity = 0.5f;
  dest.Opacity = 1, dest.Color = 0x00808080u;
  NewStroke();
  ConePen pen;  // depth 1 at the centre
  ctx.Pen = &pen;
  Run();
  EXPECT_EQ(dest.Color & 0xff, 192u);  // (128 + 255) / 2
  Run();
  EXPECT_EQ(dest.Color & 0xff, 192u);  // the same dab again leaves it
  pen.DrawBySpots = true;
  Run();
  EXPECT_EQ(dest.Color & 0xff, 224u);  // (192 + 255) / 2, rounded
}

TEST_F(OneVertex, TheEraserScalesUpperLayersOnly) {
  GeneralPen::DrawDepth = true;
  EraseOnlyPen eraser;
  ctx.Pen = &eraser;
  dest.Offset = backup.Offset = cVec3(0, 0, 0.5f);
  Run();
  EXPECT_EQ(dest.Offset.z, 0.0f);
  ctx.CurrentLayer = 0;  // the bottom layer is not erased
  dest.Offset = backup.Offset = cVec3(0, 0, 0.5f);
  Run();
  EXPECT_EQ(dest.Offset.z, 0.5f);
}

TEST_F(OneVertex, SpecularMovesTowardTheDabAndStaysInTheAlphaByte) {
  GeneralPen::DrawColor = GeneralPen::DrawSpecular = true;
  GeneralPen::ColorOpacity = 0;  // colour keeps the backup's
  GeneralPen::SpecularDegree = 1;
  GeneralPen::SpecularOpacity = 0.5f;
  Run();
  EXPECT_EQ(dest.Color, 0x80808080u);  // 127.5 over a backup of 0
  GeneralPen::SpecularOpacity = 0.25f;  // weaker: v = 63.75 is farther from 255
  Run();
  EXPECT_EQ(dest.Color >> 24, 0x80u);
}

TEST(OnePixel, ColourCoverageAndDepthOfATexel) {
  GeneralPenSaver saved;
  GeneralPen::Reset();
  GeneralPen::DrawSpecular = false;
  StrokeFrame frame;
  frame.SetStrokeMode(kStrokeConstant);
  frame.PenRadius = 1;
  frame.DabColor[0] = 0, frame.DabColor[1] = 1, frame.DabColor[2] = 0;
  StrokeContext ctx;
  ctx.Frame = &frame, ctx.CurrentLayer = 1, ctx.UnitScale = 1;
  TilePixel px;
  LayerPixel dest, backup;
  OneLayerInfo layer;
  PixelSample s;
  s.Pixel = &px, s.Dest = &dest, s.Backup = &backup, s.Layer = &layer;
  s.Normal = cVec3(0, 0, 1);
  GeneralPen::DeepDegree = 0.5f;
  GeneralPen::ColorOpacity = 0.5f;
  PaintSample paint;
  EXPECT_GT(paint.Pixel(ctx, s, 1, 1), 0.0f);
  EXPECT_FLOAT_EQ(dest.Depth, 0.5f);
  // Coverage 255 - (1 - 0) * (255 - 127.5): a, not a squared, per pixel.
  EXPECT_EQ(dest.Color, 0x8000ff00u);
  // Freeze at half of 65535 halves depth and colour weight.
  LayerPixel fresh;
  dest = backup = fresh;
  px.Freeze = 32768;
  paint.Pixel(ctx, s, 1, 1);
  EXPECT_NEAR(dest.Depth, 0.25f, 1e-4f);
  EXPECT_EQ(dest.Color >> 24, 64u);  // 255 - 255 * (1 - 0.25)
}
