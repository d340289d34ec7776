// Gives one frame's queued events to the widget layers: finished widgets go,
// the hover pass finds the widget under the pointer and its cursor, the hint
// timer decides whether a hint shows, then every event is offered until one
// widget takes it, and the removals asked for meanwhile run.
#pragma once
#include <string>

#include "shell/EventQueue.h"
#include "shell/WidgetLayers.h"

struct PublishedHint {
  std::string text;  // empty: no hint
  float x = 0, y = 0;
};

class Dispatcher {
 public:
  static constexpr float kHintDelay = 0.5f;

  // `pointerX/Y` is where the pointer is now, `delta` the frame's seconds.
  // `setCursor` receives the hover widget's cursor, if it sets one.
  void Run(WidgetLayers& layers, EventQueue& queue, float delta, float pointerX, float pointerY,
           void (*setCursor)(void* ctx, int id) = nullptr, void* ctx = nullptr);

  int HoverId() const { return hover_; }
  const PublishedHint& Hint() const { return hint_; }
  float HintTimer() const { return hintTimer_; }
  // Pointer and wheel of the event taken last, for the rest of the frame.
  float EventX() const { return eventX_; }
  float EventY() const { return eventY_; }
  float EventWheel() const { return eventWheel_; }
  bool EventDoubleClick() const { return eventDouble_; }
  // Offers one event to the layers; true if some widget took it.
  static bool Offer(WidgetLayers& layers, const InputEvent& e);

 private:
  void HoverPass(WidgetLayers& layers, void (*setCursor)(void*, int), void* ctx);
  void HintTimerStep(WidgetLayers& layers, float delta, float px, float py);

  PublishedHint hint_;
  std::string pendingText_;
  int hover_ = -1;
  float hintTimer_ = kHintDelay;
  float eventX_ = 0, eventY_ = 0, eventWheel_ = 0;
  bool eventDouble_ = false;
};
