// The widget layers and the dispatch order: capture first, then layers 32..0
// front to back, the first taker stops the walk, finished widgets are
// deleted, removals during dispatch wait until it ends.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "shell/Dispatcher.h"
#include "shell/WidgetLayers.h"

namespace {
struct Probe : comms::cWidget {
  Probe(std::string n, std::vector<std::string>* log, bool takes = false) : name(std::move(n)), log(log), takes(takes) {}
  ~Probe() override {
    if (deleted) *deleted = true;
  }
  bool OnKeyDown(int key) override {
    log->push_back(name + ":down" + std::to_string(key));
    if (onKey) onKey();
    return takes;
  }
  bool OnKeyUp(int) override {
    log->push_back(name + ":up");
    return takes;
  }
  bool OnMouseMove() override {
    log->push_back(name + ":move");
    return takes;
  }
  bool OnChar(int code, bool isKey) override {
    log->push_back(name + ":char" + std::to_string(code) + (isKey ? "k" : "c"));
    return takes;
  }
  bool IsFinished() override { return finished; }
  bool OnHover(bool taken) override {
    log->push_back(name + (taken ? ":hover-taken" : ":hover"));
    return over;
  }
  bool GetCursor(int& id) override {
    id = cursor;
    return cursor >= 0;
  }
  bool GetHint(std::string& text, float&, float&) override {
    text = hint;
    return !hint.empty();
  }
  std::string name;
  std::vector<std::string>* log;
  bool takes, finished = false, over = false;
  bool* deleted = nullptr;
  int cursor = -1;
  std::string hint;
  std::function<void()> onKey;
};

InputEvent KeyDown(int key) {
  InputEvent e;
  e.Kind = InputEvent::KeyChange;
  e.Key = key;
  e.Down = 1;
  return e;
}
}  // namespace

TEST(WidgetLayers, IdsSlotsAndBadInput) {
  std::vector<std::string> log;
  WidgetLayers layers;
  Probe refused("x", &log);  // a refused widget stays its caller's
  EXPECT_EQ(layers.Register(33, &refused), -1);
  EXPECT_EQ(layers.Register(-1, &refused), -1);
  EXPECT_EQ(layers.Register(4, nullptr), -1);
  int a = layers.Register(4, new Probe("a", &log));
  int b = layers.Register(4, new Probe("b", &log));
  EXPECT_EQ(a, (4 << 16) + 0);
  EXPECT_EQ(b, (4 << 16) + 1);
  layers.Remove(a);
  EXPECT_EQ(layers.Get(a), nullptr);
  int c = layers.Register(4, new Probe("c", &log));
  EXPECT_EQ(c, a) << "a freed slot is taken again";
  EXPECT_EQ(layers.Count(4), 2);
  EXPECT_EQ(layers.Register(32, new Probe("top", &log)), 32 << 16);
}

TEST(WidgetLayers, WalkOrderCaptureLayersAndZOrder) {
  std::vector<std::string> log;
  WidgetLayers layers;
  layers.Register(0, new Probe("scene", &log));
  int back = layers.Register(4, new Probe("back", &log));
  layers.Register(4, new Probe("front", &log));
  layers.Register(32, new Probe("top", &log));
  int cap = layers.Register(1, new Probe("captured", &log));
  layers.SetCapture(cap);
  EXPECT_FALSE(Dispatcher::Offer(layers, KeyDown(5)));
  EXPECT_EQ(log, (std::vector<std::string>{"captured:down5", "top:down5", "front:down5", "back:down5", "scene:down5"}));

  log.clear();
  layers.BringToFront(back);
  layers.SetCapture(-1);
  Dispatcher::Offer(layers, KeyDown(6));
  EXPECT_EQ(log, (std::vector<std::string>{"top:down6", "back:down6", "front:down6", "captured:down6", "scene:down6"}));
}

TEST(WidgetLayers, FirstTakerStopsAndKindsReachTheirHandlers) {
  std::vector<std::string> log;
  WidgetLayers layers;
  layers.Register(2, new Probe("low", &log, true));
  layers.Register(3, new Probe("taker", &log, true));
  EXPECT_TRUE(Dispatcher::Offer(layers, KeyDown(1)));
  InputEvent up = KeyDown(1);
  up.Down = 0;
  Dispatcher::Offer(layers, up);
  InputEvent move;
  move.Kind = InputEvent::PointerMove;
  Dispatcher::Offer(layers, move);
  InputEvent ch;
  ch.Kind = InputEvent::Character;
  ch.Key = 52;
  ch.Code = 'a';
  Dispatcher::Offer(layers, ch);
  EXPECT_EQ(log, (std::vector<std::string>{"taker:down1", "taker:up", "taker:move", "taker:char97c"}));
}

TEST(Dispatcher, FinishedWidgetsDeletedAndRemovalsDeferred) {
  std::vector<std::string> log;
  WidgetLayers layers;
  EventQueue queue;
  bool finishedGone = false, removedGone = false;
  auto* finished = new Probe("finished", &log);
  finished->finished = true;
  finished->deleted = &finishedGone;
  int fid = layers.Register(3, finished);
  auto* victim = new Probe("victim", &log);
  victim->deleted = &removedGone;
  int vid = layers.Register(1, victim);
  auto* remover = new Probe("remover", &log);
  remover->onKey = [&] {
    layers.Remove(vid);
    EXPECT_NE(layers.Get(vid), nullptr) << "removal waits for the end of dispatch";
  };
  layers.Register(2, remover);
  queue.AddBack(KeyDown(7), 0);
  queue.AddBack(KeyDown(8), 0);
  Dispatcher d;
  d.Run(layers, queue, 0.016f, 0, 0);
  EXPECT_TRUE(finishedGone);
  EXPECT_EQ(layers.Get(fid), nullptr);
  EXPECT_TRUE(removedGone);
  EXPECT_EQ(layers.Get(vid), nullptr);
  // The victim still heard both events of the frame in which it was removed.
  EXPECT_EQ(std::count(log.begin(), log.end(), "victim:down8"), 1);
  EXPECT_TRUE(queue.Empty());
  EXPECT_EQ(layers.Register(1, new Probe("again", &log)), vid) << "the slot went back to the free list";
}

TEST(Dispatcher, HoverPassTellsLaterWidgetsThePointerIsTaken) {
  std::vector<std::string> log;
  WidgetLayers layers;
  EventQueue queue;
  auto* low = new Probe("low", &log);
  low->over = true;
  layers.Register(1, low);
  auto* high = new Probe("high", &log);
  high->over = true;
  high->cursor = 3;
  int hid = layers.Register(5, high);
  Dispatcher d;
  int cursorSet = -1;
  d.Run(layers, queue, 0.016f, 0, 0, [](void* ctx, int id) { *static_cast<int*>(ctx) = id; }, &cursorSet);
  EXPECT_EQ(d.HoverId(), hid);
  EXPECT_EQ(cursorSet, 3);
  EXPECT_EQ(log, (std::vector<std::string>{"high:hover", "low:hover-taken"}));
}

TEST(Dispatcher, HintAppearsAfterHalfASecondAtThePointerThenClears) {
  std::vector<std::string> log;
  WidgetLayers layers;
  EventQueue queue;
  auto* w = new Probe("w", &log);
  w->over = true;
  w->hint = "HINT_TEXT";
  int id = layers.Register(4, w);
  Dispatcher d;
  for (int i = 0; i < 3; ++i) d.Run(layers, queue, 0.125f, 10, 20);
  EXPECT_TRUE(d.Hint().text.empty());
  d.Run(layers, queue, 0.125f, 11, 21);  // 0.5 s: the timer reaches 0
  EXPECT_EQ(d.Hint().text, "HINT_TEXT");
  EXPECT_FLOAT_EQ(d.Hint().x, 11);
  d.Run(layers, queue, 0.125f, 50, 60);  // still there; the position stays
  EXPECT_FLOAT_EQ(d.Hint().x, 11);
  layers.SetCapture(id);  // the capture widget shows no hint
  d.Run(layers, queue, 0.125f, 50, 60);
  EXPECT_TRUE(d.Hint().text.empty());
  EXPECT_FLOAT_EQ(d.HintTimer(), 0.125f);
}

TEST(WidgetLayers, BorrowedAndDetachedWidgetsAreNotDeleted) {
  std::vector<std::string> log;
  bool gone = false;
  Probe borrowed("settings", &log);
  borrowed.deleted = &gone;
  {
    WidgetLayers layers;
    int id = layers.Register(4, &borrowed, true);
    layers.SetCapture(id);
    layers.Remove(id);
    EXPECT_EQ(layers.Capture(), -1) << "a removed widget stops capturing";
    layers.Register(4, &borrowed, true);
  }  // the layers go; the borrowed widget stays
  EXPECT_FALSE(gone);
  auto* owned = new Probe("owned", &log);
  bool ownedGone = false;
  owned->deleted = &ownedGone;
  WidgetLayers layers;
  int id = layers.Register(2, owned);
  layers.Detach(id);
  EXPECT_FALSE(ownedGone);
  EXPECT_EQ(layers.Get(id), nullptr);
  delete owned;
}
