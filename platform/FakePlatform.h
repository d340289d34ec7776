// A scripted platform for tests: events are queued for a frame number, the
// clock is set by hand, and key state, clipboard, gamepad and dialog answers
// are whatever the test says. It records titles, cursors and dialogs shown.
#pragma once
#include <deque>
#include <functional>
#include <map>
#include <set>

#include "platform/Platform.h"

class FakePlatform final : public Platform {
 public:
  // Scripting.
  void At(int frame, const PlatformEvent& event) { script_[frame].push_back(event); }
  void SetFrame(int frame);  // releases the events scripted up to this frame
  int CurrentFrame() const { return frame_; }
  void Push(const PlatformEvent& event) { pending_.push_back(event); }
  void SetTick(uint32_t ms) { tick_ = ms; }
  void AdvanceTick(uint32_t ms) { tick_ += ms; }
  void SetKeyDown(int key, bool down);
  void SetClientSize(int width, int height) { width_ = width, height_ = height; }
  void SetActive(bool active) { active_ = active; }
  void SetMinimisedState(bool minimised) { minimised_ = minimised; }
  void SetClipboard(const std::string& text) { clipboard_ = text; }
  void SetGamepad(const GamepadRaw& raw) { gamepad_ = raw; }
  void SetDocuments(const std::string& folder) { documents_ = folder; }
  // Answers of the next message boxes, in order; when none is left the default.
  void AnswerDialogs(std::deque<int> answers) { answers_ = std::move(answers); }
  // Each WaitEvent advances the clock by its timeout (a wait that ran out).
  void SetWaitAdvancesClock(bool on) { waitAdvances_ = on; }

  // Observation.
  const std::vector<SystemDialog>& DialogsShown() const { return dialogs_; }
  const std::vector<std::string>& TitlesSet() const { return titles_; }
  SystemCursor Cursor() const { return cursor_; }
  int PresentCount() const { return presents_; }
  int WaitCount() const { return waits_; }

  // Platform.
  bool OpenWindow(const std::string& title, const WindowRect& rect, bool maximised) override;
  bool HasWindow() const override { return open_; }
  void SetTitle(const std::string& title) override;
  std::string Title() const override { return title_; }
  void ClientSize(int& width, int& height) const override;
  WindowRect NormalRect() const override { return rect_; }
  void SetMaximised(bool maximised) override { maximised_ = maximised; }
  bool IsMaximised() const override { return maximised_; }
  void SetFullScreen(bool fullScreen) override { fullScreen_ = fullScreen; }
  bool IsFullScreen() const override { return fullScreen_; }
  bool IsActive() const override { return active_; }
  bool IsMinimised() const override { return minimised_; }
  void SetMinimumClientSize(int, int) override {}
  void Minimise() override { minimised_ = true; }
  bool PollEvent(PlatformEvent& event) override;
  bool WaitEvent(PlatformEvent& event, int timeoutMs) override;
  uint32_t TickMs() const override { return tick_; }
  bool IsKeyDownNow(int key) const override { return held_.count(key) != 0; }
  bool WentDownSince(int key, uint32_t sinceMs) const override;
  bool IsCapsLockOn() const override { return false; }
  int KeyToChar(int key, bool shift, bool capsLock) const override;
  bool ReadGamepad(GamepadRaw& raw) override;
  void PointerPosition(float& x, float& y) const override { x = px_, y = py_; }
  void WarpPointer(float x, float y) override { px_ = x, py_ = y; }
  std::string ClipboardText() override { return clipboard_; }
  void SetClipboardText(const std::string& text) override { clipboard_ = text; }
  // Addresses asked to open, in order; none is opened.
  std::vector<std::string> OpenedUrls;
  bool OpenUrl(const std::string& url) override {
    OpenedUrls.push_back(url);
    return true;
  }
  void SetCursor(SystemCursor cursor) override { cursor_ = cursor; }
  int ShowMessageBox(const SystemDialog& dialog) override;
  std::string DocumentsFolder() const override { return documents_; }
  void ClearAndPresent(float, float, float) override { ++presents_; }

 private:
  std::map<int, std::vector<PlatformEvent>> script_;
  std::deque<PlatformEvent> pending_;
  std::deque<int> answers_;
  std::vector<SystemDialog> dialogs_;
  std::vector<std::string> titles_;
  std::set<int> held_;
  std::map<int, uint32_t> pressedAt_;  // the tick of each key's last press
  GamepadRaw gamepad_;
  std::string title_, clipboard_, documents_;
  WindowRect rect_;
  SystemCursor cursor_ = SystemCursor::Arrow;
  uint32_t tick_ = 0;
  int frame_ = 0, width_ = 1280, height_ = 720, presents_ = 0, waits_ = 0;
  float px_ = 0, py_ = 0;
  bool open_ = false, maximised_ = false, fullScreen_ = false, active_ = true, minimised_ = false;
  bool waitAdvances_ = false;
};
