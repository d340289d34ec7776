// DynArray: the application's growable array of plain values or pointers.
// Elements move by flat memory copies and no constructor runs, so only
// trivially copyable types go in; the array never frees what its pointers
// point to. Growth keeps one spare slot: capacity becomes needed + Extra +
// capacity / 2 once capacity <= needed.
#pragma once
#include <cstring>
#include <type_traits>

#include "ClassEngine/Assert.h"
#include "ClassEngine/ExMalloc.h"

template <class T, int Extra = 15>
class DynArray {
  static_assert(std::is_trivially_copyable_v<T>, "DynArray holds plain values or pointers");

 public:
  T* Values = nullptr;
  int NValues = 0;
  int MaxValues = 0;

  DynArray() = default;
  DynArray(const DynArray& other) { *this = other; }
  DynArray& operator=(const DynArray& other) {
    if (this == &other) return *this;
    NValues = 0;
    if (other.NValues) {
      Reserve(other.NValues);
      memcpy((void*)Values, other.Values, sizeof(T) * other.NValues);
    }
    NValues = other.NValues;
    return *this;
  }
  ~DynArray() {
    cExFree(Values);
    Values = nullptr;
    NValues = MaxValues = 0;
  }

  int GetAmount() const { return NValues; }
  T& operator[](int i) { return Values[i]; }
  const T& operator[](int i) const { return Values[i]; }
  T* begin() { return Values; }
  T* end() { return Values + NValues; }
  const T* begin() const { return Values; }
  const T* end() const { return Values + NValues; }

  // Makes room for `needed` elements by the growth rule.
  void Reserve(int needed) {
    if (MaxValues > needed) return;
    int grown = MaxValues ? needed + Extra + MaxValues / 2 : needed + Extra;
    Reallocate(grown);
  }
  // Grows to exactly `capacity` elements (the pools size their free lists so).
  void ReserveExact(int capacity) {
    if (capacity > MaxValues) Reallocate(capacity);
  }

  int Add(const T& v) {
    T copy = v;  // v may live inside Values
    Reserve(NValues + 1);
    Values[NValues] = copy;
    return NValues++;
  }
  // Adds `count` copies; returns the index of the last one, or -1 for none.
  int Add(const T& v, int count) {
    if (count <= 0) return -1;
    T copy = v;
    Reserve(NValues + count);
    for (int i = 0; i < count; i++) Values[NValues + i] = copy;
    NValues += count;
    return NValues - 1;
  }
  void Insert(const T& v, int pos) {
    if (pos < 0) pos = 0;
    if (pos >= NValues) {
      Add(v);
      return;
    }
    T copy = v;
    Reserve(NValues + 1);
    memmove((void*)(Values + pos + 1), Values + pos, sizeof(T) * (NValues - pos));
    Values[pos] = copy;
    NValues++;
  }
  // Removes [first, first + count) clipped to the array; a negative first
  // shortens the count by as much.
  void Del(int first, int count) {
    if (first < 0) {
      count += first;
      first = 0;
    }
    if (first + count > NValues) count = NValues - first;
    if (count <= 0) return;
    memmove((void*)(Values + first), Values + first + count,
            sizeof(T) * (NValues - first - count));
    NValues -= count;
  }
  T& GetLast() {
    MV_ASSERT(NValues!=0);
    if (NValues == 0) {  // refused: hand out a zeroed stand-in, never Values
      static T none;
      none = T();
      return none;
    }
    return Values[NValues - 1];
  }
  int find(const T& v) const {
    for (int i = 0; i < NValues; i++)
      if (memcmp(&Values[i], &v, sizeof(T)) == 0) return i;
    return -1;
  }
  // Forgets the elements and keeps the storage.
  void FastClear() { NValues = 0; }
  void Clear() {
    cExFree(Values);
    Values = nullptr;
    NValues = MaxValues = 0;
  }

 private:
  void Reallocate(int capacity) {
    T* grown = (T*)cExMalloc((int)sizeof(T) * capacity);
    if (!grown) return;
    if (NValues) memcpy((void*)grown, Values, sizeof(T) * NValues);
    cExFree(Values);
    Values = grown;
    MaxValues = capacity;
  }
};
