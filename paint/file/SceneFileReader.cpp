// Reading the scene file: the blocks walk into a scene of their own, every
// size and count checked against the bytes left; the loading stages run on
// it, and only then does it replace the open scene and do the tools take
// their blocks.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>

#include "ClassEngine/Log.h"
#include "ClassEngine/Progress.h"
#include "ClassEngine/streams/FileBinStreams.h"
#include "ClassEngine/streams/MemoryBinStream.h"
#include "ClassEngine/xml/ErrorCollector.h"
#include "ClassEngine/xml/XmlNode.h"
#include "paint/file/BlockCoding.h"
#include "paint/file/SceneFile.h"
#include "paint/file/SceneFileTags.h"
#include "paint/file/SceneReader.h"
#include "paint/file/SceneSwap.h"
#include "paint/layers/PixelMap.h"
#include "paint/scene/PaintScene.h"
#include "shell/tools/BasicTool.h"

using namespace scenetags;

using namespace scenereading;

namespace {
bool IsSurfaceTag(uint32_t tag) {
  return (tag >= FourCC("SUR2") && tag <= FourCC("SUR9")) || tag == FourCC("SAR5") ||
         tag == FourCC("SAR6") || tag == FourCC("SAR7") || tag == FourCC("SURF") || tag == FourCC("SUR1");
}
}  // namespace

bool SceneReader::Run() {
  r_.Enter("head", size_);
  if (size_ < 8 || r_.U32() != kHead) {
    r_.Fail("not a scene file (no \"MESH\" head)");
    return false;
  }
  r_.U32();  // the version word, always 1
  while (r_.Ok() && r_.Pos() < size_) {
    int64_t at = r_.Pos();
    r_.Enter("header", size_);
    if (size_ - at < 8) {
      r_.Fail("a block header is cut off");
      return false;
    }
    uint32_t tag = r_.U32();
    uint32_t size = r_.U32();
    char letters[5];
    TagLetters(tag, letters);
    r_.Enter(letters, size_);
    if (tag == kEnd) {
      if (r_.Pos() + size != size_) r_.Fail("bytes follow the end block");
      return r_.Ok();
    }
    if (!Block(tag, at + 8, size)) return false;
    ReportProgress("LOADING_PROGRESS", r_.Pos(), size_);
  }
  r_.Enter("end", size_);
  r_.Fail("the file was cut short: its end block is missing");
  return false;
}

// Blocks read by content (the surface and the pixel blocks) may run to the
// end of the file; all others stay inside their size and resume behind it.
bool SceneReader::Block(uint32_t tag, int64_t start, uint32_t size) {
  if (IsSurfaceTag(tag)) return Surface(tag);
  if (tag == kPixels) return Pixels(false);
  if (tag == FourCC("MAQ1")) return Pixels(true);
  if ((int64_t)size > size_ - start) {
    r_.Fail("claims " + std::to_string(size) + " bytes, the file holds " + std::to_string(size_ - start));
    return false;
  }
  char letters[5];
  TagLetters(tag, letters);
  r_.Enter(letters, start + size);
  bool ok = true;
  if (tag == kNoSwapYZ) swapYZ_ = false;
  else if (tag == kNewBlend) oldBlend_ = false;
  else if (tag == kSpecular) oldSpecular_ = false;
  else if (tag == kScale) {
    hasScale_ = true;
    unitScale_ = r_.F32();
    s_.Shift = r_.Vec3();
    r_.F32();  // the cell size follows from the bounds
  } else if (tag == kRender) {
    s_.RtSizeX = (int)std::min<uint32_t>(r_.U32(), 65536);
    s_.RtSizeY = (int)std::min<uint32_t>(r_.U32(), 65536);
  } else if (tag == kSymmetry || tag == FourCC("PBF1")) {
    // Symmetry is the tools' own; the old texel lists are rebuilt from the faces.
  } else if (tag == kLayers) ok = Layers();
  else if (tag == kMaterials) {
    ok = Xml(s_.Materials, "materials");
    RebuildMaterialEnumerator(s_.Materials);
  } else if (tag == kMaterialTextures) ok = MaterialTextures();
  else if (tag == kObjects) ok = Xml(s_.Objects, "objects");
  else if (tag == kTargets) {
    ok = Xml(s_.RenderTargets, "render targets");
    if (ok && s_.RenderTargets.GetAmount() > kMaxTargets) r_.Fail("too many render targets"), ok = false;
  } else if (tag == kUVSets) {
    RebuildMaterialEnumerator(s_.Materials);
    ok = Xml(s_.UVSets, "UV sets");
  } else if (tag == kVertexMapTypes) ok = Xml(s_.VMapTypes, "vertex map types");
  else if (tag == kSubdivision) {
    s_.SubdPairs.resize(size / 12 * 3);
    for (uint32_t& v : s_.SubdPairs) v = r_.U32();
  } else if (tag == kVertexMaps) {
    uint32_t n = r_.U32();
    if (!r_.Fits(n, 28, "vertex map")) return false;
    for (uint32_t i = 0; i < n; i++) {
      uint32_t key = r_.U32();
      std::array<uint32_t, 6> v;
      for (uint32_t& x : v) x = r_.U32();
      s_.VertexMaps[key] = v;
    }
  } else if (tag == kBasePositions) {
    s_.BasePositions.resize(size / 12);
    for (comms::cVec3& p : s_.BasePositions) p = r_.Vec3(), Swap(p);
  } else if (tag == kUVPatches) {
    uint32_t n = r_.U32();
    if (!r_.Fits(n, 8, "UV patch")) return false;
    s_.UVPatchData8.resize(n);
    for (uint64_t& v : s_.UVPatchData8) v = r_.U32(), v |= (uint64_t)r_.U32() << 32;
    uint32_t m = r_.U32();
    if (!r_.Fits(m, 12, "UV patch record")) return false;
    s_.UVPatchData12.resize(m);
    for (auto& v : s_.UVPatchData12) v[0] = r_.U32(), v[1] = r_.U32(), v[2] = r_.U32();
  } else {
    return ToolBlock(tag, start, size);
  }
  if (!ok || !r_.Ok()) return false;
  r_.Enter("next", size_);
  return r_.Seek(start + size);
}

bool SceneReader::Xml(BaseClass& object, const char* what) {
  uint32_t n = r_.U32();
  if (!r_.Fits(n, 1, what)) return false;
  std::string text(n, '\0');
  if (!r_.Bytes(text.data(), n)) return false;
  XmlNode node;
  if (n == 0 || node.Parse(text.c_str()) < 0) {
    r_.Fail(std::string("the ") + what + " text does not parse");
    return false;
  }
  object.Reset(&object);
  ErrorCollector quiet(false);
  object.Load(&node, &object, &quiet);
  return true;
}

bool SceneReader::Layers() {
  s_.CurrentLayer = (int)r_.U32();
  int64_t text = r_.Pos();
  // Twice: the second pass resolves LinkedLayer against the names of the first.
  for (int pass = 0; pass < 2; pass++) {
    if (!r_.Seek(text) || !Xml(s_.Layers, "layers")) return false;
    std::vector<uint8_t> seen(kMaxLayerID + 1, 0);
    for (OneLayerInfo* l : s_.Layers) {
      if (l->LayerID < 0 || l->LayerID > kMaxLayerID || seen[l->LayerID]++) {
        r_.Fail("a layer has the id " + std::to_string(l->LayerID) + " (out of range or twice)");
        return false;
      }
    }
    s_.RebuildLayerOrder();
  }
  RelinkLayers();
  return true;
}

// Blocks may come in any order: faces and tiles read before the layers were
// replaced point at the old ones.
void SceneReader::RelinkLayers() {
  for (PaintFace& f : s_.Faces)
    for (FaceLayer& l : f.LayerList) l.Info = s_.GetLayerByID(l.LayerID);
  for (MRenderTarget* rt : s_.RenderTargets)
    if (rt->Pixels)
      for (auto& [key, tile] : rt->Pixels->Tiles)
        for (LayerTile* l : tile->LayerTiles) l->Info = s_.GetLayerByID((int)l->LayerID);
  s_.ResortSampleLists();
}

// The material at index i takes record i; a record of another version keeps
// the defaults after its textures; records beyond the materials are skipped.
bool SceneReader::MaterialTextures() {
  uint32_t count = r_.U32();
  if (!r_.Fits(count, 4, "material record")) return false;
  for (uint32_t i = 0; i < count && r_.Ok(); i++) {
    uint32_t n = r_.U32();
    if (!r_.Fits(n, 1, "material record")) return false;
    if (i >= (uint32_t)s_.Materials.GetAmount()) {
      r_.Skip(n);
      continue;
    }
    const uint8_t* p = r_.Span(n);
    if (!p) return false;
    MaterialImage image;
    auto cut = [&] {
      r_.Fail("material record " + std::to_string(i) + " is cut short");
      return false;
    };
    const uint8_t* end = p + n;
    if (end - p < 4) return cut();
    uint32_t textures = GetU32(p);
    p += 4;
    if (textures > (uint64_t)(end - p) / 8) return cut();
    image.Textures.resize(textures);
    for (MaterialTexture& t : image.Textures) {
      if (end - p < 8) return cut();
      t.Kind = GetU32(p);
      uint32_t size = GetU32(p + 4);
      p += 8;
      if (size > (uint64_t)(end - p)) return cut();
      t.Bytes.assign(p, p + size);
      p += size;
    }
    if (end - p >= 4 && GetU32(p) == MaterialImage::kVersion) {
      p += 4;
      if (end - p < 20 * 4 + 7 * 4 + 1 + 4) return cut();
      for (auto& colour : image.Colors)
        for (float& c : colour) c = GetF32(p), p += 4;
      for (float& v : image.Params) v = GetF32(p), p += 4;
      image.Flag = *p++;
      image.LastParam = GetF32(p);
    }
    s_.Materials[(int)i]->Image = std::move(image);
  }
  return r_.Ok();
}

bool SceneReader::ToolBlock(uint32_t tag, int64_t start, uint32_t size) {
  for (BasicTool* tool : tools_) {
    int blocks = tool->GetBlockCount();
    for (int j = 0; j < blocks; j++) {
      tool->BlockIndex = j;
      if (tool->GetBlockTag() != tag) continue;
      // Every tool reads from a stream that holds exactly its block, so a
      // short or greedy reader cannot lose the place.
      auto body = std::make_unique<MemoryBinStream>();
      std::vector<uint8_t> bytes(size);
      if (!r_.Bytes(bytes.data(), size)) return false;
      body->Write(bytes.data(), size);
      pending_.push_back({tool, j, std::move(body)});
      tool->BlockIndex = -1;
      return r_.Seek(start + size);
    }
    tool->BlockIndex = -1;
  }
  char letters[5];
  TagLetters(tag, letters);
  Log("%s: Unknown block found in mvn file: %s!", name_.c_str(), letters);
  return r_.Seek(start + size);
}

void SceneReader::Finish() {
  if (oldBlend_)
    for (OneLayerInfo* l : s_.Layers)
      if (l->ColorOp >= 0 && l->ColorOp < 8) l->ColorOp = kOldColorOps[l->ColorOp];
  for (MRenderTarget* rt : s_.RenderTargets)
    if (rt->Pixels) rt->Pixels->PruneAll();
  s_.Prepare();
  if (hasScale_ && std::isfinite(unitScale_) && unitScale_ > 0 && unitScale_ != s_.UnitScale) {
    // The stored scale wins over the one of the bounds; the cells follow it.
    s_.UnitScale = unitScale_;
    s_.PutFacesInCells();
    s_.CreateMeshBlocks();
  }
}

namespace {

SceneFileResult Load(PaintScene& scene, BinStream& in, int64_t size, const std::vector<BasicTool*>& tools,
                     const std::string& name) {
  Log("Loading file: %s", name.c_str());
  SceneFileResult result;
  auto staged = std::make_unique<PaintScene>();
  staged->Layers.Clear();
  staged->RebuildLayerOrder();
  SceneReader reader(*staged, in, size, tools, name);
  bool ok = reader.Run();
  if (ok) {
    reader.Finish();
    for (PendingToolBlock& b : reader.ToolBlocks()) {
      b.Tool->BlockIndex = b.Index;
      b.Body->SetReadPos(0);
      if (!b.Tool->LoadBlock(b.Body.get())) {
        char letters[5];
        TagLetters(b.Tool->GetBlockTag(), letters);
        result.error = name + ": block " + letters + " could not be read";
        ok = false;
      }
      b.Tool->BlockIndex = -1;
      if (!ok) break;
    }
  } else {
    result.error = name + ": " + reader.Error();
  }
  for (BasicTool* t : tools) t->OnSceneLoaded(ok);
  if (!ok) {
    // The open scene stays; the shared lists it feeds are its own again.
    scene.RebuildLayerOrder();
    RebuildMaterialEnumerator(scene.Materials);
    Log("LoadSceneFile(): %s", result.error.c_str());
    return result;
  }
  staged->FileName = name.c_str();
  SwapSceneContents(scene, *staged);
  scene.RebuildLayerOrder();
  RebuildMaterialEnumerator(scene.Materials);
  Log("Loading: done");
  result.ok = true;
  return result;
}

}  // namespace

SceneFileResult LoadSceneFile(PaintScene& scene, const std::string& path,
                              const std::vector<BasicTool*>& tools) {
  FILE_ReadBinStream in(path.c_str());
  if (!in.IsOpen()) {
    SceneFileResult r;
    r.error = path + ": the file cannot be opened";
    for (BasicTool* t : tools) t->OnSceneLoaded(false);
    return r;
  }
  return Load(scene, in, in.Size(), tools, path);
}

SceneFileResult LoadSceneBytes(PaintScene& scene, const unsigned char* data, size_t size,
                               const std::vector<BasicTool*>& tools, const std::string& name) {
  MemoryBinStream in;
  if (size) in.Write(data, (int64_t)size);
  in.SetReadPos(0);
  return Load(scene, in, (int64_t)size, tools, name);
}

SceneFileResult LoadToolBlocks(const std::string& path, const std::vector<BasicTool*>& tools) {
  PaintScene scene;
  return LoadSceneFile(scene, path, tools);
}
