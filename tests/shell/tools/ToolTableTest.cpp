// The tool table: order by priority, activation with parameters kept by tool
// name, rooms in table order, the frame's call order and the signatures.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "shell/tools/StandardTools.h"
#include "shell/tools/ToolTable.h"

namespace {
std::vector<std::string> gCalls;

class ProbeTool : public BasicTool {
 public:
  float Strength = 1.0f;
  int Steps = 3;
  MV_CLASS(ProbeTool, BasicTool) {
    Member("_float", Strength, "Strength");
    Member("_int", Steps, "Steps");
  }
  ProbeTool() = default;
  ProbeTool(float priority, const char* room = "Paint") : priority_(priority), room_(room) {}
  float GetPriority() override { return priority_; }
  const char* GetRoomName() override { return room_; }
  void Activate() override { gCalls.push_back("Activate " + std::string(Name.cpchar())); }
  void Deactivate() override { gCalls.push_back("Deactivate " + std::string(Name.cpchar())); }
  void FrameUpdate() override { gCalls.push_back("FrameUpdate " + std::string(Name.cpchar())); }
  void FrameActive() override { gCalls.push_back("FrameActive " + std::string(Name.cpchar())); }
  void FrameEnd() override { gCalls.push_back("FrameEnd " + std::string(Name.cpchar())); }
  int GetPanelSignature() override { return panelSignature; }
  int GetStripSignature() override { return stripSignature; }
  void BuildPanel(PanelHost*) override { gCalls.push_back("BuildPanel " + std::string(Name.cpchar())); }
  int panelSignature = 0, stripSignature = 0;

 private:
  float priority_ = kDefaultPriority;
  const char* room_ = "Paint";
};

class RecordingHost : public PanelHost {
 public:
  void ShowClassPanel(BaseClass*, int) override {}
  void MarkForRebuild(const char* name) override { marked.push_back(name); }
  std::vector<std::string> marked;
};

std::vector<std::string> NamesOf(const ToolTable& t) {
  std::vector<std::string> names;
  for (int i = 0; i < t.Count(); ++i) names.push_back(t.At(i)->Name.cpchar());
  return names;
}
}  // namespace

TEST(ToolOrderTest, PriorityOrderIsStableForEqualPriorities) {
  ToolTable t;
  t.Register(new ProbeTool(5), "A");
  t.Register(new ProbeTool(1), "B");
  t.Register(new ProbeTool(5), "C");
  t.Register(new ProbeTool(3), "D");
  t.Register(new ProbeTool(5), "E");
  EXPECT_EQ(NamesOf(t), (std::vector<std::string>{"B", "D", "A", "C", "E"}));
  // The same object again is refused and keeps its first name.
  BasicTool* a = t.FindTool("A");
  EXPECT_FALSE(t.Register(a, "Z"));
  EXPECT_EQ(t.Count(), 5);
  EXPECT_STREQ(a->Name.cpchar(), "A");
}

TEST(ToolOrderTest, StandardNamesRegisterInOrderAndHiddenToolsAreFound) {
  ToolTable t;
  EXPECT_EQ(RegisterStandardTools(t), kStandardToolCount);
  ASSERT_EQ(t.Count(), kStandardToolCount);
  for (int i = 0; i < kStandardToolCount; ++i) EXPECT_STREQ(t.At(i)->Name.cpchar(), kStandardToolNames[i]);
  BasicTool* smooth = t.FindTool("LayerOpSmooth");
  ASSERT_NE(smooth, nullptr);
  EXPECT_FALSE(smooth->IsInToolList());
  EXPECT_EQ(smooth->GetGroup(), 3);
  EXPECT_FALSE(t.FindTool("RetopoTool")->IsAvailable());
}

TEST(ToolOrderTest, ProvidedToolReplacesThePendingOne) {
  ToolTable t;
  ProbeTool* mine = nullptr;
  ToolProviders providers{{"VOX_SCULPT_TOOL", [&] { return mine = new ProbeTool(100000.0f, "Voxels"); }}};
  RegisterStandardTools(t, providers);
  EXPECT_EQ(t.FindTool("VOX_SCULPT_TOOL"), mine);
  EXPECT_TRUE(mine->IsAvailable());
}

TEST(CurrentToolTest, IdleToolStandsInWithoutActiveTool) {
  ToolTable t;
  t.Register(new ProbeTool, "A");
  EXPECT_EQ(t.CurrentTool(), &ToolTable::IdleTool());
  t.SetCurrentTool("A");
  EXPECT_EQ(t.CurrentTool(), t.FindTool("A"));
  t.SetCurrentTool("NoSuchTool");
  EXPECT_EQ(t.CurrentTool(), &ToolTable::IdleTool());
  EXPECT_FALSE(t.FindTool("A")->IsActive());
}

TEST(CurrentToolTest, ParametersAreSavedAndRestoredByName) {
  ToolTable t;
  t.Register(new ProbeTool, "A");
  t.Register(new ProbeTool, "B");
  auto* a = static_cast<ProbeTool*>(t.FindTool("A"));
  t.SetCurrentTool("A");
  a->Strength = 0.25f;
  a->Steps = 9;
  t.SetCurrentTool("B");
  ASSERT_NE(t.SavedState("A"), nullptr);
  a->Strength = 7.0f;  // someone changed it meanwhile: the saved state wins
  a->Steps = 0;
  t.SetCurrentTool("A");
  EXPECT_FLOAT_EQ(a->Strength, 0.25f);
  EXPECT_EQ(a->Steps, 9);
}

TEST(CurrentToolTest, ActivationOrderAndPanelsMarked) {
  gCalls.clear();
  ToolTable t;
  RecordingHost host;
  t.SetPanelHost(&host);
  t.Register(new ProbeTool, "A");
  t.Register(new ProbeTool, "B");
  t.SetCurrentTool("A");
  t.SetCurrentTool("A");  // already current: nothing happens
  t.SetCurrentTool("B");
  EXPECT_EQ(gCalls, (std::vector<std::string>{"Activate A", "BuildPanel A", "Deactivate A", "Activate B",
                                              "BuildPanel B"}));
  ASSERT_EQ(host.marked.size(), 24u);  // twice 12 panels
  EXPECT_EQ(host.marked[0], "TOOL_PARAM0");
  EXPECT_EQ(host.marked[1], "TOOL_PARAM0_SINGLE");
  EXPECT_EQ(host.marked[11], "TOOL_PARAM5_SINGLE");
}

TEST(RoomsTest, RoomsFollowTableOrderAndActivationSwitchesRoom) {
  ToolTable t;
  RegisterStandardTools(t);
  const auto& rooms = t.BuildRooms();
  EXPECT_EQ(rooms, (std::vector<std::string>{"Paint", "Sculpt", "UV", "Retopo", "Voxels", "Render"}));
  EXPECT_EQ(t.FindTool("RenderTool")->Room, 5);
  EXPECT_EQ(t.FindTool("StdPen")->Room, 0);
  int layouts = 0, strips = 0;
  t.Hooks().LoadRoomLayout = [&](int) { ++layouts; };
  t.Hooks().RebuildStrip = [&] { ++strips; };
  t.SetCurrentTool("RetopoTool");
  EXPECT_EQ(t.CurrentRoom(), 3);
  EXPECT_EQ(layouts, 1);
  EXPECT_EQ(strips, 1);
  t.SwitchRoom(3);  // same key: the strip stays
  EXPECT_EQ(strips, 1);
  t.SetViewSize(800, 600);
  t.SwitchRoom(3);
  EXPECT_EQ(strips, 2);
  EXPECT_EQ(t.ToolByGroup(0, 0), t.FindTool("RetopoTool"));
  EXPECT_EQ(t.ToolByGroup(0, 1), nullptr);
}

TEST(ToolFrameTest, CallOrderAndSignatureRebuilds) {
  gCalls.clear();
  ToolTable t;
  RecordingHost host;
  t.SetPanelHost(&host);
  auto* bg = new ProbeTool;
  bg->Background = 1;
  t.Register(bg, "Bg");
  t.Register(new ProbeTool, "A");
  t.SetCurrentTool("A");
  int meshPasses = 0, saves = 0, strips = 0;
  t.Hooks().DefaultMeshPass = [&] { ++meshPasses; };
  t.Hooks().SaveOptions = [&] { ++saves; };
  t.Hooks().RebuildStrip = [&] { ++strips; };
  auto* a = static_cast<ProbeTool*>(t.FindTool("A"));
  a->panelSignature = 7;  // first frame: taken as it is
  gCalls.clear();
  t.RunFrame();
  EXPECT_EQ(gCalls, (std::vector<std::string>{"FrameUpdate Bg", "FrameUpdate A", "FrameActive A", "FrameEnd A"}));
  EXPECT_EQ(meshPasses, 1);
  EXPECT_EQ(saves, 0);
  gCalls.clear();
  a->panelSignature = 8;
  t.SkipFrameEndOnce();
  t.RunFrame();
  EXPECT_EQ(gCalls, (std::vector<std::string>{"FrameUpdate Bg", "FrameUpdate A", "BuildPanel A", "FrameActive A"}));
  EXPECT_EQ(saves, 1);
  int before = strips;
  a->stripSignature = 1;
  t.RunFrame();
  EXPECT_EQ(strips, before + 1);
  EXPECT_EQ(saves, 2);
}
