// A 16-bit PNG made by ImageMagick at test time from a picture we know pixel
// by pixel (a PPM), read by our codec; and our files read back by
// ImageMagick. Rows of a PPM run from the top; ours from the bottom. (Every
// format read from ImageMagick's files: OddPicturesTest.)
#include <cstdlib>
#include <sstream>

#include "TestFiles.h"
#include "interchange/IO.h"
#include "interchange/Image.h"

using comms::cImage;
using comms::cIO;
using namespace testfiles;

namespace {

constexpr int kW = 13, kH = 7;  // odd, and different upside down

// 4 x 4 blocks of flat colours, so block compression keeps them.
void Colour(int x, int y, int maxval, int rgb[3]) {
  static const int palette[4][3] = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 0}};
  const int* c = palette[(x / 4 + 2 * (y / 4)) % 4];
  for (int k = 0; k < 3; k++) rgb[k] = c[k] * maxval / 255 - (maxval > 255 ? x * 7 + y : 0) * (c[k] != 0);
}

std::string WritePpm(const std::string& path, int maxval) {
  std::string s = "P6\n" + std::to_string(kW) + " " + std::to_string(kH) + "\n" + std::to_string(maxval) + "\n";
  for (int y = 0; y < kH; y++)
    for (int x = 0; x < kW; x++) {
      int rgb[3];
      Colour(x, y, maxval, rgb);
      for (int v : rgb) {
        if (maxval > 255) s += (char)(v >> 8);
        s += (char)(v & 255);
      }
    }
  WriteText(path, s);
  return path;
}


// Reads a binary PPM that ImageMagick wrote, top row first.
std::vector<uint8_t> ReadPpmPixels(const std::string& path) {
  std::string s = ReadText(path);
  std::istringstream in(s);
  std::string magic;
  int w = 0, h = 0, maxval = 0;
  in >> magic >> w >> h >> maxval;
  in.get();
  std::vector<uint8_t> px(s.begin() + (long)in.tellg(), s.end());
  return magic == "P6" && w == kW && h == kH ? px : std::vector<uint8_t>();
}

}  // namespace

TEST(ImageMagickFiles, SixteenBitPngFromImageMagickIsExact) {
  if (!HaveConvert()) GTEST_SKIP() << "ImageMagick (imagemagick) is not installed (scripts/deps.sh --tests)";
  std::string dir = FreshFolder();
  std::string ppm = WritePpm(dir + "ref16.ppm", 65535);
  ASSERT_TRUE(Magick(ppm + " PNG48:" + dir + "deep.png"));
  cImage im;
  ASSERT_TRUE(cIO::LoadImage(dir + "deep.png", im));
  ASSERT_EQ(im.format, 7);
  for (int y = 0; y < kH; y++)
    for (int x = 0; x < kW; x++) {
      int rgb[3];
      Colour(x, y, 65535, rgb);
      const uint8_t* p = im.Pixel(x, kH - 1 - y);
      for (int k = 0; k < 3; k++) EXPECT_EQ(p[2 * k] | p[2 * k + 1] << 8, rgb[k]) << x << "," << y;
    }
}

TEST(ImageMagickFiles, ImageMagickReadsWhatWeWrite) {
  if (!HaveConvert()) GTEST_SKIP() << "ImageMagick (imagemagick) is not installed (scripts/deps.sh --tests)";
  std::string dir = FreshFolder();
  cImage im;
  im.Create(kW, kH, 3);
  for (int y = 0; y < kH; y++)
    for (int x = 0; x < kW; x++) {
      int rgb[3];
      Colour(x, y, 255, rgb);
      for (int k = 0; k < 3; k++) im.Pixel(x, kH - 1 - y)[k] = (uint8_t)rgb[k];
    }
  for (const char* name : {"ours.tga", "ours.bmp", "ours.png", "ours.dds"}) {
    ASSERT_TRUE(cIO::SaveImage(dir + name, im)) << name;
    // ImageMagick 6 keeps a TGA's rows in file order and notes the origin;
    // -auto-orient applies it.
    ASSERT_TRUE(Magick(dir + name + " -auto-orient " + dir + name + ".ppm")) << name;
    std::vector<uint8_t> px = ReadPpmPixels(dir + name + ".ppm");
    ASSERT_EQ(px.size(), (size_t)kW * kH * 3) << name;
    for (int y = 0; y < kH; y++)
      for (int x = 0; x < kW; x++)
        for (int k = 0; k < 3; k++) ASSERT_EQ(px[(y * kW + x) * 3 + k], im.Pixel(x, kH - 1 - y)[k]) << name;
  }
}
