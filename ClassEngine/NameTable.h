// A list of distinct names handing out their indices, as enumerators and
// class descriptors keep them. Up to 15 names it is a plain list searched in
// order; the 16th name moves them all, in order, into a Hash, which serves
// from then on. Indices do not change at the move.
#pragma once
#include "ClassEngine/dynarray.h"
#include "ClassEngine/khash.h"

class NameTable {
 public:
  static constexpr int kListLimit = 15;
  using NameHash = Hash<Str_for_hash, 257, 256>;

  NameTable() = default;
  NameTable(const NameTable&) = delete;
  NameTable& operator=(const NameTable&) = delete;
  ~NameTable() { Clear(); }

  // Index of the name, added if absent; -1 for null.
  int Add(const char* name);
  // -1 for a miss or null.
  int Find(const char* name) const;
  // Null outside the table.
  const char* Get(int index) const;
  int Count() const;
  bool UsesHash() const { return hash_ != nullptr; }
  void Clear();

 private:
  DynArray<char*> list_;
  NameHash* hash_ = nullptr;
};
