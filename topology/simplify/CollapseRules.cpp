// What a collapse costs and whether it is allowed (see HalfEdgeMesh.h).
//
// Collapsing v along h = v->w removes the triangles (v, w, a) and, when the
// edge has a twin, (w, v, b); every other triangle of v takes w instead:
//
//          a                 a
//        /   \               |
//      v ----- w    ==>      w
//        \   /               |
//          b                 b
#include <algorithm>
#include <cfloat>
#include <cmath>

#include "topology/simplify/HalfEdgeMesh.h"

namespace {

void Cross(const float* p0, const float* p1, const float* p2, double n[3]) {
  const double u[3] = {double(p1[0]) - p0[0], double(p1[1]) - p0[1], double(p1[2]) - p0[2]};
  const double w[3] = {double(p2[0]) - p0[0], double(p2[1]) - p0[1], double(p2[2]) - p0[2]};
  n[0] = u[1] * w[2] - u[2] * w[1];
  n[1] = u[2] * w[0] - u[0] * w[2];
  n[2] = u[0] * w[1] - u[1] * w[0];
}

// Neighbours a vertex may have for the link test to run; a vertex with more
// is left as it is.
constexpr int kMaxRing = 128;

}  // namespace

Quadric HalfEdgeMesh::FormOf(int v) const {
  Quadric q = Quadric::Diagonal(StrongRegularisation ? 10.0 : 0.001);
  const int start = verts_[size_t(v)].edge;
  int h = start, guard = 0;
  while (h >= 0 && guard++ <= 65536) {
    const int n1 = edges_[size_t(h)].next, n2 = edges_[size_t(n1)].next;
    double n[3];
    Cross(verts_[size_t(v)].pos, verts_[size_t(edges_[size_t(n1)].vertex)].pos,
          verts_[size_t(edges_[size_t(n2)].vertex)].pos, n);
    const double len = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
    if (len > 0) q.AddNormal(n[0] / len, n[1] / len, n[2] / len);
    h = NextOut(h);
    if (h == start) break;
  }
  return q;
}

namespace {
// Busy vertices cost more: 1 below valence 7, then valence - 5.
float ValenceFactor(int valence) { return valence < 7 ? 1.0f : float(valence - 5); }
}  // namespace

float HalfEdgeMesh::CostOf(int v, int h) const {
  const float* p = verts_[size_t(v)].pos;
  const float* q = verts_[size_t(Head(h))].pos;
  const Quadric form = FormOf(v);
  return float(form.Weigh(double(q[0]) - p[0], double(q[1]) - p[1], double(q[2]) - p[2])) *
         ValenceFactor(verts_[size_t(v)].valence);
}

bool HalfEdgeMesh::IsLegal(int v, int h) const {
  const Vertex& V = verts_[size_t(v)];
  const int w = Head(h);
  const Vertex& W = verts_[size_t(w)];
  if (V.edge < 0 || W.edge < 0 || Fixed(v) || Fixed(w)) return false;
  if (V.boundary != W.boundary) return false;
  const int t = edges_[size_t(h)].twin;
  // Two boundary vertices joined across the inside would pinch the surface.
  if (V.boundary && t >= 0) return false;
  // The third vertices lose an edge each: a triangle must stay round them.
  const int a = edges_[size_t(edges_[size_t(edges_[size_t(h)].next)].next)].vertex;
  const int b = t >= 0 ? edges_[size_t(edges_[size_t(edges_[size_t(t)].next)].next)].vertex : -1;
  for (int x : {a, b})
    if (x >= 0 && verts_[size_t(x)].valence <= (verts_[size_t(x)].boundary ? 2 : 3)) return false;

  // Link test, on vertices: the neighbours v and w share are exactly the
  // third vertices of the edge's triangles.
  int ring[kMaxRing], count = 0;
  auto forRing = [&](int x, auto&& f) {  // every neighbour of x, false to stop
    const int start = verts_[size_t(x)].edge;
    int g = start, last = start;
    for (int guard = 0; g >= 0 && guard <= kMaxRing; ++guard) {
      if (!f(Head(g))) return false;
      last = g;
      g = NextOut(g);
      if (g == start) return true;
    }
    if (g >= 0) return false;  // too many to look at
    // On a boundary the last neighbour is the origin of the incoming edge.
    return f(edges_[size_t(edges_[size_t(edges_[size_t(last)].next)].next)].vertex);
  };
  if (!forRing(w, [&](int x) { return count < kMaxRing ? (ring[count++] = x, true) : false; })) return false;
  int shared = 0;
  if (!forRing(v, [&](int x) {
        if (x != w && std::find(ring, ring + count, x) != ring + count) ++shared;
        return true;
      }))
    return false;
  if (shared != (t >= 0 ? 2 : 1)) return false;

  // Link test, on triangles: no triangle across an outer edge of v's fan
  // has w as its opposite corner (this refuses the tetrahedron).
  // Normal test: no triangle of v that stays turns over when v goes to w.
  const int start = V.edge;
  int g = start;
  for (int guard = 0; g >= 0 && guard <= 65536; ++guard) {
    const int outer = edges_[size_t(g)].next, back = edges_[size_t(outer)].next;
    const int x = edges_[size_t(outer)].vertex, y = edges_[size_t(back)].vertex;
    const int across = edges_[size_t(outer)].twin;
    if (across >= 0 && edges_[size_t(edges_[size_t(edges_[size_t(across)].next)].next)].vertex == w) return false;
    if (x != w && y != w) {
      double before[3], after[3];
      Cross(V.pos, verts_[size_t(x)].pos, verts_[size_t(y)].pos, before);
      Cross(W.pos, verts_[size_t(x)].pos, verts_[size_t(y)].pos, after);
      const bool hasArea = before[0] != 0 || before[1] != 0 || before[2] != 0;
      if (hasArea && before[0] * after[0] + before[1] * after[1] + before[2] * after[2] < 0) return false;
    }
    g = NextOut(g);
    if (g == start) break;
  }
  return true;
}

void HalfEdgeMesh::FindBest(int v) {
  Vertex& V = verts_[size_t(v)];
  V.best = -1;
  V.cost = 0;
  if (V.edge < 0 || Fixed(v)) return;
  const Quadric form = FormOf(v);
  const float factor = ValenceFactor(V.valence);
  // The cheapest legal half-edge, the first round the vertex among equal
  // costs. Candidates are sorted first, so that legality, the dear part, is
  // mostly tested once.
  struct Candidate {
    float cost;
    int h;
  } c[kMaxRing];
  int n = 0;
  const int start = V.edge;
  int h = start;
  do {
    if (n == kMaxRing) return;  // too busy a vertex to look at
    const float* q = verts_[size_t(Head(h))].pos;
    c[n] = {float(form.Weigh(double(q[0]) - V.pos[0], double(q[1]) - V.pos[1], double(q[2]) - V.pos[2])) * factor, h};
    for (int k = n++; k > 0 && c[k].cost < c[k - 1].cost; --k) std::swap(c[k], c[k - 1]);
    h = NextOut(h);
  } while (h >= 0 && h != start);
  for (int k = 0; k < n; ++k)
    if (IsLegal(v, c[k].h)) {
      V.best = c[k].h;
      V.cost = c[k].cost;
      return;
    }
}
