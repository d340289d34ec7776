// A headless renderer for the GL tests: EGL on Mesa's surfaceless platform and
// a cRenderGL reading shaders from the data folder. Tests skip, saying why,
// when no context can be made; golden comparisons write the failing frame.
#pragma once
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "interchange/Image.h"
#include "render/EglContext.h"
#include "render/RenderGL.h"

namespace rendertest {

// The data folder: MORVANE_DATA under ctest, else found from this file's place.
inline std::string DataFolder() {
  if (const char* d = std::getenv("MORVANE_DATA")) return d;
  std::string here = __FILE__;
  return here.substr(0, here.rfind("/tests/")) + "/data";
}

class GLTest : public ::testing::Test {
 protected:
  // One context for the whole run (making one costs most of a second); each
  // test gets a fresh renderer on it.
  static comms::cEglContext* Context(std::string& why) {
    static std::string reason;
    static std::unique_ptr<comms::cEglContext> context = comms::cEglContext::Create(kWidth, kHeight, &reason);
    why = reason;
    return context.get();
  }
  void SetUp() override {
    std::string why;
    context_ = Context(why);
    if (!context_) GTEST_SKIP() << "no headless OpenGL context: " << why;
    context_->SetSize(kWidth, kHeight);
    render_ = std::make_unique<comms::cRenderGL>();
    render_->DataFolder = DataFolder();
    if (!render_->Init(context_, 1)) GTEST_SKIP() << "OpenGL 3.3 core not available";
    ASSERT_TRUE(render_->BeginFrame());
  }
  void TearDown() override { render_.reset(); }
  // The back buffer as an image, bottom row first.
  comms::cImage Screen() {
    comms::cImage image;
    EXPECT_TRUE(render_->ReadScreen(image));
    return image;
  }

  static constexpr int kWidth = 64, kHeight = 48;
  comms::cEglContext* context_ = nullptr;
  std::unique_ptr<comms::cRenderGL> render_;
};

// An RGB(A) 8-bit pixel of an image (row 0 at the bottom).
struct Rgba {
  int r, g, b, a;
};
Rgba PixelAt(const comms::cImage& image, int x, int yFromTop);

// Compares two 8-bit images: a pixel differs when a channel is off by more than
// `tolerance`; more than `maxDiffering` such pixels fail, and both images are
// written as "<name>_actual.png" and "<name>_expected.png" in the working folder.
::testing::AssertionResult ImagesMatch(const comms::cImage& actual, const comms::cImage& expected, int tolerance,
                                       int maxDiffering, const std::string& name);

}  // namespace rendertest
