// How far a long operation is, for the libraries below the shell: they report
// here, and the shell installs a handler that moves its progress bar (at its
// own 500 ms rhythm) and says whether the user pressed Esc. Without a handler
// (tests, command-line runs) nothing is shown and nothing stops.
#pragma once
#include <cstdint>
#include <functional>

// Returns true when the operation should stop.
using ProgressHandler = std::function<bool(const char* textKey, int64_t done, int64_t total)>;

void SetProgressHandler(ProgressHandler handler);
// `textKey` names the operation in the text table ("READING_OBJ", ...).
// True when the user asked to stop; the caller stops and says so.
bool ReportProgress(const char* textKey, int64_t done, int64_t total);
