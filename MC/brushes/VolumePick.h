// Picking on a volume: the first crossing of a ray with the density's surface
// level, found by marching the field and refining by bisection. With
// fromUndo the field before the stroke is read, so a pen does not climb the
// bump it is making. Rays and hits are in the volume's object space.
#pragma once
#include <vector>

#include "paint/StrokeSpacer.h"

class VolumeObject;

// Normal of the hit points out of the solid. False when the ray misses.
bool PickVolume(VolumeObject& volume, const float origin[3], const float dir[3], SurfaceHit& hit,
                bool fromUndo = false, float* distance = nullptr);

// The nearest volume hit by a scene-space ray (each volume's transform is
// applied); -1 when none.
int PickVolumeIndex(const std::vector<VolumeObject*>& volumes, const float origin[3], const float dir[3]);
