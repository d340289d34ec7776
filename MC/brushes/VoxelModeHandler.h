// A mode of the voxel room that is more than a stroke of samples along the
// drag (measuring, gizmos, drawn shapes, surface mode, commands on Enter...).
// The sculpt tool hands its pointer, key and frame events to the handler
// registered for its current mode before its own stroke road; a handler that
// returns false leaves the event to that road. Handlers are made once per
// tool, on the first use of their mode.
#pragma once
#include <functional>
#include <memory>

class VoxelSculptTool;
namespace comms {
class cRender;
class cViewer;
}

class VoxelModeHandler {
 public:
  virtual ~VoxelModeHandler() = default;
  virtual bool OnLMBDown(VoxelSculptTool& /*tool*/) { return false; }
  virtual bool OnLMBUp(VoxelSculptTool& /*tool*/) { return false; }
  virtual bool OnMouseMove(VoxelSculptTool& /*tool*/) { return false; }
  virtual bool OnKey(VoxelSculptTool& /*tool*/, int /*key*/) { return false; }
  virtual void FrameUpdate(VoxelSculptTool& /*tool*/) {}
  virtual bool WantsFrames(VoxelSculptTool& /*tool*/) { return false; }
  // The mode was selected, or the tool became current in it.
  virtual void Activate(VoxelSculptTool& /*tool*/) {}
  // The mode was left, or the tool stopped being current: end what is open.
  virtual void Deactivate(VoxelSculptTool& /*tool*/) {}
  // Draws over the volume (gizmo, measured line, drawn shape); true when it
  // drew, in place of the pen's ring.
  virtual bool DrawOverlay(VoxelSculptTool& /*tool*/, comms::cRender& /*render*/, const comms::cViewer& /*camera*/) {
    return false;
  }
};

using VoxelModeFactory = std::function<std::unique_ptr<VoxelModeHandler>()>;

// The handler factory of a mode, or an empty function.
const VoxelModeFactory& FindVoxelModeFactory(int mode);
// Registers (or replaces) the factory of a mode.
void RegisterVoxelModeHandler(int mode, VoxelModeFactory factory);
// Registers every handler of the program's voxel modes (idempotent); the one
// list of them is in VoxelModeHandlers.cpp.
void RegisterVoxelModeHandlers();
