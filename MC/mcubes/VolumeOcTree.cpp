// Box tree of a volume's cells (see VolumeOcTree.h).
#include "MC/mcubes/VolumeOcTree.h"

VolumeOcTree::VolumeOcTree() {
  for (int k = 0; k < LevelCount; ++k) {
    uint32_t buckets = 0x80000u >> (3 * k);
    Levels.push_back(std::make_unique<ABOcTreeLevel>(buckets < 2048 ? 2048 : buckets));
  }
}

void VolumeOcTree::SetBox(int level, int x, int y, int z, const CellBox& box) {
  ABOcTreeLevel& l = *Levels[level];
  l.Boxes.Set(x, y, z, box);
  l.Pending.Set(x >> 1, y >> 1, z >> 1, 1);
}

void VolumeOcTree::Rebuild() {
  for (int k = 1; k < LevelCount; ++k) {
    ABOcTreeLevel& below = *Levels[k - 1];
    ABOcTreeLevel& level = *Levels[k];
    below.Pending.ForEach([&](const CellKey& key, char&) {
      CellBox merged;
      for (int c = 0; c < 8; ++c) {
        const CellBox* child =
            below.Boxes.Find(key.x * 2 + (c & 1), key.y * 2 + ((c >> 1) & 1), key.z * 2 + (c >> 2));
        if (child && child->Valid()) merged.Merge(*child);
      }
      if (merged.Valid())
        SetBox(k, key.x, key.y, key.z, merged);
      else
        level.Boxes.Remove(key.x, key.y, key.z);
    });
    below.Pending.Clear();
  }
  Levels[LevelCount - 1]->Pending.Clear();
}

void VolumeOcTree::ClearBoxes() {
  for (auto& l : Levels) {
    l->Boxes.Clear();
    l->Pending.Clear();
  }
}

size_t VolumeOcTree::MemoryUsed() const {
  size_t bytes = 0;
  for (auto& l : Levels) bytes += l->Boxes.MemoryUsed() + l->Pending.MemoryUsed();
  return bytes;
}
