// Offscreen pictures written as PNG.
#include "render/OffscreenPicture.h"

#include "interchange/IO.h"
#include "interchange/Image.h"
#include "render/Render.h"

namespace comms {

bool DrawPictureToPng(cRender& render, int width, int height, const std::string& path,
                      const std::function<void()>& draw, std::string* why) {
  const int target = render.CreateRenderTarget(width, height, kPixARGB8, -1, false, 0);
  const int depth = target >= 0 ? render.CreateDepthTarget(target, kPixD24S8) : -1;
  if (target < 0 || depth < 0) {
    render.FreeTexture(target);
    if (why) *why = "no " + std::to_string(width) + " x " + std::to_string(height) + " render target";
    return false;
  }
  render.SetRenderTargets(&target, 1, depth, nullptr);
  render.SetViewPort(cRect(0, 0, float(width), float(height)));
  render.Clear(true, true, 0xff000000u, 1.0f);
  draw();
  render.Flush2D();
  cImage image;
  bool ok = render.ReadTexture(target, image);
  render.SetRenderTargets(nullptr, 0, -1, nullptr);
  render.FreeDepthTarget(depth);
  render.FreeTexture(target);
  if (!ok) {
    if (why) *why = "the picture could not be read back";
    return false;
  }
  for (size_t i = 3; i < image.data.size(); i += 4) image.data[i] = 255;  // an opaque picture
  if (!cIO::SaveImage(path, image)) {
    if (why) *why = "cannot write " + path;
    return false;
  }
  return true;
}

}  // namespace comms
