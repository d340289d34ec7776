// The paint scene's camera framing and offscreen picture.
#include "paint/scene/SceneView.h"

#include <algorithm>
#include <cmath>

#include "paint/scene/PaintScene.h"
#include "render/Background.h"
#include "render/OffscreenPicture.h"
#include "render/Viewer.h"

using namespace comms;

void FramePaintScene(const PaintScene& scene, cFreeViewer& camera) {
  const FaceBox& b = scene.Bounds;
  const bool empty = b.Min[0] > b.Max[0];
  cVec3 mn = empty ? cVec3(-1, -1, -1) : cVec3(b.Min[0], b.Min[1], b.Min[2]);
  cVec3 mx = empty ? cVec3(1, 1, 1) : cVec3(b.Max[0], b.Max[1], b.Max[2]);
  mn += scene.Shift, mx += scene.Shift;
  const cVec3 centre = (mn + mx) * 0.5f;
  const float radius = std::max((mx - mn).Length() * 0.5f, 1e-3f);
  const float fit = radius * 1.05f / std::sin(camera.Fov * 0.5f * 3.14159265f / 180.0f);
  const cQuat tilt = cQuat::FromAxisAngle(cVec3(1, 0, 0), -0.25f);
  const cQuat turn = cQuat::FromAxisAngle(cVec3(0, 1, 0), 0.45f);
  camera.Znear = std::max(1e-4f, fit * 0.01f);
  camera.Zfar = fit * 10.0f + radius * 2;
  camera.SetHome(centre, fit, tilt * turn);
}

bool RenderPaintSceneToPng(cRender& render, SceneDevice& device, cFreeViewer& camera, int width, int height,
                           const std::string& path, std::string* why, PaintViewMode mode) {
  camera.ViewRect = cRect(0, 0, float(width), float(height));
  camera.Update();
  // The scene's own passes first, so that the picture's target stays bound after them.
  device.Update();
  return DrawPictureToPng(render, width, height, path, [&] {
    render.SetCamera(&camera);
    cBackground background;
    background.Draw(render, camera);
    render.Flush2D();
    render.Clear(false, true, 0, 1.0f);
    device.DrawMeshes(camera, mode);
  }, why);
}
