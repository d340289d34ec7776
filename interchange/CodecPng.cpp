// PNG through libpng: 8- and 16-bit grey, grey-alpha, RGB and RGBA; palette
// and low-bit images widen to 8 bits. 16-bit samples are kept little-endian
// in memory. libpng reports errors by longjmp, so everything with a destructor
// is made before setjmp.
#include <png.h>

#include <csetjmp>
#include <cstring>

#include "ClassEngine/Log.h"
#include "interchange/ImageCodecs.h"
#include "interchange/ImageLimits.h"

namespace comms {

namespace {

struct PngReadSource {
  const uint8_t* data;
  size_t size, at;
};

void ReadFromMemory(png_structp png, png_bytep out, png_size_t count) {
  auto* src = (PngReadSource*)png_get_io_ptr(png);
  if (count > src->size - src->at) png_error(png, "truncated");
  std::memcpy(out, src->data + src->at, count);
  src->at += count;
}

void WriteToMemory(png_structp png, png_bytep data, png_size_t count) {
  auto* out = (std::vector<uint8_t>*)png_get_io_ptr(png);
  out->insert(out->end(), data, data + count);
}

void Flush(png_structp) {}
void Warn(png_structp, png_const_charp) {}
// libpng's reason goes to the log before its longjmp.
void FailWithReason(png_structp png, png_const_charp message) {
  Log("cCodecPng: %s.", message);
  png_longjmp(png, 1);
}

// The work under libpng's longjmp. Objects with destructors belong to the
// caller: a local changed after setjmp may be stale after the jump.
bool DecodeInto(const std::vector<uint8_t>& buffer, cImage& out, std::vector<png_bytep>& rows) {
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, FailWithReason, Warn);
  if (!png) return false;
  png_infop info = png_create_info_struct(png);
  PngReadSource src{buffer.data(), buffer.size(), 0};
  if (!info || setjmp(png_jmpbuf(png))) {
    png_destroy_read_struct(&png, info ? &info : nullptr, nullptr);
    return false;
  }
  png_set_read_fn(png, &src, ReadFromMemory);
  // Refuse pictures larger than any texture before memory is taken for them.
  png_set_user_limits(png, 65536, 65536);
  png_read_info(png, info);
  const png_uint_32 width = png_get_image_width(png, info), height = png_get_image_height(png, info);
  const int colourType = png_get_color_type(png, info);
  int bits = png_get_bit_depth(png, info);
  if (colourType == PNG_COLOR_TYPE_PALETTE) {
    png_set_palette_to_rgb(png);
    bits = 8;
  } else if (bits < 8) {
    png_set_expand_gray_1_2_4_to_8(png);
    bits = 8;
  }
  if (bits == 16) png_set_swap(png);
  png_read_update_info(png, info);
  const int channels = png_get_channels(png, info);
  // Deflate packs at most 1032 to 1; a megabyte of slack covers the headers
  // of a small picture.
  const uint64_t raw = (uint64_t)png_get_rowbytes(png, info) * height;
  const uint64_t least = raw > (1u << 20) ? (raw - (1u << 20)) / 1032 : 0;
  if (channels < 1 || channels > 4 || !CheckImageSize("cCodecPng::Decode()", width, height, least, buffer.size())) {
    png_destroy_read_struct(&png, &info, nullptr);
    return false;
  }
  out.Create((int)width, (int)height, (bits == 16 ? 4 : 0) + channels);
  rows.resize(height);
  for (png_uint_32 y = 0; y < height; y++) rows[y] = out.Pixel(0, (int)(height - 1 - y));  // bottom-up
  png_read_image(png, rows.data());
  png_read_end(png, nullptr);
  png_destroy_read_struct(&png, &info, nullptr);
  return true;
}

}  // namespace

bool cCodecPng::Decode(const std::vector<uint8_t>& buffer, cImage& image) {
  if (buffer.size() < 8 || png_sig_cmp(buffer.data(), 0, 8) != 0)
    return Refuse("cCodecPng::Decode()", "Not a PNG file (no PNG signature).");
  cImage out;
  std::vector<png_bytep> rows;
  if (!DecodeInto(buffer, out, rows)) return false;
  image = std::move(out);
  return true;
}

bool cCodecPng::Encode(const cImage& image, std::vector<uint8_t>& buffer) {
  const int f = image.format;
  if (f < 1 || f > 8 || image.width <= 0 || image.height <= 0 || image.data.size() < image.RowBytes() * image.height)
    return false;
  static const int kTypes[4] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB,
                                PNG_COLOR_TYPE_RGBA};
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, Warn);
  if (!png) return false;
  png_infop info = png_create_info_struct(png);
  std::vector<uint8_t> out;
  std::vector<png_bytep> rows(image.height);
  if (!info || setjmp(png_jmpbuf(png))) {
    png_destroy_write_struct(&png, info ? &info : nullptr);
    return false;
  }
  png_set_write_fn(png, &out, WriteToMemory, Flush);
  png_set_IHDR(png, info, image.width, image.height, f > 4 ? 16 : 8, kTypes[(f - 1) % 4], PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  if (f > 4) png_set_swap(png);  // memory is little-endian, the file big-endian
  for (int y = 0; y < image.height; y++) rows[y] = (png_bytep)image.Pixel(0, image.height - 1 - y);
  png_write_image(png, rows.data());
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  buffer = std::move(out);
  return true;
}

}  // namespace comms
