// The reduction dialog's counts (see DecimationParams.h).
#include "topology/simplify/DecimationParams.h"

#include <algorithm>
#include <cmath>

void DecimationParams::SetPolycount(int triangles) {
  CurrentPolycount = triangles;
  OnChange(this, nullptr, nullptr, "ReductionPercent");
}

bool DecimationParams::OnChange(BaseClass*, void*, void*, const char*) {
  ReductionPercent = std::clamp(ReductionPercent, 0.0f, 99.9f);
  ReducedPolycount = CurrentPolycount - (int)std::lround(CurrentPolycount * double(ReductionPercent) / 100.0);
  return true;
}
