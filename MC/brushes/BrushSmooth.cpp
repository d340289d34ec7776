// Smoothing, pinch/follow and the plane cut: operations that resample the old
// field of every cell in the box of a sphere instead of merging a field.
#include <algorithm>
#include <cmath>

#include "ClassEngine/Random.h"
#include "MC/brushes/ApplyField.h"
#include "MC/brushes/CellJobs.h"

namespace {
// The 27 cells around one cell, for reads at lattice coordinates -8..16.
class Neighbourhood {
 public:
  Neighbourhood(VolumeObject& v, const CellKey& k) {
    for (int dz = -1; dz <= 1; ++dz)
      for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx) {
          VoxelCell** f = v.Cells.Find(k.x + dx, k.y + dy, k.z + dz);
          cells_[(dz + 1) * 9 + (dy + 1) * 3 + dx + 1] = f ? *f : nullptr;
        }
  }
  uint16_t Read(int x, int y, int z) const {
    const int cx = x < 0 ? -1 : (x > 7 ? (x > 8 ? 1 : 0) : 0);
    const int cy = y < 0 ? -1 : (y > 7 ? (y > 8 ? 1 : 0) : 0);
    const int cz = z < 0 ? -1 : (z > 7 ? (z > 8 ? 1 : 0) : 0);
    const VoxelCell* c = cells_[(cz + 1) * 9 + (cy + 1) * 3 + cx + 1];
    return OldValue(c, LatticeIndex(x - cx * 8, y - cy * 8, z - cz * 8));
  }

 private:
  const VoxelCell* cells_[27];
};

FieldBox SphereBox(const float c[3], float r) { return FieldBox::OfSpheres(c, r, c, r); }
}  // namespace

int BrushSmooth(VolumeObject& v, const SmoothParams& p, Random& rnd, int threads) {
  const float R = std::max(p.Radius, 0.0001f);
  // A random stride keeps repeated passes from printing the lattice.
  int stride = (int)(rnd.Next() * p.Degree / 10000.f + 1);
  if (p.Side != 0) stride = std::min(rnd.Next() / 15000 + 1, 2);
  if (p.Add != 0 || p.Accurate) stride = 1;
  stride = std::clamp(stride, 1, 4);
  const bool strong = p.Add != 0 || (p.Side != 0 && R > 1);
  const float plus = p.Add < 0 ? std::trunc(-p.Add * 65535.f / 40.f) : 0.f;
  const FieldBox box = SphereBox(p.Center, R);
  return RunCellJobs(v, CellsOfBox(box.Min, box.Max), [&](const CellKey& k, const VoxelCell* cell, uint16_t* out) {
    Neighbourhood nb(v, k);
    bool any = false;
    for (int z = 0, i = 0; z < 9; ++z)
      for (int y = 0; y < 9; ++y)
        for (int x = 0; x < 9; ++x, ++i) {
          const uint16_t old = OldValue(cell, i);
          out[i] = old;
          const float dx = k.x * 8 + x - p.Center[0], dy = k.y * 8 + y - p.Center[1], dz = k.z * 8 + z - p.Center[2];
          float u = 1.f - (dx * dx + dy * dy + dz * dz) / (R * R);
          if (u <= 0) continue;
          float w;
          if (strong) {
            u *= u;
            w = u * p.Pressure;
          } else {
            w = u * p.Pressure * p.Degree;
          }
          const float sum = (float)nb.Read(x - stride, y, z) + nb.Read(x + stride, y, z) + nb.Read(x, y - stride, z) +
                            nb.Read(x, y + stride, z) + nb.Read(x, y, z - stride) + nb.Read(x, y, z + stride);
          const float avg = sum / (p.Add + 6.f);
          // 0.01 w + 1 steepens the band again so a smoothed surface keeps its size.
          float r = (0.01f * w + 1.f) * ((1 - w) * old + w * plus + w * avg - 32768.f) + 32768.f;
          r = std::clamp(r, 0.f, 65535.f);
          uint16_t nv = (uint16_t)r;
          if (p.Side == 1) nv = std::max(nv, old);
          if (p.Side == -1) nv = std::min(nv, old);
          out[i] = nv;
          any |= nv != old;
        }
    return any;
  }, threads);
}

int BrushPinch(VolumeObject& v, const float c[3], float radius, float degree, const float shift[3], int threads) {
  const float R = std::max(radius, 0.0001f);
  const float k = degree * 0.2f;
  const FieldBox box = SphereBox(c, R);
  return RunCellJobs(v, CellsOfBox(box.Min, box.Max), [&](const CellKey& key, const VoxelCell* cell, uint16_t* out) {
    bool any = false;
    for (int z = 0, i = 0; z < 9; ++z)
      for (int y = 0; y < 9; ++y)
        for (int x = 0; x < 9; ++x, ++i) {
          const uint16_t old = OldValue(cell, i);
          out[i] = old;
          const float p[3] = {(float)(key.x * 8 + x), (float)(key.y * 8 + y), (float)(key.z * 8 + z)};
          const float d2 = (p[0] - c[0]) * (p[0] - c[0]) + (p[1] - c[1]) * (p[1] - c[1]) + (p[2] - c[2]) * (p[2] - c[2]);
          float u = 1.f - d2 / (R * R);
          if (u <= 0) continue;
          u *= u;
          const float a = std::min(u * k, 1.f);
          float q[3];
          for (int j = 0; j < 3; ++j) q[j] = (p[j] - c[j]) * (1 - a) + c[j] - u * shift[j];
          // The old field: nothing was written yet, so SampleField reads it.
          const float s = v.SampleField(q[0], q[1], q[2]);
          const uint16_t nv = (uint16_t)std::clamp(s, 0.f, 65535.f);
          out[i] = nv;
          any |= nv != old;
        }
    return any;
  }, threads);
}

int PlaneCut(VolumeObject& v, const float point[3], const float n[3], float radius, bool invert, int threads) {
  const float R = std::max(radius, 0.0001f);
  const float W = (float)v.BandWidth;
  const FieldBox box = SphereBox(point, R + W);
  // Refused over 100 cells per axis.
  for (int a = 0; a < 3; ++a)
    if ((box.Max[a] - box.Min[a]) / 8.f > 100.f) return 0;
  return RunCellJobs(v, CellsOfBox(box.Min, box.Max), [&](const CellKey& key, const VoxelCell* cell, uint16_t* out) {
    bool any = false;
    for (int z = 0, i = 0; z < 9; ++z)
      for (int y = 0; y < 9; ++y)
        for (int x = 0; x < 9; ++x, ++i) {
          const uint16_t old = OldValue(cell, i);
          out[i] = old;
          const float p[3] = {(float)(key.x * 8 + x) - point[0], (float)(key.y * 8 + y) - point[1],
                              (float)(key.z * 8 + z) - point[2]};
          // PlaneField: d the field of the half space above the plane, w the
          // weight of the brush's sphere, full out to three quarters of it.
          const float h = p[0] * n[0] + p[1] * n[1] + p[2] * n[2];
          const float dist = std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]);
          const float w = std::clamp((1.f - dist / R) * 4.f, 0.f, 1.f);
          if (w <= 0) continue;
          const float d = std::clamp(0.5f + h / W, 0.f, 1.f);
          const float o = old / 65535.f;
          float nv;
          if (!invert) {
            nv = w * std::min(o, 1.f - d) + (1 - w) * o;
          } else {
            nv = std::max((1.f - d) * w + o * (1 - w), o);
          }
          const uint16_t q = (uint16_t)(std::clamp(nv, 0.f, 1.f) * 65535.f);
          out[i] = q;
          any |= q != old;
        }
    return any;
  }, threads);
}
