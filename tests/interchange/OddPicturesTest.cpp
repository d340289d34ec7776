// Every image format read from files that ImageMagick makes of one picture of
// odd size that looks different upside down, left to right and shifted by a
// row: a flipped, shifted or mirrored row shows. Also the files of other
// programs that need a conversion: CMYK JPEG (plain and Adobe's inverted
// inks) and palette TIFF.
#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

#include <algorithm>
#include <cmath>

#include "TestFiles.h"
#include "interchange/FloatImage.h"
#include "interchange/IO.h"
#include "interchange/Image.h"

using comms::cFloatImage;
using comms::cImage;
using comms::cIO;
using namespace testfiles;

namespace {

constexpr int kW = 67, kH = 45;

// Flat 4 x 4 blocks counted from the top-left corner (so that DXT keeps them)
// of six colours in a sequence that no flip or shift repeats.
void Colour(int x, int yFromTop, int rgb[3]) {
  static const int palette[6][3] = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 0}, {255, 255, 255}, {0, 0, 0}};
  const int* c = palette[(x / 4 + 5 * (yFromTop / 4) + (x / 4) * (yFromTop / 4)) % 6];
  for (int k = 0; k < 3; k++) rgb[k] = c[k];
}

std::string WritePpm(const std::string& path) {
  std::string s = "P6\n" + std::to_string(kW) + " " + std::to_string(kH) + "\n255\n";
  for (int y = 0; y < kH; y++)
    for (int x = 0; x < kW; x++) {
      int rgb[3];
      Colour(x, y, rgb);
      for (int v : rgb) s += (char)v;
    }
  WriteText(path, s);
  return path;
}


// The largest difference of an 8-bit image (bottom-up) from the picture.
int WorstDifference(const cImage& im) {
  if (im.width != kW || im.height != kH || cImage::BytesPerPixel(im.format) < 3) return 999;
  int worst = 0;
  for (int y = 0; y < kH; y++)
    for (int x = 0; x < kW; x++) {
      int rgb[3];
      Colour(x, y, rgb);
      const uint8_t* p = im.Pixel(x, kH - 1 - y);
      for (int k = 0; k < 3; k++) worst = std::max(worst, std::abs(p[k] - rgb[k]));
    }
  return worst;
}

int WorstDifference(const cFloatImage& im) {
  if (im.width != kW || im.height != kH || im.channels < 3) return 999;
  int worst = 0;
  for (int y = 0; y < kH; y++)
    for (int x = 0; x < kW; x++) {
      int rgb[3];
      Colour(x, y, rgb);
      for (int k = 0; k < 3; k++)
        worst = std::max(worst, std::abs((int)std::lround(im.Get(x, kH - 1 - y, k) * 255) - rgb[k]));
    }
  return worst;
}

// A CMYK JPEG written through libjpeg with the inks as they are (no Adobe
// marker), the form that isn't inverted.
std::vector<uint8_t> PlainCmykJpeg() {
  jpeg_compress_struct info;
  jpeg_error_mgr err;
  info.err = jpeg_std_error(&err);
  jpeg_create_compress(&info);
  unsigned char* out = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&info, &out, &size);
  info.image_width = kW;
  info.image_height = kH;
  info.input_components = 4;
  info.in_color_space = JCS_CMYK;
  jpeg_set_defaults(&info);
  jpeg_set_colorspace(&info, JCS_CMYK);
  info.write_Adobe_marker = FALSE;
  jpeg_set_quality(&info, 100, TRUE);
  jpeg_start_compress(&info, TRUE);
  std::vector<uint8_t> row(kW * 4);
  for (int y = 0; y < kH; y++) {
    for (int x = 0; x < kW; x++) {
      int rgb[3];
      Colour(x, y, rgb);
      const int k = 255 - std::max({rgb[0], rgb[1], rgb[2]});
      for (int c = 0; c < 3; c++) row[x * 4 + c] = (uint8_t)(k == 255 ? 0 : 255 * (255 - rgb[c] - k) / (255 - k));
      row[x * 4 + 3] = (uint8_t)k;
    }
    JSAMPROW r = row.data();
    jpeg_write_scanlines(&info, &r, 1);
  }
  jpeg_finish_compress(&info);
  jpeg_destroy_compress(&info);
  std::vector<uint8_t> bytes(out, out + size);
  free(out);
  return bytes;
}

}  // namespace

TEST(OddPictures, EveryFormatFromImageMagickKeepsRowsAndColumns) {
  if (!HaveConvert()) GTEST_SKIP() << "ImageMagick (imagemagick) is not installed (scripts/deps.sh --tests)";
  std::string dir = FreshFolder();
  std::string ppm = WritePpm(dir + "ref.ppm");
  struct Case {
    const char* target;
    const char* options;
    int tolerance;
  } cases[] = {
      // ImageMagick 6 writes TGA rows in its own order and only sets the
      // origin flag: a picture turned over first makes a true bottom-up file.
      {"plain.tga", "-flip -orient BottomLeft -compress None", 0},
      {"rle.tga", "-flip -orient BottomLeft -compress RLE", 0},
      {"top.tga", "-orient TopLeft", 0},
      {"v3.bmp", "", 0},
      {"palette.bmp", "-type Palette", 0},
      {"rgb.png", "", 0},
      {"palette.png", "-type Palette", 0},
      {"palette4.png", "-type Palette -define png:bit-depth=4 -define png:color-type=3", 0},
      {"rgba.png", "-alpha on", 0},
      {"q.jpg", "-quality 100", 40},
      {"cmyk.jpg", "-quality 100 -colorspace CMYK", 40},
      {"plain.dds", "-define dds:compression=none -define dds:mipmaps=0", 0},
      {"dxt1.dds", "-define dds:compression=dxt1 -define dds:mipmaps=0", 4},
      {"dxt5.dds", "-define dds:compression=dxt5 -define dds:mipmaps=0 -alpha on", 4},
  };
  for (const Case& c : cases) {
    const std::string target = c.target;
    cImage im;
    ASSERT_TRUE(MagickImage(ppm, c.options, dir + target, im)) << target;
    EXPECT_LE(WorstDifference(im), c.tolerance) << target << "\n" << LogText();
  }
  cImage palette;
  ASSERT_TRUE(cIO::LoadImage(dir + "palette4.png", palette));
  EXPECT_EQ(palette.format, 3);  // a 4-bit palette becomes 8-bit RGB
  for (const char* tiff : {"rgb.tif", "palette.tif"}) {
    ASSERT_TRUE(Magick(ppm + (std::string(tiff) == "palette.tif" ? " -type Palette " : " ") + dir + tiff));
    cFloatImage im;
    ASSERT_TRUE(im.Load(dir + tiff)) << tiff;
    EXPECT_EQ(im.channels, 3) << tiff;  // a palette becomes its colours, not grey indices
    EXPECT_EQ(WorstDifference(im), 0) << tiff;
  }
}

TEST(OddPictures, CmykJpegWithAndWithoutInvertedInks) {
  std::string dir = FreshFolder();
  cImage plain;
  ASSERT_TRUE(cIO::FindImageCodec("jpg")->Decode(PlainCmykJpeg(), plain));
  EXPECT_EQ(plain.format, 3);
  EXPECT_LE(WorstDifference(plain), 40);
  if (!HaveConvert()) GTEST_SKIP() << "ImageMagick (imagemagick) is not installed (scripts/deps.sh --tests)";
  // ImageMagick writes Adobe's form: an Adobe marker and inverted inks.
  ASSERT_TRUE(Magick(WritePpm(dir + "ref.ppm") + " -quality 100 -colorspace CMYK " + dir + "adobe.jpg"));
  const std::vector<uint8_t> adobe = ReadBytes(dir + "adobe.jpg");
  ASSERT_NE(std::string(adobe.begin(), adobe.end()).find("Adobe"), std::string::npos);
  cImage inverted;
  ASSERT_TRUE(cIO::FindImageCodec("jpg")->Decode(adobe, inverted));
  EXPECT_EQ(inverted.format, 3);
  EXPECT_LE(WorstDifference(inverted), 40);
}
