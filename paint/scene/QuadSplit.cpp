// Splitting polygons into quads through centre and edge midpoints.
#include "paint/scene/QuadSplit.h"

#include <cmath>
#include <unordered_map>

using comms::cMesh;
using comms::cMeshVec2;
using comms::cMeshVec3;
using comms::cPolyCell;

namespace {

uint64_t PairKey(int a, int b) {
  if (a > b) std::swap(a, b);
  return (uint64_t)(uint32_t)a << 32 | (uint32_t)b;
}

cMeshVec3 Mid(const cMeshVec3& a, const cMeshVec3& b) { return {(a.x + b.x) / 2, (a.y + b.y) / 2, (a.z + b.z) / 2}; }
cMeshVec2 Mid(const cMeshVec2& a, const cMeshVec2& b) { return {(a.x + b.x) / 2, (a.y + b.y) / 2}; }
cMeshVec3 Unit(cMeshVec3 v) {
  const float l = std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
  return l > 0 ? cMeshVec3{v.x / l, v.y / l, v.z / l} : v;
}

// The midpoint of a pair of entries of `list`, made once and shared.
template <class T, class Blend>
int Midpoint(std::vector<T>& list, std::unordered_map<uint64_t, int>& made, int a, int b, Blend blend) {
  if (a < 0 || b < 0) return -1;
  auto [it, fresh] = made.emplace(PairKey(a, b), (int)list.size());
  if (fresh) list.push_back(blend(list[a], list[b]));
  return it->second;
}

}  // namespace

bool HasNonQuads(const cMesh& mesh) {
  bool found = false;
  mesh.ForEachPolygon([&](size_t, const cPolyCell& h, const cPolyCell*) { found |= h.a != 4; });
  return found;
}

cMesh SplitIntoQuads(const cMesh& mesh) {
  cMesh out;
  out.name = mesh.name;
  out.materials = mesh.materials;
  out.objects = mesh.objects;
  out.surfaces = mesh.surfaces;
  out.positions = mesh.positions;
  out.uvs = mesh.uvs;
  out.normals = mesh.normals;
  std::unordered_map<uint64_t, int> midPos, midUV, midNormal;
  auto unitMid = [](const cMeshVec3& a, const cMeshVec3& b) { return Unit(Mid(a, b)); };
  auto posMid = [](const cMeshVec3& a, const cMeshVec3& b) { return Mid(a, b); };
  auto uvMid = [](const cMeshVec2& a, const cMeshVec2& b) { return Mid(a, b); };
  mesh.ForEachPolygon([&](size_t, const cPolyCell& h, const cPolyCell* c) {
    const int n = h.a;
    if (n < 3) return;
    // The centre: mean position, mean texture coordinate and normal when
    // every corner has one.
    cMeshVec3 p{}, nrm{};
    cMeshVec2 t{};
    bool allUV = true, allNormals = true;
    for (int i = 0; i < n; i++) {
      const cMeshVec3& q = mesh.positions[c[i].a];
      p.x += q.x / n, p.y += q.y / n, p.z += q.z / n;
      if (c[i].b >= 0) t.x += mesh.uvs[c[i].b].x / n, t.y += mesh.uvs[c[i].b].y / n;
      else allUV = false;
      if (c[i].c >= 0) nrm.x += mesh.normals[c[i].c].x, nrm.y += mesh.normals[c[i].c].y, nrm.z += mesh.normals[c[i].c].z;
      else allNormals = false;
    }
    const int centre = (int)out.positions.size();
    out.positions.push_back(p);
    int centreUV = -1, centreNormal = -1;
    if (allUV) centreUV = (int)out.uvs.size(), out.uvs.push_back(t);
    if (allNormals) centreNormal = (int)out.normals.size(), out.normals.push_back(Unit(nrm));
    for (int i = 0; i < n; i++) {
      const cPolyCell& prev = c[(i + n - 1) % n];
      const cPolyCell& here = c[i];
      const cPolyCell& next = c[(i + 1) % n];
      out.polygons.push_back({4, h.b, h.c});
      out.AddCorner(here.a, here.b, here.c);
      out.AddCorner(Midpoint(out.positions, midPos, here.a, next.a, posMid),
                    Midpoint(out.uvs, midUV, here.b, next.b, uvMid),
                    Midpoint(out.normals, midNormal, here.c, next.c, unitMid));
      out.AddCorner(centre, centreUV, centreNormal);
      out.AddCorner(Midpoint(out.positions, midPos, prev.a, here.a, posMid),
                    Midpoint(out.uvs, midUV, prev.b, here.b, uvMid),
                    Midpoint(out.normals, midNormal, prev.c, here.c, unitMid));
    }
  });
  return out;
}
