// Where the program's shipped files (Languages/, textures/, Shaders/) are:
// the folder in MORVANE_DATA, else "data" beside the program.
#pragma once
#include <string>

std::string DataFolder();
// DataFolder() + "/" + relative.
std::string DataFilePath(const std::string& relative);
