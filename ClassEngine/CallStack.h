// The call stack of the calling thread as text lines "function module offset",
// for the assertion log, the out-of-memory log and the crash report.
#pragma once
#include <string>
#include <vector>

std::vector<std::string> CaptureCallStack(int maxFrames, int skip = 1);
