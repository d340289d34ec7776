// Shared set-up of the widget tests: a recording renderer behind the
// interface context, the font, and helpers that press and release at a point.
#pragma once
#include <cstdlib>
#include <memory>
#include <string>

#include "interface/UiContext.h"
#include "interface/WidgetTree.h"
#include "paint/undo/UndoGesture.h"
#include "render/NullRender.h"

struct UiScope {
  comms::cNullRender render;
  WidgetTree tree;
  UiScope() {
    // The shipped words: ctest may not pass MORVANE_DATA, so the source tree's
    // data folder stands in.
    std::string here = __FILE__;
    setenv("MORVANE_DATA", (here.substr(0, here.rfind("/tests/")) + "/data").c_str(), 0);
    Ui().Render = &render;
    Ui().ScreenW = 1280, Ui().ScreenH = 720;
    Ui().Scale = 1;
    Ui().LeftHeld = false;
    if (!Ui().Font.Ready()) Ui().LoadFont();
    Widgets() = WidgetGlobals();
    CloseUndoGesture();  // a press an earlier test left down holds no edit back
  }
  ~UiScope() { Ui().Render = nullptr; }
  void Click(float x, float y) {
    tree.OnPointer(kEvLDown, x, y);
    tree.OnPointer(kEvLUp, x, y);
  }
  void Frame() { tree.Frame(1280, 720, 1000); }
};
