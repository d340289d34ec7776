// comms::cList: the comms library's growable array. Unlike DynArray it copies
// element by element, so lists of cStr keep their strings intact, and it grows
// to Count + n + 32 + Capacity / 2 once Capacity <= Count + n.
#pragma once
#include <new>
#include <utility>

#include "ClassEngine/ExMalloc.h"

namespace comms {

template <class T>
class cList {
 public:
  int Count = 0;
  int Capacity = 0;
  T* Data = nullptr;

  cList() = default;
  cList(const cList& other) { *this = other; }
  cList& operator=(const cList& other) {
    if (this == &other) return *this;
    Resize(0);
    Reserve(other.Count);
    for (int i = 0; i < other.Count; i++) new (&Data[i]) T(other.Data[i]);
    Count = other.Count;
    return *this;
  }
  ~cList() { Resize(0); }

  int GetCount() const { return Count; }
  T& operator[](int i) { return Data[i]; }
  const T& operator[](int i) const { return Data[i]; }
  T* begin() { return Data; }
  T* end() { return Data + Count; }
  const T* begin() const { return Data; }
  const T* end() const { return Data + Count; }

  // Adds n copies of v; returns the index of the last one.
  int Add(const T& v, int n = 1) {
    if (n <= 0) return Count - 1;
    T copy = v;  // v may live inside Data
    Grow(n);
    for (int i = 0; i < n; i++) new (&Data[Count + i]) T(copy);
    Count += n;
    return Count - 1;
  }
  // Inserts n copies of v before `pos`, shifting the tail up.
  void Insert(int pos, const T& v, int n = 1) {
    if (n <= 0) return;
    if (pos < 0) pos = 0;
    if (pos > Count) pos = Count;
    T copy = v;
    Grow(n);
    for (int i = Count - 1; i >= pos; i--) {
      new (&Data[i + n]) T(std::move(Data[i]));
      Data[i].~T();
    }
    for (int i = 0; i < n; i++) new (&Data[pos + i]) T(copy);
    Count += n;
  }
  void RemoveAt(int pos, int n = 1) {
    if (pos < 0 || n <= 0 || pos >= Count) return;
    if (pos + n > Count) n = Count - pos;
    for (int i = pos; i + n < Count; i++) Data[i] = std::move(Data[i + n]);
    for (int i = Count - n; i < Count; i++) Data[i].~T();
    Count -= n;
  }
  // 0 or below frees everything; below Count cuts; above Count adds defaults.
  void Resize(int n) {
    if (n <= 0) {
      for (int i = 0; i < Count; i++) Data[i].~T();
      cExFree(Data);
      Data = nullptr;
      Count = Capacity = 0;
      return;
    }
    if (n < Count) {
      for (int i = n; i < Count; i++) Data[i].~T();
      Count = n;
      return;
    }
    if (n > Count) Add(T(), n - Count);
  }
  void Clear() { Resize(0); }
  int IndexOf(const T& v) const {
    for (int i = 0; i < Count; i++)
      if (Data[i] == v) return i;
    return -1;
  }

 private:
  void Grow(int n) {
    if (Capacity > Count + n) return;
    Reserve(Count + n + 32 + Capacity / 2);
  }
  void Reserve(int capacity) {
    if (capacity <= Capacity) return;
    T* grown = (T*)cExMalloc((int)sizeof(T) * capacity);
    if (!grown) return;
    for (int i = 0; i < Count; i++) {
      new (&grown[i]) T(std::move(Data[i]));
      Data[i].~T();
    }
    cExFree(Data);
    Data = grown;
    Capacity = capacity;
  }
};

}  // namespace comms
