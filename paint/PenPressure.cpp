// Pressure mapping and the replay source.
#include "paint/PenPressure.h"

#include <algorithm>
#include <cmath>

#include "paint/GeneralPen.h"

bool ReplayPressure::Read(int& raw) {
  if (values_.empty()) return false;
  const float p = values_[std::min(next_, values_.size() - 1)];
  if (next_ < values_.size()) ++next_;
  raw = (int)std::lround(std::clamp(p, 0.f, 1.f) * levels_);
  return true;
}

float MapPressure(int raw, int levels, float sensitivity) {
  if (levels <= 0) return 1.f;
  float p = std::clamp((float)raw / (float)levels, 0.f, 1.f);
  if (p < 1.f) p = std::pow(p, 2.f / (sensitivity + 0.25f));
  return p;
}

void UpdatePenPressure(PressureSource& source, bool strokeStarts) {
  int raw = 0;
  float p = GeneralPen::PenPressure;
  if (source.Read(raw)) {
    // A device with its own level count (the mouse) overrides the option's.
    const int levels = source.Levels() > 1 ? source.Levels() : 1;
    p = MapPressure(raw, levels, GeneralPen::PenSensivity);
  }
  GeneralPen::PrevPressure = strokeStarts ? p : GeneralPen::PenPressure;
  GeneralPen::PenPressure = p;
}
