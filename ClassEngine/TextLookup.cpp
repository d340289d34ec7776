// The installed text lookup and the translators' debug switch.
#include "ClassEngine/TextLookup.h"

#include <utility>

namespace {
TextLookupFunction gLookup;
bool gShowMissing = false;
}  // namespace

TextLookupFunction SetTextLookup(TextLookupFunction lookup) {
  std::swap(gLookup, lookup);
  return lookup;
}

const char* LookupText(const char* key) {
  if (!gLookup || !key) return nullptr;
  return gLookup(key);
}

const char* LookupTextOr(const char* key, const char* english) {
  const char* s = LookupText(key);
  return s ? s : english;
}

void SetShowMissingTextKeys(bool on) { gShowMissing = on; }
bool ShowMissingTextKeys() { return gShowMissing; }
