// What the brush benchmarks share: a sphere volume filled and extracted once
// per program and radius, and the pen and thread count they run with.
#pragma once
#include <map>
#include <memory>

#include "ClassEngine/Threader.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "paint/GeneralPen.h"
#include "paint/PenShapes.h"

inline VolumeObject& SphereVolume(float radius) {
  static std::map<float, std::unique_ptr<VolumeObject>> made;
  std::unique_ptr<VolumeObject>& v = made[radius];
  if (!v) {
    v = std::make_unique<VolumeObject>();
    FillVolume(*v, SphereShape(0, 0, 0, radius));
    v->UpdateSurface();
  }
  return *v;
}

// Two threads, a plain round pen at half depth.
inline void BrushBenchSetUp() {
  ThreadOptions::MaxProcessorsToBeUsed = 2;
  static SimplePen pen;
  GeneralPen::CurrentPenPtr = &pen;
  GeneralPen::DeepDegree = 0.5f;
}
