// The context menu of a layer-tree row as commands by their words: what a
// row's menu lists, the targets its submenus offer, and running a command on
// a row. The panel turns clicks into these calls; the words are text keys
// (the hint of each is "<word>_HINT").
#pragma once
#include <string>
#include <vector>

class VoxTreeBranch;
class VoxVisualTree;

// The commands of a row's menu that this program runs, in menu order;
// submenu commands (MergeTo, MoveTo, SubtractFrom, IntersectWith,
// ChangeParent, VoxFlipX/Y/Z) take a target or an axis.
const std::vector<std::string>& VoxTreeCommands();
// What a submenu offers for `row`: every other branch in tree order (the
// root too for ChangeParent); volume rows only for the booleans.
std::vector<VoxTreeBranch*> VoxTreeTargets(VoxVisualTree& tree, VoxTreeBranch* row, const std::string& command);
// Runs `command` on `row` (also the hiding commands of the voxel menu:
// DeleteHidden, UnhideAll, InvertHide, SeparateHidden, on the row's volume) (with `target` for a submenu command). Returns
// false, changing nothing, for an unknown word, a refused command or a
// target that is no longer in the tree; `message` then holds the text key
// to show when there is one (NEED_SYMMETRY). symmetryAxis is -1 when
// symmetry is off.
bool RunVoxTreeCommand(VoxVisualTree& tree, VoxTreeBranch* row, const std::string& command,
                       VoxTreeBranch* target = nullptr, int symmetryAxis = -1, std::string* message = nullptr);
