// The program's log, Log.txt: started empty at each run, every line appended
// and flushed at once so that it survives a crash, and kept in memory for the
// error dialog. Safe to call from worker threads. The file keeps every line;
// the copy in memory keeps only the newest kLogMemoryBytes, so a long run that
// reads many broken files does not grow without end.
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

// How much of the log the memory copy holds at most.
constexpr size_t kLogMemoryBytes = 256 * 1024;

// The newest lines logged in this run (all of them while they fit in
// kLogMemoryBytes), for the error dialog and the crash report. When older
// lines were dropped the text begins with a note saying so.
std::string LogText();
// A place in the log, to read what was logged after it with LogTextSince.
size_t LogMark();
// The lines logged after `mark` that the memory copy still holds.
std::string LogTextSince(size_t mark);
