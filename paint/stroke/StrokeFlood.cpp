// The flood under the pen and the pruning of far per-pixel faces.
#include "paint/stroke/StrokeFlood.h"

#include <algorithm>
#include <cmath>

#include "paint/scene/PaintScene.h"
#include "paint/stroke/StrokeFrame.h"

using comms::cVec3;

namespace {

// Centre and circumscribed radius of the face, in paint units.
void FaceSphere(const PaintScene& s, int f, cVec3& centre, float& radius) {
  const int n = s.FaceCornerMap.Entries(f) - 1;
  const int* c = s.FaceCornerMap.Of(f);
  centre = cVec3();
  for (int i = 0; i < n; i++) centre += s.Vertices[s.Corners[c[i]].Vertex].Position;
  if (n > 0) centre = centre * (1.0f / n);
  float r2 = 0;
  for (int i = 0; i < n; i++) {
    const cVec3 d = s.Vertices[s.Corners[c[i]].Vertex].Position - centre;
    r2 = std::max(r2, Dot(d, d));
  }
  centre = centre * s.UnitScale;
  radius = std::sqrt(r2) * s.UnitScale;
}

// Squared distance from p to triangle abc.
float PointTriangle2(const cVec3& p, const cVec3& a, const cVec3& b, const cVec3& c) {
  const cVec3 ab = b - a, ac = c - a, ap = p - a;
  const float d1 = Dot(ab, ap), d2 = Dot(ac, ap);
  auto len2 = [](const cVec3& v) { return Dot(v, v); };
  if (d1 <= 0 && d2 <= 0) return len2(ap);
  const cVec3 bp = p - b;
  const float d3 = Dot(ab, bp), d4 = Dot(ac, bp);
  if (d3 >= 0 && d4 <= d3) return len2(bp);
  const cVec3 cp = p - c;
  const float d5 = Dot(ab, cp), d6 = Dot(ac, cp);
  if (d6 >= 0 && d5 <= d6) return len2(cp);
  const float vc = d1 * d4 - d3 * d2;
  if (vc <= 0 && d1 >= 0 && d3 <= 0) return len2(ap - ab * (d1 / (d1 - d3)));
  const float vb = d5 * d2 - d1 * d6;
  if (vb <= 0 && d2 >= 0 && d6 <= 0) return len2(ap - ac * (d2 / (d2 - d6)));
  const float va = d3 * d6 - d5 * d4;
  if (va <= 0 && (d4 - d3) >= 0 && (d5 - d6) >= 0)
    return len2(bp - (c - b) * ((d4 - d3) / ((d4 - d3) + (d5 - d6))));
  const float den = 1 / (va + vb + vc);
  return len2(ap - ab * (vb * den) - ac * (vc * den));
}

// Whether face g carries the same UV as f's corner `a` at a's vertex: the
// edge between them is no seam.
bool SameUVAt(const PaintScene& s, const FaceCorner& a, int g) {
  const int m = s.FaceCornerMap.Entries(g) - 1;
  const int* d = s.FaceCornerMap.Of(g);
  bool same = false;
  for (int k = 0; k < m; k++) {
    const FaceCorner& o = s.Corners[d[k]];
    if (o.Vertex == a.Vertex) {
      const float du = o.UV.x - a.UV.x, dv = o.UV.y - a.UV.y;
      same = du * du + dv * dv < 1e-10f;
    }
  }
  return same;
}

// Calls fn(g, a) for every face g across an edge of f, a the edge's first corner in f.
template <class Fn>
void AcrossEdges(const PaintScene& s, int f, Fn&& fn) {
  const int n = s.FaceCornerMap.Entries(f) - 1;
  const int* c = s.FaceCornerMap.Of(f);
  for (int e = 0; e < n; e++) {
    const FaceCorner &a = s.Corners[c[e]], &b = s.Corners[c[e + 1]];
    s.EdgeMap.ForEach(EdgeKey(a.Vertex, b.Vertex), [&](int g) {
      if (g != f) fn(g, a);
    });
  }
}

}  // namespace

void UVIslandOf(const PaintScene& s, int face, std::vector<uint8_t>& in) {
  in.assign(s.Faces.size(), 0);
  if (face < 0 || face >= (int)s.Faces.size()) return;
  std::vector<int> queue{face};
  in[face] = 1;
  for (size_t head = 0; head < queue.size(); head++)
    AcrossEdges(s, queue[head], [&](int g, const FaceCorner& a) {
      if (!in[g] && SameUVAt(s, a, g)) in[g] = 1, queue.push_back(g);
    });
}

void FloodUnderPen(PaintScene& s, const StrokeFrame& frame, int picked, bool island, std::vector<int>& faces) {
  faces.clear();
  if (picked < 0 || picked >= (int)s.Faces.size()) return;
  // The pen is a cylinder of radius r and half height r: its rim lies at
  // sqrt(r^2 / 4 + r^2) = 1.118 r in the walk's measure.
  const float penRadius = std::max(frame.MaxDabRadius(), 2.0f) * 1.12f;
  auto accept = [&](int f) {
    const PaintFace& face = s.Faces[f];
    if (face.Visited || !face.Editable || !face.Visible) return false;
    cVec3 centre, v;
    float radius, t;
    FaceSphere(s, f, centre, radius);
    frame.SegmentPoint(centre, v, t);
    const float axial = Dot(v, frame.AxisZ), radial2 = std::max(0.0f, Dot(v, v) - axial * axial);
    return radius + penRadius > std::sqrt(axial * axial / 4 + radial2);
  };
  s.Faces[picked].Visited = 1;
  faces.push_back(picked);
  for (size_t head = 0; head < faces.size(); head++)
    AcrossEdges(s, faces[head], [&](int g, const FaceCorner& a) {
      if (s.Faces[g].Visited) return;
      if (island && !SameUVAt(s, a, g)) return;
      if (!accept(g)) return;
      s.Faces[g].Visited = 1;
      faces.push_back(g);
    });
  for (int f : faces) s.Faces[f].Visited = 0;
}

void PruneFarFaces(const PaintScene& s, const StrokeFrame& frame, std::vector<int>& faces) {
  const cVec3 mid = (frame.SegmentStart + frame.SegmentEnd) * 0.5f;
  // sqrt(2) r reaches the rim of the pen's cylinder.
  const float R = 1.415f * frame.MaxDabRadius() + frame.SegmentLength, R2 = R * R;
  const float us = s.UnitScale;
  faces.erase(std::remove_if(faces.begin(), faces.end(), [&](int f) {
                const PaintFace& face = s.Faces[f];
                if (!face.Texels || face.Texels->BlockCount == 0) return false;
                const int n = s.FaceCornerMap.Entries(f) - 1;
                const int* c = s.FaceCornerMap.Of(f);
                const cVec3 a = s.Vertices[s.Corners[c[0]].Vertex].Position * us;
                for (int i = 1; i + 1 < n; i++) {
                  const cVec3 b = s.Vertices[s.Corners[c[i]].Vertex].Position * us;
                  const cVec3 d = s.Vertices[s.Corners[c[i + 1]].Vertex].Position * us;
                  if (PointTriangle2(mid, a, b, d) < R2) return false;
                }
                return true;
              }),
              faces.end());
}
