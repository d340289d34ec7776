// BoundedSet: a fixed-capacity indexed set of plain values, as the mesh
// simplifier keeps its candidate lists. Removal moves the last value into the
// hole, so indices are not stable across removals.
#pragma once
#include "ClassEngine/Assert.h"
#include "ClassEngine/ExMalloc.h"

template <class T>
class BoundedSet {
 public:
  explicit BoundedSet(int capacity) : capacity_(capacity > 0 ? capacity : 0) {
    data_ = (T*)cExMalloc((int)sizeof(T) * (capacity_ ? capacity_ : 1));
  }
  BoundedSet(const BoundedSet&) = delete;
  BoundedSet& operator=(const BoundedSet&) = delete;
  ~BoundedSet() { cExFree(data_); }

  int size() const { return set_size; }
  int capacity() const { return capacity_; }
  bool full() const { return set_size >= capacity_; }
  // Index of the new value, or -1 when full.
  int add(const T& v) {
    if (full() || !data_) return -1;
    data_[set_size] = v;
    return set_size++;
  }
  void remove(int pos) {
    MV_ASSERT(pos>=0&&pos<set_size);
    if (pos < 0 || pos >= set_size) return;
    data_[pos] = data_[--set_size];
  }
  T& operator[](int pos) {
    MV_ASSERT(pos>=0&&pos<set_size);
    return data_[pos < 0 ? 0 : (pos >= capacity_ ? capacity_ - 1 : pos)];
  }
  void clear() { set_size = 0; }

 private:
  T* data_ = nullptr;
  int capacity_;
  int set_size = 0;
};
