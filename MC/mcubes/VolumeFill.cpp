// Distance shapes and the parallel fill (see VolumeFill.h). Cells are
// classified from the distance at their centre, so only the band around the
// surface is sampled voxel by voxel; interior cells become uniform 65535.
#include "MC/mcubes/VolumeFill.h"

#include <algorithm>
#include <cmath>

#include "ClassEngine/Random.h"
#include "ClassEngine/Threader.h"
#include "MC/mcubes/VolumeObject.h"

uint16_t EncodeDistance(float distance, int bandWidth) {
  float d = distance / (float)bandWidth + 0.5f;
  d = std::clamp(d, 0.0f, 1.0f);
  return (uint16_t)(d * 65535.0f);
}

float SphereShape::Distance(float x, float y, float z) const {
  const float dx = x - c_[0], dy = y - c_[1], dz = z - c_[2];
  return r_ - std::sqrt(dx * dx + dy * dy + dz * dz);
}
void SphereShape::Bounds(float mn[3], float mx[3]) const {
  for (int i = 0; i < 3; ++i) mn[i] = c_[i] - r_, mx[i] = c_[i] + r_;
}

float BoxShape::Distance(float x, float y, float z) const {
  const float p[3] = {x, y, z};
  float q[3], outside = 0, inside = -1e30f;
  for (int i = 0; i < 3; ++i) {
    q[i] = std::fabs(p[i] - c_[i]) - h_[i];
    outside += std::max(q[i], 0.0f) * std::max(q[i], 0.0f);
    inside = std::max(inside, q[i]);
  }
  return -(std::sqrt(outside) + std::min(inside, 0.0f));
}
void BoxShape::Bounds(float mn[3], float mx[3]) const {
  for (int i = 0; i < 3; ++i) mn[i] = c_[i] - h_[i], mx[i] = c_[i] + h_[i];
}

float TorusShape::Distance(float x, float y, float z) const {
  const float dx = x - c_[0], dy = y - c_[1], dz = z - c_[2];
  const float ring = std::sqrt(dx * dx + dz * dz) - R_;
  return r_ - std::sqrt(ring * ring + dy * dy);
}
void TorusShape::Bounds(float mn[3], float mx[3]) const {
  mn[0] = c_[0] - R_ - r_, mx[0] = c_[0] + R_ + r_;
  mn[1] = c_[1] - r_, mx[1] = c_[1] + r_;
  mn[2] = c_[2] - R_ - r_, mx[2] = c_[2] + R_ + r_;
}

NoiseShape::NoiseShape(float cx, float cy, float cz, float radius, float amplitude, float wavelength, uint32_t seed)
    : c_{cx, cy, cz}, r_(radius), amp_(amplitude), freq_(1.0f / wavelength), lattice_(32 * 32 * 32) {
  Random rnd(seed);
  for (float& v : lattice_) v = rnd.Signed();
}

float NoiseShape::Noise(float x, float y, float z) const {
  const float p[3] = {x * freq_, y * freq_, z * freq_};
  int i[3];
  float f[3];
  for (int k = 0; k < 3; ++k) {
    const float fl = std::floor(p[k]);
    i[k] = (int)fl;
    const float t = p[k] - fl;
    f[k] = t * t * (3 - 2 * t);
  }
  auto at = [&](int dx, int dy, int dz) {
    return lattice_[((i[2] + dz) & 31) * 1024 + ((i[1] + dy) & 31) * 32 + ((i[0] + dx) & 31)];
  };
  const float x00 = at(0, 0, 0) + (at(1, 0, 0) - at(0, 0, 0)) * f[0];
  const float x10 = at(0, 1, 0) + (at(1, 1, 0) - at(0, 1, 0)) * f[0];
  const float x01 = at(0, 0, 1) + (at(1, 0, 1) - at(0, 0, 1)) * f[0];
  const float x11 = at(0, 1, 1) + (at(1, 1, 1) - at(0, 1, 1)) * f[0];
  const float y0 = x00 + (x10 - x00) * f[1], y1 = x01 + (x11 - x01) * f[1];
  return y0 + (y1 - y0) * f[2];
}

float NoiseShape::Distance(float x, float y, float z) const {
  const float dx = x - c_[0], dy = y - c_[1], dz = z - c_[2];
  return r_ + amp_ * Noise(x, y, z) - std::sqrt(dx * dx + dy * dy + dz * dz);
}
void NoiseShape::Bounds(float mn[3], float mx[3]) const {
  for (int i = 0; i < 3; ++i) mn[i] = c_[i] - r_ - amp_, mx[i] = c_[i] + r_ + amp_;
}
// Smoothstep value noise changes by at most 1.5 * 2 per lattice step per axis.
float NoiseShape::Lipschitz() const { return 1.0f + amp_ * freq_ * 3.0f * 1.7320508f; }

FunctionShape::FunctionShape(std::function<float(float, float, float)> fn, const float mn[3], const float mx[3],
                             float lipschitz)
    : fn_(std::move(fn)), mn_{mn[0], mn[1], mn[2]}, mx_{mx[0], mx[1], mx[2]}, lip_(lipschitz) {}
void FunctionShape::Bounds(float mn[3], float mx[3]) const {
  for (int i = 0; i < 3; ++i) mn[i] = mn_[i], mx[i] = mx_[i];
}

namespace {
enum CellClass : uint8_t { kOutside, kBand, kInterior };
}

void FillVolume(VolumeObject& volume, const DensityShape& shape, int threads) {
  const int band = volume.BandWidth;
  const float lip = shape.Lipschitz();
  float mn[3], mx[3];
  shape.Bounds(mn, mx);
  int lo[3], hi[3], n[3];
  for (int i = 0; i < 3; ++i) {
    lo[i] = (int)std::floor((mn[i] - band - 2) / 8.0f);
    hi[i] = (int)std::floor((mx[i] + band + 2) / 8.0f);
    n[i] = hi[i] - lo[i] + 1;
  }
  // Every lattice point of a cell lies within 4 * sqrt(3) of its centre.
  const float reach = 4.0f * 1.7320508f * lip, halfBand = band * 0.5f;
  std::vector<uint8_t> cls((size_t)n[0] * n[1] * n[2]);
  ParallelRange(0, n[2], [&](int first, int last) {
    for (int k = first; k < last; ++k)
      for (int j = 0; j < n[1]; ++j)
        for (int i = 0; i < n[0]; ++i) {
          const float f = shape.Distance(8.0f * (lo[0] + i) + 4, 8.0f * (lo[1] + j) + 4, 8.0f * (lo[2] + k) + 4);
          uint8_t c = kBand;
          if (f - reach >= halfBand) c = kInterior;
          else if (f + reach <= -halfBand) c = kOutside;
          cls[((size_t)k * n[1] + j) * n[0] + i] = c;
        }
  }, threads);

  struct BandCell {
    CellKey key;
    VoxelCell* cell;
  };
  std::vector<BandCell> bandCells;
  for (int k = 0; k < n[2]; ++k)
    for (int j = 0; j < n[1]; ++j)
      for (int i = 0; i < n[0]; ++i) {
        const uint8_t c = cls[((size_t)k * n[1] + j) * n[0] + i];
        if (c == kOutside) continue;
        const CellKey key{lo[0] + i, lo[1] + j, lo[2] + k};
        VoxelCell* cell = volume.GetCell(key.x, key.y, key.z, true, false);
        if (c == kInterior) {
          if (cell->Voxels) {
            volume.vpool.Free(cell->Voxels);
            cell->Voxels = nullptr;
          }
          cell->Fill = 65535;
          cell->Flags = (uint8_t)((cell->Flags & (kCellHidden | kCellChanged)) | kCellAbove);
          if (cell->Surface) volume.MarkDirty(key.x, key.y, key.z, false);
        } else {
          cell->EnsureVoxels(3, false);
          bandCells.push_back({key, cell});
        }
      }

  ParallelRange(0, (int)bandCells.size(), [&](int first, int last) {
    for (int b = first; b < last; ++b) {
      VoxelCell* cell = bandCells[b].cell;
      const CellKey& key = bandCells[b].key;
      uint16_t* v = cell->Voxels;
      for (int z = 0; z < 9; ++z)
        for (int y = 0; y < 9; ++y)
          for (int x = 0; x < 9; ++x, ++v) {
            const uint16_t d = EncodeDistance(shape.Distance((float)(key.x * 8 + x), (float)(key.y * 8 + y),
                                                             (float)(key.z * 8 + z)), band);
            if (d > *v) *v = d;
          }
      cell->RefreshStatus(false, false);
    }
  }, threads);

  for (const BandCell& b : bandCells) {
    if (b.cell->Flags & kCellUniform) {
      volume.vpool.Free(b.cell->Voxels);
      b.cell->Voxels = nullptr;
      b.cell->Flags &= ~kCellUniform;
    }
    volume.MarkDirty(b.key.x, b.key.y, b.key.z, false);
  }
}
