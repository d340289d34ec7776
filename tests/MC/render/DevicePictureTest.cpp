// The render room's frames drawn on the graphics card (OpenGL 3.3 through
// EGL, llvmpipe in the tests) against the same frames on the processor: the
// same random draws give the same picture, but for rasterisation details at
// edges and shadow borders. Both pictures are written when they differ.
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "ClassEngine/DataFolder.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/render/VolumeRender.h"
#include "interchange/IO.h"
#include "interchange/Image.h"
#include "render/EglContext.h"
#include "render/RenderGL.h"

namespace {

struct DevicePicture : ::testing::Test {
  std::unique_ptr<comms::cEglContext> context;
  std::unique_ptr<comms::cRenderGL> device;
  void SetUp() override {
    std::string why;
    context = comms::cEglContext::Create(64, 48, &why);
    if (!context) GTEST_SKIP() << "no headless OpenGL context: " << why;
    device = std::make_unique<comms::cRenderGL>();
    device->DataFolder = comms::DataFolder();
    if (!device->Init(context.get(), 1)) GTEST_SKIP() << "OpenGL 3.3 core not available";
    ASSERT_TRUE(device->BeginFrame());
  }
  void TearDown() override {
    device.reset();
    context.reset();
  }
};

// Where the pictures go when they differ: MORVANE_TEST_PICTURES or here.
std::string PicturePath(const std::string& name) {
  const char* dir = std::getenv("MORVANE_TEST_PICTURES");
  return (dir ? std::string(dir) + "/" : std::string()) + name;
}

}  // namespace

TEST_F(DevicePicture, TheCardsPictureIsTheProcessorsWithinTolerance) {
  // A ball resting over a broad one: the upper casts a shadow on the lower.
  VolumeObject balls;
  FillVolume(balls, SphereShape(0, -14, 0, 14));
  FillVolume(balls, SphereShape(4, 8, 3, 7));
  RenderParams params;
  params.AO_Percent = 30;
  params.DOF_Degree = 1;
  constexpr int kW = 160, kH = 120, kFrames = 24;
  VolumeRender cpu(params, kW, kH, 5), gpu(params, kW, kH, 5);
  for (VolumeRender* r : {&cpu, &gpu}) {
    ASSERT_GT(r->SetScene({&balls}), 1000);
    r->SetEye(r->FramingEye());
  }
  ASSERT_TRUE(gpu.UseDevice(device.get()));
  EXPECT_TRUE(gpu.OnDevice());
  for (int i = 0; i < kFrames; ++i) cpu.RenderFrame(), gpu.RenderFrame();
  EXPECT_EQ(gpu.Rays(), kFrames);
  comms::cImage a, b;
  cpu.Picture(a, false);
  gpu.Picture(b, false);
  ASSERT_EQ(a.data.size(), b.data.size());
  // Tolerance: the mean difference under 1.5 levels, and fewer than 2% of the
  // pixels (edges, shadow borders) off by more than 16 levels.
  double total = 0;
  int off = 0;
  for (int y = 0; y < kH; ++y)
    for (int x = 0; x < kW; ++x) {
      int d = 0;
      for (int c = 0; c < 3; ++c) d = std::max(d, std::abs(int(a.Pixel(x, y)[c]) - int(b.Pixel(x, y)[c])));
      total += d;
      off += d > 16;
    }
  const double mean = total / (kW * kH);
  EXPECT_LT(mean, 1.5);
  EXPECT_LT(off, kW * kH / 50);
  // Something was drawn: the small ball stands lighter than the backdrop.
  float x = 0, y = 0;
  ASSERT_TRUE(gpu.PixelOf(comms::cVec3(4, 14, 3), x, y));
  EXPECT_GT(b.Pixel(int(x), kH - 1 - int(y))[1], b.Pixel(2, 2)[1]);
  if (HasFailure()) {
    comms::cIO::SaveImage(PicturePath("device-picture-cpu.png"), a);
    comms::cIO::SaveImage(PicturePath("device-picture-gpu.png"), b);
  }
  // Back to the processor: the picture starts again there.
  EXPECT_FALSE(gpu.UseDevice(nullptr));
  gpu.RenderFrame();
  EXPECT_EQ(gpu.Rays(), 1);
}
