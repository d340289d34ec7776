// The tool table: one instance of every tool, sorted by priority, the current
// tool, rooms (the sets of tools that name the same room), activation with
// parameters saved and restored by tool name, and the tool calls of one frame.
// The program has one table (Tools()); tests make their own.
#pragma once
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "shell/tools/BasicTool.h"

class XmlNode;

// What the table asks of the layers above it; every hook may stay empty.
struct ToolTableHooks {
  std::function<void()> SaveOptions;       // a signature changed
  std::function<void()> RefreshPenState;   // after panels were rebuilt
  std::function<void()> RebuildStrip;      // the top strip and the tool list
  std::function<void(int room)> LoadRoomLayout;
  std::function<void(const ToolBounds&)> SetNavigationBounds;
  std::function<void()> DefaultMeshPass;   // the paint mesh of the frame
};

class ToolTable {
 public:
  ToolTable();
  ~ToolTable();
  ToolTable(const ToolTable&) = delete;
  ToolTable& operator=(const ToolTable&) = delete;

  // Takes ownership. A tool already in the table is not added again (false);
  // otherwise it gets `name` and goes in front of the first tool with a
  // greater priority, so equal priorities keep registration order.
  bool Register(BasicTool* tool, const char* name);
  int Count() const { return int(tools_.size()); }
  BasicTool* At(int i) const { return tools_[i]; }

  BasicTool* FindTool(const char* name) const;
  // The first active tool, else the idle tool: never null.
  BasicTool* CurrentTool() const;
  // See ToolTable.cpp for the steps. An unknown name leaves no tool active.
  void SetCurrentTool(const char* name);
  // The index-th tool of `group` among the current room's listed tools.
  BasicTool* ToolByGroup(int group, int index) const;

  // Rooms in the order their first tool stands in the table; sets each
  // tool's Room. Not stored: rebuilt on demand.
  const std::vector<std::string>& BuildRooms();
  const std::vector<std::string>& Rooms() const { return rooms_; }
  int CurrentRoom() const { return currentRoom_; }
  // Switches rooms; the strip is rebuilt when (view size, room, tool count)
  // changed, and the room's page layout is loaded.
  void SwitchRoom(int room);
  void SetViewSize(int width, int height) {
    viewW_ = width;
    viewH_ = height;
  }

  // The tool calls at the end of the application frame, in their fixed order.
  void RunFrame();
  // Skips the next FrameEnd of the current tool.
  void SkipFrameEndOnce() { skipFrameEnd_ = true; }
  // Runs BuildPanel of the current tool (and its OnPanelsRebuilt).
  void BuildPanels();
  void OnPanelsRebuilt();

  void SetPanelHost(PanelHost* host) { host_ = host; }
  PanelHost* Host() const { return host_; }
  ToolTableHooks& Hooks() { return hooks_; }
  const ToolBounds& NavigationBounds() const { return navBounds_; }

  // Saved parameters of a tool name, null when none; the tool state list.
  XmlNode* SavedState(const char* name) const;
  void SaveState(BasicTool* tool);
  bool RestoreState(BasicTool* tool);

  // Stands in as current when no tool is active.
  static BasicTool& IdleTool();

 private:
  struct StripKey {
    int w = -1, h = -1, room = -1, count = -1;
    bool operator==(const StripKey&) const = default;
  };
  void RebuildStripIfNeeded();

  std::vector<BasicTool*> tools_;
  std::vector<std::unique_ptr<BasicTool>> owned_;
  std::map<std::string, std::unique_ptr<XmlNode>> states_;
  std::vector<std::string> rooms_;
  ToolTableHooks hooks_;
  PanelHost* host_ = nullptr;
  ToolBounds navBounds_;
  StripKey strip_;
  int currentRoom_ = 0, viewW_ = 0, viewH_ = 0;
  int lastOptions_ = 0, lastStrip_ = 0, lastPanel_ = 0;
  bool firstFrame_ = true, skipFrameEnd_ = false;
};

// The program's table.
ToolTable& Tools();
