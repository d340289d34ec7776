// The whole working environment in one file, "Layouts/*.mvn_wrokspace": a
// copy of every room's dock page ("Temp/page_%d.xml") and the options. A file
// that does not read changes nothing.
#pragma once
#include <string>

class Docks;

// Saves the current room's page first, then writes the pages of rooms
// 0 .. rooms - 1 that exist, and the options.
bool SaveWorkspaceFile(const std::string& path, Docks& docks, int rooms);
// Puts the file's pages back as the rooms' pages, loads its options (saved
// at once) and shows the current room's page.
bool LoadWorkspaceFile(const std::string& path, Docks& docks);
