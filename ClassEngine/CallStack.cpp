#include "ClassEngine/CallStack.h"

#include <cxxabi.h>
#include <execinfo.h>

#include <cstdlib>
#include <cstring>

namespace {
// backtrace_symbols gives "module(mangled+0xoff) [0xaddr]"; turn it into
// "function module offset" with the function name demangled.
std::string DescribeFrame(const char* raw) {
  std::string s(raw);
  size_t open = s.find('('), plus = s.find('+', open), close = s.find(')', open);
  if (open == std::string::npos || close == std::string::npos) return s + " ? 0";
  std::string module = s.substr(0, open);
  std::string mangled = s.substr(open + 1, (plus == std::string::npos ? close : plus) - open - 1);
  std::string offset = plus == std::string::npos ? "0" : s.substr(plus + 1, close - plus - 1);
  std::string name = mangled.empty() ? "?" : mangled;
  int status = 0;
  char* demangled = abi::__cxa_demangle(mangled.c_str(), nullptr, nullptr, &status);
  if (status == 0 && demangled) name = demangled;
  free(demangled);
  return name + " " + module + " " + offset;
}
}  // namespace

std::vector<std::string> CaptureCallStack(int maxFrames, int skip) {
  std::vector<void*> frames(maxFrames + skip);
  int n = backtrace(frames.data(), (int)frames.size());
  std::vector<std::string> out;
  char** symbols = backtrace_symbols(frames.data(), n);
  if (!symbols) return out;
  for (int i = skip; i < n; i++) out.push_back(DescribeFrame(symbols[i]));
  free(symbols);
  return out;
}
