// Helpers of the voxel undo tests: a full picture of a volume (voxels, flags
// and triangles of every cell that holds anything) and a stroke on a sphere.
#pragma once
#include <cstring>
#include <map>
#include <string>
#include <tuple>

#include "../brushes/BrushTestKit.h"

// Per cell: the flags that carry meaning, the 729 values as read, the
// triangles' vertices and indices as bytes. An empty cell (all values 0, no
// triangles) is left out, as a missing cell reads the same.
inline std::map<std::tuple<int, int, int>, std::string> FullPicture(VolumeObject& v) {
  std::map<std::tuple<int, int, int>, std::string> out;
  v.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    std::string bytes;
    bool any = false;
    for (int i = 0; i < kCellVoxels; ++i) {
      const uint16_t val = OldValue(c, i);
      any |= val != 0;
      bytes.append((const char*)&val, 2);
    }
    const CellSurface* s = c->Surface;
    if (s && (s->Vertices.Count || s->Indices.Count)) {
      any = true;
      bytes.append((const char*)s->Vertices.Data, sizeof(MCVertex) * s->Vertices.Count);
      bytes.append((const char*)s->Indices.Data, 2 * s->Indices.Count);
    }
    bytes += char(c->Flags & (kCellBelow | kCellAbove | kCellHidden));
    if (any) out[{k.x, k.y, k.z}] = std::move(bytes);
  });
  return out;
}

// A three-sample stroke of `tool` across the top of the sphere at the origin.
inline void StrokeAcross(VolumeObject& v, int tool, float radius, float x0, float x1, uint32_t seed,
                         bool invert = false) {
  SimplePen pen;
  GeneralPen::CurrentPenPtr = &pen;
  VoxelBrushSettings settings;
  VoxelSculptStroke stroke(settings);
  stroke.Tool = tool;
  stroke.InvertModifier = invert;
  const float r = 28.f;
  if (!stroke.Begin(v, OnSphere(x0, 0, r, radius), seed)) return;
  stroke.MoveTo(OnSphere((x0 + x1) / 2, 2, r, radius));
  stroke.MoveTo(OnSphere(x1, 0, r, radius));
  stroke.End();
  GeneralPen::CurrentPenPtr = nullptr;
}
