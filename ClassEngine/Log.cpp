#include "ClassEngine/Log.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>

#include "ClassEngine/SystemDialog.h"

namespace {
struct LogState {
  std::mutex lock;
  FILE* file = nullptr;
  std::string path;
  std::string text;
};
LogState& State() {
  static LogState s;
  return s;
}
constexpr int kMaxLine = 9999;

void AppendLine(const char* format, va_list args) {
  char line[kMaxLine + 1];
  vsnprintf(line, sizeof line, format, args);
  LogState& s = State();
  std::lock_guard<std::mutex> guard(s.lock);
  s.text += line;
  s.text += '\n';
  if (s.file) {
    fputs(line, s.file);
    fputc('\n', s.file);
    fflush(s.file);
  }
}
}  // namespace

void LogOpen(const char* path) {
  LogState& s = State();
  std::lock_guard<std::mutex> guard(s.lock);
  if (s.file) fclose(s.file);
  s.file = fopen(path, "wb");
  s.path = s.file ? path : "";
  s.text.clear();
}

void LogClose() {
  LogState& s = State();
  std::lock_guard<std::mutex> guard(s.lock);
  if (s.file) fclose(s.file);
  s.file = nullptr;
}

const std::string& LogPath() { return State().path; }

std::string LogText() {
  LogState& s = State();
  std::lock_guard<std::mutex> guard(s.lock);
  return s.text;
}

void Log(const char* format, ...) {
  va_list args;
  va_start(args, format);
  AppendLine(format, args);
  va_end(args);
}

void Error(const char* format, ...) {
  va_list args;
  va_start(args, format);
  AppendLine(format, args);
  va_end(args);
  SystemDialog d;
  d.title = "Error";
  d.text = LogText();
  d.buttons = {"Continue", "Copy to clipboard", "Stop"};
  d.defaultButton = 0;
  d.kind = SystemDialog::Kind::Error;
  ShowSystemDialog(d);
}
