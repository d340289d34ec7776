// The pen style in the paint sample, against values worked out by hand from
// a 3 x 2 picture: the depth picture scales depth by its value less its mean
// over 256, the colour picture tints the paint by value / 256 and thins it by
// its alpha, the specular picture scales the specular by value / 255; a
// picture is read the right way up, repeats, turns with its slot's angle,
// and a slot whose file will not load is switched off.
#include <gtest/gtest.h>

#include <cmath>

#include "paint/GeneralPen.h"
#include "paint/OnePenStyle.h"
#include "paint/layers/OneLayerInfo.h"
#include "paint/stroke/PaintSample.h"
#include "OneVertexSample.h"
#include "interchange/Image.h"

using comms::cVec3;

namespace {
// Top row (10,20,30,255) (200,100,50,128) (0,0,0,255);
// bottom row (90,90,90,255) (128,128,128,255) (255,255,255,255).
comms::cImage Picture() {
  comms::cImage img;
  img.width = 3, img.height = 2, img.format = 4;
  img.data = {90, 90, 90, 255, 128, 128, 128, 255, 255, 255, 255, 255,  // rows are stored bottom-up
              10, 20, 30, 255, 200, 100, 50, 128, 0,   0,   0,   255};
  return img;
}

struct StyledVertex : ::testing::Test, OneVertexSample {
  OnePenStyle style;

  void SetUp() override {
    style.Project = [](const float p[3], float& sx, float& sy) { return sx = p[0], sy = p[1], true; };
    OnePenStyle::Active = &style;
  }
  void TearDown() override { OnePenStyle::Active = nullptr; }
  void At(float x, float y) {
    s.Position = cVec3(x, y, 0);
    PaintSample().Vertex(ctx, s, 1, 1);
  }
};
}  // namespace

TEST_F(StyledVertex, TheDepthPictureScalesDepthByItsDistanceFromTheMean) {
  ASSERT_TRUE(style.SetPicture(OnePenStyle::kDepth, Picture()));
  EXPECT_NEAR(style.Slots[OnePenStyle::kDepth].Mean, (10 + 200 + 0 + 90 + 128 + 255) / 6.0f, 1e-4f);
  GeneralPen::DrawDepth = true;
  GeneralPen::DeepDegree = 0.5f;
  At(1.5f, 0.5f);  // top row, middle: 200
  const float mean = 683 / 6.0f;
  EXPECT_NEAR(dest.Offset.z, 0.5f * (200 - mean) / 256, 1e-5f);
  // Below the mean the depth turns the other way (a new stroke).
  backup = dest = LayerMicroVertex();
  At(0.5f, 1.5f);  // bottom row, left: 90
  EXPECT_NEAR(dest.Offset.z, 0.5f * (90 - mean) / 256, 1e-5f);
}

TEST_F(StyledVertex, TheColourPictureTintsAndItsAlphaThins) {
  ASSERT_TRUE(style.SetPicture(OnePenStyle::kColor, Picture()));
  GeneralPen::DrawColor = true;
  GeneralPen::ColorOpacity = 1;
  At(1.5f, 0.5f);  // (200, 100, 50), alpha 128
  EXPECT_EQ((dest.Color >> 16) & 255, (uint32_t)std::lround(255 * 200 / 256.0));
  EXPECT_EQ((dest.Color >> 8) & 255, (uint32_t)std::lround(255 * 100 / 256.0));
  EXPECT_EQ(dest.Color & 255, (uint32_t)std::lround(255 * 50 / 256.0));
  const float a = 128 / 255.0f;
  EXPECT_NEAR(dest.Opacity, a * a, 1e-5f);
}

TEST_F(StyledVertex, TheSpecularPictureScalesTheSpecular) {
  ASSERT_TRUE(style.SetPicture(OnePenStyle::kSpecular, Picture()));
  GeneralPen::DrawSpecular = true;
  GeneralPen::SpecularDegree = 1;
  At(0.5f, 1.5f);  // bottom row, left: 90
  EXPECT_EQ(dest.Color >> 24, 90u);
}

TEST_F(StyledVertex, APictureRepeatsTurnsAndStaysOffWhenItWillNotLoad) {
  ASSERT_TRUE(style.SetPicture(OnePenStyle::kDepth, Picture()));
  float v[4];
  const float wrapped[3] = {4.5f, 2.5f, 0};  // column 1, row 0 again
  ASSERT_TRUE(style.Read(OnePenStyle::kDepth, wrapped, v));
  EXPECT_EQ(v[0], 200);
  // A quarter turn: screen (0.5, 1.5) reads picture (1.5, -0.5), the bottom row.
  style.Slots[OnePenStyle::kDepth].Angle = 3.14159265f / 2;
  const float turned[3] = {0.5f, 1.5f, 0};
  ASSERT_TRUE(style.Read(OnePenStyle::kDepth, turned, v));
  EXPECT_EQ(v[0], 128);
  EXPECT_FALSE(style.Read(OnePenStyle::kColor, turned, v));  // an empty slot says nothing
  style.Slots[OnePenStyle::kSpecular].Enabled = true;
  style.Slots[OnePenStyle::kSpecular].FileName = "/nonexistent/stylespec.png";
  EXPECT_FALSE(style.Activate());
  EXPECT_FALSE(style.Slots[OnePenStyle::kSpecular].Enabled);
  EXPECT_TRUE(style.Slots[OnePenStyle::kDepth].Ready());  // a slot with no file keeps its picture
}
