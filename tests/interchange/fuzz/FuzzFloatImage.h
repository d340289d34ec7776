// The body shared by the float-image fuzz targets (EXR and TIFF, which their
// libraries read from files): arbitrary bytes go to a file of this process,
// are loaded, and a loaded image must hold exactly its size in samples.
#pragma once
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "interchange/FloatImage.h"

inline int FuzzFloatImage(const char* extension, const uint8_t* data, size_t size) {
  static const std::string path = "/tmp/morvane_fuzz_" + std::to_string(getpid()) + "." + extension;
  FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) return 0;
  std::fwrite(data, 1, size, f);
  std::fclose(f);
  comms::cFloatImage image;
  if (image.Load(path) &&
      image.samples.size() != (size_t)image.width * image.height * image.channels)
    __builtin_trap();
  std::remove(path.c_str());
  return 0;
}
