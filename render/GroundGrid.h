// The ground grid of the 3D view: lines on the plane y = centre.y, `step`
// apart, `lines` on each side of the centre, drawn as 2D lines of the current
// camera's view. Segments that pass behind the eye are cut at the near plane,
// so a grid under the camera never folds over the picture.
#pragma once
#include <cstdint>

#include "render/Render.h"
#include "render/Viewer.h"

namespace comms {

void DrawGroundGrid(cRender& render, const cViewer& camera, const cVec3& centre, float step, int lines,
                    uint32_t argb);

}  // namespace comms
