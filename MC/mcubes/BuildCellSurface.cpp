// Marching cubes over one cell: the cell's 9 x 9 x 9 lattice becomes its
// private vertex and index lists. Negative cells are walked in a mirrored
// lattice so that mirror-image volumes get mirror-image triangles; vertices on
// cell faces carry their edge key (BorderCode) for welding across cells.
#include <mutex>

#include "ClassEngine/Threader.h"
#include "MC/mcubes/MCTables.h"
#include "MC/mcubes/VolumeObject.h"

namespace {
struct EdgeInfo {
  int8_t axis;
  int8_t low[3];  // offset of the edge's lower corner in the cube
};

struct EdgeInfoTable {
  EdgeInfo e[12];
  EdgeInfoTable() {
    for (int i = 0; i < 12; ++i) {
      const int8_t* a = cornerOffset[edgeCorners[i][0]];
      const int8_t* b = cornerOffset[edgeCorners[i][1]];
      for (int k = 0; k < 3; ++k) {
        e[i].low[k] = a[k] < b[k] ? a[k] : b[k];
        if (a[k] != b[k]) e[i].axis = (int8_t)k;
      }
    }
  }
};
const EdgeInfoTable kEdges;

// Per-thread scratch, reused from cell to cell and sized for the worst case
// (every lattice edge cut, five triangles in every cube), so the hot loop
// never checks for room.
struct BuildScratch {
  MCVertex verts[2916];
  uint16_t indices[512 * 15];
  uint16_t vertexOfEdge[2916];
  uint64_t edgeUsed[46];
  uint16_t walk[kCellVoxels];
};
thread_local BuildScratch tScratch;

// Entries in each triangle row.
struct RowLengths {
  uint8_t n[256];
  RowLengths() {
    for (int c = 0; c < 256; ++c) {
      int k = 0;
      while (triTable[c][k] >= 0) ++k;
      n[c] = (uint8_t)k;
    }
  }
};
const RowLengths kRowLength;

inline void SetEmptyBounds(float* box) {
  box[0] = box[1] = box[2] = 100000.f;
  box[3] = box[4] = box[5] = -100000.f;
}

inline int Bit(uint32_t row, int x) { return (row >> x) & 1; }
}  // namespace

void VolumeObject::BuildCellSurface(int cx, int cy, int cz) {
  VoxelCell** found = Cells.Find(cx, cy, cz);
  VoxelCell* cell = found ? *found : nullptr;
  if (!cell) return;
  if (!cell->HasSurfaceCrossing() || !cell->Voxels || (cell->Flags & kCellLazyFill)) {
    if (cell->Surface) {
      cell->Surface->Vertices.Count = 0;
      cell->Surface->Indices.Count = 0;
      SetEmptyBounds(cell->Surface->Bounds);
    }
    return;
  }
  BuildScratch& s = tScratch;
  int nv = 0, ni = 0;
  std::memset(s.edgeUsed, 0, sizeof(s.edgeUsed));

  const bool mx = cx < 0, my = cy < 0, mz = cz < 0;
  const int cell8[3] = {8 * cx, 8 * cy, 8 * cz};
  const bool mirror[3] = {mx, my, mz};
  const bool reverse = (mx ^ my ^ mz);

  // The lattice as walked: mirrored in each negative axis.
  const uint16_t* W = cell->Voxels;
  if (mx || my || mz) {
    uint16_t* w = s.walk;
    for (int z = 0; z < 9; ++z) {
      const int rz = mz ? 8 - z : z;
      for (int y = 0; y < 9; ++y) {
        const int ry = my ? 8 - y : y;
        const uint16_t* src = cell->Voxels + (rz * 9 + ry) * 9;
        uint16_t* dst = w + (z * 9 + y) * 9;
        if (mx)
          for (int x = 0; x < 9; ++x) dst[x] = src[8 - x];
        else
          for (int x = 0; x < 9; ++x) dst[x] = src[x];
      }
    }
    W = w;
  }

  // Row masks: bit x set when lattice point (x, y, z) is outside.
  uint32_t rows[9][9];
  for (int z = 0; z < 9; ++z)
    for (int y = 0; y < 9; ++y) {
      const uint16_t* r = W + (z * 9 + y) * 9;
      uint32_t m = 0;
      for (int x = 0; x < 9; ++x) m |= (uint32_t)(r[x] < kSurfaceLevel) << x;
      rows[z][y] = m;
    }

  int edgeVertex[12];
  CellNeighbourhood around(*this, cx, cy, cz);
  for (int z = 0; z < 8; ++z) {
    for (int y = 0; y < 8; ++y) {
      const uint32_t r00 = rows[z][y], r10 = rows[z][y + 1], r01 = rows[z + 1][y], r11 = rows[z + 1][y + 1];
      const uint32_t all = r00 & r10 & r01 & r11, any = r00 | r10 | r01 | r11;
      if (all == 0x1FF || any == 0) continue;  // the whole row of cubes is on one side
      for (int x = 0; x < 8; ++x) {
        const int cubeCase = Bit(r00, x) | Bit(r00, x + 1) << 1 | Bit(r10, x + 1) << 2 | Bit(r10, x) << 3 |
                             Bit(r01, x) << 4 | Bit(r01, x + 1) << 5 | Bit(r11, x + 1) << 6 | Bit(r11, x) << 7;
        if (cubeCase == 0 || cubeCase == 255) continue;
        for (unsigned edges = edgeTable[cubeCase]; edges; edges &= edges - 1) {
          const int e = __builtin_ctz(edges);
          const EdgeInfo& info = kEdges.e[e];
          const int w[3] = {x + info.low[0], y + info.low[1], z + info.low[2]};
          const int a = info.axis;
          const int walkKey = w[0] + 9 * w[1] + 81 * w[2] + 729 * a;
          if (s.edgeUsed[walkKey >> 6] & (1ull << (walkKey & 63))) {
            edgeVertex[e] = s.vertexOfEdge[walkKey];
            continue;
          }
          s.edgeUsed[walkKey >> 6] |= 1ull << (walkKey & 63);
          const int step = a == 0 ? 1 : (a == 1 ? 9 : 81);
          const int li = (w[2] * 9 + w[1]) * 9 + w[0];
          const float vLow = W[li], vHigh = W[li + step];
          const float t = (32767.5f - vLow) / (vHigh - vLow);
          MCVertex& v = s.verts[nv];
          int real[3];  // lower end of the edge in the cell's own lattice
          for (int k = 0; k < 3; ++k) {
            if (k == a) {
              const float local = (float)w[k] + t;
              v.Pos[k] = mirror[k] ? (float)(cell8[k] + 8) - local : (float)cell8[k] + local;
              real[k] = mirror[k] ? 7 - w[k] : w[k];
            } else {
              real[k] = mirror[k] ? 8 - w[k] : w[k];
              v.Pos[k] = (float)(cell8[k] + real[k]);
            }
          }
          bool onFace = false;
          for (int k = 0; k < 3; ++k)
            if (k != a && (real[k] == 0 || real[k] == 8)) onFace = true;
          v.BorderCode = onFace ? (uint16_t)(real[0] + 9 * real[1] + 81 * real[2] + 729 * a) : kNoBorder;
          v.Freeze = 0;
          around.EdgeNormal(v.Normal, v.Pos, a);
          s.vertexOfEdge[walkKey] = (uint16_t)nv;
          edgeVertex[e] = nv++;
        }
        const int8_t* row = triTable[cubeCase];
        const int n = kRowLength.n[cubeCase];
        uint16_t* out = s.indices + ni;
        if (reverse)
          for (int i = 0; i < n; ++i) out[i] = (uint16_t)edgeVertex[row[n - 1 - i]];
        else
          for (int i = 0; i < n; ++i) out[i] = (uint16_t)edgeVertex[row[i]];
        ni += n;
      }
    }
  }

  if (!cell->Surface) {
    if (InParallelSection()) {
      std::lock_guard<std::mutex> guard(VoxelPoolLock());
      cell->Surface = (CellSurface*)apool.Allocate(true);
    } else {
      cell->Surface = (CellSurface*)apool.Allocate(true);
    }
  }
  // The box is taken while the vertices are still in cache.
  float* box = cell->Surface->Bounds;
  SetEmptyBounds(box);
  for (int i = 0; i < nv; ++i)
    for (int k = 0; k < 3; ++k) {
      const MCVertex& v = s.verts[i];
      box[k] = v.Pos[k] < box[k] ? v.Pos[k] : box[k];
      box[k + 3] = v.Pos[k] > box[k + 3] ? v.Pos[k] : box[k + 3];
    }
  cell->Surface->Vertices.Assign(s.verts, nv);
  cell->Surface->Indices.Assign(s.indices, ni);
}
