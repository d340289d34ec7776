// The scene file's reader: it walks the blocks into a scene of its own,
// every size and count checked against the bytes left. One class over three
// sources: the block walk (SceneFileReader.cpp), the surface block with its
// faces (SceneReaderSurface.cpp), the pixel blocks (SceneReaderPixels.cpp).
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ClassEngine/streams/MemoryBinStream.h"
#include "paint/file/BlockCoding.h"
#include "paint/file/FaceRecords.h"
#include "paint/scene/PaintScene.h"

class BasicTool;
class PixelMap;
struct PixelTile;
class BaseClass;

namespace scenereading {
constexpr int kMaxLayerID = 8192;
constexpr int kMaxTargets = 4096;
constexpr int kMaxMapSide = 16384;
// Old layer blend numbers -> the present table.
constexpr int kOldColorOps[8] = {0, 3, 23, 24, 25, 6, 2, 26};
}  // namespace scenereading

struct PendingToolBlock {
  BasicTool* Tool;
  int Index;
  std::unique_ptr<MemoryBinStream> Body;
};

class SceneReader {
 public:
  SceneReader(PaintScene& scene, BinStream& in, int64_t size, const std::vector<BasicTool*>& tools,
              std::string name)
      : s_(scene), r_(in, size), size_(size), tools_(tools), name_(std::move(name)) {}

  bool Run();
  std::string Error() const { return r_.Error(); }
  // Runs the loading stages on the read scene.
  void Finish();
  std::vector<PendingToolBlock>& ToolBlocks() { return pending_; }

 private:
  bool Block(uint32_t tag, int64_t start, uint32_t size);
  bool Xml(BaseClass& object, const char* what);
  bool Layers();
  // Points every face layer and layer tile at the layer of its ID (made if missing).
  void RelinkLayers();
  bool MaterialTextures();
  bool Surface(uint32_t tag);
  bool CornerMap(FaceCornerTable& table, int faces);
  bool Faces(const FaceLayout& layout, uint32_t faces);
  // "SURF" and "SUR1": one grid size for all faces, whole samples, one layer.
  bool EarliestFaces(uint32_t tag, uint32_t grid, uint32_t faces);
  // "MAQ2", or with `early` its first form "MAQ1".
  bool Pixels(bool early);
  bool Tile(PixelMap& map, PixelTile& tile);
  bool EarlyTile(PixelMap& map, PixelTile& tile);
  bool ToolBlock(uint32_t tag, int64_t start, uint32_t size);
  void Swap(comms::cVec3& v) const {
    if (swapYZ_) std::swap(v.y, v.z);
  }

  PaintScene& s_;
  BlockReader r_;
  int64_t size_;
  const std::vector<BasicTool*>& tools_;
  std::string name_;
  std::vector<PendingToolBlock> pending_;
  bool swapYZ_ = true, oldSpecular_ = true, oldBlend_ = true, hasScale_ = false;
  float unitScale_ = 1;
};

