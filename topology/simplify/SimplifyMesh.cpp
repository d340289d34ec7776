// A neutral mesh through the simplifier (see SimplifyMesh.h).
#include "topology/simplify/SimplifyMesh.h"

#include <cstring>
#include <unordered_map>

#include "interchange/Mesh.h"
#include "topology/simplify/HalfEdgeMesh.h"

namespace {

struct PositionKey {
  uint32_t bits[3];
  bool operator==(const PositionKey& o) const { return std::memcmp(bits, o.bits, sizeof bits) == 0; }
};
struct PositionHash {
  size_t operator()(const PositionKey& k) const {
    return (size_t(k.bits[0]) * 73856093u) ^ (size_t(k.bits[1]) * 19349663u) ^ (size_t(k.bits[2]) * 83492791u);
  }
};

}  // namespace

bool SimplifyMesh(comms::cMesh& mesh, int targetTriangles,
                  const std::function<bool(const char*, int64_t, int64_t)>& progress) {
  // Triangles per object; polygons without one form a part of their own.
  const int parts = (int)mesh.objects.size() + 1;
  std::vector<std::vector<int>> corners(static_cast<size_t>(parts));
  int triangles = 0;
  mesh.ForEachPolygon([&](size_t, const comms::cPolyCell& h, const comms::cPolyCell* c) {
    const int part = h.c >= 0 && h.c < parts - 1 ? h.c : parts - 1;
    for (int k = 1; k + 1 < h.a; ++k, ++triangles)
      corners[size_t(part)].insert(corners[size_t(part)].end(), {c[0].a, c[k].a, c[k + 1].a});
  });
  if (triangles <= targetTriangles || triangles == 0) return true;

  HalfEdgeMesh he;
  if (progress) he.Progress = progress;
  std::vector<int> objectOfSurface;
  for (int part = 0; part < parts; ++part) {
    if (corners[size_t(part)].empty()) continue;
    std::unordered_map<PositionKey, uint32_t, PositionHash> welded;
    std::vector<float> positions;
    std::vector<uint32_t> indices;
    for (int i : corners[size_t(part)]) {
      const comms::cMeshVec3& p = mesh.positions[size_t(i)];
      PositionKey key;
      std::memcpy(&key.bits[0], &p.x, 4), std::memcpy(&key.bits[1], &p.y, 4), std::memcpy(&key.bits[2], &p.z, 4);
      auto [it, added] = welded.try_emplace(key, (uint32_t)(positions.size() / 3));
      if (added) positions.insert(positions.end(), {p.x, p.y, p.z});
      indices.push_back(it->second);
    }
    he.AddSurface(positions.data(), (int)positions.size() / 3, indices.data(), (int)indices.size(),
                  part < parts - 1 ? mesh.objects[size_t(part)].name : std::string());
    objectOfSurface.push_back(part < parts - 1 ? part : -1);
  }
  if (!he.Build()) return true;
  float ratio = 1.0f - float(targetTriangles) / float(he.LiveFaces());
  he.Simplify(ratio, false);
  comms::cMesh out;
  he.Extract(out);
  for (size_t s = 0; s < objectOfSurface.size(); ++s)
    if (objectOfSurface[s] >= 0)
      std::copy(mesh.objects[size_t(objectOfSurface[s])].transform,
                mesh.objects[size_t(objectOfSurface[s])].transform + 16, out.objects[s].transform);
  out.name = mesh.name;
  mesh = std::move(out);
  return !he.Stopped();
}
