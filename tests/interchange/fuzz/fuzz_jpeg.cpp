// Fuzz target: arbitrary bytes through the JPEG image codec.
#include "FuzzImageCodec.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return FuzzImageCodec("jpg", data, size);
}
