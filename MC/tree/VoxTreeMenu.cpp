// The layer tree's context menu (see VoxTreeMenu.h).
#include "MC/tree/VoxTreeMenu.h"

#include <algorithm>

#include "MC/mcubes/VolumeObject.h"
#include "MC/tree/VolumeHiding.h"
#include "MC/tree/VolumeMirror.h"
#include "MC/tree/VolumeSpace.h"
#include "MC/tree/VoxVisualTree.h"

namespace {
bool IsBoolean(const std::string& c) {
  return c == "MergeTo" || c == "MoveTo" || c == "SubtractFrom" || c == "IntersectWith";
}
}  // namespace

const std::vector<std::string>& VoxTreeCommands() {
  static const std::vector<std::string> words = {
      "DelVoxTree",    "AddVoxTree",   "CloneVoxTree",  "CloneSymm",    "CloneDegrade",
      "CloneSpace",    "IncDencity2X", "DecDencity2X",  "ToGlobalSpace", "CombineChildren", "VoxFlipX", "VoxFlipY",    "VoxFlipZ",     "MergeTo",       "MoveTo",       "SubtractFrom",
      "IntersectWith", "ChangeParent"};
  return words;
}

std::vector<VoxTreeBranch*> VoxTreeTargets(VoxVisualTree& tree, VoxTreeBranch* row, const std::string& command) {
  std::vector<VoxTreeBranch*> out;
  tree.Walk([&](VoxTreeBranch& b) {
    if (&b == row || b.Removed) return;
    if (IsBoolean(command) && !b.Volume) return;
    if (command == "ChangeParent" && row && row->Contains(&b)) return;
    if (&b == &tree && command != "ChangeParent") return;
    out.push_back(&b);
  });
  return out;
}

bool RunVoxTreeCommand(VoxVisualTree& tree, VoxTreeBranch* row, const std::string& command, VoxTreeBranch* target,
                       int symmetryAxis, std::string* message) {
  if (message) message->clear();
  if (!row) return false;
  bool inTree = false;
  tree.Walk([&](VoxTreeBranch& b) { inTree |= &b == row; });
  if (!inTree) return false;
  if (IsBoolean(command) || command == "ChangeParent") {
    const auto targets = VoxTreeTargets(tree, row, command);
    if (!target && command == "ChangeParent") target = &tree;
    if (std::find(targets.begin(), targets.end(), target) == targets.end()) return false;
    if (command == "MergeTo") return tree.MergeTo(row, target);
    if (command == "MoveTo") return tree.MoveTo(row, target);
    if (command == "SubtractFrom") return tree.SubtractFrom(row, target);
    if (command == "IntersectWith") return tree.IntersectWith(row, target);
    return tree.ChangeParent(row, target);
  }
  if (command == "DelVoxTree") return tree.Delete(row);
  if (command == "AddVoxTree") return tree.AddVolume(row) != nullptr;
  if (command == "CloneVoxTree") return tree.Clone(row) != nullptr;
  if (command == "CloneSymm") {
    if (symmetryAxis < 0 || symmetryAxis > 2) {
      if (message) *message = "NEED_SYMMETRY";
      return false;
    }
    return tree.Clone(row, 1 << symmetryAxis) != nullptr;
  }
  if (command == "CloneSpace") return tree.CloneSpace(row) != nullptr;
  if (command == "CloneDegrade") return CloneDegrade(tree, row) != nullptr;
  if (command == "ToGlobalSpace") return row->Volume && ToGlobalSpace(*row->Volume);
  // The hiding commands of the voxel menu, on the row's volume.
  if (command == "DeleteHidden") return row->Volume && DeleteHidden(*row->Volume) > 0;
  if (command == "UnhideAll") return row->Volume && UnhideAll(*row->Volume) > 0;
  if (command == "SeparateHidden") return SeparateHidden(tree, row) != nullptr;
  if (command == "InvertHide") {
    if (!row->Volume) return false;
    InvertHide(*row->Volume);
    return true;
  }
  if (command == "IncDencity2X" || command == "DecDencity2X") {
    if (!row->Volume) return false;
    command == "IncDencity2X" ? tree.IncDencity2X(row) : tree.DecDencity2X(row);
    return true;
  }
  if (command == "CombineChildren") return tree.CombineChildren(row);
  if (command == "VoxFlipX" || command == "VoxFlipY" || command == "VoxFlipZ") {
    if (!row->Volume) return false;
    VoxFlip(*row->Volume, 1 << (command[7] - 'X'));
    return true;
  }
  return false;
}
