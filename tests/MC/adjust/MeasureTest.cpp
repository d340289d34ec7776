// The measure's distance by alignment, its figure in units, and bad input.
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>

#include "MC/adjust/Measure.h"

namespace {

TEST(MeasureDistance, AlignmentsCountOnlyTheirAxes) {
  const float a[3] = {1, 2, 3}, b[3] = {4, 6, 15};
  EXPECT_FLOAT_EQ(MeasureDistance(a, b, MeasNoAlign), 13.f);
  EXPECT_FLOAT_EQ(MeasureDistance(a, b, MeasAlongX), 3.f);
  EXPECT_FLOAT_EQ(MeasureDistance(a, b, MeasAlongY), 4.f);
  EXPECT_FLOAT_EQ(MeasureDistance(a, b, MeasAlongZ), 12.f);
  EXPECT_FLOAT_EQ(MeasureDistance(a, b, MeasInXY), 5.f);
  EXPECT_FLOAT_EQ(MeasureDistance(a, b, MeasInYZ), std::sqrt(160.f));
  EXPECT_FLOAT_EQ(MeasureDistance(a, b, MeasInZX), std::sqrt(153.f));
  // An unknown alignment measures freely; swapping the points changes nothing.
  EXPECT_FLOAT_EQ(MeasureDistance(a, b, 99), 13.f);
  EXPECT_FLOAT_EQ(MeasureDistance(b, a, MeasInXY), 5.f);
}

TEST(MeasureText, UnitsAndTheCLocale) {
  // A locale with a decimal comma must not leak into the figure.
  const char* old = std::setlocale(LC_NUMERIC, "de_DE.UTF-8");
  EXPECT_EQ(MeasureText(125.f, 0, 10.f), "12.50 m");
  EXPECT_EQ(MeasureText(3.f, 2, 10.f), "0.30 cm");
  EXPECT_EQ(MeasureText(7.f, 7, 2.f), "3.50 mi");
  // Out of range: metres; a zero scale shows voxels rather than dividing by 0.
  EXPECT_EQ(MeasureText(7.f, 42, 1.f), "7.00 m");
  EXPECT_EQ(MeasureText(7.f, 1, 0.f), "7.00 mm");
  if (old) std::setlocale(LC_NUMERIC, "C");
}

}  // namespace
