// The drawn shape's distance in pixels: the rectangle's and circle's formulas
// at known points, the polygon raster positive inside and never positive
// outside (on an asymmetric L whose notch must read outside), the inner
// radius, and shapes that enclose nothing.
#include <gtest/gtest.h>

#include <array>
#include <cmath>

#include "paint/stroke/DrawnShape.h"
#include "MC/brushes/VoxelBrushSettings.h"

namespace {

DrawnShape Rectangle(float x0, float y0, float x1, float y1, int style) {
  DrawnShape s;
  s.Kind = kShapeRectangle;
  s.BorderStyle = style;
  s.Add(x0, y0);
  s.Add((x0 + x1) / 2, y0 + 3);  // the drag passes on; only its ends count
  s.Add(x1, y1);
  EXPECT_TRUE(s.Finish());
  return s;
}

// An L of 3 x 2 blocks of 20 pixels with the top right block missing, drawn
// from an odd corner so no row is symmetric.
DrawnShape LShape(int kind) {
  DrawnShape s;
  s.Kind = kind;
  const float pts[][2] = {{13, 17}, {33, 17}, {33, 37}, {73, 37}, {73, 57}, {13, 57}};
  for (auto& p : pts) s.Add(p[0], p[1]);
  EXPECT_TRUE(s.Finish());
  return s;
}

}  // namespace

TEST(DrawnShapeDistance, NoShapeReadsOneEverywhere) {
  DrawnShape s;
  EXPECT_TRUE(s.Finish());
  EXPECT_EQ(s.Distance(-500, 12345), 1.f);
  EXPECT_EQ(s.InnerRadius(), 1.f);
}

TEST(DrawnShapeDistance, RectangleIsTheLeastDistanceToItsSidesWithAnArcInside) {
  // 40 x 20 from (10, 30): h = 10.
  const DrawnShape ramp = Rectangle(50, 50, 10, 30, voBorderSharp);
  EXPECT_FLOAT_EQ(ramp.Distance(15, 40), 5.f);   // 5 from the left side
  EXPECT_FLOAT_EQ(ramp.Distance(30, 33), 3.f);   // 3 from the top
  EXPECT_FLOAT_EQ(ramp.Distance(4, 40), -6.f);   // outside, left
  EXPECT_FLOAT_EQ(ramp.Distance(30, 58), -8.f);  // outside, below
  EXPECT_FLOAT_EQ(ramp.InnerRadius(), 10.f);
  const DrawnShape round = Rectangle(10, 30, 50, 50, voBorderRound);
  // e = 5: (100 - 25) / 20.
  EXPECT_FLOAT_EQ(round.Distance(15, 40), 3.75f);
  EXPECT_FLOAT_EQ(round.Distance(30, 40), 5.f);  // the middle: e = h gives h / 2
  EXPECT_FLOAT_EQ(round.Distance(4, 40), -6.f);  // the outside keeps the ramp
}

TEST(DrawnShapeDistance, CircleScalesItsAxesToTheLongerOne) {
  DrawnShape s;
  s.Kind = kShapeCircle;
  s.BorderStyle = voBorderSharp;
  s.Add(100, 60);   // centre
  s.Add(120, 50);   // semi-axes a = 20, b = 10
  ASSERT_TRUE(s.Finish());
  EXPECT_FLOAT_EQ(s.Distance(100, 60), 20.f);
  EXPECT_FLOAT_EQ(s.Distance(110, 60), 10.f);
  EXPECT_NEAR(s.Distance(100, 65), 10.f, 1e-4f);  // 5 pixels along the short axis count double
  EXPECT_NEAR(s.Distance(100, 75), -10.f, 1e-4f);
  EXPECT_FLOAT_EQ(s.InnerRadius(), 10.f);
  s.BorderStyle = voBorderRound;
  EXPECT_FLOAT_EQ(s.Distance(110, 60), (400.f - 100.f) / 40.f);
}

TEST(DrawnShapeDistance, CircleWithAZeroAxisIsRefused) {
  DrawnShape s;
  s.Kind = kShapeCircle;
  s.Add(10, 10);
  s.Add(30, 10);
  EXPECT_FALSE(s.Finish());
  EXPECT_EQ(s.Distance(10, 10), -100000.f);
}

TEST(DrawnShapeDistance, PolygonRasterIsPositiveInsideAndNotOutside) {
  for (int kind : {kShapeLasso, kShapeContour}) {
    const DrawnShape s = LShape(kind);
    int inside = 0, outside = 0;
    for (float y = 5; y < 70; y += 0.75f)
      for (float x = 3; x < 85; x += 0.75f) {
        const bool inLower = x > 13.5f && x < 72.5f && y > 37.5f && y < 56.5f;
        const bool inLeft = x > 13.5f && x < 32.5f && y > 17.5f && y < 56.5f;
        const bool farOut = x < 12 || x > 74.5f || y < 15.5f || y > 58.5f || (x > 34.5f && y < 35.5f);
        const float d = s.Distance(x, y);
        if (inLower || inLeft) {
          EXPECT_GT(d, 0.f) << x << "," << y;
          ++inside;
        }
        if (farOut) {
          EXPECT_LE(d, 0.f) << x << "," << y;
          ++outside;
        }
      }
    EXPECT_GT(inside, 1000);
    EXPECT_GT(outside, 1000);
    // The notch's corner lies inside the L's box but outside the L.
    EXPECT_LT(s.Distance(60, 22), -10.f);
    // Far beyond the raster the distance keeps falling.
    EXPECT_LT(s.Distance(400, 22), s.Distance(200, 22));
    // The arms are 20 pixels wide; the largest circle inside sits in the
    // bend, touching both outer sides and the inner corner: r = 20 sqrt2 / (1 + sqrt2).
    EXPECT_NEAR(s.InnerRadius(), 20.f * std::sqrt(2.f) / (1 + std::sqrt(2.f)), 1.f);
  }
}

TEST(DrawnShapeDistance, SquareLassoMeasuresAsTheSameRectangle) {
  DrawnShape lasso;
  lasso.Kind = kShapeLasso;
  for (auto p : {std::array<float, 2>{10, 10}, {71, 10}, {71, 51}, {10, 51}}) lasso.Add(p[0], p[1]);
  ASSERT_TRUE(lasso.Finish());
  const DrawnShape rect = Rectangle(10, 10, 71, 51, voBorderSharp);
  EXPECT_NEAR(lasso.InnerRadius(), rect.InnerRadius(), 1.f);
  for (float x : {12.f, 20.f, 40.f, 69.f})
    for (float y : {12.f, 30.f, 49.f}) EXPECT_NEAR(lasso.Distance(x, y), rect.Distance(x, y), 1.f) << x << "," << y;
}

TEST(DrawnShapeDistance, SplineGoesSmoothlyThroughItsPoints) {
  DrawnShape s;
  s.Kind = kShapeSpline;
  for (int i = 0; i < 7; ++i) {
    const float a = 2 * 3.14159265f * i / 7;
    s.Add(200 + 50 * std::cos(a), 150 + 30 * std::sin(a));
  }
  ASSERT_TRUE(s.Finish());
  EXPECT_GT(s.Outline().size(), 7u * 4);
  EXPECT_NEAR(s.Distance(200, 150), 30.f, 2.f);
  EXPECT_LE(s.Distance(200, 190), 0.f);
  EXPECT_LE(s.Distance(260, 150), 0.f);
  EXPECT_GT(s.Distance(245, 150), 0.f);
}

TEST(DrawnShapeDistance, ShapesThatEncloseNothingStayUnfinished) {
  DrawnShape line;
  line.Kind = kShapeLasso;
  for (int i = 0; i < 10; ++i) line.Add(10.f + i * 5, 20.f + i * 3);  // collinear
  EXPECT_FALSE(line.Finish());
  EXPECT_LE(line.Distance(20, 26), 0.f);
  DrawnShape two;
  two.Kind = kShapeLasso;
  two.Add(1, 1);
  two.Add(50, 9);
  EXPECT_FALSE(two.Finish());
  DrawnShape flat = Rectangle(0, 0, 10, 10, 0);
  flat.Clear();
  flat.Add(5, 5);
  flat.Add(5, 40);
  EXPECT_FALSE(flat.Finish()) << "a rectangle of zero width";
}
