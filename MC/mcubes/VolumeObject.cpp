// Cell lifetime of a volume: creation, undo copies, release, compaction and
// the transform. Voxel access lives in VolumeVoxels.cpp, copies in
// VolumeCopy.cpp, the surface in the files named after its steps.
#include "MC/mcubes/VolumeObject.h"

#include <algorithm>
#include <cmath>
#include <mutex>

#include "ClassEngine/Assert.h"

namespace {
void Identity(float m[16]) {
  for (int i = 0; i < 16; ++i) m[i] = (i % 5 == 0) ? 1.f : 0.f;
}

// General 4 x 4 inverse by cofactors; a singular matrix yields identity.
void Invert4(const float* m, float* out) {
  double inv[16], a[16];
  for (int i = 0; i < 16; ++i) a[i] = m[i];
  inv[0] = a[5] * a[10] * a[15] - a[5] * a[11] * a[14] - a[9] * a[6] * a[15] + a[9] * a[7] * a[14] + a[13] * a[6] * a[11] - a[13] * a[7] * a[10];
  inv[4] = -a[4] * a[10] * a[15] + a[4] * a[11] * a[14] + a[8] * a[6] * a[15] - a[8] * a[7] * a[14] - a[12] * a[6] * a[11] + a[12] * a[7] * a[10];
  inv[8] = a[4] * a[9] * a[15] - a[4] * a[11] * a[13] - a[8] * a[5] * a[15] + a[8] * a[7] * a[13] + a[12] * a[5] * a[11] - a[12] * a[7] * a[9];
  inv[12] = -a[4] * a[9] * a[14] + a[4] * a[10] * a[13] + a[8] * a[5] * a[14] - a[8] * a[6] * a[13] - a[12] * a[5] * a[10] + a[12] * a[6] * a[9];
  inv[1] = -a[1] * a[10] * a[15] + a[1] * a[11] * a[14] + a[9] * a[2] * a[15] - a[9] * a[3] * a[14] - a[13] * a[2] * a[11] + a[13] * a[3] * a[10];
  inv[5] = a[0] * a[10] * a[15] - a[0] * a[11] * a[14] - a[8] * a[2] * a[15] + a[8] * a[3] * a[14] + a[12] * a[2] * a[11] - a[12] * a[3] * a[10];
  inv[9] = -a[0] * a[9] * a[15] + a[0] * a[11] * a[13] + a[8] * a[1] * a[15] - a[8] * a[3] * a[13] - a[12] * a[1] * a[11] + a[12] * a[3] * a[9];
  inv[13] = a[0] * a[9] * a[14] - a[0] * a[10] * a[13] - a[8] * a[1] * a[14] + a[8] * a[2] * a[13] + a[12] * a[1] * a[10] - a[12] * a[2] * a[9];
  inv[2] = a[1] * a[6] * a[15] - a[1] * a[7] * a[14] - a[5] * a[2] * a[15] + a[5] * a[3] * a[14] + a[13] * a[2] * a[7] - a[13] * a[3] * a[6];
  inv[6] = -a[0] * a[6] * a[15] + a[0] * a[7] * a[14] + a[4] * a[2] * a[15] - a[4] * a[3] * a[14] - a[12] * a[2] * a[7] + a[12] * a[3] * a[6];
  inv[10] = a[0] * a[5] * a[15] - a[0] * a[7] * a[13] - a[4] * a[1] * a[15] + a[4] * a[3] * a[13] + a[12] * a[1] * a[7] - a[12] * a[3] * a[5];
  inv[14] = -a[0] * a[5] * a[14] + a[0] * a[6] * a[13] + a[4] * a[1] * a[14] - a[4] * a[2] * a[13] - a[12] * a[1] * a[6] + a[12] * a[2] * a[5];
  inv[3] = -a[1] * a[6] * a[11] + a[1] * a[7] * a[10] + a[5] * a[2] * a[11] - a[5] * a[3] * a[10] - a[9] * a[2] * a[7] + a[9] * a[3] * a[6];
  inv[7] = a[0] * a[6] * a[11] - a[0] * a[7] * a[10] - a[4] * a[2] * a[11] + a[4] * a[3] * a[10] + a[8] * a[2] * a[7] - a[8] * a[3] * a[6];
  inv[11] = -a[0] * a[5] * a[11] + a[0] * a[7] * a[9] + a[4] * a[1] * a[11] - a[4] * a[3] * a[9] - a[8] * a[1] * a[7] + a[8] * a[3] * a[5];
  inv[15] = a[0] * a[5] * a[10] - a[0] * a[6] * a[9] - a[4] * a[1] * a[10] + a[4] * a[2] * a[9] + a[8] * a[1] * a[6] - a[8] * a[2] * a[5];
  double det = a[0] * inv[0] + a[1] * inv[4] + a[2] * inv[8] + a[3] * inv[12];
  if (det == 0) {
    Identity(out);
    return;
  }
  for (int i = 0; i < 16; ++i) out[i] = (float)(inv[i] / det);
}

// Row vectors: out = (p, w) * M.
void MulRow(const float p[3], float w, const float* m, float out[3]) {
  for (int c = 0; c < 3; ++c) out[c] = p[0] * m[c] + p[1] * m[4 + c] + p[2] * m[8 + c] + w * m[12 + c];
}
}  // namespace

VolumeObject::VolumeObject() : ObjectId((uintptr_t)this) {
  Identity(Transform);
  Identity(InverseTransform);
}

VolumeObject::~VolumeObject() {
  SurfaceCacheScope bind(Surfaces.Cache(0));
  Cells.ForEach([&](const CellKey&, VoxelCell*& c) { ReleaseCell(c); });
}

void VolumeObject::SetTransform(const float m[16]) {
  for (int i = 0; i < 16; ++i) Transform[i] = m[i];
  Invert4(Transform, InverseTransform);
  TransformScale = std::sqrt(m[0] * m[0] + m[4] * m[4] + m[8] * m[8]);
}
void VolumeObject::PointToScene(const float in[3], float out[3]) const { MulRow(in, 1, Transform, out); }
void VolumeObject::PointToObject(const float in[3], float out[3]) const { MulRow(in, 1, InverseTransform, out); }
void VolumeObject::VectorToScene(const float in[3], float out[3]) const { MulRow(in, 0, Transform, out); }
void VolumeObject::VectorToObject(const float in[3], float out[3]) const { MulRow(in, 0, InverseTransform, out); }

VoxelCell* VolumeObject::NewCell() {
  VoxelCell* c = (VoxelCell*)cpool.Allocate(true);
  c->Owner = this;
  c->Side = (uint8_t)(CellSide + 1);
  return c;
}

VoxelCell* VolumeObject::GetCell(int cx, int cy, int cz, bool create, bool keepUndo, bool lock) {
  std::unique_lock<std::mutex> guard;
  if (lock) guard = std::unique_lock<std::mutex>(VoxelPoolLock());
  if (VoxelCell** found = Cells.Find(cx, cy, cz)) {
    if (keepUndo && !(*found)->UndoCopy) SaveUndoCopy(cx, cy, cz);
    return *found;
  }
  if (!create) return nullptr;
  VoxelCell* c = NewCell();
  c->Fill = 0;
  c->Flags = kCellChanged | kCellBelow;
  Cells.Set(cx, cy, cz, c);
  const int key[3] = {cx, cy, cz};
  for (int i = 0; i < 3; ++i) {
    if (key[i] < CellBoundsMin[i]) CellBoundsMin[i] = key[i];
    if (key[i] > CellBoundsMax[i]) CellBoundsMax[i] = key[i];
  }
  if (keepUndo) SaveUndoCopy(cx, cy, cz);
  return c;
}

void VolumeObject::NoteTouched(int cx, int cy, int cz) {
  ++UndoCopies;
  // Past the limit the list stops growing and consumers walk the whole map.
  if ((int)TouchedCells.size() < kTouchedLimit) TouchedCells.push_back({cx, cy, cz});
}

void VolumeObject::SaveUndoCopy(int cx, int cy, int cz) {
  VoxelCell** found = Cells.Find(cx, cy, cz);
  if (!found || (*found)->UndoCopy) return;
  VoxelCell* cell = *found;
  VoxelCell* copy = NewCell();
  if (CellSurface* s = cell->Surface) {
    if (s->SavedVertices.Empty() && s->SavedIndices.Empty()) {
      s->SavedVertices.Assign(s->Vertices.Data, s->Vertices.Count);
      s->SavedIndices.Assign(s->Indices.Data, s->Indices.Count);
    }
  }
  copy->Side = cell->Side;
  copy->Fill = cell->Fill;
  copy->Flags = (uint8_t)((cell->Flags & (kCellBelow | kCellAbove | kCellHidden)) | kCellChanged);
  if (cell->Voxels) {
    copy->Voxels = (uint16_t*)vpool.Allocate();
    if (cell->Flags & kCellLazyFill)
      std::fill(copy->Voxels, copy->Voxels + kCellVoxels, cell->Fill);
    else
      std::memcpy(copy->Voxels, cell->Voxels, kCellVoxels * 2);
  }
  cell->UndoCopy = copy;
  NoteTouched(cx, cy, cz);
}

void VolumeObject::ReplaceWithEmpty(int cx, int cy, int cz) {
  VoxelCell** found = Cells.Find(cx, cy, cz);
  if (!found) {
    GetCell(cx, cy, cz, true, true);
    return;
  }
  if ((*found)->UndoCopy) return;  // the state before the operation is already kept
  VoxelCell* old = *found;
  VoxelCell* fresh = NewCell();
  fresh->Fill = 0;
  fresh->Flags = kCellChanged | kCellBelow;
  fresh->UndoCopy = old;
  *found = fresh;
  NoteTouched(cx, cy, cz);
}

void VolumeObject::ReleaseCell(VoxelCell* cell) {
  if (!cell) return;
  vpool.Free(cell->Voxels);
  ReleaseCell(cell->UndoCopy);
  vpool.Free(cell->Scratch);
  if (cell->Surface) {
    cell->Surface->FreeArrays();
    apool.Free(cell->Surface);
  }
  cpool.Free(cell);
}

void VoxelCell::EnsureVoxels(int mode, bool lock) {
  if (!Voxels && (mode & 1)) {
    if (lock) {
      std::lock_guard<std::mutex> guard(VoxelPoolLock());
      Voxels = (uint16_t*)Owner->vpool.Allocate();
    } else {
      Voxels = (uint16_t*)Owner->vpool.Allocate();
    }
    if (mode & 2) {
      std::fill(Voxels, Voxels + kCellVoxels, Fill);
      Flags &= ~kCellLazyFill;
    } else {
      Flags |= kCellLazyFill;
    }
  } else if (Voxels && (Flags & kCellLazyFill)) {
    std::fill(Voxels, Voxels + kCellVoxels, Fill);
    Flags &= ~kCellLazyFill;
  }
  Flags |= kCellStale;
}

void VoxelCell::RefreshStatus(bool release, bool lock) {
  if (Voxels) {
    if (Flags & kCellLazyFill) {  // never written: every value is still Fill
      std::fill(Voxels, Voxels + kCellVoxels, Fill);
      Flags &= ~kCellLazyFill;
    }
    Flags &= ~(kCellBelow | kCellAbove | kCellUniform);
    const uint16_t first = Voxels[0];
    bool below = false, above = false, uniform = true;
    for (int i = 0; i < kCellVoxels; ++i) {
      uint16_t v = Voxels[i];
      if (v >= kSurfaceLevel)
        above = true;
      else
        below = true;
      uniform &= v == first;
      if (below && above) break;
    }
    Flags |= (below ? kCellBelow : 0) | (above ? kCellAbove : 0);
    Fill = first;
    if (uniform) {
      if (release) {
        if (lock) {
          std::lock_guard<std::mutex> guard(VoxelPoolLock());
          Owner->vpool.Free(Voxels);
        } else {
          Owner->vpool.Free(Voxels);
        }
        Voxels = nullptr;
      } else {
        Flags |= kCellUniform;
      }
    }
  }
  Flags &= ~kCellStale;
}

void VolumeObject::Compact() {
  std::vector<CellKey> gone;
  Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (!c->Voxels && c->Fill == 0) gone.push_back(k);
  });
  for (const CellKey& k : gone) {
    VoxelCell* c = *Cells.Find(k.x, k.y, k.z);
    // Triangles it still carried must leave the drawing too.
    if (c->Surface && c->Surface->Vertices.Count)
      DirtyGroups.Set(GroupOf(k.x), GroupOf(k.y), GroupOf(k.z), 1);
    if (c->UndoCopy) --UndoCopies;
    ReleaseCell(c);
    Cells.Remove(k.x, k.y, k.z);
  }
  if (!gone.empty()) {
    Tree.ClearBoxes();
    TreeStale = true;
  }
  vpool.Trim();
  cpool.Trim();
  apool.Trim();
}

void VolumeObject::ClearVoxels() {
  std::vector<CellKey> keys;
  Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    c->Fill = 0;
    vpool.Free(c->Voxels);
    c->Voxels = nullptr;
    c->Flags = (uint8_t)((c->Flags & ~(kCellAbove | kCellLazyFill | kCellStale | kCellUniform)) | kCellBelow);
    keys.push_back(k);
  });
  for (const CellKey& k : keys) MarkDirty(k.x, k.y, k.z, false);
}

void VolumeObject::RestoreUndoCopies(bool surfaceOnly) {
  auto restore = [&](int cx, int cy, int cz, VoxelCell* cell) {
    VoxelCell* copy = cell->UndoCopy;
    if (!copy) return;
    if (CellSurface* s = cell->Surface; s && !s->SavedVertices.Empty()) {
      s->Vertices.Assign(s->SavedVertices.Data, s->SavedVertices.Count);
      s->Indices.Assign(s->SavedIndices.Data, s->SavedIndices.Count);
      s->SavedVertices.Free();
      s->SavedIndices.Free();
    }
    if (!surfaceOnly) {
      std::swap(cell->Voxels, copy->Voxels);
      cell->Fill = copy->Fill;
      cell->Flags = (uint8_t)((copy->Flags & (kCellBelow | kCellAbove | kCellHidden)) | kCellChanged);
      if (copy->Surface) std::swap(cell->Surface, copy->Surface);  // record kept by ReplaceWithEmpty
    }
    cell->UndoCopy = nullptr;
    ReleaseCell(copy);
    MarkDirty(cx, cy, cz, surfaceOnly);
  };
  if ((int)TouchedCells.size() < kTouchedLimit) {
    for (const CellKey& k : TouchedCells)
      if (VoxelCell** c = Cells.Find(k.x, k.y, k.z)) restore(k.x, k.y, k.z, *c);
  } else {
    std::vector<std::pair<CellKey, VoxelCell*>> all;
    Cells.ForEach([&](const CellKey& k, VoxelCell*& c) { all.push_back({k, c}); });
    for (auto& [k, c] : all) restore(k.x, k.y, k.z, c);
  }
  TouchedCells.clear();
  UndoCopies = 0;
}

void VolumeObject::DropUndoCopies() {
  Cells.ForEach([&](const CellKey&, VoxelCell*& c) {
    if (c->UndoCopy) {
      ReleaseCell(c->UndoCopy);
      c->UndoCopy = nullptr;
    }
    if (c->Surface) {
      c->Surface->SavedVertices.Free();
      c->Surface->SavedIndices.Free();
    }
  });
  TouchedCells.clear();
  UndoCopies = 0;
}
