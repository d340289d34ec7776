#include "ClassEngine/Log.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>

#include "ClassEngine/SystemDialog.h"

namespace {
struct LogState {
  std::mutex lock;
  FILE* file = nullptr;
  std::string path;
  std::string text;
  bool dropped = false;  // older lines left the memory copy
  size_t total = 0;      // bytes appended since the start: text holds the last text.size()
};
LogState& State() {
  static LogState s;
  return s;
}
constexpr int kMaxLine = 9999;
constexpr char kDroppedNote[] = "(older lines are in the log file only)\n";

// Keeps the memory copy within kLogMemoryBytes: when it is over, the oldest
// quarter goes at once, cut at a line end, so trimming is rare and cheap.
void TrimMemoryCopy(LogState& s) {
  if (s.text.size() <= kLogMemoryBytes - sizeof kDroppedNote) return;
  size_t cut = s.text.size() - (kLogMemoryBytes - sizeof kDroppedNote) * 3 / 4;
  size_t end = s.text.find('\n', cut);
  s.text.erase(0, end == std::string::npos ? s.text.size() : end + 1);
  s.dropped = true;
}

void AppendLine(const char* format, va_list args) {
  char line[kMaxLine + 1];
  vsnprintf(line, sizeof line, format, args);
  LogState& s = State();
  std::lock_guard<std::mutex> guard(s.lock);
  s.text += line;
  s.text += '\n';
  s.total += strlen(line) + 1;
  TrimMemoryCopy(s);
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
  s.dropped = false;
  s.total = 0;
}

void LogClose() {
  LogState& s = State();
  std::lock_guard<std::mutex> guard(s.lock);
  if (s.file) fclose(s.file);
  s.file = nullptr;
}

size_t LogMark() {
  LogState& s = State();
  std::lock_guard<std::mutex> guard(s.lock);
  return s.total;
}

std::string LogTextSince(size_t mark) {
  LogState& s = State();
  std::lock_guard<std::mutex> guard(s.lock);
  size_t start = s.total - s.text.size();  // where the memory copy begins
  if (mark >= s.total) return "";
  return s.text.substr(mark > start ? mark - start : 0);
}

const std::string& LogPath() { return State().path; }

std::string LogText() {
  LogState& s = State();
  std::lock_guard<std::mutex> guard(s.lock);
  return s.dropped ? kDroppedNote + s.text : s.text;
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
