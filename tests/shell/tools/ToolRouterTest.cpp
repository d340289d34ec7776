// The scene widget's routing: background tools first, the stroke hooks around
// the current tool, double clicks, Shift lines, and a blocked scene widget.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/Keys.h"
#include "shell/tools/ToolRouter.h"

namespace {
std::vector<std::string> gLog;

class RoutedTool : public BasicTool {
 public:
  MV_CLASS(RoutedTool, BasicTool) {}
  bool takes = false, shiftLine = false, captures = false;
  bool OnLMBDown() override { return Note("LDown"); }
  bool OnLMBUp() override { return Note("LUp"); }
  bool OnLMBDouble() override { return Note("LDouble"); }
  bool OnRMBDown() override { return Note("RDown"); }
  bool OnMMBUp() override { return Note("MUp"); }
  bool OnMouseMove() override { return Note("Move"); }
  bool TakesShiftForLine() override { return shiftLine; }
  bool CapturesPointer() override { return captures; }

 private:
  bool Note(const char* what) {
    gLog.push_back(std::string(Name.cpchar()) + " " + what);
    return takes;
  }
};

struct RouterFixture : ::testing::Test {
  ToolTable table;
  ToolRouter router{table};
  RoutedTool* bg = new RoutedTool;
  RoutedTool* cur = new RoutedTool;
  void SetUp() override {
    gLog.clear();
    Pointer() = ToolPointer();
    bg->Background = 1;
    table.Register(bg, "Bg");
    table.Register(cur, "Cur");
    table.SetCurrentTool("Cur");
    router.Strokes().Start = [] { gLog.push_back("StrokeStart"); };
    router.Strokes().End = [] { gLog.push_back("StrokeEnd"); };
    router.Strokes().Move = [] { gLog.push_back("StrokeMove"); };
  }
};
}  // namespace

TEST_F(RouterFixture, PressGoesToBackgroundThenStrokeThenCurrent) {
  router.OnKeyChange(keys::LeftButton, true, false);
  router.OnKeyChange(keys::LeftButton, false, false);
  EXPECT_EQ(gLog, (std::vector<std::string>{"Bg LDown", "StrokeStart", "Cur LDown", "Bg LUp", "StrokeEnd",
                                            "Cur LUp"}));
}

TEST_F(RouterFixture, BackgroundToolThatTakesThePressEndsIt) {
  bg->takes = true;
  EXPECT_TRUE(router.OnKeyChange(keys::LeftButton, true, false));
  EXPECT_EQ(gLog, (std::vector<std::string>{"Bg LDown"}));
}

TEST_F(RouterFixture, DoubleClickCallsOnlyTheDoubleHook) {
  router.OnKeyChange(keys::LeftButton, true, true);
  EXPECT_EQ(gLog, (std::vector<std::string>{"Cur LDouble"}));
}

TEST_F(RouterFixture, OtherButtonsGoTheSameRoadUnlessCaptured) {
  router.OnKeyChange(keys::RightButton, true, false);
  EXPECT_TRUE(Pointer().Right);
  cur->captures = true;
  router.OnKeyChange(keys::MiddleButton, false, false);
  EXPECT_EQ(gLog, (std::vector<std::string>{"Bg RDown", "StrokeStart", "Cur RDown", "Bg MUp", "Cur MUp"}));
}

TEST_F(RouterFixture, BlockedSceneWidgetReachesNoTool) {
  router.SetBlocked(true);
  EXPECT_FALSE(router.OnKeyChange(keys::LeftButton, true, false));
  EXPECT_FALSE(router.OnPointerMove(3, 4));
  EXPECT_TRUE(gLog.empty());
}

TEST_F(RouterFixture, IdleToolMakesAPressDoNothing) {
  table.SetCurrentTool("nothing");
  bg->Background = 0;
  router.Strokes() = StrokeHooks();
  EXPECT_FALSE(router.OnKeyChange(keys::LeftButton, true, false));
  EXPECT_TRUE(gLog.empty());
}

TEST_F(RouterFixture, ShiftStartsAStraightLineOnlyForToolsThatWantIt) {
  router.OnKeyChange(keys::Shift, true, false);
  router.OnKeyChange(keys::LeftButton, true, false);
  EXPECT_EQ(Pointer().StraightLine, 0);
  router.OnKeyChange(keys::LeftButton, false, false);
  cur->shiftLine = true;
  router.OnKeyChange(keys::LeftButton, true, false);
  EXPECT_EQ(Pointer().StraightLine, 1);
  router.OnKeyChange(keys::LeftButton, false, false);
  EXPECT_EQ(Pointer().StraightLine, 0);
  EXPECT_EQ(Pointer().LastKey, keys::Shift);
}

TEST_F(RouterFixture, MotionRunsMoveHookUnlessPointerCaptured) {
  router.OnPointerMove(10, 20);
  EXPECT_EQ(gLog, (std::vector<std::string>{"StrokeMove", "Bg Move", "Cur Move"}));
  EXPECT_FLOAT_EQ(Pointer().X, 10);
  gLog.clear();
  cur->captures = true;
  router.OnPointerMove(11, 21);
  EXPECT_EQ(gLog, (std::vector<std::string>{"Bg Move", "Cur Move"}));
  EXPECT_FLOAT_EQ(Pointer().PrevX, 10);
}
