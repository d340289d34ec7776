// Paths as the program's files write them ("\\" or "/", any case) matched to
// the real entries of a case-sensitive disk. The one place that does it: the
// file layer and the data folder both resolve through here.
#pragma once
#include <string>

namespace comms {

// "\\" becomes "/", empty parts and "." go, ".." takes the part before it
// away. An absolute path stays absolute; a relative one stays relative.
std::string NormalisePath(const std::string& path);
// NormalisePath, then each part that does not exist as written is replaced by
// the entry of its folder that matches it without regard to case. Parts from
// the first one that matches nothing on are kept as written.
std::string ResolvePathCase(const std::string& path);
// The path resolved as above names an existing file or folder.
bool PathExists(const std::string& path);

}  // namespace comms
