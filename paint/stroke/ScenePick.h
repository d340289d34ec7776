// The paint surface under a ray: the nearest face polygon (as a fan of
// triangles over its corners) that the ray meets in front of its origin.
#pragma once
#include "paint/StrokeSpacer.h"
#include "render/Math3D.h"

class PaintScene;

// World origin and direction (any length); the hit's normal faces the ray's
// origin side of the face as the face's own normal says. False on a miss.
bool PickPaintSurface(const PaintScene& scene, const comms::cVec3& origin, const comms::cVec3& dir, SurfaceHit& hit);
