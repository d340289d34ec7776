// The registry of voxel mode handlers and the list of the program's own.
#include <map>

#include "MC/adjust/AdjustHandlers.h"
#include "MC/brushes/VoxelModeHandler.h"
#include "MC/objects/ObjectTools.h"

#include "MC/brushes/DrawnShapeTools.h"

namespace {

std::map<int, VoxelModeFactory>& Factories() {
  static std::map<int, VoxelModeFactory> factories;
  return factories;
}

}  // namespace

const VoxelModeFactory& FindVoxelModeFactory(int mode) {
  static const VoxelModeFactory none;
  auto it = Factories().find(mode);
  return it == Factories().end() ? none : it->second;
}

void RegisterVoxelModeHandler(int mode, VoxelModeFactory factory) { Factories()[mode] = std::move(factory); }

void RegisterVoxelModeHandlers() {
  static bool done = false;
  if (done) return;
  done = true;
  // Each family of modes registers its handlers here, one line each.
  RegisterAdjustModeHandlers();
  RegisterDrawnShapeHandlers();
  RegisterObjectToolHandlers();
}
