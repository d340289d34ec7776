// The transpose selection and its blended move: strengths by mode, the blend
// of one and two gizmo matrices, and the round trip through the voxels
// (moved vertices written back and read again within a tenth of a voxel), with cells out of reach unchanged and the
// undo copies restoring every byte.
#include <gtest/gtest.h>

#include <cmath>

#include "AdjustTestKit.h"
#include "MC/adjust/TransposeSet.h"
#include "MC/mesh/SurfaceDistance.h"

using namespace adjusttest;

namespace {

TransposeMatrix Translation(float x, float y, float z, const float centre[3], const float normal[3]) {
  TransposeMatrix m;
  for (int i = 0; i < 16; ++i) m.M[i] = i % 5 == 0 ? 1.f : 0.f;
  m.M[12] = x, m.M[13] = y, m.M[14] = z;
  for (int k = 0; k < 3; ++k) m.Centre[k] = centre[k], m.Normal[k] = normal[k];
  return m;
}

TEST(TransposeStrength, EachModeSelectsItsRegion) {
  const float a[3] = {0, 0, 10}, b[3] = {0, 0, 0};
  const float tip[3] = {0, 0, 12}, mid[3] = {0, 0, 5}, past[3] = {0, 0, -1};
  EXPECT_FLOAT_EQ(TransposeStrength(TRN_LINE, tip, a, b, 1.f), 1.f);
  EXPECT_NEAR(TransposeStrength(TRN_LINE, mid, a, b, 1.f), 0.5f, 1e-6f);
  EXPECT_EQ(TransposeStrength(TRN_LINE, past, a, b, 1.f), 0.f);
  EXPECT_FLOAT_EQ(TransposeStrength(TRN_BILINE, mid, a, b, 0.7f), 0.7f);
  EXPECT_EQ(TransposeStrength(TRN_BILINE, past, a, b, 0.7f), 0.f);
  // Sphere: radius |ab| = 10 about a.
  EXPECT_FLOAT_EQ(TransposeStrength(TRN_SPHERE, a, a, b, 2.f), 2.f);
  EXPECT_EQ(TransposeStrength(TRN_SPHERE, b, a, b, 2.f), 0.f);
  EXPECT_FLOAT_EQ(TransposeStrength(TRN_OBJECT, past, a, b, 0.3f), 0.3f);
  // A zero-length line selects nothing; painted selection goes dab by dab.
  EXPECT_EQ(TransposeStrength(TRN_LINE, tip, a, a, 1.f), 0.f);
  EXPECT_EQ(TransposeStrength(TRN_CUSTOM, tip, a, b, 1.f), 0.f);
  EXPECT_NEAR(DabStrength(mid, a, 10.f, 1.f), (1 - 0.25f) * (1 - 0.25f), 1e-6f);
}

TEST(TransposeBlend, StrengthScalesTheMoveAndTwoMatricesShareIt) {
  VolumeObject v;
  MakeSphere(v, 20.f);
  TransposeSet set;
  // Full strength above z = 10, half strength below.
  set.SelectWhere(v, [](const float* p) { return p[2] > 10 ? 1.f : 0.5f; });
  ASSERT_FALSE(set.Empty());
  const float c[3] = {0, 0, 0}, none[3] = {0, 0, 0};
  const TransposeMatrix m = Translation(4, 0, 0, c, none);
  set.Blend(&m, 1);
  for (const VLink& l : set.Links) {
    const float f = l.Src[2] > 10 ? 1.f : 0.5f;
    EXPECT_NEAR(l.Dst[0] - l.Src[0], 4.f * f, 1e-3f);
    EXPECT_NEAR(l.Dst[1], l.Src[1], 1e-5f);
    EXPECT_NEAR(std::sqrt(l.DstN[0] * l.DstN[0] + l.DstN[1] * l.DstN[1] + l.DstN[2] * l.DstN[2]), 1.f, 1e-4f);
  }
  // Two matrices facing away from each other: the +z side follows the first,
  // the -z side the second (which stays).
  const float up[3] = {0, 0, 1}, down[3] = {0, 0, -1};
  const float top[3] = {0, 0, 20}, bottom[3] = {0, 0, -20};
  TransposeMatrix two[2] = {Translation(6, 0, 0, top, up), Translation(0, 0, 0, bottom, down)};
  set.Blend(two, 2);
  for (const VLink& l : set.Links) {
    const float f = l.Src[2] > 10 ? 1.f : 0.5f;
    const float g0 = std::max(l.Src[2] - 20 + 16, 0.f), g1 = std::max(-(l.Src[2] + 20) + 16, 0.f);
    const float w0 = g0 * g0, w1 = g1 * g1;
    const float expect = w0 + w1 > 0 ? 6.f * w0 / (w0 + w1) * f : 0.f;
    EXPECT_NEAR(l.Dst[0] - l.Src[0], expect, 1e-3f) << l.Src[2];
  }
}

TEST(TransposeRoundTrip, MovedVerticesReachTheVoxelsAndFarCellsStay) {
  for (int model = 0; model < 2; ++model) {
    VolumeObject v;
    MakeModel(v, model);
    const VolumeSnapshot before = Snapshot(v);
    TransposeSet set;
    const float a[3] = {0, 0, model ? 62.f : 29.f}, b[3] = {0, 0, model ? 40.f : 12.f};
    set.SelectWhere(v, [&](const float* p) { return TransposeStrength(TRN_LINE, p, a, b, 1.f); });
    ASSERT_FALSE(set.Empty());
    const float none[3] = {0, 0, 0};
    const TransposeMatrix m = Translation(5, 0, 3, a, none);
    set.Blend(&m, 1);
    set.WriteBack(v);
    ASSERT_TRUE(v.SurfaceChanged);
    // The moved triangles as the user saw them.
    std::vector<VLink> edited = set.Links;
    ASSERT_TRUE(v.ApplyMC(false, true));
    const MeshTopology t = Surface(v);
    ExpectClosed(t);
    // The edited vertices lie on the surface read back from the voxels: on
    // average within a tenth of a voxel, none further than one voxel
    // (where the lattice rounds a crease of the head).
    WeldedMeshBuilder back;
    v.ExtractWeldedAll(back);
    const meshtest::Soup soup = meshtest::SoupOf(back);
    const meshtest::NearTriangles near(soup, 2.f);
    double sum = 0, worst = 0;
    for (const VLink& l : edited) {
      const double p[3] = {l.Dst[0], l.Dst[1], l.Dst[2]};
      const double d = near.Distance(p);
      sum += d, worst = std::max(worst, d);
    }
    EXPECT_LT(sum / edited.size(), 0.1) << "model " << model;
    EXPECT_LT(worst, 1.0) << "model " << model;
    // Cells far from every moved vertex keep their bytes.
    const VolumeSnapshot after = Snapshot(v);
    for (const auto& cell : ChangedCells(before, after)) {
      float nearest = 1e9f;
      for (const VLink& l : edited)
        if (l.Weight > 1) nearest = std::min({nearest, CellDistance(cell, l.Src), CellDistance(cell, l.Dst)});
      EXPECT_LT(nearest, 16.f) << "cell " << std::get<0>(cell) << " " << std::get<1>(cell) << " "
                               << std::get<2>(cell);
    }
    // The undo copies bring every byte back.
    v.RestoreUndoCopies();
    EXPECT_EQ(Snapshot(v), before);
  }
}

}  // namespace
