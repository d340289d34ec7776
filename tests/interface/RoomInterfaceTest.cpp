// The rooms' strip, the tool list and the generated tool panel working with a
// tool table: a click on a room switches tool and panel, a row edits the
// tool, and a rebuilt panel keeps its scroll position.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "WidgetTestKit.h"
#include "interface/Dialogs.h"
#include "interface/RoomInterface.h"
#include "interface/TextTable.h"
#include "platform/Keys.h"
#include "shell/tools/PendingTools.h"
#include "shell/tools/StandardTools.h"

namespace {
struct RoomFixture : ::testing::Test {
  UiScope ui;
  ToolTable tools;
  std::unique_ptr<RoomInterface> rooms;
  void SetUp() override {
    RegisterStandardTools(tools);
    rooms = std::make_unique<RoomInterface>(ui.tree, tools);
    rooms->Resize(1280, 720);
    tools.SetCurrentTool("StdPen");
    rooms->RebuildStrip();
    ui.Frame();
  }
  void TearDown() override { rooms.reset(); }
  BaseWidget* Button(const char* parent, const char* name) {
    BaseWidget* p = ui.tree.Root().FindWidget(parent, false);
    return p ? p->FindWidget(name, false) : nullptr;
  }
};
}  // namespace

TEST_F(RoomFixture, StripHasOneEqualButtonPerRoom) {
  BaseWidget* strip = rooms->Strip();
  ASSERT_NE(strip, nullptr);
  ASSERT_EQ(strip->Children.GetAmount(), 6);
  for (BaseWidget* b : strip->Children) EXPECT_FLOAT_EQ(b->W, strip->Children[0]->W);
  EXPECT_STREQ(static_cast<FrameWidget*>(Button("PAGES", "Voxels"))->Text.cpchar(), "Voxels");
  // The tool list shows the listed tools of the paint room only.
  EXPECT_NE(Button("TOOL_LIST", "StdPen"), nullptr);
  EXPECT_EQ(Button("TOOL_LIST", "LayerOpSmooth"), nullptr);
  EXPECT_EQ(Button("TOOL_LIST", "RetopoTool"), nullptr);
}

TEST_F(RoomFixture, ClickingARoomSwitchesToolAndPanel) {
  BaseWidget* retopo = Button("PAGES", "Retopo");
  ASSERT_NE(retopo, nullptr);
  ui.Click(retopo->AbsX + 3, retopo->AbsY + 3);
  EXPECT_STREQ(tools.CurrentTool()->Name.cpchar(), "RetopoTool");
  EXPECT_EQ(tools.CurrentRoom(), 3);
  ASSERT_NE(rooms->ToolPanel(3), nullptr);
  EXPECT_TRUE(rooms->ToolPanel(3)->Visible());
  EXPECT_FALSE(rooms->ToolPanel(0)->Visible());
  ui.Frame();
  EXPECT_NE(Button("TOOL_LIST", "RetopoTool"), nullptr);
}

TEST_F(RoomFixture, ARoomOpensOnItsLastToolElseOnItsFirstWorkingOne) {
  // Two paint tools that work, listed after the ones that do not yet.
  struct Working : BasicTool {};
  tools.Register(new Working, "WorkingA");
  tools.Register(new Working, "WorkingB");
  tools.SetCurrentTool("RetopoTool");
  rooms->RebuildStrip();
  ui.Frame();
  auto click = [&](BaseWidget* b) {
    ASSERT_NE(b, nullptr);
    ui.Click(b->AbsX + 3, b->AbsY + 3);
    ui.Frame();
  };
  ASSERT_FALSE(tools.FindTool("Airbrush")->IsAvailable()) << "listed first in the paint room";
  // Fresh, the paint room opens on its first tool that works.
  click(Button("PAGES", "Paint"));
  EXPECT_STREQ(tools.CurrentTool()->Name.cpchar(), "WorkingA");
  // The tool chosen in a room comes back with the room.
  click(Button("TOOL_LIST", "WorkingB"));
  EXPECT_STREQ(tools.CurrentTool()->Name.cpchar(), "WorkingB");
  click(Button("PAGES", "Retopo"));
  EXPECT_STREQ(tools.CurrentTool()->Name.cpchar(), "RetopoTool");
  click(Button("PAGES", "Paint"));
  EXPECT_STREQ(tools.CurrentTool()->Name.cpchar(), "WorkingB");
}

TEST_F(RoomFixture, PanelRowsEditTheCurrentTool) {
  tools.SetCurrentTool("RetopoTool");
  ui.Frame();
  auto* tool = static_cast<PendingRetopoTool*>(tools.FindTool("RetopoTool"));
  CheckBox* snap = nullptr;
  std::function<void(BaseWidget*)> find = [&](BaseWidget* w) {
    if (auto* c = dynamic_cast<CheckBox*>(w); c && c->Value == &tool->SnapToSurface) snap = c;
    for (BaseWidget* k : w->Children) find(k);
  };
  find(rooms->ToolPanel(3));
  ASSERT_NE(snap, nullptr);
  ui.Click(snap->AbsX + 4, snap->AbsY + 4);
  EXPECT_FALSE(tool->SnapToSurface);
  // Leaving and coming back restores the parameters kept under its name.
  tools.SetCurrentTool("StdPen");
  tool->SnapToSurface = true;
  tools.SetCurrentTool("RetopoTool");
  EXPECT_FALSE(tool->SnapToSurface);
}

TEST(DialogTest, WithoutAPumpTheDefaultAnswerIsTakenAndLogged) {
  UiScope ui;
  SetDialogPump(nullptr);
  EXPECT_EQ(ShowDialog(ui.tree, "WANT_TO_SAVE", "", nullptr, {"YES", "NO", "CANCEL"}, 2), 2);
  EXPECT_EQ(ui.tree.Root().Children.GetAmount(), 0);
}

TEST(DialogTest, PumpRunsUntilAButtonIsPressed) {
  UiScope ui;
  int pumped = 0;
  SetDialogPump([&](const std::function<bool()>& done) {
    DialogBox* box = dynamic_cast<DialogBox*>(ui.tree.ModalRoot());
    ASSERT_NE(box, nullptr);
    ui.Frame();
    while (!done()) {
      ++pumped;
      BaseWidget* no = box->Children[box->Children.GetAmount() - 2];  // the second button
      ui.Click(no->AbsX + 2, no->AbsY + 2);
    }
  });
  EXPECT_EQ(ShowDialog(ui.tree, "WANT_TO_SAVE", "", nullptr, {"YES", "NO", "CANCEL"}, 1), 2);
  EXPECT_EQ(pumped, 1);
  SetDialogPump(nullptr);
}

// The box answers the keyboard: a button's first letter, Enter for the
// default, Esc for the last; and while it is open the tools get no keys.
TEST(DialogTest, KeysPickButtonsAndStayInTheBox) {
  UiScope ui;
  int toolKeys = 0;
  ui.tree.Hooks().ToolKeys = [&](int) { return ++toolKeys, true; };
  const std::vector<std::string> buttons = {"YES", "NO", "CANCEL"};
  struct Case {
    int key;
    int answer;
  };
  for (Case c : {Case{keys::A + ('N' - 'A'), 2}, Case{keys::Enter, 1}, Case{keys::Esc, 3}, Case{keys::A + ('C' - 'A'), 3}}) {
    SetDialogPump([&](const std::function<bool()>& done) {
      ui.Frame();
      EXPECT_TRUE(ui.tree.OnKey(kEvKeyDown, keys::A + ('Q' - 'A')));  // no button: kept, nothing picked
      EXPECT_FALSE(done());
      ui.tree.OnKey(kEvKeyDown, c.key);
      EXPECT_TRUE(done());
    });
    EXPECT_EQ(ShowDialog(ui.tree, "WANT_TO_SAVE", "EXIT_PROGRAM", nullptr, buttons, 1), c.answer) << c.key;
    ui.Frame();
  }
  EXPECT_EQ(toolKeys, 0);
  ui.tree.OnKey(kEvKeyDown, keys::A);
  EXPECT_EQ(toolKeys, 1) << "with the box gone the tools have the keys again";
  SetDialogPump(nullptr);
}

// Long words wrap inside the box instead of running past its edge.
TEST(DialogTest, LongTextWrapsInsideTheBox) {
  UiScope ui;
  DialogBox* box = BuildDialog(ui.tree, "IMPORT_NOT_AVAILABLE", "", nullptr, std::vector<std::string>{"OK"});
  ui.Frame();
  int lines = 0;
  for (BaseWidget* w : box->Children)
    if (auto* t = dynamic_cast<TextWidget*>(w); t && !dynamic_cast<FrameWidget*>(w)) {
      ++lines;
      EXPECT_LE(Ui().TextWidth(t->Text.cpchar()), box->W) << t->Text.cpchar();
    }
  EXPECT_GE(lines, 3);
  box->Delete();
}
