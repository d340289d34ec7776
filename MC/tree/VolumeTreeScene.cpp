// Layer-tree scene files (see VolumeTreeScene.h).
#include "MC/tree/VolumeTreeScene.h"

#include "MC/brushes/VoxelSculptTool.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/tree/VoxVisualTree.h"
#include "paint/file/SceneFile.h"

bool SaveTreeAsScene(const std::string& path, VoxVisualTree& tree, std::string* error) {
  VoxelSculptTool tool;
  tool.SceneVolumes = [&] { return tree.Volumes(); };
  tool.SceneTreeXml = [&] { return tree.TreeXml(); };
  SceneFileResult r = SaveToolBlocks(path, {&tool});
  if (error) *error = r.error;
  return r.ok;
}

bool LoadTreeScene(const std::string& path, VoxVisualTree& tree, std::string* error) {
  VoxelSculptTool tool;
  tool.SceneVolumes = [] { return std::vector<VolumeObject*>(); };
  tool.TakeScene = [&](std::vector<std::unique_ptr<VolumeObject>>&& v, const std::string& xml) {
    tree.TakeScene(std::move(v), xml);
  };
  SceneFileResult r = LoadToolBlocks(path, {&tool});
  if (error) *error = r.error;
  return r.ok;
}
