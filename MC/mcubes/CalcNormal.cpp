// Vertex normals of the surface: the gradient of density, sampled along
// lattice lines (CalcNormal) or by trilinear sampling (CalcNormalSmooth).
// Gradients point towards higher density, that is, into the solid.
#include <cmath>
#include <cstring>

#include "MC/mcubes/VolumeObject.h"

namespace {
// One Newton step from the classic integer seed: the reciprocal square root
// the surface has always used, so normals match across platforms bit for bit.
inline float FastInvSqrt(float x) {
  int32_t i;
  std::memcpy(&i, &x, 4);
  i = 1597463007 - (i >> 1);
  float y;
  std::memcpy(&y, &i, 4);
  return y * (1.5f - 0.5f * x * y * y);
}

// Normalises g and returns the length it had.
inline float Normalise(float g[3]) {
  const float sq = g[0] * g[0] + g[1] * g[1] + g[2] * g[2];
  if (sq == 0.f) return 0.f;
  const float inv = FastInvSqrt(sq);
  g[0] *= inv;
  g[1] *= inv;
  g[2] *= inv;
  return sq * inv;
}

// floor() for the small magnitudes of lattice coordinates, without a libm call.
inline int FloorInt(float f) {
  const int i = (int)f;
  return i - (f < (float)i);
}

inline bool Tiny(float f) { return f < 0.001f && f > -0.001f; }


// The field at a lattice point or on a lattice edge of one cell, from local
// coordinates; 0 off the lattice lines.
float SampleCellLine(const VoxelCell* cell, float lx, float ly, float lz) {
  if (!cell) return 0.f;
  if (!cell->Voxels || (cell->Flags & kCellLazyFill)) return cell->Fill;
  int bx = FloorInt(lx + 0.001f), by = FloorInt(ly + 0.001f), bz = FloorInt(lz + 0.001f);
  const float fx = lx - bx, fy = ly - by, fz = lz - bz;
  bx = bx > 8 ? 8 : bx;
  by = by > 8 ? 8 : by;
  bz = bz > 8 ? 8 : bz;
  const uint16_t* v = cell->Voxels + LatticeIndex(bx, by, bz);
  const bool tx = Tiny(fx), ty = Tiny(fy), tz = Tiny(fz);
  if (ty && tz) return tx ? (float)v[0] : v[0] + (v[1] - (float)v[0]) * fx;
  if (tx && tz) return v[0] + (v[9] - (float)v[0]) * fy;
  if (tx && ty) return v[0] + (v[81] - (float)v[0]) * fz;
  return 0.f;
}
}  // namespace

// The line sampler over the whole volume: the cell is floor(p / 8), then the
// cell's own lattice; the Linked volume stands in for missing cells.
float VolumeObject::LineSample(float x, float y, float z, CellCache& cache) {
  const int cx = FloorInt(x * 0.125f), cy = FloorInt(y * 0.125f), cz = FloorInt(z * 0.125f);
  const VoxelCell* cell;
  if (cache.Valid && cache.cx == cx && cache.cy == cy && cache.cz == cz) {
    cell = cache.Cell;
  } else {
    VoxelCell** found = Cells.Find(cx, cy, cz);
    if (!found && Linked) found = Linked->Cells.Find(cx, cy, cz);
    cell = found ? *found : nullptr;
    cache = {cx, cy, cz, const_cast<VoxelCell*>(cell), true};
  }
  return SampleCellLine(cell, x - 8.f * cx, y - 8.f * cy, z - 8.f * cz);
}

CellNeighbourhood::CellNeighbourhood(VolumeObject& volume, int cx, int cy, int cz)
    : volume_(volume), cx_(cx), cy_(cy), cz_(cz) {
  for (auto& f : fetched_) f = false;
  self_ = Fetch(cx, cy, cz);
}

float CellNeighbourhood::Sample(float x, float y, float z) {
  const int cx = FloorInt(x * 0.125f), cy = FloorInt(y * 0.125f), cz = FloorInt(z * 0.125f);
  return SampleCellLine(Fetch(cx, cy, cz), x - 8.f * cx, y - 8.f * cy, z - 8.f * cz);
}

const VoxelCell* CellNeighbourhood::Fetch(int cx, int cy, int cz) {
  const int dx = cx - cx_ + 1, dy = cy - cy_ + 1, dz = cz - cz_ + 1;
  if ((unsigned)dx > 2 || (unsigned)dy > 2 || (unsigned)dz > 2) {
    VoxelCell** found = volume_.Cells.Find(cx, cy, cz);
    if (!found && volume_.Linked) found = volume_.Linked->Cells.Find(cx, cy, cz);
    return found ? *found : nullptr;
  }
  const int i = (dz * 3 + dy) * 3 + dx;
  if (!fetched_[i]) {
    VoxelCell** found = volume_.Cells.Find(cx, cy, cz);
    if (!found && volume_.Linked) found = volume_.Linked->Cells.Find(cx, cy, cz);
    cells_[i] = found ? *found : nullptr;
    fetched_[i] = true;
  }
  return cells_[i];
}

namespace {
// Where a sample falls along the vertex's edge axis: the same cell choice,
// base and fraction as the line sampler computes.
struct AlongEdge {
  int cell, base;
  float f;
  bool tiny;
};
inline AlongEdge Along(float x) {
  AlongEdge r;
  r.cell = FloorInt(x * 0.125f);
  const float local = x - 8.f * r.cell;
  const int base = FloorInt(local + 0.001f);
  r.f = local - base;
  r.tiny = Tiny(r.f);
  r.base = base > 8 ? 8 : base;
  return r;
}
}  // namespace

template <int A>
void CellNeighbourhood::EdgeNormalAlong(float out[3], const float pos[3]) {
  constexpr int a = A, b = (A + 1) % 3, c = (A + 2) % 3;
  constexpr int step = a == 0 ? 1 : (a == 1 ? 9 : 81);
  const int ib = (int)pos[b], ic = (int)pos[c];
  auto value = [&](const AlongEdge& al, int gb, int gc) -> float {
    int key[3], local[3];
    key[a] = al.cell, local[a] = al.base;
    key[b] = gb >> 3, local[b] = gb & 7;
    key[c] = gc >> 3, local[c] = gc & 7;
    const VoxelCell* cell = (key[0] == cx_ && key[1] == cy_ && key[2] == cz_) ? self_ : Fetch(key[0], key[1], key[2]);
    if (!cell) return 0.f;
    if (!cell->Voxels || (cell->Flags & kCellLazyFill)) return cell->Fill;
    const uint16_t* v = cell->Voxels + LatticeIndex(local[0], local[1], local[2]);
    if (al.tiny) return (float)v[0];
    return v[0] + (v[step] - (float)v[0]) * al.f;
  };
  const AlongEdge at = Along(pos[a]);
  const float d = value(at, ib, ic);
  float p[3];
  p[a] = value(Along(pos[a] + 1), ib, ic);
  p[b] = value(at, ib + 1, ic);
  p[c] = value(at, ib, ic + 1);
  float g[3] = {p[0] - d, p[1] - d, p[2] - d};
  if (Normalise(g) < 0.9f) {
    float m[3];
    m[a] = value(Along(pos[a] - 1), ib, ic);
    m[b] = value(at, ib - 1, ic);
    m[c] = value(at, ib, ic - 1);
    g[0] = (p[0] - d) - (m[0] - d);
    g[1] = (p[1] - d) - (m[1] - d);
    g[2] = (p[2] - d) - (m[2] - d);
    Normalise(g);
  }
  out[0] = g[0];
  out[1] = g[1];
  out[2] = g[2];
}

// CalcNormal for a vertex on a lattice edge along `axis`, sharing the edge
// fraction between the samples that move across the edge. Same arithmetic,
// same result as the line sampler; only the repeated cell choice is saved.
void CellNeighbourhood::EdgeNormal(float out[3], const float pos[3], int axis) {
  if (axis == 0)
    EdgeNormalAlong<0>(out, pos);
  else if (axis == 1)
    EdgeNormalAlong<1>(out, pos);
  else
    EdgeNormalAlong<2>(out, pos);
}

template <class Sampler>
static void GradientNormal(float out[3], float x, float y, float z, Sampler&& D) {
  const float d = D(x, y, z);
  const float px = D(x + 1, y, z), py = D(x, y + 1, z), pz = D(x, y, z + 1);
  float g[3] = {px - d, py - d, pz - d};
  if (Normalise(g) < 0.9f) {
    // A flat forward step: take the central difference instead.
    const float mx = D(x - 1, y, z), my = D(x, y - 1, z), mz = D(x, y, z - 1);
    g[0] = (px - d) - (mx - d);
    g[1] = (py - d) - (my - d);
    g[2] = (pz - d) - (mz - d);
    Normalise(g);
  }
  out[0] = g[0];
  out[1] = g[1];
  out[2] = g[2];
}

void VolumeObject::CalcNormal(float out[3], float x, float y, float z) {
  CellCache cache;
  GradientNormal(out, x, y, z, [&](float a, float b, float c) { return LineSample(a, b, c, cache); });
}

void CellNeighbourhood::Normal(float out[3], float x, float y, float z) {
  GradientNormal(out, x, y, z, [&](float a, float b, float c) { return Sample(a, b, c); });
}

void VolumeObject::CalcNormalSmooth(float out[3], float x, float y, float z) {
  float g[3] = {SampleField(x + 1, y, z) - SampleField(x - 1, y, z), SampleField(x, y + 1, z) - SampleField(x, y - 1, z),
                SampleField(x, y, z + 1) - SampleField(x, y, z - 1)};
  Normalise(g);
  out[0] = g[0];
  out[1] = g[1];
  out[2] = g[2];
}
