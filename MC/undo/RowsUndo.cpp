// The undo record of a step that changed the layer tree's rows (see RowsUndo.h).
//
// Layout after the tag: U32 current volume id (0: none); I32 length and the
// bytes of a whole VOL3 record (length 0: no cells); I32 count of rows
// brought back, each a place and the row's fields, then, when any row holds
// a volume, a volume stream of those volumes with surfaces; I32 count of
// places, each a place and the matrices; I32 count of rows taken away, each
// a place. A place is I32 depth and that many child indices from the root.
#include "MC/undo/RowsUndo.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string>

#include "ClassEngine/Log.h"
#include "ClassEngine/streams/MemoryBinStream.h"
#include "ClassEngine/xml/ErrorCollector.h"
#include "ClassEngine/xml/XmlNode.h"
#include "MC/file/VolumeStream.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/tree/VoxVisualTree.h"
#include "MC/undo/VolumeUndo.h"
#include "paint/file/BlockCoding.h"
#include "paint/undo/UndoStack.h"

namespace {
using Path = std::vector<int32_t>;

// The deepest tree a record names; deeper places are damage.
constexpr int kMostDepth = 4096;

Path PathOf(const VoxTreeBranch* row) {
  Path p;
  for (const VoxTreeBranch* b = row; b && b->ParentBranch; b = b->ParentBranch)
    p.push_back(b->ParentBranch->IndexOf(b));
  std::reverse(p.begin(), p.end());
  return p;
}

VoxTreeBranch* RowAt(VoxTreeBranch& root, const Path& p) {
  VoxTreeBranch* b = &root;
  for (int32_t i : p) {
    if (i < 0 || i >= b->ChildObjects.NValues || !b->ChildObjects.Values[i]) return nullptr;
    b = b->ChildObjects.Values[i];
  }
  return b;
}

void PutPath(BlockWriter& w, const Path& p) {
  w.I32((int)p.size());
  for (int32_t i : p) w.I32(i);
}

bool GetPath(BlockReader& r, Path& p) {
  const int depth = r.I32();
  if (!r.Ok() || depth < 0 || depth > kMostDepth || !r.Fits((uint64_t)depth, 4, "place")) return false;
  p.resize((size_t)depth);
  for (int32_t& i : p) i = r.I32();
  return r.Ok();
}

void PutText(BlockWriter& w, const std::string& s) {
  w.I32((int)s.size());
  w.Bytes(s.data(), s.size());
}

bool GetText(BlockReader& r, std::string& s) {
  const int n = r.I32();
  if (!r.Ok() || n < 0 || !r.Fits((uint64_t)n, 1, "text")) return false;
  s.resize((size_t)n);
  return n == 0 || r.Bytes(s.data(), n);
}

void PutFloats(BlockWriter& w, const float* f, int n) {
  for (int i = 0; i < n; ++i) w.F32(f[i]);
}

void GetFloats(BlockReader& r, float* f, int n) {
  for (int i = 0; i < n; ++i) f[i] = r.F32();
}

// Where a row stands: the matrices the transform tool changes.
struct Place {
  float Tf[16], TfInverse[16], GizmoTf[16], GizmoCenter[3], Transform[16];
  bool Certified = false, HasVolume = false;

  static Place Of(const VoxTreeBranch& b) {
    Place p;
    std::copy(b.Tf, b.Tf + 16, p.Tf);
    std::copy(b.TfInverse, b.TfInverse + 16, p.TfInverse);
    std::copy(b.GizmoTf, b.GizmoTf + 16, p.GizmoTf);
    std::copy(b.GizmoCenter, b.GizmoCenter + 3, p.GizmoCenter);
    p.Certified = b.GizmoCenrtified;
    p.HasVolume = b.Volume != nullptr;
    if (b.Volume) std::copy(b.Volume->Transform, b.Volume->Transform + 16, p.Transform);
    else std::fill(p.Transform, p.Transform + 16, 0.f);
    return p;
  }
  void To(VoxTreeBranch& b) const {
    std::copy(Tf, Tf + 16, b.Tf);
    std::copy(TfInverse, TfInverse + 16, b.TfInverse);
    std::copy(GizmoTf, GizmoTf + 16, b.GizmoTf);
    std::copy(GizmoCenter, GizmoCenter + 3, b.GizmoCenter);
    b.GizmoCenrtified = Certified;
    if (HasVolume && b.Volume) b.Volume->SetTransform(Transform);
  }
  void Put(BlockWriter& w) const {
    PutFloats(w, Tf, 16), PutFloats(w, TfInverse, 16), PutFloats(w, GizmoTf, 16), PutFloats(w, GizmoCenter, 3);
    PutFloats(w, Transform, 16);
    w.U8((uint8_t)(Certified | HasVolume << 1));
  }
  void Get(BlockReader& r) {
    GetFloats(r, Tf, 16), GetFloats(r, TfInverse, 16), GetFloats(r, GizmoTf, 16), GetFloats(r, GizmoCenter, 3);
    GetFloats(r, Transform, 16);
    const uint8_t bits = r.U8();
    Certified = bits & 1, HasVolume = bits & 2;
  }
};

std::string ShaderXml(VoxTreeBranch& b) {
  XmlNode node;
  b.ShaderSettings.Save(&node, &b.ShaderSettings);
  std::string text;
  node.Write(text);
  return text;
}

// A row to bring back, as read from a record.
struct RowFields {
  Path At;
  std::string Name, CacheName, Shader;
  uint8_t Bits = 0;
  int32_t VobID = 0, Slot = -1, ListAt = 0;
  float Tf[16], TfInverse[16], GizmoTf[16], GizmoCenter[3];
};

enum : uint8_t { kVisible = 1, kVoxSurf = 2, kOpen = 4, kNewlyTransformed = 8, kNewlyPlaced = 16, kInCache = 32,
                 kCertified = 64 };

// Writes `rows` (each with what hangs below it, parents first) as rows to
// bring back, and their volumes. The rows must still stand at their places.
void PutRows(BlockWriter& w, VoxVisualTree& tree, const std::vector<VoxTreeBranch*>& rows) {
  std::vector<VoxTreeBranch*> all;
  for (VoxTreeBranch* row : rows) row->Walk([&](VoxTreeBranch& b) { all.push_back(&b); });
  std::vector<VolumeObject*> volumes;
  w.I32((int)all.size());
  for (VoxTreeBranch* b : all) {
    PutPath(w, PathOf(b));
    PutText(w, b->Name.cpchar());
    PutText(w, b->CacheName.cpchar());
    w.U8((uint8_t)(b->Visible * kVisible | b->VoxSurf * kVoxSurf | b->OpenState * kOpen |
                   b->NewlyTransformed * kNewlyTransformed | b->NewlyPlaced * kNewlyPlaced | b->InCache * kInCache |
                   b->GizmoCenrtified * kCertified));
    w.I32(b->VobID);
    PutFloats(w, b->Tf, 16), PutFloats(w, b->TfInverse, 16), PutFloats(w, b->GizmoTf, 16);
    PutFloats(w, b->GizmoCenter, 3);
    PutText(w, ShaderXml(*b));
    int listAt = 0;
    for (size_t i = 0; i < tree.VolumeList.size(); ++i)
      if (tree.VolumeList[i].get() == b->Volume) listAt = (int)i;
    w.I32(b->Volume ? (int)volumes.size() : -1);
    w.I32(listAt);
    if (b->Volume) volumes.push_back(b->Volume);
  }
  if (!volumes.empty()) WriteVolumes(w, volumes, true);
}

bool GetRows(BlockReader& r, std::vector<RowFields>& rows, std::vector<std::unique_ptr<VolumeObject>>& volumes) {
  const int count = r.I32();
  if (!r.Ok() || count < 0 || !r.Fits((uint64_t)count, 8, "row")) return false;
  rows.resize((size_t)count);
  int withVolume = 0;
  for (RowFields& f : rows) {
    if (!GetPath(r, f.At) || !GetText(r, f.Name) || !GetText(r, f.CacheName)) return false;
    f.Bits = r.U8();
    f.VobID = r.I32();
    GetFloats(r, f.Tf, 16), GetFloats(r, f.TfInverse, 16), GetFloats(r, f.GizmoTf, 16), GetFloats(r, f.GizmoCenter, 3);
    if (!GetText(r, f.Shader)) return false;
    f.Slot = r.I32();
    f.ListAt = r.I32();
    if (!r.Ok() || f.At.empty() || f.Slot < -1 || f.Slot >= count || f.ListAt < 0) return false;
    withVolume += f.Slot >= 0;
  }
  if (withVolume > 0 && !ReadVolumes(r, volumes)) return false;
  if ((int)volumes.size() != withVolume) {
    Log("Rows_Undo::Apply(): %d rows with volumes, %d volumes found", withVolume, (int)volumes.size());
    return false;
  }
  for (const RowFields& f : rows)
    if (f.Slot >= withVolume) return false;
  return r.Ok();
}

// Hangs a row read from a record at its place, with `volume` (which the
// caller puts into the list); null when its parent is missing.
VoxTreeBranch* BringRow(VoxVisualTree& tree, const RowFields& f, VolumeObject* volume) {
  Path parentAt(f.At.begin(), f.At.end() - 1);
  VoxTreeBranch* parent = RowAt(tree, parentAt);
  if (!parent) return nullptr;
  auto* b = new VoxTreeBranch;
  b->Name = f.Name.c_str();
  b->CacheName = f.CacheName.c_str();
  b->Visible = f.Bits & kVisible, b->VoxSurf = f.Bits & kVoxSurf, b->OpenState = f.Bits & kOpen;
  b->NewlyTransformed = f.Bits & kNewlyTransformed, b->NewlyPlaced = f.Bits & kNewlyPlaced;
  b->InCache = f.Bits & kInCache, b->GizmoCenrtified = f.Bits & kCertified;
  b->VobID = f.VobID;
  std::copy(f.Tf, f.Tf + 16, b->Tf);
  std::copy(f.TfInverse, f.TfInverse + 16, b->TfInverse);
  std::copy(f.GizmoTf, f.GizmoTf + 16, b->GizmoTf);
  std::copy(f.GizmoCenter, f.GizmoCenter + 3, b->GizmoCenter);
  XmlNode node;
  if (!f.Shader.empty() && node.Parse(f.Shader.c_str()) > 0) {
    ErrorCollector silent(false);
    b->ShaderSettings.Load(&node, &b->ShaderSettings, &silent);
  }
  const int at = std::clamp(f.At.back(), 0, parent->ChildObjects.NValues);
  b->ParentBranch = parent;
  b->SetParent(&parent->ChildObjects);
  parent->ChildObjects.Insert(b, at);
  b->RefreshLevels();
  b->Volume = volume;
  return b;
}

VolumeObject* VolumeOfId(VoxVisualTree& tree, uint32_t id) {
  for (auto& v : tree.VolumeList)
    if ((uint32_t)v->ObjectId == id) return v.get();
  return nullptr;
}

// Only the topmost of rows where one holds another.
std::vector<VoxTreeBranch*> Topmost(const std::vector<VoxTreeBranch*>& rows) {
  std::vector<VoxTreeBranch*> out;
  for (VoxTreeBranch* row : rows) {
    bool inside = false;
    for (VoxTreeBranch* other : rows) inside |= other != row && other->Contains(row);
    if (!inside && std::find(out.begin(), out.end(), row) == out.end()) out.push_back(row);
  }
  return out;
}

void PutCellBytes(BlockWriter& w, const std::vector<uint8_t>& bytes) {
  w.I32((int)bytes.size());
  if (!bytes.empty()) w.Bytes(bytes.data(), bytes.size());
}

std::vector<uint8_t> CellRecord(const std::vector<VolumeObject*>& volumes, int tool) {
  MemoryBinStream s;
  WriteVolumeUndo(s, volumes, tool);
  return std::vector<uint8_t>(s.GetData(), s.GetData() + s.Size());
}

void Append(BlockWriter& w, MemoryBinStream& part) {
  if (part.Size()) w.Bytes(part.GetData(), (size_t)part.Size());
}
}  // namespace

RowsStep::RowsStep(VoxVisualTree& tree) : tree_(tree) {
  current_ = tree.CurrentVolume ? (uint32_t)tree.CurrentVolume->ObjectId : 0u;
}

void RowsStep::NotePlaces(VoxTreeBranch* row) {
  if (!row || row == &tree_) return;
  row->Walk([&](VoxTreeBranch& b) {
    placed_.push_back(&b);
    MemoryBinStream s;
    BlockWriter w(s);
    Place::Of(b).Put(w);
    w.Flush();
    places_.emplace_back(s.GetData(), s.GetData() + s.Size());
  });
}

void RowsStep::NoteGone(VoxTreeBranch* row) {
  if (row && row != &tree_) gone_.push_back(row);
}

void RowsStep::NoteNew(VoxTreeBranch* row) {
  if (row && row != &tree_) added_.push_back(row);
}

void RowsStep::NoteCells(const std::vector<VolumeObject*>& volumes, int tool) {
  cells_ = volumes;
  tool_ = tool;
  hasCells_ = true;
}

void RowsStep::Write(BinStream& out) {
  BlockWriter w(out);
  w.U32(kRowsUndoTag);
  w.U32(current_);
  PutCellBytes(w, hasCells_ ? CellRecord(cells_, tool_) : std::vector<uint8_t>());
  PutRows(w, tree_, Topmost(gone_));
  w.I32((int)placed_.size());
  for (size_t i = 0; i < placed_.size(); ++i) {
    PutPath(w, PathOf(placed_[i]));
    w.Bytes(places_[i].data(), places_[i].size());
  }
  // Later places first, so taking one leaves the places of the others.
  std::vector<Path> taken;
  for (VoxTreeBranch* b : Topmost(added_)) taken.push_back(PathOf(b));
  std::sort(taken.begin(), taken.end(), std::greater<>());
  w.I32((int)taken.size());
  for (const Path& p : taken) PutPath(w, p);
  w.Flush();
}

bool RowsStep::Push(UndoStack& stack) {
  MemoryBinStream s;
  Write(s);
  return stack.PushUndoRecord(s);
}

Rows_Undo::Rows_Undo(UndoStack& stack, std::function<VoxVisualTree*()> tree, std::function<void(int)> selectTool,
                     std::function<void()> changed)
    : stack_(stack), tree_(std::move(tree)), selectTool_(std::move(selectTool)), changed_(std::move(changed)) {}

void Rows_Undo::Apply(BinStream& in) {
  VoxVisualTree* tree = tree_ ? tree_() : nullptr;
  if (!tree) return;
  const int64_t size = in.Size();
  BlockReader r(in, size);
  r.Enter("VROW", size);
  // The whole record is read before anything changes.
  const uint32_t current = r.U32();
  const int cellBytes = r.I32();
  if (!r.Ok() || cellBytes < 0 || !r.Fits((uint64_t)cellBytes, 1, "cell record")) {
    Log("Rows_Undo::Apply(): %s; the record is left unapplied", r.Ok() ? "bad head" : r.Error().c_str());
    return;
  }
  std::vector<uint8_t> cellRecord((size_t)cellBytes);
  if (cellBytes) r.Bytes(cellRecord.data(), cellBytes);
  std::vector<RowFields> rows;
  std::vector<std::unique_ptr<VolumeObject>> volumes;
  if (!GetRows(r, rows, volumes)) {
    Log("Rows_Undo::Apply(): damaged rows (%s); the record is left unapplied", r.Error().c_str());
    return;
  }
  const int placeCount = r.I32();
  std::vector<Path> placeAt;
  std::vector<Place> places;
  if (!r.Ok() || placeCount < 0 || !r.Fits((uint64_t)placeCount, 4, "place")) return;
  for (int i = 0; i < placeCount; ++i) {
    Path p;
    if (!GetPath(r, p)) return;
    Place place;
    place.Get(r);
    placeAt.push_back(std::move(p));
    places.push_back(place);
  }
  const int takeCount = r.I32();
  std::vector<Path> takeAt;
  if (!r.Ok() || takeCount < 0 || !r.Fits((uint64_t)takeCount, 4, "row")) return;
  for (int i = 0; i < takeCount; ++i) {
    Path p;
    if (!GetPath(r, p) || p.empty()) return;
    takeAt.push_back(std::move(p));
  }
  if (!r.Ok()) {
    Log("Rows_Undo::Apply(): %s; the record is left unapplied", r.Error().c_str());
    return;
  }
  // Every row a record names must be there (or come with the record).
  for (const RowFields& f : rows) {
    const Path parentAt(f.At.begin(), f.At.end() - 1);
    bool comes = false;
    for (const RowFields& g : rows) comes |= &g != &f && g.At == parentAt;
    if (!comes && !RowAt(*tree, parentAt)) {
      Log("Rows_Undo::Apply(): a row's parent is missing; the record is left unapplied");
      return;
    }
  }
  if (rows.empty()) {
    for (const Path& p : placeAt)
      if (!RowAt(*tree, p)) return;
  }
  for (const Path& p : takeAt)
    if (!RowAt(*tree, p)) {
      Log("Rows_Undo::Apply(): a row to take away is missing; the record is left unapplied");
      return;
    }

  MemoryBinStream invCells, invTaken, invPlaces, invBrought;
  BlockWriter cellsOut(invCells), takenOut(invTaken), placesOut(invPlaces), broughtOut(invBrought);
  const uint32_t wasCurrent = tree->CurrentVolume ? (uint32_t)tree->CurrentVolume->ObjectId : 0u;

  // Rows come back first, so the cells and places can name them.
  std::vector<VoxTreeBranch*> brought;
  std::vector<std::pair<int32_t, std::unique_ptr<VolumeObject>>> listed;
  for (const RowFields& f : rows) {
    VolumeObject* volume = f.Slot >= 0 ? volumes[(size_t)f.Slot].get() : nullptr;
    if (VoxTreeBranch* b = BringRow(*tree, f, volume)) {
      brought.push_back(b);
      if (volume) listed.emplace_back(f.ListAt, std::move(volumes[(size_t)f.Slot]));
    }
  }
  // In rising order each volume lands where it stood in the list.
  std::stable_sort(listed.begin(), listed.end(), [](auto& a, auto& b) { return a.first < b.first; });
  for (auto& [at, volume] : listed) {
    volume->UpdateSurface();
    const size_t i = std::min((size_t)at, tree->VolumeList.size());
    tree->VolumeList.insert(tree->VolumeList.begin() + (std::ptrdiff_t)i, std::move(volume));
  }

  int tool = 0;
  std::vector<VolumeObject*> changed;
  if (!cellRecord.empty()) {
    MemoryBinStream cells;
    cells.Write(cellRecord.data(), (int64_t)cellRecord.size());
    cells.SetReadPos(4);  // past the tag, as the stack hands a record over
    if (ApplyVolumeUndo(cells, tree->Volumes(), changed, tool, selectTool_)) {
      // The inverse takes the copies the cells left, before any row goes.
      PutCellBytes(cellsOut, CellRecord(changed, tool));
      for (VolumeObject* v : changed) v->UpdateSurface();
    } else {
      PutCellBytes(cellsOut, {});
    }
  } else {
    PutCellBytes(cellsOut, {});
  }

  placesOut.I32(placeCount);
  for (size_t i = 0; i < places.size(); ++i) {
    VoxTreeBranch* b = RowAt(*tree, placeAt[i]);
    PutPath(placesOut, placeAt[i]);
    if (!b) {
      places[i].Put(placesOut);
      continue;
    }
    Place::Of(*b).Put(placesOut);
    places[i].To(*b);
  }

  // Rows go last, each written whole for the inverse while it still stands.
  std::vector<VoxTreeBranch*> take;
  for (const Path& p : takeAt) take.push_back(RowAt(*tree, p));
  take = Topmost(take);
  std::vector<VoxTreeBranch*> ordered;  // tree order, for the inverse
  tree->Walk([&](VoxTreeBranch& b) {
    if (std::find(take.begin(), take.end(), &b) != take.end()) ordered.push_back(&b);
  });
  PutRows(broughtOut, *tree, ordered);
  for (VoxTreeBranch* b : take) tree->DropRow(b);

  if (VolumeObject* v = VolumeOfId(*tree, current)) tree->CurrentVolume = v;

  std::vector<Path> backAt;
  for (VoxTreeBranch* b : Topmost(brought)) backAt.push_back(PathOf(b));
  std::sort(backAt.begin(), backAt.end(), std::greater<>());
  takenOut.I32((int)backAt.size());
  for (const Path& p : backAt) PutPath(takenOut, p);

  cellsOut.Flush(), takenOut.Flush(), placesOut.Flush(), broughtOut.Flush();
  if (stack_.InverseWanted()) {
    MemoryBinStream inverse;
    BlockWriter w(inverse);
    w.U32(kRowsUndoTag);
    w.U32(wasCurrent);
    Append(w, invCells);
    Append(w, invBrought);
    Append(w, invPlaces);
    Append(w, invTaken);
    w.Flush();
    stack_.PushUndoRecord(inverse);
  }
  if (changed_) changed_();
}

bool DeleteRowUndoable(UndoStack& stack, VoxVisualTree& tree, VoxTreeBranch* row) {
  RowsStep step(tree);
  if (!tree.Delete(row)) return false;
  step.NoteGone(row);
  step.Push(stack);
  tree.PurgeRemoved();
  return true;
}
