// The file commands of the program: "morvane --convert in out" (meshes and
// images by extension, through the same codecs the program loads and saves
// with) and "morvane --unpack archive folder" (every entry of a ZIP archive).
#pragma once
#include <string>

namespace comms {

// Converts `in` to `out`, printing one line of what it did (or why not) to
// stdout/stderr. Relative paths are taken from the working folder. Returns
// 0 on success, 1 on failure: a process exit code.
int RunConvertCommand(const std::string& in, const std::string& out);

// Writes every entry of the ZIP archive below `folder` (made if missing),
// with the progress bar "UNPACKING"; prints what it did or why not. Returns
// 0 on success, 1 on failure.
int RunUnpackCommand(const std::string& archive, const std::string& folder);

}  // namespace comms
