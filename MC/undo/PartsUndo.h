// The voxel room's undo record "VPRT" of a merge into separate volumes: one
// step holds both halves of such a merge, the cells it changed in the
// volumes it cut (a whole "VOL3" record inside) and the rows it added to the
// layer tree. Undoing it puts the cut volumes back and takes the new rows
// away; its inverse, the redo, cuts again and brings the rows back whole,
// with their volumes, names, places in the tree and object ids.
#pragma once
#include <cstdint>
#include <functional>
#include <vector>

#include "ClassEngine/streams/BinStream.h"
#include "paint/undo/BasicUndoMaker.h"

class UndoStack;
class VolumeObject;
class VoxVisualTree;
class VoxelSculptTool;

constexpr uint32_t kPartsUndoTag = FourCC("VPRT");

// Writes the undo record of a merge: the undo copies of `changed` (as
// WriteVolumeUndo, tool index `tool`) and the rows whose volumes have the
// object ids `partIds`, to be taken away.
void WritePartsUndo(BinStream& out, const std::vector<VolumeObject*>& changed, int tool,
                    const std::vector<uint32_t>& partIds);
bool PushPartsUndo(UndoStack& stack, const std::vector<VolumeObject*>& changed, int tool,
                   const std::vector<uint32_t>& partIds);

class Parts_Undo : public BasicUndoMaker {
 public:
  // `tree` is the scene's layer tree (null: records do nothing);
  // `selectTool` (may be empty) is told the tool index of a record.
  Parts_Undo(UndoStack& stack, std::function<VoxVisualTree*()> tree, std::function<void(int tool)> selectTool = {});
  uint32_t GetUndoTag() override { return kPartsUndoTag; }
  void Apply(BinStream& stream) override;

 private:
  UndoStack& stack_;
  std::function<VoxVisualTree*()> tree_;
  std::function<void(int)> selectTool_;
};

// Wires the merge of `tool` to `stack`: the rows its TakeParts adds to the
// tree are noted, and the merge's record (OnMergeEnd) is a "VPRT" record
// that takes them away with the cut, or a plain "VOL3" record when the merge
// added none. Call after TakeParts is set.
void WireMergeUndo(VoxelSculptTool& tool, UndoStack& stack, std::function<VoxVisualTree*()> tree);
