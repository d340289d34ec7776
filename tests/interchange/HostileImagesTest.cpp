// Files whose headers lie about their size: each decoder checks the declared
// size against its file and against the pixel limit before allocating, and
// says why it refused. And a codec that throws (out of memory) fails cleanly
// at the door it was called through.
#include <algorithm>
#include <cstring>
#include <new>

#include "TestFiles.h"
#include "interchange/FloatImage.h"
#include "interchange/IO.h"
#include "interchange/MeshIO.h"

using comms::cFloatImage;
using comms::cImage;
using comms::cIO;
using namespace testfiles;

namespace {

// A small real JPEG whose frame header then claims w x h.
std::vector<uint8_t> LyingJpeg(int w, int h) {
  cImage im;
  im.Create(17, 9, 3);
  for (size_t i = 0; i < im.data.size(); i++) im.data[i] = (uint8_t)(i * 13);
  std::vector<uint8_t> bytes;
  EXPECT_TRUE(cIO::FindImageCodec("jpg")->Encode(im, bytes));
  for (size_t i = 2; i + 9 < bytes.size(); i++)
    if (bytes[i] == 0xff && bytes[i + 1] == 0xc0) {  // baseline frame: length, precision, height, width
      bytes[i + 5] = (uint8_t)(h >> 8), bytes[i + 6] = (uint8_t)h;
      bytes[i + 7] = (uint8_t)(w >> 8), bytes[i + 8] = (uint8_t)w;
      return bytes;
    }
  ADD_FAILURE() << "no frame header";
  return bytes;
}

void Put16(std::vector<uint8_t>& b, unsigned v) {
  b.push_back((uint8_t)v);
  b.push_back((uint8_t)(v >> 8));
}
void Put32(std::vector<uint8_t>& b, uint32_t v) {
  Put16(b, v & 0xffff);
  Put16(b, v >> 16);
}

// A grey 8-bit TIFF that declares w x h but holds `stripBytes` bytes of strip.
std::vector<uint8_t> LyingTiff(uint32_t w, uint32_t h, unsigned compression, uint32_t stripBytes) {
  std::vector<uint8_t> b = {'I', 'I', 42, 0};
  Put32(b, 8);
  const unsigned entries = 9;
  const uint32_t dataAt = 8 + 2 + entries * 12 + 4;
  Put16(b, entries);
  auto entry = [&](unsigned tag, unsigned type, uint32_t value) {
    Put16(b, tag);
    Put16(b, type);
    Put32(b, 1);
    if (type == 3) {
      Put16(b, value);
      Put16(b, 0);
    } else {
      Put32(b, value);
    }
  };
  entry(256, 4, w);
  entry(257, 4, h);
  entry(258, 3, 8);
  entry(259, 3, compression);
  entry(262, 3, 1);
  entry(273, 4, dataAt);
  entry(277, 3, 1);
  entry(278, 4, h);
  entry(279, 4, stripBytes);
  Put32(b, 0);
  b.resize(b.size() + stripBytes, 0x55);
  return b;
}

// Replaces the data window of an EXR header by (0, 0) - (w - 1, h - 1).
void LieAboutExrWindow(std::vector<uint8_t>& bytes, int w, int h) {
  const char key[] = "dataWindow\0box2i";
  auto at = std::search(bytes.begin(), bytes.end(), key, key + sizeof key);
  ASSERT_NE(at, bytes.end());
  size_t box = (size_t)(at - bytes.begin()) + sizeof key + 4;  // after the attribute's size
  const int32_t values[4] = {0, 0, w - 1, h - 1};
  std::memcpy(&bytes[box], values, 16);
}

class ThrowingImageCodec : public cIO::ImageCodec {
 public:
  bool Decode(const std::vector<uint8_t>&, cImage&) override { throw std::bad_alloc(); }
  bool Encode(const cImage&, std::vector<uint8_t>&) override { throw std::bad_alloc(); }
};

class ThrowingMeshCodec : public comms::cMeshCodec {
 public:
  comms::cMesh* Decode(comms::cMeshFile&) override { throw std::bad_alloc(); }
  void Encode(const comms::cMesh&, comms::cMeshFile&) override { throw std::bad_alloc(); }
};

}  // namespace

TEST(HostileImages, JpegSizeIsCheckedAgainstTheFile) {
  for (int side : {30000, 65000}) {
    std::vector<uint8_t> lie = LyingJpeg(side, side);
    ASSERT_LT(lie.size(), 4000u);
    size_t mark = LogText().size();
    cImage im;
    EXPECT_FALSE(cIO::FindImageCodec("jpg")->Decode(lie, im)) << side;
    EXPECT_NE(LogSince(mark).find("cCodecJpeg::Decode(): "), std::string::npos) << side;
    EXPECT_EQ(im.width, 0);
  }
  cImage honest;
  ASSERT_TRUE(cIO::FindImageCodec("jpg")->Decode(LyingJpeg(17, 9), honest));
  EXPECT_EQ(honest.width, 17);
  EXPECT_EQ(honest.height, 9);
}

TEST(HostileImages, TiffAndExrSizesAreCheckedBeforeAllocating) {
  std::string dir = FreshFolder();
  struct Case {
    const char* name;
    std::vector<uint8_t> bytes;
    const char* reason;
  } cases[] = {
      {"huge.tif", LyingTiff(16384, 16384, 8, 12000), "more than the"},
      {"short.tif", LyingTiff(4001, 3999, 1, 5000), "can't hold"},
      {"packed.tif", LyingTiff(8000, 8000, 32773, 100), "can't hold"},
  };
  for (const Case& c : cases) {
    WriteBytes(dir + c.name, c.bytes);
    size_t mark = LogText().size();
    cFloatImage im;
    EXPECT_FALSE(im.Load(dir + c.name)) << c.name;
    EXPECT_NE(LogSince(mark).find(c.reason), std::string::npos) << c.name << "\n" << LogSince(mark);
  }
  WriteBytes(dir + "fits.tif", LyingTiff(31, 7, 1, 31 * 7));
  cFloatImage fits;
  ASSERT_TRUE(fits.Load(dir + "fits.tif"));
  EXPECT_NEAR(fits.Get(30, 0, 0), 0x55 / 255.0f, 1e-6);

  cFloatImage small(13, 7, 3);
  ASSERT_TRUE(small.Save(dir + "small.exr"));
  std::vector<uint8_t> exr = ReadBytes(dir + "small.exr");
  LieAboutExrWindow(exr, 16384, 16384);
  exr.resize(exr.size() + 16384 * 8, 0);  // room for the offsets of as many rows
  WriteBytes(dir + "huge.exr", exr);
  size_t mark = LogText().size();
  cFloatImage im;
  EXPECT_FALSE(im.Load(dir + "huge.exr"));
  EXPECT_NE(LogSince(mark).find("cFloatImage::LoadExr(): 16384 x 16384 pixels are more than"), std::string::npos)
      << LogSince(mark);
}

TEST(HostileImages, NothingThrownOutOfACodecDoor) {
  ASSERT_TRUE(cIO::AddImageCodec("Boom", new ThrowingImageCodec));
  std::string dir = FreshFolder();
  WriteText(dir + "a.boom", "bytes");
  size_t mark = LogText().size();
  cImage im;
  EXPECT_FALSE(cIO::LoadImage(dir + "a.boom", im));
  im.Create(3, 5, 3);
  EXPECT_FALSE(cIO::SaveImage(dir + "b.boom", im));
  EXPECT_NE(LogSince(mark).find("cIO::LoadImage(): Out of memory."), std::string::npos);
  EXPECT_NE(LogSince(mark).find("cIO::SaveImage(): Out of memory."), std::string::npos);
  EXPECT_FALSE(Installed(dir + "b.boom"));

  static ThrowingMeshCodec meshCodec;
  ASSERT_TRUE(comms::cMeshIO::AddCodec("Kaboom", &meshCodec));
  WriteText(dir + "a.kaboom", "bytes");
  mark = LogText().size();
  EXPECT_EQ(comms::cMeshIO::LoadMesh((dir + "a.kaboom").c_str()), nullptr);
  comms::cMesh mesh;
  EXPECT_FALSE(comms::cMeshIO::SaveMesh(mesh, (dir + "b.kaboom").c_str()));
  EXPECT_NE(LogSince(mark).find("cMeshIO::LoadMesh(): Out of memory."), std::string::npos);
  EXPECT_NE(LogSince(mark).find("cMeshIO::SaveMesh(): Out of memory."), std::string::npos);
}
