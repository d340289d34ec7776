// The voxel menu's surface-mode commands: "SURFACE_MODE" switches the current
// volume into surface mode and back, "CLEAR_FREEZE" and "INVERT_FREEZE" work
// on the freeze painted on its vertices.
#pragma once
#include <string>
#include <vector>

class ToolTable;

// The command words, in menu order.
const std::vector<std::string>& SurfaceModeCommandWords();
// Registers the commands on the voxel tool of `tools` (enabled while it has a
// volume; the freeze commands only in surface mode).
void RegisterSurfaceModeCommands(ToolTable& tools);
