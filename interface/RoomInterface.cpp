// The rooms' strip, the tool list and the tool panel; see RoomInterface.h.
#include "interface/RoomInterface.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "interface/TextTable.h"
#include "interface/UiContext.h"
#include "interface/WidgetTree.h"

namespace {
std::string RoomKey(const std::string& room) {
  std::string key = "ROOM_" + room;
  for (char& c : key) c = char(toupper((unsigned char)c));
  return key;
}
std::string PanelName(int room) {
  char name[32];
  snprintf(name, sizeof name, "TOOL_PARAM%d", room);
  return name;
}
}  // namespace

// The object that the strip's and list's callbacks call: a widget, so that
// callbacks can name it, owned by the tree like any other.
class RoomInterface::Clicks : public BaseWidget {
 public:
  RoomInterface* Owner = nullptr;
  bool Room(int room) { return Owner && Owner->OnRoomClick(room); }
  bool Tool(int index) { return Owner && Owner->OnToolClick(index); }
};

RoomInterface::RoomInterface(WidgetTree& tree, ToolTable& tools) : tree_(tree), tools_(tools) {
  clicks_ = new Clicks;
  clicks_->Owner = this;
  clicks_->Name = "ROOM_CLICKS";
  clicks_->SetVisible(false);
  tree_.Root().AddChild(clicks_);
  tools_.SetPanelHost(this);
  tools_.Hooks().RebuildStrip = [this] { RebuildStrip(); };
}

RoomInterface::~RoomInterface() {
  tools_.SetPanelHost(nullptr);
  tools_.Hooks().RebuildStrip = nullptr;
  clicks_->Owner = nullptr;
  clicks_->Delete();
}

BaseWidget* RoomInterface::Strip() const { return tree_.Root().FindWidget("PAGES", false); }
BaseWidget* RoomInterface::ToolList() const { return tree_.Root().FindWidget("TOOL_LIST", false); }
ScrollPanel* RoomInterface::ToolPanel(int room) const {
  return dynamic_cast<ScrollPanel*>(tree_.Root().FindWidget(PanelName(room).c_str(), false));
}

void RoomInterface::Resize(int viewW, int viewH) {
  viewW_ = viewW, viewH_ = viewH;
  tools_.SetViewSize(viewW, viewH);
  tools_.SwitchRoom(tools_.CurrentRoom());  // rebuilds the strip if the key changed
  UiContext& ui = Ui();
  for (BaseWidget* w : tree_.Root().Children)
    if (auto* p = dynamic_cast<ScrollPanel*>(w); p && p->Name.cpchar()[0] == 'T')
      p->H = float(viewH_) - ui.Px(kPanelTop) - ui.Px(20);
}

void RoomInterface::RebuildStrip() {
  UiContext& ui = Ui();
  if (BaseWidget* old = Strip()) old->Delete();
  if (BaseWidget* old = ToolList()) old->Delete();
  const std::vector<std::string>& rooms = tools_.BuildRooms();
  auto* strip = new PanelWidget;
  strip->Name = "PAGES";
  strip->W = float(viewW_);
  strip->H = ui.Px(kStripHeight);
  strip->Color = 0xff2a2c31u;
  // Every button is as wide as the widest translated room name.
  float bw = ui.Px(60);
  for (const std::string& r : rooms) bw = std::max(bw, ui.TextWidth(Text(RoomKey(r).c_str())) + ui.Px(24));
  for (size_t i = 0; i < rooms.size(); ++i) {
    auto* b = strip->Add(new FrameWidget(Text(RoomKey(rooms[i]).c_str()), stripInset_ + ui.Px(4) + float(i) * (bw + ui.Px(4)),
                                         ui.Px(3), bw, ui.Px(kStripHeight - 6)));
    b->Name = rooms[i].c_str();
    if (int(i) == tools_.CurrentRoom()) b->Fill = kThemeHighlight;
    b->SetHint((RoomKey(rooms[i]) + "_HINT").c_str());
    b->AddCallback(kEvLDown, MakeCallback(clicks_, &Clicks::Room, int(i)));
  }
  tree_.Root().AddChild(strip);
  auto* list = new PanelWidget;
  list->Name = "TOOL_LIST";
  list->Y = ui.Px(kPanelTop);
  list->W = ui.Px(kToolListWidth);
  list->Layout |= kLayAutoHeight;
  list->PadBottom = ui.Px(4);
  float y = ui.Px(4);
  BasicTool* current = tools_.CurrentTool();
  for (int i = 0; i < tools_.Count(); ++i) {
    BasicTool* t = tools_.At(i);
    if (t->Room != tools_.CurrentRoom() || !t->IsInToolList()) continue;
    auto* b = list->Add(new FrameWidget(Text(t->GetHintId()), ui.Px(4), y, list->W - ui.Px(8), ui.Px(22)));
    b->Name = t->Name;
    if (t == current) b->Fill = kThemeHighlight;
    if (!t->IsAvailable()) b->TextColor = kThemeDimText;
    b->SetHint((std::string(t->GetHintId()) + "_HINT").c_str());
    b->AddCallback(kEvLDown, MakeCallback(clicks_, &Clicks::Tool, i));
    y += ui.Px(24);
  }
  tree_.Root().AddChild(list);
}

void RoomInterface::ShowClassPanel(BaseClass* object, int room) {
  UiContext& ui = Ui();
  std::string name = PanelName(room);
  // One tool panel shows at a time: the current room's.
  for (BaseWidget* w : tree_.Root().Children)
    if (auto* p = dynamic_cast<ScrollPanel*>(w); p && p->Name != name.c_str() &&
                                                 strncmp(p->Name.cpchar(), "TOOL_PARAM", 10) == 0)
      p->SetVisible(false);
  ScrollPanel* panel = ToolPanel(room);
  if (!panel) {
    panel = new ScrollPanel(name.c_str());
    tree_.Root().AddChild(panel);
  }
  panel->SetVisible(true);
  panel->X = ui.Px(kToolListWidth);
  panel->Y = ui.Px(kPanelTop);
  panel->W = ui.Px(kToolPanelWidth);
  panel->H = float(viewH_) - ui.Px(kPanelTop) - ui.Px(20);
  panel->PadLeft = panel->PadTop = ui.Px(4);
  panel->PadRight = ui.Px(4);
  auto* content = new BaseWidget;
  content->W = panel->W - ui.Px(16);
  content->Layout |= kLayAutoHeight;
  float y = 0;
  auto* tool = dynamic_cast<BasicTool*>(object);
  if (tool) {
    auto* title = content->Add(new TextWidget(Text(tool->GetHintId()), 0, 0, content->W, ui.Px(22)));
    title->Centered = true;
    y += ui.Px(24);
  }
  auto* rows = new ClassPanel;
  rows->Object = object;
  rows->Y = y;
  rows->W = content->W;
  content->AddChild(rows);
  rows->Rebuild();
  panel->SetContent(content);
}

namespace {
ClassPanel* FindRows(BaseWidget* w) {
  if (auto* rows = dynamic_cast<ClassPanel*>(w)) return rows;
  for (BaseWidget* c : w->Children)
    if (ClassPanel* rows = c ? FindRows(c) : nullptr) return rows;
  return nullptr;
}
}  // namespace

void RoomInterface::MarkForRebuild(const char* panelName) {
  if (BaseWidget* panel = tree_.Root().FindWidget(panelName, false))
    if (ClassPanel* rows = FindRows(panel)) rows->RequestRebuild();
}

bool RoomInterface::OnRoomClick(int room) {
  if (BasicTool* leaving = tools_.CurrentTool()) lastTool_[leaving->Room] = leaving->Name.cpchar();
  BasicTool* pick = nullptr;
  if (auto it = lastTool_.find(room); it != lastTool_.end())
    if (BasicTool* t = tools_.FindTool(it->second.c_str()); t && t->Room == room) pick = t;
  // Else the first listed tool that works, else the first listed at all; a
  // room without one just opens.
  for (int pass = 0; pass < 2 && !pick; ++pass)
    for (int i = 0; i < tools_.Count() && !pick; ++i) {
      BasicTool* t = tools_.At(i);
      if (t->Room == room && t->IsInToolList() && (pass == 1 || t->IsAvailable())) pick = t;
    }
  if (pick) {
    tools_.SetCurrentTool(pick->Name.cpchar());
    RebuildStrip();
    return true;
  }
  tools_.SwitchRoom(room);
  RebuildStrip();
  return true;
}

bool RoomInterface::OnToolClick(int tableIndex) {
  if (tableIndex < 0 || tableIndex >= tools_.Count()) return false;
  tools_.SetCurrentTool(tools_.At(tableIndex)->Name.cpchar());
  RebuildStrip();
  return true;
}
