// The voxel menu's surface-mode commands (see SurfaceModeCommands.h).
#include "shell/SurfaceModeCommands.h"

#include "MC/brushes/VoxelSculptTool.h"
#include "MC/mcubes/VolumeObject.h"
#include "interface/HotKeys.h"
#include "shell/tools/ToolTable.h"

const std::vector<std::string>& SurfaceModeCommandWords() {
  static const std::vector<std::string> words{"SURFACE_MODE", "CLEAR_FREEZE", "INVERT_FREEZE"};
  return words;
}

void RegisterSurfaceModeCommands(ToolTable& tools) {
  ToolTable* table = &tools;
  auto haveVolume = [table] {
    VoxelSculptTool* tool = FindVoxelTool(*table);
    return tool && tool->Volume();
  };
  auto inSurfaceMode = [table] {
    VoxelSculptTool* tool = FindVoxelTool(*table);
    return tool && tool->Volume() && tool->Volume()->SurfaceMode;
  };
  RegisterCommand("SURFACE_MODE", {[table] {
                                     if (VoxelSculptTool* tool = FindVoxelTool(*table); tool && tool->Volume())
                                       tool->SetSurfaceMode(!tool->Volume()->SurfaceMode);
                                   },
                                   haveVolume});
  RegisterCommand("CLEAR_FREEZE", {[table] {
                                     if (VoxelSculptTool* tool = FindVoxelTool(*table)) tool->ClearSurfaceFreeze();
                                   },
                                   inSurfaceMode});
  RegisterCommand("INVERT_FREEZE", {[table] {
                                      if (VoxelSculptTool* tool = FindVoxelTool(*table)) tool->InvertSurfaceFreeze();
                                    },
                                    inSurfaceMode});
}
