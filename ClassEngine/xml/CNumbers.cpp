// printf and scanf under a per-thread C locale, restored afterwards.
#include "ClassEngine/xml/CNumbers.h"

#include <locale.h>

#include <cstdarg>
#include <cstdio>

namespace {
locale_t CLocale() {
  static locale_t c = newlocale(LC_ALL_MASK, "C", (locale_t)0);
  return c;
}

// Switches the calling thread to the C locale for its lifetime.
class CLocaleScope {
 public:
  CLocaleScope() : old_(CLocale() ? uselocale(CLocale()) : (locale_t)0) {}
  ~CLocaleScope() {
    if (old_) uselocale(old_);
  }

 private:
  locale_t old_;
};
}  // namespace

int FormatC(char* buffer, size_t size, const char* format, ...) {
  CLocaleScope scope;
  va_list args;
  va_start(args, format);
  int n = vsnprintf(buffer, size, format, args);
  va_end(args);
  return n;
}

int ScanC(const char* text, const char* format, ...) {
  if (!text) return -1;
  CLocaleScope scope;
  va_list args;
  va_start(args, format);
  int n = vsscanf(text, format, args);
  va_end(args);
  return n;
}
