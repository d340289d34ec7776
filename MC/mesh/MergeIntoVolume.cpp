// Spans to lattice values: the presence set of cells near crossings, then
// every listed cell computed from the three axis distances and merged.
#include "MC/mesh/MergeIntoVolume.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstring>
#include <unordered_map>
#include <vector>

#include "ClassEngine/Threader.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/mesh/StageTimer.h"
#include "interchange/Mesh.h"

namespace {

constexpr float kNoValue = -1e9f;

uint64_t PackCell(int x, int y, int z) {
  return ((uint64_t)(uint32_t)(x + (1 << 20)) << 42) | ((uint64_t)(uint32_t)(y + (1 << 20)) << 21) |
         (uint64_t)(uint32_t)(z + (1 << 20));
}
CellKey UnpackCell(uint64_t k) {
  const int m = (1 << 21) - 1;
  return {(int)((k >> 42) & m) - (1 << 20), (int)((k >> 21) & m) - (1 << 20), (int)(k & m) - (1 << 20)};
}

int FloorCell(float depth) { return (int)std::floor(depth / 8.0f); }

// The cells a merge visits, as sorted keys. `Near`: cells holding a
// crossing, widened by one cell in all 26 directions; their values are
// computed point by point. `All` adds the cells between the first and last
// crossing of every ray: every lattice point of those lies at least two bands
// from any crossing, so each is uniformly inside or outside.
struct Presence {
  std::vector<uint64_t> Near, All;
  bool IsNear(uint64_t k) const { return std::binary_search(Near.begin(), Near.end(), k); }
  bool Holds(uint64_t k) const { return std::binary_search(All.begin(), All.end(), k); }
};

void SortUnique(std::vector<uint64_t>& v) {
  std::sort(v.begin(), v.end());
  v.erase(std::unique(v.begin(), v.end()), v.end());
}

Presence FindPresence(const TriangleCollector& c) {
  std::vector<uint64_t> core;
  Presence out;
  auto pack = [](int axis, int a, int b, int d) {
    return axis == 0 ? PackCell(a, b, d) : axis == 1 ? PackCell(a, d, b) : PackCell(d, b, a);
  };
  for (int axis = 0; axis < 3; ++axis) {
    const SpanList& spans = c.Spans[axis];
    struct Range {
      uint64_t column;
      int lo, hi;
    };
    std::vector<Range> ranges;
    ranges.reserve(spans.RayCount() / 4 + 1);
    for (size_t i = 0; i < spans.RayCount(); ++i) {
      size_t n;
      const Crossing* list = spans.Ray(i, n);
      const int a = RayKeyA(spans.Keys[i]) >> 3, b = RayKeyB(spans.Keys[i]) >> 3;
      int last = INT_MIN;
      for (size_t k = 0; k < n; ++k) {
        const int d = FloorCell(list[k].Depth);
        if (d == last) continue;
        last = d;
        core.push_back(pack(axis, a, b, d));
      }
      const Range r{RayKey(a, b), FloorCell(list[0].Depth), FloorCell(list[n - 1].Depth)};
      // Neighbouring rays mostly share the column: merge with the last range.
      if (!ranges.empty() && ranges.back().column == r.column)
        ranges.back().lo = std::min(ranges.back().lo, r.lo), ranges.back().hi = std::max(ranges.back().hi, r.hi);
      else ranges.push_back(r);
    }
    std::sort(ranges.begin(), ranges.end(), [](const Range& l, const Range& r) { return l.column < r.column; });
    for (size_t i = 0; i < ranges.size();) {
      Range m = ranges[i];
      for (++i; i < ranges.size() && ranges[i].column == m.column; ++i)
        m.lo = std::min(m.lo, ranges[i].lo), m.hi = std::max(m.hi, ranges[i].hi);
      for (int d = m.lo; d <= m.hi; ++d) out.All.push_back(pack(axis, RayKeyA(m.column), RayKeyB(m.column), d));
    }
  }
  SortUnique(core);
  out.Near.reserve(core.size() * 4);
  for (uint64_t k : core) {
    const CellKey c0 = UnpackCell(k);
    for (int dz = -1; dz <= 1; ++dz)
      for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx) out.Near.push_back(PackCell(c0.x + dx, c0.y + dy, c0.z + dz));
  }
  SortUnique(out.Near);
  out.All.insert(out.All.end(), out.Near.begin(), out.Near.end());
  SortUnique(out.All);
  return out;
}

// Inside (1), outside (0) or unknown (-1) at a lattice point, by the first of
// the three rays through it that has spans.
int InsideBySpans(const TriangleCollector& c, int x, int y, int z) {
  const int key[3][3] = {{x, y, z}, {x, z, y}, {z, y, x}};
  for (int axis = 0; axis < 3; ++axis) {
    size_t n;
    const Crossing* list = c.Spans[axis].Find(RayKey(key[axis][0], key[axis][1]), n);
    if (!list) continue;
    int level = 0;
    for (size_t k = 0; k < n && list[k].Depth <= (float)key[axis][2]; ++k) level = (list[k].Kind & 1) ? 1 : 0;
    return level;
  }
  return -1;
}

// A cell far from every crossing: all its values are 65535 inside or 0
// outside, so it merges as a uniform cell without an array. False when no
// ray tells which; the caller computes it point by point then.
bool MergeUniform(VoxelCell* cell, const CellKey& key, const TriangleCollector& c, int mode, bool& changed) {
  changed = false;
  if (cell->Flags & kCellMark) return true;
  const int inside = InsideBySpans(c, key.x * 8 + 4, key.y * 8 + 4, key.z * 8 + 4);
  if (inside < 0) return false;
  // Union with inside, subtraction of inside, intersection with outside:
  // the others leave the cell as it is.
  uint16_t fill;
  if (mode == kMergeUnion && inside) fill = 65535;
  else if ((mode == kMergeSubtract && inside) || (mode == kMergeIntersect && !inside)) fill = 0;
  else return true;
  if (!cell->Voxels && cell->Fill == fill) return true;
  VolumeObject& owner = *cell->Owner;
  owner.vpool.Free(cell->Voxels);
  cell->Voxels = nullptr;
  cell->Fill = fill;
  cell->Flags = (uint8_t)((cell->Flags & (kCellHidden | kCellChanged)) | (fill ? kCellAbove : kCellBelow));
  changed = true;
  return true;
}

// f(d, kind) of a crossing: the distance d counts negative going on past a
// leaving crossing, positive past an entering one, 100 times from a hard cap.
constexpr float kKindWeight[4] = {-1.0f, 1.0f, -100.0f, 100.0f};

// Signed distances along one ray at the nine depths d0 .. d0 + 8, in band
// units, positive inside, written to out with stride `step`. Spans start
// entering and end leaving, so before the first crossing and behind the last
// the nearest one alone decides.
void RayValues(const Crossing* s, size_t n, int d0, float invBand, float* out, int step) {
  size_t cursor = 0;
  for (int d = 0; d < 9; ++d, out += step) {
    const float depth = (float)(d0 + d);
    while (cursor < n && s[cursor].Depth <= depth) ++cursor;
    float v;
    if (cursor == 0) {
      v = (depth - s[0].Depth) * kKindWeight[s[0].Kind & 3];
    } else if (cursor == n) {
      v = (depth - s[n - 1].Depth) * kKindWeight[s[n - 1].Kind & 3];
    } else {
      const int k0 = s[cursor - 1].Kind & 3;
      const float v0 = (depth - s[cursor - 1].Depth) * kKindWeight[k0];
      const float v1 = (depth - s[cursor].Depth) * kKindWeight[s[cursor].Kind & 3];
      v = (k0 & 1) ? std::min(v0, v1) : std::max(v0, v1);
    }
    *out = v * invBand;
  }
}

// The distance to the plane that cuts the three axes at the given offsets,
// 1 / sqrt(1/a^2 + 1/b^2 + 1/c^2), signed as the offset of largest magnitude
// (the first of equals); values of -10 and below are rays that tell nothing
// here. Written without branches so the loop over a cell vectorises.
inline float CombineAxes(float v0, float v1, float v2) {
  float inverse = 0, largest = 0, largestAbs = -1;
  for (float x : {v0, v1, v2}) {
    const bool valid = x > -10.0f;
    inverse += valid ? 1.0f / (x * x) : 0.0f;  // a zero offset gives infinity: distance 0
    const bool take = valid && std::fabs(x) > largestAbs;
    largest = take ? x : largest;
    largestAbs = take ? std::fabs(x) : largestAbs;
  }
  return largestAbs < 0 ? -10.0f : std::copysign(1.0f / std::sqrt(inverse), largest);
}

// The spans of each axis copied by column of 8 x 8 rays into one flat array,
// so a cell finds its 81 rays per axis with at most four lookups and reads
// their crossings from a few contiguous runs instead of one heap block each.
struct SpanColumns {
  struct Column {
    uint32_t First;      // index of the column's first crossing in Data
    uint32_t Start[65];  // ray r (slot (a & 7) * 8 + (b & 7)) holds Start[r] .. Start[r + 1]
  };
  std::unordered_map<uint64_t, uint32_t> Index[3];  // column key -> Columns
  std::vector<Column> Columns;
  std::vector<Crossing> Data;

  explicit SpanColumns(const TriangleCollector& c) {
    struct Ray {
      uint32_t column;
      uint8_t slot;
      const Crossing* list;
      uint32_t count;
    };
    std::vector<Ray> rays;
    size_t total = 0, count = 0;
    for (const SpanList& m : c.Spans) count += m.RayCount();
    rays.reserve(count);
    for (int axis = 0; axis < 3; ++axis) {
      const SpanList& spans = c.Spans[axis];
      Index[axis].reserve(spans.RayCount() / 16 + 1);
      for (size_t i = 0; i < spans.RayCount(); ++i) {
        const int a = RayKeyA(spans.Keys[i]), b = RayKeyB(spans.Keys[i]);
        size_t n;
        const Crossing* list = spans.Ray(i, n);
        auto [it, fresh] = Index[axis].try_emplace(RayKey(a >> 3, b >> 3), (uint32_t)Columns.size());
        if (fresh) Columns.push_back(Column{});
        rays.push_back({it->second, (uint8_t)((a & 7) * 8 + (b & 7)), list, (uint32_t)n});
        Columns[it->second].Start[rays.back().slot + 1] = (uint32_t)n;
        total += n;
      }
    }
    uint32_t next = 0;
    for (Column& col : Columns) {
      col.First = next;
      for (int r = 0; r < 64; ++r) col.Start[r + 1] += col.Start[r];
      next += col.Start[64];
    }
    Data.resize(total);
    for (const Ray& r : rays) {
      const Column& col = Columns[r.column];
      std::copy(r.list, r.list + r.count, Data.begin() + col.First + col.Start[r.slot]);
    }
  }
  const Column* Find(int axis, int ca, int cb) const {
    auto it = Index[axis].find(RayKey(ca, cb));
    return it == Index[axis].end() ? nullptr : &Columns[it->second];
  }
};

// Computes one cell's 729 values from the spans and merges them; true when
// a value changed.
bool RasteriseCell(VoxelCell* cell, const CellKey& key, const SpanColumns& col, int mode, float band) {
  if (cell->Flags & kCellMark) return false;
  static thread_local std::vector<float> axisValues;
  axisValues.assign(3 * kCellVoxels, kNoValue);
  const int base[3] = {key.x * 8, key.y * 8, key.z * 8};
  for (int axis = 0; axis < 3; ++axis) {
    float* out = &axisValues[axis * kCellVoxels];
    const int ca = axis == 2 ? key.z : key.x, cb = axis == 1 ? key.z : key.y;
    const SpanColumns::Column* columns[2][2] = {{col.Find(axis, ca, cb), col.Find(axis, ca, cb + 1)},
                                                {col.Find(axis, ca + 1, cb), col.Find(axis, ca + 1, cb + 1)}};
    for (int i = 0; i < 9; ++i)
      for (int j = 0; j < 9; ++j) {
        // Lattice coordinates of the ray and the stride of its depth.
        int a, b, x0, y0, z0, step;
        if (axis == 0) {
          a = base[0] + i, b = base[1] + j, x0 = i, y0 = j, z0 = 0, step = 81;
        } else if (axis == 1) {
          a = base[0] + i, b = base[2] + j, x0 = i, y0 = 0, z0 = j, step = 9;
        } else {
          a = base[2] + i, b = base[1] + j, x0 = 0, y0 = j, z0 = i, step = 1;
        }
        const SpanColumns::Column* column = columns[i >> 3][j >> 3];
        if (!column) continue;
        const int slot = (a & 7) * 8 + (b & 7);
        const size_t count = column->Start[slot + 1] - column->Start[slot];
        if (!count) continue;
        const Crossing* spans = &col.Data[column->First + column->Start[slot]];
        const int d0 = base[axis == 0 ? 2 : axis == 1 ? 1 : 0];
        RayValues(spans, count, d0, 1.0f / band, out + LatticeIndex(x0, y0, z0), step);
      }
  }
  uint16_t fresh[kCellVoxels];
  uint16_t peak = 0;
  for (int i = 0; i < kCellVoxels; ++i) {
    const float d = CombineAxes(axisValues[i], axisValues[kCellVoxels + i], axisValues[2 * kCellVoxels + i]);
    fresh[i] = (uint16_t)std::clamp((d + 0.5f) * 65535.0f, 0.0f, 65535.0f);
    peak = std::max(peak, fresh[i]);
  }
  if (peak == 0 && mode != kMergeIntersect) return false;
  cell->EnsureVoxels(3, true);
  uint16_t* v = cell->Voxels;
  bool changed = false;
  for (int i = 0; i < kCellVoxels; ++i) {
    const uint16_t o = v[i];
    uint16_t n;
    if (mode == kMergeUnion) n = std::max(o, fresh[i]);
    else if (mode == kMergeSubtract) n = std::min<uint16_t>(o, (uint16_t)(65535 - fresh[i]));
    else n = std::min(o, fresh[i]);
    changed |= n != o;
    v[i] = n;
  }
  cell->RefreshStatus(true, true);
  return changed;
}

}  // namespace

bool MergeIntoVolume(TriangleCollector& collector, VolumeObject& target, int mode, bool keepUndo,
                     const std::function<bool(int64_t done, int64_t total)>& stop) {
  StageTimer steps;
  if (!collector.Rays[0].empty() || !collector.Rays[1].empty() || !collector.Rays[2].empty())
    collector.BuildAllSpans();
  const Presence presence = FindPresence(collector);
  steps.End("Merge2-1");
  const std::vector<uint64_t>& order = presence.All;
  struct Listed {
    CellKey key;
    VoxelCell* cell;
  };
  std::vector<Listed> cells;
  cells.reserve(presence.Near.size());
  for (uint64_t k : order) {
    const CellKey key = UnpackCell(k);
    VoxelCell* existing = target.GetCell(key.x, key.y, key.z, false, false);
    // A subtraction or intersection leaves absent (empty) cells empty.
    if (!existing && mode != kMergeUnion) continue;
    const bool near = presence.IsNear(k);
    if (!near && !existing && InsideBySpans(collector, key.x * 8 + 4, key.y * 8 + 4, key.z * 8 + 4) == 0)
      continue;  // an empty cell in a gap between spans stays absent
    VoxelCell* cell = target.GetCell(key.x, key.y, key.z, true, keepUndo);
    bool changed = false;
    if (!near && MergeUniform(cell, key, collector, mode, changed)) {
      if (changed) target.MarkDirty(key.x, key.y, key.z, false);
      continue;
    }
    cells.push_back({key, cell});
  }
  const float band = (float)target.BandWidth;
  const SpanColumns columns(collector);
  std::vector<uint8_t> changed(cells.size(), 0);
  const int threads = UsingProcessors();
  // In parts, so that a long merge can say how far it is and be stopped; the
  // cells of a part are dealt to the threads as a whole merge would deal them.
  const size_t part = std::max<size_t>(1, stop ? (cells.size() + 19) / 20 : cells.size());
  for (size_t from = 0; from < cells.size(); from += part) {
    const size_t to = std::min(cells.size(), from + part);
    RunSection(threads, [&](int t) {
      for (size_t i = from + (size_t)t; i < to; i += (size_t)threads)
        changed[i] = RasteriseCell(cells[i].cell, cells[i].key, columns, mode, band) ? 1 : 0;
    });
    for (size_t i = from; i < to; ++i)
      if (changed[i]) target.MarkDirty(cells[i].key.x, cells[i].key.y, cells[i].key.z, false);
    if (stop && stop(int64_t(to), int64_t(cells.size()))) return false;
  }
  steps.End("Merge2-2");

  if (mode == kMergeIntersect) {
    std::vector<CellKey> outside;
    target.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
      if (!presence.Holds(PackCell(k.x, k.y, k.z)) && !(c->Flags & kCellMark) && (c->Voxels || c->Fill))
        outside.push_back(k);
    });
    for (const CellKey& k : outside) {
      VoxelCell* c = target.GetCell(k.x, k.y, k.z, false, keepUndo);
      if (!c) continue;
      target.vpool.Free(c->Voxels);
      c->Voxels = nullptr;
      c->Fill = 0;
      c->Flags = (uint8_t)((c->Flags & kCellHidden) | kCellBelow | kCellChanged);
      target.MarkDirty(k.x, k.y, k.z, false);
    }
  }
  steps.End("Merge2-3");
  return true;
}

bool IsNegativePart(const std::string& name) { return name.find("_negative") != std::string::npos; }

void MergeMesh(VolumeObject& volume, const comms::cMesh& mesh, const float* matrix, int mode,
               bool respectNegative, int part, bool keepUndo) {
  bool anyNegative = false;
  for (const auto& o : mesh.objects) anyNegative |= IsNegativePart(o.name);
  if (part >= 0 || !respectNegative || !anyNegative) {
    TriangleCollector collector;
    AddMeshPart(collector, mesh, part, matrix);
    MergeIntoVolume(collector, volume, mode, keepUndo);
    return;
  }
  for (int pass = 0; pass < 2; ++pass)
    for (int p = 0; p < (int)mesh.objects.size(); ++p) {
      if (IsNegativePart(mesh.objects[p].name) != (pass == 0)) continue;
      TriangleCollector collector;
      AddMeshPart(collector, mesh, p, matrix);
      MergeIntoVolume(collector, volume, pass == 0 ? kMergeSubtract : mode, keepUndo);
    }
}
