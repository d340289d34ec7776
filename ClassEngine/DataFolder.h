// Where the program's shipped files are (Shaders/, Languages/, Replays/,
// textures/, Xmls/). One resolver for the whole program, asked in this order:
//   1. the working folder, where the program's files are opened from;
//   2. the folder in $MORVANE_DATA;
//   3. <prefix>/share/morvane of the installed program (found from the
//      program's own path, so an installed tree can move);
//   4. the source tree's data/ folder of the build.
// A candidate counts when it holds both Shaders/ and Languages/. With
// $MORVANE_NO_SOURCE_DATA set the source tree is not asked, so a build can be
// tried as it runs on a machine without the sources.
#pragma once
#include <string>
#include <vector>

namespace comms {

// The folders above, in the order they are asked, whether or not they exist.
std::vector<std::string> DataFolderCandidates();
// The first candidate that holds the program's data; empty when none does.
std::string FindDataFolder();
// FindDataFolder(), or "." when there is none (files then fail to open by
// their own names, and the start-up says so aloud).
std::string DataFolder();
// The path of a shipped file: the first candidate folder in which it exists
// (names compared without case, "\\" read as "/"), else DataFolder()/relative.
std::string DataFilePath(const std::string& relative);
// The reason the program cannot start from its data, or empty when it can:
// names every folder that was looked in.
std::string MissingDataReason();

}  // namespace comms
