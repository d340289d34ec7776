// Scenes for the scene-file tests, built in code: a micro-vertex sheet with a
// layer per blend mode, frozen samples, a hidden object and vertex maps, and a
// per-pixel sheet with painted tiles; and helpers that take a saved file
// apart into blocks and put it back together.
#pragma once
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "../PaintMeshes.h"
#include "ClassEngine/Random.h"
#include "ClassEngine/streams/MemoryBinStream.h"
#include "paint/file/SceneFile.h"
#include "paint/layers/PixelMap.h"

namespace scenefiles {

// A w x h micro-vertex sheet (grid side 2^level) with one layer per colour
// mode, depth modes in turn, frozen samples and the third object hidden.
inline void MicroVertexScene(PaintScene& s, int w = 5, int h = 3, int level = 2, int modes = ColorOps::kCount) {
  ImportMeshIntoScene(s, paintmeshes::Sheet(w, h), PaintImportMode::MicroVertex, paintmeshes::Grid(level));
  for (int k = 0; k < 2; k++) {
    auto* o = new OneSubObject;
    o->Name = k ? "Hidden" : "Second";
    o->Parent = &s.Objects;
    s.Objects.Add(o);
  }
  Random rng(7);
  for (int op = 0; op < modes; op++) {
    int id = s.NewLayer(true);
    OneLayerInfo* l = s.GetLayerByID(id);
    l->ColorOp = op;
    l->DepthOp = op % DepthOps::kCount;
    l->ColorTransparency = 0.5f + 0.5f * (op % 3) / 2;
    for (int f = op % 3; f < (int)s.Faces.size(); f += 2) {
      FaceLayer* fl = s.GetFaceLayer(f, id, true);
      for (int i = 0; i < s.Faces[f].SampleCount(); i++) {
        LayerMicroVertex& m = fl->Data[i];
        m.Color = (uint32_t)rng.Next() << 17 ^ (uint32_t)rng.Next();
        m.Opacity = (rng.Next() % 101) / 100.0f;
        m.Offset = comms::cVec3(0, 0, (rng.Next() % 21 - 10) / 200.0f);
      }
    }
  }
  for (int f = 0; f < (int)s.Faces.size(); f++) {
    PaintFace& face = s.Faces[f];
    face.Object = (uint16_t)(f % 3);
    for (int i = 0; i < face.SampleCount(); i += 3) face.Grid[i].Freeze = (f + i) % 2 ? 1.0f : 0.25f;
  }
  s.Objects[2]->Visible = false;
  s.VertexMaps[3] = {1, 2, 3, 4, 5, 6};
  s.VertexMaps[1] = {7, 8, 9, 10, 11, 12};
  s.SubdPairs = {0, 1, 5, 2, 3, 6};
  s.Shift = comms::cVec3(0.5f, -2, 3);
  s.Prepare();
  // A hidden face beyond its object: only its top bit says so.
  for (PaintFace& f : s.Faces) f.Visible = f.Object != 2;
}

// A per-pixel sheet on a map of odd size with colour, depth and specular
// painted in different layers, and frozen pixels.
inline void PerPixelScene(PaintScene& s, int w = 67, int h = 45) {
  s.RtSizeX = w, s.RtSizeY = h;
  ImportMeshIntoScene(s, paintmeshes::Sheet(3, 2), PaintImportMode::PerPixel, DPSettings());
  PixelMap* map = s.GetPixelMap(0);
  int colour = s.NewLayer(true), depth = s.NewLayer(true), shine = s.NewLayer(true);
  s.GetLayerByID(depth)->ColorOp = ColorOps::Multiply;
  PixelCursor c;
  for (int y = 3; y < h - 5; y++)
    for (int x = 2; x < w - 9; x++) {
      if (!map->FetchPixel(c, x, y, true, true, false, colour)) continue;
      c.Layer->Pixels[c.Index].Color = 0xff000000u | (uint32_t)(x * 3) << 16 | (uint32_t)(y * 5) << 8 | 0x40;
      if (x > w / 2 && map->FetchPixel(c, x, y, true, true, false, depth))
        c.Layer->Pixels[c.Index].Depth = (x - y) / 64.0f;
      if (y < h / 3 && map->FetchPixel(c, x, y, true, true, false, shine))
        c.Layer->Pixels[c.Index].Specular = (uint8_t)(x + y);
      if ((x + 2 * y) % 7 == 0) c.Pixel().Freeze = (uint16_t)(x * 100 + y);
    }
  map->Update();
}

inline std::vector<uint8_t> Bytes(PaintScene& s, const std::vector<BasicTool*>& tools = {}) {
  MemoryBinStream m;
  WriteScene(s, m, tools);
  return std::vector<uint8_t>(m.GetData(), m.GetData() + m.GetWritePos());
}

inline SceneFileResult Load(PaintScene& s, const std::vector<uint8_t>& b,
                            const std::vector<BasicTool*>& tools = {}) {
  return LoadSceneBytes(s, b.data(), b.size(), tools, "test.mvn");
}

inline uint32_t U32At(const std::vector<uint8_t>& b, size_t at) {
  uint32_t v;
  std::memcpy(&v, b.data() + at, 4);
  return v;
}

struct Block {
  uint32_t Tag;
  std::vector<uint8_t> Body;
};

// The blocks of a file written by this program (whose sizes are all exact).
inline std::vector<Block> Split(const std::vector<uint8_t>& b) {
  std::vector<Block> out;
  for (size_t at = 8; at + 8 <= b.size();) {
    uint32_t tag = U32At(b, at), size = U32At(b, at + 4);
    if (size > b.size() - at - 8) break;  // a size that is no size: the caller compares
    out.push_back({tag, std::vector<uint8_t>(b.begin() + at + 8, b.begin() + at + 8 + size)});
    at += 8 + size;
  }
  return out;
}

inline std::vector<uint8_t> Join(const std::vector<Block>& blocks) {
  std::vector<uint8_t> b(8);
  uint32_t head[2] = {FourCC("MESH"), 1};
  std::memcpy(b.data(), head, 8);
  for (const Block& k : blocks) {
    uint32_t h[2] = {k.Tag, (uint32_t)k.Body.size()};
    b.insert(b.end(), (uint8_t*)h, (uint8_t*)h + 8);
    b.insert(b.end(), k.Body.begin(), k.Body.end());
  }
  return b;
}

inline std::vector<Block> Without(std::vector<Block> blocks, uint32_t tag) {
  std::erase_if(blocks, [&](const Block& k) { return k.Tag == tag; });
  return blocks;
}

}  // namespace scenefiles
