// cSettings: the engine's view settings, read at start-up from
// "Xmls/Settings.xml": the ground grid, wireframe, full screen (Alt+Enter),
// the colour the view is cleared to, and a button that reloads the shaders.
// The frame reads them each time; the shell shows the object on widget
// layer 4, where it takes Alt+Enter.
#pragma once
#include <functional>

#include "ClassEngine/comms/cClass.h"

namespace comms {

// The colour the 3D view is cleared to when Enabled, instead of the
// background picture or gradient.
class cSettings_ClearColor : public cClass {
 public:
  bool Enabled = false;
  uint32_t Color = 0xFF404040u;
  MV_CLASS(cSettings_ClearColor, cClass) {
    Member("_cBool", Enabled, "Enabled");
    Member("_cColor", Color, "Color");
  }
};

class cSettings : public cClass {
 public:
  bool ShowGrid = false;
  bool Wireframe = false;
  bool FullScreen = false;
  uint32_t GridColor = 0xFF808080u;
  float GridStep = 10.0f;  // world units between lines
  int GridLines = 20;      // lines on each side of the centre
  cSettings_ClearColor ClearColor;

  MV_CLASS(cSettings, cClass) {
    Member("_cBool", ShowGrid, "ShowGrid");
    Member("_cBool", Wireframe, "Wireframe");
    Member("_cBool", FullScreen, "FullScreen");
    Member("_cColor", GridColor, "GridColor");
    Member("_cSliderF", GridStep, "GridStep", NewFloatSliderRange(0.01f, 1000.0f));
    Member("_cSliderI", GridLines, "GridLines", NewIntSliderRange(1, 200));
    Member(ClearColor, "ClearColor");
    Button(&cSettings::ReloadShaders, "ReloadShaders");
  }

  // Runs the hook that the renderer's owner installed (nothing without one).
  void ReloadShaders();
  // What ReloadShaders does; returns the previous hook.
  static std::function<void()> SetReloadShadersHook(std::function<void()> hook);
};

}  // namespace comms
