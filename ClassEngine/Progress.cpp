// The installed progress handler. Reports come from the main thread, as the
// long operations that make them do.
#include "ClassEngine/Progress.h"

#include <utility>

namespace {
ProgressHandler& Handler() {
  static ProgressHandler handler;
  return handler;
}
}  // namespace

void SetProgressHandler(ProgressHandler handler) { Handler() = std::move(handler); }

bool ReportProgress(const char* textKey, int64_t done, int64_t total) {
  return Handler() ? Handler()(textKey, done, total) : false;
}
