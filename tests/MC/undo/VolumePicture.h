// A volume's state as bytes, for undo tests: voxels, meaningful flags and
// triangles of every cell that holds anything, in key order. An empty cell
// (all values 0, no triangles) is left out, as a missing cell reads the same.
#pragma once
#include <map>
#include <string>
#include <tuple>

#include "MC/brushes/CellJobs.h"
#include "MC/mcubes/VolumeObject.h"

inline std::string VolumePicture(VolumeObject& v) {
  std::map<std::tuple<int, int, int>, std::string> cells;
  v.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    std::string bytes;
    bool any = false;
    for (int i = 0; i < kCellVoxels; ++i) {
      const uint16_t val = OldValue(c, i);
      any |= val != 0;
      bytes.append((const char*)&val, 2);
    }
    if (const CellSurface* s = c->Surface; s && (s->Vertices.Count || s->Indices.Count)) {
      any = true;
      bytes.append((const char*)s->Vertices.Data, sizeof(MCVertex) * s->Vertices.Count);
      bytes.append((const char*)s->Indices.Data, 2 * s->Indices.Count);
    }
    bytes += char(c->Flags & (kCellBelow | kCellAbove | kCellHidden));
    if (any) cells[{k.x, k.y, k.z}] = std::move(bytes);
  });
  std::string out;
  for (auto& [k, b] : cells) {
    out.append((const char*)&k, sizeof k);
    out += b;
  }
  return out;
}

