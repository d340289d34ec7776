// Callbacks: replace rules, call kinds, hot keys, stop-after and targets that
// are gone.
#include <gtest/gtest.h>

#include <vector>

#include "WidgetTestKit.h"
#include "interface/Callbacks.h"

namespace {
class Counter : public BaseWidget {
 public:
  std::vector<int> calls;
  bool takes = true;
  bool Hit() {
    calls.push_back(0);
    return takes;
  }
  bool HitWith(int a, float b) {
    calls.push_back(a + int(b * 10));
    return takes;
  }
  void Note(int a) { calls.push_back(a); }
};
}  // namespace

TEST(CallbackTest, KindsReportResultsOrFalse) {
  Counter c;
  auto* r = MakeCallback(&c, &Counter::HitWith, 3, 0.5f);
  EXPECT_EQ(r->CallKind, 3);  // bool result, two arguments
  auto* v = MakeCallback(&c, &Counter::Note, 7);
  EXPECT_EQ(v->CallKind, 8);  // no result, one argument
  c.AddCallback(kEvLDown, v);
  EXPECT_FALSE(c.SendEvent(kEvLDown));
  c.AddCallback(kEvLDown, r);
  EXPECT_TRUE(c.SendEvent(kEvLDown));
  EXPECT_EQ(c.calls, (std::vector<int>{7, 7, 8}));
}

TEST(CallbackTest, ReplaceRulesCompareFunctionAndArguments) {
  Counter c;
  c.AddCallback(kEvLDown, MakeCallback(&c, &Counter::Note, 1));
  c.AddCallback(kEvLDown, MakeCallback(&c, &Counter::Note, 2));
  c.AddCallback(kEvLDown, MakeCallback(&c, &Counter::Note, 1));  // same arguments: replaces
  c.AddCallback(kEvLUp, MakeCallback(&c, &Counter::Note, 1));    // another event: stays
  EXPECT_EQ(c.Callbacks.GetAmount(), 3);
  c.AddCallback(kEvLDown, MakeCallback(&c, &Counter::Note, 9), true);  // every Note of the event goes
  EXPECT_EQ(c.Callbacks.GetAmount(), 2);
  c.SendEvent(kEvLDown);
  EXPECT_EQ(c.calls, (std::vector<int>{9}));
}

TEST(CallbackTest, StopAfterEndsTheWalkOnlyWhenTaken) {
  Counter c;
  c.AddCallback(kEvLDown, MakeCallback(&c, &Counter::HitWith, 1, 0.0f));
  c.AddCallback(kEvLDown, MakeCallback(&c, &Counter::HitWith, 2, 0.0f));
  c.SendEvent(kEvLDown);
  EXPECT_EQ(c.calls, (std::vector<int>{1}));
  c.takes = false;
  c.calls.clear();
  c.SendEvent(kEvLDown);
  EXPECT_EQ(c.calls, (std::vector<int>{1, 2}));
}

TEST(CallbackTest, CallbackWhoseTargetIsGoneRemovesItself) {
  UiScope ui;
  auto* host = new Counter;
  ui.tree.Root().AddChild(host);
  auto* target = host->Add(new BaseWidget);
  host->AddCallback(kEvLDown, MakeCallback(host, &Counter::Hit)->For(target));
  EXPECT_TRUE(host->SendEvent(kEvLDown));
  EXPECT_EQ(host->Callbacks.GetAmount(), 1);
  host->Children.DelElement(0);  // the target is destroyed
  EXPECT_FALSE(host->SendEvent(kEvLDown));
  EXPECT_EQ(host->Callbacks.GetAmount(), 0);
  EXPECT_EQ(host->calls.size(), 1u);
}

TEST(CallbackTest, CallbackForAWidgetOutsideTheCallerRemovesItself) {
  Counter a;
  BaseWidget elsewhere;
  a.AddCallback(kEvLDown, MakeCallback(&a, &Counter::Hit)->For(&elsewhere));
  EXPECT_FALSE(a.SendEvent(kEvLDown));
  EXPECT_EQ(a.Callbacks.GetAmount(), 0);
}

TEST(CallbackTest, HotKeyNeedsItsKeyAndExactlyItsModifiers) {
  Counter c;
  constexpr int kS = 70;
  c.AddCallback(kEvKeyDown, MakeCallback(&c, &Counter::Hit)->WithHotKey(kS | 0x100));
  HotKeys() = HotKeyState{kS, true, false, false};
  EXPECT_TRUE(c.SendEvent(kEvKeyDown));
  HotKeys() = HotKeyState{kS, true, false, true};  // Shift held too
  EXPECT_FALSE(c.SendEvent(kEvKeyDown));
  HotKeys() = HotKeyState{kS, false, false, false};
  EXPECT_FALSE(c.SendEvent(kEvKeyDown));
  HotKeys() = HotKeyState{kS + 1, true, false, false};
  EXPECT_FALSE(c.SendEvent(kEvKeyDown));
  EXPECT_EQ(c.calls.size(), 1u);
  HotKeys() = HotKeyState();
}
