// Removal of floating specks after a stroke (see DropSpecks.h).
//
// Each cell of the region keeps its inside lattice points as bits, one 64-bit
// word per z plane (bit y * 8 + x). What stays is grown from the points that
// touch solid beyond the region, a whole plane of bits per step, from cell to
// cell across their faces. Points the growth never reached form groups
// enclosed by the region; only those are walked point by point, to count them.
#include "MC/brushes/DropSpecks.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <vector>

#include "MC/brushes/CellJobs.h"

namespace {
// A speck holds at most as many inside points as one cell.
constexpr size_t kSpeckPoints = 512;
// What a lowered point becomes: half a band below the surface.
constexpr uint16_t kLowered = 24576;

constexpr uint64_t kColumn0 = 0x0101010101010101ull;  // x = 0 in every row of a plane
constexpr uint64_t kColumn7 = kColumn0 << 7;
constexpr uint64_t kRow0 = 0xFFull;  // y = 0
constexpr uint64_t kRow7 = kRow0 << 56;

// The inside points of one cell and those known to stay.
struct CellBits {
  uint64_t inside[8];
  uint64_t stays[8];
};

// The six face directions: axis and side.
constexpr int kFaces[6][3] = {{1, 0, 0}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, -1}};

// Bits of plane z of a cell's points at local 0..7 that are inside.
uint64_t InsidePlane(const VoxelCell* cell, int z) {
  if (!cell) return 0;
  if (!cell->Voxels || (cell->Flags & kCellLazyFill)) return cell->Fill >= kSurfaceLevel ? ~0ull : 0;
  static_assert(kSurfaceLevel == 0x8000, "inside is the top bit of a value");
  static_assert(std::endian::native == std::endian::little, "the first of four values is the low word");
  uint64_t bits = 0;
  for (int y = 0; y < 8; ++y) {
    const uint16_t* row = cell->Voxels + LatticeIndex(0, y, z);
    // The top bits of four values at a time, gathered into four bits by one
    // multiplication (no two products land on the same bit).
    for (int half = 0; half < 2; ++half) {
      uint64_t four;
      std::memcpy(&four, row + 4 * half, sizeof four);
      const uint64_t tops = (four >> 15) & 0x0001000100010001ull;
      bits |= ((tops * 0x0001000200040008ull) >> 48 & 0xF) << (y * 8 + 4 * half);
    }
  }
  return bits;
}

// The points of plane z that lie on face f, as bits.
uint64_t FaceOfPlane(int f, int z) {
  switch (f) {
    case 0: return kColumn7;
    case 1: return kColumn0;
    case 2: return kRow7;
    case 3: return kRow0;
    case 4: return z == 7 ? ~0ull : 0;
    default: return z == 0 ? ~0ull : 0;
  }
}

// Plane z's bits on face f moved onto the facing points of the neighbour
// behind that face (plane z of the neighbour for x and y faces; the plane
// index moves for z faces, which the caller handles).
uint64_t AcrossFace(int f, uint64_t bits) {
  switch (f) {
    case 0: return (bits & kColumn7) >> 7;
    case 1: return (bits & kColumn0) << 7;
    case 2: return (bits & kRow7) >> 56;
    case 3: return (bits & kRow0) << 56;
    default: return bits;
  }
}

// Grows `stays` inside the cell's inside points to what it reaches by face
// contact within the cell. Returns whether anything was added.
bool GrowInCell(CellBits& c) {
  bool grew = false, again = true;
  while (again) {
    again = false;
    for (int z = 0; z < 8; ++z) {
      const uint64_t s = c.stays[z];
      uint64_t g = s | ((s << 1) & ~kColumn0) | ((s >> 1) & ~kColumn7) | (s << 8) | (s >> 8);
      if (z > 0) g |= c.stays[z - 1];
      if (z < 7) g |= c.stays[z + 1];
      g &= c.inside[z];
      if (g != s) c.stays[z] = g, again = grew = true;
    }
  }
  return grew;
}
}  // namespace

int DropSpecks(VolumeObject& v, const std::vector<CellKey>& cells) {
  // Only cells the surface passes through can hold a speck's surface; each
  // owns its 512 lattice points (local 0..7).
  CellKeyMap<int> index(4099);
  std::vector<CellKey> keys;
  std::vector<const VoxelCell*> cellOf;
  for (const CellKey& k : cells) {
    VoxelCell** c = v.Cells.Find(k.x, k.y, k.z);
    if (!c || !(*c)->HasSurfaceCrossing() || !(*c)->Voxels || ((*c)->Flags & kCellLazyFill) ||
        index.Find(k.x, k.y, k.z))
      continue;
    index.Set(k.x, k.y, k.z, (int)keys.size());
    keys.push_back(k);
    cellOf.push_back(*c);
  }
  if (keys.empty()) return 0;
  const size_t n = keys.size();
  std::vector<CellBits> bits(n);
  // The region neighbour behind each face, or -1.
  std::vector<std::array<int, 6>> around(n);
  std::vector<int> work;
  std::vector<uint8_t> queued(n, 0);
  for (size_t i = 0; i < n; ++i) {
    CellBits& b = bits[i];
    for (int z = 0; z < 8; ++z) b.inside[z] = InsidePlane(cellOf[i], z), b.stays[z] = 0;
    const CellKey& k = keys[i];
    for (int f = 0; f < 6; ++f) {
      const int nx = k.x + kFaces[f][0], ny = k.y + kFaces[f][1], nz = k.z + kFaces[f][2];
      const int* in = index.Find(nx, ny, nz);
      around[i][f] = in ? *in : -1;
      if (in) continue;
      // Solid beyond the region: the points facing it stay.
      VoxelCell** nf = v.Cells.Find(nx, ny, nz);
      const VoxelCell* nc = nf ? *nf : nullptr;
      if (!nc) continue;
      for (int z = 0; z < 8; ++z) {
        uint64_t facing;
        if (f == 4) {
          if (z != 7) continue;
          facing = InsidePlane(nc, 0);
        } else if (f == 5) {
          if (z != 0) continue;
          facing = InsidePlane(nc, 7);
        } else {
          facing = AcrossFace(f ^ 1, InsidePlane(nc, z));
        }
        b.stays[z] |= facing & FaceOfPlane(f, z) & b.inside[z];
      }
    }
    bool any = false;
    for (int z = 0; z < 8; ++z) any |= b.stays[z] != 0;
    if (any) work.push_back((int)i), queued[i] = 1;
  }
  // Growth from cell to cell until nothing more is reached.
  while (!work.empty()) {
    const int i = work.back();
    work.pop_back();
    queued[i] = 0;
    CellBits& b = bits[i];
    GrowInCell(b);
    for (int f = 0; f < 6; ++f) {
      const int j = around[i][f];
      if (j < 0) continue;
      CellBits& o = bits[j];
      bool added = false;
      for (int z = 0; z < 8; ++z) {
        int oz = z;
        uint64_t moved;
        if (f == 4) {
          if (z != 7) continue;
          oz = 0, moved = b.stays[7];
        } else if (f == 5) {
          if (z != 0) continue;
          oz = 7, moved = b.stays[0];
        } else {
          moved = AcrossFace(f, b.stays[z]);
        }
        const uint64_t fresh = moved & o.inside[oz] & ~o.stays[oz];
        if (fresh) o.stays[oz] |= fresh, added = true;
      }
      if (added && !queued[j]) work.push_back(j), queued[j] = 1;
    }
  }

  // What growth did not reach lies in groups enclosed by the region: each is
  // walked to count it, and lowered when it holds no more than one cell's points.
  std::vector<int> queue;
  CellCache cache;
  int lowered = 0;
  for (size_t ci = 0; ci < n; ++ci)
    for (int z0 = 0; z0 < 8; ++z0)
      while (uint64_t left = bits[ci].inside[z0] & ~bits[ci].stays[z0]) {
        const int l = __builtin_ctzll(left);
        // Walked points are marked in `stays` so no walk meets them twice.
        bits[ci].stays[z0] |= 1ull << l;
        queue.assign({(int)ci, l & 7, l >> 3, z0});
        for (size_t head = 0; head < queue.size(); head += 4) {
          const int c = queue[head], x = queue[head + 1], y = queue[head + 2], z = queue[head + 3];
          for (int f = 0; f < 6; ++f) {
            int nc = c, nx = x + kFaces[f][0], ny = y + kFaces[f][1], nz = z + kFaces[f][2];
            if (nx < 0 || nx > 7 || ny < 0 || ny > 7 || nz < 0 || nz > 7) {
              nc = around[c][f];
              if (nc < 0) continue;  // beyond the region: not solid, or growth would have begun here
              nx &= 7, ny &= 7, nz &= 7;
            }
            const uint64_t bit = 1ull << (ny * 8 + nx);
            CellBits& o = bits[nc];
            if (!(o.inside[nz] & bit) || (o.stays[nz] & bit)) continue;
            o.stays[nz] |= bit;
            queue.insert(queue.end(), {nc, nx, ny, nz});
          }
        }
        if (queue.size() / 4 > kSpeckPoints) continue;
        for (size_t i = 0; i < queue.size(); i += 4) {
          const CellKey& k = keys[queue[i]];
          v.PutVoxel(k.x * 8 + queue[i + 1], k.y * 8 + queue[i + 2], k.z * 8 + queue[i + 3], kLowered, &cache);
          ++lowered;
        }
      }
  if (lowered) RefreshStaleAround(v, keys);
  return lowered;
}
