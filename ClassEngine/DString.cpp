// DString storage by size classes from the application's pools, and its
// text operations.
#include "ClassEngine/DString.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "ClassEngine/BlockPool.h"

namespace {
constexpr int kPrintBuffer = 4096;
// A long string is released before a new value goes in, so that a big buffer
// does not stay behind a short value.
constexpr int kKeepLimit = 256;
}  // namespace

int DString::CapacityFor(int n) {
  int c;
  if (n < 8)
    c = 8;
  else if (n < 16)
    c = 16;
  else if (n < 32)
    c = 32;
  else if (n < 64)
    c = 64;
  else if (n < 128)
    c = 128;
  else
    c = (n + 15) & ~15;
  if (c > 512) c = (n + 128 + n / 2) & ~15;
  return c;
}

void DString::Ensure(int bytes) {
  if (bytes <= Max) return;
  int c = CapacityFor(bytes);
  char* grown = (char*)GetPool().Reallocate(str, Max, c);
  if (!grown) return;
  if (!str) grown[0] = 0;
  str = grown;
  Max = c;
}

void DString::Clear() {
  GetPool().Free(str, Max);
  str = nullptr;
  L = Max = 0;
}

void DString::Assign(const char* s) {
  if (!s || !*s) {
    Clear();
    return;
  }
  if (s >= str && str && s < str + Max) {  // a part of itself
    int n = (int)strlen(s);
    memmove(str, s, n + 1);
    L = n;
    return;
  }
  if (L > kKeepLimit) Clear();
  int n = (int)strlen(s);
  Ensure(n + 1);
  if (!str) return;
  memcpy(str, s, n + 1);
  L = n;
}

void DString::Add(const char* s) {
  if (!s || !*s) return;
  int n = (int)strlen(s);
  if (str && s >= str && s < str + Max) {  // appending a part of itself
    DString copy(s);
    Add(copy.cpchar());
    return;
  }
  Ensure(L + n + 1);
  if (!str) return;
  memcpy(str + L, s, n + 1);
  L += n;
}

void DString::Add(char c) {
  char s[2] = {c, 0};
  Add(s);
}

void DString::print(const char* format, ...) {
  char buffer[kPrintBuffer];
  va_list args;
  va_start(args, format);
  vsnprintf(buffer, sizeof(buffer), format, args);
  va_end(args);
  Add(buffer);
}

void DString::Replace(const char* from, const char* to) {
  if (!from || !*from || !str) return;
  if (!to) to = "";
  int fromLen = (int)strlen(from);
  DString out;
  const char* p = str;
  bool changed = false;
  while (const char* hit = strstr(p, from)) {
    for (const char* c = p; c < hit; c++) out.Add(*c);
    out.Add(to);
    p = hit + fromLen;
    changed = true;
  }
  if (!changed) return;
  out.Add(p);
  Assign(out.cpchar());
}

bool DString::ReadFromFile(const char* path) {
  Clear();
  FILE* f = path ? fopen(path, "rb") : nullptr;
  if (!f) return false;
  fseek(f, 0, SEEK_END);
  long size = ftell(f);
  fseek(f, 0, SEEK_SET);
  if (size > 0) {
    Ensure((int)size + 1);
    if (str) {
      size_t got = fread(str, 1, (size_t)size, f);
      str[got] = 0;
      L = (int)strlen(str);  // text stops at the first zero byte
    }
  }
  fclose(f);
  if (L == 0) Clear();
  return true;
}

bool DString::WriteToFile(const char* path) const {
  FILE* f = path ? fopen(path, "wb") : nullptr;
  if (!f) return false;
  bool ok = fwrite(cpchar(), 1, (size_t)L, f) == (size_t)L;
  return fclose(f) == 0 && ok;
}

bool DString::operator==(const char* s) const { return strcmp(cpchar(), s ? s : "") == 0; }
