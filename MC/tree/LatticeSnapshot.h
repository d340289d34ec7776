// A copy of a volume's lattice values taken before an operation rewrites the
// volume: whole-volume filters (resolution doubling, smoothing) read the old
// field through it while they write the new one.
#pragma once
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "MC/mcubes/CellKeyMap.h"

class VolumeObject;

class LatticeSnapshot {
 public:
  struct Cell {
    uint16_t Fill = 0;
    uint8_t Flags = 0;
    std::vector<uint16_t> Voxels;  // empty for a uniform cell
  };
  explicit LatticeSnapshot(VolumeObject& volume);
  // The value at global lattice point (x, y, z); 0 outside every cell.
  uint16_t Value(int x, int y, int z) const;
  const Cell* Find(int cx, int cy, int cz) const;
  const std::vector<CellKey>& Keys() const { return keys_; }

 private:
  static uint64_t Key(int cx, int cy, int cz) {
    return ((uint64_t)(uint32_t)(cx & 0x1fffff) << 42) | ((uint64_t)(uint32_t)(cy & 0x1fffff) << 21) |
           (uint64_t)(uint32_t)(cz & 0x1fffff);
  }
  std::unordered_map<uint64_t, Cell> cells_;
  std::vector<CellKey> keys_;
};
