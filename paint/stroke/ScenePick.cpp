// Ray against the scene's face polygons.
#include "paint/stroke/ScenePick.h"

#include <cmath>

#include "paint/scene/PaintScene.h"

using comms::cVec3;

namespace {
// Calls meet(t, face, normal) for every triangle of the visible faces the ray
// crosses in front of its origin.
template <class Meet>
void RayMeetings(const PaintScene& s, const cVec3& origin, const cVec3& dir, Meet&& meet) {
  for (int f = 0; f < (int)s.Faces.size(); f++) {
    const PaintFace& face = s.Faces[f];
    if (!face.Visible) continue;
    const int n = s.FaceCornerMap.Entries(f) - 1;
    if (n < 3) continue;
    const int* c = s.FaceCornerMap.Of(f);
    const cVec3 a = s.Vertices[s.Corners[c[0]].Vertex].Position;
    for (int i = 1; i + 1 < n; i++) {
      // Moeller-Trumbore.
      const cVec3 b = s.Vertices[s.Corners[c[i]].Vertex].Position;
      const cVec3 d = s.Vertices[s.Corners[c[i + 1]].Vertex].Position;
      const cVec3 e1 = b - a, e2 = d - a, p = Cross(dir, e2);
      const float det = Dot(e1, p);
      if (std::fabs(det) < 1e-20f) continue;
      const float inv = 1 / det;
      const cVec3 t0 = origin - a;
      const float u = Dot(t0, p) * inv;
      if (u < 0 || u > 1) continue;
      const cVec3 q = Cross(t0, e1);
      const float v = Dot(dir, q) * inv;
      if (v < 0 || u + v > 1) continue;
      const float t = Dot(e2, q) * inv;
      if (t > 0) meet(t, f, Cross(e1, e2));
    }
  }
}

void FillHit(const cVec3& p, const cVec3& normal, int face, SurfaceHit& hit) {
  const cVec3 nrm = normal.Normalized();
  hit.Pos[0] = p.x, hit.Pos[1] = p.y, hit.Pos[2] = p.z;
  hit.Normal[0] = nrm.x, hit.Normal[1] = nrm.y, hit.Normal[2] = nrm.z;
  hit.Face = face;
}
}  // namespace

bool PickPaintSurface(const PaintScene& s, const cVec3& origin, const cVec3& dir, SurfaceHit& hit) {
  float best = 1e30f;
  int bestFace = -1;
  cVec3 bestNormal;
  RayMeetings(s, origin, dir, [&](float t, int f, const cVec3& n) {
    if (t < best) best = t, bestFace = f, bestNormal = n;
  });
  if (bestFace < 0) return false;
  FillHit(origin + dir * best, bestNormal, bestFace, hit);
  return true;
}

bool PickPaintSurfaceNear(const PaintScene& s, const cVec3& origin, const cVec3& dir, const cVec3& near,
                          SurfaceHit& hit) {
  float best = 1e30f;
  int bestFace = -1;
  cVec3 bestPoint, bestNormal;
  RayMeetings(s, origin, dir, [&](float t, int f, const cVec3& n) {
    const cVec3 p = origin + dir * t, d = p - near;
    const float dist = Dot(d, d);
    if (dist < best) best = dist, bestFace = f, bestPoint = p, bestNormal = n;
  });
  if (bestFace < 0) return false;
  FillHit(bestPoint, bestNormal, bestFace, hit);
  return true;
}
