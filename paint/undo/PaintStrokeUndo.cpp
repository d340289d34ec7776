// Writing and applying the paint stroke records (see PaintStrokeUndo.h).
#include "paint/undo/PaintStrokeUndo.h"

#include <cstring>
#include <vector>

#include "ClassEngine/Log.h"
#include "ClassEngine/streams/MemoryBinStream.h"
#include "paint/file/BlockCoding.h"
#include "paint/layers/ComposeFace.h"
#include "paint/layers/PixelMap.h"
#include "paint/scene/PaintScene.h"
#include "paint/stroke/ApplyStroke.h"
#include "paint/undo/UndoStack.h"

namespace {
constexpr int kSampleBytes = 24;
constexpr int kTileEntryBytes = 16 + 8 + kTilePixels * 12 + 2;

// One face's samples of one layer; without samples the face had no entry.
struct FaceEntry {
  int Face = -1, LayerID = 0;
  bool HasSamples = false;
  std::vector<LayerMicroVertex> Samples;
  std::vector<comms::cVec3> Normals;  // the composite's normals, as they were
};

// One layer tile as it was; absent and all-empty read the same.
struct TileEntry {
  int Target = 0, LayerID = 0, X = 0, Y = 0;
  std::vector<LayerPixel> Pixels;  // kTilePixels
  std::vector<uint16_t> Freeze;     // kTilePixels or empty
};

void PutSamples(BlockWriter& w, const LayerMicroVertex* s, int n) {
  w.U32((uint32_t)n);
  for (int i = 0; i < n; ++i) {
    w.Vec3(s[i].Offset);
    w.U32(s[i].Color), w.F32(s[i].Opacity), w.F32(s[i].Emboss);
  }
}

void PutNormals(BlockWriter& w, const std::vector<comms::cVec3>& normals) {
  w.U32((uint32_t)normals.size());
  for (const comms::cVec3& n : normals) w.Vec3(n);
}

void PutFace(BlockWriter& w, const FaceEntry& e) {
  w.I32(e.Face), w.I32(e.LayerID), w.U8(e.HasSamples ? 1 : 0);
  if (e.HasSamples) PutSamples(w, e.Samples.data(), (int)e.Samples.size());
  PutNormals(w, e.Normals);
}

void PutTile(BlockWriter& w, int target, int layerID, int x, int y, const LayerPixel* pixels, const uint16_t* freeze) {
  w.U32((uint32_t)target + 1), w.U32((uint32_t)layerID), w.U32((uint32_t)x), w.U32((uint32_t)y);
  w.U32((uint32_t)layerID), w.U32(0);  // the tile's own head: its layer, no info
  static const LayerPixel kEmpty;
  for (int i = 0; i < kTilePixels; ++i) {
    const LayerPixel& p = pixels ? pixels[i] : kEmpty;
    w.F32(p.Depth), w.U32(p.Color), w.U8(p.Reserved0), w.U8(p.Specular), w.U8(p.Reserved1[0]), w.U8(p.Reserved1[1]);
  }
  w.U16(freeze ? 1 : 0);
  for (int i = 0; freeze && i < kTilePixels; ++i) w.U16(freeze[i]);
}

bool AllEmpty(const LayerMicroVertex* s, int n) {
  for (int i = 0; i < n; ++i)
    if (!s[i].IsEmpty()) return false;
  return true;
}

int TargetOf(PaintScene& scene, const PixelMap* map) {
  for (int rt = 0; rt < scene.RenderTargets.GetAmount(); ++rt)
    if (scene.GetPixelMap(rt) == map) return rt;
  return -1;
}

bool ReadNormals(BlockReader& r, PaintScene& scene, FaceEntry& e) {
  const uint32_t n = r.U32();
  if (n && (n != (uint32_t)scene.Faces[e.Face].SampleCount() || !r.Fits(n, 12, "undo normal"))) return false;
  e.Normals.resize(n);
  for (comms::cVec3& v : e.Normals) v = r.Vec3();
  return r.Ok();
}

bool ReadFace(BlockReader& r, PaintScene& scene, FaceEntry& e) {
  e.Face = r.I32(), e.LayerID = r.I32(), e.HasSamples = r.U8() != 0;
  if (!r.Ok() || e.Face < 0 || e.Face >= (int)scene.Faces.size()) return false;
  if (!e.HasSamples) return ReadNormals(r, scene, e);
  const uint32_t n = r.U32();
  if (n != (uint32_t)scene.Faces[e.Face].SampleCount() || !r.Fits(n, kSampleBytes, "undo sample")) return false;
  e.Samples.resize(n);
  for (LayerMicroVertex& s : e.Samples) {
    s.Offset = r.Vec3();
    s.Color = r.U32(), s.Opacity = r.F32(), s.Emboss = r.F32();
  }
  return ReadNormals(r, scene, e);
}

// Reads tile entries up to the closing 0; false when one is damaged or
// names a tile the scene does not have.
bool ReadTiles(BlockReader& r, PaintScene& scene, std::vector<TileEntry>& out) {
  while (r.Ok()) {
    const uint32_t target = r.U32();
    if (target == 0) return r.Ok();
    if (!r.Fits(1, kTileEntryBytes, "undo tile")) return false;
    TileEntry t;
    t.Target = (int)target - 1;
    t.LayerID = (int)r.U32(), t.X = (int)r.U32(), t.Y = (int)r.U32();
    r.U32(), r.U32();
    PixelMap* map = t.Target < scene.RenderTargets.GetAmount() ? scene.GetPixelMap(t.Target) : nullptr;
    if (!map || !map->FindTile(t.X, t.Y)) return false;
    t.Pixels.resize(kTilePixels);
    for (LayerPixel& p : t.Pixels) {
      p.Depth = r.F32(), p.Color = r.U32(), p.Reserved0 = r.U8(), p.Specular = r.U8();
      p.Reserved1[0] = r.U8(), p.Reserved1[1] = r.U8();
    }
    if (r.U16()) {
      if (!r.Fits(kTilePixels, 2, "undo freeze")) return false;
      t.Freeze.resize(kTilePixels);
      for (uint16_t& f : t.Freeze) f = r.U16();
    }
    out.push_back(std::move(t));
  }
  return false;
}

FaceEntry PresentFace(PaintScene& scene, int face, int layerID) {
  FaceEntry e;
  e.Face = face, e.LayerID = layerID;
  if (FaceLayer* fl = scene.GetFaceLayer(face, layerID, false)) {
    e.HasSamples = true;
    e.Samples.assign(fl->Data, fl->Data + scene.Faces[face].SampleCount());
  }
  if (const MicroVertex* g = scene.Faces[face].Grid)
    for (int i = 0; i < scene.Faces[face].SampleCount(); ++i) e.Normals.push_back(g[i].Normal);
  return e;
}

void RestoreFace(PaintScene& scene, const FaceEntry& e) {
  PaintFace& F = scene.Faces[e.Face];
  const bool keep = e.HasSamples && !AllEmpty(e.Samples.data(), (int)e.Samples.size());
  if (keep) {
    FaceLayer* fl = scene.GetFaceLayer(e.Face, e.LayerID, true);
    if (fl) std::memcpy((void*)fl->Data, e.Samples.data(), sizeof(LayerMicroVertex) * e.Samples.size());
  } else {
    // The face held nothing of the layer before: its entry goes (never the bottom one).
    for (int i = 1; i < F.LayerList.GetAmount(); ++i)
      if (F.LayerList[i].LayerID == e.LayerID) {
        F.RemoveLayerAt(i);
        break;
      }
    if (F.LayerList.GetAmount() && F.LayerList[0].LayerID == e.LayerID && e.HasSamples) {
      FaceLayer& bottom = F.LayerList[0];
      std::memcpy((void*)bottom.Data, e.Samples.data(), sizeof(LayerMicroVertex) * e.Samples.size());
    }
  }
}

void RestoreTile(PaintScene& scene, const TileEntry& t) {
  PixelMap* map = scene.GetPixelMap(t.Target);
  PixelTile* tile = map->FindTile(t.X, t.Y);
  LayerTile* l = map->GetLayerTile(tile, t.LayerID, true);
  std::memcpy((void*)l->Pixels, t.Pixels.data(), sizeof(LayerPixel) * kTilePixels);
  for (int i = 0; i < (int)t.Freeze.size(); ++i) tile->Pixels[i].Freeze = t.Freeze[i];
  map->PruneEmptyLayer(tile, t.LayerID);
  map->MarkDirty(tile, 1);
}

// Reads a record body (behind the tag), writes the inverse with the same
// tag, and restores. `faces`: the body opens with the face section.
void ApplyPaintRecord(BinStream& in, UndoStack& stack, PaintScene& scene, uint32_t tag) {
  const int64_t size = in.Size();
  BlockReader r(in, size);
  r.Enter(tag == kSurfaceUndoTag ? "MESH" : "SUPL", size);
  const uint32_t flag = tag == kSurfaceUndoTag ? r.U32() : 1;
  const int currentLayer = r.I32();
  const uint32_t textLength = r.U32();
  if (!r.Skip(textLength)) return;  // layer text: written by layer records
  std::vector<FaceEntry> faces;
  if (tag == kSurfaceUndoTag) {
    const uint32_t count = r.U32();
    if (!r.Fits(count, 9, "undo face")) return;
    faces.resize(count);
    for (FaceEntry& e : faces)
      if (!ReadFace(r, scene, e)) {
        Log("SurfaceUndo::Apply(): damaged record (%s); left unapplied", r.Error().c_str());
        return;
      }
  }
  std::vector<TileEntry> tiles;
  if (!ReadTiles(r, scene, tiles)) {
    Log("PlanePicUndo::Apply(): damaged record (%s); left unapplied", r.Error().c_str());
    return;
  }

  scene.Modified = 1;
  if (flag && stack.InverseWanted()) {
    MemoryBinStream inverse;
    {
      BlockWriter w(inverse);
      w.U32(tag);
      if (tag == kSurfaceUndoTag) w.U32(1);
      w.I32(currentLayer), w.U32(0);
      if (tag == kSurfaceUndoTag) {
        w.U32((uint32_t)faces.size());
        for (const FaceEntry& e : faces) PutFace(w, PresentFace(scene, e.Face, e.LayerID));
      }
      for (const TileEntry& t : tiles) {
        PixelMap* map = scene.GetPixelMap(t.Target);
        PixelTile* tile = map->FindTile(t.X, t.Y);
        const LayerTile* l = tile->FindLayer(t.LayerID);
        std::vector<uint16_t> freeze;
        for (int i = 0; i < (int)t.Freeze.size(); ++i) freeze.push_back(tile->Pixels[i].Freeze);
        PutTile(w, t.Target, t.LayerID, t.X, t.Y, l ? l->Pixels : nullptr, freeze.empty() ? nullptr : freeze.data());
      }
      w.U32(0);
    }
    stack.PushUndoRecord(inverse);
  } else if (!flag) {
    stack.DropRedoTail();
  }

  for (const FaceEntry& e : faces) RestoreFace(scene, e);
  for (const TileEntry& t : tiles) RestoreTile(scene, t);
  for (const FaceEntry& e : faces) {
    ComposeFace(scene, e.Face);
    scene.MarkFaceDirty(e.Face);
    for (int n : scene.Faces[e.Face].Neighbour)
      if (n >= 0) scene.MarkFaceDirty(n);
  }
  // Normals come back as they were: neighbours the stroke reached keep theirs.
  for (const FaceEntry& e : faces)
    if (MicroVertex* g = scene.Faces[e.Face].Grid)
      for (size_t i = 0; i < e.Normals.size(); ++i) g[i].Normal = e.Normals[i];
}
}  // namespace

bool WritePaintStrokeUndo(BinStream& out, PaintScene& scene, const PaintStroke& stroke) {
  bool anyTile = false;
  for (PixelMap* map : stroke.BackedUpMaps())
    for (auto& [key, tile] : map->Tiles) anyTile |= tile->UndoLayerTile || tile->OtherLayerUndo.GetAmount();
  if (stroke.Backups().empty() && !anyTile) return false;
  const bool faces = !stroke.Backups().empty();
  BlockWriter w(out);
  w.U32(faces ? kSurfaceUndoTag : kPlanePicUndoTag);
  if (faces) w.U32(1);  // undo writes a redo record
  w.I32(scene.CurrentLayer);
  w.U32(0);  // no layer text: the stack of layers is as it was
  if (faces) {
    w.U32((uint32_t)stroke.Backups().size());
    for (const auto& b : stroke.Backups()) {
      const int n = (int)b->Samples.size();
      const bool had = n && !AllEmpty(b->Samples.data(), n);
      w.I32(b->Face), w.I32(b->LayerID), w.U8(had ? 1 : 0);
      if (had) PutSamples(w, b->Samples.data(), n);
      PutNormals(w, b->Normals);
    }
  }
  for (PixelMap* map : stroke.BackedUpMaps()) {
    const int target = TargetOf(scene, map);
    if (target < 0) continue;
    for (auto& [key, tile] : map->Tiles) {
      if (LayerTile* u = tile->UndoLayerTile) PutTile(w, target, (int)u->LayerID, tile->X, tile->Y, u->Pixels, tile->FreezeUndo);
      for (LayerTile* o : tile->OtherLayerUndo) PutTile(w, target, (int)o->LayerID, tile->X, tile->Y, o->Pixels, nullptr);
    }
  }
  w.U32(0);
  return true;
}

bool PushPaintStrokeUndo(UndoStack& stack, PaintScene& scene, const PaintStroke& stroke) {
  MemoryBinStream s;
  if (!WritePaintStrokeUndo(s, scene, stroke)) return false;
  return stack.PushUndoRecord(s);
}

void SurfaceUndo::Apply(BinStream& stream) { ApplyPaintRecord(stream, stack_, scene_, kSurfaceUndoTag); }

void PlanePicUndo::Apply(BinStream& stream) { ApplyPaintRecord(stream, stack_, scene_, kPlanePicUndoTag); }
