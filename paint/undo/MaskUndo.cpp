// Writing and applying the freeze mask and hidden-face records (see MaskUndo.h).
#include "paint/undo/MaskUndo.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "ClassEngine/Log.h"
#include "ClassEngine/streams/MemoryBinStream.h"
#include "paint/file/BlockCoding.h"
#include "paint/layers/PixelMap.h"
#include "paint/scene/FaceBatches.h"
#include "paint/scene/PaintScene.h"
#include "paint/undo/UndoStack.h"
#include "shell/tools/BasicTool.h"

namespace {
enum FreezeCode : uint8_t { kAllFree = 0, kAllFrozen = 1, kPerSample = 2 };

// The pixel a face texel stands on, when its tile exists.
TilePixel* TexelPixel(PixelMap& map, const FaceTexel& t, PixelTile** tile) {
  PixelCursor c;
  if (!map.FetchPixel(c, t.X, t.Y, false, false, false)) return nullptr;
  if (tile) *tile = c.Tile;
  return &c.Pixel();
}

uint8_t FreezeByte(float f) { return (uint8_t)std::lround(std::clamp(f, 0.0f, 1.0f) * 255.0f); }

// One face's part of a "FRIZ" record as read.
struct FaceMask {
  uint8_t Code = kAllFree;
  std::vector<uint8_t> Grid;     // kPerSample: Nx * Ny bytes
  std::vector<uint16_t> Pixels;  // per-pixel faces: one a texel with a tile
};

int WordsFor(uint32_t faces) { return (int)(faces / 32 + 1); }
}  // namespace

void MarkFaceBlocksOutOfDate(PaintScene& scene, int face) {
  if (face < 0 || face >= (int)scene.Faces.size()) return;
  const PaintFace& f = scene.Faces[face];
  auto block = scene.MeshBlocks.find({f.CellKey[0] / 4, f.CellKey[1] / 4, f.CellKey[2] / 4});
  if (block == scene.MeshBlocks.end() || f.RenderTarget >= block->second.size()) return;
  MeshBlockPart& part = block->second[f.RenderTarget];
  part.UpToDate = 0;
  part.NeedsUpload = 1;
}

void WriteFreezeUndo(BinStream& out, PaintScene& scene) {
  BlockWriter w(out);
  w.U32(kFreezeUndoTag);
  for (PaintFace& f : scene.Faces) {
    if (f.Grid) {
      const uint8_t code = f.FreezeState == 0 ? kAllFree : f.FreezeState == 2 ? kAllFrozen : kPerSample;
      w.U8(code);
      if (code == kPerSample)
        for (int i = 0; i < f.SampleCount(); ++i) w.U8(FreezeByte(f.Grid[i].Freeze));
    } else if (f.Texels) {
      PixelMap* map = scene.GetPixelMap(f.RenderTarget);
      for (int i = 0; map && i < f.Texels->Count; ++i)
        if (const TilePixel* p = TexelPixel(*map, f.Texels->Texels[i], nullptr)) w.U16(p->Freeze);
    }
  }
}

bool PushFreezeUndo(UndoStack& stack, PaintScene& scene) {
  MemoryBinStream s;
  WriteFreezeUndo(s, scene);
  return stack.PushUndoRecord(s);
}

void FreezeUndo::Apply(BinStream& in) {
  PaintScene& scene = scene_;
  const int64_t size = in.Size();
  BlockReader r(in, size);
  r.Enter("FRIZ", size);
  // The whole record is read before anything changes: one that does not fit
  // the faces as they stand is left unapplied.
  std::vector<FaceMask> masks(scene.Faces.size());
  for (size_t fi = 0; fi < scene.Faces.size() && r.Ok(); ++fi) {
    PaintFace& f = scene.Faces[fi];
    FaceMask& m = masks[fi];
    if (f.Grid) {
      m.Code = r.U8();
      if (m.Code > kPerSample) r.Fail("unknown freeze code");
      if (m.Code == kPerSample && r.Fits((uint64_t)f.SampleCount(), 1, "freeze sample")) {
        m.Grid.resize((size_t)f.SampleCount());
        r.Bytes(m.Grid.data(), (int64_t)m.Grid.size());
      }
    } else if (f.Texels) {
      PixelMap* map = scene.GetPixelMap(f.RenderTarget);
      for (int i = 0; map && i < f.Texels->Count && r.Ok(); ++i)
        if (TexelPixel(*map, f.Texels->Texels[i], nullptr)) m.Pixels.push_back(r.U16());
    }
  }
  if (r.Ok() && r.Left() != 0) r.Fail("bytes beyond the last face");
  if (!r.Ok()) {
    Log("FreezeUndo::Apply(): damaged record (%s); left unapplied", r.Error().c_str());
    return;
  }

  if (stack_.InverseWanted()) PushFreezeUndo(stack_, scene);
  scene.Modified = 1;
  for (size_t fi = 0; fi < scene.Faces.size(); ++fi) {
    PaintFace& f = scene.Faces[fi];
    const FaceMask& m = masks[fi];
    if (f.Grid) {
      const int n = f.SampleCount();
      for (int i = 0; i < n; ++i)
        f.Grid[i].Freeze = m.Code == kAllFree ? 0.0f : m.Code == kAllFrozen ? 1.0f : m.Grid[(size_t)i] / 255.0f;
      f.FreezeState = m.Code == kAllFree ? 0 : m.Code == kAllFrozen ? 2 : 1;
    } else if (f.Texels) {
      PixelMap* map = scene.GetPixelMap(f.RenderTarget);
      size_t next = 0;
      for (int i = 0; map && i < f.Texels->Count; ++i) {
        PixelTile* tile = nullptr;
        if (TilePixel* p = TexelPixel(*map, f.Texels->Texels[i], &tile)) {
          p->Freeze = m.Pixels[next++];
          map->MarkDirty(tile, 1);
        }
      }
    }
  }
  for (int fi = 0; fi < (int)scene.Faces.size(); ++fi) scene.MarkFaceDirty(fi);
  UpdateDirtyFaces(scene, true, -1, scene.DrawFaceBatch);
  if (activeTool_)
    if (BasicTool* tool = activeTool_()) tool->OnMaskChanged();
}

void WritePolyHideUndo(BinStream& out, PaintScene& scene) {
  BlockWriter w(out);
  w.U32(kPolyHideUndoTag);
  const uint32_t count = (uint32_t)scene.Faces.size();
  w.U32(count);
  for (int word = 0; word < WordsFor(count); ++word) {
    uint32_t bits = 0;
    for (uint32_t i = 0; i < 32 && word * 32u + i < count; ++i)
      if (scene.Faces[word * 32u + i].Visible) bits |= 1u << i;
    w.U32(bits);
  }
}

bool PushPolyHideUndo(UndoStack& stack, PaintScene& scene) {
  MemoryBinStream s;
  WritePolyHideUndo(s, scene);
  return stack.PushUndoRecord(s);
}

void PolyHideUndo::Apply(BinStream& in) {
  PaintScene& scene = scene_;
  const int64_t size = in.Size();
  BlockReader r(in, size);
  r.Enter("PHID", size);
  const uint32_t count = r.U32();
  std::vector<uint32_t> words;
  if (r.Ok() && r.Fits((uint64_t)WordsFor(count), 4, "visibility word")) {
    words.resize((size_t)WordsFor(count));
    for (uint32_t& w : words) w = r.U32();
  }
  if (!r.Ok()) {
    Log("PolyHideUndo::Apply(): damaged record (%s); left unapplied", r.Error().c_str());
    return;
  }
  if (stack_.InverseWanted()) PushPolyHideUndo(stack_, scene);
  // A record of another set of faces brings nothing back.
  if (count != (uint32_t)scene.Faces.size()) return;
  scene.Modified = 1;
  bool any = false;
  for (uint32_t i = 0; i < count; ++i) {
    const uint8_t visible = (words[i / 32] >> (i % 32)) & 1;
    PaintFace& f = scene.Faces[i];
    if (f.Visible == visible) continue;
    f.Visible = visible;
    MarkFaceBlocksOutOfDate(scene, (int)i);
    any = true;
  }
  if (any && refresh_) refresh_();
}
