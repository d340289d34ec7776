// Whole-cell copies between volumes: CopyFrom and its mirrored form (clones
// and symmetric clones), SwapCellContents, and SyncBorders for loaders that
// fill one cell at a time.
#include "MC/mcubes/VolumeObject.h"

#include <algorithm>

namespace {
// The edge key of the same lattice edge after mirroring the cell in flipAxes.
uint16_t MirrorBorderCode(uint16_t code, int flipAxes) {
  if (code == kNoBorder) return code;
  int p[3] = {code % 9, (code / 9) % 9, (code / 81) % 9};
  const int axis = code / 729;
  for (int a = 0; a < 3; ++a)
    if (flipAxes & (1 << a)) p[a] = 8 - p[a] - (a == axis ? 1 : 0);
  return (uint16_t)(p[0] + 9 * p[1] + 81 * p[2] + 729 * axis);
}
}  // namespace

void VolumeObject::CopyCellInto(VoxelCell* dst, const VoxelCell* src, int flipAxes) {
  dst->Fill = src->Fill;
  dst->Flags = (uint8_t)((dst->Flags & ~(kCellBelow | kCellAbove | kCellLazyFill | kCellUniform)) |
                         (src->Flags & (kCellBelow | kCellAbove)));
  if (src->Voxels) {
    if (!dst->Voxels) dst->Voxels = (uint16_t*)vpool.Allocate();
    if (src->Flags & kCellLazyFill) {
      std::fill(dst->Voxels, dst->Voxels + kCellVoxels, src->Fill);
    } else if (!flipAxes) {
      std::memcpy(dst->Voxels, src->Voxels, kCellVoxels * 2);
    } else {
      for (int z = 0; z < 9; ++z)
        for (int y = 0; y < 9; ++y)
          for (int x = 0; x < 9; ++x) {
            int sx = (flipAxes & 1) ? 8 - x : x, sy = (flipAxes & 2) ? 8 - y : y, sz = (flipAxes & 4) ? 8 - z : z;
            dst->Voxels[LatticeIndex(x, y, z)] = src->Voxels[LatticeIndex(sx, sy, sz)];
          }
    }
  } else if (dst->Voxels) {
    vpool.Free(dst->Voxels);
    dst->Voxels = nullptr;
  }
  if (!src->Surface) {
    if (dst->Surface) {
      dst->Surface->Vertices.Count = 0;
      dst->Surface->Indices.Count = 0;
    }
    return;
  }
  if (!dst->Surface) dst->Surface = (CellSurface*)apool.Allocate(true);
  CellSurface* d = dst->Surface;
  const CellSurface* s = src->Surface;
  *d->ScreenRect = 0;
  d->ScreenRect[2] = 0;
  d->Vertices.Assign(s->Vertices.Data, s->Vertices.Count);
  d->Indices.Assign(s->Indices.Data, s->Indices.Count);
  std::copy(s->Bounds, s->Bounds + 6, d->Bounds);
  if (!flipAxes) return;
  for (int i = 0; i < d->Vertices.Count; ++i) {
    MCVertex& v = d->Vertices[i];
    for (int a = 0; a < 3; ++a)
      if (flipAxes & (1 << a)) {
        v.Pos[a] = -v.Pos[a];
        v.Normal[a] = -v.Normal[a];
      }
    v.BorderCode = MirrorBorderCode(v.BorderCode, flipAxes);
  }
  for (int a = 0; a < 3; ++a)
    if (flipAxes & (1 << a)) {
      float lo = d->Bounds[a];
      d->Bounds[a] = -d->Bounds[a + 3];
      d->Bounds[a + 3] = -lo;
    }
  // A mirror in an odd number of axes turns the winding over; keep it outward.
  const bool odd = ((flipAxes & 1) + ((flipAxes >> 1) & 1) + ((flipAxes >> 2) & 1)) & 1;
  if (odd)
    for (int i = 0; i + 2 < d->Indices.Count; i += 3) std::swap(d->Indices[i + 1], d->Indices[i + 2]);
}

void VolumeObject::CopyFrom(VolumeObject& source) { CopyFromMirrored(source, 0); }

void VolumeObject::CopyFromMirrored(VolumeObject& source, int flipAxes) {
  std::vector<std::pair<CellKey, VoxelCell*>> cells;
  source.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) { cells.push_back({k, c}); });
  for (auto& [k, src] : cells) {
    // ~c maps cell c onto -c - 1, the cell that holds the mirrored lattice.
    const int x = (flipAxes & 1) ? ~k.x : k.x, y = (flipAxes & 2) ? ~k.y : k.y, z = (flipAxes & 4) ? ~k.z : k.z;
    VoxelCell* dst = GetCell(x, y, z, true, true);
    CopyCellInto(dst, src, flipAxes);
    MarkDirty(x, y, z, true);
  }
  // The voxel shader's parameters come with the volume tree; only the placement is copied here.
  SetTransform(source.Transform);
}

void VolumeObject::SwapCellContents(VolumeObject& a, const CellKey& ka, VolumeObject& b, const CellKey& kb) {
  VoxelCell* ca = a.GetCell(ka.x, ka.y, ka.z, true, true);
  VoxelCell* cb = b.GetCell(kb.x, kb.y, kb.z, true, true);
  const uint8_t bits = kCellBelow | kCellAbove;
  if (!ca->Voxels && !cb->Voxels) {
    std::swap(ca->Fill, cb->Fill);
    const uint8_t fa = ca->Flags & bits, fb = cb->Flags & bits;
    ca->Flags = (uint8_t)((ca->Flags & ~bits) | fb);
    cb->Flags = (uint8_t)((cb->Flags & ~bits) | fa);
  } else {
    // The arrays belong to each volume's own pool, so contents move, not blocks.
    ca->EnsureVoxels(3, false);
    cb->EnsureVoxels(3, false);
    std::swap_ranges(ca->Voxels, ca->Voxels + kCellVoxels, cb->Voxels);
    ca->RefreshStatus(true, false);
    cb->RefreshStatus(true, false);
  }
  a.MarkDirty(ka.x, ka.y, ka.z, false);
  b.MarkDirty(kb.x, kb.y, kb.z, false);
}

void VolumeObject::SyncBorders(int cx, int cy, int cz, VolumeObject* other) {
  VoxelCell** found = Cells.Find(cx, cy, cz);
  if (!found) return;
  VoxelCell* cell = *found;
  for (int m = 1; m < 8; ++m) {
    const int dx = m & 1, dy = (m >> 1) & 1, dz = (m >> 2) & 1;
    VoxelCell** nf = Cells.Find(cx + dx, cy + dy, cz + dz);
    if (!nf && other) nf = other->Cells.Find(cx + dx, cy + dy, cz + dz);
    const VoxelCell* n = nf ? *nf : nullptr;
    // The part of plane 8 that this neighbour owns: a face, an edge or a corner.
    const int x0 = dx ? 8 : 0, x1 = dx ? 8 : 7, y0 = dy ? 8 : 0, y1 = dy ? 8 : 7, z0 = dz ? 8 : 0, z1 = dz ? 8 : 7;
    for (int z = z0; z <= z1; ++z)
      for (int y = y0; y <= y1; ++y)
        for (int x = x0; x <= x1; ++x) {
          uint16_t v = 0;
          if (n) v = (n->Voxels && !(n->Flags & kCellLazyFill)) ? n->Voxels[LatticeIndex(dx ? 0 : x, dy ? 0 : y, dz ? 0 : z)] : n->Fill;
          if (!cell->Voxels) {
            if (v == cell->Fill) continue;
            cell->EnsureVoxels(3, false);
          } else if (cell->Flags & kCellLazyFill) {
            cell->EnsureVoxels(1, false);
          }
          cell->Voxels[LatticeIndex(x, y, z)] = v;
        }
  }
  if (cell->Voxels) cell->RefreshStatus(true, false);
}
