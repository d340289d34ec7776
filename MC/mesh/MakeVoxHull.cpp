// Erosion of the field by its own neighbours (see MakeVoxHull.h). Every cell
// with an inside value keeps an undo copy, and the neighbours are read from
// the copies, so the order of cells and threads does not change the result.
#include "MC/mesh/MakeVoxHull.h"

#include <algorithm>
#include <vector>

#include "ClassEngine/Progress.h"
#include "ClassEngine/Threader.h"
#include "MC/mcubes/VolumeObject.h"

void MakeVoxHull(VolumeObject& volume, int radius, bool keepUndo) {
  if (radius < 1) return;
  const bool hadCopies = volume.UndoCopies > 0;
  int steps[27][3];
  int count = 0;
  for (int dz = -1; dz <= 1; ++dz)
    for (int dy = -1; dy <= 1; ++dy)
      for (int dx = -1; dx <= 1; ++dx) {
        const int axes = (dx != 0) + (dy != 0) + (dz != 0);
        if (!axes) continue;
        const int r = axes == 1 ? radius : axes == 2 ? (int)(0.75f * radius) : (int)(0.6f * radius);
        steps[count][0] = dx * r, steps[count][1] = dy * r, steps[count][2] = dz * r;
        ++count;
      }
  std::vector<CellKey> inside;
  volume.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (c->Flags & kCellAbove) inside.push_back(k);
  });
  std::sort(inside.begin(), inside.end(), [](const CellKey& a, const CellKey& b) {
    return a.z != b.z ? a.z < b.z : a.y != b.y ? a.y < b.y : a.x < b.x;
  });
  constexpr size_t kBatch = 10000;
  for (size_t first = 0; first < inside.size(); first += kBatch) {
    const size_t last = std::min(inside.size(), first + kBatch);
    std::vector<VoxelCell*> cells;
    for (size_t i = first; i < last; ++i) {
      VoxelCell* c = volume.GetCell(inside[i].x, inside[i].y, inside[i].z, false, true);
      c->EnsureVoxels(3, true);
      cells.push_back(c);
    }
    const int threads = std::min(UsingProcessors(), kMaxThreads);
    RunSection(threads, [&](int t) {
      CellCache cache;
      for (size_t i = (size_t)t; i < cells.size(); i += (size_t)threads) {
        const CellKey& k = inside[first + i];
        uint16_t* v = cells[i]->Voxels;
        for (int z = 0; z < 9; ++z)
          for (int y = 0; y < 9; ++y)
            for (int x = 0; x < 9; ++x) {
              uint16_t& out = v[LatticeIndex(x, y, z)];
              if (!out) continue;
              const int p[3] = {k.x * 8 + x, k.y * 8 + y, k.z * 8 + z};
              uint16_t least = 65535;
              for (int s = 0; s < count && least; ++s)
                least = std::min(least, volume.GetVoxel(p[0] + steps[s][0], p[1] + steps[s][1], p[2] + steps[s][2],
                                                        &cache, true));
              out = (uint16_t)std::max(0, (int)out - (int)least);
            }
      }
    });
    for (size_t i = first; i < last; ++i) {
      cells[i - first]->RefreshStatus(true, true);
      volume.MarkDirty(inside[i].x, inside[i].y, inside[i].z, false);
    }
    // Esc between batches keeps the batches done; the undo copies hold the rest.
    if (ReportProgress("MakeVoxHull", (int64_t)last, (int64_t)inside.size())) break;
  }
  if (!keepUndo && !hadCopies) volume.DropUndoCopies();
}
