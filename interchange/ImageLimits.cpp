// The size checks of the image decoders, with the reasons they log.
#include "interchange/ImageLimits.h"

#include "ClassEngine/Log.h"
#include "interchange/ImageCodecs.h"

namespace comms {

bool Refuse(const char* codec, const char* why) {
  Log("%s: %s", codec, why);
  return false;
}

bool CheckImageSize(const char* who, uint64_t w, uint64_t h, uint64_t leastFileBytes, uint64_t fileBytes) {
  if (w == 0 || h == 0) {
    Log("%s: The image has no pixels (%llu x %llu).", who, (unsigned long long)w, (unsigned long long)h);
    return false;
  }
  if (w > kMaxImagePixels || h > kMaxImagePixels || w * h > kMaxImagePixels) {
    Log("%s: %llu x %llu pixels are more than the %llu an image may have.", who, (unsigned long long)w,
        (unsigned long long)h, (unsigned long long)kMaxImagePixels);
    return false;
  }
  if (fileBytes < leastFileBytes) {
    Log("%s: A file of %llu bytes can't hold %llu x %llu pixels (it needs at least %llu).", who,
        (unsigned long long)fileBytes, (unsigned long long)w, (unsigned long long)h,
        (unsigned long long)leastFileBytes);
    return false;
  }
  return true;
}

}  // namespace comms
