// Fuzz target: arbitrary bytes through the PNG image codec.
#include "FuzzImageCodec.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return FuzzImageCodec("png", data, size);
}
