// The pen's own settings reach a voxel stroke: the pressure curve sets the
// dab's radius (default mode) or depth (soft modes), random radius and depth
// variation spread around the setting (and vanish where they follow a zero
// pressure), jitter moves the dab within its radius, the pen's rotation turns
// a profile that is not round, the mask holds the brush back, the fine probe
// finds a field the coarse one misses, and the flat carve's offset deepens it.
#include <gtest/gtest.h>

#include <algorithm>

#include "BrushTestKit.h"
#include "MC/brushes/ApplyField.h"

namespace {
constexpr float kSphere = 28.f;

struct PenFixture : ::testing::Test {
  GeneralPenSaver saved;
  SimplePen pen;
  VolumeObject volume;
  VoxelBrushSettings settings;
  VoxelSculptStroke stroke{settings};
  void SetUp() override {
    GeneralPen::CurrentPenPtr = &pen;
    GeneralPen::PenRadius = 20.f;
    GeneralPen::DeepDegree = 0.5f;
    FillVolume(volume, SphereShape(0, 0, 0, kSphere));
    stroke.Tool = SCULPT_CARVE;
    ASSERT_TRUE(stroke.Begin(volume, OnSphere(0, 0, kSphere, 8.f), 7));
  }
  // One dab of a sample at the top of the sphere.
  StrokeSample Dab(float radius, float pressure) {
    StrokeSample s = stroke.MakeSamples(OnSphere(0, 0, kSphere, radius, pressure), OnSphere(0, 0, kSphere, radius, pressure))[0];
    const float motion[3] = {1, 0, 0};
    stroke.ShapeDab(s, motion);
    return s;
  }
};

TEST_F(PenFixture, DefaultModeSetsTheRadiusByPressureAndLeavesTheDepth) {
  pen.ZeroPressureRadius = 0.2f;
  const StrokeSample half = Dab(10.f, 0.5f);
  EXPECT_NEAR(half.Radius, 10.f * (0.2f + 0.8f * 0.5f), 1e-4f);
  EXPECT_NEAR(half.Depth, 0.5f, 1e-6f);
  const StrokeSample none = Dab(10.f, 0.f);
  EXPECT_NEAR(none.Radius, 2.f, 1e-4f) << "the radius at pressure 0 is ZeroPressureRadius of it";
  GeneralPen::IgnorePressure = true;
  EXPECT_NEAR(Dab(10.f, 0.1f).Radius, 10.f, 1e-4f) << "pressure switched off";
}

TEST_F(PenFixture, SoftModesSetTheDepthByPressure) {
  GeneralPen::StrokeMode = kStrokeSoft;
  const StrokeSample soft = Dab(10.f, 0.25f);
  EXPECT_NEAR(soft.Radius, 10.f, 1e-4f);
  EXPECT_NEAR(soft.Depth, 0.5f * 0.25f, 1e-6f);
  GeneralPen::StrokeMode = kStrokeDoubleSoft;
  const StrokeSample both = Dab(10.f, 0.25f);
  EXPECT_NEAR(both.Radius, 2.5f, 1e-4f);
  EXPECT_NEAR(both.Depth, 0.125f, 1e-6f);
  GeneralPen::StrokeMode = kStrokeConstant;
  EXPECT_NEAR(Dab(10.f, 0.25f).Depth, 0.5f, 1e-6f);
}

TEST_F(PenFixture, VariationSpreadsRadiusAndDepthAroundTheSetting) {
  pen.RadiusVariation = 100;
  pen.DepthVariation = 50;
  float rmin = 1e9f, rmax = 0, dmin = 1e9f, dmax = -1e9f;
  for (int i = 0; i < 300; ++i) {
    const StrokeSample s = Dab(10.f, 1.f);
    rmin = std::min(rmin, s.Radius), rmax = std::max(rmax, s.Radius);
    dmin = std::min(dmin, s.Depth), dmax = std::max(dmax, s.Depth);
  }
  // Radius: 10 (1 +- 16384 * 100 / 1639000), nearly 0..20; depth 0.5 (1 +- 0.5).
  EXPECT_LT(rmin, 3.f);
  EXPECT_GT(rmax, 17.f);
  EXPECT_GE(rmin, 0.f);
  EXPECT_LE(rmax, 20.f);
  EXPECT_LT(dmin, 0.3f);
  EXPECT_GT(dmax, 0.7f);
  EXPECT_GE(dmin, 0.249f);
  EXPECT_LE(dmax, 0.751f);
  EXPECT_EQ(GeneralPen::DeepDegree, 0.5f) << "the varied depth is the dab's, not the pen's";
  // Variation that follows pressure is gone at pressure 0.
  pen.RadiusVariationDependsOnPressure = pen.DepthVariationDependsOnPressure = true;
  pen.ZeroPressureRadius = 1.f;
  const StrokeSample still = Dab(10.f, 0.f);
  EXPECT_NEAR(still.Radius, 10.f, 1e-4f);
  EXPECT_NEAR(still.Depth, 0.5f, 1e-6f);
}

TEST_F(PenFixture, JitterMovesTheDabWithinItsRadius) {
  pen.Jitter = 0.5f;
  float most = 0, least = 1e9f;
  for (int i = 0; i < 100; ++i) {
    const StrokeSample s = Dab(10.f, 1.f);
    const float d = std::hypot(s.P[0], s.P[1]);
    most = std::max(most, d), least = std::min(least, d);
  }
  EXPECT_GT(most, 2.f);
  EXPECT_LE(most, 5.01f);
  EXPECT_LT(least, most);
}

// A pen that cuts only where its x is positive.
class HalfPen : public BasicPenShape {
 public:
  float GetDepth(float x, float) override { return x > 0 ? 1.f : 0.f; }
};

// Mean x and y of the lattice points a single click took out.
void RemovedCentre(VolumeObject& before, VolumeObject& after, float out[2]) {
  double sx = 0, sy = 0, n = 0;
  for (int z = 10; z <= 32; ++z)
    for (int y = -16; y <= 16; ++y)
      for (int x = -16; x <= 16; ++x)
        if (before.GetVoxel(x, y, z) >= kSurfaceLevel && after.GetVoxel(x, y, z) < kSurfaceLevel) sx += x, sy += y, ++n;
  out[0] = n ? float(sx / n) : 0.f, out[1] = n ? float(sy / n) : 0.f;
}

TEST(PenReach, RotationTurnsAProfileThatIsNotRound) {
  GeneralPenSaver saved;
  HalfPen half;
  GeneralPen::CurrentPenPtr = &half;
  GeneralPen::DeepDegree = 0.8f;
  VolumeObject sphere;
  FillVolume(sphere, SphereShape(0, 0, 0, kSphere));
  float centre[2][2];
  for (int turn = 0; turn < 2; ++turn) {
    GeneralPen::PenRotation = turn * 3.14159265f;
    VolumeObject v;
    FillVolume(v, SphereShape(0, 0, 0, kSphere));
    VoxelBrushSettings settings;
    VoxelSculptStroke stroke(settings);
    stroke.Tool = SCULPT_CARVE;
    ASSERT_TRUE(stroke.Begin(v, OnSphere(0, 0, kSphere, 10.f), 1));
    stroke.End();
    RemovedCentre(sphere, v, centre[turn]);
  }
  const float off = std::hypot(centre[0][0], centre[0][1]);
  EXPECT_GT(off, 2.f) << "half a pen cuts off the centre";
  // Half a turn puts the cut on the other side of the pen's centre.
  const float dot = centre[0][0] * centre[1][0] + centre[0][1] * centre[1][1];
  EXPECT_LT(dot, -0.9f * off * std::hypot(centre[1][0], centre[1][1]));
}

// A stencil that hides everything at negative x.
class LeftHidden : public BrushMaskSource {
 public:
  float At(const float p[3]) const override { return p[0] < 0 ? 0.f : 1.f; }
};

TEST(PenReach, TheMaskHoldsTheBrushBack) {
  GeneralPenSaver saved;
  SimplePen pen;
  GeneralPen::CurrentPenPtr = &pen;
  LeftHidden mask;
  long removed[2][2] = {};  // [masked][side]
  VolumeObject sphere;
  FillVolume(sphere, SphereShape(0, 0, 0, kSphere));
  for (int masked = 0; masked < 2; ++masked) {
    VolumeObject v;
    FillVolume(v, SphereShape(0, 0, 0, kSphere));
    VoxelBrushSettings settings;
    VoxelSculptStroke stroke(settings);
    stroke.Tool = SCULPT_CARVE;
    stroke.Mask = masked ? &mask : nullptr;
    ASSERT_TRUE(stroke.Begin(v, OnSphere(-12, 0, kSphere, 6.f), 1));
    stroke.MoveTo(OnSphere(12, 0, kSphere, 6.f));
    stroke.End();
    for (int z = 0; z <= 30; ++z)
      for (int y = -10; y <= 10; ++y)
        for (int x = -20; x <= 20; ++x)
          if (sphere.GetVoxel(x, y, z) >= kSurfaceLevel && v.GetVoxel(x, y, z) < kSurfaceLevel) ++removed[masked][x >= 0];
  }
  EXPECT_GT(removed[0][0], 50);
  EXPECT_GT(removed[1][1], 50);
  EXPECT_LT(removed[1][0], removed[0][0] / 10) << "the hidden side keeps its voxels";
}

TEST(PenReach, TheFineProbeFindsASmallFieldTheCoarseOneMisses) {
  for (bool coarse : {true, false}) {
    VolumeObject v;
    v.CoarseProbe = coarse;
    BrushEnd a;
    a.P[0] = a.P[1] = a.P[2] = 2.f;  // between the coarse probe points of cell 0
    a.R = 0.5f;
    BrushSegment(v, a, a, kFieldUnion, 1);
    EXPECT_EQ(v.GetVoxel(2, 2, 2) > 0, !coarse) << (coarse ? "coarse" : "fine");
  }
}

TEST(PenReach, FlatCarveOffsetCutsDeeper) {
  GeneralPenSaver saved;
  SimplePen pen;
  GeneralPen::CurrentPenPtr = &pen;
  long inside[2];
  for (int i = 0; i < 2; ++i) {
    VolumeObject v;
    FillVolume(v, SphereShape(0, 0, 0, kSphere));
    VoxelBrushSettings settings;
    settings.DoubleSided = true;
    settings.FlatCarveOffset = i * 2.f;
    VoxelSculptStroke stroke(settings);
    stroke.Tool = SCULPT_CARVE;
    ASSERT_TRUE(stroke.Begin(v, OnSphere(-8, 0, kSphere, 6.f), 1));
    stroke.MoveTo(OnSphere(8, 0, kSphere, 6.f));
    stroke.End();
    inside[i] = InsideCount(v);
  }
  EXPECT_LT(inside[1], inside[0] - 100);
}

TEST(PenReach, CubicInterpolationBendsTheCapsuleAndKeepsItClosed) {
  GeneralPenSaver saved;
  VolumeObject out[2];
  for (int cubic = 0; cubic < 2; ++cubic) {
    FillVolume(out[cubic], SphereShape(0, 0, 0, kSphere));
    VoxelBrushSettings settings;
    settings.CubicInterpolation = cubic;
    VoxelSculptStroke stroke(settings);
    stroke.Tool = SCULP_SPHERE;
    ASSERT_TRUE(stroke.Begin(out[cubic], OnSphere(-16, -8, kSphere, 3.f), 1));
    stroke.MoveTo(OnSphere(0, 10, kSphere, 3.f));
    stroke.MoveTo(OnSphere(16, -8, kSphere, 3.f));
    stroke.End();
  }
  EXPECT_NE(Snapshot(out[0]), Snapshot(out[1]));
  const MeshTopology t = Surface(out[1]);
  EXPECT_EQ(t.badEdges, 0);
  EXPECT_EQ(t.flippedEdges, 0);
}
}  // namespace
