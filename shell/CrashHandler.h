// The crash path. On SIGSEGV, SIGBUS, SIGFPE, SIGILL or SIGABRT the handler,
// running on its own stack, writes !!crash!!.log and !!crash!!.dmp in the
// working folder, offers to save the work, appends a short report to
// crash.txt and leaves the report in LastCrash.txt, which the next start
// shows in the "CRASH!!!" box. Then the process dies of the same signal.
#pragma once
#include <string>

struct CrashContext {
  std::string version = "Morvane";
  std::string title = "Morvane";  // the window title for crash.txt
  int processors = 1, usingProcessors = 1;
};

// Records the start values (memory, time) and installs the handlers.
void InstallCrashHandler(const CrashContext& context);
// Updates what the report names (the current tool, say); cheap.
void SetCrashTool(const std::string& tool);

// The report a crash left for the next start, removed from disk; empty if none.
std::string TakeLastCrashReport(const std::string& folder = "");

constexpr const char* kCrashLogName = "!!crash!!.log";
constexpr const char* kCrashDumpName = "!!crash!!.dmp";
constexpr const char* kCrashListName = "crash.txt";
constexpr const char* kLastCrashName = "LastCrash.txt";
