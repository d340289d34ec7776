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

// Side e of `face` (its grid not empty): the neighbour across it and the
// neighbour's edge that meets it; false where positions beyond clamp.
bool CrossSide(const PaintScene& s, int face, int e, int& next, int& k, bool& reversed) {
  next = s.Faces[face].Neighbour[kNeighbourSlot[e]];
  if (next < 0 || !s.FaceCornerMap.IsQuad(face) || !s.FaceCornerMap.IsQuad(next)) return false;
  const PaintFace& g = s.Faces[next];
  if (g.Nx == 0 || g.Ny == 0) return false;
  // Which edge of the neighbour is ours, and does it run the same way?
  const int* fc = s.FaceCornerMap.Of(face);
  const int* gc = s.FaceCornerMap.Of(next);
  const int a = s.Corners[fc[e]].Vertex, b = s.Corners[fc[e + 1]].Vertex;
  k = -1;
  reversed = true;
  for (int i = 0; i < 4 && k < 0; i++) {
    int p = s.Corners[gc[i]].Vertex, q = s.Corners[gc[i + 1]].Vertex;
    if (p == b && q == a) k = i, reversed = true;
    else if (p == a && q == b) k = i, reversed = false;
  }
  return k >= 0;
}

// (x, y) outside side e of an nx by ny grid, into the gx by gy grid of the
// neighbour whose edge k meets it.
void Cross(int e, int k, bool reversed, int nx, int ny, int gx, int gy, int& x, int& y) {
  int t, d;
  ToEdge(e, x, y, nx, ny, t, d);
  const int lenF = (e & 1) ? ny : nx, lenG = (k & 1) ? gy : gx;
  if (lenF != lenG) t = (int)((long long)t * lenG / lenF);
  if (reversed) t = lenG - 1 - t;
  FromEdge(k, t, d, gx, gy, x, y);
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
    int next, k;
    bool reversed;
    if (!CrossSide(*this, face, e, next, k, reversed)) break;
    Cross(e, k, reversed, nx, ny, Faces[next].Nx, Faces[next].Ny, x, y);
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

void PaintScene::GetFaceSides(int face, FaceSides& sides) const {
  sides = FaceSides();
  const PaintFace& f = Faces[face];
  if (f.Nx == 0 || f.Ny == 0) return;
  for (int e = 0; e < 4; e++) {
    int next, k;
    bool reversed;
    if (CrossSide(*this, face, e, next, k, reversed)) sides.Face[e] = next, sides.Edge[e] = k, sides.Reversed[e] = reversed;
  }
}

// One step across a side lands inside the neighbour (the position is one
// row deep and along the side), so the walk of GetMicroVertex ends there.
const MicroVertex* PaintScene::MicroVertexBeside(int face, const FaceSides& sides, int x, int y,
                                                 MicroVertex* scratch) {
  PaintFace& f = Faces[face];
  const int nx = f.Nx, ny = f.Ny;
  if (nx == 0 || ny == 0 || !f.Grid) return GetMicroVertex(face, x, y, scratch).Vertex;
  if (x >= 0 && y >= 0 && x < nx && y < ny) return &f.Grid[y * nx + x];
  const bool alongX = x >= 0 && x < nx, alongY = y >= 0 && y < ny;
  const int e = y == -1 && alongX ? 0 : x == nx && alongY ? 1 : y == ny && alongX ? 2 : x == -1 && alongY ? 3 : -1;
  if (e < 0) return GetMicroVertex(face, x, y, scratch).Vertex;
  if (sides.Edge[e] < 0) {
    x = x < 0 ? 0 : x >= nx ? nx - 1 : x;
    y = y < 0 ? 0 : y >= ny ? ny - 1 : y;
    return &f.Grid[y * nx + x];
  }
  PaintFace& g = Faces[sides.Face[e]];
  Cross(e, sides.Edge[e], sides.Reversed[e], nx, ny, g.Nx, g.Ny, x, y);
  if (!g.Grid) {
    if (scratch) *scratch = MicroVertex();
    return scratch;
  }
  return &g.Grid[y * g.Nx + x];
}
