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
#include "paint/stroke/PickState.h"
#include "paint/undo/SampleCoding.h"
#include "paint/undo/UndoStack.h"

namespace {
// Reads a record body (behind the tag), writes the inverse with the same
// tag, and restores. `faces`: the body opens with the face section.
void ApplyPaintRecord(BinStream& in, UndoStack& stack, PaintScene& scene, uint32_t tag) {
  const int64_t size = in.Size();
  BlockReader r(in, size);
  r.Enter(tag == kSurfaceUndoTag ? "MESH" : "SUPL", size);
  const uint32_t flag = tag == kSurfaceUndoTag ? r.U32() : 1;
  PickState picks;
  if (tag == kSurfaceUndoTag && !ReadPickState(r, picks)) {
    Log("SurfaceUndo::Apply(): damaged record (%s); left unapplied", r.Error().c_str());
    return;
  }
  const int currentLayer = r.I32();
  const uint32_t textLength = r.U32();
  if (!r.Skip(textLength)) return;  // layer text: written by layer records
  std::vector<FaceEntry> faces;
  if (tag == kSurfaceUndoTag) {
    const uint32_t count = r.U32();
    if (!r.Fits(count, kFaceBackupBytes, "undo face")) return;
    faces.resize(count);
    bool whole = true;
    for (FaceEntry& e : faces) whole = whole && ReadFaceBackup(r, scene, e);
    for (FaceEntry& e : faces) whole = whole && ReadEntryNormals(r, scene, e);
    if (!whole) {
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
      if (tag == kSurfaceUndoTag) w.U32(1), PutPickState(w, scene.Picks);  // as they stand
      w.I32(currentLayer), w.U32(0);
      if (tag == kSurfaceUndoTag) {
        w.U32((uint32_t)faces.size());
        std::vector<FaceEntry> present;
        for (const FaceEntry& e : faces) present.push_back(PresentFace(scene, e.Face, e.LayerID));
        for (const FaceEntry& e : present) PutFaceBackup(w, scene, e);
        for (const FaceEntry& e : present) PutEntryNormals(w, e);
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
  // Normals come back as they were inside the faces. Their borders, and the
  // borders beside them, read across the sides: a face first touched late in
  // the stroke was backed up with borders its neighbours had already moved.
  std::vector<int> restored;
  for (const FaceEntry& e : faces) RestoreNormals(scene, e), restored.push_back(e.Face);
  BorderNormalsAround(scene, restored);
  // The pen stands where the record says, so a line goes on from there.
  if (tag == kSurfaceUndoTag) scene.Picks = picks;
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
  if (faces) {
    w.U32(1);  // undo writes a redo record
    // A new step: the picks' history moves back one step as it goes out.
    PickState& picks = scene.Picks;
    picks.Roll();
    PutPickState(w, picks);
  }
  w.I32(scene.CurrentLayer);
  w.U32(0);  // no layer text: the stack of layers is as it was
  if (faces) {
    w.U32((uint32_t)stroke.Backups().size());
    // The faces as they were, then the composite's normals of each. A
    // stroke moves no vertex and sets no freeze value: those are read as
    // they stand.
    std::vector<FaceEntry> entries;
    for (const auto& b : stroke.Backups()) {
      FaceEntry e;
      const int n = (int)b->Samples.size();
      e.Face = b->Face, e.LayerID = b->LayerID;
      e.HasSamples = n && !AllEmpty(b->Samples.data(), n);
      if (e.HasSamples) e.Samples = b->Samples;
      e.Normals = b->Normals;
      if (const MicroVertex* g = scene.Faces[b->Face].Grid)
        for (int i = 0; i < scene.Faces[b->Face].SampleCount(); ++i) e.Freeze.push_back(g[i].Freeze);
      CaptureCorners(scene, e);
      entries.push_back(std::move(e));
    }
    for (const FaceEntry& e : entries) PutFaceBackup(w, scene, e);
    for (const FaceEntry& e : entries) PutEntryNormals(w, e);
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
