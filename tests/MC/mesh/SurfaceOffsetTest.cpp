// Offsetting a volume's own surface: extrusion grows a sphere by the given
// distance, the surface hull leaves a wall of the given thickness.
#include <gtest/gtest.h>

#include <cmath>

#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/mesh/OffsetSurface.h"
#include "../MeshChecks.h"

namespace {

constexpr float kR = 15.4f;

bool Inside(VolumeObject& v, float x, float y, float z) { return v.SampleField(x, y, z) >= kSurfaceLevel; }

double Ball(double r) { return 4.0 / 3.0 * M_PI * r * r * r; }

}  // namespace

TEST(SurfaceOffset, ExtrusionGrowsTheSolidOutward) {
  VolumeObject v;
  FillVolume(v, SphereShape(1.3f, -2.1f, 0.6f, kR));
  ExtrudeVO(v, 3.0f);
  const MeshTopology t = SurfaceTopology(v);
  ExpectClosed(t);
  EXPECT_EQ(t.Euler(), 2);
  EXPECT_NEAR(std::fabs(t.signedVolume), Ball(kR + 3), Ball(kR + 3) * 0.05);
  EXPECT_TRUE(Inside(v, 1.3f + kR + 2.0f, -2.1f, 0.6f));
  EXPECT_FALSE(Inside(v, 1.3f + kR + 4.0f, -2.1f, 0.6f));
}

TEST(SurfaceOffset, SurfaceHullLeavesAWallOfTheThickness) {
  VolumeObject v;
  FillVolume(v, SphereShape(1.3f, -2.1f, 0.6f, kR));
  MakeSurfHull(v, 4.0f);
  const MeshTopology t = SurfaceTopology(v);
  ExpectClosed(t);
  EXPECT_EQ(t.Euler(), 4);  // the outer shell and the inner one
  EXPECT_NEAR(std::fabs(t.signedVolume), Ball(kR) - Ball(kR - 4), (Ball(kR) - Ball(kR - 4)) * 0.1);
  EXPECT_FALSE(Inside(v, 1.3f, -2.1f, 0.6f));
  EXPECT_TRUE(Inside(v, 1.3f, -2.1f + kR - 2.0f, 0.6f));
}
