// Writing the scene file: the blocks of the paint scene in their fixed order,
// then the tool blocks, through a temporary file that replaces the target
// only when complete.
#include <algorithm>
#include <cerrno>
#include <cstring>

#include "ClassEngine/Log.h"
#include "ClassEngine/Progress.h"
#include "ClassEngine/streams/AtomicFileWriter.h"
#include "ClassEngine/streams/FileBinStreams.h"
#include "ClassEngine/streams/MemoryBinStream.h"
#include "ClassEngine/xml/XmlNode.h"
#include "paint/file/BlockCoding.h"
#include "paint/file/SceneFile.h"
#include "paint/file/SceneFileTags.h"
#include "paint/layers/PixelMap.h"
#include "paint/scene/PaintScene.h"
#include "shell/tools/BasicTool.h"

using namespace scenetags;

namespace {

std::string ClassText(BaseClass& object) {
  XmlNode node;
  object.Save(&node, &object);
  std::string text;
  node.Write(text);
  return text;
}

// u32 n, then n bytes with the final NUL.
void XmlBody(BlockWriter& w, const std::string& text) {
  w.U32((uint32_t)text.size() + 1);
  w.Bytes(text.c_str(), text.size() + 1);
}

void XmlBlock(BlockWriter& w, uint32_t tag, BaseClass& object) {
  std::string text = ClassText(object);
  w.BlockHead(tag, (uint32_t)text.size() + 5);
  XmlBody(w, text);
}

void Corner(BlockWriter& w, const FaceCorner& c) {
  w.I32(c.Vertex), w.I32(c.Normal);
  w.F32(c.UV.x), w.F32(c.UV.y);
  w.Vec3(c.Tangent), w.Vec3(c.Binormal);
  w.F32(c.UV2.x), w.F32(c.UV2.y);
}

// The corner-map dump: u32 count, then (face, corner) pairs in order.
void CornerMapDump(BlockWriter& w, const FaceCornerTable& t) {
  uint32_t pairs = 0;
  for (int f = 0; f < t.FaceCount(); f++) pairs += (uint32_t)std::max(0, t.Entries(f) - 1);
  w.U32(4 + pairs * 8);
  w.U32(pairs);
  for (int f = 0; f < t.FaceCount(); f++)
    for (int i = 0; i + 1 < t.Entries(f); i++) w.U32((uint32_t)f), w.U32((uint32_t)t.Of(f)[i]);
}

uint64_t FaceBytes(const PaintFace& f) {
  uint64_t n = 1 + 16 + 4 + 4 + 8 + 4;
  uint64_t s = (uint64_t)f.SampleCount();
  if (s > 0 && f.Grid) n += s * 16 + 4 + (uint64_t)f.LayerList.GetAmount() * (4 + s * 20);
  return n;
}

void Surface(BlockWriter& w, const PaintScene& scene) {
  // Head, arrays, two map dumps (size and count each), face count.
  uint64_t bytes = 20 + scene.Corners.size() * 48 + scene.Normals.size() * 12 +
                   scene.Vertices.size() * 20 + 16 + 4;
  for (const auto* t : {&scene.FaceCornerMap, &scene.BasicFaceCornerMap})
    for (int f = 0; f < t->FaceCount(); f++) bytes += 8 * (uint64_t)std::max(0, t->Entries(f) - 1);
  for (const PaintFace& f : scene.Faces) bytes += FaceBytes(f);
  w.BlockHead(kSurface, (uint32_t)std::min<uint64_t>(bytes, 0xffffffffu));
  w.U32(0);
  w.U32((uint32_t)scene.Faces.size());
  w.U32((uint32_t)scene.Corners.size());
  w.U32((uint32_t)scene.Vertices.size());
  w.U32((uint32_t)scene.Normals.size());
  for (const FaceCorner& c : scene.Corners) Corner(w, c);
  for (const comms::cVec3& n : scene.Normals) w.Vec3(n);
  for (const MeshVertex& v : scene.Vertices) {
    w.Vec3(v.Position), w.F32(v.Mark);
    w.U8(v.Reserved0), w.U8(v.SubdivisionLevel), w.U8(v.Dirty), w.U8(v.Reserved1);
  }
  CornerMapDump(w, scene.FaceCornerMap);
  CornerMapDump(w, scene.BasicFaceCornerMap);
  const int nf = (int)scene.Faces.size();
  w.U32((uint32_t)nf);
  for (int i = 0; i < nf; i++) {
    const PaintFace& f = scene.Faces[i];
    if ((i & 4095) == 511) ReportProgress("SAVING_PROGRESS", i, nf);
    w.U8(f.Flags);
    w.I32(f.Neighbour[2]), w.I32(f.Neighbour[3]), w.I32(f.Neighbour[0]), w.I32(f.Neighbour[1]);
    const bool grid = f.Grid && f.SampleCount() > 0;
    w.U16(f.RenderTarget), w.U16(f.UVSet);
    w.U16(grid ? f.Nx : 0), w.U16(grid ? f.Ny : 0);
    w.U32((uint32_t)f.Object | (f.Visible ? 0u : 0x80000000u));
    w.U32(f.Material);
    w.F32(f.Wear);
    if (!grid) continue;
    const int n = f.SampleCount();
    for (int s = 0; s < n; s++) w.F32(f.Grid[s].Freeze), w.Vec3(f.Grid[s].BaseNormal);
    w.U32((uint32_t)f.LayerList.GetAmount());
    for (const FaceLayer& l : f.LayerList) {
      w.U32((uint32_t)l.LayerID);
      for (int s = 0; s < n; s++) {
        const LayerMicroVertex& m = l.Data[s];
        w.U32(m.Color), w.Vec3(m.Offset), w.F32(m.Opacity);
      }
    }
  }
}

// Bit 0 depth, bit 1 specular, bit 2 colour: the channels with a non-zero pixel.
uint16_t TileFlags(const LayerTile& t) {
  uint16_t flags = 0;
  for (const LayerPixel& p : t.Pixels) {
    if (p.Depth != 0) flags |= 1;
    if (p.Specular != 0) flags |= 2;
    if (p.Color != 0) flags |= 4;
  }
  return flags;
}

bool HasFreeze(const PixelTile& t) {
  for (const TilePixel& p : t.Pixels)
    if (p.Freeze) return true;
  return false;
}

void PixelBlock(BlockWriter& w, int target, const PixelMap& map) {
  // Tiles in key order, so the same map always writes the same bytes.
  std::vector<std::pair<uint32_t, const PixelTile*>> tiles;
  for (const auto& [key, tile] : map.Tiles) {
    bool layers = false;
    for (const LayerTile* l : tile->LayerTiles) layers |= TileFlags(*l) != 0;
    if (layers || HasFreeze(*tile)) tiles.push_back({key, tile});
  }
  std::sort(tiles.begin(), tiles.end());
  uint64_t bytes = 12;
  for (const auto& [key, t] : tiles) {
    bytes += 4 + (HasFreeze(*t) ? 514 : 2) + 2;
    for (const LayerTile* l : t->LayerTiles) {
      uint16_t f = TileFlags(*l);
      if (f) bytes += 4 + (f & 1 ? 1024 : 0) + (f & 2 ? 256 : 0) + (f & 4 ? 1024 : 0);
    }
  }
  w.BlockHead(kPixels, (uint32_t)std::min<uint64_t>(bytes, 0xffffffffu));
  w.U32((uint32_t)target);
  w.U16((uint16_t)map.Width), w.U16((uint16_t)map.Height);
  w.U32((uint32_t)tiles.size());
  for (const auto& [key, t] : tiles) {
    w.U16((uint16_t)t->X), w.U16((uint16_t)t->Y);
    bool freeze = HasFreeze(*t);
    w.U16(freeze ? 1 : 0);
    if (freeze)
      for (const TilePixel& p : t->Pixels) w.U16(p.Freeze);
    int layers = 0;
    for (const LayerTile* l : t->LayerTiles) layers += TileFlags(*l) != 0;
    w.U16((uint16_t)layers);
    for (const LayerTile* l : t->LayerTiles) {
      uint16_t f = TileFlags(*l);
      if (!f) continue;
      w.U16((uint16_t)l->LayerID), w.U16(f);
      if (f & 1)
        for (const LayerPixel& p : l->Pixels) w.F32(p.Depth);
      if (f & 2)
        for (const LayerPixel& p : l->Pixels) w.U8(p.Specular);
      if (f & 4)
        for (const LayerPixel& p : l->Pixels) w.U32(p.Color);
    }
  }
}

// A material's texture record: its textures, version 1, its parameters.
void WriteMaterialImage(BlockWriter& w, const MaterialImage& m) {
  w.U32((uint32_t)m.RecordBytes());
  w.U32((uint32_t)m.Textures.size());
  for (const MaterialTexture& t : m.Textures) {
    w.U32(t.Kind), w.U32((uint32_t)t.Bytes.size());
    if (!t.Bytes.empty()) w.Bytes(t.Bytes.data(), t.Bytes.size());
  }
  w.U32(MaterialImage::kVersion);
  for (const auto& colour : m.Colors)
    for (float c : colour) w.F32(c);
  for (float p : m.Params) w.F32(p);
  w.U8(m.Flag);
  w.F32(m.LastParam);
}

void ToolBlocks(BlockWriter& w, const std::vector<BasicTool*>& tools) {
  for (BasicTool* tool : tools) {
    int blocks = tool->GetBlockCount();
    for (int j = 0; j < blocks; j++) {
      tool->BlockIndex = j;
      uint32_t tag = tool->GetBlockTag();
      if (!tag) continue;
      if (tool->WritesDirect()) {
        BinStreamCounter counter;
        tool->BlockIndex = j;
        tool->SaveBlock(&counter);
        w.BlockHead(tag, (uint32_t)counter.Size());
        w.Flush();
        tool->BlockIndex = j;
        tool->SaveBlock(&w.Stream());
      } else {
        MemoryBinStream mem;
        tool->SaveBlock(&mem);
        if (mem.GetWritePos() == 0) continue;
        w.BlockHead(tag, (uint32_t)mem.GetWritePos());
        w.Bytes(mem.GetData(), (size_t)mem.GetWritePos());
      }
    }
    tool->BlockIndex = -1;
  }
}

}  // namespace

bool WriteScene(PaintScene& scene, BinStream& out, const std::vector<BasicTool*>& tools) {
  BlockWriter w(out);
  w.U32(kHead), w.U32(1);
  w.BlockHead(kRender, 8), w.U32((uint32_t)scene.RtSizeX), w.U32((uint32_t)scene.RtSizeY);
  w.BlockHead(kNoSwapYZ, 0);
  w.BlockHead(kNewBlend, 0);
  w.BlockHead(kScale, 20), w.F32(scene.UnitScale), w.Vec3(scene.Shift), w.F32(scene.CellSize);
  w.BlockHead(kSymmetry, 20), w.U32(0), w.I32(-1), w.Vec3(comms::cVec3());
  w.BlockHead(kSpecular, 0);
  std::string layers = ClassText(scene.Layers);
  w.BlockHead(kLayers, (uint32_t)layers.size() + 9);
  w.U32((uint32_t)scene.CurrentLayer);
  XmlBody(w, layers);
  XmlBlock(w, kMaterials, scene.Materials);
  uint64_t images = 4;
  for (const OneMaterial* m : scene.Materials) images += 4 + m->Image.RecordBytes();
  w.BlockHead(kMaterialTextures, (uint32_t)images);
  w.U32((uint32_t)scene.Materials.GetAmount());
  for (const OneMaterial* m : scene.Materials) WriteMaterialImage(w, m->Image);
  XmlBlock(w, kObjects, scene.Objects);
  XmlBlock(w, kTargets, scene.RenderTargets);
  RebuildMaterialEnumerator(scene.Materials);
  XmlBlock(w, kUVSets, scene.UVSets);
  if (!scene.SubdPairs.empty()) {
    w.BlockHead(kSubdivision, (uint32_t)(scene.SubdPairs.size() / 3 * 12));
    for (size_t i = 0; i < scene.SubdPairs.size() / 3 * 3; i++) w.U32(scene.SubdPairs[i]);
  }
  if (!scene.VertexMaps.empty()) {
    std::vector<uint32_t> keys;
    for (const auto& [key, value] : scene.VertexMaps) keys.push_back(key);
    std::sort(keys.begin(), keys.end());
    w.BlockHead(kVertexMaps, 4 + (uint32_t)keys.size() * 28);
    w.U32((uint32_t)keys.size());
    for (uint32_t key : keys) {
      w.U32(key);
      for (uint32_t v : scene.VertexMaps.at(key)) w.U32(v);
    }
  }
  XmlBlock(w, kVertexMapTypes, scene.VMapTypes);
  if (!scene.BasePositions.empty()) {
    w.BlockHead(kBasePositions, (uint32_t)scene.BasePositions.size() * 12);
    for (const comms::cVec3& p : scene.BasePositions) w.Vec3(p);
  }
  if (!scene.UVPatchData8.empty() || !scene.UVPatchData12.empty()) {
    w.BlockHead(kUVPatches, 8 + (uint32_t)(scene.UVPatchData8.size() * 8 + scene.UVPatchData12.size() * 12));
    w.U32((uint32_t)scene.UVPatchData8.size());
    for (uint64_t v : scene.UVPatchData8) w.U32((uint32_t)v), w.U32((uint32_t)(v >> 32));
    w.U32((uint32_t)scene.UVPatchData12.size());
    for (const auto& r : scene.UVPatchData12) w.U32(r[0]), w.U32(r[1]), w.U32(r[2]);
  }
  Surface(w, scene);
  for (int t = 0; t < scene.RenderTargets.GetAmount(); t++)
    if (const PixelMap* map = scene.RenderTargets[t]->Pixels) PixelBlock(w, t, *map);
  ToolBlocks(w, tools);
  w.BlockHead(kEnd, 0);
  w.Flush();
  return true;
}

SceneFileResult SaveSceneFile(PaintScene& scene, const std::string& path,
                              const std::vector<BasicTool*>& tools) {
  SceneFileResult r;
  for (BasicTool* t : tools)
    if (t->IsActive()) t->OnSceneSaved();
  AtomicFileWriter out(path);
  if (!out.Failed()) WriteScene(scene, out, tools);
  if (!out.Commit()) {
    r.error = out.Error();
    Log("SaveSceneFile(): %s", r.error.c_str());
    return r;
  }
  Log("SaveSceneFile(): %s, %lld bytes", path.c_str(), (long long)out.Size());
  r.ok = true;
  return r;
}

SceneFileResult SaveToolBlocks(const std::string& path, const std::vector<BasicTool*>& tools) {
  PaintScene scene;
  return SaveSceneFile(scene, path, tools);
}

std::string IncrementalName(const std::string& path) {
  size_t dot = path.find_last_of('.');
  size_t slash = path.find_last_of("/\\");
  if (dot == std::string::npos || dot == 0 || (slash != std::string::npos && dot < slash + 2)) return {};
  std::string stem = path.substr(0, dot);
  int number = 0;
  size_t n = stem.size();
  if (n >= 4 && stem[n - 4] == '_' && isdigit((unsigned char)stem[n - 3]) &&
      isdigit((unsigned char)stem[n - 2]) && isdigit((unsigned char)stem[n - 1])) {
    number = std::atoi(stem.c_str() + n - 3);
    stem.resize(n - 4);
  }
  char tail[32];
  snprintf(tail, sizeof(tail), "_%03d.mvn", number + 1);
  return stem + tail;
}
