// The widget layers; see WidgetLayers.h.
#include "shell/WidgetLayers.h"

#include <algorithm>

WidgetLayers::~WidgetLayers() {
  for (auto& layer : layers_)
    for (auto& s : layer.slots)
      if (s.widget && !s.borrowed) delete s.widget;
}

bool WidgetLayers::Valid(int id) const {
  if (id < 0) return false;
  int layer = id >> 16, slot = id & 0xffff;
  return layer < kLayerCount && slot < int(layers_[layer].slots.size()) && layers_[layer].slots[slot].widget;
}

int WidgetLayers::Register(int layer, comms::cWidget* widget, bool borrowed) {
  if (layer < 0 || layer >= kLayerCount || !widget) return -1;
  Layer& l = layers_[layer];
  int slot;
  if (!l.freeSlots.empty()) {
    slot = l.freeSlots.back();
    l.freeSlots.pop_back();
  } else {
    slot = int(l.slots.size());
    l.slots.emplace_back();
  }
  l.slots[slot] = {widget, borrowed};
  l.zOrder.push_back(slot);
  return (layer << 16) + slot;
}

comms::cWidget* WidgetLayers::Get(int id) const {
  return Valid(id) ? layers_[id >> 16].slots[id & 0xffff].widget : nullptr;
}

int WidgetLayers::IdOf(const comms::cWidget* widget) const {
  for (int layer = 0; layer < kLayerCount; ++layer)
    for (size_t s = 0; s < layers_[layer].slots.size(); ++s)
      if (widget && layers_[layer].slots[s].widget == widget) return (layer << 16) + int(s);
  return -1;
}

void WidgetLayers::RemoveNow(int id, bool destroy) {
  if (!Valid(id)) return;
  Layer& l = layers_[id >> 16];
  int slot = id & 0xffff;
  Slot s = l.slots[slot];
  l.slots[slot] = Slot{};
  l.freeSlots.push_back(slot);
  l.zOrder.erase(std::remove(l.zOrder.begin(), l.zOrder.end(), slot), l.zOrder.end());
  if (capture_ == id) capture_ = -1;
  if (destroy && !s.borrowed) delete s.widget;
}

void WidgetLayers::Remove(int id) {
  if (dispatching_)
    deferredDeletes_.push_back(id);
  else
    RemoveNow(id, true);
}

void WidgetLayers::Detach(int id) {
  if (dispatching_)
    deferredDetaches_.push_back(id);
  else
    RemoveNow(id, false);
}

void WidgetLayers::EndDispatch() {
  dispatching_ = false;
  // A widget asked to go twice must be removed once; RemoveNow ignores the
  // repeat because the slot is empty by then.
  for (int id : deferredDetaches_) RemoveNow(id, false);
  for (int id : deferredDeletes_) RemoveNow(id, true);
  deferredDetaches_.clear();
  deferredDeletes_.clear();
}

void WidgetLayers::BringToFront(int id) {
  if (!Valid(id)) return;
  auto& z = layers_[id >> 16].zOrder;
  int slot = id & 0xffff;
  z.erase(std::remove(z.begin(), z.end(), slot), z.end());
  z.push_back(slot);
}

int WidgetLayers::Walk(const std::function<bool(int, comms::cWidget&)>& fn) const {
  if (comms::cWidget* c = Get(capture_))
    if (fn(capture_, *c)) return capture_;
  for (int layer = kLayerCount - 1; layer >= 0; --layer) {
    // A copy: a handler may register widgets while we walk.
    std::vector<int> z = layers_[layer].zOrder;
    for (auto it = z.rbegin(); it != z.rend(); ++it) {
      int id = (layer << 16) + *it;
      if (id == capture_) continue;
      comms::cWidget* w = Get(id);
      if (w && fn(id, *w)) return id;
    }
  }
  return -1;
}

void WidgetLayers::RenderLayer(int layer) {
  if (layer < 0 || layer >= kLayerCount) return;
  std::vector<int> z = layers_[layer].zOrder;
  for (int slot : z)
    if (comms::cWidget* w = Get((layer << 16) + slot)) w->OnRender();
}

void WidgetLayers::RemoveFinished() {
  for (int layer = 0; layer < kLayerCount; ++layer)
    for (size_t s = 0; s < layers_[layer].slots.size(); ++s) {
      comms::cWidget* w = layers_[layer].slots[s].widget;
      if (w && w->IsFinished()) RemoveNow((layer << 16) + int(s), true);
    }
}

int WidgetLayers::Count(int layer) const {
  if (layer < 0 || layer >= kLayerCount) return 0;
  int n = 0;
  for (auto& s : layers_[layer].slots) n += s.widget != nullptr;
  return n;
}
