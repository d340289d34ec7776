// The size checks every image decoder makes before it allocates: a picture
// may have at most kMaxImagePixels pixels, and the file must be large enough
// to hold the declared size at the best ratio its compression can reach.
#pragma once
#include <cstdint>

namespace comms {

// 8192 x 8192 or the same area in another shape: 256 MB as 8-bit RGBA, 1 GB as
// float RGBA.
constexpr uint64_t kMaxImagePixels = 1ull << 26;

// True when a w x h picture may be allocated: w and h above 0, w * h within
// kMaxImagePixels, and `fileBytes` at least `leastFileBytes`. Otherwise logs
// "<who>: ..." with the reason and returns false.
bool CheckImageSize(const char* who, uint64_t w, uint64_t h, uint64_t leastFileBytes, uint64_t fileBytes);

}  // namespace comms
