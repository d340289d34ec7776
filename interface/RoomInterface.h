// The rooms' interface: the top strip "PAGES" with one button per room, the
// left panel listing the current room's tools, and the tool parameter panel
// "TOOL_PARAM<room>" generated from the current tool's members. It is the
// tool table's PanelHost, so activating a tool builds its panel here.
#pragma once
#include <map>
#include <string>

#include "interface/ClassPanel.h"
#include "shell/tools/ToolTable.h"

class WidgetTree;

class RoomInterface : public PanelHost {
 public:
  static constexpr float kStripHeight = 30;  // the strip; panels start 34 below the top
  static constexpr float kPanelTop = 34;
  static constexpr float kToolListWidth = 120;
  static constexpr float kToolPanelWidth = 340;

  RoomInterface(WidgetTree& tree, ToolTable& tools);
  ~RoomInterface() override;

  // Sets the view size and rebuilds what depends on it.
  void Resize(int viewW, int viewH);
  // Room buttons start this far right (the menu bar sits before them).
  void SetStripInset(float inset) {
    stripInset_ = inset;
    RebuildStrip();
  }
  // Rebuilds the strip and the tool list from the tool table.
  void RebuildStrip();
  void ShowClassPanel(BaseClass* object, int room) override;
  void MarkForRebuild(const char* panelName) override;

  BaseWidget* Strip() const;
  BaseWidget* ToolList() const;
  ScrollPanel* ToolPanel(int room) const;

  // Click handlers bound by the strip and the list. A room opens on the tool
  // last used in it, else on its first listed tool that works.
  bool OnRoomClick(int room);
  bool OnToolClick(int tableIndex);

 private:
  class Clicks;
  WidgetTree& tree_;
  ToolTable& tools_;
  Clicks* clicks_ = nullptr;
  int viewW_ = 1280, viewH_ = 720;
  float stripInset_ = 0;
  std::map<int, std::string> lastTool_;  // by room, this session
};
