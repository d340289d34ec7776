// cPlatformWindow: the platform's window (its OpenGL context, swap and size)
// as the renderer's drawing surface.
#pragma once
#include "platform/Platform.h"
#include "render/RenderWindow.h"

namespace comms {

class cPlatformWindow : public cRenderWindow {
 public:
  explicit cPlatformWindow(Platform& platform) : platform_(platform) {}
  bool MakeCurrent() override { return platform_.MakeGLCurrent(); }
  void Present() override { platform_.SwapGL(); }
  void DrawableSize(int& width, int& height) const override { platform_.GLDrawableSize(width, height); }
  bool HasDefaultFramebuffer() const override { return true; }

 private:
  Platform& platform_;
};

}  // namespace comms
