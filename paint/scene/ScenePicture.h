// A picture of the paint scene drawn on the CPU: the composed surface, lit
// from the viewer's side, seen from a three-quarter view. Used by the
// headless import command and to look at imported meshes without a window.
#pragma once
#include <string>

class PaintScene;

// Writes a width x height PNG of the scene; false with a reason on failure.
bool WriteScenePicture(PaintScene& scene, const std::string& path, int width, int height,
                       std::string* why);
