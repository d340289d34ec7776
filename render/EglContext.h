// cEglContext: an OpenGL 3.3 core context without a window, on Mesa's
// surfaceless EGL platform. Tests, benchmarks and `--headless` draw through it;
// the renderer then keeps its back buffer in a framebuffer of its own.
#pragma once
#include <memory>
#include <string>

#include "render/RenderWindow.h"

namespace comms {

class cEglContext : public cRenderWindow {
 public:
  // Null, with the reason in `why`, when no context can be made.
  static std::unique_ptr<cEglContext> Create(int width, int height, std::string* why);
  ~cEglContext() override;

  bool MakeCurrent() override;
  void Present() override {}
  void DrawableSize(int& width, int& height) const override {
    width = width_;
    height = height_;
  }
  bool HasDefaultFramebuffer() const override { return false; }
  // The size the renderer sees at its next frame.
  void SetSize(int width, int height) {
    width_ = width;
    height_ = height;
  }

 private:
  cEglContext() = default;
  void* display_ = nullptr;
  void* context_ = nullptr;
  int width_ = 0, height_ = 0;
};

}  // namespace comms
