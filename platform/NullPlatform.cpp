// The window-less platform of --headless runs: a steady clock, a fixed
// 1280 x 720 client, no input, and short waits, so a headless run paces its
// frames like a window on a 60 Hz display would.
#include <chrono>
#include <thread>

#include "ClassEngine/Log.h"
#include "platform/Platform.h"

namespace {
class NullPlatform final : public Platform {
 public:
  bool OpenWindow(const std::string& title, const WindowRect& rect, bool maximised) override {
    title_ = title;
    rect_ = rect;
    maximised_ = maximised;
    open_ = true;
    return true;
  }
  bool HasWindow() const override { return open_; }
  void SetTitle(const std::string& title) override { title_ = title; }
  std::string Title() const override { return title_; }
  void ClientSize(int& width, int& height) const override {
    width = open_ ? 1280 : 0;
    height = open_ ? 720 : 0;
  }
  WindowRect NormalRect() const override { return rect_; }
  void SetMaximised(bool maximised) override { maximised_ = maximised; }
  bool IsMaximised() const override { return maximised_; }
  void SetFullScreen(bool) override {}
  bool IsFullScreen() const override { return false; }
  bool IsActive() const override { return open_; }
  bool IsMinimised() const override { return false; }
  void SetMinimumClientSize(int, int) override {}
  void Minimise() override {}
  bool PollEvent(PlatformEvent&) override { return false; }
  bool WaitEvent(PlatformEvent&, int timeoutMs) override {
    // No message will ever come: pace the frames like a 60 Hz display instead
    // of sleeping the whole timeout.
    int ms = timeoutMs < 16 ? timeoutMs : 16;
    if (ms > 0) std::this_thread::sleep_for(std::chrono::milliseconds(ms));
    return false;
  }
  uint32_t TickMs() const override {
    using namespace std::chrono;
    return uint32_t(duration_cast<milliseconds>(steady_clock::now() - start_).count());
  }
  bool IsKeyDownNow(int) const override { return false; }
  bool IsCapsLockOn() const override { return false; }
  int KeyToChar(int, bool, bool) const override { return 0; }
  bool ReadGamepad(GamepadRaw& raw) override {
    raw = GamepadRaw{};
    return false;
  }
  void PointerPosition(float& x, float& y) const override { x = y = 0; }
  void WarpPointer(float, float) override {}
  std::string ClipboardText() override { return clipboard_; }
  void SetClipboardText(const std::string& text) override { clipboard_ = text; }
  void SetCursor(SystemCursor) override {}
  int ShowMessageBox(const SystemDialog& dialog) override {
    Log("Dialog \"%s\": %s -> %s", dialog.title.c_str(), dialog.text.c_str(),
        dialog.buttons.empty() ? "" : dialog.buttons[dialog.defaultButton].c_str());
    return dialog.defaultButton;
  }
  std::string DocumentsFolder() const override { return XdgDocumentsFolder(); }
  void ClearAndPresent(float, float, float) override {}

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  std::string title_, clipboard_;
  WindowRect rect_;
  bool open_ = false, maximised_ = false;
};
}  // namespace

std::unique_ptr<Platform> CreateNullPlatform() { return std::make_unique<NullPlatform>(); }
