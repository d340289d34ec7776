// The 33 widget layers. A widget's id is (layer << 16) + slot, -1 for none.
// Each layer keeps a slot table, a free-slot list and a z-order of slots (last
// is in front). The layers own their widgets unless registered as borrowed.
// Removals asked for while events are dispatched wait until dispatch ends.
#pragma once
#include <functional>
#include <vector>

#include "shell/Widget.h"

class WidgetLayers {
 public:
  static constexpr int kLayerCount = 33;

  ~WidgetLayers();
  // Takes a free slot or appends one, and puts the widget in front. -1 for a
  // bad layer or a null widget. A borrowed widget is never deleted here.
  int Register(int layer, comms::cWidget* widget, bool borrowed = false);
  comms::cWidget* Get(int id) const;
  // Removes and deletes (unless borrowed); deferred while dispatching.
  void Remove(int id);
  // Removes without deleting; deferred while dispatching.
  void Detach(int id);
  void BringToFront(int id);
  int IdOf(const comms::cWidget* widget) const;

  int Capture() const { return capture_; }
  void SetCapture(int id) { capture_ = id; }

  // Capture first, then layers 32 down to 0 and each z-order from front to
  // back, skipping the capture widget in the layers. The walk stops when fn
  // returns true; the id it stopped at is returned, or -1.
  int Walk(const std::function<bool(int id, comms::cWidget&)>& fn) const;
  // Calls OnRender of one layer's widgets, back to front.
  void RenderLayer(int layer);
  // Deletes widgets whose IsFinished says so.
  void RemoveFinished();

  void BeginDispatch() { dispatching_ = true; }
  void EndDispatch();  // runs the deferred removals
  int Count(int layer) const;

 private:
  struct Slot {
    comms::cWidget* widget = nullptr;
    bool borrowed = false;
  };
  struct Layer {
    std::vector<Slot> slots;
    std::vector<int> freeSlots;
    std::vector<int> zOrder;
  };
  void RemoveNow(int id, bool destroy);
  bool Valid(int id) const;

  Layer layers_[kLayerCount];
  std::vector<int> deferredDeletes_, deferredDetaches_;
  int capture_ = -1;
  bool dispatching_ = false;
};
