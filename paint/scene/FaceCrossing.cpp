// GetMicroVertex: a grid position outside its face continues into the
// neighbour across that side, turned and mirrored as the neighbour lies.
//
//        corner0 ---- edge 0 (y < 0) ----> corner1
//          ^                                 |
//   edge 3 (x < 0)        face         edge 1 (x >= Nx)
//          |                                 v
//        corner3 <--- edge 2 (y >= Ny) ---- corner2
#include "paint/scene/PaintScene.h"

namespace {

constexpr int kNeighbourSlot[4] = {0, 3, 1, 2};  // Neighbour[] across edge e

// Along-edge position t and depth d outside (0 = first ring) for edge e.
void ToEdge(int e, int x, int y, int nx, int ny, int& t, int& d) {
  switch (e) {
    case 0: t = x, d = -1 - y; break;
    case 1: t = y, d = x - nx; break;
    case 2: t = nx - 1 - x, d = y - ny; break;
    default: t = ny - 1 - y, d = -1 - x; break;
  }
}

// Grid position at along-edge t and depth d inside, from edge k.
void FromEdge(int k, int t, int d, int nx, int ny, int& x, int& y) {
  switch (k) {
    case 0: x = t, y = d; break;
    case 1: y = t, x = nx - 1 - d; break;
    case 2: x = nx - 1 - t, y = ny - 1 - d; break;
    default: y = ny - 1 - t, x = d; break;
  }
}

}  // namespace

CrossedVertex PaintScene::GetMicroVertex(int face, int x, int y, MicroVertex* scratch) {
  CrossedVertex out;
  if (face < 0 || face >= (int)Faces.size()) return out;
  for (int step = 0; step < 8; step++) {
    const PaintFace& f = Faces[face];
    const int nx = f.Nx, ny = f.Ny;
    if (nx == 0 || ny == 0) break;
    int e = y < 0 ? 0 : x >= nx ? 1 : y >= ny ? 2 : x < 0 ? 3 : -1;
    if (e < 0) break;
    const int next = f.Neighbour[kNeighbourSlot[e]];
    if (next < 0 || !FaceCornerMap.IsQuad(face) || !FaceCornerMap.IsQuad(next)) break;
    const PaintFace& g = Faces[next];
    if (g.Nx == 0 || g.Ny == 0) break;
    // Which edge of the neighbour is ours, and does it run the same way?
    const int* fc = FaceCornerMap.Of(face);
    const int* gc = FaceCornerMap.Of(next);
    const int a = Corners[fc[e]].Vertex, b = Corners[fc[e + 1]].Vertex;
    int k = -1;
    bool reversed = true;
    for (int i = 0; i < 4 && k < 0; i++) {
      int p = Corners[gc[i]].Vertex, q = Corners[gc[i + 1]].Vertex;
      if (p == b && q == a) k = i, reversed = true;
      else if (p == a && q == b) k = i, reversed = false;
    }
    if (k < 0) break;
    int t, d;
    ToEdge(e, x, y, nx, ny, t, d);
    const int lenF = (e & 1) ? ny : nx, lenG = (k & 1) ? g.Ny : g.Nx;
    if (lenF != lenG) t = (int)((long long)t * lenG / lenF);
    if (reversed) t = lenG - 1 - t;
    FromEdge(k, t, d, g.Nx, g.Ny, x, y);
    face = next;
  }
  PaintFace& f = Faces[face];
  out.Face = face;
  out.Nx = f.Nx, out.Ny = f.Ny;
  if (!f.Grid || f.Nx == 0 || f.Ny == 0) {
    if (scratch) *scratch = MicroVertex();
    out.Vertex = scratch;
    out.X = x, out.Y = y;
    return out;
  }
  x = x < 0 ? 0 : x >= f.Nx ? f.Nx - 1 : x;
  y = y < 0 ? 0 : y >= f.Ny ? f.Ny - 1 : y;
  out.X = x, out.Y = y;
  out.Vertex = &f.Grid[y * f.Nx + x];
  return out;
}
