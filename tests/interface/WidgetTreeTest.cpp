// The tree's router, hit test, layout and draw pass.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "WidgetTestKit.h"
#include "interface/Widgets.h"
#include "platform/Keys.h"

namespace {
std::vector<std::string> gHeard;

class Probe : public BaseWidget {
 public:
  bool takes = false;
  Probe(const char* name, float x, float y, float w, float h, bool take = false) : takes(take) {
    Name = name;
    X = x, Y = y, W = w, H = h;
    for (int e : {int(kEvLDown), int(kEvLUp), int(kEvKeyDown), int(kEvMove)})
      AddCallback(e, MakeCallback(this, &Probe::Heard, e));
  }
  bool Heard(int e) {
    gHeard.push_back(std::string(Name.cpchar()) + ":" + std::to_string(e));
    return takes;
  }
};

std::vector<std::string> Names(const std::vector<BaseWidget*>& list) {
  std::vector<std::string> n;
  for (BaseWidget* w : list) n.push_back(w->Name.cpchar());
  return n;
}
}  // namespace

TEST(HitTestTest, OnTopWidgetsComeLastAndDeletedOnesNever) {
  UiScope ui;
  auto* panel = ui.tree.Root().Add(new Probe("panel", 0, 0, 200, 200));
  auto* popup = panel->Add(new Probe("popup", 10, 10, 50, 50));
  popup->Layout |= kLayOnTop;
  panel->Add(new Probe("row", 0, 0, 200, 30));
  auto* gone = panel->Add(new Probe("gone", 0, 0, 100, 100));
  gone->Delete();
  ui.tree.Layout();
  ui.tree.HitTest(20, 20);
  EXPECT_EQ(Names(ui.tree.HitList()), (std::vector<std::string>{"panel", "row", "popup"}));
  ui.tree.HitTest(300, 300);
  EXPECT_TRUE(ui.tree.HitList().empty());
}

TEST(HitTestTest, ClippingParentHidesChildrenOutsideItUnlessTheyHitOutside) {
  UiScope ui;
  auto* box = ui.tree.Root().Add(new Probe("box", 0, 0, 100, 100));
  box->Flags |= kWfClip;
  box->Add(new Probe("inner", 150, 0, 50, 50));
  auto* loose = box->Add(new Probe("loose", 150, 60, 50, 30));
  loose->Flags |= kWfHitOutside;
  ui.tree.Layout();
  ui.tree.HitTest(160, 10);
  EXPECT_TRUE(ui.tree.HitList().empty());
  ui.tree.HitTest(160, 70);
  EXPECT_EQ(Names(ui.tree.HitList()), (std::vector<std::string>{"loose"}));
}

TEST(DispatchTest, StopsAtTheFirstTakerFromTheFront) {
  UiScope ui;
  gHeard.clear();
  auto* back = ui.tree.Root().Add(new Probe("back", 0, 0, 100, 100, true));
  back->Add(new Probe("middle", 0, 0, 100, 100, true));
  back->Add(new Probe("front", 0, 0, 100, 100, false));
  ui.tree.Layout();
  EXPECT_TRUE(ui.tree.OnPointer(kEvLDown, 5, 5));
  EXPECT_EQ(gHeard, (std::vector<std::string>{"front:513", "middle:513"}));
}

TEST(DispatchTest, ReleaseGoesOnlyToPressedWidgets) {
  UiScope ui;
  gHeard.clear();
  ui.tree.Root().Add(new Probe("a", 0, 0, 100, 100));
  ui.tree.Root().Add(new Probe("b", 200, 0, 100, 100));
  ui.tree.Layout();
  ui.tree.OnPointer(kEvLDown, 5, 5);
  ui.tree.OnPointer(kEvLUp, 5, 5);
  ui.tree.OnPointer(kEvLUp, 205, 5);  // no press there
  EXPECT_EQ(gHeard, (std::vector<std::string>{"a:513", "a:514"}));
}

TEST(DispatchTest, UntakenPressesGoToNavigation) {
  UiScope ui;
  std::vector<int> navi;
  ui.tree.Hooks().Navigation = [&](int key, bool) {
    navi.push_back(key);
    return true;
  };
  ui.tree.Root().Add(new Probe("taker", 0, 0, 100, 100, true));
  ui.tree.Layout();
  EXPECT_TRUE(ui.tree.OnPointer(kEvLDown, 5, 5));
  EXPECT_TRUE(ui.tree.OnPointer(kEvRDown, 500, 500));
  EXPECT_EQ(navi, (std::vector<int>{keys::RightButton}));
}

TEST(DispatchTest, KeysGoToNavigationToolsFocusThenTheRest) {
  UiScope ui;
  gHeard.clear();
  std::vector<std::string> order;
  ui.tree.Hooks().Navigation = [&](int, bool) { return order.push_back("navi"), false; };
  ui.tree.Hooks().ToolKeys = [&](int) { return order.push_back("tool"), false; };
  ui.tree.Root().Add(new Probe("plain", 0, 0, 10, 10));
  auto* focus = ui.tree.Root().Add(new Probe("focus", 0, 0, 10, 10));
  focus->Flags |= kWfKeyFocus;
  ui.tree.Root().Add(new Probe("last", 0, 0, 10, 10));
  ui.tree.OnKey(kEvKeyDown, keys::A);
  EXPECT_EQ(order, (std::vector<std::string>{"navi", "tool"}));
  EXPECT_EQ(gHeard, (std::vector<std::string>{"focus:256", "last:256", "plain:256"}));
}

TEST(DispatchTest, HotKeysReachOnlyVisibleWidgets) {
  UiScope ui;
  int hidden = 0, shown = 0;
  struct Key : BaseWidget {
    int* count;
    explicit Key(int* c) : count(c) {}
    bool Fire() { return ++*count, true; }
  };
  auto* parent = ui.tree.Root().Add(new BaseWidget);
  parent->SetVisible(false);
  auto* h = parent->Add(new Key(&hidden));
  h->AddCallback(kEvKeyDown, MakeCallback(h, &Key::Fire)->WithHotKey(keys::A));
  auto* s = ui.tree.Root().Add(new Key(&shown));
  s->AddCallback(kEvKeyDown, MakeCallback(s, &Key::Fire)->WithHotKey(keys::A));
  EXPECT_TRUE(ui.tree.OnKey(kEvKeyDown, keys::A));
  EXPECT_FALSE(ui.tree.OnKey(kEvKeyDown, keys::A + 1));
  EXPECT_EQ(hidden, 0);
  EXPECT_EQ(shown, 1);
}

TEST(DispatchTest, ModalRootTakesAllPointerEvents) {
  UiScope ui;
  gHeard.clear();
  ui.tree.Root().Add(new Probe("under", 0, 0, 500, 500, true));
  auto* modal = ui.tree.Root().Add(new Probe("modal", 300, 300, 100, 100, true));
  modal->Layout |= kLayModal;
  ui.tree.Layout();
  EXPECT_FALSE(ui.tree.OnPointer(kEvLDown, 10, 10));
  EXPECT_TRUE(gHeard.empty());
}

TEST(LayoutTest, AutoHeightFollowsVisibleChildrenButNotNoAutoSize) {
  UiScope ui;
  auto* parent = ui.tree.Root().Add(new BaseWidget);
  parent->X = 10, parent->Y = 20, parent->PadTop = 5, parent->PadBottom = 7, parent->PadLeft = 3;
  parent->Layout |= kLayAutoHeight | kLayAutoWidth;
  auto* a = parent->Add(new BaseWidget);
  a->Y = 0, a->W = 50, a->H = 30;
  auto* big = parent->Add(new BaseWidget);
  big->Y = 100, big->H = 500, big->W = 900;
  big->Layout |= kLayNoAutoSize;
  auto* hidden = parent->Add(new BaseWidget);
  hidden->Y = 40, hidden->H = 400;
  hidden->SetVisible(false);
  ui.tree.Layout();
  EXPECT_FLOAT_EQ(a->AbsX, 10 + 3 + 3);  // the root's own pad, then the parent's
  EXPECT_FLOAT_EQ(parent->H, 5 + 30 + 7);
  EXPECT_FLOAT_EQ(parent->W, 3 + 50);
}

TEST(LayoutTest, PopupStaysOnScreen) {
  UiScope ui;
  auto* popup = ui.tree.Root().Add(new BaseWidget);
  popup->IsPopup = 1;
  popup->W = 100, popup->H = 50;
  popup->PopupX = 1250, popup->PopupY = -20;
  ui.tree.Layout();
  EXPECT_FLOAT_EQ(popup->AbsX, 1180);
  EXPECT_FLOAT_EQ(popup->AbsY, 0);
}

TEST(DrawPassTest, ClipSetsScissorsAndOnTopDrawsLast) {
  UiScope ui;
  auto* panel = ui.tree.Root().Add(new PanelWidget);
  panel->W = 200, panel->H = 100;
  panel->Flags |= kWfClip;
  auto* top = panel->Add(new FrameWidget("", 0, 0, 20, 20));
  top->Fill = 0xff112233u;
  top->Layout |= kLayOnTop;
  auto* row = panel->Add(new FrameWidget("", 0, 30, 20, 20));
  row->Fill = 0xff445566u;
  ui.render.ClearCalls();
  ui.Frame();
  int scissors = ui.render.Count("SetScissor");
  EXPECT_GE(scissors, 2);  // set around the children, then off
  int topAt = -1, rowAt = -1;
  for (size_t i = 0; i < ui.render.Calls.size(); ++i) {
    const auto& c = ui.render.Calls[i];
    if (c.Op != "FillRect" || c.Args.empty()) continue;
    if (uint32_t(c.Args.back()) == 0xff112233u) topAt = int(i);
    if (uint32_t(c.Args.back()) == 0xff445566u) rowAt = int(i);
  }
  ASSERT_GE(topAt, 0);
  ASSERT_GE(rowAt, 0);
  EXPECT_GT(topAt, rowAt);
}

TEST(DrawPassTest, TextDrawsAsGlyphQuadsOfTheSheet) {
  UiScope ui;
  ASSERT_TRUE(Ui().Font.Ready());
  ui.tree.Root().Add(new TextWidget("Abc", 0, 0, 100, 18));
  ui.render.ClearCalls();
  ui.Frame();
  EXPECT_EQ(ui.render.Count("DrawTexturedQuad"), 3);
  EXPECT_GT(Ui().TextWidth("Abc"), Ui().TextWidth("Ab"));
}

TEST(HintTest, CommandNamesBecomeHotKeysAndUnknownOnesCutTheTail) {
  UiScope ui;
  ui.tree.Hooks().CommandHotKey = [](const std::string& c) { return c == "UNDO" ? std::string("Ctrl+Z") : ""; };
  EXPECT_EQ(ui.tree.ExpandHint("Press $UNDO to undo."), "Press [Ctrl+Z] to undo.");
  EXPECT_EQ(ui.tree.ExpandHint("Press $NOPE to fail."), "Press ");
}

TEST(HintTest, LastHintedWidgetUnderThePointerGivesTheHint) {
  UiScope ui;
  auto* a = ui.tree.Root().Add(new BaseWidget);
  a->W = a->H = 100;
  a->Hint = "outer";
  auto* b = a->Add(new BaseWidget);
  b->W = b->H = 50;
  b->Hint = "inner";
  b->Flags |= kWfTakesHint;
  ui.tree.Layout();
  ui.tree.HitTest(10, 10);
  EXPECT_EQ(ui.tree.HintLine(), "inner");
  EXPECT_FALSE(a->Has(kWfHover));  // TakesHint cleared the hover below it
  ui.tree.HitTest(80, 80);
  EXPECT_EQ(ui.tree.HintLine(), "outer");
}

TEST(CleanUpTest, DeletedWidgetsGoAtTheNextFrame) {
  UiScope ui;
  auto* a = ui.tree.Root().Add(new BaseWidget);
  a->Name = "a";
  a->Add(new BaseWidget)->Name = "child";
  WidgetHandle h = a->Handle();
  a->Delete();
  EXPECT_EQ(ui.tree.Root().FindWidget("a"), nullptr);
  EXPECT_NE(h.Get(), nullptr);
  ui.Frame();
  EXPECT_EQ(h.Get(), nullptr);
}
