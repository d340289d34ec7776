// JPEG through libjpeg: grey, RGB and four-component images in; grey, RGB and
// RGBA (alpha dropped) out, with a quality of 92 unless set. The output grows
// in steps of 65535 bytes.
#include <cstdio>

#include <jpeglib.h>

#include <csetjmp>
#include <cstring>

#include "interchange/ImageCodecs.h"

namespace comms {

int cCodecJpeg::m_Quality = 92;

namespace {

struct JpegError {
  jpeg_error_mgr mgr;
  jmp_buf jump;
};

void OnError(j_common_ptr info) { longjmp(((JpegError*)info->err)->jump, 1); }
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

}  // namespace

bool cCodecJpeg::Decode(const std::vector<uint8_t>& buffer, cImage& image) {
  if (buffer.size() < 4) return false;
  jpeg_decompress_struct info;
  JpegError error;
  info.err = jpeg_std_error(&error.mgr);
  error.mgr.error_exit = OnError;
  error.mgr.output_message = OnMessage;
  cImage out;
  if (setjmp(error.jump)) {
    jpeg_destroy_decompress(&info);
    return false;
  }
  jpeg_create_decompress(&info);
  jpeg_mem_src(&info, buffer.data(), (unsigned long)buffer.size());
  jpeg_read_header(&info, TRUE);
  if (info.num_components == 1) info.out_color_space = JCS_GRAYSCALE;
  else if (info.num_components == 3) info.out_color_space = JCS_RGB;
  if (info.image_width > 65536 || info.image_height > 65536) longjmp(error.jump, 1);
  jpeg_start_decompress(&info);
  const int channels = info.output_components;
  if (channels != 1 && channels != 3 && channels != 4) longjmp(error.jump, 1);
  out.Create((int)info.output_width, (int)info.output_height, channels);
  while (info.output_scanline < info.output_height) {
    JSAMPROW row = out.Pixel(0, (int)(info.output_height - 1 - info.output_scanline));  // bottom-up
    jpeg_read_scanlines(&info, &row, 1);
  }
  jpeg_finish_decompress(&info);
  jpeg_destroy_decompress(&info);
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
