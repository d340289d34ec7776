// IdTable<T>: a flat table of records told by int id. A freed id goes on a free
// list and the next Add takes it back, last freed first; no record ever moves
// to another id. Every lookup of an id out of range or freed answers null.
#pragma once
#include <utility>
#include <vector>

namespace comms {

template <class T>
class IdTable {
 public:
  int Add(T value) {
    if (!free_.empty()) {
      int id = free_.back();
      free_.pop_back();
      items_[id] = std::move(value);
      live_[id] = true;
      return id;
    }
    items_.push_back(std::move(value));
    live_.push_back(true);
    return int(items_.size()) - 1;
  }
  bool Free(int id) {
    if (!Get(id)) return false;
    items_[id] = T();
    live_[id] = false;
    free_.push_back(id);
    return true;
  }
  T* Get(int id) { return id >= 0 && id < int(items_.size()) && live_[id] ? &items_[id] : nullptr; }
  const T* Get(int id) const { return id >= 0 && id < int(items_.size()) && live_[id] ? &items_[id] : nullptr; }
  // One past the highest id ever given; iterate with Get to skip freed ones.
  int End() const { return int(items_.size()); }
  int LiveCount() const { return int(items_.size() - free_.size()); }
  void Clear() {
    items_.clear();
    live_.clear();
    free_.clear();
  }

 private:
  std::vector<T> items_;
  std::vector<bool> live_;
  std::vector<int> free_;
};

}  // namespace comms
