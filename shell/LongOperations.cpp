// Long operations on the main thread: the progress bar, which pumps one
// message at a time so that the window stays alive, and the modal pump.
#include <cstdio>

#include "platform/Keys.h"
#include "shell/Shell.h"

bool Shell::IsKeyDownNow(int key) const { return platform_.IsActive() && platform_.IsKeyDownNow(key); }

bool Shell::EscRequested() {
  if (!platform_.IsActive()) return false;
  const uint32_t now = platform_.TickMs();
  uint32_t since = now > 1000 ? now - 1000 : 0;
  if (escTakenAt_ && int32_t(escTakenAt_ + 1 - since) > 0) since = escTakenAt_ + 1;
  if (!platform_.WentDownSince(keys::Esc, since)) return false;
  escTakenAt_ = now;
  return true;
}

void Shell::PumpModal(const std::function<bool()>& done) {
  modalRan_ = true;
  while (!done()) {
    if (exitFlag_) {
      exitFromPump_();
      return;
    }
    PumpOnce();
  }
}

bool Shell::ProgressBar(int current, int total, const char* text) {
  uint32_t now = platform_.TickMs();
  if (progressDrawn_ && now - lastProgressMs_ < 500) return false;
  progressDrawn_ = true;
  lastProgressMs_ = now;
  int percent = total > 0 ? int(int64_t(current) * 100 / total) : 0;
  char title[32];
  snprintf(title, sizeof title, "%d%%", percent);
  platform_.SetTitle(title);
  if (!Paused() && total != 0) {
    seams_.DrawProgressBox(percent, text ? text : "");
    seams_.EndScene();
  }
  PumpOneMessage();
  seams_.BeginScene();
  return true;
}

void Shell::PumpOneMessage() {
  // One message, no nested frame: the window answers, the scene stays put.
  frameForbidden_ = true;
  PlatformEvent e;
  if (platform_.PollEvent(e)) HandleEvent(e);
  frameForbidden_ = false;
}

bool ProgressBar(int current, int total, const char* text) {
  return TheShell() && TheShell()->ProgressBar(current, total, text);
}

bool IsKeyDownNow(int key) { return TheShell() && TheShell()->IsKeyDownNow(key); }

void PumpModal(const std::function<bool()>& done) {
  if (TheShell()) TheShell()->PumpModal(done);
}
