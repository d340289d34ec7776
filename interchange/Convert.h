// The converter behind "morvane --convert in out": meshes and images by
// extension, through the same codecs the program loads and saves with.
#pragma once
#include <string>

namespace comms {

// Converts `in` to `out`, printing one line of what it did (or why not) to
// stdout/stderr. Relative paths are taken from the working folder. Returns
// 0 on success, 1 on failure: a process exit code.
int RunConvertCommand(const std::string& in, const std::string& out);

}  // namespace comms
