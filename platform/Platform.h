// The window system as the shell sees it: one window, its events, the tick,
// key state read at the moment, clipboard, cursors, message boxes, gamepad and
// the user's Documents folder. SdlPlatform is the real one, FakePlatform the
// scripted one of the tests, NullPlatform the window-less one of --headless.
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ClassEngine/SystemDialog.h"
#include "platform/Gamepad.h"

struct WindowRect {
  int left = 0, top = 0, right = 0, bottom = 0;
  int Width() const { return right - left; }
  int Height() const { return bottom - top; }
};

// One message from the window system, already in the program's key numbers.
struct PlatformEvent {
  enum class Type {
    None,
    KeyDown,        // key (keyboard), system repeats are not reported
    KeyUp,
    ButtonDown,     // key 93..95, x, y, doubleClick
    ButtonUp,
    Wheel,          // wheelDelta in the classic units of 120 per notch, x, y
    MouseMove,      // x, y
    CloseRequest,
    Resized,        // the client is now width x height
    Activated,      // the window came to the front
    Deactivated,
    Minimised,
    Restored,
    MoveSizeStart,  // the user drags the window frame
    MoveSizeEnd,
    FileDropped,    // text holds the path
    Expose,         // a redraw was asked for
    Quit,
  };
  Type type = Type::None;
  int key = -1;
  float x = 0, y = 0;
  bool doubleClick = false;
  int wheelDelta = 0;
  int width = 0, height = 0;
  std::string text;
};

// The eleven system cursors.
enum class SystemCursor { Arrow, IBeam, Wait, Crosshair, SizeNWSE, SizeNESW, SizeWE, SizeNS, SizeAll, No, Hand };
constexpr int kSystemCursorCount = 11;

class Platform {
 public:
  virtual ~Platform() = default;

  // Opens the window with a client of rect's size at rect's place.
  virtual bool OpenWindow(const std::string& title, const WindowRect& rect, bool maximised) = 0;
  virtual bool HasWindow() const = 0;
  virtual void SetTitle(const std::string& title) = 0;
  virtual std::string Title() const = 0;
  virtual void ClientSize(int& width, int& height) const = 0;
  // The window's rectangle in the normal (not maximised) state.
  virtual WindowRect NormalRect() const = 0;
  virtual void SetMaximised(bool maximised) = 0;
  virtual bool IsMaximised() const = 0;
  virtual void SetFullScreen(bool fullScreen) = 0;
  virtual bool IsFullScreen() const = 0;
  virtual bool IsActive() const = 0;
  virtual bool IsMinimised() const = 0;
  virtual void SetMinimumClientSize(int width, int height) = 0;
  virtual void Minimise() = 0;

  virtual bool PollEvent(PlatformEvent& event) = 0;
  // Waits up to timeoutMs for one event; false when none came.
  virtual bool WaitEvent(PlatformEvent& event, int timeoutMs) = 0;

  // Milliseconds from an arbitrary start.
  virtual uint32_t TickMs() const = 0;
  // The key (0..95) held right now, read from the system.
  virtual bool IsKeyDownNow(int key) const = 0;
  // The key is held, or went down at or after `sinceMs` (TickMs) and is up
  // again: a quick tap between two looks at the keyboard is not lost.
  virtual bool WentDownSince(int key, uint32_t sinceMs) const {
    (void)sinceMs;
    return IsKeyDownNow(key);
  }
  virtual bool IsCapsLockOn() const = 0;
  // The character a keyboard key types through the current layout, 0 for none.
  virtual int KeyToChar(int key, bool shift, bool capsLock) const = 0;
  virtual bool ReadGamepad(GamepadRaw& raw) = 0;
  virtual void PointerPosition(float& x, float& y) const = 0;
  virtual void WarpPointer(float x, float y) = 0;

  virtual std::string ClipboardText() = 0;
  virtual void SetClipboardText(const std::string& text) = 0;
  // Opens an address in the system's browser; false when nothing could.
  virtual bool OpenUrl(const std::string& url) {
    (void)url;
    return false;
  }
  virtual void SetCursor(SystemCursor cursor) = 0;
  virtual int ShowMessageBox(const SystemDialog& dialog) = 0;
  // The user's Documents folder without a trailing "/", empty if unknown.
  virtual std::string DocumentsFolder() const = 0;

  // Clears the window to a colour and presents it; the renderer replaces this.
  virtual void ClearAndPresent(float r, float g, float b) = 0;

  // The window's OpenGL context for the renderer: false where there is none.
  virtual bool MakeGLCurrent() { return false; }
  // Shows the frame drawn into the window's default framebuffer.
  virtual void SwapGL() {}
  // The default framebuffer's size in pixels (differs from the client size on
  // high-density displays).
  virtual void GLDrawableSize(int& width, int& height) const { ClientSize(width, height); }
  // The X display (a Display*) of the window, for the tablet reader; null
  // where the window is not on X11.
  virtual void* NativeX11Display() const { return nullptr; }
};

std::unique_ptr<Platform> CreateSdlPlatform();
std::unique_ptr<Platform> CreateNullPlatform();

// Installs a system-dialog handler that shows boxes through the platform.
void InstallPlatformDialogs(Platform& platform);
// Documents folder from the XDG user dirs file, else $HOME/Documents, else $HOME.
std::string XdgDocumentsFolder();
