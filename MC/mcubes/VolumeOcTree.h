// The box tree over a volume's cells that ray picking walks: six levels, level 0
// keyed by cell coordinates, level k by cell coordinates shifted right by k.
// A changed box at one level queues its parent key, and Rebuild merges upward.
#pragma once
#include <memory>
#include <vector>

#include "MC/mcubes/CellKeyMap.h"

struct CellBox {
  float Min[3] = {100000.f, 100000.f, 100000.f};
  float Max[3] = {-100000.f, -100000.f, -100000.f};
  bool Valid() const { return Min[0] <= Max[0] && Min[1] <= Max[1] && Min[2] <= Max[2]; }
  void Merge(const CellBox& b) {
    for (int i = 0; i < 3; ++i) {
      Min[i] = Min[i] < b.Min[i] ? Min[i] : b.Min[i];
      Max[i] = Max[i] > b.Max[i] ? Max[i] : b.Max[i];
    }
  }
};

struct ABOcTreeLevel {
  CellKeyMap<CellBox> Boxes;
  CellKeyMap<char> Pending;  // keys one level up that must be recomputed
  explicit ABOcTreeLevel(uint32_t buckets) : Boxes(buckets), Pending(2048) {}
};

class VolumeOcTree {
 public:
  int LevelCount = 6;
  std::vector<std::unique_ptr<ABOcTreeLevel>> Levels;

  VolumeOcTree();
  // Stores a box at level k and queues its parent key.
  void SetBox(int level, int x, int y, int z, const CellBox& box);
  // Merges the pending keys upward, level by level.
  void Rebuild();
  void ClearBoxes();
  size_t MemoryUsed() const;
};
