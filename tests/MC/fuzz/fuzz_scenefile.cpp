// Feeds arbitrary bytes to the scene-file reader with the voxel tool taking
// part. A load that fails must leave the open scene exactly as it was (the
// same bytes when saved again); one that succeeds must save to a form that
// loads back to the same form. Seeded with scenes this program saved.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "ClassEngine/streams/MemoryBinStream.h"
#include "MC/brushes/VoxelSculptTool.h"
#include "paint/file/SceneFile.h"
#include "paint/scene/PaintScene.h"

namespace {
std::vector<uint8_t> Save(PaintScene& s, VoxelSculptTool& tool) {
  MemoryBinStream m;
  WriteScene(s, m, {&tool});
  return std::vector<uint8_t>(m.GetData(), m.GetData() + m.GetWritePos());
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static PaintScene open;
  static VoxelSculptTool tool;
  static std::vector<uint8_t> baseline = [] {
    tool.SceneVolumes = [] { return std::vector<VolumeObject*>(); };
    // The empty scene as it stands after a load (the loading stages add its
    // default UV set), the state every failed load must leave.
    std::vector<uint8_t> empty = Save(open, tool);
    if (!LoadSceneBytes(open, empty.data(), empty.size(), {&tool}, "empty.mvn").ok) std::abort();
    return Save(open, tool);
  }();
  SceneFileResult r = LoadSceneBytes(open, data, size, {&tool}, "fuzz.mvn");
  if (!r.ok) {
    if (r.error.empty() || Save(open, tool) != baseline) std::abort();
    return 0;
  }
  std::vector<uint8_t> once = Save(open, tool);
  PaintScene again;
  if (!LoadSceneBytes(again, once.data(), once.size(), {&tool}, "again.mvn").ok) std::abort();
  if (Save(again, tool) != once) std::abort();
  // Back to the empty scene for the next input.
  if (!LoadSceneBytes(open, baseline.data(), baseline.size(), {&tool}, "baseline.mvn").ok) std::abort();
  return 0;
}
