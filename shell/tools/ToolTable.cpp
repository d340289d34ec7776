// The tool table: registration by priority, activation, rooms and the tool
// calls of one frame. See ToolTable.h.
#include "shell/tools/ToolTable.h"

#include <cstdio>
#include <cstring>

#include "ClassEngine/Log.h"
#include "ClassEngine/xml/ErrorCollector.h"
#include "ClassEngine/xml/XmlNode.h"

ToolPointer& Pointer() {
  static ToolPointer pointer;
  return pointer;
}

ToolTable::ToolTable() = default;
ToolTable::~ToolTable() = default;

ToolTable& Tools() {
  static ToolTable table;
  return table;
}

BasicTool& ToolTable::IdleTool() {
  static BasicTool idle;
  return idle;
}

bool ToolTable::Register(BasicTool* tool, const char* name) {
  if (!tool) return false;
  for (BasicTool* t : tools_)
    if (t == tool) return false;
  tool->Name = name ? name : "";
  tool->RegisterMembers();
  float p = tool->GetPriority();
  size_t at = tools_.size();
  for (size_t i = 0; i < tools_.size(); ++i)
    if (tools_[i]->GetPriority() > p) {
      at = i;
      break;
    }
  tools_.insert(tools_.begin() + long(at), tool);
  owned_.emplace_back(tool);
  return true;
}

BasicTool* ToolTable::FindTool(const char* name) const {
  if (!name) return nullptr;
  for (BasicTool* t : tools_)
    if (t->Name == name) return t;
  return nullptr;
}

BasicTool* ToolTable::CurrentTool() const {
  for (BasicTool* t : tools_)
    if (t->IsActive()) return t;
  return &IdleTool();
}

XmlNode* ToolTable::SavedState(const char* name) const {
  auto it = states_.find(name ? name : "");
  return it == states_.end() ? nullptr : it->second.get();
}

void ToolTable::SaveState(BasicTool* tool) {
  auto node = std::make_unique<XmlNode>(tool->GetClassName());
  tool->Save(node.get(), tool);
  states_[tool->Name.cpchar()] = std::move(node);
}

bool ToolTable::RestoreState(BasicTool* tool) {
  XmlNode* node = SavedState(tool->Name.cpchar());
  if (!node) return false;
  ErrorCollector quiet(false);
  return tool->Load(node, tool, &quiet);
}

// Activation: deactivate and save every active tool, mark the tool panels,
// restore the new tool's parameters, switch rooms if needed, activate it,
// keep its bounds for navigation, and build its panel.
void ToolTable::SetCurrentTool(const char* name) {
  BasicTool* current = CurrentTool();
  if (current != &IdleTool() && name && current->Name == name) return;
  for (BasicTool* t : tools_) {
    if (!t->IsActive()) continue;
    t->Deactivate();
    t->SetCurrentFlag(false);
    SaveState(t);
  }
  if (host_) {
    char panel[32];
    for (int i = 0; i <= 5; ++i) {
      snprintf(panel, sizeof panel, "TOOL_PARAM%d", i);
      host_->MarkForRebuild(panel);
      snprintf(panel, sizeof panel, "TOOL_PARAM%d_SINGLE", i);
      host_->MarkForRebuild(panel);
    }
  }
  BasicTool* tool = FindTool(name);
  if (!tool) {
    Log("SetCurrentTool: no tool named %s", name ? name : "(null)");
    return;
  }
  RestoreState(tool);
  if (rooms_.empty()) BuildRooms();
  if (tool->Room != currentRoom_) SwitchRoom(tool->Room);
  tool->SetCurrentFlag(true);
  tool->Activate();
  tool->GetFullBounds(navBounds_);
  if (hooks_.SetNavigationBounds) hooks_.SetNavigationBounds(navBounds_);
  if (host_) {
    tool->BuildPanel(host_);
    if (hooks_.RefreshPenState) hooks_.RefreshPenState();
    tool->OnPanelsRebuilt();
  }
}

BasicTool* ToolTable::ToolByGroup(int group, int index) const {
  for (BasicTool* t : tools_) {
    if (t->Room != currentRoom_ || !t->IsInToolList() || t->GetGroup() != group) continue;
    if (index-- == 0) return t;
  }
  return nullptr;
}

const std::vector<std::string>& ToolTable::BuildRooms() {
  rooms_.clear();
  for (BasicTool* t : tools_) {
    const char* room = t->GetRoomName();
    int index = -1;
    for (size_t i = 0; i < rooms_.size(); ++i)
      if (rooms_[i] == room) index = int(i);
    if (index < 0) {
      index = int(rooms_.size());
      rooms_.push_back(room);
    }
    t->Room = index;
  }
  return rooms_;
}

void ToolTable::RebuildStripIfNeeded() {
  StripKey key{viewW_, viewH_, currentRoom_, Count()};
  if (key == strip_) return;
  strip_ = key;
  BuildRooms();
  if (hooks_.RebuildStrip) hooks_.RebuildStrip();
}

void ToolTable::SwitchRoom(int room) {
  currentRoom_ = room;
  RebuildStripIfNeeded();
  if (hooks_.LoadRoomLayout) hooks_.LoadRoomLayout(room);
}

void ToolTable::BuildPanels() {
  BasicTool* tool = CurrentTool();
  if (host_) tool->BuildPanel(host_);
  OnPanelsRebuilt();
}

void ToolTable::OnPanelsRebuilt() {
  CurrentTool()->OnPanelsRebuilt();
  if (hooks_.RefreshPenState) hooks_.RefreshPenState();
}

void ToolTable::RunFrame() {
  BasicTool* current = CurrentTool();
  // 1. Frame updates: the background tools, then the current one.
  for (BasicTool* t : tools_)
    if (t->Background && t != current) t->FrameUpdate();
  current->FrameUpdate();
  // 2. The three signatures; the first frame takes them as they are.
  int options = current->GetOptionsSignature();
  int strip = current->GetStripSignature();
  int panel = current->GetPanelSignature();
  if (!firstFrame_) {
    if (options != lastOptions_) {
      if (hooks_.SaveOptions) hooks_.SaveOptions();
      lastOptions_ = options;
      OnPanelsRebuilt();
    }
    if (strip != lastStrip_) {
      if (hooks_.SaveOptions) hooks_.SaveOptions();
      lastStrip_ = strip;
      strip_ = StripKey();  // force the rebuild
      RebuildStripIfNeeded();
      OnPanelsRebuilt();
    }
    if (panel != lastPanel_) {
      if (hooks_.SaveOptions) hooks_.SaveOptions();
      lastPanel_ = panel;
      if (host_) current->BuildPanel(host_);
    }
  }
  firstFrame_ = false;
  lastOptions_ = options;
  lastStrip_ = strip;
  lastPanel_ = panel;
  // 3. Every active tool.
  for (BasicTool* t : tools_)
    if (t->IsActive()) t->FrameActive();
  // 4. The current tool's frame end, unless skipped once.
  if (skipFrameEnd_)
    skipFrameEnd_ = false;
  else
    current->FrameEnd();
  // 5. The default mesh pass.
  if (current->DrawsPaintMesh() && hooks_.DefaultMeshPass) hooks_.DefaultMeshPass();
}
