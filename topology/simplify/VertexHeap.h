// A binary min-heap of vertex indices ordered by the vertices' `cost`, each
// vertex keeping its slot in `heapSlot` (-1 out of the heap), so that an
// entry can be taken out from the middle in O(log n). What it holds and in
// which order it gives ties depends only on the sequence of calls.
#pragma once
#include <vector>

template <class Record>
class VertexHeap {
 public:
  explicit VertexHeap(std::vector<Record>& records) : records_(records) {}
  void Reserve(size_t n) { items_.reserve(n); }
  bool Empty() const { return items_.empty(); }
  int Size() const { return (int)items_.size(); }
  void Push(int v) {
    items_.push_back(v);
    records_[size_t(v)].heapSlot = Size() - 1;
    SiftUp(Size() - 1);
  }
  // The cheapest vertex, taken out; -1 when empty.
  int Pop() {
    if (items_.empty()) return -1;
    const int top = items_[0];
    Remove(top);
    return top;
  }
  // Takes v out if it is in.
  void Remove(int v) {
    const int slot = records_[size_t(v)].heapSlot;
    if (slot < 0) return;
    records_[size_t(v)].heapSlot = -1;
    const int last = items_.back();
    items_.pop_back();
    if (last == v) return;
    Place(slot, last);
    SiftUp(slot);
    SiftDown(records_[size_t(last)].heapSlot);
  }
  void Clear() {
    for (int v : items_) records_[size_t(v)].heapSlot = -1;
    items_.clear();
  }

 private:
  float Cost(int v) const { return records_[size_t(v)].cost; }
  void Place(int slot, int v) {
    items_[size_t(slot)] = v;
    records_[size_t(v)].heapSlot = slot;
  }
  void SiftUp(int slot) {
    const int v = items_[size_t(slot)];
    while (slot > 0) {
      const int parent = (slot - 1) / 2;
      if (!(Cost(v) < Cost(items_[size_t(parent)]))) break;
      Place(slot, items_[size_t(parent)]);
      slot = parent;
    }
    Place(slot, v);
  }
  void SiftDown(int slot) {
    const int v = items_[size_t(slot)], n = Size();
    for (;;) {
      int child = 2 * slot + 1;
      if (child >= n) break;
      if (child + 1 < n && Cost(items_[size_t(child + 1)]) < Cost(items_[size_t(child)])) ++child;
      if (!(Cost(items_[size_t(child)]) < Cost(v))) break;
      Place(slot, items_[size_t(child)]);
      slot = child;
    }
    Place(slot, v);
  }

  std::vector<Record>& records_;
  std::vector<int> items_;
};
