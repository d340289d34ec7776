// Pixel access and image comparison for the golden-image tests.
#include "GLTestContext.h"

#include <cstdlib>

#include "interchange/IO.h"

namespace rendertest {

Rgba PixelAt(const comms::cImage& image, int x, int yFromTop) {
  const uint8_t* p = image.Pixel(x, image.height - 1 - yFromTop);
  int n = comms::cImage::BytesPerPixel(image.format);
  return {p[0], n > 1 ? p[1] : p[0], n > 2 ? p[2] : p[0], n > 3 ? p[3] : 255};
}

::testing::AssertionResult ImagesMatch(const comms::cImage& actual, const comms::cImage& expected, int tolerance,
                                       int maxDiffering, const std::string& name) {
  if (actual.width != expected.width || actual.height != expected.height)
    return ::testing::AssertionFailure() << name << ": size " << actual.width << "x" << actual.height << " vs "
                                         << expected.width << "x" << expected.height;
  int differing = 0, worst = 0;
  for (int y = 0; y < actual.height; y++)
    for (int x = 0; x < actual.width; x++) {
      Rgba a = PixelAt(actual, x, y), e = PixelAt(expected, x, y);
      int d = std::max({std::abs(a.r - e.r), std::abs(a.g - e.g), std::abs(a.b - e.b)});
      worst = std::max(worst, d);
      differing += d > tolerance;
    }
  if (differing <= maxDiffering) return ::testing::AssertionSuccess();
  comms::cIO::SaveImage(name + "_actual.png", actual);
  comms::cIO::SaveImage(name + "_expected.png", expected);
  return ::testing::AssertionFailure() << name << ": " << differing << " pixels differ (worst by " << worst
                                       << "); frames written as " << name << "_actual.png / _expected.png";
}

}  // namespace rendertest
