// The voxel room's undo record "VOL3": written at the end of each operation
// from the undo copies of the cells it touched, it holds their complete state
// before the operation: voxels, flags and the triangles they had, so undo puts
// the surface back as it was without extracting it again. Applying a record
// takes undo copies of the present state as it goes and writes them as the
// inverse record, for redo.
#pragma once
#include <cstdint>
#include <functional>
#include <vector>

#include "ClassEngine/streams/BinStream.h"
#include "paint/undo/BasicUndoMaker.h"

class UndoStack;
class VolumeObject;

constexpr uint32_t kVolumeUndoTag = FourCC("VOL3");
// The kind of a record that holds hidden flags only.
constexpr uint32_t kVolumeHiddenOnly = FourCC("VOLH");

// Writes the record of `volumes` (tag included) into `out`: every cell with an
// undo copy, as it was before the operation. The copies and the kept
// triangles are dropped and TouchedCells emptied. `tool` is the tool index
// restored by undo.
void WriteVolumeUndo(BinStream& out, const std::vector<VolumeObject*>& volumes, int tool);
// WriteVolumeUndo to a memory stream handed to `stack`. False when the disk
// refused it (the operation stays done).
bool PushVolumeUndo(UndoStack& stack, const std::vector<VolumeObject*>& volumes, int tool);

// Applies a record read from `in` to the volumes of `all` (each found by id,
// then by name, else the first): every cell back as the record holds it,
// the state it replaced left in the cells' undo copies. `changed` lists the
// volumes touched, `tool` the record's tool index (also told to
// `selectTool`). False, nothing changed, for a damaged record.
bool ApplyVolumeUndo(BinStream& in, const std::vector<VolumeObject*>& all, std::vector<VolumeObject*>& changed,
                     int& tool, const std::function<void(int)>& selectTool = {});

class Volume_Undo : public BasicUndoMaker {
 public:
  // `volumes` lists the scene's volumes; a record finds its volume among
  // them by id, then by name, else takes the first. `selectTool` (may be
  // empty) is told the tool index of the record.
  Volume_Undo(UndoStack& stack, std::function<std::vector<VolumeObject*>()> volumes,
              std::function<void(int tool)> selectTool = {});
  uint32_t GetUndoTag() override { return kVolumeUndoTag; }
  void Apply(BinStream& stream) override;

 private:
  UndoStack& stack_;
  std::function<std::vector<VolumeObject*>()> volumes_;
  std::function<void(int)> selectTool_;
};
