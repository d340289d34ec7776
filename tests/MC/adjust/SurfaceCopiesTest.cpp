// Axial clones, the wrap's chain and the bas-relief on a seeded sphere and the
// sculpted head: the copies stand where the turns put them, the surface stays
// closed, the relief's depth range shrinks by its coefficient while what lies
// behind its plane keeps its bytes, and undo copies restore everything.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "AdjustTestKit.h"
#include "MC/adjust/SurfaceCopies.h"
#include "render/Math3D.h"

using namespace adjusttest;

namespace {

TEST(AxialClones, CopiesStandAtEachTurnAroundTheAxis) {
  VolumeObject v;
  MakeSphere(v, 9.f, 30.f, 0.f, 0.f);  // off the axis, so copies do not meet
  v.DropUndoCopies();
  const VolumeSnapshot before = Snapshot(v);
  const long one = InsideCount(v);
  const float point[3] = {0, 0, 0}, axis[3] = {0, 0, 5};  // not unit: normalised
  const auto matrices = AxialCloneMatrices(point, axis, 5);
  ASSERT_EQ(matrices.size(), 5u);
  ASSERT_TRUE(MergeSurfaceCopies(v, matrices));
  // Five balls, each within a few percent of the first.
  EXPECT_NEAR(double(InsideCount(v)), 5.0 * one, 0.06 * 5 * one);
  for (int i = 0; i < 5; ++i) {
    const float a = 2 * 3.14159265f * i / 5;
    EXPECT_GT(v.SampleField(30 * std::cos(a), 30 * std::sin(a), 0), 60000.f) << i;
    // Between two copies: empty.
    EXPECT_LT(v.SampleField(30 * std::cos(a + 0.628f), 30 * std::sin(a + 0.628f), 0), 1000.f) << i;
  }
  EXPECT_LT(v.SampleField(0, 0, 0), 1000.f);
  const MeshTopology t = Surface(v);
  ExpectClosed(t);
  EXPECT_EQ(t.Euler(), 2 * 5);  // five spheres
  v.RestoreUndoCopies();
  EXPECT_EQ(Snapshot(v), before);
}

TEST(AxialClones, TheHeadTurnedAboutItsOwnAxisKeepsOneClosedBody) {
  VolumeObject v;
  MakeHead(v);
  const long one = InsideCount(v);
  const float point[3] = {0, 0, 0}, axis[3] = {0, 1, 0};
  ASSERT_TRUE(MergeSurfaceCopies(v, AxialCloneMatrices(point, axis, 2)));
  // The face now looks both ways: the nose stands out at +z and at -z.
  const VolumeSnapshot s = Snapshot(v);
  EXPECT_GT(InsideCount(v), one);
  float front = 0, back = 0;
  for (const auto& p : Vertices(v)) front = std::max(front, p[2]), back = std::min(back, p[2]);
  EXPECT_NEAR(front, -back, 1.5f);
  ExpectClosed(Surface(v));
  // Bad input: no copies, no surface.
  EXPECT_FALSE(MergeSurfaceCopies(v, {}));
  VolumeObject empty;
  EXPECT_FALSE(MergeSurfaceCopies(empty, AxialCloneMatrices(point, axis, 3)));
  EXPECT_EQ(Snapshot(v), s);
}

TEST(WrapChain, BendStepsTurnAndTwistStepsMoveAlongTheAxis) {
  const float point[3] = {0, 0, 0}, axis[3] = {0, 0, 1};
  WrapChain bend;
  bend.Segments = 4;
  bend.StartAngle = 90, bend.EndAngle = 270, bend.Forward = 0;
  const auto m = WrapMatrices(bend, point, axis);
  ASSERT_EQ(m.size(), 4u);
  for (int i = 0; i < 4; ++i) {
    const comms::cVec3 p = TransformPoint(comms::cVec3(10, 0, 0), m[i]);
    const float a = (90.f + 45.f * i) * 3.14159265f / 180.f;
    EXPECT_NEAR(p.x, 10 * std::cos(a), 1e-3f);
    EXPECT_NEAR(p.y, 10 * std::sin(a), 1e-3f);
  }
  WrapChain twist;
  twist.Twist = true;
  twist.Segments = 3;
  twist.TwistAngle = 0, twist.Forward = 7;
  const auto t = WrapMatrices(twist, point, axis);
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(TransformPoint(comms::cVec3(1, 2, 3), t[i]).z, 3.f + 7.f * i, 1e-4f);
  twist.Segments = 0;
  EXPECT_TRUE(WrapMatrices(twist, point, axis).empty());

  // Half the step given back: the chain of a twice finer step, half as long.
  WrapChain overlapped = bend, finer = bend;
  overlapped.Overlap = 50;
  overlapped.Forward = finer.Forward = 6;
  finer.EndAngle = bend.StartAngle + (bend.EndAngle - bend.StartAngle) / 2;
  finer.Forward = 3;
  const auto o = WrapMatrices(overlapped, point, axis), f = WrapMatrices(finer, point, axis);
  ASSERT_EQ(o.size(), f.size());
  for (size_t i = 0; i < o.size(); ++i) {
    const comms::cVec3 a = TransformPoint(comms::cVec3(10, 1, 2), o[i]), b = TransformPoint(comms::cVec3(10, 1, 2), f[i]);
    EXPECT_NEAR(a.x, b.x, 1e-3f);
    EXPECT_NEAR(a.y, b.y, 1e-3f);
    EXPECT_NEAR(a.z, b.z, 1e-3f);
  }
  EXPECT_GT(std::fabs(TransformPoint(comms::cVec3(10, 0, 0), o[3]).y -
                      TransformPoint(comms::cVec3(10, 0, 0), m[3]).y), 1.f);

  // A chain of three balls along the axis.
  VolumeObject v;
  MakeSphere(v, 6.f, 0, 0, 0);
  const long one = InsideCount(v);
  twist.Segments = 3;
  twist.Forward = 20;
  ASSERT_TRUE(MergeSurfaceCopies(v, WrapMatrices(twist, point, axis)));
  EXPECT_NEAR(double(InsideCount(v)), 3.0 * one, 0.1 * 3 * one);
  EXPECT_GT(v.SampleField(0, 0, 40), 60000.f);
  EXPECT_EQ(Surface(v).Euler(), 6);
}

// The depth range along n of the vertices in front of o.
float FrontDepth(VolumeObject& v, const float o[3], const float n[3]) {
  float most = 0;
  for (const auto& p : Vertices(v))
    most = std::max(most, (p[0] - o[0]) * n[0] + (p[1] - o[1]) * n[1] + (p[2] - o[2]) * n[2]);
  return most;
}

TEST(Barelief, FlattensWhatLiesInFrontAndLeavesTheRestByteForByte) {
  for (int model = 0; model < 2; ++model) {
    VolumeObject v;
    MakeModel(v, model);
    const VolumeSnapshot before = Snapshot(v);
    const float o[3] = {0, 0, model ? 20.f : 8.f}, second[3] = {0, 0, 100};
    const float n[3] = {0, 0, 1};
    const float depth = FrontDepth(v, o, n);
    ASSERT_GT(depth, 10.f);
    EXPECT_GT(FlattenBarelief(v, o, second, 0.75f), 100);
    const MeshTopology t = Surface(v);
    ExpectClosed(t);
    // The surface facing the viewer keeps BareliefCoef of its depth (what
    // faces away is pressed onto the plane), within the lattice's rounding.
    EXPECT_NEAR(FrontDepth(v, o, n), 0.75f * depth, 1.f) << "model " << model;
    // Cells wholly behind the plane (beyond the band) keep their bytes.
    for (const auto& cell : ChangedCells(before, Snapshot(v)))
      EXPECT_GE(std::get<2>(cell) * 8 + 8, o[2] - 8) << std::get<2>(cell);
    v.RestoreUndoCopies();
    EXPECT_EQ(Snapshot(v), before);
  }
  // Two equal picks define no plane.
  VolumeObject v;
  MakeSphere(v, 10.f);
  const float p[3] = {0, 0, 0};
  EXPECT_EQ(FlattenBarelief(v, p, p, 1.f), 0);
}

}  // namespace
