// The real platform: SDL2 for the window, an OpenGL 3.3 core context (which
// the renderer takes over), input, clipboard, cursors, message boxes and the
// game controller. Only this folder includes SDL.
#include <SDL.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>

#include "ClassEngine/Log.h"
#include "platform/Platform.h"
#include "platform/SdlKeyMap.h"
#include "platform/TabletPressure.h"

namespace {
int ButtonKey(Uint8 button) {
  switch (button) {
    case SDL_BUTTON_LEFT: return keys::LeftButton;
    case SDL_BUTTON_RIGHT: return keys::RightButton;
    case SDL_BUTTON_MIDDLE: return keys::MiddleButton;
    default: return -1;
  }
}

// What Shift makes of the unshifted characters of a US layout; SDL gives the
// unshifted character of the current layout.
int Shifted(int c) {
  static const char from[] = "1234567890-=[]\\;',./`";
  static const char to[] = "!@#$%^&*()_+{}|:\"<>?~";
  const char* p = std::strchr(from, c);
  return p && c ? to[p - from] : c;
}

class SdlPlatform final : public Platform {
 public:
  SdlPlatform() {
    SDL_SetHint(SDL_HINT_QUIT_ON_LAST_WINDOW_CLOSE, "0");
    if (SDL_Init(SDL_INIT_VIDEO | SDL_INIT_GAMECONTROLLER) != 0) {
      Log("SDL_Init failed: %s", SDL_GetError());
      if (SDL_Init(SDL_INIT_VIDEO) != 0) return;
    }
    initialised_ = true;
    // Every key press as soon as the system's events are read, before the
    // queue hands them out one by one: long operations look at Esc between
    // steps and must not miss a tap.
    SDL_AddEventWatch(&SdlPlatform::NotePress, this);
  }
  ~SdlPlatform() override {
    SDL_DelEventWatch(&SdlPlatform::NotePress, this);
    if (pad_) SDL_GameControllerClose(pad_);
    for (auto* c : cursors_)
      if (c) SDL_FreeCursor(c);
    if (gl_) SDL_GL_DeleteContext(gl_);
    if (window_) SDL_DestroyWindow(window_);
    if (initialised_) SDL_Quit();
  }

  bool OpenWindow(const std::string& title, const WindowRect& rect, bool maximised) override {
    if (!initialised_) return false;
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_MAJOR_VERSION, 3);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_MINOR_VERSION, 3);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_PROFILE_MASK, SDL_GL_CONTEXT_PROFILE_CORE);
    SDL_GL_SetAttribute(SDL_GL_DOUBLEBUFFER, 1);
    SDL_GL_SetAttribute(SDL_GL_DEPTH_SIZE, 24);
    Uint32 flags = SDL_WINDOW_RESIZABLE | SDL_WINDOW_OPENGL | (maximised ? SDL_WINDOW_MAXIMIZED : 0);
    int x = rect.left, y = rect.top;
    if (rect.left == 0 && rect.top == 0) x = y = SDL_WINDOWPOS_CENTERED;
    window_ = SDL_CreateWindow(title.c_str(), x, y, rect.Width(), rect.Height(), flags);
    if (!window_) {  // no OpenGL: a plain window still runs the shell
      Log("SDL_CreateWindow with OpenGL failed: %s", SDL_GetError());
      window_ = SDL_CreateWindow(title.c_str(), x, y, rect.Width(), rect.Height(), flags & ~SDL_WINDOW_OPENGL);
    }
    if (!window_) {
      Log("SDL_CreateWindow failed: %s", SDL_GetError());
      return false;
    }
    if (SDL_GetWindowFlags(window_) & SDL_WINDOW_OPENGL) {
      gl_ = SDL_GL_CreateContext(window_);
      if (gl_) {
        SDL_GL_SetSwapInterval(1);
        clearColor_ = reinterpret_cast<ClearColorFn>(SDL_GL_GetProcAddress("glClearColor"));
        clear_ = reinterpret_cast<ClearFn>(SDL_GL_GetProcAddress("glClear"));
      } else {
        Log("OpenGL 3.3 core context failed: %s", SDL_GetError());
      }
    }
    normal_ = rect;
    static const SDL_SystemCursor kinds[kSystemCursorCount] = {
        SDL_SYSTEM_CURSOR_ARROW,   SDL_SYSTEM_CURSOR_IBEAM,    SDL_SYSTEM_CURSOR_WAIT,
        SDL_SYSTEM_CURSOR_CROSSHAIR, SDL_SYSTEM_CURSOR_SIZENWSE, SDL_SYSTEM_CURSOR_SIZENESW,
        SDL_SYSTEM_CURSOR_SIZEWE,  SDL_SYSTEM_CURSOR_SIZENS,   SDL_SYSTEM_CURSOR_SIZEALL,
        SDL_SYSTEM_CURSOR_NO,      SDL_SYSTEM_CURSOR_HAND};
    for (int i = 0; i < kSystemCursorCount; ++i) cursors_[i] = SDL_CreateSystemCursor(kinds[i]);
    return true;
  }
  bool HasWindow() const override { return window_ != nullptr; }
  void SetTitle(const std::string& title) override {
    if (window_) SDL_SetWindowTitle(window_, title.c_str());
  }
  std::string Title() const override { return window_ ? SDL_GetWindowTitle(window_) : ""; }
  bool MakeGLCurrent() override { return gl_ && SDL_GL_MakeCurrent(window_, gl_) == 0; }
  void SwapGL() override {
    if (gl_) SDL_GL_SwapWindow(window_);
  }
  void GLDrawableSize(int& width, int& height) const override {
    width = height = 0;
    if (window_ && !(SDL_GetWindowFlags(window_) & SDL_WINDOW_MINIMIZED)) SDL_GL_GetDrawableSize(window_, &width, &height);
  }
  void ClientSize(int& width, int& height) const override {
    width = height = 0;
    if (window_ && !IsMinimised()) SDL_GetWindowSize(window_, &width, &height);
  }
  void* NativeX11Display() const override { return X11DisplayOfSdlWindow(window_); }
  WindowRect NormalRect() const override {
    if (window_ && !IsMaximised() && !IsFullScreen() && !IsMinimised()) {
      int x, y, w, h;
      SDL_GetWindowPosition(window_, &x, &y);
      SDL_GetWindowSize(window_, &w, &h);
      normal_ = {x, y, x + w, y + h};
    }
    return normal_;
  }
  void SetMaximised(bool maximised) override {
    if (!window_) return;
    if (maximised)
      SDL_MaximizeWindow(window_);
    else
      SDL_RestoreWindow(window_);
  }
  bool IsMaximised() const override { return window_ && (SDL_GetWindowFlags(window_) & SDL_WINDOW_MAXIMIZED); }
  void SetFullScreen(bool fullScreen) override {
    if (window_) SDL_SetWindowFullscreen(window_, fullScreen ? SDL_WINDOW_FULLSCREEN_DESKTOP : 0);
  }
  bool IsFullScreen() const override {
    return window_ && (SDL_GetWindowFlags(window_) & SDL_WINDOW_FULLSCREEN_DESKTOP);
  }
  bool IsActive() const override { return window_ && (SDL_GetWindowFlags(window_) & SDL_WINDOW_INPUT_FOCUS); }
  bool IsMinimised() const override { return window_ && (SDL_GetWindowFlags(window_) & SDL_WINDOW_MINIMIZED); }
  void SetMinimumClientSize(int width, int height) override {
    if (window_) SDL_SetWindowMinimumSize(window_, width, height);
  }
  void Minimise() override {
    if (window_) SDL_MinimizeWindow(window_);
  }

  bool PollEvent(PlatformEvent& event) override {
    SDL_Event e;
    while (SDL_PollEvent(&e))
      if (Translate(e, event)) return true;
    return false;
  }
  bool WaitEvent(PlatformEvent& event, int timeoutMs) override {
    Uint32 end = SDL_GetTicks() + Uint32(std::max(timeoutMs, 0));
    SDL_Event e;
    for (;;) {
      int left = int(end - SDL_GetTicks());
      if (left < 0) left = 0;
      if (!SDL_WaitEventTimeout(&e, left)) return false;
      if (Translate(e, event)) return true;
      if (left == 0) return false;
    }
  }

  uint32_t TickMs() const override { return SDL_GetTicks(); }
  bool IsKeyDownNow(int key) const override {
    if (key >= keys::LeftButton && key <= keys::MiddleButton) {
      Uint32 mask = SDL_GetGlobalMouseState(nullptr, nullptr);
      static const Uint32 bits[3] = {SDL_BUTTON_LMASK, SDL_BUTTON_RMASK, SDL_BUTTON_MMASK};
      return mask & bits[key - keys::LeftButton];
    }
    SDL_Scancode codes[2];
    int n = ScancodesOfKey(key, codes);
    const Uint8* state = SDL_GetKeyboardState(nullptr);
    for (int i = 0; i < n; ++i)
      if (state[codes[i]]) return true;
    return false;
  }
  bool WentDownSince(int key, uint32_t sinceMs) const override {
    if (IsKeyDownNow(key)) return true;
    if (key < 0 || key >= int(lastPress_.size())) return false;
    const uint32_t at = lastPress_[size_t(key)].load(std::memory_order_relaxed);
    return at != 0 && int32_t(at - sinceMs) >= 0;
  }
  bool IsCapsLockOn() const override { return SDL_GetModState() & KMOD_CAPS; }
  int KeyToChar(int key, bool shift, bool capsLock) const override {
    if (key >= keys::Num0 && key <= keys::Num0 + 9) return '0' + key - keys::Num0;
    static const char keypad[] = "+-*/.";
    if (key >= keys::NumPlus && key <= keys::NumDecimal) return keypad[key - keys::NumPlus];
    SDL_Scancode codes[2];
    if (!ScancodesOfKey(key, codes)) return 0;
    SDL_Keycode k = SDL_GetKeyFromScancode(codes[0]);
    if (k < 32 || k > 126) return 0;
    int c = int(k);
    if (c >= 'a' && c <= 'z') return shift != capsLock ? c - 'a' + 'A' : c;
    return shift ? Shifted(c) : c;
  }
  bool ReadGamepad(GamepadRaw& raw) override {
    raw = GamepadRaw{};
    if (!pad_) return false;
    raw.connected = SDL_GameControllerGetAttached(pad_);
    if (!raw.connected) return false;
    static const SDL_GameControllerButton order[14] = {
        SDL_CONTROLLER_BUTTON_A,         SDL_CONTROLLER_BUTTON_B,           SDL_CONTROLLER_BUTTON_X,
        SDL_CONTROLLER_BUTTON_Y,         SDL_CONTROLLER_BUTTON_LEFTSHOULDER, SDL_CONTROLLER_BUTTON_RIGHTSHOULDER,
        SDL_CONTROLLER_BUTTON_BACK,      SDL_CONTROLLER_BUTTON_START,       SDL_CONTROLLER_BUTTON_LEFTSTICK,
        SDL_CONTROLLER_BUTTON_RIGHTSTICK, SDL_CONTROLLER_BUTTON_DPAD_UP,    SDL_CONTROLLER_BUTTON_DPAD_DOWN,
        SDL_CONTROLLER_BUTTON_DPAD_LEFT, SDL_CONTROLLER_BUTTON_DPAD_RIGHT};
    for (int i = 0; i < 14; ++i)
      if (SDL_GameControllerGetButton(pad_, order[i])) raw.buttons |= 1u << i;
    auto axis = [&](SDL_GameControllerAxis a) { return SDL_GameControllerGetAxis(pad_, a); };
    // SDL's y grows downwards; the pad report's grows upwards.
    auto up = [](Sint16 v) { return Sint16(std::clamp(-int(v), -32768, 32767)); };
    raw.leftX = axis(SDL_CONTROLLER_AXIS_LEFTX);
    raw.leftY = up(axis(SDL_CONTROLLER_AXIS_LEFTY));
    raw.rightX = axis(SDL_CONTROLLER_AXIS_RIGHTX);
    raw.rightY = up(axis(SDL_CONTROLLER_AXIS_RIGHTY));
    // Triggers come as 0..32767; the report has 0..255.
    raw.leftTrigger = Uint8(std::max(0, int(axis(SDL_CONTROLLER_AXIS_TRIGGERLEFT))) * 255 / 32767);
    raw.rightTrigger = Uint8(std::max(0, int(axis(SDL_CONTROLLER_AXIS_TRIGGERRIGHT))) * 255 / 32767);
    return true;
  }
  void PointerPosition(float& x, float& y) const override {
    int ix, iy;
    SDL_GetMouseState(&ix, &iy);
    x = float(ix), y = float(iy);
  }
  void WarpPointer(float x, float y) override {
    if (window_) SDL_WarpMouseInWindow(window_, int(x), int(y));
  }

  std::string ClipboardText() override {
    if (!SDL_HasClipboardText()) return "";
    char* t = SDL_GetClipboardText();
    std::string s = t ? t : "";
    SDL_free(t);
    return s;
  }
  void SetClipboardText(const std::string& text) override { SDL_SetClipboardText(text.c_str()); }
  bool OpenUrl(const std::string& url) override { return SDL_OpenURL(url.c_str()) == 0; }
  void SetCursor(SystemCursor cursor) override {
    int i = int(cursor);
    if (i >= 0 && i < kSystemCursorCount && cursors_[i]) SDL_SetCursor(cursors_[i]);
  }
  int ShowMessageBox(const SystemDialog& dialog) override {
    std::vector<SDL_MessageBoxButtonData> buttons;
    for (size_t i = 0; i < dialog.buttons.size(); ++i) {
      SDL_MessageBoxButtonData b{};
      b.buttonid = int(i);
      b.text = dialog.buttons[i].c_str();
      if (int(i) == dialog.defaultButton) b.flags = SDL_MESSAGEBOX_BUTTON_RETURNKEY_DEFAULT;
      buttons.push_back(b);
    }
    SDL_MessageBoxData data{};
    data.flags = dialog.kind == SystemDialog::Kind::Error || dialog.kind == SystemDialog::Kind::Stop
                     ? SDL_MESSAGEBOX_ERROR
                 : dialog.kind == SystemDialog::Kind::Warning ? SDL_MESSAGEBOX_WARNING
                                                              : SDL_MESSAGEBOX_INFORMATION;
    data.window = window_;
    data.title = dialog.title.c_str();
    data.message = dialog.text.c_str();
    data.numbuttons = int(buttons.size());
    data.buttons = buttons.data();
    int chosen = -1;
    if (SDL_ShowMessageBox(&data, &chosen) != 0 || chosen < 0) return dialog.defaultButton;
    return chosen;
  }
  std::string DocumentsFolder() const override { return XdgDocumentsFolder(); }
  void ClearAndPresent(float r, float g, float b) override {
    if (!gl_ || !clear_) return;
    clearColor_(r, g, b, 1.0f);
    clear_(0x00004000 | 0x00000100);  // colour and depth
    SDL_GL_SwapWindow(window_);
  }

 private:
  using ClearColorFn = void (*)(float, float, float, float);
  using ClearFn = void (*)(unsigned);

  static int NotePress(void* self, SDL_Event* e) {
    if (e->type == SDL_KEYDOWN && !e->key.repeat) {
      const int key = KeyFromScancode(e->key.keysym.scancode);
      auto& last = static_cast<SdlPlatform*>(self)->lastPress_;
      if (key >= 0 && key < int(last.size())) last[size_t(key)].store(std::max<Uint32>(e->key.timestamp, 1));
    }
    return 1;
  }

  bool Translate(const SDL_Event& e, PlatformEvent& out) {
    using T = PlatformEvent::Type;
    out = PlatformEvent{};
    switch (e.type) {
      case SDL_QUIT: out.type = T::Quit; return true;
      case SDL_KEYDOWN:
      case SDL_KEYUP:
        if (e.key.repeat) return false;  // the shell makes its own repeat
        out.key = KeyFromScancode(e.key.keysym.scancode);
        if (out.key < 0) return false;
        out.type = e.type == SDL_KEYDOWN ? T::KeyDown : T::KeyUp;
        return true;
      case SDL_MOUSEBUTTONDOWN:
      case SDL_MOUSEBUTTONUP:
        out.key = ButtonKey(e.button.button);
        if (out.key < 0) return false;
        out.type = e.type == SDL_MOUSEBUTTONDOWN ? T::ButtonDown : T::ButtonUp;
        out.x = float(e.button.x), out.y = float(e.button.y);
        out.doubleClick = e.type == SDL_MOUSEBUTTONDOWN && e.button.clicks == 2;
        return true;
      case SDL_MOUSEWHEEL: {
        out.type = T::Wheel;
        int y = e.wheel.direction == SDL_MOUSEWHEEL_FLIPPED ? -e.wheel.y : e.wheel.y;
        if (y == 0) return false;
        out.wheelDelta = y * 120;
        PointerPosition(out.x, out.y);
        return true;
      }
      case SDL_MOUSEMOTION:
        out.type = T::MouseMove;
        out.x = float(e.motion.x), out.y = float(e.motion.y);
        return true;
      case SDL_DROPFILE:
        out.type = T::FileDropped;
        out.text = e.drop.file ? e.drop.file : "";
        SDL_free(e.drop.file);
        return true;
      case SDL_CONTROLLERDEVICEADDED:
        if (!pad_) pad_ = SDL_GameControllerOpen(e.cdevice.which);
        return false;
      case SDL_CONTROLLERDEVICEREMOVED:
        if (pad_ && SDL_JoystickInstanceID(SDL_GameControllerGetJoystick(pad_)) == e.cdevice.which) {
          SDL_GameControllerClose(pad_);
          pad_ = nullptr;
        }
        return false;
      case SDL_WINDOWEVENT:
        switch (e.window.event) {
          case SDL_WINDOWEVENT_CLOSE: out.type = T::CloseRequest; return true;
          case SDL_WINDOWEVENT_SIZE_CHANGED:
            out.type = T::Resized;
            out.width = e.window.data1, out.height = e.window.data2;
            NormalRect();
            return true;
          case SDL_WINDOWEVENT_MOVED: NormalRect(); return false;
          case SDL_WINDOWEVENT_FOCUS_GAINED: out.type = T::Activated; return true;
          case SDL_WINDOWEVENT_FOCUS_LOST: out.type = T::Deactivated; return true;
          case SDL_WINDOWEVENT_MINIMIZED: out.type = T::Minimised; return true;
          case SDL_WINDOWEVENT_RESTORED: out.type = T::Restored; return true;
          case SDL_WINDOWEVENT_EXPOSED: out.type = T::Expose; return true;
          default: return false;
        }
      default: return false;
    }
  }

  SDL_Window* window_ = nullptr;
  SDL_GLContext gl_ = nullptr;
  SDL_GameController* pad_ = nullptr;
  std::array<SDL_Cursor*, kSystemCursorCount> cursors_{};
  mutable WindowRect normal_;
  ClearColorFn clearColor_ = nullptr;
  ClearFn clear_ = nullptr;
  bool initialised_ = false;
  std::array<std::atomic<Uint32>, 96> lastPress_{};  // SDL ticks of each key's last press, 0 for none
};
}  // namespace

std::unique_ptr<Platform> CreateSdlPlatform() { return std::make_unique<SdlPlatform>(); }
