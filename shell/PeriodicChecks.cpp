// Import file and clipboard colour polls; see PeriodicChecks.h.
#include "shell/PeriodicChecks.h"

#include <atomic>
#include <cctype>
#include <cstdio>

namespace {
std::atomic<uint32_t> gCurrentColor{0xffffffffu};
}

uint32_t CurrentColor() { return gCurrentColor.load(); }
void SetCurrentColor(uint32_t argb) { gCurrentColor.store(argb); }

std::string TakeImportRequest(const std::string& path) {
  FILE* f = fopen(path.c_str(), "rb");
  if (!f) return "";
  char buf[8192];
  size_t n = fread(buf, 1, 8191, f);
  fclose(f);
  buf[n] = 0;
  remove(path.c_str());
  std::string text(buf, n);
  size_t end = text.find_first_of("\r\n");
  if (end != std::string::npos) text.resize(end);
  return text;
}

bool ParseHexColour(const std::string& text, uint32_t& rgb) {
  if (text.size() != 6) return false;
  uint32_t v = 0;
  for (char c : text) {
    if (!std::isxdigit((unsigned char)c)) return false;
    v = v * 16 + uint32_t(std::isdigit((unsigned char)c) ? c - '0' : std::tolower((unsigned char)c) - 'a' + 10);
  }
  rgb = v;
  return true;
}

bool Interval::Due(uint32_t now) {
  if (!started_) {
    started_ = true;
    last_ = now;
    return false;
  }
  if (now - last_ < period_) return false;
  last_ = now;
  return true;
}

bool ClipboardColourWatch::Check(const std::string& clipboard) {
  if (!first_ && clipboard == seen_) return false;
  first_ = false;
  seen_ = clipboard;
  uint32_t rgb;
  if (!ParseHexColour(clipboard, rgb)) return false;
  SetCurrentColor(0xff000000u | rgb);
  return true;
}
