// comms::cStr storage (inline, then comms pool buffers in steps of 32), its
// formatting and its own number parser.
#include "ClassEngine/cStr.h"

#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "ClassEngine/BlockPool.h"

namespace comms {

cStr::cStr(cStr&& s) noexcept : cStr() {
  if (s.IsInline()) {
    Assign(s.Data);
    return;
  }
  Data = s.Data;
  Length = s.Length;
  Capacity = s.Capacity;
  s.Data = s.Inline;
  s.Length = 0;
  s.Capacity = kInline;
  s.Inline[0] = 0;
}

void cStr::Free() {
  if (!IsInline()) GetCommsPool().Free(Data, Capacity);
  Data = Inline;
  Capacity = kInline;
}

void cStr::Reserve(int bytes) {
  if (bytes <= Capacity) return;
  int c = (bytes + 31) & ~31;
  char* grown = (char*)GetCommsPool().Allocate(c);
  if (!grown) return;
  memcpy(grown, Data, (size_t)Length + 1);
  if (!IsInline()) GetCommsPool().Free(Data, Capacity);
  Data = grown;
  Capacity = c;
}

void cStr::Assign(const char* s) {
  if (!s) s = "";
  if (s >= Data && s <= Data + Length) {
    // A tail of itself: a forward copy never overwrites bytes not yet read.
    char* d = Data;
    while ((*d++ = *s++) != 0) {
    }
    Length = (int)(d - Data) - 1;
    return;
  }
  int n = (int)strlen(s);
  Length = 0;
  Data[0] = 0;
  Reserve(n + 1);
  if (Capacity < n + 1) return;
  memcpy(Data, s, (size_t)n + 1);
  Length = n;
}

void cStr::Append(const char* s) {
  if (!s || !*s) return;
  if (s >= Data && s <= Data + Length) {
    std::string copy(s);
    Append(copy.c_str());
    return;
  }
  int n = (int)strlen(s);
  Reserve(Length + n + 1);
  if (Capacity < Length + n + 1) return;
  memcpy(Data + Length, s, (size_t)n + 1);
  Length += n;
}

void cStr::Append(char c) {
  char s[2] = {c, 0};
  Append(s);
}

void cStr::Clear() {
  Free();
  Length = 0;
  Inline[0] = 0;
}

void cStr::Format(const char* format, ...) {
  char buffer[kFormatLimit + 1];
  va_list args;
  va_start(args, format);
  vsnprintf(buffer, sizeof(buffer), format, args);
  va_end(args);
  Assign(buffer);
}

cStr cStr::Formatted(const char* format, ...) {
  char buffer[kFormatLimit + 1];
  va_list args;
  va_start(args, format);
  vsnprintf(buffer, sizeof(buffer), format, args);
  va_end(args);
  return cStr(buffer);
}

int cStr::Compare(const char* a, const char* b) {
  int r = strcmp(a ? a : "", b ? b : "");
  return r < 0 ? -1 : (r > 0 ? 1 : 0);
}

bool cStr::ParseDouble(const char* s, double* out) {
  if (!s) return false;
  while (*s == ' ' || *s == '\t') s++;
  // States: 0 sign or first digit, 1 integer digits, 2 fraction digits,
  // 3 exponent sign, 4 exponent digits.
  int state = 0;
  bool digits = false, expDigits = false;
  const char* p = s;
  for (; *p && *p != ' ' && *p != '\t'; p++) {
    char c = *p;
    bool digit = c >= '0' && c <= '9';
    switch (state) {
      case 0:
        if (c == '+' || c == '-') state = 1;
        else if (digit) { state = 1; digits = true; }
        else if (c == '.') state = 2;
        else return false;
        break;
      case 1:
        if (digit) digits = true;
        else if (c == '.') state = 2;
        else if ((c == 'e' || c == 'E') && digits) state = 3;
        else return false;
        break;
      case 2:
        if (digit) digits = true;
        else if ((c == 'e' || c == 'E') && digits) state = 3;
        else return false;
        break;
      case 3:
        if (c == '+' || c == '-') state = 4;
        else if (digit) { state = 4; expDigits = true; }
        else return false;
        break;
      case 4:
        if (digit) expDigits = true;
        else return false;
        break;
    }
  }
  const char* end = p;
  for (; *p == ' ' || *p == '\t'; p++) {
  }
  if (*p || !digits || (state >= 3 && !expDigits)) return false;
  // from_chars takes no leading '+'; it is locale-free.
  std::string text(s, end);
  if (text[0] == '+') text.erase(0, 1);
  double v = 0;
  auto r = std::from_chars(text.data(), text.data() + text.size(), v);
  if (r.ec == std::errc::result_out_of_range) {
    size_t e = text.find_first_of("eE");
    bool tiny = e != std::string::npos && text[e + 1] == '-';
    v = tiny ? 0.0 : HUGE_VAL;
    if (text[0] == '-') v = -v;
  } else if (r.ec != std::errc()) {
    return false;
  }
  if (out) *out = v;
  return true;
}

bool cStr::ToFloat(float* out) const {
  double v;
  if (!ParseDouble(Data, &v)) return false;
  if (out) *out = (float)v;
  return true;
}

bool cStr::ToInt(int* out) const {
  double v;
  if (!ParseDouble(Data, &v)) return false;
  if (v > 2147483647.0) v = 2147483647.0;
  if (v < -2147483648.0) v = -2147483648.0;
  if (out) *out = (int)v;
  return true;
}

}  // namespace comms
