// The engine settings (comms::cSettings) as the widget of layer 4: Alt+Enter
// switches full screen by the FullScreen setting, which the frame then
// follows. Alt is followed through the key events it sees, not taken from
// them, so the layers below still get it.
#pragma once
#include "ClassEngine/comms/cSettings.h"
#include "shell/Widget.h"

class SettingsWidget : public comms::cWidget {
 public:
  explicit SettingsWidget(comms::cSettings& settings) : settings_(settings) {}
  bool OnKeyDown(int key) override;
  bool OnKeyUp(int key) override;

 private:
  comms::cSettings& settings_;
  bool alt_ = false;
};
