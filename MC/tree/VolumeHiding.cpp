// Showing, inverting and separating hidden cells (see VolumeHiding.h).
#include "MC/tree/VolumeHiding.h"

#include <memory>
#include <vector>

#include "MC/mcubes/VolumeObject.h"
#include "MC/tree/VoxVisualTree.h"

int UnhideAll(VolumeObject& volume) {
  int shown = 0;
  std::vector<CellKey> changed;
  volume.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (!(c->Flags & kCellHidden)) return;
    c->Flags &= (uint8_t)~kCellHidden;
    changed.push_back(k);
    ++shown;
  });
  for (const CellKey& k : changed) volume.MarkDirty(k.x, k.y, k.z, false);
  return shown;
}

void InvertHide(VolumeObject& volume) {
  std::vector<CellKey> keys;
  volume.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    c->Flags ^= kCellHidden;
    keys.push_back(k);
  });
  for (const CellKey& k : keys) volume.MarkDirty(k.x, k.y, k.z, false);
}

namespace {
// Moves every hidden cell of `source` into the same place of `into`, shown;
// the number moved. Undo copies of both are dropped.
int MoveHiddenCells(VolumeObject& source, VolumeObject& into) {
  std::vector<CellKey> hidden;
  source.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (c->Flags & kCellHidden) hidden.push_back(k);
  });
  for (const CellKey& k : hidden) {
    VolumeObject::SwapCellContents(source, k, into, k);
    (*source.Cells.Find(k.x, k.y, k.z))->Flags &= (uint8_t)~kCellHidden;
  }
  source.DropUndoCopies();
  into.DropUndoCopies();
  source.Compact();
  return int(hidden.size());
}
}  // namespace

int DeleteHidden(VolumeObject& volume) {
  VolumeObject gone;
  gone.SetTransform(volume.Transform);
  return MoveHiddenCells(volume, gone);
}

VoxTreeBranch* SeparateHidden(VoxVisualTree& tree, VoxTreeBranch* row) {
  if (!row || !row->Volume) return nullptr;
  VolumeObject& source = *row->Volume;
  auto part = std::make_unique<VolumeObject>();
  part->Name = source.Name + "_Hidden";
  part->SetTransform(source.Transform);
  if (!MoveHiddenCells(source, *part)) return nullptr;
  part->ObjectId = tree.NewObjectId();
  VoxTreeBranch* b = tree.Attach(std::move(part), row->ParentBranch, row);
  std::copy(row->Tf, row->Tf + 16, b->Tf);
  std::copy(row->TfInverse, row->TfInverse + 16, b->TfInverse);
  return b;
}
