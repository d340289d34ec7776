// The XInput2 tablet reader: finds a device whose valuator is labelled
// "Abs Pressure" and polls its current value once a frame through
// XIQueryDevice, so the toolkit keeps its own event queue untouched. The
// window toolkit has already told the server which XInput2 version it speaks,
// and the server refuses a lower one afterwards, so the reader asks for the
// highest it knows; every request runs under an error trap, because Xlib's
// default answer to an X error is to end the process.
#include <X11/Xlib.h>
#include <X11/extensions/XInput2.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "platform/TabletPressure.h"

namespace {
// Catches the X errors of the requests made while it lives, instead of
// Xlib's default handler, which ends the process.
class X11ErrorTrap {
 public:
  explicit X11ErrorTrap(Display* display) : display_(display) {
    caught_ = 0;
    previous_ = XSetErrorHandler(&X11ErrorTrap::Handler);
  }
  ~X11ErrorTrap() { XSetErrorHandler(previous_); }
  // Waits for the server's answers to everything sent so far; the first error
  // code caught, 0 for none.
  int Sync() {
    XSync(display_, False);
    return caught_;
  }
  int Caught() const { return caught_; }

 private:
  static int Handler(Display*, XErrorEvent* e) {
    if (!caught_) caught_ = e->error_code;
    return 0;
  }
  static inline int caught_ = 0;
  Display* display_;
  int (*previous_)(Display*, XErrorEvent*);
};

class X11Tablet final : public TabletReader {
 public:
  X11Tablet(Display* display, int device, int axis, double min, double max, std::string name)
      : display_(display), device_(device), axis_(axis), min_(min), max_(max), name_(std::move(name)) {}

  bool Read(int& raw) override {
    int count = 0;
    X11ErrorTrap trap(display_);  // the stylus may be unplugged by now
    XIDeviceInfo* info = XIQueryDevice(display_, device_, &count);
    if (!info || trap.Caught()) {
      if (info) XIFreeDeviceInfo(info);
      return false;
    }
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

std::unique_ptr<TabletReader> OpenX11Tablet(void* displayPtr, std::string* why) {
  auto fail = [why](const char* reason) {
    if (why) *why = reason;
    return nullptr;
  };
  Display* display = static_cast<Display*>(displayPtr);
  if (!display) return fail("no X11 display; the mouse gives full pressure");
  int opcode = 0, event = 0, error = 0;
  if (!XQueryExtension(display, "XInputExtension", &opcode, &event, &error))
    return fail("the X server has no XInput extension; the mouse gives full pressure");
  X11ErrorTrap trap(display);
  // The highest version this reader knows: the server answers with the one
  // already agreed with the toolkit, or its own highest, whichever is lower.
  int major = XI_2_Major, minor = 4;
  const Status status = XIQueryVersion(display, &major, &minor);
  if (trap.Sync() || status != Success || major < 2)
    return fail("the X server speaks no XInput 2; the mouse gives full pressure");
  const Atom pressure = XInternAtom(display, "Abs Pressure", True);
  if (pressure == None) return fail("no device with a pressure axis; the mouse gives full pressure");
  int count = 0;
  XIDeviceInfo* devices = XIQueryDevice(display, XIAllDevices, &count);
  if (trap.Sync()) {
    if (devices) XIFreeDeviceInfo(devices);
    return fail("the X server refused the list of input devices; the mouse gives full pressure");
  }
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
      if (why) {
        char text[256];
        snprintf(text, sizeof text, "%s, pressure axis %d from %.0f to %.0f", dev.name ? dev.name : "?", v->number,
                 v->min, v->max);
        *why = text;
      }
      break;
    }
  }
  if (devices) XIFreeDeviceInfo(devices);
  if (!reader) return fail("no device with a pressure axis; the mouse gives full pressure");
  return reader;
}
