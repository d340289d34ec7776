// Booleans of two overlapping spheres through the merge come within a voxel
// of the analytic solids, and rebuilding through a matrix moves the solid.
#include <gtest/gtest.h>

#include <array>
#include <cmath>

#include "ClassEngine/Random.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/mesh/VolumeBooleans.h"
#include "../MeshChecks.h"

namespace {

constexpr float kR = 18.3f;
const float kA[3] = {-3.2f, 1.1f, 0.4f}, kB[3] = {14.1f, 4.7f, -2.9f};

double Dist(const float c[3], const double p[3]) {
  return std::sqrt((p[0] - c[0]) * (p[0] - c[0]) + (p[1] - c[1]) * (p[1] - c[1]) + (p[2] - c[2]) * (p[2] - c[2]));
}

double Volume(VolumeObject& v) {
  const MeshTopology t = SurfaceTopology(v);
  ExpectClosed(t);
  return std::fabs(t.signedVolume);
}

// Signed distance of the analytic result (positive inside) by mode.
double Analytic(int mode, const double p[3]) {
  const double a = kR - Dist(kA, p), b = kR - Dist(kB, p);
  if (mode == 0) return std::max(a, b);
  if (mode == 1) return std::min(a, -b);
  return std::min(a, b);
}

}  // namespace

TEST(VolumeBooleans, TwoSpheresWithinAVoxelOfTheAnalyticSolids) {
  const double d = Dist(kA, std::array<double, 3>{kB[0], kB[1], kB[2]}.data());
  const double ball = 4.0 / 3.0 * M_PI * kR * kR * kR;
  const double lens = M_PI * (4 * kR + d) * (2 * kR - d) * (2 * kR - d) / 12.0;
  const double expected[3] = {2 * ball - lens, ball - lens, lens};
  // A voxel's depth over the whole surface is far more than the error allowed here.
  const double area = 4 * M_PI * kR * kR;
  for (int mode = 0; mode < 3; ++mode) {
    SCOPED_TRACE(mode);
    VolumeObject target, source;
    FillVolume(target, SphereShape(kA[0], kA[1], kA[2], kR));
    FillVolume(source, SphereShape(kB[0], kB[1], kB[2], kR));
    if (mode == 0) MergeTo(source, target);
    else if (mode == 1) SubtractFrom(source, target);
    else IntersectWith(source, target);
    EXPECT_NEAR(Volume(target), expected[mode], area * 0.1);
    Random rng(77 + mode);
    int checked = 0;
    for (int i = 0; i < 3000; ++i) {
      const double p[3] = {rng.Range(-25, 35), rng.Range(-20, 25), rng.Range(-22, 22)};
      const double f = Analytic(mode, p);
      if (std::fabs(f) < 1.0) continue;  // within a voxel of the surface either answer is right
      ++checked;
      ASSERT_EQ(target.SampleField((float)p[0], (float)p[1], (float)p[2]) >= kSurfaceLevel, f > 0)
          << p[0] << " " << p[1] << " " << p[2];
    }
    EXPECT_GT(checked, 2000);
  }
}

TEST(VolumeBooleans, RebuildThroughAMatrixMovesAndScalesTheSolid) {
  VolumeObject v;
  FillVolume(v, BoxShape(2, 3, -4, 10, 6, 8));
  const double before = Volume(v);
  // Half again as large in x, then shifted by (20, -7.5, 3).
  const float m[16] = {1.5f, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 20, -7.5f, 3, 1};
  RebuildThrough(v, m);
  EXPECT_NEAR(Volume(v), before * 1.5, before * 0.03);
  const double inside[3] = {23 + 1.5 * 9, -4.5, -1}, outside[3] = {2, 3, -4};
  EXPECT_GE(v.SampleField((float)inside[0], (float)inside[1], (float)inside[2]), kSurfaceLevel);
  EXPECT_LT(v.SampleField((float)outside[0], (float)outside[1], (float)outside[2]), kSurfaceLevel);
}
