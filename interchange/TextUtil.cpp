// C-locale formatting and parsing, and path pieces for the codecs.
#include "interchange/TextUtil.h"

#include <cctype>
#include <charconv>
#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <locale.h>

namespace comms {

namespace {
// One C locale for the whole process, made on first use.
locale_t CLocale() {
  static locale_t c = newlocale(LC_ALL_MASK, "C", (locale_t)0);
  return c;
}
}  // namespace

std::string FormatC(const char* format, ...) {
  locale_t old = uselocale(CLocale());
  char small[256];
  va_list args;
  va_start(args, format);
  int n = vsnprintf(small, sizeof small, format, args);
  va_end(args);
  std::string out;
  if (n >= 0 && n < (int)sizeof small) {
    out.assign(small, n);
  } else if (n > 0) {
    out.resize(n + 1);
    va_start(args, format);
    vsnprintf(out.data(), out.size(), format, args);
    va_end(args);
    out.resize(n);
  }
  uselocale(old);
  return out;
}

bool ParseDouble(std::string_view text, double& out) {
  const char* b = text.data();
  const char* e = b + text.size();
  if (b != e && *b == '+') b++;
  auto r = std::from_chars(b, e, out);
  return r.ec == std::errc();
}

bool ParseFloat(std::string_view text, float& out) {
  double d = 0;
  if (!ParseDouble(text, d)) return false;
  out = (float)d;
  return true;
}

bool ParseInt(std::string_view text, long long& out) {
  const char* b = text.data();
  const char* e = b + text.size();
  if (b != e && *b == '+') b++;
  auto r = std::from_chars(b, e, out);
  return r.ec == std::errc();
}

void SplitTokens(std::string_view line, std::vector<std::string_view>& tokens) {
  tokens.clear();
  size_t i = 0, n = line.size();
  while (i < n) {
    while (i < n && (line[i] == ' ' || line[i] == '\t')) i++;
    size_t start = i;
    while (i < n && line[i] != ' ' && line[i] != '\t') i++;
    if (i > start) tokens.push_back(line.substr(start, i - start));
  }
}

bool IEquals(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); i++)
    if (std::tolower((unsigned char)a[i]) != std::tolower((unsigned char)b[i])) return false;
  return true;
}

std::string ToLower(std::string_view s) {
  std::string out(s);
  for (char& c : out) c = (char)std::tolower((unsigned char)c);
  return out;
}

namespace {
size_t LastSeparator(std::string_view path) {
  size_t a = path.find_last_of("/\\");
  return a;
}
}  // namespace

std::string ExtensionOf(std::string_view path) {
  size_t dot = path.rfind('.');
  size_t sep = LastSeparator(path);
  if (dot == std::string_view::npos || (sep != std::string_view::npos && dot < sep)) return "";
  return std::string(path.substr(dot + 1));
}

std::string FolderOf(std::string_view path) {
  size_t sep = LastSeparator(path);
  return sep == std::string_view::npos ? "" : std::string(path.substr(0, sep + 1));
}

std::string FileNameOf(std::string_view path) {
  size_t sep = LastSeparator(path);
  return std::string(sep == std::string_view::npos ? path : path.substr(sep + 1));
}

std::string StripExtension(std::string_view path) {
  size_t dot = path.rfind('.');
  size_t sep = LastSeparator(path);
  if (dot == std::string_view::npos || (sep != std::string_view::npos && dot < sep)) return std::string(path);
  return std::string(path.substr(0, dot));
}

}  // namespace comms
