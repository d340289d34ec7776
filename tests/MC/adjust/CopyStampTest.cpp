// The copy stamp: what lies around the source is stamped at the pen, cells
// out of the capsule's reach keep their bytes, and an invisible source
// stamps its complement.
#include <gtest/gtest.h>

#include "AdjustTestKit.h"
#include "MC/adjust/CopyStamp.h"

using namespace adjusttest;

namespace {

float Identity[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

TEST(CopyStamp, StampsTheSourceShapeAtThePen) {
  VolumeObject v;
  // A ball on the left is the source; the pen stamps at the right.
  MakeSphere(v, 8.f, -30.f, 0.f, 0.f);
  const VolumeSnapshot before = Snapshot(v);
  const long one = InsideCount(v);
  float shift[16];
  std::copy(Identity, Identity + 16, shift);
  shift[12] = -60.f;  // pen at +30 reads the source at -30
  const float at[3] = {30, 0, 0};
  EXPECT_GT(StampCopy(v, v, at, 14.f, at, 14.f, shift), 0);
  v.UpdateSurface();
  // Two balls of the same size, the new one mirrored in place of the old.
  EXPECT_NEAR(double(InsideCount(v)), 2.0 * one, 0.03 * one);
  for (float x : {-6.f, 0.f, 6.f}) EXPECT_NEAR(v.SampleField(30 + x, 2, 1), v.SampleField(-30 + x, 2, 1), 300.f);
  ExpectClosed(Surface(v));
  // Beyond the capsule's reach (radius 14 + band) nothing changed.
  for (const auto& cell : ChangedCells(before, Snapshot(v))) EXPECT_LT(CellDistance(cell, at), 14.f + 4.f);
  v.RestoreUndoCopies();
  EXPECT_EQ(Snapshot(v), before);
}

TEST(CopyStamp, AnInvisibleSourceStampsItsComplement) {
  VolumeObject source, target;
  MakeSphere(source, 8.f);
  source.Visible = false;
  const float at[3] = {0, 0, 0};
  StampCopy(target, source, at, 6.f, at, 6.f, Identity);
  // Inside the source's ball the complement is empty; nothing was stamped.
  EXPECT_LT(target.SampleField(0, 0, 0), 1000.f);
  VolumeObject hollow;
  MakeSphere(source, 3.f);
  source.ClearVoxels();
  StampCopy(hollow, source, at, 6.f, at, 6.f, Identity);
  EXPECT_GT(hollow.SampleField(0, 0, 0), 60000.f);
}

}  // namespace
