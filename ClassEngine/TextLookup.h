// The word source of the class engine. The interface's text table installs
// itself here at start-up; until then (and in tests) every key misses, and the
// callers fall back to their own English words.
#pragma once
#include <functional>

// Returns the text of `key`, or null when the table has no entry for it.
using TextLookupFunction = std::function<const char*(const char* key)>;

// Installs a lookup and returns the previous one (empty: every key misses).
TextLookupFunction SetTextLookup(TextLookupFunction lookup);
const char* LookupText(const char* key);
// LookupText with a fallback for a miss.
const char* LookupTextOr(const char* key, const char* english);

// When on, a hint that finds no text shows which keys would serve, for
// translators. Off by default.
void SetShowMissingTextKeys(bool on);
bool ShowMissingTextKeys();
