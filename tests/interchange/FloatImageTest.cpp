// Float images: EXR and TIFF at 32 bits round-trip exactly, 16-bit TIFF and
// half EXR keep every value they can hold, 8-bit outputs clamp.
#include <cmath>

#include "TestFiles.h"
#include "interchange/FloatImage.h"
#include "interchange/IO.h"

using comms::cFloatImage;
using namespace testfiles;

namespace {
cFloatImage Ramp(int channels, int bits) {
  cFloatImage im(5, 3, channels, bits);
  for (int y = 0; y < 3; y++)
    for (int x = 0; x < 5; x++)
      for (int c = 0; c < channels; c++)
        im.Set(x, y, c, bits == 16 ? (float)(x * 4099 + y * 7 + c * 1000) / 65535.0f : -3.0f + x * 1.37e-3f + y * 11.5f + c);
  return im;
}
}  // namespace

TEST(FloatImage, ExrAndTiffAtThirtyTwoBitsRoundTripExactly) {
  std::string dir = FreshFolder();
  for (const char* name : {"a.exr", "a.tif"})
    for (int channels : {3, 4}) {
      cFloatImage in = Ramp(channels, 32), out;
      ASSERT_TRUE(in.Save(dir + name)) << name;
      ASSERT_TRUE(out.Load(dir + name)) << name;
      ASSERT_EQ(out.width, 5);
      ASSERT_EQ(out.channels, channels);
      EXPECT_EQ(out.samples, in.samples) << name << " " << channels;
    }
}

TEST(FloatImage, SixteenBitTiffAndHalfExrKeepTheirValues) {
  std::string dir = FreshFolder();
  cFloatImage in = Ramp(4, 16), out;
  ASSERT_TRUE(in.Save(dir + "d.tiff"));
  ASSERT_TRUE(out.Load(dir + "d.tiff"));
  EXPECT_EQ(out.bits, 16);
  EXPECT_EQ(out.samples, in.samples);

  cFloatImage half(2, 2, 3, 16);
  const float values[] = {0.5f, -2.0f, 1024.0f, 0.125f, 3.0f, 65504.0f};
  for (size_t i = 0; i < half.samples.size(); i++) half.samples[i] = values[i % 6];
  ASSERT_TRUE(half.Save(dir + "h.exr"));
  ASSERT_TRUE(out.Load(dir + "h.exr"));
  EXPECT_EQ(out.bits, 16);
  EXPECT_EQ(out.samples, half.samples);

  cFloatImage grey(2, 1, 1);
  grey.Set(0, 0, 0, 0.25f);
  grey.Set(1, 0, 0, 7.0f);
  ASSERT_TRUE(grey.Save(dir + "g.exr"));
  ASSERT_TRUE(out.Load(dir + "g.exr"));
  ASSERT_EQ(out.channels, 3);  // one channel goes to all three colours
  EXPECT_EQ(out.Get(1, 0, 0), 7.0f);
  EXPECT_EQ(out.Get(1, 0, 2), 7.0f);
}

TEST(FloatImage, EightBitOutputsClampAndBadFilesFail) {
  std::string dir = FreshFolder();
  cFloatImage in(2, 1, 3);
  in.Set(0, 0, 0, 1.7f);
  in.Set(0, 0, 1, -0.2f);
  in.Set(1, 0, 2, 0.5f);
  ASSERT_TRUE(in.Save(dir + "c.png"));
  comms::cImage im;
  ASSERT_TRUE(comms::cIO::LoadImage(dir + "c.png", im));
  EXPECT_EQ(im.Pixel(0, 0)[0], 255);
  EXPECT_EQ(im.Pixel(0, 0)[1], 0);
  EXPECT_EQ(im.Pixel(1, 0)[2], 128);

  WriteText(dir + "bad.exr", "not an exr at all");
  WriteText(dir + "bad.tif", "II*\0 junk");
  cFloatImage out;
  size_t mark = LogMark();
  EXPECT_FALSE(out.Load(dir + "bad.exr"));
  EXPECT_FALSE(out.Load(dir + "bad.tif"));
  EXPECT_NE(LogSince(mark).find("cFloatImage::Load(): Can't load \"" + dir + "bad.tif\"."), std::string::npos);
  EXPECT_EQ(out.width, 0);
}
