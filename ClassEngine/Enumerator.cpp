// Enumerator lookups: stored entries first or last as each lookup needs,
// the Dynamic provider for the rest.
#include "ClassEngine/Enumerator.h"

#include <cstring>

#include "ClassEngine/ExMalloc.h"

Enumerator::Enumerator(const char* name) {
  const char* n = name ? name : "";
  size_t len = strlen(n) + 1;
  EnumName = (char*)cExMalloc((int)len);
  if (EnumName) memcpy(EnumName, n, len);
}

Enumerator::~Enumerator() { cExFree(EnumName); }

const char* Enumerator::GetIndexHint(int index) {
  if (index < 0) return nullptr;
  if (index >= Hints.GetAmount())
    return Dynamic ? Dynamic->GetHint(index - Values.GetAmount()) : nullptr;
  return HintTexts.Get(Hints[index]);
}

int Enumerator::Add(const char* name, int value, const char* hint) {
  if (!name) return -1;
  int before = Names.Count();
  int i = Names.Add(name);
  if (i < 0) return -1;
  if (value == -1) value = i;
  int h = hint ? HintTexts.Add(hint) : -1;
  if (i >= before) {
    Values.Add(value);
    Hints.Add(h);
  } else {  // a name added again takes the new value
    Values[i] = value;
    Hints[i] = h;
  }
  return i;
}

int Enumerator::Get(const char* name) {
  if (!name) return -1;
  if (Dynamic) {
    int v = Dynamic->GetValue(name);
    if (v != -1) return v;
  }
  int i = Names.Find(name);
  return i < 0 ? -1 : Values[i];
}

const char* Enumerator::Get(int value) {
  for (int i = 0; i < Values.GetAmount(); i++)
    if (Values[i] == value) return Names.Get(i);
  if (Dynamic && value >= Values.GetAmount()) {
    const char* s = Dynamic->GetName(value - Values.GetAmount());
    if (s) return s;
  }
  return "";
}

int Enumerator::GetIndex(const char* name) {
  int i = Names.Find(name);
  if (i >= 0 || !Dynamic || !name) return i;
  int n = Dynamic->GetAmount();
  for (int k = 0; k < n; k++) {
    const char* s = Dynamic->GetName(k);
    if (s && strcmp(s, name) == 0) return Values.GetAmount() + k;
  }
  return -1;
}

int Enumerator::GetAmount() { return Values.GetAmount() + (Dynamic ? Dynamic->GetAmount() : 0); }

void Enumerator::Clear() {
  Names.Clear();
  HintTexts.Clear();
  Values.Clear();
  Hints.Clear();
}
