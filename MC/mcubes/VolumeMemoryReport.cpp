// The memory usage report of a volume, written to the log: cell counts by
// kind with per-cell estimates, vertex and index caches, the box tree, the
// pools, and histograms of vertices and triangles per cell.
#include <cstdarg>
#include <cstdio>
#include <string>

#include "ClassEngine/Log.h"
#include "MC/mcubes/VolumeObject.h"

namespace {
std::string Format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
std::string Format(const char* fmt, ...) {
  char buffer[1024];
  va_list args;
  va_start(args, fmt);
  vsnprintf(buffer, sizeof buffer, fmt, args);
  va_end(args);
  return buffer;
}
}  // namespace

std::string VolumeObject::MemoryReport() {
  int cells = 0, empty = 0, surface = 0, filled = 0;
  double vertexBytes = 0, indexBytes = 0;
  int vertHist[257] = {0}, triHist[257] = {0};
  Cells.ForEach([&](const CellKey&, VoxelCell*& c) {
    ++cells;
    if (c->Surface) {
      ++surface;
      const int nv = c->Surface->Vertices.Count, nt = c->Surface->Indices.Count / 3;
      vertexBytes += 28.0 * nv + 16;
      indexBytes += 2.0 * c->Surface->Indices.Count + 16;
      if (nv > 0) ++vertHist[nv > 255 ? 256 : nv];
      if (nt > 0) ++triHist[nt > 255 ? 256 : nt];
    } else if (c->Voxels) {
      ++filled;
    } else {
      ++empty;
    }
  });
  double octree = 0;
  RenderGroups.ForEach([&](const CellKey&, RenderGroup& g) { octree += 36 + (g.Mesh ? 132 : 0); });
  octree += (double)Tree.MemoryUsed();
  const double emptyMb = empty * 44 / 1e6, surfaceMb = surface * 1594 / 1e6, filledMb = filled * 1502 / 1e6;
  const double extra = (double)(Cells.MemoryUsed() + DirtyCells.MemoryUsed() + DirtyGroups.MemoryUsed() +
                                ViewDirtyCells.MemoryUsed() + RenderGroups.MemoryUsed());
  const double total = emptyMb + surfaceMb + filledMb + (vertexBytes + indexBytes + octree + extra) / 1e6;
  const double pools = (vpool.MemoryUsed() + cpool.MemoryUsed() + apool.MemoryUsed()) / 1e6;
  std::string out = Format("\nMemory usage report:\nCells: %d\nEmpty cells: %d (%.02f mb)\nSurfaceCells: %d (%.02f mb)\nFilled cells: %d (%.02f mb)\n",
                           cells, empty, emptyMb, surface, surfaceMb, filled, filledMb);
  out += Format("Vertex cash: %.02f mb\nIndex cash: %.02f mb\nOcTree: %.02f\nExtra data: %.02f mb\n\nTotal: %.02f mb (%.02f mb)\n",
                vertexBytes / 1e6, indexBytes / 1e6, octree / 1e6, extra / 1e6, total, pools);
  out += Format("vpool: %.02f mb\ncpool: %.02f mb\napool: %.02f\n", vpool.MemoryUsed() / 1e6, cpool.MemoryUsed() / 1e6,
                apool.MemoryUsed() / 1e6);
  out += "Vertices usage stats:\n";
  for (int i = 1; i <= 255; ++i) out += Format("%03d : %d\n", i, vertHist[i]);
  out += Format("Above: %d\n", vertHist[256]);
  out += "Triangles usage stats:\n";
  for (int i = 1; i <= 255; ++i) out += Format("%03d : %d\n", i, triHist[i]);
  out += Format("Above: %d\n", triHist[256]);
  Log("%s", out.c_str());
  return out;
}
