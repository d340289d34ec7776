// Writing and applying the voxel room's undo record (see VolumeUndo.h).
#include "MC/undo/VolumeUndo.h"

#include <algorithm>
#include <cstring>

#include "ClassEngine/Log.h"
#include "ClassEngine/streams/MemoryBinStream.h"
#include "MC/file/VoxelPacking.h"
#include "MC/mcubes/VolumeObject.h"
#include "paint/file/BlockCoding.h"
#include "paint/undo/UndoStack.h"

namespace {
constexpr int kVertexBytes = 28;

void PutVertices(BlockWriter& w, const MCVertex* v, int n) {
  w.I32(n);
  for (int i = 0; i < n; ++i) {
    for (float p : v[i].Pos) w.F32(p);
    for (float c : v[i].Normal) w.F32(c);
    w.U16(v[i].BorderCode), w.U16(v[i].Freeze);
  }
}

bool GetVertices(BlockReader& r, std::vector<MCVertex>& out) {
  const int n = r.I32();
  if (n < 0 || !r.Fits((uint64_t)n, kVertexBytes, "undo vertex")) return false;
  out.resize(n);
  for (MCVertex& v : out) {
    for (float& p : v.Pos) p = r.F32();
    for (float& c : v.Normal) c = r.F32();
    v.BorderCode = r.U16(), v.Freeze = r.U16();
  }
  return r.Ok();
}

bool GetIndices(BlockReader& r, std::vector<uint16_t>& out) {
  const int n = r.I32();
  if (n < 0 || !r.Fits((uint64_t)n, 2, "undo index")) return false;
  out.resize(n);
  for (uint16_t& i : out) i = r.U16();
  return r.Ok();
}

// One cell of a record: the copy's state and the triangles it had.
void PutCell(BlockWriter& w, const CellKey& k, const VoxelCell* cell, std::vector<uint8_t>& packed) {
  const VoxelCell* copy = cell->UndoCopy;
  w.I32(k.x), w.I32(k.y), w.I32(k.z);
  w.U8(copy ? 1 : 0);
  if (copy) {
    // The copy's record; its pointers only say whether an array follows.
    w.U32(copy->Voxels ? 1 : 0);
    for (int i = 0; i < 4; ++i) w.U32(0);
    w.U16(copy->Fill), w.U16(copy->Stamp), w.U8(copy->Flags), w.U8(copy->Side), w.U16(0);
    if (copy->Voxels) {
      packed.clear();
      PackVoxels(copy->Voxels, kCellVoxels, packed);
      w.Bytes(packed.data(), packed.size());
    }
  }
  w.U8(((copy ? copy->Flags : cell->Flags) & kCellHidden) ? 1 : 0);
  // A cell replaced whole keeps its old triangles on the copy; otherwise
  // the cell kept them aside at first touch.
  const CellSurface* s = cell->Surface;
  const PodArray<uint16_t>* indices = s ? &s->SavedIndices : nullptr;
  const PodArray<MCVertex>* vertices = s ? &s->SavedVertices : nullptr;
  const PodArray<MCVertex>* old = s ? &s->OldVertices : nullptr;
  if (copy && copy->Surface)
    indices = &copy->Surface->Indices, vertices = &copy->Surface->Vertices, old = &copy->Surface->OldVertices;
  w.I32(indices ? indices->Count : 0);
  for (int i = 0; indices && i < indices->Count; ++i) w.U16((*indices)[i]);
  if (old)
    PutVertices(w, old->Data, old->Count);
  else
    w.I32(0);
  if (vertices)
    PutVertices(w, vertices->Data, vertices->Count);
  else
    w.I32(0);
}

bool HasSomethingToWrite(const VoxelCell* c) {
  return c->UndoCopy || (c->Surface && !c->Surface->SavedVertices.Empty());
}

void PutVolume(BlockWriter& w, VolumeObject& v) {
  w.U32((uint32_t)v.ObjectId);
  w.I32((int)v.Name.size() + 1);
  w.Bytes(v.Name.c_str(), v.Name.size() + 1);
  for (float f : v.Transform) w.F32(f);
  w.U8(v.SurfaceMode ? 1 : 0);
  w.I32(4), w.I32(0);  // the frozen-vertex map: none kept by voxel operations

  std::vector<std::pair<CellKey, VoxelCell*>> cells;
  if ((int)v.TouchedCells.size() < VolumeObject::kTouchedLimit) {
    for (const CellKey& k : v.TouchedCells)
      if (VoxelCell** c = v.Cells.Find(k.x, k.y, k.z); c && HasSomethingToWrite(*c)) cells.push_back({k, *c});
    // A cell noted twice is written once.
    std::sort(cells.begin(), cells.end(), [](const auto& a, const auto& b) {
      return std::tie(a.first.x, a.first.y, a.first.z) < std::tie(b.first.x, b.first.y, b.first.z);
    });
    cells.erase(std::unique(cells.begin(), cells.end(), [](const auto& a, const auto& b) { return a.first == b.first; }),
                cells.end());
  } else {
    v.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
      if (HasSomethingToWrite(c)) cells.push_back({k, c});
    });
  }
  w.I32((int)cells.size());
  std::vector<uint8_t> packed;
  for (auto& [k, c] : cells) {
    PutCell(w, k, c, packed);
    if (c->Surface) {
      c->Surface->SavedVertices.Free();
      c->Surface->SavedIndices.Free();
    }
    if (c->UndoCopy) {
      v.ReleaseCell(c->UndoCopy);
      c->UndoCopy = nullptr;
    }
  }
  v.TouchedCells.clear();
  v.UndoCopies = 0;
}

// One cell as read, before it goes into the volume.
struct CellState {
  CellKey Key;
  bool HasCopy = false, HasVoxels = false, Hidden = false;
  uint16_t Fill = 0;
  uint8_t Flags = 0, Side = kLatticeSide;
  std::vector<uint16_t> Voxels;
  std::vector<uint16_t> Indices;
  std::vector<MCVertex> OldVertices, Vertices;
};

bool ReadCell(BlockReader& r, CellState& c, bool hiddenOnly) {
  c.Key.x = r.I32(), c.Key.y = r.I32(), c.Key.z = r.I32();
  c.HasCopy = !hiddenOnly && r.U8() == 1;
  if (c.HasCopy) {
    c.HasVoxels = r.U32() != 0;
    if (!r.Skip(16)) return false;
    c.Fill = r.U16();
    r.U16();  // stamp: a fresh one is taken
    c.Flags = r.U8(), c.Side = r.U8();
    r.U16();
    if (c.HasVoxels) {
      c.Voxels.resize(kCellVoxels);
      if (!UnpackVoxels(r, c.Voxels.data(), kCellVoxels)) return false;
    }
  }
  c.Hidden = r.U8() != 0;
  if (hiddenOnly) return r.Ok();
  return GetIndices(r, c.Indices) && GetVertices(r, c.OldVertices) && GetVertices(r, c.Vertices);
}

template <class T>
void AssignArray(PodArray<T>& a, const std::vector<T>& v) {
  a.Assign(v.data(), (int)v.size());
}

// Puts a cell back as read. The cell was just fetched with an undo copy, so
// its present state is kept for the inverse record.
void RestoreCell(VolumeObject& v, const CellState& c, bool hiddenOnly) {
  VoxelCell* cell = v.GetCell(c.Key.x, c.Key.y, c.Key.z, true, true);
  if (c.HasCopy) {
    if (cell->Voxels) v.vpool.Free(cell->Voxels);
    cell->Voxels = nullptr;
    cell->Fill = c.Fill;
    cell->Side = c.Side;
    cell->Flags = (uint8_t)((c.Flags & (kCellBelow | kCellAbove)) | kCellChanged);
    if (c.HasVoxels) {
      cell->Voxels = (uint16_t*)v.vpool.Allocate();
      std::memcpy(cell->Voxels, c.Voxels.data(), kCellVoxels * sizeof(uint16_t));
    }
  }
  cell->Flags = (uint8_t)(c.Hidden ? cell->Flags | kCellHidden : cell->Flags & ~kCellHidden);
  if (!hiddenOnly) {
    CellSurface* s = cell->Surface;
    if (!s && (!c.Vertices.empty() || !c.Indices.empty() || !c.OldVertices.empty()))
      s = cell->Surface = (CellSurface*)v.apool.Allocate(true);
    if (s) {
      // The triangles of the present state went aside with the copy.
      if (s->SavedVertices.Empty() && s->SavedIndices.Empty()) {
        s->SavedVertices.Assign(s->Vertices.Data, s->Vertices.Count);
        s->SavedIndices.Assign(s->Indices.Data, s->Indices.Count);
      }
      AssignArray(s->Vertices, c.Vertices);
      AssignArray(s->Indices, c.Indices);
      AssignArray(s->OldVertices, c.OldVertices);
      if (!c.OldVertices.empty()) v.SurfaceChanged = true;
    }
  }
  // The triangles came with the record: the cell needs new bounds and a
  // new render group, not a new surface.
  v.MarkDirty(c.Key.x, c.Key.y, c.Key.z, true);
}

VolumeObject* FindVolume(const std::vector<VolumeObject*>& all, uint32_t id, const std::string& name) {
  for (VolumeObject* v : all)
    if ((uint32_t)v->ObjectId == id) return v;
  for (VolumeObject* v : all)
    if (v->Name == name) return v;
  return all.empty() ? nullptr : all.front();
}
}  // namespace

void WriteVolumeUndo(BinStream& out, const std::vector<VolumeObject*>& volumes, int tool) {
  BlockWriter w(out);
  w.U32(kVolumeUndoTag);
  w.U32(0);     // kind: a whole record
  w.I32(tool);  // tool index, then its opaque word and stamp
  w.U32(0), w.I32(0);
  w.I32(0);  // no volumes replaced whole
  w.I32(0);  // no tree text: the tree is not changed by cell edits
  w.U32(0);
  w.I32(1), w.U8(0);  // current volume name: none
  w.I32((int)volumes.size());
  for (VolumeObject* v : volumes) PutVolume(w, *v);
  w.Flush();
}

bool PushVolumeUndo(UndoStack& stack, const std::vector<VolumeObject*>& volumes, int tool) {
  MemoryBinStream s;
  WriteVolumeUndo(s, volumes, tool);
  return stack.PushUndoRecord(s);
}

Volume_Undo::Volume_Undo(UndoStack& stack, std::function<std::vector<VolumeObject*>()> volumes,
                         std::function<void(int)> selectTool)
    : stack_(stack), volumes_(std::move(volumes)), selectTool_(std::move(selectTool)) {}

bool ApplyVolumeUndo(BinStream& in, const std::vector<VolumeObject*>& all, std::vector<VolumeObject*>& changed,
                     int& tool, const std::function<void(int)>& selectTool) {
  const int64_t size = in.Size();
  BlockReader r(in, size);
  r.Enter("VOL3", size);
  const bool hiddenOnly = r.U32() == kVolumeHiddenOnly;
  tool = r.I32();
  r.U32(), r.I32();
  if (r.I32() != 0) {  // whole volumes: written by commands that have not landed
    Log("Volume_Undo::Apply(): a record with whole volumes is not read here");
    return false;
  }
  const int treeLength = r.I32();
  if (treeLength < 0 || !r.Skip(treeLength)) return false;
  r.U32();
  const int nameLength = r.I32();
  if (nameLength < 0 || !r.Skip(nameLength)) return false;
  const int volumeCount = r.I32();
  if (!r.Ok() || volumeCount < 0 || all.empty()) return false;

  // The whole record is read before anything changes: a damaged one has no effect.
  std::vector<std::pair<VolumeObject*, std::vector<CellState>>> parts;
  struct VolumeHead {
    float Transform[16];
    bool SurfaceMode;
  };
  std::vector<VolumeHead> heads;
  for (int i = 0; i < volumeCount && r.Ok(); ++i) {
    const uint32_t id = r.U32();
    const int n = r.I32();
    if (n < 1 || !r.Fits((uint64_t)n, 1, "volume name")) break;
    std::string name((size_t)n, '\0');
    r.Bytes(name.data(), n);
    name.resize(std::strlen(name.c_str()));
    VolumeHead head;
    for (float& f : head.Transform) f = r.F32();
    head.SurfaceMode = r.U8() != 0;
    const int mapBytes = r.I32();
    if (mapBytes < 0 || !r.Skip(mapBytes)) break;
    const int cells = r.I32();
    if (!r.Ok() || cells < 0 || !r.Fits((uint64_t)cells, 13, "undo cell")) break;
    parts.push_back({FindVolume(all, id, name), std::vector<CellState>((size_t)cells)});
    heads.push_back(head);
    for (CellState& c : parts.back().second)
      if (!ReadCell(r, c, hiddenOnly)) break;
  }
  if (!r.Ok() || (int)parts.size() != volumeCount) {
    Log("Volume_Undo::Apply(): %s; the record is left unapplied", r.Ok() ? "short record" : r.Error().c_str());
    return false;
  }
  if (selectTool) selectTool(tool);
  for (size_t i = 0; i < parts.size(); ++i) {
    VolumeObject* v = parts[i].first;
    v->SetTransform(heads[i].Transform);
    v->SurfaceMode = heads[i].SurfaceMode;
    if (std::find(changed.begin(), changed.end(), v) == changed.end()) changed.push_back(v);
    for (const CellState& c : parts[i].second) RestoreCell(*v, c, hiddenOnly);
  }

  return true;
}

void Volume_Undo::Apply(BinStream& in) {
  std::vector<VolumeObject*> changed;
  int tool = 0;
  if (!ApplyVolumeUndo(in, volumes_ ? volumes_() : std::vector<VolumeObject*>{}, changed, tool, selectTool_)) return;
  // What the cells held before went into their undo copies: that is the
  // inverse record.
  if (stack_.InverseWanted())
    PushVolumeUndo(stack_, changed, tool);
  else
    for (VolumeObject* v : changed) v->DropUndoCopies();
  for (VolumeObject* v : changed) v->UpdateSurface();
}
