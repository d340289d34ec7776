// DDS: plain, cube and volume textures with their mip levels, uncompressed,
// float and DXT formats. Levels are kept as the file packs them, turned
// bottom-up like every image of the program (DXT blocks are flipped without
// decoding them).
#include <cstring>

#include "interchange/DxtBlocks.h"
#include "interchange/ImageCodecs.h"
#include "interchange/ImageLimits.h"

namespace comms {

namespace {

constexpr uint32_t kCapsCube = 0x200, kCapsVolume = 0x200000;
constexpr uint32_t kFlagFourCC = 0x4;

uint32_t Le32(const uint8_t* p) {
  return (uint32_t)p[0] | (uint32_t)p[1] << 8 | (uint32_t)p[2] << 16 | (uint32_t)p[3] << 24;
}
void Put32(uint8_t* p, uint32_t v) {
  for (int k = 0; k < 4; k++) p[k] = (uint8_t)(v >> (8 * k));
}
constexpr uint32_t Text4(const char (&s)[5]) {
  return (uint32_t)(uint8_t)s[0] | (uint32_t)(uint8_t)s[1] << 8 | (uint32_t)(uint8_t)s[2] << 16 |
         (uint32_t)(uint8_t)s[3] << 24;
}

// Formats and their FourCC: D3D numbers for 16-bit and float formats, text
// for block formats. "ATI2" is known by name but has no format here.
struct FourCCEntry {
  uint32_t code;
  int format;
};
constexpr FourCCEntry kFourCC[] = {
    {0x22, 6},  {0x24, 8},  {0x6f, 9},  {0x70, 10}, {0x71, 12}, {0x72, 13}, {0x73, 14}, {0x74, 16},
    {Text4("DXT1"), kFormatDxt1}, {Text4("DXT3"), kFormatDxt3}, {Text4("DXT5"), kFormatDxt5},
    {Text4("ATI2"), 0},
};

// Calls f(offset, w, h) for each 2D surface in file order.
template <class F>
uint64_t WalkSurfaces(int format, int width, int height, int depth, int mips, cImage::Kind kind, F&& f) {
  uint64_t at = 0;
  const int faces = kind == cImage::Kind::Cube ? 6 : 1;
  for (int face = 0; face < faces; face++) {
    int w = width, h = height, d = kind == cImage::Kind::Volume ? depth : 1;
    for (int level = 0; level < mips; level++) {
      for (int slice = 0; slice < d; slice++) {
        f(at, w, h);
        at += cImage::LevelBytes(format, w, h);
      }
      w = w > 1 ? w / 2 : 1;
      h = h > 1 ? h / 2 : 1;
      d = d > 1 ? d / 2 : 1;
    }
  }
  return at;
}

void FlipSurfaces(cImage& image) {
  WalkSurfaces(image.format, image.width, image.height, image.depth, image.mips, image.kind,
               [&](uint64_t at, int w, int h) {
                 if (cImage::IsCompressed(image.format)) FlipDxtLevel(image.data.data() + at, image.format, w, h);
                 else FlipRows(image.data.data() + at, (size_t)w * cImage::BytesPerPixel(image.format), h);
               });
}

void SwapRedBlue(cImage& image) {
  const int bpp = cImage::BytesPerPixel(image.format);
  for (size_t i = 0; i + bpp <= image.data.size(); i += bpp) std::swap(image.data[i], image.data[i + 2]);
}

}  // namespace

bool cCodecDds::Decode(const std::vector<uint8_t>& buffer, cImage& image) {
  const uint8_t* b = buffer.data();
  if (buffer.size() < 128 || std::memcmp(b, "DDS ", 4) != 0) return Refuse("cCodecDds::Decode()", "Not a DDS file (no \"DDS \" and 128-byte header).");
  const uint32_t height = Le32(b + 12), width = Le32(b + 16), headerDepth = Le32(b + 24);
  uint32_t mips = Le32(b + 28);
  const uint32_t pfFlags = Le32(b + 80), fourCC = Le32(b + 84), bitCount = Le32(b + 88);
  const uint32_t blueMask = Le32(b + 100), alphaMask = Le32(b + 104), caps2 = Le32(b + 112);
  if (!CheckImageSize("cCodecDds::Decode()", width, height, 0, 1)) return false;
  cImage out;
  out.width = (int)width;
  out.height = (int)height;
  if (caps2 & kCapsCube) {
    out.kind = cImage::Kind::Cube;
    out.depth = 6;
  } else if ((caps2 & kCapsVolume) && headerDepth > 1) {
    out.kind = cImage::Kind::Volume;
    out.depth = headerDepth > 65536 ? 65536 : (int)headerDepth;
  }
  out.mips = mips < 1 ? 1 : mips > 17 ? 17 : (int)mips;
  if (pfFlags & kFlagFourCC) {
    for (const FourCCEntry& e : kFourCC)
      if (e.code == fourCC) out.format = e.format;
  } else if (bitCount == 8) {
    out.format = 1;
  } else if (bitCount == 16) {
    out.format = alphaMask == 0xf000 ? 19 : alphaMask == 0xff00 ? 2 : blueMask == 0x1f ? 18 : 5;
  } else if (bitCount == 24) {
    out.format = 3;
  } else if (bitCount == 32) {
    out.format = 4;
  }
  if (out.format == 0) return Refuse("cCodecDds::Decode()", "A pixel format that isn't read.");
  const uint64_t bytes = WalkSurfaces(out.format, out.width, out.height, out.depth, out.mips, out.kind,
                                      [](uint64_t, int, int) {});
  if (bytes > buffer.size() - 128)  // checked before anything is allocated
    return Refuse("cCodecDds::Decode()", "The file is too short for the size its header gives.");
  out.data.assign(b + 128, b + 128 + bytes);
  if ((out.format == 3 || out.format == 4) && blueMask == 0xff) SwapRedBlue(out);
  FlipSurfaces(out);
  image = std::move(out);
  return true;
}

bool cCodecDds::Encode(const cImage& image, std::vector<uint8_t>& buffer) {
  const int f = image.format;
  const bool passes = (f >= 1 && f <= 16 && !(f != 3 && cImage::Channels(f) == 3)) || cImage::IsCompressed(f);
  if (!passes || image.width <= 0 || image.height <= 0) return false;
  cImage copy = image;
  const uint64_t bytes = WalkSurfaces(f, image.width, image.height, image.depth, image.mips, image.kind,
                                      [](uint64_t, int, int) {});
  if (copy.data.size() < bytes) return false;
  copy.data.resize(bytes);
  FlipSurfaces(copy);  // back to the file's top-down rows
  buffer.assign(128, 0);
  uint8_t* h = buffer.data();
  std::memcpy(h, "DDS ", 4);
  Put32(h + 4, 0x7c);
  uint32_t flags = 0x1007;
  if (image.mips > 1) flags |= 0x20000;
  if (image.kind == cImage::Kind::Volume) flags |= 0x800000;
  Put32(h + 8, flags);
  Put32(h + 12, (uint32_t)image.height);
  Put32(h + 16, (uint32_t)image.width);
  Put32(h + 24, image.kind == cImage::Kind::Volume ? (uint32_t)image.depth : 0);
  Put32(h + 28, (uint32_t)image.mips);
  Put32(h + 76, 0x20);
  uint32_t code = 0;
  for (const FourCCEntry& e : kFourCC)
    if (e.format == f && f != 0) code = e.code;
  if (code) {
    Put32(h + 80, kFlagFourCC);
    Put32(h + 84, code);
  } else {
    const int channels = cImage::Channels(f);
    Put32(h + 88, (uint32_t)cImage::BytesPerPixel(f) * 8);
    if (channels == 1) {  // luminance, 8 or 16 bits
      Put32(h + 80, 0x20000);
      Put32(h + 92, f == 1 ? 0xff : 0xffff);
    } else if (channels == 2) {
      Put32(h + 80, 0x20001);
      Put32(h + 92, 0xff);
      Put32(h + 104, 0xff00);
    } else {
      Put32(h + 80, channels == 4 ? 0x41 : 0x40);
      Put32(h + 92, 0xff0000);
      Put32(h + 96, 0xff00);
      Put32(h + 100, 0xff);
      if (channels == 4) Put32(h + 104, 0xff000000);
      SwapRedBlue(copy);
    }
  }
  uint32_t caps = 0x1000, caps2 = 0;
  if (image.mips > 1) caps |= 0x400008;
  if (image.kind == cImage::Kind::Cube) {
    caps |= 0x8;
    caps2 = 0xfe00;
  } else if (image.kind == cImage::Kind::Volume) {
    caps |= 0x8;
    caps2 = kCapsVolume;
  }
  Put32(h + 108, caps);
  Put32(h + 112, caps2);
  buffer.insert(buffer.end(), copy.data.begin(), copy.data.end());
  return true;
}

}  // namespace comms
