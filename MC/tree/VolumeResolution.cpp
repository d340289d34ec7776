// Doubling a volume's resolution and smoothing it whole (see VolumeResolution.h).
#include "MC/tree/VolumeResolution.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "ClassEngine/Threader.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/tree/LatticeSnapshot.h"
#include "render/Math3D.h"

namespace {

struct Tap {
  int8_t dx, dy, dz;
  int weight;
};

// Per parity (px + 2 py + 4 pz): every offset in -3..4 whose doubled
// distance from the fine point, d2, is below 12, with weight 12 - d2.
const std::vector<Tap>& Taps(int parity) {
  static std::vector<Tap> table[8];
  static bool built = [] {
    for (int p = 0; p < 8; ++p) {
      const int px = p & 1, py = (p >> 1) & 1, pz = (p >> 2) & 1;
      for (int k = -3; k <= 4; ++k)
        for (int j = -3; j <= 4; ++j)
          for (int i = -3; i <= 4; ++i) {
            const int d2 = (2 * i - px) * (2 * i - px) + (2 * j - py) * (2 * j - py) + (2 * k - pz) * (2 * k - pz);
            if (d2 < 12) table[p].push_back({(int8_t)i, (int8_t)j, (int8_t)k, 12 - d2});
          }
    }
    return true;
  }();
  (void)built;
  return table[parity];
}

uint8_t StatusBits(const uint16_t* v) {
  uint8_t f = 0;
  for (int i = 0; i < kCellVoxels; ++i) f |= v[i] >= kSurfaceLevel ? kCellAbove : kCellBelow;
  return f;
}

// Writes a lattice into a fresh cell, releasing the array when it is uniform.
void PutLattice(VolumeObject& volume, VoxelCell* c, const uint16_t* values) {
  bool uniform = std::all_of(values, values + kCellVoxels, [&](uint16_t v) { return v == values[0]; });
  c->Flags = (uint8_t)((c->Flags & ~(kCellBelow | kCellAbove | kCellLazyFill | kCellStale | kCellUniform)) |
                       StatusBits(values));
  if (uniform) {
    if (c->Voxels) volume.vpool.Free(c->Voxels);
    c->Voxels = nullptr;
    c->Fill = values[0];
    return;
  }
  if (!c->Voxels) c->Voxels = (uint16_t*)volume.vpool.Allocate();
  std::memcpy(c->Voxels, values, kCellVoxels * 2);
  c->Fill = values[0];
}

}  // namespace

uint64_t IncreaseResolutionCost(VolumeObject& volume) {
  uint64_t bytes = 28;
  volume.Cells.ForEach([&](const CellKey&, VoxelCell*& c) {
    if (c->Surface)
      bytes += (36 + 1458 + 16 + 92) * 8 + (uint64_t)c->Surface->Vertices.Count * 28 * 8 + 32 +
               (uint64_t)c->Surface->Indices.Count * 16 + 32;
    else if (c->Voxels)
      bytes += (36 + 1458 + 16) * 8;
    else
      bytes += 36 * 8;
  });
  return bytes;
}

void UpsampleCell(const LatticeSnapshot& old, const CellKey& key, uint16_t* out) {
  const int bx = key.x * 8, by = key.y * 8, bz = key.z * 8;
  // The old values the taps can reach, -3 .. 12 around the cell, read once.
  constexpr int kPad = 3, kSide = 16;
  std::vector<uint16_t> near(kSide * kSide * kSide);
  for (int z = 0; z < kSide; ++z)
    for (int y = 0; y < kSide; ++y)
      for (int x = 0; x < kSide; ++x)
        near[(z * kSide + y) * kSide + x] = old.Value(bx + x - kPad, by + y - kPad, bz + z - kPad);
  auto at = [&](int x, int y, int z) { return near[((z + kPad) * kSide + y + kPad) * kSide + x + kPad]; };
  for (int child = 0; child < 8; ++child) {
    const int ci = child & 1, cj = (child >> 1) & 1, ck = (child >> 2) & 1;
    uint16_t* dst = out + child * kCellVoxels;
    for (int z = 0; z < 9; ++z)
      for (int y = 0; y < 9; ++y)
        for (int x = 0; x < 9; ++x) {
          const int hx = 4 * ci + (x >> 1), hy = 4 * cj + (y >> 1), hz = 4 * ck + (z >> 1);
          const uint16_t v = at(hx, hy, hz);
          uint16_t result;
          if (v < 101 || v >= 65000) {
            result = v >= kSurfaceLevel ? 65535 : 0;
          } else {
            long sum = 0, weights = 0;
            for (const Tap& t : Taps((x & 1) + 2 * (y & 1) + 4 * (z & 1))) {
              sum += (long)t.weight * at(hx + t.dx, hy + t.dy, hz + t.dz);
              weights += t.weight;
            }
            // The band is twice as steep in new voxels: 2 * mean - 32768.
            const long r = 2 * ((sum + weights / 2) / weights) - 32768;
            result = (uint16_t)std::clamp(r, 0L, 65535L);
          }
          dst[LatticeIndex(x, y, z)] = result;
        }
  }
}

void IncreaseResolution(VolumeObject& volume, int threads) {
  volume.DropUndoCopies();
  const LatticeSnapshot old(volume);
  std::vector<CellKey> withArrays;
  for (const CellKey& k : old.Keys())
    if (!old.Find(k.x, k.y, k.z)->Voxels.empty()) withArrays.push_back(k);

  std::vector<uint16_t> fine(withArrays.size() * 8 * kCellVoxels);
  ParallelRange(0, (int)withArrays.size(), [&](int first, int last) {
    for (int i = first; i < last; ++i) UpsampleCell(old, withArrays[i], fine.data() + (size_t)i * 8 * kCellVoxels);
  }, threads);

  volume.ClearVoxels();
  volume.Compact();
  std::vector<uint16_t> flat(kCellVoxels);
  for (const CellKey& k : old.Keys()) {
    const LatticeSnapshot::Cell& src = *old.Find(k.x, k.y, k.z);
    if (!src.Voxels.empty()) continue;
    for (int child = 0; child < 8; ++child) {
      VoxelCell* c = volume.GetCell(2 * k.x + (child & 1), 2 * k.y + ((child >> 1) & 1), 2 * k.z + (child >> 2), true, false);
      c->Fill = src.Fill;
      c->Flags = (uint8_t)((c->Flags & ~(kCellBelow | kCellAbove | kCellUniform | kCellLazyFill | kCellStale)) |
                           (src.Flags & (kCellBelow | kCellAbove)));
    }
  }
  for (size_t i = 0; i < withArrays.size(); ++i) {
    const CellKey& k = withArrays[i];
    for (int child = 0; child < 8; ++child) {
      VoxelCell* c = volume.GetCell(2 * k.x + (child & 1), 2 * k.y + ((child >> 1) & 1), 2 * k.z + (child >> 2), true, false);
      PutLattice(volume, c, fine.data() + (i * 8 + child) * kCellVoxels);
    }
  }
  comms::cMat4 half = comms::cMat4::Scaling(0.5f, 0.5f, 0.5f), t;
  std::memcpy(t.m, volume.Transform, sizeof(t.m));
  const comms::cMat4 moved = half * t;
  volume.SetTransform(&moved.m[0][0]);
  volume.Cells.ForEach([&](const CellKey& k, VoxelCell*&) { volume.MarkDirty(k.x, k.y, k.z, false); });
}

void SmoothObject(VolumeObject& volume, bool keepUndo, int threads) {
  const LatticeSnapshot old(volume);
  // Cells with an array and every neighbour of one.
  CellKeyMap<int> wanted(4099);
  std::vector<CellKey> keys;
  for (const CellKey& k : old.Keys()) {
    if (old.Find(k.x, k.y, k.z)->Voxels.empty()) continue;
    for (int n = 0; n < 27; ++n) {
      const int x = k.x + n % 3 - 1, y = k.y + (n / 3) % 3 - 1, z = k.z + n / 9 - 1;
      if (wanted.Find(x, y, z)) continue;
      wanted.Set(x, y, z, 1);
      keys.push_back({x, y, z});
    }
  }
  std::vector<uint16_t> out(keys.size() * kCellVoxels);
  std::vector<uint8_t> changed(keys.size(), 0);
  ParallelRange(0, (int)keys.size(), [&](int first, int last) {
    for (int i = first; i < last; ++i) {
      const CellKey& k = keys[i];
      uint16_t* dst = out.data() + (size_t)i * kCellVoxels;
      // The old lattice -1 .. 9 around the cell, read once.
      uint16_t near[11 * 11 * 11];
      for (int z = 0; z < 11; ++z)
        for (int y = 0; y < 11; ++y)
          for (int x = 0; x < 11; ++x) near[(z * 11 + y) * 11 + x] = old.Value(k.x * 8 + x - 1, k.y * 8 + y - 1, k.z * 8 + z - 1);
      for (int z = 0; z < 9; ++z)
        for (int y = 0; y < 9; ++y)
          for (int x = 0; x < 9; ++x) {
            long sum = 0;
            // Weights 8 centre, 4 faces, 2 edges, 1 corners: 64 in all.
            for (int n = 0; n < 27; ++n) {
              const int dx = n % 3 - 1, dy = (n / 3) % 3 - 1, dz = n / 9 - 1;
              const int w = 8 >> (std::abs(dx) + std::abs(dy) + std::abs(dz));
              sum += (long)w * near[((z + 1 + dz) * 11 + y + 1 + dy) * 11 + x + 1 + dx];
            }
            dst[LatticeIndex(x, y, z)] = (uint16_t)((sum + 32) / 64);
            changed[i] |= dst[LatticeIndex(x, y, z)] != near[((z + 1) * 11 + y + 1) * 11 + x + 1];
          }
    }
  }, threads);
  for (size_t i = 0; i < keys.size(); ++i) {
    if (!changed[i]) continue;
    const CellKey& k = keys[i];
    VoxelCell* c = volume.GetCell(k.x, k.y, k.z, true, keepUndo);
    PutLattice(volume, c, out.data() + i * kCellVoxels);
    volume.MarkDirty(k.x, k.y, k.z, false);
  }
}
