// Triangles of nested outlines by ear cutting (see PolygonFill.h).
#include "MC/objects/PolygonFill.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

struct Pt {
  double x, y;
};

// > 0 when a, b, c turn counter-clockwise.
double Cross(const Pt& a, const Pt& b, const Pt& c) { return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x); }

double Area(const Outline& o) {
  double s = 0;
  const size_t n = o.size() / 2;
  for (size_t i = 0; i < n; ++i) {
    const size_t j = (i + 1) % n;
    s += double(o[2 * i]) * o[2 * j + 1] - double(o[2 * j]) * o[2 * i + 1];
  }
  return s / 2;
}

// Even-odd containment of point (x, y) in an outline.
bool Contains(const Outline& o, double x, double y) {
  bool in = false;
  const size_t n = o.size() / 2;
  for (size_t i = 0, j = n - 1; i < n; j = i++) {
    const double xi = o[2 * i], yi = o[2 * i + 1], xj = o[2 * j], yj = o[2 * j + 1];
    if ((yi > y) != (yj > y) && x < (xj - xi) * (y - yi) / (yj - yi) + xi) in = !in;
  }
  return in;
}

class EarCutter {
 public:
  EarCutter(const FlatFigure& figure, std::vector<int>& triangles) : fig_(figure), out_(triangles) {}

  // The position of vertex `id`.
  Pt P(int id) const { return {fig_.XY[2 * id], fig_.XY[2 * id + 1]}; }

  // Does direction k -> m lie inside the ring's interior at ring position k?
  bool LocallyInside(const std::vector<int>& ring, size_t k, const Pt& m) const {
    const size_t n = ring.size();
    const Pt p = P(ring[(k + n - 1) % n]), a = P(ring[k]), q = P(ring[(k + 1) % n]);
    if (Cross(p, a, q) >= 0) return Cross(a, q, m) >= 0 && Cross(a, m, p) >= 0;
    return !(Cross(a, p, m) > 0 && Cross(a, m, q) > 0);
  }

  // Splices the hole (clockwise ring) into the outer ring through a bridge
  // from the hole's rightmost vertex to a vertex of the ring it sees.
  void Bridge(std::vector<int>& ring, const std::vector<int>& hole) {
    size_t mi = 0;
    for (size_t i = 1; i < hole.size(); ++i)
      if (P(hole[i]).x > P(hole[mi]).x || (P(hole[i]).x == P(hole[mi]).x && P(hole[i]).y < P(hole[mi]).y)) mi = i;
    const Pt m = P(hole[mi]);
    // The nearest crossing of the ray to +x with an edge of the ring.
    const size_t n = ring.size();
    double best = std::numeric_limits<double>::infinity();
    size_t at = n;
    for (size_t i = 0; i < n; ++i) {
      const Pt a = P(ring[i]), b = P(ring[(i + 1) % n]);
      if (a.y == b.y || (m.y < std::min(a.y, b.y)) || (m.y > std::max(a.y, b.y))) continue;
      const double x = a.x + (m.y - a.y) * (b.x - a.x) / (b.y - a.y);
      if (x < m.x || x >= best) continue;
      const size_t cand = a.x > b.x ? i : (i + 1) % n;
      if (!LocallyInside(ring, cand, m)) continue;
      best = x, at = cand;
    }
    if (at == n) {
      // No crossing found (a hole touching its outline): the nearest vertex
      // the bridge leaves inside.
      double d = std::numeric_limits<double>::infinity();
      for (size_t i = 0; i < n; ++i) {
        const Pt a = P(ring[i]);
        const double e = (a.x - m.x) * (a.x - m.x) + (a.y - m.y) * (a.y - m.y);
        if (e < d && LocallyInside(ring, i, m)) d = e, at = i;
      }
      if (at == n) at = 0;
    } else {
      // A vertex inside the triangle m, crossing, candidate sees m better:
      // the one nearest the ray's angle.
      const Pt c = P(ring[at]), ix{best, m.y};
      double bestTan = std::numeric_limits<double>::infinity(), bestDist = bestTan;
      for (size_t i = 0; i < n; ++i) {
        const Pt v = P(ring[i]);
        if (i == at || v.x < m.x) continue;
        const double s1 = Cross(m, ix, v), s2 = Cross(ix, c, v), s3 = Cross(c, m, v);
        const bool inside = (s1 >= 0 && s2 >= 0 && s3 >= 0) || (s1 <= 0 && s2 <= 0 && s3 <= 0);
        if (!inside || !LocallyInside(ring, i, m)) continue;
        const double tan = std::fabs(v.y - m.y) / std::max(v.x - m.x, 1e-12);
        const double dist = (v.x - m.x) * (v.x - m.x) + (v.y - m.y) * (v.y - m.y);
        if (tan < bestTan || (tan == bestTan && dist < bestDist)) bestTan = tan, bestDist = dist, at = i;
      }
    }
    std::vector<int> merged;
    merged.reserve(n + hole.size() + 2);
    merged.insert(merged.end(), ring.begin(), ring.begin() + long(at) + 1);
    for (size_t k = 0; k <= hole.size(); ++k) merged.push_back(hole[(mi + k) % hole.size()]);
    merged.insert(merged.end(), ring.begin() + long(at), ring.end());
    ring.swap(merged);
  }

  // Cuts a counter-clockwise ring (ids may repeat at bridges) into triangles.
  void Cut(const std::vector<int>& ring) {
    const int n = (int)ring.size();
    std::vector<int> prev(n), next(n);
    for (int i = 0; i < n; ++i) prev[i] = (i + n - 1) % n, next[i] = (i + 1) % n;
    int left = n, i = 0, tried = 0;
    while (left > 3) {
      const int a = prev[i], c = next[i];
      if (IsEar(ring, a, i, c, next) || tried > left) {
        // After a whole round without an ear (rounding, touching outlines)
        // the least bad corner goes, so the cut always ends.
        if (tried > left) i = FlattestCorner(ring, i, left, prev, next);
        const int pa = prev[i], nc = next[i];
        out_.insert(out_.end(), {ring[pa], ring[i], ring[nc]});
        next[pa] = nc, prev[nc] = pa;
        --left, tried = 0;
        i = nc;
        continue;
      }
      i = c, ++tried;
    }
    const int a = prev[i], c = next[i];
    if (ring[a] != ring[i] && ring[i] != ring[c] && ring[a] != ring[c])
      out_.insert(out_.end(), {ring[a], ring[i], ring[c]});
  }

 private:
  bool IsEar(const std::vector<int>& ring, int a, int b, int c, const std::vector<int>& next) const {
    const int ia = ring[a], ib = ring[b], ic = ring[c];
    if (ia == ib || ib == ic || ia == ic) return false;
    const Pt pa = P(ia), pb = P(ib), pc = P(ic);
    if (Cross(pa, pb, pc) <= 0) return false;
    for (int k = next[c]; k != a; k = next[k]) {
      const int id = ring[k];
      if (id == ia || id == ib || id == ic) continue;
      const Pt q = P(id);
      if (Cross(pa, pb, q) >= 0 && Cross(pb, pc, q) >= 0 && Cross(pc, pa, q) >= 0) return false;
    }
    return true;
  }

  int FlattestCorner(const std::vector<int>& ring, int start, int left, const std::vector<int>& prev,
                     const std::vector<int>& next) const {
    int best = start;
    double bestCross = -std::numeric_limits<double>::infinity();
    for (int k = start, s = 0; s < left; k = next[k], ++s) {
      const int ia = ring[prev[k]], ib = ring[k], ic = ring[next[k]];
      if (ia == ib || ib == ic || ia == ic) continue;
      const double x = Cross(P(ia), P(ib), P(ic));
      if (x > bestCross) bestCross = x, best = k;
    }
    return best;
  }

  const FlatFigure& fig_;
  std::vector<int>& out_;
};

}  // namespace

void FillOutlines(const std::vector<Outline>& outlines, FlatFigure& figure) {
  struct Ring {
    std::vector<int> ids;
    double area;
    int depth = 0, parent = -1;
  };
  std::vector<Ring> rings;
  std::vector<const Outline*> kept;
  for (const Outline& o : outlines) {
    if (o.size() < 6 || std::fabs(Area(o)) < 1e-9) continue;
    kept.push_back(&o);
    Ring r;
    r.area = Area(o);
    for (size_t i = 0; i + 1 < o.size(); i += 2) r.ids.push_back(figure.AddVertex(o[i], o[i + 1]));
    rings.push_back(std::move(r));
  }
  // Depth by containment of a point of each outline; the parent of a hole is
  // the smallest outline around it.
  for (size_t i = 0; i < rings.size(); ++i) {
    const double x = (*kept[i])[0], y = (*kept[i])[1];
    double smallest = std::numeric_limits<double>::infinity();
    for (size_t j = 0; j < rings.size(); ++j) {
      if (i == j || !Contains(*kept[j], x, y)) continue;
      ++rings[i].depth;
      if (std::fabs(rings[j].area) < smallest) smallest = std::fabs(rings[j].area), rings[i].parent = int(j);
    }
  }
  for (Ring& r : rings) {
    // Filled outlines turn counter-clockwise, holes clockwise.
    const bool hole = r.depth % 2 == 1;
    if ((r.area > 0) == hole) std::reverse(r.ids.begin(), r.ids.end());
    const size_t n = r.ids.size();
    for (size_t k = 0; k < n; ++k) figure.Boundary.insert(figure.Boundary.end(), {r.ids[k], r.ids[(k + 1) % n]});
  }
  EarCutter cutter(figure, figure.Triangles);
  for (size_t i = 0; i < rings.size(); ++i) {
    if (rings[i].depth % 2) continue;
    std::vector<const Ring*> holes;
    for (const Ring& h : rings)
      if (h.depth % 2 && h.parent == int(i)) holes.push_back(&h);
    // Rightmost holes first, so a bridge never crosses a hole still to come.
    auto right = [&](const Ring* h) {
      double x = -std::numeric_limits<double>::infinity();
      for (int id : h->ids) x = std::max(x, double(figure.XY[2 * id]));
      return x;
    };
    std::sort(holes.begin(), holes.end(), [&](const Ring* a, const Ring* b) { return right(a) > right(b); });
    std::vector<int> ring = rings[i].ids;
    for (const Ring* h : holes) cutter.Bridge(ring, h->ids);
    cutter.Cut(ring);
  }
}
