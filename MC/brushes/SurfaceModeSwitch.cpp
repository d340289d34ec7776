// The voxel tool's side of surface mode: the switch, the tool list it offers,
// the remembered voxel mode and the freeze commands (see VoxelSculptTool.h).
#include "ClassEngine/Enumerator.h"
#include "MC/brushes/SurfacePatch.h"
#include "MC/brushes/VoxelSculptTool.h"
#include "MC/mcubes/VolumeObject.h"

Enumerator* VoxelSculptTool::GetToolList() {
  return GetEnumerator(volume_ && volume_->SurfaceMode ? "VOXSURFMODES" : "VOXMODES");
}

void VoxelSculptTool::KeepSurfaceTool() {
  if (!volume_ || !volume_->SurfaceMode) return;
  if (IsSurfaceTool(Mode) || Mode == SCULPT_SMOOTH || Mode == SCULPT_TRANSFORM) return;
  ModeBeforeSurface = Mode;
  SelectMode(SCULPT_DRAW);
}

void VoxelSculptTool::SetSurfaceMode(bool on) {
  if (!volume_) return;
  if (Stroking()) FinishStroke();
  if (on) {
    if (volume_->SurfaceMode) return;
    volume_->SurfaceMode = true;
    KeepSurfaceTool();
    return;
  }
  if (!volume_->SurfaceMode) return;
  volume_->SurfaceMode = false;
  // Every surface cell counts as moved: the whole edited surface is the solid now.
  if (volume_->ApplyMC(true, true)) EndEdit(*volume_);
  if (ModeBeforeSurface >= 0) SelectMode(ModeBeforeSurface);
  ModeBeforeSurface = -1;
}

void VoxelSculptTool::ClearSurfaceFreeze() {
  if (volume_ && ClearFreeze(*volume_) > 0) EndEdit(*volume_);
}

void VoxelSculptTool::InvertSurfaceFreeze() {
  if (volume_ && InvertFreeze(*volume_) > 0) EndEdit(*volume_);
}
