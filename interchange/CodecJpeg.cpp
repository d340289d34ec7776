// JPEG through libjpeg: grey, RGB and CMYK images in (CMYK, plain or in the
// inverted form of Adobe files, becomes RGB); grey, RGB and RGBA (alpha
// dropped) out, with a quality of 92 unless set. The output grows in steps of
// 65535 bytes. The declared size is checked against the file before decoding.
#include <cstdio>

#include <jpeglib.h>

#include <csetjmp>
#include <cstring>

#include "ClassEngine/Log.h"
#include "interchange/ImageCodecs.h"
#include "interchange/ImageLimits.h"

namespace comms {

int cCodecJpeg::m_Quality = 92;

namespace {

struct JpegError {
  jpeg_error_mgr mgr;
  jmp_buf jump;
  char text[JMSG_LENGTH_MAX];
};

void OnError(j_common_ptr info) {
  auto* e = (JpegError*)info->err;
  e->mgr.format_message(info, e->text);
  longjmp(e->jump, 1);
}
void OnMessage(j_common_ptr) {}

constexpr size_t kStep = 65535;

struct GrowingDestination {
  jpeg_destination_mgr mgr;
  std::vector<uint8_t>* out;
};

void InitDestination(j_compress_ptr c) {
  auto* d = (GrowingDestination*)c->dest;
  d->out->resize(kStep);
  d->mgr.next_output_byte = d->out->data();
  d->mgr.free_in_buffer = kStep;
}
boolean EmptyBuffer(j_compress_ptr c) {
  auto* d = (GrowingDestination*)c->dest;
  size_t used = d->out->size();
  d->out->resize(used + kStep);
  d->mgr.next_output_byte = d->out->data() + used;
  d->mgr.free_in_buffer = kStep;
  return TRUE;
}
void TermDestination(j_compress_ptr c) {
  auto* d = (GrowingDestination*)c->dest;
  d->out->resize(d->out->size() - d->mgr.free_in_buffer);
}

// Ink to light, per pixel, as image editors do: each colour is what its ink
// and the black leave. Adobe's files store the inks inverted (0 is full ink).
void CmykRowToRgb(const uint8_t* cmyk, uint8_t* rgb, size_t pixels, bool inverted) {
  for (size_t i = 0; i < pixels; i++, cmyk += 4, rgb += 3) {
    const int k = inverted ? cmyk[3] : 255 - cmyk[3];
    for (int c = 0; c < 3; c++) {
      const int light = inverted ? cmyk[c] : 255 - cmyk[c];
      rgb[c] = (uint8_t)((light * k + 127) / 255);
    }
  }
}

// A Huffman-coded picture spends at least one bit on each 8 x 8 block in its
// first scan; arithmetic coding has no such floor.
uint64_t LeastJpegBytes(const jpeg_decompress_struct& info) {
  if (info.arith_code) return 0;
  const uint64_t blocks = ((uint64_t)info.image_width + 7) / 8 * (((uint64_t)info.image_height + 7) / 8);
  return blocks / 8;
}

// The work under libjpeg's longjmp. Objects with destructors belong to the
// caller: a local changed after setjmp may be stale after the jump.
bool DecodeInto(const std::vector<uint8_t>& buffer, cImage& out, std::vector<uint8_t>& cmyk) {
  jpeg_decompress_struct info;
  JpegError error;
  info.err = jpeg_std_error(&error.mgr);
  error.mgr.error_exit = OnError;
  error.mgr.output_message = OnMessage;
  error.text[0] = 0;
  if (setjmp(error.jump)) {
    if (error.text[0]) Log("cCodecJpeg::Decode(): %s.", error.text);
    jpeg_destroy_decompress(&info);
    return false;
  }
  jpeg_create_decompress(&info);
  jpeg_mem_src(&info, buffer.data(), (unsigned long)buffer.size());
  jpeg_read_header(&info, TRUE);
  const bool inks = info.jpeg_color_space == JCS_CMYK || info.jpeg_color_space == JCS_YCCK;
  if (info.num_components == 1) info.out_color_space = JCS_GRAYSCALE;
  else if (info.num_components == 3) info.out_color_space = JCS_RGB;
  else if (inks) info.out_color_space = JCS_CMYK;  // libjpeg turns YCCK into CMYK
  if (!CheckImageSize("cCodecJpeg::Decode()", info.image_width, info.image_height, LeastJpegBytes(info),
                      buffer.size()))
    longjmp(error.jump, 1);
  jpeg_start_decompress(&info);
  const int channels = info.output_components;
  if (channels != 1 && channels != 3 && !(channels == 4 && inks)) {
    std::snprintf(error.text, sizeof error.text, "%d colour components can't be shown", channels);
    longjmp(error.jump, 1);
  }
  out.Create((int)info.output_width, (int)info.output_height, channels == 4 ? 3 : channels);
  if (channels == 4) cmyk.resize((size_t)info.output_width * 4);
  while (info.output_scanline < info.output_height) {
    uint8_t* target = out.Pixel(0, (int)(info.output_height - 1 - info.output_scanline));  // bottom-up
    JSAMPROW row = channels == 4 ? cmyk.data() : target;
    jpeg_read_scanlines(&info, &row, 1);
    if (channels == 4) CmykRowToRgb(cmyk.data(), target, info.output_width, info.saw_Adobe_marker);
  }
  jpeg_finish_decompress(&info);
  jpeg_destroy_decompress(&info);
  return true;
}

}  // namespace

bool cCodecJpeg::Decode(const std::vector<uint8_t>& buffer, cImage& image) {
  if (buffer.size() < 4) return Refuse("cCodecJpeg::Decode()", "The file is too short for a JPEG.");
  cImage out;
  std::vector<uint8_t> cmyk;
  if (!DecodeInto(buffer, out, cmyk)) return false;
  image = std::move(out);
  return true;
}

bool cCodecJpeg::Encode(const cImage& image, std::vector<uint8_t>& buffer) {
  const int f = image.format;
  if ((f != 1 && f != 3 && f != 4) || image.width <= 0 || image.height <= 0 ||
      image.data.size() < image.RowBytes() * image.height)
    return false;
  jpeg_compress_struct info;
  JpegError error;
  info.err = jpeg_std_error(&error.mgr);
  error.mgr.error_exit = OnError;
  error.mgr.output_message = OnMessage;
  std::vector<uint8_t> out;
  GrowingDestination dest{};
  if (setjmp(error.jump)) {
    jpeg_destroy_compress(&info);
    return false;
  }
  jpeg_create_compress(&info);
  dest.mgr.init_destination = InitDestination;
  dest.mgr.empty_output_buffer = EmptyBuffer;
  dest.mgr.term_destination = TermDestination;
  dest.out = &out;
  info.dest = &dest.mgr;
  info.image_width = (JDIMENSION)image.width;
  info.image_height = (JDIMENSION)image.height;
  info.input_components = f;
  info.in_color_space = f == 1 ? JCS_GRAYSCALE : f == 3 ? JCS_RGB : JCS_EXT_RGBA;
  jpeg_set_defaults(&info);
  jpeg_set_quality(&info, m_Quality, TRUE);
  jpeg_start_compress(&info, TRUE);
  while (info.next_scanline < info.image_height) {
    JSAMPROW row = (JSAMPROW)image.Pixel(0, image.height - 1 - (int)info.next_scanline);
    jpeg_write_scanlines(&info, &row, 1);
  }
  jpeg_finish_compress(&info);
  jpeg_destroy_compress(&info);
  buffer = std::move(out);
  return true;
}

}  // namespace comms
