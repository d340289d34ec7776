// The image codecs on hand-built data: TGA origins and run-length packets
// across rows, BMP padding and refusals, DDS formats, cube maps and DXT
// blocks, PNG and JPEG round trips, and the messages of LoadImage.
#include <cstring>

#include "TestFiles.h"
#include "interchange/DxtBlocks.h"
#include "interchange/IO.h"

using comms::cImage;
using comms::cIO;
using namespace testfiles;

namespace {

std::vector<uint8_t> TgaHeader(int type, int w, int h, int bits, int descriptor) {
  std::vector<uint8_t> b(18, 0);
  b[2] = (uint8_t)type;
  b[12] = (uint8_t)w;
  b[14] = (uint8_t)h;
  b[16] = (uint8_t)bits;
  b[17] = (uint8_t)descriptor;
  return b;
}

// A w x h image of the format whose bytes count up from `seed`.
cImage Pattern(int w, int h, int format, int seed = 1) {
  cImage im;
  im.Create(w, h, format);
  for (size_t i = 0; i < im.data.size(); i++) im.data[i] = (uint8_t)(seed + i * 7);
  return im;
}

bool RoundTrip(const char* codec, const cImage& in, cImage& out) {
  std::vector<uint8_t> bytes;
  cIO::ImageCodec* c = cIO::FindImageCodec(codec);
  return c && c->Encode(in, bytes) && c->Decode(bytes, out);
}

}  // namespace

TEST(TgaCodec, TopLeftOriginLoadsLikeItsBottomLeftTwin) {
  // 2 x 3, 24 bits; rows in file order differ only by the origin bit.
  std::vector<uint8_t> rows = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18};
  auto bottom = TgaHeader(2, 2, 3, 24, 0), top = TgaHeader(2, 2, 3, 24, 0x20);
  bottom.insert(bottom.end(), rows.begin(), rows.end());
  // The top-left file stores the same picture with its rows reversed.
  for (int y = 2; y >= 0; y--) top.insert(top.end(), rows.begin() + y * 6, rows.begin() + y * 6 + 6);
  cImage a, b;
  ASSERT_TRUE(cIO::FindImageCodec("tga")->Decode(bottom, a));
  ASSERT_TRUE(cIO::FindImageCodec("tga")->Decode(top, b));
  EXPECT_EQ(a.format, 3);
  EXPECT_EQ(a.data, b.data);
  EXPECT_EQ(a.Pixel(0, 0)[0], 3);  // blue-green-red turned round
  EXPECT_EQ(a.Pixel(0, 0)[2], 1);
}

TEST(TgaCodec, RunLengthPacketsCrossRowsAndFormatsOfEveryDepth) {
  // 3 x 2 grey, RLE: a run of 4 crosses from row 0 into row 1, then 2 raw.
  auto rle = TgaHeader(11, 3, 2, 8, 0);
  rle.insert(rle.end(), {0x83, 50, 0x01, 60, 70});
  cImage grey;
  ASSERT_TRUE(cIO::FindImageCodec("tga")->Decode(rle, grey));
  EXPECT_EQ(grey.format, 1);
  EXPECT_EQ(grey.data, (std::vector<uint8_t>{50, 50, 50, 50, 60, 70}));

  auto p16 = TgaHeader(2, 1, 1, 16, 0);
  p16.insert(p16.end(), {0x1f, 0x80});  // blue 31, alpha set
  cImage c16;
  ASSERT_TRUE(cIO::FindImageCodec("tga")->Decode(p16, c16));
  EXPECT_EQ(c16.format, 4);
  EXPECT_EQ(c16.data, (std::vector<uint8_t>{0, 0, 248, 255}));

  auto mapped = TgaHeader(1, 2, 1, 8, 0);
  mapped[1] = 1;
  mapped[5] = 2;  // two entries of 24 bits
  mapped[7] = 24;
  mapped.insert(mapped.end(), {10, 20, 30, 40, 50, 60, 1, 0});
  cImage m;
  ASSERT_TRUE(cIO::FindImageCodec("tga")->Decode(mapped, m));
  EXPECT_EQ(m.format, 3);
  EXPECT_EQ(m.data, (std::vector<uint8_t>{60, 50, 40, 30, 20, 10}));

  for (int f : {1, 3, 4}) {
    cImage in = Pattern(5, 3, f), out;
    ASSERT_TRUE(RoundTrip("tga", in, out)) << f;
    if (f == 1) {  // grey goes through a grey palette and comes back as RGB
      ASSERT_EQ(out.format, 3);
      for (int i = 0; i < 15; i++) EXPECT_EQ(out.data[i * 3 + 1], in.data[i]);
    } else {
      EXPECT_EQ(out.data, in.data);
    }
  }
  cImage sixteen = Pattern(2, 2, 5), none;
  std::vector<uint8_t> bytes;
  EXPECT_FALSE(cIO::FindImageCodec("tga")->Encode(sixteen, bytes));

  auto cut = TgaHeader(2, 100, 100, 32, 0);
  cut.resize(cut.size() + 50);
  EXPECT_FALSE(cIO::FindImageCodec("tga")->Decode(cut, none));
  auto endless = TgaHeader(10, 200, 200, 24, 0);
  endless.insert(endless.end(), {0xff, 1, 2, 3});
  EXPECT_FALSE(cIO::FindImageCodec("tga")->Decode(endless, none));
}

TEST(BmpCodec, RoundTripsWithPaddedRowsAndRefusesRunLength) {
  for (int f : {3, 4}) {
    cImage in = Pattern(5, 3, f), out;
    ASSERT_TRUE(RoundTrip("bmp", in, out));
    EXPECT_EQ(out.format, f);
    EXPECT_EQ(out.data, in.data);
  }
  cImage grey = Pattern(3, 2, 1), out;
  std::vector<uint8_t> bytes;
  ASSERT_TRUE(cIO::FindImageCodec("bmp")->Encode(grey, bytes));
  EXPECT_EQ(bytes[10] | bytes[11] << 8, 0x436);
  ASSERT_TRUE(cIO::FindImageCodec("bmp")->Decode(bytes, out));
  EXPECT_EQ(out.format, 3);
  EXPECT_EQ(out.Pixel(2, 1)[0], grey.Pixel(2, 1)[0]);

  ASSERT_TRUE(cIO::FindImageCodec("bmp")->Encode(Pattern(4, 4, 3), bytes));
  bytes[30] = 1;  // run-length compression
  EXPECT_FALSE(cIO::FindImageCodec("bmp")->Decode(bytes, out));
  bytes[30] = 0;
  bytes.resize(bytes.size() - 1);
  EXPECT_FALSE(cIO::FindImageCodec("bmp")->Decode(bytes, out));
}

TEST(DdsCodec, FormatsRoundTripAndCubesKeepTheirFaces) {
  for (int f : std::vector<int>{1, 2, 3, 4, 5, 6, 8, 9, 10, 12, 13, 14, 16, comms::kFormatDxt1, comms::kFormatDxt3,
                comms::kFormatDxt5}) {
    cImage in = Pattern(8, 8, f, f), out;
    in.mips = 4;  // 8, 4, 2, 1
    in.data.resize(cImage::LevelBytes(f, 8, 8) + cImage::LevelBytes(f, 4, 4) + cImage::LevelBytes(f, 2, 2) +
                   cImage::LevelBytes(f, 1, 1));
    for (size_t i = 0; i < in.data.size(); i++) in.data[i] = (uint8_t)(i * 13 + f);
    ASSERT_TRUE(RoundTrip("dds", in, out)) << f;
    EXPECT_EQ(out.format, f);
    EXPECT_EQ(out.mips, 4);
    EXPECT_EQ(out.data, in.data) << f;
  }
  cImage cube = Pattern(4, 4, 4), out;
  cube.kind = cImage::Kind::Cube;
  cube.depth = 6;
  cube.data.resize(6 * 64);
  ASSERT_TRUE(RoundTrip("dds", cube, out));
  EXPECT_EQ(out.kind, cImage::Kind::Cube);
  EXPECT_EQ(out.depth, 6);
  EXPECT_EQ(out.data.size(), 6u * 64);
  std::vector<uint8_t> bytes;
  for (int f : {7, 11, 15, 18, 19}) EXPECT_FALSE(cIO::FindImageCodec("dds")->Encode(Pattern(4, 4, f), bytes)) << f;
}

TEST(DdsCodec, DxtBlocksDecodeBottomUp) {
  // One DXT1 block, file order: top row colour 0 (red), the rest colour 1 (blue).
  std::vector<uint8_t> file(128, 0);
  std::memcpy(file.data(), "DDS ", 4);
  file[4] = 0x7c;
  file[12] = 4;  // height
  file[16] = 4;  // width
  file[80] = 4;
  std::memcpy(file.data() + 84, "DXT1", 4);
  file.insert(file.end(), {0x00, 0xf8, 0x1f, 0x00, 0x00, 0x55, 0x55, 0x55});
  cImage dxt, rgba;
  ASSERT_TRUE(cIO::FindImageCodec("dds")->Decode(file, dxt));
  ASSERT_EQ(dxt.format, comms::kFormatDxt1);
  ASSERT_TRUE(comms::DecodeDxt(dxt, rgba));
  EXPECT_EQ(rgba.Pixel(0, 3)[0], 255);  // the top row is the last
  EXPECT_EQ(rgba.Pixel(0, 3)[2], 0);
  EXPECT_EQ(rgba.Pixel(3, 0)[2], 255);
  EXPECT_EQ(rgba.Pixel(3, 0)[0], 0);

  file.resize(file.size() - 1);  // one byte short of the block
  EXPECT_FALSE(cIO::FindImageCodec("dds")->Decode(file, dxt));
  file.resize(128 + 8);
  file[16] = 0xff, file[17] = 0xff, file[18] = 0xff, file[19] = 0x7f;  // a lying width
  EXPECT_FALSE(cIO::FindImageCodec("dds")->Decode(file, dxt));
}

TEST(PngAndJpegCodecs, SixteenBitPngIsExactAndJpegIsClose) {
  for (int f : {1, 2, 3, 4, 5, 6, 7, 8}) {
    cImage in = Pattern(7, 5, f, 3 * f), out;
    ASSERT_TRUE(RoundTrip("png", in, out)) << f;
    EXPECT_EQ(out.format, f);
    EXPECT_EQ(out.data, in.data) << f;
  }
  cImage smooth;
  smooth.Create(16, 16, 3);
  for (int y = 0; y < 16; y++)
    for (int x = 0; x < 16; x++) {
      uint8_t* p = smooth.Pixel(x, y);
      p[0] = (uint8_t)(x * 16), p[1] = (uint8_t)(y * 16), p[2] = 128;
    }
  cImage back;
  ASSERT_TRUE(RoundTrip("jpg", smooth, back));
  ASSERT_EQ(back.format, 3);
  int worst = 0;
  for (size_t i = 0; i < back.data.size(); i++) worst = std::max(worst, std::abs(back.data[i] - smooth.data[i]));
  EXPECT_LT(worst, 24);
  EXPECT_GT(back.Pixel(15, 0)[0], 200);  // bottom-up: x grows to the right, y upward
  EXPECT_GT(back.Pixel(0, 15)[1], 200);
}

TEST(ImageFiles, LoadAndSaveByExtensionWithTheirMessages) {
  std::string dir = FreshFolder();
  cImage in = Pattern(3, 3, 4), out;
  ASSERT_TRUE(cIO::SaveImage(dir + "pic.png", in));
  size_t mark = LogMark();
  ASSERT_TRUE(cIO::LoadImage(dir + "pic", out));  // no extension: the PNG beside no DDS
  EXPECT_EQ(out.data, in.data);
  EXPECT_NE(LogSince(mark).find("Loaded image file \"" + dir + "pic\""), std::string::npos);

  WriteText(dir + "bad.tga", "nothing like a targa");
  mark = LogMark();
  cImage kept = out;
  EXPECT_FALSE(cIO::LoadImage(dir + "bad.tga", out));
  EXPECT_FALSE(cIO::LoadImage(dir + "absent.png", out));
  EXPECT_FALSE(cIO::SaveImage(dir + "pic.xyz", in));
  std::string log = LogSince(mark);
  EXPECT_NE(log.find("Can't decode image file \"" + dir + "bad.tga\""), std::string::npos);
  EXPECT_NE(log.find("Can't load image file \"" + dir + "absent.png\""), std::string::npos);
  EXPECT_NE(log.find("Can't encode image \"" + dir + "pic.xyz\""), std::string::npos);
  EXPECT_EQ(out.data, kept.data);  // a failed load leaves the image as it was
}
