// The paint surface under a ray: the nearest face polygon (as a fan of
// triangles over its corners) that the ray meets in front of its origin, or
// the meeting nearest to a given point (a mirrored dab's own surface).
#pragma once
#include "paint/StrokeSpacer.h"
#include "render/Math3D.h"

class PaintScene;

// World origin and direction (any length); the hit's normal faces the ray's
// origin side of the face as the face's own normal says. False on a miss.
bool PickPaintSurface(const PaintScene& scene, const comms::cVec3& origin, const comms::cVec3& dir, SurfaceHit& hit);
// Of every place the ray meets the surface in front of its origin, the one
// nearest to `near`: a point mirrored to the far side of the mesh finds the
// far surface, not the one the view sees first.
bool PickPaintSurfaceNear(const PaintScene& scene, const comms::cVec3& origin, const comms::cVec3& dir,
                          const comms::cVec3& near, SurfaceHit& hit);
