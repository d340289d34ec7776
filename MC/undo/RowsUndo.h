// The voxel room's undo record "VROW" of a step that changed the rows of the
// layer tree: a row deleted from its menu, rows moved by the transform gizmo,
// a layer split off by the split tool. One record holds all of a step:
//
//   rows brought back  the rows the step took away, whole: place in the
//                      tree, names, flags, matrices, shader settings and
//                      their volumes with ids and surfaces
//   cells              the cells the step changed (a whole "VOL3" record)
//   places             matrices of rows the step moved, as they were
//   rows taken away    the rows the step added
//   current            the volume that was current before the step
//
// Rows are named by their place: the child indices from the root down, as
// the tree stands when the record applies. Applying a record writes its
// inverse first (rows taken become rows brought and so on), so redo is
// the same record kind.
#pragma once
#include <cstdint>
#include <functional>
#include <vector>

#include "ClassEngine/streams/BinStream.h"
#include "paint/undo/BasicUndoMaker.h"

class UndoStack;
class VolumeObject;
class VoxTreeBranch;
class VoxVisualTree;

constexpr uint32_t kRowsUndoTag = FourCC("VROW");

// One step's changes to the rows of a tree, noted while the step runs and
// written as one record. Make it before the step changes anything.
class RowsStep {
 public:
  // Notes the volume current now: undo makes it current again.
  explicit RowsStep(VoxVisualTree& tree);

  // Before the step moves `row`: the matrices of it and of every row below.
  void NotePlaces(VoxTreeBranch* row);
  // After the step marked `row` removed (or is about to drop it), while its
  // volumes are still held: undo brings it back at its place, whole.
  void NoteGone(VoxTreeBranch* row);
  // After the step: a row it added, which undo takes away with its volume.
  void NoteNew(VoxTreeBranch* row);
  // After the step: the volumes whose undo copies hold the cells it changed
  // (written as a "VOL3" record of tool index `tool`, copies dropped).
  void NoteCells(const std::vector<VolumeObject*>& volumes, int tool);

  // Writes the record (tag included). Call before removed rows are purged.
  void Write(BinStream& out);
  // Write to a memory stream handed to `stack`. False when the disk refused it.
  bool Push(UndoStack& stack);

 private:
  VoxVisualTree& tree_;
  uint32_t current_ = 0;
  std::vector<VoxTreeBranch*> placed_, gone_, added_;
  std::vector<std::vector<uint8_t>> places_;  // matrices of placed_, as they were
  std::vector<VolumeObject*> cells_;
  int tool_ = 0;
  bool hasCells_ = false;
};

class Rows_Undo : public BasicUndoMaker {
 public:
  // `tree` is the scene's layer tree (null: records do nothing);
  // `selectTool` (may be empty) is told the tool index of a record's cells;
  // `changed` (may be empty) is told after a record applied, so the tools
  // follow the current volume.
  Rows_Undo(UndoStack& stack, std::function<VoxVisualTree*()> tree, std::function<void(int tool)> selectTool = {},
            std::function<void()> changed = {});
  uint32_t GetUndoTag() override { return kRowsUndoTag; }
  void Apply(BinStream& stream) override;

 private:
  UndoStack& stack_;
  std::function<VoxVisualTree*()> tree_;
  std::function<void(int)> selectTool_;
  std::function<void()> changed_;
};

// Deletes `row` (DelVoxTree) as one undoable step: the row and what hangs
// below it go at once with their volumes, and a record that brings them back
// goes to `stack`. False, nothing changed and no record, when the tree
// refuses the delete.
bool DeleteRowUndoable(UndoStack& stack, VoxVisualTree& tree, VoxTreeBranch* row);
