// A brush cursor: a ring of the given world radius lying on the surface at a
// point, across its normal, drawn as screen lines through the camera.
#pragma once
#include <cstdint>

#include "render/Math3D.h"

namespace comms {
class cRender;
class cViewer;
}  // namespace comms

void DrawSurfaceRing(comms::cRender& render, const comms::cViewer& camera, const comms::cVec3& centre,
                     const comms::cVec3& normal, float radius, uint32_t colour);
