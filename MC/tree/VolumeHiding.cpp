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

VoxTreeBranch* SeparateHidden(VoxVisualTree& tree, VoxTreeBranch* row) {
  if (!row || !row->Volume) return nullptr;
  VolumeObject& source = *row->Volume;
  std::vector<CellKey> hidden;
  source.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (c->Flags & kCellHidden) hidden.push_back(k);
  });
  if (hidden.empty()) return nullptr;
  auto part = std::make_unique<VolumeObject>();
  part->Name = source.Name + "_Hidden";
  part->ObjectId = tree.NewObjectId();
  part->SetTransform(source.Transform);
  for (const CellKey& k : hidden) {
    VolumeObject::SwapCellContents(source, k, *part, k);
    (*source.Cells.Find(k.x, k.y, k.z))->Flags &= (uint8_t)~kCellHidden;
  }
  source.DropUndoCopies();
  part->DropUndoCopies();
  source.Compact();
  VoxTreeBranch* b = tree.Attach(std::move(part), row->ParentBranch, row);
  std::copy(row->Tf, row->Tf + 16, b->Tf);
  std::copy(row->TfInverse, row->TfInverse + 16, b->TfInverse);
  return b;
}
