// The field driver: probing, wave growth and the per-cell merge, plus the
// segment, carve and displacement operations that feed it.
#include "MC/brushes/ApplyField.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <cmath>
#include <cstring>
#include <deque>
#include <memory>
#include <tuple>

#include "ClassEngine/Threader.h"
#include "MC/brushes/CellJobs.h"

FieldBox FieldBox::OfSpheres(const float a[3], float ra, const float b[3], float rb) {
  FieldBox box;
  for (int i = 0; i < 3; ++i) {
    box.Min[i] = std::min(a[i] - ra, b[i] - rb);
    box.Max[i] = std::max(a[i] + ra, b[i] + rb);
  }
  return box;
}

namespace {
constexpr int kMaxWaves = 50;
// Below this many cells the box is probed on the calling thread: waking the
// workers would cost more than the probe (a small pen's drag runs many
// operations per frame).
constexpr size_t kParallelProbeCells = 128;
// From a cell's centre to its corners, in voxels: 4 * sqrt(3).
constexpr float kCellHalfDiagonal = 6.9282033f;

// A field value on the 16-bit scale.
inline uint16_t ToScale(float value) { return (uint16_t)(std::clamp(value, 0.f, 1.f) * 65535.f); }
// What the field would write at a point, on the 16-bit scale.
inline uint16_t FieldValue(const BrushField& f, float x, float y, float z) { return ToScale(f.Value(x, y, z)); }

inline uint16_t Rounded(uint16_t a, uint16_t b, bool union_, const FieldOptions& o) {
  const float r = union_ ? RoundedMax(a / 65535.f, b / 65535.f, o.Band, o.Rounding)
                         : RoundedMin(a / 65535.f, b / 65535.f, o.Band, o.Rounding);
  return (uint16_t)(std::clamp(r, 0.f, 1.f) * 65535.f + 0.5f);
}

inline uint16_t Merge(uint16_t old, uint16_t v, const FieldOptions& o) {
  if (o.Mode == kFieldUnion) {
    // Away from the crease (either side well outside) the plain max.
    if (o.Rounding <= 0 || std::min(old, v) <= (0.5f - o.Rounding / o.Band) * 65535.f) return std::max(old, v);
    return Rounded(old, v, true, o);
  }
  if (o.Absolute) return (uint16_t)std::max((int)old - (int)v, 0);
  if (o.Mode == kFieldSubtract) {
    const uint16_t c = (uint16_t)(65535 - v);
    if (o.Rounding <= 0 || std::max(old, c) >= (0.5f + o.Rounding / o.Band) * 65535.f) return std::min(old, c);
    return Rounded(old, c, false, o);
  }
  return std::min(old, v);
}

// Whether any of a row's nine old values differs from `fixed` (0 or 65535,
// the same byte twice): the first eight are read as two 64-bit words.
inline bool RowOpen(const uint16_t* row, uint16_t fixed) {
  uint64_t a, b;
  std::memcpy(&a, row, 8);
  std::memcpy(&b, row + 4, 8);
  const uint64_t all = fixed ? ~uint64_t(0) : 0;
  return (a ^ all) != 0 || (b ^ all) != 0 || row[8] != fixed;
}

// Merges nine field values into a row of old values, as Merge does point by
// point, with the mode's choices and thresholds settled once: the plain min
// or max for every point, then the rounded merge for the few points near
// both surfaces. Returns whether any value changed.
class RowMerger {
 public:
  explicit RowMerger(const FieldOptions& o)
      : o_(o), rounded_(o.Rounding > 0),
        // On integers, m <= t is m <= floor(t) and m >= t is m >= ceil(t).
        unionBelow_(rounded_ ? (int)std::floor((0.5f - o.Rounding / o.Band) * 65535.f) : INT_MAX),
        cutAbove_(rounded_ ? (int)std::ceil((0.5f + o.Rounding / o.Band) * 65535.f) : INT_MIN) {}
  bool operator()(uint16_t* old, const float row[9]) const {
    if (o_.Mode == kFieldUnion) return Union(old, row);
    if (o_.Absolute) return Plain(old, row, [](int a, int b) { return std::max(a - b, 0); });
    if (o_.Mode == kFieldSubtract) return Subtract(old, row);
    return Plain(old, row, [](int a, int b) { return std::min(a, b); });
  }

 private:
  template <class Pick>
  static bool Plain(uint16_t* old, const float row[9], Pick pick) {
    int differs = 0;
    for (int x = 0; x < 9; ++x) {
      const int a = old[x], nv = pick(a, ToScale(row[x]));
      differs |= nv ^ a;
      old[x] = (uint16_t)nv;
    }
    return differs != 0;
  }
  bool Union(uint16_t* old, const float row[9]) const {
    int differs = 0;
    for (int x = 0; x < 9; ++x) {
      const int a = old[x], b = ToScale(row[x]);
      const int nv = std::min(a, b) <= unionBelow_ ? std::max(a, b) : Rounded((uint16_t)a, (uint16_t)b, true, o_);
      differs |= nv ^ a;
      old[x] = (uint16_t)nv;
    }
    return differs != 0;
  }
  bool Subtract(uint16_t* old, const float row[9]) const {
    int differs = 0;
    for (int x = 0; x < 9; ++x) {
      const int a = old[x], c = 65535 - ToScale(row[x]);
      const int nv = std::max(a, c) >= cutAbove_ ? std::min(a, c) : Rounded((uint16_t)a, (uint16_t)c, false, o_);
      differs |= nv ^ a;
      old[x] = (uint16_t)nv;
    }
    return differs != 0;
  }
  const FieldOptions& o_;
  bool rounded_;
  int unionBelow_, cutAbove_;
};

// The field on the probe lattice of the box (steps of 8 / n), each point
// evaluated once though up to eight cells share it. Cells on different
// threads may ask for the same point at once: both compute the same value.
class ProbeLattice {
 public:
  ProbeLattice(const BrushField& f, const std::vector<CellKey>& cells, int n)
      : f_(f), shift_(n == 4 ? 1 : (n == 2 ? 2 : 3)) {
    for (int a = 0; a < 3; ++a) lo_[a] = INT32_MAX, dims_[a] = 0;
    int hi[3] = {INT32_MIN, INT32_MIN, INT32_MIN};
    for (const CellKey& k : cells) {
      const int c[3] = {k.x, k.y, k.z};
      for (int a = 0; a < 3; ++a) lo_[a] = std::min(lo_[a], c[a]), hi[a] = std::max(hi[a], c[a]);
    }
    if (cells.empty()) return;
    for (int a = 0; a < 3; ++a) dims_[a] = (hi[a] - lo_[a] + 1) * n + 1;
    values_ = std::make_unique<std::atomic<uint32_t>[]>((size_t)dims_[0] * dims_[1] * dims_[2]);
  }
  // The field at voxel (x, y, z), a point of the lattice inside the box.
  uint16_t At(int x, int y, int z) {
    // Offsets from the box's low corner are whole steps and never negative.
    const size_t i = ((size_t)((z - lo_[2] * 8) >> shift_) * dims_[1] + ((y - lo_[1] * 8) >> shift_)) * dims_[0] +
                     ((x - lo_[0] * 8) >> shift_);
    uint32_t v = values_[i].load(std::memory_order_relaxed);
    if (v == 0) {
      v = FieldValue(f_, (float)x, (float)y, (float)z) + 1u;  // 0 marks a point not yet evaluated
      values_[i].store(v, std::memory_order_relaxed);
    }
    return (uint16_t)(v - 1);
  }
  // Evaluates the points of cell k's lattice not evaluated yet in one call,
  // so the field can take them side by side.
  void Fill(const CellKey& k) {
    const int step = 1 << shift_;
    float p[125][3];
    size_t at[125];
    int m = 0;
    for (int z = k.z * 8; z <= k.z * 8 + 8; z += step)
      for (int y = k.y * 8; y <= k.y * 8 + 8; y += step)
        for (int x = k.x * 8; x <= k.x * 8 + 8; x += step) {
          const size_t i = ((size_t)((z - lo_[2] * 8) >> shift_) * dims_[1] + ((y - lo_[1] * 8) >> shift_)) * dims_[0] +
                           ((x - lo_[0] * 8) >> shift_);
          if (values_[i].load(std::memory_order_relaxed)) continue;
          p[m][0] = (float)x, p[m][1] = (float)y, p[m][2] = (float)z;
          at[m++] = i;
        }
    if (!m) return;
    float v[125];
    f_.Values(m, p, v);
    for (int j = 0; j < m; ++j) values_[at[j]].store(ToScale(v[j]) + 1u, std::memory_order_relaxed);
  }

 private:
  const BrushField& f_;
  int shift_;  // the step, 8 / n, as a power of two
  int lo_[3], dims_[3];
  std::unique_ptr<std::atomic<uint32_t>[]> values_;
};

// Largest probe value of a cell on its (n + 1)^3 lattice at steps of 8 / n
// (n 2: 3 points per axis at steps of 4; n 4: 5 at steps of 2), the field
// read through `field(x, y, z)`; bit (i + 3j + 9k) of `mask` tells on which
// side (0 low face, 1 inside, 2 high face, per axis) a positive point lay, so
// the neighbours behind it are queued. `prepare(k)` runs once the cell's
// points are known to be needed, before the first is read.
template <class Field, class Prepare>
uint32_t ProbeCell(VolumeObject& vol, const BrushField& f, Field&& field, Prepare&& prepare, const CellKey& k,
                   const FieldOptions& o, int n, uint32_t& mask) {
  mask = 0;
  // A field that is 0 all over the cell moves nothing (a change is probed
  // against the old values, where 0 may still move something).
  const float centre[3] = {k.x * 8 + 4.f, k.y * 8 + 4.f, k.z * 8 + 4.f};
  if (!o.Compare && f.ZeroAround(centre, kCellHalfDiagonal)) return 0;
  prepare(k);
  VoxelCell** found = vol.Cells.Find(k.x, k.y, k.z);
  const VoxelCell* cell = found ? *found : nullptr;
  const int step = 8 / n;
  auto side = [n](int i) { return i == 0 ? 0 : (i == n ? 2 : 1); };
  uint32_t best = 0;
  for (int kz = 0; kz <= n; ++kz)
    for (int ky = 0; ky <= n; ++ky)
      for (int kx = 0; kx <= n; ++kx) {
        const int lx = kx * step, ly = ky * step, lz = kz * step;
        uint32_t v = field(k.x * 8 + lx, k.y * 8 + ly, k.z * 8 + lz);
        if (o.Compare) {
          // By how much the merge would move the value; below 2 counts as none.
          const uint16_t old = OldValue(cell, LatticeIndex(lx, ly, lz));
          v = (uint32_t)std::abs((int)Merge(old, (uint16_t)v, o) - (int)old);
          if (v < 2) v = 0;
        }
        if (v > 0) mask |= 1u << (side(kx) + 3 * side(ky) + 9 * side(kz));
        best = std::max(best, v);
      }
  return best;
}
}  // namespace

int ApplyField(VolumeObject& vol, const BrushField& f, const FieldBox& boxIn, const FieldOptions& o) {
  FieldBox box = boxIn;
  const float diag = std::sqrt((box.Max[0] - box.Min[0]) * (box.Max[0] - box.Min[0]) +
                               (box.Max[1] - box.Min[1]) * (box.Max[1] - box.Min[1]) +
                               (box.Max[2] - box.Min[2]) * (box.Max[2] - box.Min[2]));
  if (diag > 1000.f)
    for (int i = 0; i < 3; ++i) box.Min[i] -= 20, box.Max[i] += 20;

  // Probe the box, then grow outward by waves from the touched cells.
  CellKeyMap<int> seen(16411);
  std::vector<CellKey> listed;
  std::deque<CellKey> queue;
  // Subtraction and intersection cannot lower a missing cell below 0.
  const bool onlyExisting = o.Mode != kFieldUnion;
  // Queues the neighbours behind the touched shell positions of a probed cell.
  auto list = [&](const CellKey& k, uint32_t best, uint32_t mask) {
    if (best == 0) return;
    listed.push_back(k);
    for (int dz = -1; dz <= 1; ++dz)
      for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx) {
          if (!dx && !dy && !dz) continue;
          const int ix = dx + 1, iy = dy + 1, iz = dz + 1;
          if (mask & (1u << (ix + 3 * iy + 9 * iz))) queue.push_back({k.x + dx, k.y + dy, k.z + dz});
        }
  };
  // The box is probed coarsely (CoarseProbe, the default) or finely, its
  // cells side by side on the worker threads; the waves beyond it always
  // coarsely, one cell after another.
  const std::vector<CellKey> boxCells = CellsOfBox(box.Min, box.Max);
  std::vector<uint32_t> boxBest(boxCells.size(), 0), boxMask(boxCells.size(), 0);
  const int boxProbe = vol.CoarseProbe ? 2 : 4;
  ProbeLattice lattice(f, boxCells, boxProbe);
  auto onLattice = [&](int x, int y, int z) { return lattice.At(x, y, z); };
  // Each thread takes the next cell not yet taken: the box's lower layers may
  // be solid and its upper ones air, and a thread may wait for a core.
  const int workers = boxCells.size() < kParallelProbeCells
                          ? 1
                          : std::clamp(o.Threads > 0 ? o.Threads : UsingProcessors(), 1, kMaxThreads);
  std::atomic<size_t> nextCell{0};
  RunSection(workers, [&](int) {
    for (size_t i; (i = nextCell.fetch_add(1, std::memory_order_relaxed)) < boxCells.size();) {
      const CellKey& k = boxCells[i];
      if (onlyExisting && !vol.Cells.Find(k.x, k.y, k.z)) continue;
      boxBest[i] = ProbeCell(vol, f, onLattice, [&](const CellKey& c) { lattice.Fill(c); }, k, o, boxProbe, boxMask[i]);
    }
  });
  // The box's cells count as seen without going into the map: its corners
  // are its first and last cell.
  auto inBox = [&](const CellKey& k) {
    const CellKey &lo = boxCells.front(), &hi = boxCells.back();
    return k.x >= lo.x && k.x <= hi.x && k.y >= lo.y && k.y <= hi.y && k.z >= lo.z && k.z <= hi.z;
  };
  for (size_t i = 0; i < boxCells.size(); ++i) list(boxCells[i], boxBest[i], boxMask[i]);
  for (int wave = 0; wave < kMaxWaves && !queue.empty(); ++wave) {
    std::deque<CellKey> current;
    current.swap(queue);
    const size_t before = listed.size();
    for (const CellKey& k : current) {
      if ((!boxCells.empty() && inBox(k)) || seen.Find(k.x, k.y, k.z)) continue;
      seen.Set(k.x, k.y, k.z, 1);
      if (onlyExisting && !vol.Cells.Find(k.x, k.y, k.z)) continue;
      uint32_t mask;
      const uint32_t best =
          ProbeCell(vol, f, [&](int x, int y, int z) { return FieldValue(f, (float)x, (float)y, (float)z); },
                    [](const CellKey&) {}, k, o, 2, mask);
      list(k, best, mask);
    }
    if (listed.size() == before) break;
  }
  std::sort(listed.begin(), listed.end(), [](const CellKey& a, const CellKey& b) {
    return std::tie(a.z, a.y, a.x) < std::tie(b.z, b.y, b.x);
  });

  // The value no field can move: union cannot raise 65535, the other modes
  // cannot lower 0 (the rounded merge stays on that side too).
  const uint16_t fixed = o.Mode == kFieldUnion ? 65535 : 0;
  const RowMerger merge(o);
  int changed = RunCellJobs(vol, listed, [&](const CellKey& k, const VoxelCell* cell, uint16_t* out) {
    if (cell && cell->Voxels && !(cell->Flags & kCellLazyFill)) {
      std::memcpy(out, cell->Voxels, kCellVoxels * sizeof(uint16_t));
    } else {
      const uint16_t fill = cell ? cell->Fill : 0;
      if (fill == fixed) return false;
      // A solid cell's 65535 is one byte twice over: memset, not a loop of words.
      if ((fill & 0xff) == (fill >> 8))
        std::memset(out, fill & 0xff, kCellVoxels * sizeof(uint16_t));
      else
        std::fill(out, out + kCellVoxels, fill);
    }
    bool any = false;
    const float bx = (float)(k.x * 8), by = (float)(k.y * 8), bz = (float)(k.z * 8);
    float plane[81];
    for (int z = 0; z < 9; ++z) {
      unsigned open = 0;
      for (int y = 0; y < 9; ++y) open |= (unsigned)RowOpen(out + LatticeIndex(0, y, z), fixed) << y;
      if (!open) continue;
      f.Plane(bx, by, bz + z, open, plane);
      for (int y = 0; y < 9; ++y)
        if (open >> y & 1) any |= merge(out + LatticeIndex(0, y, z), plane + 9 * y);
    }
    return any;
  }, o.Threads);

  if (o.Mode == kFieldIntersect) {
    // Cells the field never reached hold nothing of the intersection.
    CellKeyMap<int> reached(16411);
    for (const CellKey& k : listed) reached.Set(k.x, k.y, k.z, 1);
    std::vector<CellKey> rest;
    vol.Cells.ForEach([&](const CellKey& k, VoxelCell*& c) {
      if (!reached.Find(k.x, k.y, k.z) && (c->Voxels || c->Fill)) rest.push_back(k);
    });
    for (const CellKey& k : rest) {
      VoxelCell* c = vol.GetCell(k.x, k.y, k.z, false, true);
      if (c->Voxels) {
        vol.vpool.Free(c->Voxels);
        c->Voxels = nullptr;
      }
      c->Fill = 0;
      c->Flags = (uint8_t)((c->Flags & kCellHidden) | kCellBelow | kCellChanged);
      vol.MarkDirty(k.x, k.y, k.z, false);
      ++changed;
    }
  }
  return changed;
}

int BrushSegment(VolumeObject& v, const BrushEnd& a, const BrushEnd& b, int mode, int threads, const float* before,
                 const float* after) {
  SegmentField f(a, b, (float)v.BandWidth);
  float pad = (float)v.BandWidth;
  if (before && after) {
    f.SetCubic(before, after);
    // The curve bows out of the chord by at most a quarter of the outer points' spread.
    float spread = 0;
    for (int i = 0; i < 3; ++i) spread = std::max(spread, std::max(std::fabs(before[i] - a.P[i]), std::fabs(after[i] - b.P[i])));
    pad += spread;
  }
  FieldOptions o;
  o.Mode = mode;
  o.Threads = threads;
  return ApplyField(v, f, FieldBox::OfSpheres(a.P, a.R + pad, b.P, b.R + pad), o);
}

int BrushCarve(VolumeObject& v, const BrushEnd& a, const BrushEnd& b, bool flat, bool invert, const PenProfile& pen,
               int threads, float flatOffset) {
  CarveField f(a, b, (float)v.BandWidth, flat, invert, pen, flat ? flatOffset : 0.f);
  // Reach: the pen radius across, the depth plus the band along the normal.
  const float extra = flat ? std::fabs(flatOffset) : 0.f;
  const float ra = std::max(a.R, std::fabs(a.H) * a.R + 2 + extra) + v.BandWidth;
  const float rb = std::max(b.R, std::fabs(b.H) * b.R + 2 + extra) + v.BandWidth;
  FieldOptions o;
  o.Mode = invert ? kFieldUnion : kFieldSubtract;
  o.Threads = threads;
  o.Band = (float)v.BandWidth;
  o.Rounding = RimRounding(std::min(a.R, b.R), o.Band);
  return ApplyField(v, f, FieldBox::OfSpheres(a.P, ra, b.P, rb), o);
}

int BrushDisplace(VolumeObject& v, const BrushEnd& a, const BrushEnd& b, bool invert, bool useProfile,
                  const PenProfile& pen, float reachExtra, int threads) {
  DisplaceField f(v, a, b, invert, useProfile, pen, reachExtra);
  auto reach = [&](const BrushEnd& e) {
    return std::max(e.R, (reachExtra >= 0 ? e.R + reachExtra : std::min(std::fabs(e.H), 1.f) * e.R + 8.f)) + v.BandWidth;
  };
  FieldOptions o;
  o.Mode = invert ? kFieldSubtract : kFieldUnion;
  o.Compare = true;  // the old field is positive all through the solid: probe the change
  o.Threads = threads;
  return ApplyField(v, f, FieldBox::OfSpheres(a.P, reach(a), b.P, reach(b)), o);
}
