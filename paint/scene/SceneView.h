// Looking at the paint scene: the camera framed on its bounds, and a picture
// of the scene drawn by the device path of the window (SceneDevice) into an
// offscreen target.
#pragma once
#include <string>

#include "paint/scene/SceneDevice.h"

class PaintScene;
namespace comms {
class cFreeViewer;
}

// Points the camera at the scene's bounds from a three-quarter view and makes
// that its Home position.
void FramePaintScene(const PaintScene& scene, comms::cFreeViewer& camera);

// Draws the scene through `device` at width x height from `camera` over the
// view's background and writes a PNG; false with the reason on failure.
bool RenderPaintSceneToPng(comms::cRender& render, SceneDevice& device, comms::cFreeViewer& camera, int width,
                           int height, const std::string& path, std::string* why,
                           PaintViewMode mode = PaintViewMode::Lit);
