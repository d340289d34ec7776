// cRenderWindow: what a back end needs of the surface it draws to. The SDL
// window (through the platform) and the headless EGL context both provide it.
#pragma once
#include <string>

namespace comms {

class cRenderWindow {
 public:
  virtual ~cRenderWindow() = default;
  // Makes the window's GL context current on this thread; false without one.
  virtual bool MakeCurrent() = 0;
  // Shows the default framebuffer.
  virtual void Present() = 0;
  // Drawable size in pixels; 0 x 0 while minimised.
  virtual void DrawableSize(int& width, int& height) const = 0;
  // False for a surfaceless context: the back buffer then exists only as the
  // renderer's own framebuffer.
  virtual bool HasDefaultFramebuffer() const = 0;
};

}  // namespace comms
