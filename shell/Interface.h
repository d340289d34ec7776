// The interface in the shell's frame: three layer widgets connect the widget
// layers to the interface tree and the tools. Layer 0 (in front of the
// camera's widget) is the scene widget that passes pointer events to the
// tools; layer 1 routes events into the tree (IntfWidget1) and, at the start
// of the interface layers, runs the tools' frame calls; layer 4 lays out and
// draws the tree (IntfWidget2). The room strip and the tool panel come from
// RoomInterface.
#pragma once
#include <functional>
#include <memory>
#include <string>

#include "interface/RoomInterface.h"
#include "interface/WidgetTree.h"
#include "shell/tools/StandardTools.h"
#include "shell/tools/ToolRouter.h"

class Shell;
namespace comms {
class cRender;
}

class ShellInterface {
 public:
  // `renderer` answers the renderer of the frame (null until there is one).
  ShellInterface(Shell& shell, std::function<comms::cRender*()> renderer, const ToolProviders& providers = {});
  ~ShellInterface();
  // Registers the layer widgets and picks the first tool.
  void Attach(const char* firstTool = "VOX_SCULPT_TOOL");
  WidgetTree& Tree() { return tree_; }
  RoomInterface& Rooms() { return *rooms_; }
  ToolRouter& Router() { return router_; }

  // The per-frame work of layer 1 and layer 4.
  void RunTools();
  void DrawTree();

 private:
  class SceneWidget;
  class RouterWidget;
  class DrawWidget;

  Shell& shell_;
  std::function<comms::cRender*()> renderer_;
  WidgetTree& tree_;
  ToolRouter router_;
  std::unique_ptr<RoomInterface> rooms_;
  std::unique_ptr<SceneWidget> scene_;
  std::unique_ptr<RouterWidget> routerWidget_;
  std::unique_ptr<DrawWidget> drawWidget_;
  std::string firstTool_;
  int width_ = 0, height_ = 0;
  bool started_ = false;
};
