// Scene files of the whole layer tree, for the commands that run without the
// shell: the "VOL3" block with the tree and the "VCSH" block with the cache
// files of cached volumes, through the voxel tool's blocks.
#pragma once
#include <string>

class VoxVisualTree;

bool SaveTreeAsScene(const std::string& path, VoxVisualTree& tree, std::string* error);
// Replaces the tree by the file's; a failed load leaves it as it was.
bool LoadTreeScene(const std::string& path, VoxVisualTree& tree, std::string* error);
