// The view's stencil reaches the voxel brushes through the pen's mask, as it
// reaches the paint dab: an odd-sized picture from ImageMagick, dark in its
// left third and in a band along its top, seen from above, gives the brushes'
// BrushMask 0 under its dark parts and 1 under its light part, the right way
// round, softened as clamp(4v - 2, 0, 1); and a carve field cuts below the pen
// where the stencil is light and not where it is dark.
#include <gtest/gtest.h>

#include "BrushTestKit.h"
#include "MC/brushes/BrushFields.h"
#include "interchange/TestFiles.h"
#include "paint/StencilMask.h"

TEST(StencilHoldsTheCarve, DarkPartsKeepTheirVoxels) {
  if (!testfiles::HaveConvert()) GTEST_SKIP() << "ImageMagick is not installed (scripts/deps.sh --tests)";
  comms::cImage picture;
  const std::string dir = testfiles::FreshFolder();
  ASSERT_TRUE(testfiles::MagickImage("-size 61x37 xc:white -fill black",
                                     "-draw \"rectangle 0,0 20,36\" -draw \"rectangle 21,0 60,13\"",
                                     dir + "stencil.png", picture));
  GeneralPenSaver saved;
  SimplePen pen;
  GeneralPen::CurrentPenPtr = &pen;
  StencilMask mask;
  // Seen from +z: x to the right, y up, one voxel a pixel, the picture's
  // middle over the origin. Dark: x < -9.5, and y > 4.5.
  mask.Project = [](const float p[3], float& sx, float& sy) { return sx = p[0] + 30.5f, sy = 18.5f - p[1], true; };
  ASSERT_TRUE(mask.SetStencil(picture, 0, 0, 61, 37));
  EXPECT_EQ(PenProfile::Current().Mask, nullptr);
  GeneralPen::Mask = &mask;
  const PenProfile profile = PenProfile::Current();
  ASSERT_EQ(profile.Mask, &mask);
  const float left[3] = {-20, 0, 5}, band[3] = {10, 12, 5}, light[3] = {10, -12, 5}, edge[3] = {-9.5f, -5, 5};
  EXPECT_NEAR(profile.BrushMask(left), 0.f, 1e-5f);
  EXPECT_NEAR(profile.BrushMask(band), 0.f, 1e-5f);
  EXPECT_NEAR(profile.BrushMask(light), 1.f, 1e-5f);
  // Half way across the edge: 0.5 plain, 4 * 0.5 - 2 = 0 soft.
  EXPECT_NEAR(profile.BrushMask(edge), 0.5f, 1e-5f);
  EXPECT_NEAR(profile.BrushMask(edge, true), 0.f, 1e-5f);
  // A carve at a point of the surface facing +z: just below the pick it cuts
  // (value above one half) under light, and leaves the solid under dark.
  auto cut = [&](float x, float y) {
    BrushEnd e;
    e.P[0] = x, e.P[1] = y, e.P[2] = 0;
    e.R = 5, e.H = 0.5f;
    const CarveField field(e, e, 4.f, false, false, PenProfile::Current());
    return field.Value(x, y, -0.5f);
  };
  EXPECT_GT(cut(10, -12), 0.5f);
  EXPECT_LT(cut(-20, 0), 0.5f);
  EXPECT_LT(cut(10, 12), 0.5f);
  GeneralPen::Mask = nullptr;
  EXPECT_GT(cut(-20, 0), 0.5f);
}
