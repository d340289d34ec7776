// Fuzz target: arbitrary bytes through the BMP image codec.
#include "FuzzImageCodec.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return FuzzImageCodec("bmp", data, size);
}
