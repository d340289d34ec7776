// cImage: an image in memory as the image codecs read and write it. Rows are
// stored bottom-up: row 0 is the bottom of the picture. Formats 1-4: 8 bits
// with 1-4 channels; 5-8: 16 bits; 9-12: 16-bit float; 13-16: 32-bit float;
// 18: 5-6-5; 19: 4-4-4-4; 24, 25, 26: DXT1, DXT3, DXT5 blocks (whose rows
// keep the padding of a height that isn't a multiple of 4 below the picture:
// see FlipDxtLevel).
#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

namespace comms {

enum { kFormatDxt1 = 24, kFormatDxt3 = 25, kFormatDxt5 = 26 };

class cImage {
 public:
  enum class Kind { Plain, Cube, Volume };

  int width = 0, height = 0;
  int depth = 1;  // 6 for a cube, slices for a volume
  int format = 0;
  int mips = 1;
  std::vector<uint8_t> data;  // levels one after another, per face for a cube
  Kind kind = Kind::Plain;

  static bool IsCompressed(int format) { return format >= kFormatDxt1 && format <= kFormatDxt5; }
  // 0 for an unknown or block-compressed format.
  static int Channels(int format) {
    if (format >= 1 && format <= 16) return (format - 1) % 4 + 1;
    if (format == 18) return 3;
    if (format == 19) return 4;
    return 0;
  }
  static int BytesPerPixel(int format) {
    if (format >= 1 && format <= 4) return format;
    if (format >= 5 && format <= 12) return 2 * Channels(format);
    if (format >= 13 && format <= 16) return 4 * Channels(format);
    if (format == 18 || format == 19) return 2;
    return 0;
  }
  // Bytes of one w x h level (block formats round up to 4 x 4 blocks).
  static uint64_t LevelBytes(int format, uint64_t w, uint64_t h) {
    if (IsCompressed(format)) return ((w + 3) / 4) * ((h + 3) / 4) * (format == kFormatDxt1 ? 8 : 16);
    return w * h * (uint64_t)BytesPerPixel(format);
  }
  // Bytes of the whole first level of the first face.
  size_t RowBytes() const { return (size_t)width * BytesPerPixel(format); }
  uint8_t* Pixel(int x, int y) { return data.data() + ((size_t)y * width + x) * BytesPerPixel(format); }
  const uint8_t* Pixel(int x, int y) const {
    return data.data() + ((size_t)y * width + x) * BytesPerPixel(format);
  }
  // Makes a plain single-level image of the format, filled with zeros.
  void Create(int w, int h, int f) {
    width = w;
    height = h;
    depth = 1;
    format = f;
    mips = 1;
    kind = Kind::Plain;
    data.assign((size_t)LevelBytes(f, w, h), 0);
  }
};

// Copies `pixels` pixels of `f` bytes (1, 3 or 4) between our RGB(A) order and
// the BGR(A) order of BMP and TGA files; the swap is its own inverse.
inline void CopySwappingRedBlue(const uint8_t* s, uint8_t* d, size_t pixels, int f) {
  for (size_t i = 0; i < pixels; i++, d += f, s += f) {
    if (f == 1) {
      d[0] = s[0];
    } else {
      d[0] = s[2], d[1] = s[1], d[2] = s[0];
      if (f == 4) d[3] = s[3];
    }
  }
}

// Decodes the first level of a DXT1/3/5 image into 8-bit RGBA (format 4),
// bottom-up like every cImage. False for another format.
bool DecodeDxt(const cImage& source, cImage& rgba);

}  // namespace comms
