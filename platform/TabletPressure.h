// Tablet pressure below the pens: a reader of the stylus's pressure axis in
// raw device levels. The X11 reader (XInput2, TabletX11.cpp) serves a window
// on an X display; elsewhere (Wayland, headless, no tablet) there is none and
// the pens fall back to the mouse's full pressure. The pens wrap a reader as
// their pressure source (paint/PenPressure.h).
#pragma once
#include <memory>
#include <string>

class Platform;
struct SDL_Window;

// The device's valuator range mapped onto 0..levels: the low end is no
// pressure, the high end full; values outside clamp. A range that is empty
// or inverted reports full pressure for any contact, as a plain button does.
int ValuatorToLevel(double value, double min, double max, int levels);

class TabletReader {
 public:
  virtual ~TabletReader() = default;
  // The pressure now, in 0..Levels(); false when the device could not be read.
  virtual bool Read(int& raw) = 0;
  virtual int Levels() const = 0;
  // The device's name, for the log.
  virtual std::string DeviceName() const = 0;
};

// The pressure levels a reader reports, whatever the device's own range.
constexpr int kTabletLevels = 1024;

// A reader on the first device with a pressure axis of the X display that
// `display` points to (a Display*); null without one, with the reason in
// `why`. Works beside a toolkit that already chose its XInput2 version, and
// an X error on the way is reported, never fatal.
std::unique_ptr<TabletReader> OpenX11Tablet(void* display, std::string* why = nullptr);
// The reader for the platform's window: asks it for its X display; null
// where there is no X11 window or no tablet, with the reason in `why`.
std::unique_ptr<TabletReader> OpenTablet(Platform& platform, std::string* why = nullptr);
// The X display of an SDL window (SDL_GetWindowWMInfo), null off X11. Kept
// apart from the SDL platform so that X11's macros stay out of it.
void* X11DisplayOfSdlWindow(SDL_Window* window);
