// The event queue; see EventQueue.h.
#include "shell/EventQueue.h"

bool EventQueue::Accept(const InputEvent& e, double now) {
  // Pointer moves carry no key; every other kind must name a valid one.
  if (e.Kind != InputEvent::PointerMove && !keys::IsValid(e.Key)) return false;
  if (e.Kind == InputEvent::KeyChange) {
    if (e.Down)
      pressTime_[e.Key] = now;
    else
      held_[e.Key] = now - pressTime_[e.Key];
  }
  return true;
}

bool EventQueue::AddBack(const InputEvent& event, double now) {
  if (!Accept(event, now)) return false;
  events_.push_back(event);
  return true;
}

bool EventQueue::AddFront(const InputEvent& event, double now) {
  if (!Accept(event, now)) return false;
  events_.push_front(event);
  return true;
}

bool EventQueue::Take(InputEvent& out) {
  if (events_.empty()) return false;
  out = events_.front();
  events_.pop_front();
  return true;
}
