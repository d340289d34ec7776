// The undo record of a merge into separate volumes (see PartsUndo.h).
//
// Layout after the tag (which the stack has read): U8 kind (0: take rows away, 1: bring rows back),
// I32 length and the bytes of a whole VOL3 record of the cut volumes, then
// for kind 0: I32 count and the rows' object ids; for kind 1: I32 count, the
// parent rows' object ids (0: the root), and the rows' volumes as a volume
// stream with surfaces.
#include "MC/undo/PartsUndo.h"

#include <algorithm>
#include <memory>

#include "ClassEngine/Log.h"
#include "MC/brushes/VoxelModes.h"
#include "MC/brushes/VoxelSculptTool.h"
#include "ClassEngine/streams/MemoryBinStream.h"
#include "MC/file/VolumeStream.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/tree/VoxVisualTree.h"
#include "MC/undo/VolumeUndo.h"
#include "paint/file/BlockCoding.h"
#include "paint/undo/UndoStack.h"

namespace {
enum : uint8_t { kTakeRows = 0, kBringRows = 1 };

void PutCells(BlockWriter& w, const std::vector<VolumeObject*>& changed, int tool) {
  MemoryBinStream cells;
  WriteVolumeUndo(cells, changed, tool);
  w.I32((int)cells.Size());
  w.Bytes(cells.GetData(), (size_t)cells.Size());
}

VoxTreeBranch* RowOfId(VoxVisualTree& tree, uint32_t id) {
  VoxTreeBranch* found = nullptr;
  tree.Walk([&](VoxTreeBranch& b) {
    if (!found && b.Volume && (uint32_t)b.Volume->ObjectId == id) found = &b;
  });
  return found;
}
}  // namespace

void WritePartsUndo(BinStream& out, const std::vector<VolumeObject*>& changed, int tool,
                    const std::vector<uint32_t>& partIds) {
  BlockWriter w(out);
  w.U32(kPartsUndoTag);
  w.U8(kTakeRows);
  PutCells(w, changed, tool);
  w.I32((int)partIds.size());
  for (uint32_t id : partIds) w.U32(id);
  w.Flush();
}

bool PushPartsUndo(UndoStack& stack, const std::vector<VolumeObject*>& changed, int tool,
                   const std::vector<uint32_t>& partIds) {
  MemoryBinStream s;
  WritePartsUndo(s, changed, tool, partIds);
  return stack.PushUndoRecord(s);
}

Parts_Undo::Parts_Undo(UndoStack& stack, std::function<VoxVisualTree*()> tree, std::function<void(int)> selectTool)
    : stack_(stack), tree_(std::move(tree)), selectTool_(std::move(selectTool)) {}

void Parts_Undo::Apply(BinStream& in) {
  VoxVisualTree* tree = tree_ ? tree_() : nullptr;
  if (!tree) return;
  const int64_t size = in.Size();
  BlockReader r(in, size);
  r.Enter("VPRT", size);
  const uint8_t kind = r.U8();
  const int cellBytes = r.I32();
  if (!r.Ok() || cellBytes < 0 || !r.Fits((uint64_t)cellBytes, 1, "cell record") || kind > kBringRows) {
    Log("Parts_Undo::Apply(): %s; the record is left unapplied", r.Ok() ? "bad head" : r.Error().c_str());
    return;
  }
  std::vector<uint8_t> cellRecord((size_t)cellBytes);
  r.Bytes(cellRecord.data(), cellBytes);
  // The rows, read whole before anything changes.
  std::vector<uint32_t> ids, parents;
  std::vector<std::unique_ptr<VolumeObject>> volumes;
  const int count = r.I32();
  if (!r.Ok() || count < 0 || !r.Fits((uint64_t)count, 4, "row")) return;
  if (kind == kTakeRows) {
    for (int i = 0; i < count; ++i) ids.push_back(r.U32());
  } else {
    for (int i = 0; i < count; ++i) parents.push_back(r.U32());
    if (r.Ok() && !ReadVolumes(r, volumes)) return;
    if ((int)volumes.size() != count) {
      Log("Parts_Undo::Apply(): %d rows named, %d volumes found", count, (int)volumes.size());
      return;
    }
  }
  if (!r.Ok()) {
    Log("Parts_Undo::Apply(): %s; the record is left unapplied", r.Error().c_str());
    return;
  }
  MemoryBinStream cells;
  cells.Write(cellRecord.data(), (int64_t)cellRecord.size());
  cells.SetReadPos(4);  // past the tag, as the stack hands a record over
  std::vector<VolumeObject*> changed;
  int tool = 0;
  if (!ApplyVolumeUndo(cells, tree->Volumes(), changed, tool, selectTool_)) return;

  MemoryBinStream inverse;
  BlockWriter w(inverse);
  w.U32(kPartsUndoTag);
  w.U8(kind == kTakeRows ? kBringRows : kTakeRows);
  PutCells(w, changed, tool);
  if (kind == kTakeRows) {
    // The rows go; the redo brings them back as they are now.
    std::vector<VoxTreeBranch*> rows;
    for (uint32_t id : ids)
      if (VoxTreeBranch* b = RowOfId(*tree, id)) rows.push_back(b);
    std::vector<VolumeObject*> kept;
    w.I32((int)rows.size());
    for (VoxTreeBranch* b : rows) {
      VoxTreeBranch* p = b->ParentBranch;
      w.U32(p && p->Volume ? (uint32_t)p->Volume->ObjectId : 0u);
      kept.push_back(b->Volume);
    }
    WriteVolumes(w, kept, true);
    w.Flush();
    if (stack_.InverseWanted()) stack_.PushUndoRecord(inverse);
    for (VoxTreeBranch* b : rows) tree->DropRow(b);
  } else {
    std::vector<uint32_t> back;
    for (size_t i = 0; i < volumes.size(); ++i) {
      VoxTreeBranch* parent = parents[i] ? RowOfId(*tree, parents[i]) : nullptr;
      back.push_back((uint32_t)volumes[i]->ObjectId);
      volumes[i]->UpdateSurface();
      tree->Attach(std::move(volumes[i]), parent ? parent : tree);
    }
    w.I32((int)back.size());
    for (uint32_t id : back) w.U32(id);
    w.Flush();
    if (stack_.InverseWanted()) stack_.PushUndoRecord(inverse);
  }
  if (!stack_.InverseWanted())
    for (VolumeObject* v : changed) v->DropUndoCopies();
  for (VolumeObject* v : changed) v->UpdateSurface();
}

void WireMergeUndo(VoxelSculptTool& tool, UndoStack& stack, std::function<VoxVisualTree*()> tree) {
  auto added = std::make_shared<std::vector<uint32_t>>();
  if (auto take = tool.TakeParts)
    tool.TakeParts = [take, added, tree](VolumeObject& volume, std::vector<SeparatePart>&& parts) {
      VoxVisualTree* t = tree ? tree() : nullptr;
      std::vector<uint32_t> before;
      if (t)
        for (VolumeObject* o : t->Volumes()) before.push_back((uint32_t)o->ObjectId);
      take(volume, std::move(parts));
      if (t)
        for (VolumeObject* o : t->Volumes())
          if (std::find(before.begin(), before.end(), (uint32_t)o->ObjectId) == before.end())
            added->push_back((uint32_t)o->ObjectId);
    };
  UndoStack* s = &stack;
  tool.OnMergeEnd = [s, added](const std::vector<VolumeObject*>& volumes) {
    if (added->empty()) {
      PushVolumeUndo(*s, volumes, SCULP_MERGE);
      return;
    }
    PushPartsUndo(*s, volumes, SCULP_MERGE, *added);
    added->clear();
  };
}
