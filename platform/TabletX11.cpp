// The XInput2 tablet reader: finds a device whose valuator is labelled
// "Abs Pressure" and polls its current value once a frame through
// XIQueryDevice, so the toolkit keeps its own event queue untouched.
#include <X11/Xlib.h>
#include <X11/extensions/XInput2.h>

#include <algorithm>
#include <cmath>

#include "ClassEngine/Log.h"
#include "platform/TabletPressure.h"

namespace {
class X11Tablet final : public TabletReader {
 public:
  X11Tablet(Display* display, int device, int axis, double min, double max, std::string name)
      : display_(display), device_(device), axis_(axis), min_(min), max_(max), name_(std::move(name)) {}

  bool Read(int& raw) override {
    int count = 0;
    XIDeviceInfo* info = XIQueryDevice(display_, device_, &count);
    if (!info) return false;
    bool found = false;
    for (int c = 0; c < info->num_classes && !found; ++c) {
      const XIAnyClassInfo* any = info->classes[c];
      if (any->type != XIValuatorClass) continue;
      const auto* v = reinterpret_cast<const XIValuatorClassInfo*>(any);
      if (v->number != axis_) continue;
      raw = ValuatorToLevel(v->value, min_, max_, kTabletLevels);
      found = true;
    }
    XIFreeDeviceInfo(info);
    return found;
  }
  int Levels() const override { return kTabletLevels; }
  std::string DeviceName() const override { return name_; }

 private:
  Display* display_;
  int device_, axis_;
  double min_, max_;
  std::string name_;
};
}  // namespace

std::unique_ptr<TabletReader> OpenX11Tablet(void* displayPtr) {
  Display* display = static_cast<Display*>(displayPtr);
  if (!display) return nullptr;
  int opcode = 0, event = 0, error = 0, major = 2, minor = 0;
  if (!XQueryExtension(display, "XInputExtension", &opcode, &event, &error) ||
      XIQueryVersion(display, &major, &minor) != Success) {
    Log("OpenX11Tablet(): no XInput2 on this display");
    return nullptr;
  }
  const Atom pressure = XInternAtom(display, "Abs Pressure", True);
  if (pressure == None) return nullptr;
  int count = 0;
  XIDeviceInfo* devices = XIQueryDevice(display, XIAllDevices, &count);
  std::unique_ptr<TabletReader> reader;
  for (int d = 0; d < count && !reader; ++d) {
    const XIDeviceInfo& dev = devices[d];
    // The stylus is a slave pointer; the master merges every pointer.
    if (dev.use != XISlavePointer && dev.use != XIFloatingSlave) continue;
    for (int c = 0; c < dev.num_classes; ++c) {
      if (dev.classes[c]->type != XIValuatorClass) continue;
      const auto* v = reinterpret_cast<const XIValuatorClassInfo*>(dev.classes[c]);
      if (v->label != pressure) continue;
      reader = std::make_unique<X11Tablet>(display, dev.deviceid, v->number, v->min, v->max, dev.name ? dev.name : "");
      Log("OpenX11Tablet(): %s, pressure axis %d from %.0f to %.0f", dev.name ? dev.name : "?", v->number, v->min,
          v->max);
      break;
    }
  }
  if (devices) XIFreeDeviceInfo(devices);
  return reader;
}
