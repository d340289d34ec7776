// The dispatch step of the frame; see Dispatcher.h.
#include "shell/Dispatcher.h"

#include <algorithm>

void Dispatcher::HoverPass(WidgetLayers& layers, void (*setCursor)(void*, int), void* ctx) {
  hover_ = -1;
  // Every widget hears about the pointer, so the walk never stops early; the
  // first that claims it is the hover widget and the rest learn it is taken.
  layers.Walk([&](int id, comms::cWidget& w) {
    if (w.OnHover(hover_ >= 0) && hover_ < 0) hover_ = id;
    return false;
  });
  if (comms::cWidget* w = layers.Get(hover_)) {
    int cursor = 0;
    if (w->GetCursor(cursor) && setCursor) setCursor(ctx, cursor);
  }
}

void Dispatcher::HintTimerStep(WidgetLayers& layers, float delta, float px, float py) {
  std::string text;
  float hx = 0, hy = 0;
  comms::cWidget* w = layers.Get(hover_);
  bool offers = w && hover_ != layers.Capture() && w->GetHint(text, hx, hy);
  float before = hintTimer_;
  hintTimer_ = std::clamp(offers ? hintTimer_ - delta : hintTimer_ + delta, 0.0f, kHintDelay);
  if (hintTimer_ <= 0.0f) {
    if (before > 0.0f) hint_.x = px, hint_.y = py;  // where the pointer was when it appeared
    hint_.text = text;
  } else {
    hint_.text.clear();
  }
}

bool Dispatcher::Offer(WidgetLayers& layers, const InputEvent& e) {
  return layers.Walk([&](int, comms::cWidget& w) {
           switch (e.Kind) {
             case InputEvent::KeyChange: return e.Down ? w.OnKeyDown(e.Key) : w.OnKeyUp(e.Key);
             case InputEvent::PointerMove: return w.OnMouseMove();
             case InputEvent::Character: return w.OnChar(e.Code, e.IsKey != 0);
             default: return false;
           }
         }) >= 0;
}

void Dispatcher::Run(WidgetLayers& layers, EventQueue& queue, float delta, float px, float py,
                     void (*setCursor)(void*, int), void* ctx) {
  layers.RemoveFinished();
  layers.BeginDispatch();
  HoverPass(layers, setCursor, ctx);
  HintTimerStep(layers, delta, px, py);
  InputEvent e;
  while (queue.Take(e)) {
    // Published before the offer so that the handler reads this event's values.
    if (e.Kind != InputEvent::Character) eventX_ = e.x, eventY_ = e.y;
    eventWheel_ = e.wheel;
    eventDouble_ = e.DoubleClick != 0;
    Offer(layers, e);
  }
  layers.EndDispatch();
}
