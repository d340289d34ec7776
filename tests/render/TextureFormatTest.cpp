// Every pixel format with a device form goes up as a texture, is drawn 1:1
// into a 32-bit float target and read back: the values (with the swizzles of
// luminance and one- or two-channel formats, and the packed 16/32-bit layouts)
// must come out as the format defines them. Expected values are computed.
#include <cmath>
#include <cstring>
#include <functional>

#include "DrawHelpers.h"
#include "GLTestContext.h"

using namespace comms;

namespace rendertest {
namespace {

uint16_t ToHalf(float f) {
  uint32_t x;
  std::memcpy(&x, &f, 4);
  uint32_t sign = (x >> 16) & 0x8000u;
  int exp = int((x >> 23) & 0xff) - 127 + 15;
  uint32_t mant = x & 0x7fffffu;
  if (f == 0) return uint16_t(sign);
  return uint16_t(sign | (uint32_t(exp) << 10) | (mant >> 13));
}

struct FormatCase {
  int format;
  // Writes texel i's bytes at `out` and what a shader reads back into `expect`.
  std::function<void(int i, uint8_t* out, float expect[4])> make;
  float tolerance;
};

template <class T>
void Put(uint8_t* out, int k, T v) {
  std::memcpy(out + k * sizeof(T), &v, sizeof(T));
}

std::vector<FormatCase> Cases() {
  auto b8 = [](int i, int c) { return uint8_t(20 + 50 * i + 13 * c); };
  auto u16 = [](int i, int c) { return uint16_t(3000 + 12000 * i + 900 * c); };
  auto fl = [](int i, int c) { return 0.125f + 0.25f * i + 0.0625f * c; };
  return {
      {1, [=](int i, uint8_t* o, float e[4]) { o[0] = b8(i, 0); e[0] = e[1] = e[2] = o[0] / 255.f, e[3] = 1; }, 0.002f},
      {2, [=](int i, uint8_t* o, float e[4]) {
         o[0] = b8(i, 0), o[1] = b8(i, 3);
         e[0] = e[1] = e[2] = o[0] / 255.f, e[3] = o[1] / 255.f;
       }, 0.002f},
      {3, [=](int i, uint8_t* o, float e[4]) {
         for (int c = 0; c < 3; c++) o[c] = b8(i, c), e[c] = o[c] / 255.f;
         e[3] = 1;
       }, 0.002f},
      {4, [=](int i, uint8_t* o, float e[4]) {
         for (int c = 0; c < 4; c++) o[c] = b8(i, c), e[c] = o[c] / 255.f;
       }, 0.002f},
      {5, [=](int i, uint8_t* o, float e[4]) {
         Put(o, 0, u16(i, 0));
         e[0] = e[1] = e[2] = u16(i, 0) / 65535.f, e[3] = 1;
       }, 0.0005f},
      {6, [=](int i, uint8_t* o, float e[4]) {
         Put(o, 0, u16(i, 0)), Put(o, 1, u16(i, 1));
         e[0] = u16(i, 0) / 65535.f, e[1] = u16(i, 1) / 65535.f, e[2] = e[3] = 1;
       }, 0.0005f},
      {8, [=](int i, uint8_t* o, float e[4]) {
         for (int c = 0; c < 4; c++) Put(o, c, u16(i, c)), e[c] = u16(i, c) / 65535.f;
       }, 0.0005f},
      {9, [=](int i, uint8_t* o, float e[4]) {
         Put(o, 0, ToHalf(fl(i, 0)));
         e[0] = fl(i, 0), e[1] = e[2] = e[3] = 1;
       }, 0.001f},
      {10, [=](int i, uint8_t* o, float e[4]) {
         Put(o, 0, ToHalf(fl(i, 0))), Put(o, 1, ToHalf(fl(i, 1)));
         e[0] = fl(i, 0), e[1] = fl(i, 1), e[2] = e[3] = 1;
       }, 0.001f},
      {12, [=](int i, uint8_t* o, float e[4]) {
         for (int c = 0; c < 4; c++) Put(o, c, ToHalf(fl(i, c))), e[c] = fl(i, c);
       }, 0.001f},
      {13, [=](int i, uint8_t* o, float e[4]) {
         Put(o, 0, fl(i, 0) * 3);  // beyond 1: float formats keep range
         e[0] = fl(i, 0) * 3, e[1] = e[2] = e[3] = 1;
       }, 1e-5f},
      {14, [=](int i, uint8_t* o, float e[4]) {
         Put(o, 0, fl(i, 0)), Put(o, 1, -fl(i, 1));
         e[0] = fl(i, 0), e[1] = -fl(i, 1), e[2] = e[3] = 1;
       }, 1e-5f},
      {16, [=](int i, uint8_t* o, float e[4]) {
         for (int c = 0; c < 4; c++) Put(o, c, fl(i, c)), e[c] = fl(i, c);
       }, 1e-5f},
      {18, [=](int i, uint8_t* o, float e[4]) {
         int r = 3 + 7 * i, g = 10 + 13 * i, b = 28 - 6 * i;
         Put(o, 0, uint16_t(r << 11 | g << 5 | b));
         e[0] = r / 31.f, e[1] = g / 63.f, e[2] = b / 31.f, e[3] = 1;
       }, 0.005f},  // a device may widen 5-6-5 to 8 bits by bit replication
      {19, [=](int i, uint8_t* o, float e[4]) {
         int a = 15 - i, r = 2 + 3 * i, g = 9, b = 1 + 4 * i;
         Put(o, 0, uint16_t(a << 12 | r << 8 | g << 4 | b));
         e[0] = r / 15.f, e[1] = g / 15.f, e[2] = b / 15.f, e[3] = a / 15.f;
       }, 0.005f},
      {20, [=](int i, uint8_t* o, float e[4]) {
         uint32_t a = uint32_t(i), r = 100 + 200u * i, g = 900 - 100u * i, b = 512;
         Put(o, 0, uint32_t(a << 30 | b << 20 | g << 10 | r));
         e[0] = r / 1023.f, e[1] = g / 1023.f, e[2] = b / 1023.f, e[3] = a / 3.f;
       }, 0.002f},
  };
}

// Draws texture `id` over a w x h float target with point sampling, reads it back.
cImage DrawThrough(cRenderGL& r, int id, int w, int h) {
  int target = r.CreateRenderTarget(w, h, kPixRGBA32F, -1, false, 0);
  EXPECT_GE(target, 0);
  r.SetRenderTargets(&target, 1, -1, nullptr);
  r.Clear(true, false, 0, 1);
  r.SetBlendState(-1);
  r.SetDepthState(-1);
  int shader = r.GetShaderID("hud2t", kVfPosColorTex2, "#define SCREEN_SPACE");
  r.SetShader(shader);
  r.BindTexture(r.FindSampler(shader, "s_Sampler0"), id);
  auto quad = PixelQuad(float(w), float(h));
  r.DrawUser(kPrimTriangles, quad.data(), 6);
  cImage out;
  EXPECT_TRUE(r.ReadTexture(target, out));
  r.SetRenderTargets(nullptr, 0, -1, nullptr);
  r.FreeTexture(target);
  return out;
}

}  // namespace

TEST_F(GLTest, EveryTextureFormatUploadsAndSamplesAsDefined) {
  const int point = render_->GetSamplerState(kFilterPoint, kAddressClamp, kAddressClamp, kAddressClamp);
  for (const FormatCase& fc : Cases()) {
    SCOPED_TRACE("format " + std::to_string(fc.format));
    ASSERT_TRUE(render_->IsFormatSupported(fc.format));
    cImage image;
    image.Create(2, 2, fc.format);
    float expect[4][4];
    const int bpp = cImage::BytesPerPixel(fc.format) ? cImage::BytesPerPixel(fc.format) : 4;
    image.data.assign(size_t(4 * bpp), 0);
    for (int i = 0; i < 4; i++) fc.make(i, image.data.data() + i * bpp, expect[i]);
    int id = render_->CreateTexture(image, point);
    ASSERT_GE(id, 0);
    EXPECT_EQ(render_->GetTextureFormat(id), fc.format);
    cImage out = DrawThrough(*render_, id, 2, 2);
    ASSERT_EQ(out.format, kPixRGBA32F);
    const float* px = reinterpret_cast<const float*>(out.data.data());
    for (int i = 0; i < 4; i++)
      for (int c = 0; c < 4; c++)
        EXPECT_NEAR(px[i * 4 + c], expect[i][c], fc.tolerance) << "texel " << i << " channel " << c;
    render_->FreeTexture(id);
  }
}

TEST_F(GLTest, BlockCompressedTexturesDecodeToTheirColour) {
  // One DXT1 block of a single 5-6-5 colour, in a 4 x 4 image.
  cImage image;
  image.width = image.height = 4;
  image.format = kPixDXT1;
  const uint16_t c565 = uint16_t(20 << 11 | 40 << 5 | 10);
  image.data = {uint8_t(c565), uint8_t(c565 >> 8), uint8_t(c565), uint8_t(c565 >> 8), 0, 0, 0, 0};
  int id = render_->CreateTexture(image, render_->GetSamplerState(kFilterPoint, 1, 1, 1));
  ASSERT_GE(id, 0);
  cImage out = DrawThrough(*render_, id, 4, 4);
  const float* px = reinterpret_cast<const float*>(out.data.data());
  for (int i = 0; i < 16; i++) {
    EXPECT_NEAR(px[i * 4 + 0], 20 / 31.f, 0.01f);
    EXPECT_NEAR(px[i * 4 + 1], 40 / 63.f, 0.01f);
    EXPECT_NEAR(px[i * 4 + 2], 10 / 31.f, 0.01f);
    EXPECT_NEAR(px[i * 4 + 3], 1.0f, 0.01f);
  }
}

TEST_F(GLTest, RenderTargetsOfEachDrawableFormatReadBackTheirClear) {
  // Clear colour 0xAARRGGBB = (0.4, 0.6, 0.2, 0.8) in 8-bit steps.
  const uint32_t argb = 0xcc669933u;
  const float r = 0x66 / 255.f, g = 0x99 / 255.f, b = 0x33 / 255.f, a = 0xcc / 255.f;
  struct Expect {
    int format;
    int channels;  // read back as stored: 1, 2 or 4 channels
    float value[4];
  };
  const Expect cases[] = {{kPixL8, 1, {r}},           {kPixA8L8, 2, {r, g}},         {kPixARGB8, 4, {r, g, b, a}},
                          {kPixL16, 1, {r}},          {kPixG16R16, 2, {r, g}},       {kPixRGBA16, 4, {r, g, b, a}},
                          {kPixR16F, 1, {r}},         {kPixG16R16F, 2, {r, g}},      {kPixRGBA16F, 4, {r, g, b, a}},
                          {kPixR32F, 1, {r}},         {kPixG32R32F, 2, {r, g}},      {kPixRGBA32F, 4, {r, g, b, a}},
                          {kPixA2B10G10R10, 4, {r, g, b, 2 / 3.f}}};
  for (const Expect& e : cases) {
    SCOPED_TRACE("format " + std::to_string(e.format));
    int id = render_->CreateRenderTarget(5, 3, e.format, -1, false, 0);
    ASSERT_GE(id, 0);
    render_->SetRenderTargets(&id, 1, -1, nullptr);
    render_->Clear(true, false, argb, 1);
    cImage img;
    ASSERT_TRUE(render_->ReadTexture(id, img));
    EXPECT_EQ(img.width, 5);
    EXPECT_EQ(img.format, e.format);
    for (int c = 0; c < e.channels; c++) {
      float v;
      const uint8_t* p = img.Pixel(4, 2);
      switch (e.format) {
        case kPixL8: case kPixA8L8: case kPixARGB8: v = p[c] / 255.f; break;
        case kPixL16: case kPixG16R16: case kPixRGBA16: v = reinterpret_cast<const uint16_t*>(p)[c] / 65535.f; break;
        case kPixA2B10G10R10: {
          uint32_t w;
          std::memcpy(&w, p, 4);
          v = c < 3 ? ((w >> (10 * c)) & 1023) / 1023.f : (w >> 30) / 3.f;
          break;
        }
        case kPixR16F: case kPixG16R16F: case kPixRGBA16F: {
          uint16_t h = reinterpret_cast<const uint16_t*>(p)[c];
          v = std::ldexp(1.0f + (h & 1023) / 1024.f, int((h >> 10) & 31) - 15);
          break;
        }
        default: v = reinterpret_cast<const float*>(p)[c];
      }
      EXPECT_NEAR(v, e.value[c], e.format == kPixA2B10G10R10 && c == 3 ? 0.34f : 0.003f) << "channel " << c;
    }
    render_->SetRenderTargets(nullptr, 0, -1, nullptr);
    render_->FreeTexture(id);
  }
  EXPECT_EQ(render_->CreateRenderTarget(8, 8, kPixDXT5, -1, false, 0), -1);
  EXPECT_EQ(render_->CreateRenderTarget(8, 8, kPixD24S8, -1, false, 0), -1);
  EXPECT_EQ(render_->CreateRenderTarget(8, 8, 7, -1, false, 0), -1);
}

TEST_F(GLTest, CubeTargetsTakeOneFacePerSlot) {
  int cube = render_->CreateRenderTarget(4, 4, kPixARGB8, -1, true, 0);
  ASSERT_GE(cube, 0);
  for (int face = 0; face < 6; face++) {
    render_->SetRenderTargets(&cube, 1, -1, &face);
    render_->Clear(true, false, 0xff000000u | uint32_t(40 * face) << 16, 1);
  }
  render_->SetRenderTargets(nullptr, 0, -1, nullptr);
  cImage img;
  ASSERT_TRUE(render_->ReadTexture(cube, img));
  ASSERT_EQ(img.kind, cImage::Kind::Cube);
  const size_t face = 4 * 4 * 4;
  for (int f = 0; f < 6; f++) EXPECT_EQ(img.data[f * face], 40 * f) << "face " << f;
}

TEST_F(GLTest, TexturesReuseFreedIdsAndKeepTheirRecord) {
  cImage img;
  img.Create(3, 5, kPixARGB8);  // not a power of two: fine on this device
  int a = render_->CreateTexture(img, -1);
  int b = render_->CreateTexture(img, 0);
  ASSERT_GE(a, 0);
  EXPECT_EQ(render_->GetTextureWidth(a), 3);
  EXPECT_EQ(render_->GetTextureHeight(a), 5);
  EXPECT_FALSE(render_->SetTextureSampler(a, render_->GetSamplerState(0, 0, 0, 0)));
  EXPECT_TRUE(render_->SetTextureSampler(b, render_->GetSamplerState(0, 0, 0, 0)));
  render_->FreeTexture(a);
  EXPECT_EQ(render_->GetTexture(a), nullptr);
  EXPECT_EQ(render_->GetTextureWidth(a), 0);
  EXPECT_EQ(render_->CreateTexture(img, 0), a);
  // Truncated pixel data is refused instead of read past its end.
  img.data.resize(7);
  EXPECT_EQ(render_->CreateTexture(img, 0), -1);
  EXPECT_EQ(render_->GetSamplerState(3, 0, 1, 0), render_->GetSamplerState(3, 0, 1, 0));
}

}  // namespace rendertest
