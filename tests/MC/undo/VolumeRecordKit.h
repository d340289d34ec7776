// Helpers of the voxel undo tests: the volume's picture and a stroke on a sphere.
#pragma once

#include "../brushes/BrushTestKit.h"
#include "VolumePicture.h"

// A three-sample stroke of `tool` across the top of the sphere at the origin.
inline void StrokeAcross(VolumeObject& v, int tool, float radius, float x0, float x1, uint32_t seed,
                         bool invert = false) {
  SimplePen pen;
  GeneralPen::CurrentPenPtr = &pen;
  VoxelBrushSettings settings;
  VoxelSculptStroke stroke(settings);
  stroke.Tool = tool;
  stroke.InvertModifier = invert;
  const float r = 28.f;
  if (!stroke.Begin(v, OnSphere(x0, 0, r, radius), seed)) return;
  stroke.MoveTo(OnSphere((x0 + x1) / 2, 2, r, radius));
  stroke.MoveTo(OnSphere(x1, 0, r, radius));
  stroke.End();
  GeneralPen::CurrentPenPtr = nullptr;
}
