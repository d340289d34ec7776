// Reading the scene file: the blocks walk into a scene of their own, every
// size and count checked against the bytes left; the loading stages run on
// it, and only then does it replace the open scene and do the tools take
// their blocks.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <memory>
#include <new>

#include "ClassEngine/ExMalloc.h"
#include "ClassEngine/Log.h"
#include "ClassEngine/Progress.h"
#include "ClassEngine/Threader.h"
#include "ClassEngine/streams/FileBinStreams.h"
#include "ClassEngine/streams/MemoryBinStream.h"
#include "ClassEngine/xml/ErrorCollector.h"
#include "ClassEngine/xml/XmlNode.h"
#include "paint/file/BlockCoding.h"
#include "paint/file/FaceRecords.h"
#include "paint/file/SceneFile.h"
#include "paint/file/SceneFileTags.h"
#include "paint/file/SceneSwap.h"
#include "paint/layers/PixelMap.h"
#include "paint/scene/PaintScene.h"
#include "shell/tools/BasicTool.h"

using namespace scenetags;

namespace {

constexpr int kMaxLayerID = 8192;
constexpr int kMaxTargets = 4096;
constexpr int kMaxMapSide = 16384;

// Old layer blend numbers -> the present table.
constexpr int kOldColorOps[8] = {0, 3, 23, 24, 25, 6, 2, 26};

bool IsSurfaceTag(uint32_t tag) {
  return (tag >= FourCC("SUR2") && tag <= FourCC("SUR9")) || tag == FourCC("SAR5") ||
         tag == FourCC("SAR6") || tag == FourCC("SAR7");
}

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
  bool MaterialTextures();
  bool Surface(uint32_t tag);
  bool CornerMap(FaceCornerTable& table, int faces);
  bool Faces(const FaceLayout& layout, uint32_t faces);
  bool Pixels();
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
  if (tag == kPixels) return Pixels();
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
  } else if (tag == FourCC("SURF") || tag == FourCC("SUR1") || tag == FourCC("MAQ1")) {
    r_.Fail("files of this early version are not read");
    return false;
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
  return true;
}

bool SceneReader::MaterialTextures() {
  uint32_t count = r_.U32();
  if (!r_.Fits(count, 4, "material record")) return false;
  for (uint32_t i = 0; i < count && r_.Ok(); i++) {
    uint32_t n = r_.U32();
    if (!r_.Fits(n, 1, "material record")) return false;
    r_.Skip(n);  // materials carry no texture images of their own yet
  }
  return r_.Ok();
}

bool SceneReader::CornerMap(FaceCornerTable& table, int faces) {
  uint32_t n = r_.U32();
  if (!r_.Fits(n, 1, "corner map")) return false;
  int64_t end = r_.Pos() + n;
  uint32_t pairs = r_.U32();
  if (n < 4 || pairs > (n - 4) / 8) {
    r_.Fail("the corner map's count does not match its size");
    return false;
  }
  table.Clear();
  std::vector<int> loop;
  int face = 0;
  const int corners = (int)s_.Corners.size();
  for (uint32_t i = 0; i <= pairs; i++) {
    int f = i < pairs ? (int)r_.U32() : faces;
    int c = i < pairs ? (int)r_.U32() : 0;
    if (f < face || f > faces || (i < pairs && (f >= faces || c < 0 || c >= corners))) {
      r_.Fail("the corner map names a face or corner that does not exist");
      return false;
    }
    while (face < f) {
      table.AddFace(loop.data(), (int)loop.size());
      loop.clear();
      face++;
    }
    if (i < pairs) loop.push_back(c);
  }
  return r_.Seek(end);
}

bool SceneReader::Surface(uint32_t tag) {
  if (tag == FourCC("SAR5")) tag = FourCC("SUR5");
  if (tag == FourCC("SAR6")) tag = FourCC("SUR6");
  if (tag == FourCC("SAR7")) tag = FourCC("SUR7");
  uint32_t defaultGrid = r_.U32();
  if (tag >= FourCC("SUR6")) defaultGrid = 0;
  if (defaultGrid > 4096) {
    r_.Fail("the grid size " + std::to_string(defaultGrid) + " is out of range");
    return false;
  }
  r_.U32();
  uint32_t corners = r_.U32(), vertices = r_.U32(), normals = r_.U32();
  const uint32_t cornerBytes = tag < FourCC("SUR4") ? 40 : 48;
  if (!r_.Fits(corners, cornerBytes, "corner") || !r_.Fits(normals, 12, "normal") ||
      !r_.Fits(vertices, 20, "vertex") ||
      !r_.Fits(1, (uint64_t)corners * cornerBytes + normals * 12ull + vertices * 20ull, "mesh array"))
    return false;
  s_.Corners.assign(corners, FaceCorner());
  for (FaceCorner& c : s_.Corners) {
    c.Vertex = r_.I32(), c.Normal = r_.I32();
    c.UV.x = r_.F32(), c.UV.y = r_.F32();
    c.Tangent = r_.Vec3(), c.Binormal = r_.Vec3();
    Swap(c.Tangent), Swap(c.Binormal);
    if (cornerBytes == 48) c.UV2.x = r_.F32(), c.UV2.y = r_.F32();
    if (c.Vertex < 0 || c.Vertex >= (int)vertices || c.Normal < -1 || c.Normal >= (int)normals) {
      r_.Fail("a corner names a vertex or normal that does not exist");
      return false;
    }
  }
  s_.Normals.resize(normals);
  for (comms::cVec3& n : s_.Normals) n = r_.Vec3(), Swap(n);
  s_.Vertices.resize(vertices);
  for (MeshVertex& v : s_.Vertices) {
    v.Position = r_.Vec3();
    Swap(v.Position);
    v.Mark = r_.F32();
    v.Reserved0 = r_.U8(), v.SubdivisionLevel = r_.U8(), v.Dirty = r_.U8(), v.Reserved1 = r_.U8();
  }
  // The maps come before the face count: read them aside and check after.
  int64_t maps = r_.Pos();
  for (int k = 0; k < 2 && r_.Ok(); k++) {
    uint32_t n = r_.U32();
    if (r_.Fits(n, 1, "corner map")) r_.Skip(n);
  }
  uint32_t faces = r_.U32();
  if (!r_.Fits(faces, 17, "face")) return false;
  int64_t facesAt = r_.Pos();
  if (!r_.Seek(maps) || !CornerMap(s_.FaceCornerMap, (int)faces) ||
      !CornerMap(s_.BasicFaceCornerMap, (int)faces) || !r_.Seek(facesAt))
    return false;
  s_.Faces.clear();
  s_.Faces.resize(faces);
  if (!Faces(FaceLayout::Of(tag, defaultGrid), faces)) return false;
  if (oldBlend_) {
    for (OneLayerInfo* l : s_.Layers)
      if (l->ColorOp >= 0 && l->ColorOp < 8) l->ColorOp = kOldColorOps[l->ColorOp];
    oldBlend_ = false;
  }
  s_.CreateMissingTargets();
  return r_.Ok();
}

// The faces go in runs: the records of a run are measured in the read
// window one after the other, decoded on the thread pool, and their layers
// resolved in face order (which creates missing layers in file order).
bool SceneReader::Faces(const FaceLayout& layout, uint32_t faces) {
  constexpr int64_t kRunBytes = 8 << 20;
  constexpr size_t kRunFaces = 4096;
  FaceContext context;
  context.UVSets = s_.UVSets.GetAmount();
  for (const OneSubObject* o : s_.Objects)
    context.ObjectVisible.push_back(o->Visible), context.ObjectLocked.push_back(o->Locked);
  for (const OneMaterial* m : s_.Materials) context.MaterialLocked.push_back(m->Locked);
  context.SwapYZ = swapYZ_, context.OldSpecular = oldSpecular_;
  std::vector<int64_t> offsets;
  std::vector<std::string> why;
  int64_t atLeast = 0;  // the bytes the next record needs to be measured
  for (uint32_t done = 0; done < faces;) {
    int64_t have = std::max(kRunBytes, atLeast);
    const uint8_t* bytes = r_.Peek(have);
    if (!bytes) return false;
    offsets.assign(1, 0);
    int64_t need = 0;
    while (done + offsets.size() - 1 < faces && offsets.size() <= kRunFaces) {
      int64_t length = FaceRecordLength(layout, bytes + offsets.back(), have - offsets.back(), need);
      if (length < 0) break;
      offsets.push_back(offsets.back() + length);
    }
    const int count = (int)offsets.size() - 1;
    if (count == 0) {
      // One record larger than the run: make room for it, if the file holds it.
      if (need > r_.Left()) {
        r_.Fail("face " + std::to_string(done) + " needs " + std::to_string(need) + " bytes, " +
                std::to_string(r_.Left()) + " are left");
        return false;
      }
      atLeast = need;
      continue;
    }
    atLeast = 0;
    why.assign(count, std::string());
    ParallelRange(0, count, [&](int first, int last) {
      for (int k = first; k < last; k++)
        if (!DecodeFaceRecord(layout, context, bytes + offsets[k], s_.Faces[done + k], why[k])) break;
    });
    for (int k = 0; k < count; k++) {
      if (!why[k].empty()) {
        r_.Skip(offsets[k]);
        r_.Fail("face " + std::to_string(done + k) + ": " + why[k]);
        return false;
      }
      for (FaceLayer& l : s_.Faces[done + k].LayerList) l.Info = s_.GetLayerByID(l.LayerID);
    }
    r_.Skip(offsets.back());
    done += count;
    ReportProgress("LOADING_PROGRESS", done, faces);
  }
  return r_.Ok();
}

bool SceneReader::Pixels() {
  uint32_t target = r_.U32();
  int width = r_.U16(), height = r_.U16();
  uint32_t tiles = r_.U32();
  if (!r_.Ok()) return false;
  if (target >= (uint32_t)kMaxTargets || width > kMaxMapSide || height > kMaxMapSide) {
    r_.Fail("the pixel map is out of range");
    return false;
  }
  if (!r_.Fits(tiles, 6, "tile")) return false;
  s_.CreateMissingTargets();
  while (s_.RenderTargets.GetAmount() <= (int)target) {
    auto* rt = new MRenderTarget;
    rt->Parent = &s_.RenderTargets;
    s_.RenderTargets.Add(rt);
  }
  MRenderTarget* rt = s_.RenderTargets[target];
  delete rt->Pixels;
  rt->Pixels = new PixelMap(&s_, width, height);
  PixelMap& map = *rt->Pixels;
  map.Build(s_, (int)target);
  for (uint32_t t = 0; t < tiles; t++) {
    int tx = r_.U16(), ty = r_.U16();
    PixelTile* tile = r_.Ok() ? map.GetTile(tx, ty) : nullptr;
    if (!tile) {
      r_.Fail("a tile lies outside the map");
      return false;
    }
    uint16_t freeze = r_.U16();
    if (freeze > 1) {
      r_.Fail("a tile's freeze flag is " + std::to_string(freeze));
      return false;
    }
    for (TilePixel& p : tile->Pixels) p.Freeze = freeze ? r_.U16() : 0;
    int layers = r_.U16();
    for (int k = 0; k < layers && r_.Ok(); k++) {
      int id = std::min<int>(r_.U16(), kMaxLayerID);
      uint16_t flags = r_.U16();
      if (flags & ~7u) {
        r_.Fail("a tile layer has the flags " + std::to_string(flags));
        return false;
      }
      s_.GetLayerByID(id);
      LayerTile* l = map.GetLayerTile(tile, id, true);
      if (!l) {
        r_.Fail("no memory for a tile layer");
        return false;
      }
      if (flags & 1)
        if (const uint8_t* d = r_.Span(kTilePixels * 4))
          for (int i = 0; i < kTilePixels; i++) l->Pixels[i].Depth = GetF32(d + 4 * i);
      if (flags & 2)
        if (const uint8_t* sp = r_.Span(kTilePixels))
          for (int i = 0; i < kTilePixels; i++) l->Pixels[i].Specular = sp[i];
      if (flags & 4)
        if (const uint8_t* c = r_.Span(kTilePixels * 4))
          for (int i = 0; i < kTilePixels; i++) l->Pixels[i].Color = GetU32(c + 4 * i);
    }
    map.MarkDirty(tile);
  }
  rt->UseExternalTexture = true;
  rt->rtSizeX = width, rt->rtSizeY = height;
  map.Scene = &s_;
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
