// The name table: a list of pool strings up to 15 names, a Hash after.
#include "ClassEngine/NameTable.h"

#include <cstring>
#include <new>

#include "ClassEngine/BlockPool.h"

namespace {
char* PoolCopy(const char* s) {
  int n = (int)strlen(s) + 1;
  char* c = (char*)GetPool().Allocate(n);
  if (c) memcpy(c, s, n);
  return c;
}
void PoolRelease(char* s) {
  if (s) GetPool().Free(s, (int)strlen(s) + 1);
}
}  // namespace

int NameTable::Add(const char* name) {
  if (!name) return -1;
  if (hash_) return hash_->add(Str_for_hash(name));
  int found = Find(name);
  if (found >= 0) return found;
  if (list_.GetAmount() < kListLimit) return list_.Add(PoolCopy(name));
  void* place = cExMalloc((int)sizeof(NameHash));
  if (!place) return -1;
  hash_ = new (place) NameHash;
  for (char* s : list_) {
    hash_->add(Str_for_hash(s));
    PoolRelease(s);
  }
  list_.Clear();
  return hash_->add(Str_for_hash(name));
}

int NameTable::Find(const char* name) const {
  if (!name) return -1;
  if (hash_) return hash_->find(Str_for_hash(name));
  for (int i = 0; i < list_.GetAmount(); i++)
    if (strcmp(list_[i], name) == 0) return i;
  return -1;
}

const char* NameTable::Get(int index) const {
  if (index < 0 || index >= Count()) return nullptr;
  return hash_ ? hash_->get(index).str : list_[index];
}

int NameTable::Count() const { return hash_ ? hash_->size() : list_.GetAmount(); }

void NameTable::Clear() {
  for (char* s : list_) PoolRelease(s);
  list_.Clear();
  if (hash_) {
    hash_->~NameHash();
    cExFree(hash_);
    hash_ = nullptr;
  }
}
