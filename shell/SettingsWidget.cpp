// Alt+Enter on the settings widget; see SettingsWidget.h.
#include "shell/SettingsWidget.h"

#include "platform/Keys.h"

bool SettingsWidget::OnKeyDown(int key) {
  if (key == keys::Alt) alt_ = true;
  if (key != keys::Enter || !alt_) return false;
  settings_.FullScreen = !settings_.FullScreen;
  return true;
}

bool SettingsWidget::OnKeyUp(int key) {
  if (key == keys::Alt) alt_ = false;
  return false;
}
