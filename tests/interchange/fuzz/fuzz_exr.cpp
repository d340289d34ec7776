// Fuzz target: arbitrary bytes through the EXR reader of the float image.
#include "FuzzFloatImage.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return FuzzFloatImage("exr", data, size);
}
