// The event queue: order of the two add forms, dropped keys, and the per-key
// press time and held duration.
#include <gtest/gtest.h>

#include "shell/EventQueue.h"

namespace {
InputEvent Key(int key, bool down) {
  InputEvent e;
  e.Kind = InputEvent::KeyChange;
  e.Key = key;
  e.Down = down;
  return e;
}
}  // namespace

TEST(EventQueue, FrontAndBackOrderAndDroppedKeys) {
  EventQueue q;
  EXPECT_TRUE(q.AddBack(Key(1, true), 0));
  EXPECT_TRUE(q.AddBack(Key(2, true), 0));
  EXPECT_TRUE(q.AddFront(Key(121, true), 0));
  EXPECT_FALSE(q.AddBack(Key(122, true), 0));
  EXPECT_FALSE(q.AddFront(Key(-1, true), 0));
  InputEvent c;
  c.Kind = InputEvent::Character;
  c.Key = 500;
  EXPECT_FALSE(q.AddBack(c, 0));
  InputEvent move;
  move.Kind = InputEvent::PointerMove;
  EXPECT_TRUE(q.AddBack(move, 0)) << "a move names no key";
  InputEvent e;
  std::vector<int> order;
  while (q.Take(e)) order.push_back(e.Key);
  EXPECT_EQ(order, (std::vector<int>{121, 1, 2, -1}));
}

TEST(EventQueue, PressTimeAndHeldDuration) {
  EventQueue q;
  q.AddBack(Key(52, true), 1.5);
  EXPECT_DOUBLE_EQ(q.PressTime(52), 1.5);
  q.AddBack(Key(52, false), 2.25);
  EXPECT_DOUBLE_EQ(q.HeldDuration(52), 0.75);
  EXPECT_DOUBLE_EQ(q.PressTime(300), 0);
}
