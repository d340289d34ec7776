// Once per frame: the dirty cells get new triangles (in parallel), their
// bounds go into the box tree, and the render groups that hold them are
// rebuilt. A stroke only marks cells; the triangles appear here.
#include <algorithm>
#include <vector>

#include "ClassEngine/Threader.h"
#include "MC/mcubes/VolumeObject.h"

namespace {
CellBox SurfaceBox(const CellSurface* s) {
  CellBox box;
  if (!s) return box;
  for (int i = 0; i < s->Vertices.Count; ++i) {
    const float* p = s->Vertices[i].Pos;
    for (int k = 0; k < 3; ++k) {
      box.Min[k] = std::min(box.Min[k], p[k]);
      box.Max[k] = std::max(box.Max[k], p[k]);
    }
  }
  return box;
}

// Sizes a group array that is about to be overwritten whole. When its room is
// short the old storage goes first instead of being copied over, and an
// eighth more is taken so a group that grows a little does not reallocate
// at every update.
template <class T>
void SizeFor(MeshArray<T>& a, size_t n) {
  if (n > a.capacity()) {
    MeshArray<T>().swap(a);
    a.reserve(n + n / 8);
  }
  a.resize(n);
}
}  // namespace

void VolumeObject::UpdateSurface() {
  // Surface-mode edits go back into the voxels through ApplyMC (MC/mesh/ApplyMC.cpp), which
  // the surface tools call before this update once they move vertices.
  std::vector<CellKey> rebuild, refresh;
  DirtyCells.ForEach([&](const CellKey& k, int& value) {
    VoxelCell** found = Cells.Find(k.x, k.y, k.z);
    if (value == 1 && found) {
      VoxelCell* cell = *found;
      // Single-voxel writers leave the status stale; settle it before deciding.
      if (cell->Flags & kCellStale) cell->RefreshStatus(true, false);
      if (cell->HasSurfaceCrossing() && !cell->Surface) cell->Surface = (CellSurface*)apool.Allocate(true);
      rebuild.push_back(k);
    } else {
      refresh.push_back(k);
    }
  });

  // No partial-redraw machinery exists yet: the view always redraws in full.

  ExtractedCells += (int64_t)rebuild.size();
  if (!rebuild.empty()) {
    const int threads = std::min({UsingProcessors(), kMaxThreads, (int)rebuild.size()});
    RunSection(threads, [&](int t) {
      SurfaceCacheScope bind(Surfaces.Cache(t));
      for (size_t i = t; i < rebuild.size(); i += threads) BuildCellSurface(rebuild[i].x, rebuild[i].y, rebuild[i].z);
    });
    for (const CellKey& k : rebuild)
      if (VoxelCell** c = Cells.Find(k.x, k.y, k.z)) (*c)->Flags &= ~kCellChanged;
  }

  if (SkipBoundsThisUpdate) {
    for (const CellKey& k : rebuild) BoundsOwed.Set(k.x, k.y, k.z, 1);
    for (const CellKey& k : refresh) BoundsOwed.Set(k.x, k.y, k.z, 1);
  } else {
    // What earlier skipped updates owe is measured again from the triangles.
    BoundsOwed.ForEach([&](const CellKey& k, int&) {
      if (!DirtyCells.Find(k.x, k.y, k.z)) refresh.push_back(k);
    });
    BoundsOwed.Clear();
    // Rebuilt cells got their box with their triangles; the others may have
    // moved vertices (surface mode) and are measured again.
    auto bound = [&](const CellKey& k, bool fresh) {
      VoxelCell** found = Cells.Find(k.x, k.y, k.z);
      CellSurface* s = found ? (*found)->Surface : nullptr;
      CellBox box;
      if (s && fresh) {
        std::copy(s->Bounds, s->Bounds + 3, box.Min);
        std::copy(s->Bounds + 3, s->Bounds + 6, box.Max);
      } else if (s) {
        box = SurfaceBox(s);
        std::copy(box.Min, box.Min + 3, s->Bounds);
        std::copy(box.Max, box.Max + 3, s->Bounds + 3);
      }
      Tree.SetBox(0, k.x, k.y, k.z, box);
    };
    for (const CellKey& k : rebuild) bound(k, true);
    for (const CellKey& k : refresh) bound(k, false);
  }

  ++UpdateStamp;
  std::vector<CellKey> groupKeys;
  DirtyGroups.ForEach([&](const CellKey& g, int&) { groupKeys.push_back(g); });
  RebuildGroups(groupKeys);

  DirtyCells.Clear();
  DirtyGroups.Clear();
  ViewDirtyCells.Clear();
  if (SkipBoundsThisUpdate) return;
  if (TreeStale) {
    TreeStale = false;
    Tree.ClearBoxes();
    Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
      if (c->Surface && c->Surface->Vertices.Count) Tree.SetBox(0, k.x, k.y, k.z, SurfaceBox(c->Surface));
    });
  }
  Tree.Rebuild();
}

std::shared_ptr<GroupMesh> VolumeObject::RebuildGroup(int gx, int gy, int gz, float rect[4],
                                                      std::shared_ptr<GroupMesh>* reuse) {
  const CellSurface* parts[216];
  int partCount = 0, vertexCount = 0, indexCount = 0;
  bool haveRect = false;
  float r0 = 0, r1 = 0, r2 = 0, r3 = 0;  // min x, min y, max x, max y
  for (int k = 0; k < 6; ++k)
    for (int j = 0; j < 6; ++j)
      for (int i = 0; i < 6; ++i) {
        VoxelCell** found = Cells.Find(gx * 6 + i, gy * 6 + j, gz * 6 + k);
        if (!found) continue;
        const VoxelCell* c = *found;
        if (!c->Surface || (c->Flags & kCellHidden)) continue;
        const CellSurface* s = c->Surface;
        vertexCount += s->Vertices.Count;
        indexCount += s->Indices.Count;
        parts[partCount++] = s;
        if (s->ScreenRect[2] > 0) {
          const float x0 = s->ScreenRect[0], y0 = s->ScreenRect[1];
          const float x1 = x0 + s->ScreenRect[2], y1 = y0 + s->ScreenRect[3];
          if (!haveRect) {
            r0 = x0, r1 = y0, r2 = x1, r3 = y1;
            haveRect = true;
          } else {
            r0 = std::min(r0, x0), r1 = std::min(r1, y0), r2 = std::max(r2, x1), r3 = std::max(r3, y1);
          }
        }
      }
  if (rect) {
    rect[0] = r0, rect[1] = r1, rect[2] = r2 - r0, rect[3] = r3 - r1;
  }
  if (vertexCount == 0 && indexCount == 0) return nullptr;
  std::shared_ptr<GroupMesh> mesh = reuse && *reuse ? std::move(*reuse) : std::make_shared<GroupMesh>();
  mesh->MaterialHandle = -1;
  ++mesh->Version;
  SizeFor(mesh->Positions, (size_t)vertexCount * 3);
  SizeFor(mesh->Normals, (size_t)vertexCount * 3);
  mesh->WideIndices = vertexCount >= 65000;
  if (mesh->WideIndices) {
    SizeFor(mesh->Indices32, indexCount);
    mesh->Indices16.clear();
  } else {
    SizeFor(mesh->Indices16, indexCount);
    mesh->Indices32.clear();
  }
  float* pos = mesh->Positions.data();
  float* nrm = mesh->Normals.data();
  int base = 0, at = 0;
  for (int p = 0; p < partCount; ++p) {
    const CellSurface* s = parts[p];
    for (int v = 0; v < s->Vertices.Count; ++v) {
      const MCVertex& mv = s->Vertices[v];
      // The freeze weight reaches the shader as the normal's length.
      const float len = 1.0f + mv.Freeze / 65535.0f;
      *pos++ = mv.Pos[0], *pos++ = mv.Pos[1], *pos++ = mv.Pos[2];
      *nrm++ = mv.Normal[0] * len, *nrm++ = mv.Normal[1] * len, *nrm++ = mv.Normal[2] * len;
    }
    if (mesh->WideIndices)
      for (int i = 0; i < s->Indices.Count; ++i) mesh->Indices32[at++] = (uint32_t)(base + s->Indices[i]);
    else
      for (int i = 0; i < s->Indices.Count; ++i) mesh->Indices16[at++] = (uint16_t)(base + s->Indices[i]);
    base += s->Vertices.Count;
  }
  return mesh;
}

void VolumeObject::RecomputeCellBounds() {
  int mn[3] = {10000, 10000, 10000}, mx[3] = {-10000, -10000, -10000};
  Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (!c->Surface || !c->Surface->Vertices.Count) return;
    const int key[3] = {k.x, k.y, k.z};
    for (int i = 0; i < 3; ++i) mn[i] = std::min(mn[i], key[i]), mx[i] = std::max(mx[i], key[i]);
  });
  if (mn[0] > mx[0] || mn[1] > mx[1] || mn[2] > mx[2])
    for (int i = 0; i < 3; ++i) mn[i] = mx[i] = 0;
  std::copy(mn, mn + 3, CellBoundsMin);
  std::copy(mx, mx + 3, CellBoundsMax);
}

void VolumeObject::ResetGroups() {
  RenderGroups.ForEach([&](const CellKey&, RenderGroup& g) {
    if (g.Mesh && g.Mesh.use_count() == 1 && (int)SpareMeshes.size() < kSpareMeshes) SpareMeshes.push_back(std::move(g.Mesh));
  });
  RenderGroups.Clear();
}

void VolumeObject::RebuildAllGroups() {
  RecomputeCellBounds();
  ResetGroups();
  ++UpdateStamp;
  std::vector<CellKey> groupKeys;
  for (int gz = GroupOf(CellBoundsMin[2]); gz <= GroupOf(CellBoundsMax[2]); ++gz)
    for (int gy = GroupOf(CellBoundsMin[1]); gy <= GroupOf(CellBoundsMax[1]); ++gy)
      for (int gx = GroupOf(CellBoundsMin[0]); gx <= GroupOf(CellBoundsMax[0]); ++gx) groupKeys.push_back({gx, gy, gz});
  RebuildGroups(groupKeys);
}

// Groups only read cells, so they are built in parallel; the map is filled
// afterwards on this thread, in the order of the keys.
void VolumeObject::RebuildGroups(const std::vector<CellKey>& keys) {
  // A group's old mesh that nothing else holds any more (the renderer lets go
  // once it has uploaded it) is filled again in place, and groups without one
  // take a spare: the arrays keep their pages instead of going back to the
  // system and faulting in anew on every update.
  std::vector<std::shared_ptr<GroupMesh>> reuse(keys.size());
  for (size_t i = 0; i < keys.size(); ++i) {
    const CellKey& g = keys[i];
    if (RenderGroup* old = RenderGroups.Find(g.x, g.y, g.z); old && old->Mesh && old->Mesh.use_count() == 1)
      reuse[i] = std::move(old->Mesh);
    RenderGroups.Remove(g.x, g.y, g.z);
  }
  for (auto& r : reuse)
    if (!r && !SpareMeshes.empty()) {
      r = std::move(SpareMeshes.back());
      SpareMeshes.pop_back();
    }
  std::vector<RenderGroup> built(keys.size());
  const int threads = std::min({UsingProcessors(), kMaxThreads, std::max(1, (int)keys.size())});
  RunSection(threads, [&](int t) {
    SurfaceCacheScope bind(Surfaces.Cache(t));
    for (size_t i = t; i < keys.size(); i += threads)
      built[i].Mesh = RebuildGroup(keys[i].x, keys[i].y, keys[i].z, built[i].Rect, &reuse[i]);
  });
  for (size_t i = 0; i < keys.size(); ++i) {
    const CellKey& g = keys[i];
    if (built[i].Mesh) {
      built[i].Stamp = UpdateStamp - 1234;
      RenderGroups.Set(g.x, g.y, g.z, built[i]);
    } else if (reuse[i] && (int)SpareMeshes.size() < kSpareMeshes) {
      SpareMeshes.push_back(std::move(reuse[i]));  // the group went empty
    }
  }
}
