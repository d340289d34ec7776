// The tablet's range mapping and the choice of reader for a window (see
// TabletPressure.h); the X11 reader itself is in TabletX11.cpp.
#include "platform/TabletPressure.h"

#include <algorithm>
#include <cmath>

#include "ClassEngine/Log.h"
#include "platform/Platform.h"

int ValuatorToLevel(double value, double min, double max, int levels) {
  if (levels <= 0) return 0;
  if (!(max > min)) return levels;
  const double t = std::clamp((value - min) / (max - min), 0.0, 1.0);
  return (int)std::lround(t * levels);
}

std::unique_ptr<TabletReader> OpenTablet(Platform& platform, std::string* why) {
  void* display = platform.NativeX11Display();
  if (!display) {
    if (why) *why = "no X11 display; the mouse gives full pressure";
    return nullptr;
  }
  return OpenX11Tablet(display, why);
}
