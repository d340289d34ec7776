// A chained hash map from an integer triple (cell, group or tree key) to a
// value, with a fixed bucket count that is never rehashed. Entries live in
// chunks of 512 slots and iteration walks the slots in order, so the order of
// a walk depends only on the history of inserts and removals, not on addresses.
#pragma once
#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

struct CellKey {
  int x = 0, y = 0, z = 0;
  bool operator==(const CellKey& o) const { return x == o.x && y == o.y && z == o.z; }
};

// The key hash every volume map uses: unsigned arithmetic, then modulo buckets.
inline uint32_t CellKeyHash(int x, int y, int z, uint32_t buckets) {
  return ((uint32_t)y * 123761u + (uint32_t)x + (uint32_t)z * 1971u) % buckets;
}

template <class V>
class CellKeyMap {
 public:
  static constexpr int kChunk = 512;
  struct Entry {
    CellKey key;
    V value{};
    int next = -1;  // slot of the next entry in the bucket chain
    int slot = -1;  // own slot index, below 0 while the slot is free
  };

  explicit CellKeyMap(uint32_t buckets) : buckets_(buckets), heads_(buckets, -1) {}

  uint32_t Buckets() const { return buckets_; }
  int Count() const { return count_; }
  int SlotCount() const { return (int)chunks_.size() * kChunk; }

  V* Find(int x, int y, int z) {
    int s = heads_[CellKeyHash(x, y, z, buckets_)];
    while (s >= 0) {
      Entry& e = At(s);
      if (e.key.x == x && e.key.y == y && e.key.z == z) return &e.value;
      s = e.next;
    }
    return nullptr;
  }
  const V* Find(int x, int y, int z) const { return const_cast<CellKeyMap*>(this)->Find(x, y, z); }

  // Inserts or overwrites; returns the stored value.
  V& Set(int x, int y, int z, const V& v) {
    if (V* old = Find(x, y, z)) {
      *old = v;
      return *old;
    }
    int s = TakeSlot();
    Entry& e = At(s);
    e.key = {x, y, z};
    e.value = v;
    e.slot = s;
    uint32_t h = CellKeyHash(x, y, z, buckets_);
    e.next = heads_[h];
    heads_[h] = s;
    ++count_;
    return e.value;
  }

  bool Remove(int x, int y, int z) {
    uint32_t h = CellKeyHash(x, y, z, buckets_);
    int* link = &heads_[h];
    while (*link >= 0) {
      Entry& e = At(*link);
      if (e.key.x == x && e.key.y == y && e.key.z == z) {
        int s = *link;
        *link = e.next;
        e.slot = -1;
        e.value = V{};
        e.next = free_;
        free_ = s;
        --count_;
        return true;
      }
      link = &e.next;
    }
    return false;
  }

  void Clear() {
    if (count_ == 0 && chunks_.empty()) return;
    std::fill(heads_.begin(), heads_.end(), -1);
    chunks_.clear();
    free_ = -1;
    count_ = 0;
  }

  // Calls fn(key, value&) for every live entry in slot order.
  template <class Fn>
  void ForEach(Fn&& fn) {
    for (auto& chunk : chunks_)
      for (int i = 0; i < kChunk; ++i)
        if (chunk[i].slot >= 0) fn(chunk[i].key, chunk[i].value);
  }
  template <class Fn>
  void ForEach(Fn&& fn) const {
    for (auto& chunk : chunks_)
      for (int i = 0; i < kChunk; ++i)
        if (chunk[i].slot >= 0) fn(chunk[i].key, (const V&)chunk[i].value);
  }

  // Bytes held by the buckets and the element chunks.
  size_t MemoryUsed() const {
    return heads_.size() * sizeof(int) + chunks_.size() * kChunk * sizeof(Entry);
  }

 private:
  Entry& At(int s) { return chunks_[s / kChunk][s % kChunk]; }
  int TakeSlot() {
    if (free_ < 0) {
      int base = (int)chunks_.size() * kChunk;
      chunks_.push_back(std::make_unique<Entry[]>(kChunk));
      // Free list in ascending slot order so a fresh map fills slots 0, 1, 2...
      for (int i = kChunk - 1; i >= 0; --i) {
        chunks_.back()[i].next = free_;
        free_ = base + i;
      }
    }
    int s = free_;
    free_ = At(s).next;
    return s;
  }

  uint32_t buckets_;
  std::vector<int> heads_;
  std::vector<std::unique_ptr<Entry[]>> chunks_;
  int free_ = -1;
  int count_ = 0;
};
