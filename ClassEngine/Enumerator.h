// Enumerator: a named integer enumeration (KEYCODES, TBNNORM, ...), owned by
// the registry and found by its name. The stored entries are names with
// values and optional hints; a Dynamic provider may supply further entries
// that follow the stored ones.
#pragma once
#include "ClassEngine/NameTable.h"
#include "ClassEngine/dynarray.h"

// Supplies entries computed at run time (the list of materials, of layers...).
class EnumeratorProvider {
 public:
  virtual ~EnumeratorProvider() = default;
  // -1 for a miss.
  virtual int GetValue(const char* name) = 0;
  virtual int GetAmount() = 0;
  virtual const char* GetName(int index) = 0;
  virtual const char* GetHint(int /*index*/) { return nullptr; }
};

class Enumerator {
 public:
  explicit Enumerator(const char* name);
  virtual ~Enumerator();
  Enumerator(const Enumerator&) = delete;
  Enumerator& operator=(const Enumerator&) = delete;

  // The hint text of stored entry `index`, or null.
  virtual const char* GetIndexHint(int index);

  NameTable Names;
  DynArray<int> Values;  // parallel to Names
  EnumeratorProvider* Dynamic = nullptr;
  DynArray<int> Hints;  // per entry: index into HintTexts, -1 for none
  NameTable HintTexts;
  char* EnumName = nullptr;

  // Adds an entry; value -1 takes the entry's index. Returns the index.
  int Add(const char* name, int value = -1, const char* hint = nullptr);
  // Value of `name`: the provider first, then the stored names; -1 for a miss.
  int Get(const char* name);
  // Name of `value`; past the stored entries the provider answers at
  // value - stored count. "" for none.
  const char* Get(int value);
  // Stored index of `name`, else stored count + the provider's index; -1.
  int GetIndex(const char* name);
  int GetStoredAmount() const { return Values.GetAmount(); }
  // Stored entries plus the provider's.
  int GetAmount();
  void Clear();
};
