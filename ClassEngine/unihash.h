// uni_hash: the general hash of the geometry code, for keys of one to three
// small integers. Several elements may share a key; they are kept in chain
// order and reached with a skip count. Elements come from blocks allocated
// with cExMalloc, so adding pays no heap call per element; each element keeps
// its pool index, stored as -1 - index while it sits on the free list.
#pragma once
#include <array>
#include <cstdint>
#include <cstring>
#include <new>

#include "ClassEngine/Assert.h"
#include "ClassEngine/ExMalloc.h"
#include "ClassEngine/dynarray.h"

// BlockElements 0 picks the count by the element's size: 200 for the small
// elements (20 bytes with 32-bit pointers, up to 24 with 64-bit ones), else
// about 2 kB worth (64 for 32 bytes).
template <int NKeys, class V, int BlockElements = 0>
class uni_hash {
  static_assert(NKeys >= 1 && NKeys <= 3, "one to three key parts");

 public:
  using key_type = std::array<int, NKeys>;

  struct element {
    int key[NKeys];
    V value;
    element* next;
    int index;
  };
  static constexpr int kBlock =
      BlockElements > 0 ? BlockElements
                        : (sizeof(element) <= 24 ? 200 : (int)(2048 / sizeof(element) > 0 ? 2048 / sizeof(element) : 1));

  explicit uni_hash(int tableSize = 1024, const V& defaultValue = V())
      : table_size_(tableSize > 0 ? tableSize : 1), default_value_(defaultValue) {
    table_ = (element**)cExMalloc((int)sizeof(element*) * table_size_);
    if (table_) memset(table_, 0, sizeof(element*) * table_size_);
  }
  uni_hash(const uni_hash&) = delete;
  uni_hash& operator=(const uni_hash&) = delete;
  ~uni_hash() {
    reset();
    for (element* b : blocks_) {
      for (int i = 0; i < kBlock; i++) b[i].~element();
      cExFree(b);
    }
    cExFree(table_);
  }

  static uint32_t bucket_of(const key_type& k, uint32_t size) {
    uint32_t h = (uint32_t)k[0];
    if constexpr (NKeys > 1) h += (uint32_t)k[1] * 123761u;
    if constexpr (NKeys > 2) h += (uint32_t)k[2] * 1971u;
    return h % size;
  }

  // Appends at the end of the key's chain.
  V* add(const key_type& k, const V& value) {
    element* n = take(k, value);
    if (!n) return nullptr;
    element** link = &table_[bucket_of(k, table_size_)];
    while (element* el = *link) {
      MV_ASSERT(el!=el->next);
      if (el == el->next) break;  // a self-linked chain: stop rather than spin
      link = &el->next;
    }
    *link = n;
    return &n->value;
  }
  // Puts the element at the head of the chain, without a walk.
  V* add_first(const key_type& k, const V& value) {
    element* n = take(k, value);
    if (!n) return nullptr;
    element*& head = table_[bucket_of(k, table_size_)];
    n->next = head;
    head = n;
    return &n->value;
  }
  // The value of the skip-th element with key k in chain order; on a miss,
  // null, or with add_if_absent a new element holding the default value.
  V* get(const key_type& k, int skip = 0, bool add_if_absent = false) {
    for (element* el = table_[bucket_of(k, table_size_)]; el; el = el->next)
      if (same(el, k) && skip-- == 0) return &el->value;
    return add_if_absent ? add(k, default_value_) : nullptr;
  }
  // Removes the first element with key k; false if none.
  bool del(const key_type& k) {
    for (element** link = &table_[bucket_of(k, table_size_)]; *link; link = &(*link)->next) {
      element* el = *link;
      if (!same(el, k)) continue;
      *link = el->next;
      give_back(el);
      return true;
    }
    return false;
  }
  // Every element goes back to the free list; the blocks stay.
  void reset() {
    for (int b = 0; b < table_size_; b++) {
      element* el = table_[b];
      table_[b] = nullptr;
      while (el) {
        element* next = el->next;
        give_back(el);
        el = next;
      }
    }
  }

  int size() const { return count_; }
  int table_size() const { return table_size_; }
  const V& default_value() const { return default_value_; }
  int blocks() const { return blocks_.GetAmount(); }
  // The element with pool index i (tests and diagnostics).
  const element& at(int i) const { return blocks_[i / kBlock][i % kBlock]; }

  // Calls f(key, value) for every element, bucket by bucket in chain order.
  template <class F>
  void for_each(F&& f) {
    for (int b = 0; b < table_size_; b++)
      for (element* el = table_[b]; el; el = el->next) f(el->key, el->value);
  }

 private:
  static bool same(const element* el, const key_type& k) {
    for (int i = 0; i < NKeys; i++)
      if (el->key[i] != k[i]) return false;
    return true;
  }
  element* take(const key_type& k, const V& value) {
    if (!free_ && !grow()) return nullptr;
    element* fv = free_;
    free_ = fv->next;
    fv->index = -1 - fv->index;
    MV_ASSERT(fv->index>=0);
    for (int i = 0; i < NKeys; i++) fv->key[i] = k[i];
    fv->value = value;
    fv->next = nullptr;
    count_++;
    return fv;
  }
  void give_back(element* el) {
    el->index = -1 - el->index;
    el->value = default_value_;
    el->next = free_;
    free_ = el;
    count_--;
  }
  bool grow() {
    element* b = (element*)cExMalloc((int)sizeof(element) * kBlock);
    if (!b) return false;
    int first = blocks_.GetAmount() * kBlock;
    blocks_.Add(b);
    // Linked in reverse so the block is handed out from its start.
    for (int i = kBlock - 1; i >= 0; i--) {
      new (&b[i]) element{};
      b[i].index = -1 - (first + i);
      b[i].next = free_;
      free_ = &b[i];
    }
    return true;
  }

  int table_size_;
  element** table_ = nullptr;
  V default_value_;
  DynArray<element*> blocks_;
  element* free_ = nullptr;
  int count_ = 0;
};
