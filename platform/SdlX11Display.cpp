// The X display behind an SDL window, for the tablet reader. Its own file:
// SDL's window-manager header brings X11's macros with it.
#include <SDL.h>
#include <SDL_syswm.h>

#include "platform/TabletPressure.h"

void* X11DisplayOfSdlWindow(SDL_Window* window) {
#if defined(SDL_VIDEO_DRIVER_X11)
  if (!window) return nullptr;
  SDL_SysWMinfo info;
  SDL_VERSION(&info.version);
  if (SDL_GetWindowWMInfo(window, &info) && info.subsystem == SDL_SYSWM_X11) return info.info.x11.display;
#else
  (void)window;
#endif
  return nullptr;
}
