// morvane --paint-import MESH MODE OUT: imports a mesh into the paint scene
// headless (MODE "micro" or "per-pixel") and writes a picture (OUT ending in
// ".png") of the lit, unpainted result.
#pragma once
#include <string>
#include <vector>

// Exit status: 0 done, 1 failed, 2 wrong arguments.
int RunPaintImportCommand(const std::vector<std::string>& args);
