// The program's log, Log.txt: started empty at each run, every line appended
// and flushed at once so that it survives a crash, and kept in memory for the
// error dialog. Safe to call from worker threads.
#pragma once
#include <string>

// Starts the log at `path`, truncating it. Before this call lines are kept in
// memory only.
void LogOpen(const char* path);
void LogClose();
const std::string& LogPath();

// Formats one line (at most 9,999 characters), adds the line end and appends it.
void Log(const char* format, ...) __attribute__((format(printf, 1, 2)));
// Logs, then shows the error dialog with the whole log text.
void Error(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Everything logged in this run, for the error dialog and the crash report.
std::string LogText();
