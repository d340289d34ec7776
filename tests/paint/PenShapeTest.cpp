// Pen profiles at known points, falloff and focal shift, pressure mapping,
// dab radius variation, and the stroke step: dab count and spacing along a
// straight drag, and the mirror copies per symmetry bit pattern.
#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <vector>

#include "paint/GeneralPen.h"
#include "paint/PenDab.h"
#include "paint/PenPressure.h"
#include "paint/PenShapes.h"
#include "paint/StrokeSpacer.h"

TEST(PenProfiles, KnownPoints) {
  GeneralPenSaver saved;
  GeneralPen::Reset();
  ConePen cone;
  SharpPen sharp;
  SpherePen sphere;
  VolcanoPen volcano;
  PlanePen plane;
  SimplePen simple;
  EXPECT_FLOAT_EQ(cone.GetDepth(0.5f, 0), 0.5f);
  EXPECT_FLOAT_EQ(sharp.GetDepth(0, 0.5f), 0.25f);
  EXPECT_NEAR(sphere.GetDepth(0.6f, 0), 0.8f, 1e-6);
  EXPECT_FLOAT_EQ(volcano.GetDepth(0, 0), 0.f);
  EXPECT_FLOAT_EQ(volcano.GetDepth(0.5f, 0), 1.f);
  EXPECT_FLOAT_EQ(volcano.GetDepth(1, 0), 0.f);
  for (float r : {0.f, 0.3f, 0.75f}) EXPECT_FLOAT_EQ(plane.GetDepth(r, 0), 1.f) << r;
  EXPECT_FLOAT_EQ(plane.GetDepth(1.f, 0), 0.f);
  EXPECT_FLOAT_EQ(simple.GetDepth(0, 0), 1.f);
  EXPECT_FLOAT_EQ(simple.GetDepth(1, 0), 0.f);
  // The square is closed at 1.0 and empty beyond.
  EXPECT_FLOAT_EQ(cone.GetDepthClamped(1.0f, 0), cone.GetDepth(1.0f, 0));
  EXPECT_FLOAT_EQ(plane.GetDepthClamped(0, 1.0f), 0.f);
  EXPECT_FLOAT_EQ(BasicPenShape().GetDepthClamped(1.0f, 1.0f), 1.f);
  EXPECT_FLOAT_EQ(BasicPenShape().GetDepthClamped(1.001f, 0), 0.f);
  float c[4];
  BasicPenShape().GetColorClamped(c, 2, 0);
  EXPECT_EQ(c[3], 0.f);
}

TEST(PenProfiles, FalloffAndFocalShift) {
  GeneralPenSaver saved;
  GeneralPen::Reset();
  BasicPenShape flat;
  float color[4], w[4];
  flat.Sample(0.6f, 0, color, w);
  EXPECT_FLOAT_EQ(w[0], 1.f);  // Falloff 0 skips the factor
  GeneralPen::Falloff = 1;
  flat.Sample(0.6f, 0, color, w);
  EXPECT_NEAR(w[0], std::pow(1 - 0.36f, 8.f), 1e-6);
  EXPECT_NEAR(color[3], w[0], 1e-6);
  EXPECT_FLOAT_EQ(w[1], 1.f);  // specular weight is not faded
  GeneralPen::Falloff = 0;
  ConePen cone;
  GeneralPen::FocalShift = 1;
  EXPECT_NEAR(cone.GetDepth(0.5f, 0), 1 - 0.25f, 1e-6);
  GeneralPen::FocalShift = 0;
  EXPECT_NEAR(cone.GetDepth(0.5f, 0), 0.5f, 1e-6);
  // A pattern pen's remap leaves the centre alone.
  PatternPen pattern;
  PenImage img;
  img.Width = img.Height = 2;
  img.Depth = {0, 1, 1, 0};
  img.Rgba.assign(16, 1.f);
  pattern.SetImage(img);
  GeneralPen::FocalShift = 0.5f;
  EXPECT_NEAR(pattern.GetDepth(0, 0), 0.5f, 1e-6);
  StripPen strip;
  strip.SetImage(img);
  EXPECT_FLOAT_EQ(strip.GetDepthClamped(1.0f, 0), 0.f);  // the strip fades at its sides
  EXPECT_FLOAT_EQ(strip.GetAspect(), 1.f);
}

TEST(PenPressureMapping, CurveAndFullPressure) {
  EXPECT_FLOAT_EQ(MapPressure(1024, 1024, 0.f), 1.f);  // exactly 1 skips the curve
  EXPECT_NEAR(MapPressure(512, 1024, 1.75f), 0.5f, 1e-6);
  EXPECT_NEAR(MapPressure(512, 1024, 0.75f), std::pow(0.5f, 2.f), 1e-6);
  EXPECT_FLOAT_EQ(MapPressure(2048, 1024, 1.f), 1.f);
  GeneralPenSaver saved;
  ReplayPressure replay({0.25f, 1.f});
  UpdatePenPressure(replay, true);
  EXPECT_FLOAT_EQ(GeneralPen::PrevPressure, GeneralPen::PenPressure);
  const float first = GeneralPen::PenPressure;
  UpdatePenPressure(replay, false);
  EXPECT_FLOAT_EQ(GeneralPen::PrevPressure, first);
  EXPECT_FLOAT_EQ(GeneralPen::PenPressure, 1.f);
  MousePressure mouse;
  UpdatePenPressure(mouse, false);
  EXPECT_FLOAT_EQ(GeneralPen::PenPressure, 1.f);
}

TEST(PenDabs, RadiusFollowsPressureAndVariesWithinBounds) {
  GeneralPenSaver saved;
  GeneralPen::Reset();
  GeneralPen::PenRadius = 40;
  SimplePen pen;
  Random rnd(5);
  pen.ZeroPressureRadius = 0.25f;
  EXPECT_FLOAT_EQ(DabRadius(pen, 0.f, rnd), 10.f);
  EXPECT_FLOAT_EQ(DabRadius(pen, 1.f, rnd), 40.f);
  GeneralPen::StrokeMode = kStrokeSoft;
  EXPECT_FLOAT_EQ(DabRadius(pen, 0.f, rnd), 40.f);
  GeneralPen::StrokeMode = kStrokeMiddleNarrow;
  EXPECT_FLOAT_EQ(DabRadius(pen, 0.5f, rnd), 10.f);
  GeneralPen::StrokeMode = kStrokeConstant;
  pen.RadiusVariation = 100;
  Random a(9), b(9);
  float lo = 1e9f, hi = 0;
  for (int i = 0; i < 500; ++i) {
    const float r = DabRadius(pen, 1, a);
    EXPECT_FLOAT_EQ(r, DabRadius(pen, 1, b));  // seeded: repeats exactly
    lo = std::min(lo, r), hi = std::max(hi, r);
  }
  EXPECT_GE(lo, 40 * (1 - 16384 * 100 / 1639000.f) - 1e-3f);
  EXPECT_LE(hi, 40 * (1 + 16384 * 100 / 1639000.f) + 1e-3f);
  EXPECT_LT(lo, 38.f);
  EXPECT_GT(hi, 42.f);
  GeneralPen::StrokeMode = kStrokePreview;  // no variation in the preview
  EXPECT_FLOAT_EQ(DabRadius(pen, 1, a), 40.f);
}

TEST(PenDabs, AmountsAreRestoredAfterTheDab) {
  GeneralPenSaver saved;
  GeneralPen::Reset();
  SimplePen pen;
  pen.DepthVariation = 100;
  pen.OpacityVariation = 100;
  Random rnd(3);
  {
    DabAmounts amounts(pen, 1, rnd);
    EXPECT_NE(GeneralPen::DeepDegree, 0.5f);
    EXPECT_LE(GeneralPen::ColorOpacity, 1.f);
  }
  EXPECT_FLOAT_EQ(GeneralPen::DeepDegree, 0.5f);
  EXPECT_FLOAT_EQ(GeneralPen::ColorOpacity, 1.f);
}

TEST(PenDabs, FrameIsOrthonormal) {
  GeneralPenSaver saved;
  GeneralPen::Reset();
  SimplePen pen;
  pen.RotationAmplitude = 90;
  Random rnd(1);
  PenFrameInput in;
  in.Motion[0] = 3;
  PenFrame f = BuildPenFrame(pen, in, 1, rnd);
  auto dot = [](const float* a, const float* b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; };
  EXPECT_NEAR(dot(f.X, f.Y), 0, 1e-5);
  EXPECT_NEAR(dot(f.X, f.Z), 0, 1e-5);
  EXPECT_NEAR(dot(f.X, f.X), 1, 1e-5);
  EXPECT_NEAR(dot(f.Y, f.Y), 1, 1e-5);
}

namespace {
// A flat floor z = 0 seen from above: screen x, y are world x, y.
class Floor : public StrokeSurface {
 public:
  bool Pick(float sx, float sy, SurfaceHit& hit) override {
    hit.Pos[0] = sx, hit.Pos[1] = sy, hit.Pos[2] = 0;
    return std::fabs(sx) < 1000 && std::fabs(sy) < 1000;
  }
  void Project(const float w[3], float& sx, float& sy) override { sx = w[0], sy = w[1]; }
};
}  // namespace

TEST(StrokeSpacing, StraightDragGivesOneDabPerStep) {
  GeneralPenSaver saved;
  GeneralPen::Reset();
  SimplePen pen;
  pen.Spacing = 10;
  GeneralPen::CurrentPenPtr = &pen;
  GeneralPen::StrokeRadius = 0;
  Floor floor;
  std::vector<float> xs;
  StrokeSpacer spacer(floor, [&](const Dab& d) { xs.push_back(d.Hit.Pos[0]); });
  spacer.Begin();
  for (int frame = 0; frame <= 10; ++frame) spacer.Step(frame * 10.f, 0, 20.f);
  // 100 units at 20 / 10.01 per dab, plus the first dab.
  ASSERT_EQ((int)xs.size(), 1 + (int)(100 / (20 / 10.01f)));
  for (size_t i = 1; i < xs.size(); ++i) EXPECT_NEAR(xs[i] - xs[i - 1], 20 / 10.01f, 1e-3);
}

TEST(StrokeSpacing, MirrorCopiesFollowTheBitPattern) {
  GeneralPenSaver saved;
  GeneralPen::Reset();
  Floor floor;
  for (int bits = 0; bits < 8; ++bits) {
    GeneralPen::Symmetry = bits;
    std::set<int> mirrors;
    StrokeSpacer spacer(floor, [&](const Dab& d) { mirrors.insert(d.Mirror); });
    spacer.Begin();
    spacer.Step(5, 7, 10);
    std::set<int> expected;
    for (int m = 0; m < 8; ++m)
      if ((m & bits) == m) expected.insert(m);
    EXPECT_EQ(mirrors, expected) << bits;
  }
}

TEST(StrokeSpacing, NoHitNoDab) {
  GeneralPenSaver saved;
  GeneralPen::Reset();
  Floor floor;
  int dabs = 0;
  StrokeSpacer spacer(floor, [&](const Dab&) { ++dabs; });
  spacer.Begin();
  EXPECT_EQ(spacer.Step(5000, 0, 10), 0);
  EXPECT_FALSE(spacer.HasHit());
  EXPECT_EQ(dabs, 0);
}
