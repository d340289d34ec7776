// The queue between input sampling and dispatch. Adding stamps the per-key
// table: a press records the time, a release the held duration. Events for
// keys outside 0..121 are dropped.
#pragma once
#include <array>
#include <cstddef>
#include <deque>

#include "platform/Keys.h"
#include "shell/InputEvent.h"

class EventQueue {
 public:
  // `now` is the time base's seconds. False when the event was dropped.
  bool AddBack(const InputEvent& event, double now);
  bool AddFront(const InputEvent& event, double now);
  bool Take(InputEvent& out);
  bool Empty() const { return events_.empty(); }
  size_t Size() const { return events_.size(); }
  void Clear() { events_.clear(); }

  // When the key went down last (seconds), and how long its last press lasted.
  double PressTime(int key) const { return keys::IsValid(key) ? pressTime_[key] : 0; }
  double HeldDuration(int key) const { return keys::IsValid(key) ? held_[key] : 0; }

 private:
  bool Accept(const InputEvent& event, double now);
  std::deque<InputEvent> events_;
  std::array<double, keys::Count> pressTime_{};
  std::array<double, keys::Count> held_{};
};
