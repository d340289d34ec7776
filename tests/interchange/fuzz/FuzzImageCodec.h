// The body shared by the image-codec fuzz targets: arbitrary bytes through one
// codec; a decoded image must hold exactly the bytes its size and format call
// for, and must encode again.
#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

#include "interchange/IO.h"

inline int FuzzImageCodec(const char* extension, const uint8_t* data, size_t size) {
  comms::cIO::ImageCodec* codec = comms::cIO::FindImageCodec(extension);
  std::vector<uint8_t> bytes(data, data + size), again;
  comms::cImage image;
  if (!codec || !codec->Decode(bytes, image)) return 0;
  if (image.depth == 1 && image.mips == 1 &&
      image.data.size() != comms::cImage::LevelBytes(image.format, image.width, image.height))
    __builtin_trap();
  codec->Encode(image, again);
  return 0;
}
