// TGA: grey, true-colour and colour-mapped, raw or run-length. Decoding runs
// the pixels as one stream, so a run that crosses a row goes on in the next.
#include <cstring>

#include "interchange/ImageCodecs.h"
#include "interchange/ImageLimits.h"

namespace comms {

void FlipRows(uint8_t* data, size_t rowBytes, int rows) {
  std::vector<uint8_t> tmp(rowBytes);
  for (int y = 0; y < rows / 2; y++) {
    uint8_t* a = data + (size_t)y * rowBytes;
    uint8_t* b = data + (size_t)(rows - 1 - y) * rowBytes;
    std::memcpy(tmp.data(), a, rowBytes);
    std::memcpy(a, b, rowBytes);
    std::memcpy(b, tmp.data(), rowBytes);
  }
}

namespace {

// A 5-5-5-1 pixel as RGBA, each channel shifted left by 3.
void Unpack1555(uint16_t v, uint8_t* out) {
  out[0] = (uint8_t)(((v >> 10) & 31) << 3);
  out[1] = (uint8_t)(((v >> 5) & 31) << 3);
  out[2] = (uint8_t)((v & 31) << 3);
  out[3] = (v & 0x8000) ? 255 : 0;
}

}  // namespace

bool cCodecTga::Decode(const std::vector<uint8_t>& buffer, cImage& image) {
  const uint8_t* b = buffer.data();
  const size_t size = buffer.size();
  if (size < 18) return Refuse("cCodecTga::Decode()", "The file is shorter than a TGA header.");
  const int idLength = b[0], mapType = b[1], type = b[2];
  const int mapFirst = b[3] | b[4] << 8, mapLength = b[5] | b[6] << 8, mapDepth = b[7];
  const int width = b[12] | b[13] << 8, height = b[14] | b[15] << 8, bits = b[16], descriptor = b[17];
  const bool rle = (type & 8) != 0;
  const int base = type & 7;
  if (base != 1 && base != 2 && base != 3) return Refuse("cCodecTga::Decode()", "Not a TGA image type that is read (1, 2, 3, 9, 10, 11).");
  if (!CheckImageSize("cCodecTga::Decode()", (uint64_t)width, (uint64_t)height, 0, 1)) return false;
  if (bits != 8 && bits != 16 && bits != 24 && bits != 32 && bits != 15)
    return Refuse("cCodecTga::Decode()", "Pixels of 8, 15, 16, 24 or 32 bits only.");
  size_t at = 18 + (size_t)idLength;
  const size_t mapBytes = mapType ? (size_t)mapLength * ((mapDepth + 7) / 8) : 0;
  if (at + mapBytes > size) return Refuse("cCodecTga::Decode()", "The colour map runs past the end of the file.");
  const uint8_t* map = b + at;
  at += mapBytes;
  const bool mapped = mapType != 0 && bits == 8 && base == 1;
  if (base == 1 && !mapped) return Refuse("cCodecTga::Decode()", "A colour-mapped image needs 8-bit indices and a map.");
  if (mapped && mapDepth != 15 && mapDepth != 16 && mapDepth != 24 && mapDepth != 32)
    return Refuse("cCodecTga::Decode()", "Colour map entries of 15, 16, 24 or 32 bits only.");
  const int inBytes = (bits + 7) / 8;
  const int format = bits == 8 ? (mapped ? 3 : 1) : bits == 24 ? 3 : 4;
  const int outBytes = format;
  const size_t pixels = (size_t)width * height;
  // A raw image must be all there; a run-length one at least one byte per packet.
  if ((!rle && pixels * inBytes > size - at) || (rle && pixels > (size - at) * 128))
    return Refuse("cCodecTga::Decode()", "The file is too short for the size its header gives.");

  cImage out;
  out.Create(width, height, format);
  uint8_t* dst = out.data.data();
  auto put = [&](const uint8_t* src, size_t i) {
    uint8_t* d = dst + i * outBytes;
    if (mapped) {
      int index = src[0] - mapFirst;
      const int mb = (mapDepth + 7) / 8;
      if (index < 0 || index >= mapLength) {
        d[0] = d[1] = d[2] = 0;
      } else if (mb == 2) {
        uint8_t rgba[4];
        Unpack1555((uint16_t)(map[index * 2] | map[index * 2 + 1] << 8), rgba);
        d[0] = rgba[0], d[1] = rgba[1], d[2] = rgba[2];
      } else {
        const uint8_t* e = map + (size_t)index * mb;
        d[0] = e[2], d[1] = e[1], d[2] = e[0];
      }
    } else if (inBytes == 1) {
      d[0] = src[0];
    } else if (inBytes == 2) {
      Unpack1555((uint16_t)(src[0] | src[1] << 8), d);
    } else {
      d[0] = src[2], d[1] = src[1], d[2] = src[0];
      if (inBytes == 4) d[3] = src[3];
    }
  };
  if (!rle) {
    for (size_t i = 0; i < pixels; i++) put(b + at + i * inBytes, i);
  } else {
    size_t i = 0;
    while (i < pixels) {
      if (at >= size) return Refuse("cCodecTga::Decode()", "The run-length data ends early.");
      const uint8_t packet = b[at++];
      const size_t count = (size_t)(packet & 0x7f) + 1;
      if (packet & 0x80) {
        if (at + inBytes > size) return Refuse("cCodecTga::Decode()", "The run-length data ends early.");
        for (size_t k = 0; k < count && i < pixels; k++) put(b + at, i++);
        at += inBytes;
      } else {
        if (at + count * inBytes > size) return Refuse("cCodecTga::Decode()", "The run-length data ends early.");
        for (size_t k = 0; k < count && i < pixels; k++) put(b + at + k * inBytes, i++);
        at += count * inBytes;
      }
    }
  }
  if (descriptor & 0x20) FlipRows(dst, out.RowBytes(), height);  // top-left origin
  image = std::move(out);
  return true;
}

bool cCodecTga::Encode(const cImage& image, std::vector<uint8_t>& buffer) {
  const int f = image.format;
  if ((f != 1 && f != 3 && f != 4) || image.width <= 0 || image.height <= 0 || image.width > 65535 ||
      image.height > 65535 || image.data.size() < image.RowBytes() * image.height)
    return false;
  uint8_t h[18] = {};
  const bool grey = f == 1;
  h[1] = grey ? 1 : 0;  // a grey image goes colour-mapped with a grey palette
  h[2] = grey ? 1 : 2;
  if (grey) {
    h[5] = 0, h[6] = 1;  // 256 entries
    h[7] = 24;
  }
  h[12] = (uint8_t)image.width, h[13] = (uint8_t)(image.width >> 8);
  h[14] = (uint8_t)image.height, h[15] = (uint8_t)(image.height >> 8);
  h[16] = (uint8_t)(f * 8);
  h[17] = f == 4 ? 8 : 0;  // alpha bits; bottom-left origin as the rows are stored
  buffer.assign(h, h + 18);
  if (grey)
    for (int i = 0; i < 256; i++) buffer.insert(buffer.end(), {(uint8_t)i, (uint8_t)i, (uint8_t)i});
  const size_t pixels = (size_t)image.width * image.height;
  size_t start = buffer.size();
  buffer.resize(start + pixels * f);
  CopySwappingRedBlue(image.data.data(), buffer.data() + start, pixels, f);
  return true;
}

}  // namespace comms
