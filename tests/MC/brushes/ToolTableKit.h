// How the voxel tool's tests start: the program's tools in a table of their
// own, with the voxel tool current.
#pragma once
#include "MC/brushes/VoxelSculptTool.h"
#include "shell/tools/StandardTools.h"
#include "shell/tools/ToolTable.h"

// The voxel tool of `table`, made current; null if it is missing.
inline VoxelSculptTool* CurrentVoxelTool(ToolTable& table) {
  ToolProviders providers;
  RegisterVoxelTools(providers);
  RegisterStandardTools(table, providers);
  table.SetCurrentTool("VOX_SCULPT_TOOL");
  return FindVoxelTool(table);
}
