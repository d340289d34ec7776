// BMP: the 40-byte info header, 1 to 8 bits through a palette, 24 and 32 bits
// direct; no run-length compression. Rows stay bottom-up as the file has them.
#include <cstring>

#include "interchange/ImageCodecs.h"
#include "interchange/ImageLimits.h"

namespace comms {

namespace {
uint16_t Le16(const uint8_t* p) { return (uint16_t)(p[0] | p[1] << 8); }
uint32_t Le32(const uint8_t* p) {
  return (uint32_t)p[0] | (uint32_t)p[1] << 8 | (uint32_t)p[2] << 16 | (uint32_t)p[3] << 24;
}
void Put16(std::vector<uint8_t>& b, size_t at, uint32_t v) {
  b[at] = (uint8_t)v, b[at + 1] = (uint8_t)(v >> 8);
}
void Put32(std::vector<uint8_t>& b, size_t at, uint32_t v) {
  for (int k = 0; k < 4; k++) b[at + k] = (uint8_t)(v >> (8 * k));
}
}  // namespace

bool cCodecBmp::Decode(const std::vector<uint8_t>& buffer, cImage& image) {
  const uint8_t* b = buffer.data();
  const size_t size = buffer.size();
  if (size < 54 || Le16(b) != 0x4d42) return Refuse("cCodecBmp::Decode()", "Not a BMP file (no \"BM\" and 54-byte header).");
  const uint32_t offset = Le32(b + 10);
  const uint8_t* info = b + 14;
  if (Le32(info) != 0x28) return Refuse("cCodecBmp::Decode()", "Only the 40-byte info header is read.");
  const int32_t width = (int32_t)Le32(info + 4);
  int32_t height = (int32_t)Le32(info + 8);
  const int planes = Le16(info + 12), bits = Le16(info + 14);
  const uint32_t compression = Le32(info + 16);
  uint32_t colours = Le32(info + 32);
  if (planes != 1 || (bits != 1 && bits != 4 && bits != 8 && bits != 24 && bits != 32))
    return Refuse("cCodecBmp::Decode()", "One plane of 1, 4, 8, 24 or 32 bits only.");
  if (compression != 0 && compression != 3) return Refuse("cCodecBmp::Decode()", "Compressed (run-length) BMP isn't read.");
  const bool topDown = height < 0;  // a negative height stores rows from the top
  if (topDown) height = -height;
  if (width <= 0 || !CheckImageSize("cCodecBmp::Decode()", (uint64_t)width, (uint64_t)height, 0, 1)) return false;
  uint8_t palette[256][3] = {};
  if (bits <= 8) {
    if (colours == 0 || colours > (1u << bits)) colours = 1u << bits;
    if (54 + (size_t)colours * 4 > size) return Refuse("cCodecBmp::Decode()", "The palette runs past the end of the file.");
    for (uint32_t i = 0; i < colours; i++) {
      const uint8_t* e = b + 54 + i * 4;
      palette[i][0] = e[2], palette[i][1] = e[1], palette[i][2] = e[0];
    }
  }
  const size_t stride = (((size_t)width * bits + 31) / 32) * 4;
  if (offset > size || stride * height > size - offset)
    return Refuse("cCodecBmp::Decode()", "The file is too short for the size its header gives.");
  const int format = bits == 32 ? 4 : 3;
  cImage out;
  out.Create(width, height, format);
  for (int y = 0; y < height; y++) {
    const uint8_t* row = b + offset + (size_t)(topDown ? height - 1 - y : y) * stride;
    uint8_t* d = out.Pixel(0, y);
    for (int x = 0; x < width; x++, d += format) {
      if (bits <= 8) {
        int shift = 8 - bits - (int)((x * bits) % 8);
        int index = (row[(size_t)x * bits / 8] >> shift) & ((1 << bits) - 1);
        std::memcpy(d, palette[index], 3);
      } else {
        const uint8_t* s = row + (size_t)x * (bits / 8);
        d[0] = s[2], d[1] = s[1], d[2] = s[0];
        if (bits == 32) d[3] = s[3];
      }
    }
  }
  image = std::move(out);
  return true;
}

bool cCodecBmp::Encode(const cImage& image, std::vector<uint8_t>& buffer) {
  const int f = image.format;
  if ((f != 1 && f != 3 && f != 4) || image.width <= 0 || image.height <= 0 ||
      image.data.size() < image.RowBytes() * image.height)
    return false;
  const int bits = f * 8;
  const size_t stride = (((size_t)image.width * bits + 31) / 32) * 4;
  const uint32_t offset = f == 1 ? 0x436 : 0x36;
  buffer.assign(offset + stride * image.height, 0);
  Put16(buffer, 0, 0x4d42);
  Put32(buffer, 2, (uint32_t)buffer.size());
  Put32(buffer, 10, offset);
  Put32(buffer, 14, 0x28);
  Put32(buffer, 18, (uint32_t)image.width);
  Put32(buffer, 22, (uint32_t)image.height);
  Put16(buffer, 26, 1);
  Put16(buffer, 28, (uint32_t)bits);
  Put32(buffer, 34, (uint32_t)(stride * image.height));
  Put32(buffer, 38, 2835);  // 72 dots per inch
  Put32(buffer, 42, 2835);
  if (f == 1) {
    Put32(buffer, 46, 256);
    for (int i = 0; i < 256; i++) Put32(buffer, 54 + i * 4, (uint32_t)(i | i << 8 | i << 16));
  }
  for (int y = 0; y < image.height; y++) {
    const uint8_t* s = image.Pixel(0, y);
    uint8_t* d = buffer.data() + offset + (size_t)y * stride;
    CopySwappingRedBlue(s, d, (size_t)image.width, f);
  }
  return true;
}

}  // namespace comms
