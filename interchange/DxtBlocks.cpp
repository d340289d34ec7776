// DXT1/3/5 blocks: the in-block row flip and the CPU decoder used for
// previews and conversion of compressed textures.
#include "interchange/DxtBlocks.h"

#include <cstring>
#include <vector>

#include "interchange/Image.h"

namespace comms {

namespace {

// Reverses the first `rows` rows of a 4-row block.
void FlipBlock(uint8_t* block, int format, int rows) {
  uint8_t* colour = format == kFormatDxt1 ? block : block + 8;
  for (int r = 0; r < rows / 2; r++) std::swap(colour[4 + r], colour[4 + rows - 1 - r]);
  if (format == kFormatDxt3) {
    for (int r = 0; r < rows / 2; r++) {
      std::swap(block[2 * r], block[2 * (rows - 1 - r)]);
      std::swap(block[2 * r + 1], block[2 * (rows - 1 - r) + 1]);
    }
  } else if (format == kFormatDxt5) {
    uint64_t bits = 0;
    for (int k = 0; k < 6; k++) bits |= (uint64_t)block[2 + k] << (8 * k);
    uint64_t row[4];
    for (int r = 0; r < 4; r++) row[r] = (bits >> (12 * r)) & 0xfff;
    for (int r = 0; r < rows / 2; r++) std::swap(row[r], row[rows - 1 - r]);
    bits = 0;
    for (int r = 0; r < 4; r++) bits |= row[r] << (12 * r);
    for (int k = 0; k < 6; k++) block[2 + k] = (uint8_t)(bits >> (8 * k));
  }
}

void Colour565(uint16_t v, uint8_t* out) {
  out[0] = (uint8_t)(((v >> 11) & 31) * 255 / 31);
  out[1] = (uint8_t)(((v >> 5) & 63) * 255 / 63);
  out[2] = (uint8_t)((v & 31) * 255 / 31);
}

}  // namespace

int DxtPaddingRows(int h) { return h < 4 ? 0 : (4 - h % 4) % 4; }

void FlipDxtLevel(uint8_t* data, int format, int w, int h) {
  const size_t blockBytes = format == kFormatDxt1 ? 8 : 16;
  const int bw = (w + 3) / 4, bh = (h + 3) / 4;
  const size_t rowBytes = bw * blockBytes;
  const int rows = h < 4 ? h : 4;
  for (int by = 0; by < bh; by++)
    for (int bx = 0; bx < bw; bx++) FlipBlock(data + by * rowBytes + bx * blockBytes, format, rows);
  std::vector<uint8_t> tmp(rowBytes);
  for (int by = 0; by < bh / 2; by++) {
    uint8_t* a = data + by * rowBytes;
    uint8_t* b = data + (bh - 1 - by) * rowBytes;
    std::memcpy(tmp.data(), a, rowBytes);
    std::memcpy(a, b, rowBytes);
    std::memcpy(b, tmp.data(), rowBytes);
  }
}

void DecodeDxtBlock(const uint8_t* block, int format, uint8_t out[16][4]) {
  const uint8_t* c = format == kFormatDxt1 ? block : block + 8;
  const uint16_t c0 = (uint16_t)(c[0] | c[1] << 8), c1 = (uint16_t)(c[2] | c[3] << 8);
  uint8_t palette[4][4];
  Colour565(c0, palette[0]);
  Colour565(c1, palette[1]);
  palette[0][3] = palette[1][3] = palette[2][3] = 255;
  palette[3][3] = 255;
  if (c0 > c1 || format != kFormatDxt1) {
    for (int k = 0; k < 3; k++) {
      palette[2][k] = (uint8_t)((2 * palette[0][k] + palette[1][k]) / 3);
      palette[3][k] = (uint8_t)((palette[0][k] + 2 * palette[1][k]) / 3);
    }
  } else {
    for (int k = 0; k < 3; k++) {
      palette[2][k] = (uint8_t)((palette[0][k] + palette[1][k]) / 2);
      palette[3][k] = 0;
    }
    palette[3][3] = 0;  // the transparent entry of DXT1
  }
  for (int i = 0; i < 16; i++) {
    int index = (c[4 + i / 4] >> (2 * (i % 4))) & 3;
    std::memcpy(out[i], palette[index], 4);
  }
  if (format == kFormatDxt3) {
    for (int i = 0; i < 16; i++) out[i][3] = (uint8_t)(((block[i / 2] >> (4 * (i % 2))) & 15) * 17);
  } else if (format == kFormatDxt5) {
    uint8_t a[8];
    a[0] = block[0], a[1] = block[1];
    if (a[0] > a[1]) {
      for (int k = 1; k < 7; k++) a[k + 1] = (uint8_t)(((7 - k) * a[0] + k * a[1]) / 7);
    } else {
      for (int k = 1; k < 5; k++) a[k + 1] = (uint8_t)(((5 - k) * a[0] + k * a[1]) / 5);
      a[6] = 0, a[7] = 255;
    }
    uint64_t bits = 0;
    for (int k = 0; k < 6; k++) bits |= (uint64_t)block[2 + k] << (8 * k);
    for (int i = 0; i < 16; i++) out[i][3] = a[(bits >> (3 * i)) & 7];
  }
}

bool DecodeDxt(const cImage& source, cImage& rgba) {
  if (!cImage::IsCompressed(source.format) || source.width <= 0 || source.height <= 0) return false;
  if (source.data.size() < cImage::LevelBytes(source.format, source.width, source.height)) return false;
  const size_t blockBytes = source.format == kFormatDxt1 ? 8 : 16;
  const int bw = (source.width + 3) / 4, bh = (source.height + 3) / 4;
  cImage out;
  out.Create(source.width, source.height, 4);
  uint8_t px[16][4];
  const int pad = DxtPaddingRows(source.height);
  for (int by = 0; by < bh; by++)
    for (int bx = 0; bx < bw; bx++) {
      DecodeDxtBlock(source.data.data() + ((size_t)by * bw + bx) * blockBytes, source.format, px);
      for (int i = 0; i < 16; i++) {
        int x = bx * 4 + i % 4, y = by * 4 + i / 4 - pad;
        if (x < out.width && y >= 0 && y < out.height) std::memcpy(out.Pixel(x, y), px[i], 4);
      }
    }
  rgba = std::move(out);
  return true;
}

}  // namespace comms
