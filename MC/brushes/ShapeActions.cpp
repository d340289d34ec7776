// Cutting, hiding, solids and extrusion under a drawn shape (see ShapeActions.h).
#include "MC/brushes/ShapeActions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <tuple>
#include <unordered_map>
#include <vector>

#include "ClassEngine/Random.h"
#include "ClassEngine/Threader.h"
#include "MC/brushes/ApplyField.h"
#include "MC/brushes/CellJobs.h"
#include "MC/brushes/SurfacePatch.h"
#include "MC/brushes/VoxelBrushSettings.h"
#include "MC/mcubes/VolumeObject.h"

namespace {

float Dot(const float a[3], const float b[3]) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

uint16_t Scaled(float v) { return (uint16_t)(std::clamp(v, 0.f, 1.f) * 65535.f); }

// The cells CutByShape visits, with those cut whole without a field.
struct CutCells {
  std::vector<CellKey> Keys;
  std::vector<uint8_t> Whole;
};

CutCells ListCutCells(VolumeObject& source, const DrawnShape& shape, const ShapeView& view, const ShapeCutParams& p) {
  std::array<float, 4> area = shape.Box();
  area[0] -= 10, area[1] -= 10, area[2] += 10, area[3] += 10;
  const bool aim = !p.Unhide;
  std::vector<CellKey> all;
  source.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    const bool hidden = (c->Flags & kCellHidden) != 0;
    if (p.CellHideMode) {
      if (hidden == aim) return;
    } else {
      if (hidden) return;
      if (!c->Voxels && !(c->Flags & kCellAbove)) return;
    }
    all.push_back(k);
  });
  std::sort(all.begin(), all.end(), [](const CellKey& a, const CellKey& b) {
    return std::tie(a.z, a.y, a.x) < std::tie(b.z, b.y, b.x);
  });
  CutCells out;
  for (const CellKey& k : all) {
    if (p.KeepBehindPlane) {
      const float centre[3] = {k.x * 8.f + 4, k.y * 8.f + 4, k.z * 8.f + 4};
      const float d[3] = {centre[0] - p.PlanePoint[0], centre[1] - p.PlanePoint[1], centre[2] - p.PlanePoint[2]};
      if (Dot(d, p.PlaneNormal) < -12.f) continue;
    }
    std::array<float, 4> box;
    const bool known = view.CellBox(k.x, k.y, k.z, box);
    const bool misses =
        known && (box[2] < area[0] || box[0] > area[2] || box[3] < area[1] || box[1] > area[3]);
    if (misses && !p.InvertRegion) continue;
    out.Keys.push_back(k);
    out.Whole.push_back(misses ? 1 : 0);
  }
  return out;
}

int HideCellsInShape(VolumeObject& source, const DrawnShape& shape, const ShapeView& view, const CutCells& cells,
                     const ShapeCutParams& p) {
  int changed = 0;
  for (size_t i = 0; i < cells.Keys.size(); ++i) {
    const CellKey& k = cells.Keys[i];
    const float centre[3] = {k.x * 8.f + 4, k.y * 8.f + 4, k.z * 8.f + 4};
    float d = 1.f, px, py;
    if (!cells.Whole[i]) d = view.Project(centre, px, py) ? shape.Distance(px, py) : -1000.f;
    if (p.InvertRegion && !cells.Whole[i]) d = -d;
    d = std::min(d, view.DepthCap(centre, 0.01f));
    if (d <= 0) continue;
    source.SaveUndoCopy(k.x, k.y, k.z);
    VoxelCell* c = *source.Cells.Find(k.x, k.y, k.z);
    c->Flags = (uint8_t)(p.Unhide ? c->Flags & ~kCellHidden : c->Flags | kCellHidden);
    source.MarkDirty(k.x, k.y, k.z, false);
    ++changed;
  }
  return changed;
}

const VoxelCell* FindCell(VolumeObject* v, const CellKey& k) {
  if (!v) return nullptr;
  VoxelCell** f = v->Cells.Find(k.x, k.y, k.z);
  return f ? *f : nullptr;
}

}  // namespace

int CutByShape(VolumeObject& source, const DrawnShape& shape, const ShapeView& view, const ShapeCutParams& p) {
  const CutCells cells = ListCutCells(source, shape, view, p);
  if (p.CellHideMode) return HideCellsInShape(source, shape, view, cells, p);
  const size_t n = cells.Keys.size();
  if (!n) return 0;
  // New values of both volumes from the old ones, on the workers; each cell
  // writes its own rows of the two blocks.
  std::vector<uint16_t> sourceNew(n * kCellVoxels), targetNew(p.Target ? n * kCellVoxels : 0);
  const float s = view.S;
  ParallelRange(
      0, (int)n,
      [&](int first, int last) {
        for (int i = first; i < last; ++i) {
          const CellKey& k = cells.Keys[i];
          const VoxelCell* src = FindCell(&source, k);
          const VoxelCell* tgt = FindCell(p.Target, k);
          for (int z = 0, li = 0; z < 9; ++z)
            for (int y = 0; y < 9; ++y)
              for (int x = 0; x < 9; ++x, ++li) {
                const float pt[3] = {float(k.x * 8 + x), float(k.y * 8 + y), float(k.z * 8 + z)};
                // Object units into the shape (negative outside).
                float ds;
                if (cells.Whole[i]) {
                  ds = 1e6f;
                } else {
                  float px, py;
                  if (view.Project(pt, px, py)) {
                    ds = shape.Distance(px, py);
                    if (p.InvertRegion) ds = -ds;
                  } else {
                    ds = p.InvertRegion ? 1000.f : -1000.f;
                  }
                }
                // The depth limit holds whichever side of the shape is cut.
                ds = std::min(ds, view.DepthCap(pt, s)) * s;
                float remain = 0.5f - 0.2f * (ds - p.Offset);
                if (p.KeepBehindPlane) {
                  const float d[3] = {pt[0] - p.PlanePoint[0], pt[1] - p.PlanePoint[1], pt[2] - p.PlanePoint[2]};
                  remain = std::max(remain, 0.5f - Dot(d, p.PlaneNormal) / 4.f);
                }
                const int keep = Scaled(remain);
                const int moved = 65535 - Scaled(0.5f - 0.2f * (ds + p.Offset));
                const int old = OldValue(src, li), target = OldValue(tgt, li);
                const int m = std::min(moved, old);
                int sNew = old, tNew = target;
                if (p.Target && p.Transfer && p.Back) {
                  tNew = std::min(target + m, 65535);
                  sNew = std::clamp(old + target - tNew, 0, 65535);
                } else if (p.Target && p.Transfer) {
                  sNew = std::min(old, keep);
                  tNew = std::clamp(target + old - sNew, 0, 65535);
                } else {
                  if (p.Target) tNew = std::max(target, m);
                  if (p.Remove) sNew = std::min(old, keep);
                }
                sourceNew[i * kCellVoxels + li] = (uint16_t)sNew;
                if (p.Target) targetNew[i * kCellVoxels + li] = (uint16_t)tNew;
              }
        }
      },
      p.Threads);
  // Commit through the common road: undo copies, dirty marks, shared planes.
  int changed = 0;
  if (p.Target) changed += CommitCellValues(*p.Target, cells.Keys, targetNew, p.Threads);
  changed += CommitCellValues(source, cells.Keys, sourceNew, p.Threads);
  return changed;
}

namespace {

// The solid under a drawn shape: across the view the shape's distance, along
// it a lens, a slab or a wedge of half thickness R by the border style.
class ShapeSolidField final : public BrushField {
 public:
  ShapeSolidField(const DrawnShape& shape, const ShapeView& view, const float centre[3], const float n[3], float r,
                  const ShapeSolidParams& p)
      : shape_(shape), view_(view), r_(r), p_(p) {
    for (int a = 0; a < 3; ++a) c_[a] = centre[a], n_[a] = n[a];
    const float l = std::hypot(1.f, p.BorderFormParam);
    a_ = 1.f / l, b_ = p.BorderFormParam / l;
  }
  float Value(float x, float y, float z) const override {
    const float d[3] = {x - c_[0], y - c_[1], z - c_[2]};
    const float c = Dot(d, n_);
    const float q[3] = {x - n_[0] * c, y - n_[1] * c, z - n_[2] * c};
    const float p[3] = {x, y, z};
    const float e = std::min(view_.Distance(shape_, q, view_.S), view_.DepthCap(p, view_.S)) * view_.S;
    float v;
    if (p_.BorderStyle == voBorderPlane)
      v = std::min(0.5f - 0.2f * (std::fabs(c - r_) - r_), 0.5f + 0.2f * e);
    else if (p_.BorderStyle == voBorderSharp)
      v = std::min({0.5f + 0.2f * (e * a_ - c * b_), 0.5f + 0.2f * (e * a_ + c * b_),
                    0.5f - 0.2f * (std::fabs(c) - r_)});
    else
      v = 0.5f - 0.2f * (std::sqrt(c * c + (r_ - std::min(e, r_)) * (r_ - std::min(e, r_))) - r_);
    if (p_.KeepBehindPlane) {
      const float o[3] = {x - p_.Pick[0], y - p_.Pick[1], z - p_.Pick[2]};
      v = std::min(v, Dot(o, p_.PlaneNormal) / 4.f + 0.5f);
    }
    return std::clamp(v, 0.f, 1.f);
  }

 private:
  const DrawnShape& shape_;
  const ShapeView& view_;
  float c_[3], n_[3], r_, a_, b_;
  const ShapeSolidParams& p_;
};

}  // namespace

bool FindShapeCentre(const DrawnShape& shape, const ShapeView& view, const float pick[3], const float n[3],
                     Random& rnd, float centre[3]) {
  for (int a = 0; a < 3; ++a) centre[a] = pick[a];
  if (view.Distance(shape, pick, view.S) > 0) return true;
  // T and B across n.
  float t[3];
  const float* other = std::fabs(n[0]) < 0.9f ? view.Side : view.Up;
  t[0] = n[1] * other[2] - n[2] * other[1], t[1] = n[2] * other[0] - n[0] * other[2],
  t[2] = n[0] * other[1] - n[1] * other[0];
  const float tl = std::sqrt(Dot(t, t));
  if (tl < 1e-12f) return false;
  for (float& c : t) c /= tl;
  const float b[3] = {n[1] * t[2] - n[2] * t[1], n[2] * t[0] - n[0] * t[2], n[0] * t[1] - n[1] * t[0]};
  float r = 3.f;
  for (int i = 0; i < 1500; ++i, r += 0.5f) {
    const float u = r * (rnd.Next() - 16384) / 16384.f, v = r * (rnd.Next() - 16384) / 16384.f;
    const float q[3] = {pick[0] + t[0] * u + b[0] * v, pick[1] + t[1] * u + b[1] * v, pick[2] + t[2] * u + b[2] * v};
    if (view.Distance(shape, q, view.S) > 0) {
      for (int a = 0; a < 3; ++a) centre[a] = q[a];
      return true;
    }
  }
  return false;
}

int ShapeSolid(VolumeObject& volume, const DrawnShape& shape, const ShapeView& view, const ShapeSolidParams& p,
               Random& rnd) {
  float n[3] = {p.Normal[0], p.Normal[1], p.Normal[2]};
  if (Dot(n, n) < 1e-12f)
    for (int a = 0; a < 3; ++a) n[a] = -view.ViewDir[a];
  const float nl = std::sqrt(Dot(n, n));
  for (float& c : n) c /= nl;
  float centre[3];
  FindShapeCentre(shape, view, p.Pick, n, rnd, centre);
  const float r = std::min(p.PenRadius, shape.InnerRadius() * view.S);
  const ShapeSolidField field(shape, view, centre, n, r, p);
  // The box: the shape's screen box carried to the centre's depth, and the
  // solid's thickness each way.
  float cx, cy;
  FieldBox box;
  for (int a = 0; a < 3; ++a) box.Min[a] = box.Max[a] = centre[a];
  if (view.Project(centre, cx, cy)) {
    const std::array<float, 4> sb = shape.Box();
    for (int corner = 0; corner < 4; ++corner) {
      const float dx = ((corner & 1) ? sb[2] : sb[0]) - cx, dy = -(((corner & 2) ? sb[3] : sb[1]) - cy);
      for (int a = 0; a < 3; ++a) {
        const float q = centre[a] + (view.Side[a] * dx + view.Up[a] * dy) * view.S;
        box.Min[a] = std::min(box.Min[a], q), box.Max[a] = std::max(box.Max[a], q);
      }
    }
  }
  for (int a = 0; a < 3; ++a) box.Min[a] -= 2 * r + 8, box.Max[a] += 2 * r + 8;
  FieldOptions o;
  o.Mode = kFieldUnion;
  o.Threads = p.Threads;
  return ApplyField(volume, field, box, o);
}

namespace {

// A vertex's lattice edge as one word, for vertices on a cell face.
uint64_t GlobalEdge(const CellKey& k, uint16_t code) {
  const int x = code % 9 + 8 * k.x, y = (code / 9) % 9 + 8 * k.y, z = (code / 81) % 9 + 8 * k.z;
  return ((uint64_t)((x + 0x80000) & 0xFFFFF) | (uint64_t)((y + 0x80000) & 0xFFFFF) << 20 |
          (uint64_t)((z + 0x80000) & 0xFFFFF) << 40 | (uint64_t)(code / 729) << 60);
}

// New normals for the vertices of the moved cells, from the triangles around
// them: a vertex on a cell face sums the triangles of every cell that holds
// a copy of it (the moved cells and their neighbours), so every moved copy
// gets the same normal and the seam stays unseen. The freeze stays in the
// length. In surface mode nothing extracts these cells again, so without
// this the moved walls would keep the light of the surface they left.
void RecomputeMovedNormals(VolumeObject& volume, const std::vector<CellKey>& moved) {
  CellKeyMap<int> isMoved(1031), around(4099);
  for (const CellKey& k : moved) isMoved.Set(k.x, k.y, k.z, 1);
  std::vector<CellKey> cells;
  for (const CellKey& k : moved)
    for (int dz = -1; dz <= 1; ++dz)
      for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx)
          if (!around.Find(k.x + dx, k.y + dy, k.z + dz)) {
            around.Set(k.x + dx, k.y + dy, k.z + dz, 1);
            cells.push_back({k.x + dx, k.y + dy, k.z + dz});
          }
  std::unordered_map<uint64_t, std::array<float, 3>> shared;
  std::vector<std::vector<float>> own(moved.size());
  std::vector<float> sum;
  for (const CellKey& k : cells) {
    VoxelCell** found = volume.Cells.Find(k.x, k.y, k.z);
    const CellSurface* s = found ? (*found)->Surface : nullptr;
    if (!s || !s->Vertices.Count) continue;
    sum.assign(size_t(s->Vertices.Count) * 3, 0.f);
    for (int t = 0; t + 2 < s->Indices.Count; t += 3) {
      const int i[3] = {s->Indices[t], s->Indices[t + 1], s->Indices[t + 2]};
      const float* p0 = s->Vertices[i[0]].Pos;
      const float* p1 = s->Vertices[i[1]].Pos;
      const float* p2 = s->Vertices[i[2]].Pos;
      const float e1[3] = {p1[0] - p0[0], p1[1] - p0[1], p1[2] - p0[2]};
      const float e2[3] = {p2[0] - p0[0], p2[1] - p0[1], p2[2] - p0[2]};
      // Twice the area, along the outward normal.
      const float f[3] = {e1[1] * e2[2] - e1[2] * e2[1], e1[2] * e2[0] - e1[0] * e2[2], e1[0] * e2[1] - e1[1] * e2[0]};
      for (int v : i)
        for (int a = 0; a < 3; ++a) sum[size_t(v) * 3 + a] += f[a];
    }
    for (int v = 0; v < s->Vertices.Count; ++v) {
      const uint16_t code = s->Vertices[v].BorderCode;
      if (code == kNoBorder) continue;
      std::array<float, 3>& e = shared.try_emplace(GlobalEdge(k, code), std::array<float, 3>{0, 0, 0}).first->second;
      for (int a = 0; a < 3; ++a) e[a] += sum[size_t(v) * 3 + a];
    }
    if (isMoved.Find(k.x, k.y, k.z))
      for (size_t m = 0; m < moved.size(); ++m)
        if (moved[m] == k) own[m] = sum;
  }
  for (size_t m = 0; m < moved.size(); ++m) {
    CellSurface* s = (*volume.Cells.Find(moved[m].x, moved[m].y, moved[m].z))->Surface;
    for (int v = 0; v < s->Vertices.Count; ++v) {
      MCVertex& vertex = s->Vertices[v];
      const float* n = vertex.BorderCode == kNoBorder ? &own[m][size_t(v) * 3]
                                                      : shared[GlobalEdge(moved[m], vertex.BorderCode)].data();
      const float l = std::sqrt(Dot(n, n));
      if (l <= 0) continue;
      // Stored pointing into the solid, its length carrying the freeze.
      const float scale = -(1.f + (float)vertex.Freeze / 65536.f) / l;
      for (int a = 0; a < 3; ++a) vertex.Normal[a] = n[a] * scale;
    }
  }
}

}  // namespace

int ShapeExtrude(VolumeObject& volume, const DrawnShape& shape, const ShapeView& view, const ShapeExtrudeParams& p) {
  if (p.Mode == 3 && std::fabs(p.Depth) <= 0.1f) return 0;
  std::array<float, 4> area = shape.Box();
  area[0] -= 10, area[1] -= 10, area[2] += 10, area[3] += 10;
  // Vertex normals point into the solid: one that faces the view has a
  // positive dot with the view direction, and a positive displacement moves
  // a vertex against its direction, out of the solid.
  const float* look = view.ViewDir;
  const float soft = std::max(p.SoftBorder, 1e-3f);
  std::vector<CellKey> keys;
  volume.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if ((c->Flags & kCellHidden) || !c->Surface || c->Surface->Vertices.Empty()) return;
    std::array<float, 4> box;
    if (view.CellBox(k.x, k.y, k.z, box) &&
        (box[2] < area[0] || box[0] > area[2] || box[3] < area[1] || box[1] > area[3]))
      return;
    keys.push_back(k);
  });
  std::sort(keys.begin(), keys.end(),
            [](const CellKey& a, const CellKey& b) { return std::tie(a.z, a.y, a.x) < std::tie(b.z, b.y, b.x); });
  // Each vertex's weight from its distance into the shape.
  auto weightOf = [&](const MCVertex& v) {
    const float d = view.Distance(shape, v.Pos, view.S);
    return std::clamp(d / soft, 0.f, 1.f);
  };
  float dir[3] = {look[0], look[1], look[2]};
  if (p.Direction >= seAlongX && p.Direction <= seAlongZ) {
    const float* axis = &p.Frame[3 * (p.Direction - seAlongX)];
    for (int a = 0; a < 3; ++a) dir[a] = -axis[a];
  } else if (p.Direction == AverageNormal) {
    float sum[3] = {0, 0, 0};
    for (const CellKey& k : keys) {
      const CellSurface* s = (*volume.Cells.Find(k.x, k.y, k.z))->Surface;
      for (int i = 0; i < s->Vertices.Count; ++i) {
        const MCVertex& v = s->Vertices[i];
        if (Dot(v.Normal, look) < 0) continue;
        const float w = weightOf(v);
        for (int a = 0; a < 3; ++a) sum[a] += v.Normal[a] * w;
      }
    }
    const float l = std::sqrt(Dot(sum, sum));
    if (l > 1e-12f)
      for (int a = 0; a < 3; ++a) dir[a] = sum[a] / l;
  }
  std::vector<CellKey> moved;
  for (const CellKey& k : keys) {
    VoxelCell* cell = *volume.Cells.Find(k.x, k.y, k.z);
    CellSurface* s = cell->Surface;
    bool any = false;
    for (int i = 0; i < s->Vertices.Count && !any; ++i) any = weightOf(s->Vertices[i]) > 0;
    if (!any) continue;
    volume.SaveUndoCopy(k.x, k.y, k.z);
    if (s->OldVertices.Empty()) s->OldVertices.Assign(s->Vertices.Data, s->Vertices.Count);
    for (int i = 0; i < s->Vertices.Count; ++i) {
      MCVertex& v = s->Vertices[i];
      float border = weightOf(v);
      if (p.Mode == 3) border = std::min(3.f * border, 1.f);
      float w = (1.f - v.Freeze / 65535.f) * border;
      if (w > 0 && p.Mask) w *= p.Mask->At(v.Pos);
      if (p.FacingOnly) {
        const float f = Dot(v.Normal, look);
        w = f <= 0 ? 0.f : w * std::min(100.f * f, 1.f);
      }
      const float* d = dir;
      float own[3];
      if (p.Direction == VertexNormal || p.Direction == InitialVertexNormal) {
        const float* nrm = p.Direction == VertexNormal || i >= s->OldVertices.Count ? v.Normal : s->OldVertices[i].Normal;
        const float l = std::sqrt(Dot(nrm, nrm));
        for (int a = 0; a < 3; ++a) own[a] = l > 1e-12f ? nrm[a] / l : 0.f;
        d = own;
      }
      float step = w * p.Displacement;
      if (p.Mode == 2 && i < s->OldVertices.Count) {
        // The part of the displacement not yet gone since the surface began.
        const float* o = s->OldVertices[i].Pos;
        const float q[3] = {o[0] - v.Pos[0], o[1] - v.Pos[1], o[2] - v.Pos[2]};
        const float sign = p.Displacement < 0 ? -1.f : 1.f;
        const float left = std::max(std::fabs(p.Displacement) - Dot(q, d) * sign, 0.f);
        step = sign * std::min(std::fabs(step), left);
      }
      for (int a = 0; a < 3; ++a) v.Pos[a] -= d[a] * step;
    }
    volume.SurfaceChanged = true;
    volume.MarkDirty(k.x, k.y, k.z, true);
    moved.push_back(k);
  }
  RecomputeMovedNormals(volume, moved);
  return (int)moved.size();
}

int ShapeFreeze(VolumeObject& volume, const DrawnShape& shape, const ShapeView& view, const ShapeFreezeParams& p) {
  const float soft = std::max(p.SoftBorder, 1e-3f);
  std::vector<CellKey> keys;
  volume.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
    if (!(c->Flags & kCellHidden) && c->Surface && c->Surface->Vertices.Count) keys.push_back(k);
  });
  std::sort(keys.begin(), keys.end(),
            [](const CellKey& a, const CellKey& b) { return std::tie(a.z, a.y, a.x) < std::tie(b.z, b.y, b.x); });
  int changed = 0;
  for (const CellKey& k : keys) {
    CellSurface* s = (*volume.Cells.Find(k.x, k.y, k.z))->Surface;
    bool touched = false;
    for (int i = 0; i < s->Vertices.Count; ++i) {
      MCVertex& v = s->Vertices[i];
      const float w = std::clamp(view.Distance(shape, v.Pos, view.S) / soft, 0.f, 1.f);
      if (w <= 0) continue;
      const int value = (int)(65535.f * w);
      int f = v.Freeze;
      if (!p.Thaw)
        f = p.Accumulate ? f + value : std::max(f, value);
      else
        f = p.Accumulate ? f - value : std::min(f, 65535 - value);
      f = std::clamp(f, 0, 65535);
      if (f == v.Freeze) continue;
      if (!touched) {
        TouchCellSurface(volume, k.x, k.y, k.z);
        touched = true;
        ++changed;
      }
      const float l = std::sqrt(Dot(v.Normal, v.Normal));
      const float scale = (1.f + (float)f / 65536.f) / (l > 1e-20f ? l : 1.f);
      for (float& c : v.Normal) c *= scale;
      v.Freeze = (uint16_t)f;
    }
    if (touched) volume.MarkDirty(k.x, k.y, k.z, true);
  }
  return changed;
}
