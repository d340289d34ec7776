// cMesh: the neutral polygon mesh that every mesh codec reads into and writes
// from. Polygons live in one flat list of three-int cells: a header (corner
// count, packed material, object) followed by one cell per corner (position,
// uv, normal). Indices start at 0; -1 means none. Header-only so that loadable
// codec modules can fill a mesh without linking the program.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace comms {

struct cMeshVec2 {
  float x = 0, y = 0;
};
struct cMeshVec3 {
  float x = 0, y = 0, z = 0;
};

// A header cell reads (count, packed material, object); a corner cell reads
// (position, uv, normal).
struct cPolyCell {
  int a = 0, b = 0, c = 0;
};

struct cMorph {
  std::string name;
  std::vector<cMeshVec3> offsets;  // one per position
};

enum { kDiffuseSlot = 0, kSpecularSlot = 1, kBumpSlot = 2, kTextureSlots = 3 };

struct cTextureSlot {
  std::string path;
  int spare[3] = {0, 0, 0};
};

struct cMaterial {
  std::string name;
  bool smooth = true;
  float smoothAngle = 1.0471976f;  // radians
  cTextureSlot slots[kTextureSlots];  // diffuse, specular, bump
  // A node setup read from an LWO surface, written back unchanged.
  std::vector<uint8_t> lwoNodes;
};

struct cObject {
  std::string name;
  float transform[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
};

class cMesh {
 public:
  std::vector<cMorph> morphs;
  std::string name;
  std::vector<cMeshVec3> positions;
  std::vector<cMeshVec2> uvs;
  std::vector<cMeshVec3> normals;
  std::vector<std::string> surfaces;
  std::vector<int> spare;
  std::vector<cPolyCell> polygons;
  std::vector<cMaterial> materials;
  std::vector<cObject> objects;

  // Low 16 bits: material; high 16 bits: surface.
  static int PackMaterial(int material, int surface) {
    return (int)(((uint32_t)material & 0xffff) | ((uint32_t)surface << 16));
  }
  static int MaterialOf(int packed) { return (int)((uint32_t)packed & 0xffff); }
  static int SurfaceOf(int packed) { return (int)((uint32_t)packed >> 16); }

  void BeginPolygon(int count, int material, int object) {
    polygons.push_back({count, PackMaterial(material, 0), object});
  }
  void AddCorner(int position, int uv, int normal) { polygons.push_back({position, uv, normal}); }

  // Calls f(headerIndex, header, corners) for each polygon.
  template <class F>
  void ForEachPolygon(F&& f) const {
    size_t i = 0;
    while (i < polygons.size()) {
      const cPolyCell& h = polygons[i];
      f(i, h, &polygons[i + 1]);
      i += (size_t)h.a + 1;
    }
  }
  int PolygonCount() const {
    int n = 0;
    ForEachPolygon([&](size_t, const cPolyCell&, const cPolyCell*) { n++; });
    return n;
  }

  int FindMaterial(const std::string& n) const {
    for (size_t i = 0; i < materials.size(); i++)
      if (materials[i].name == n) return (int)i;
    return -1;
  }
  int AddMaterial(const std::string& n) {
    materials.emplace_back();
    materials.back().name = n;
    return (int)materials.size() - 1;
  }
  int FindObject(const std::string& n) const {
    for (size_t i = 0; i < objects.size(); i++)
      if (objects[i].name == n) return (int)i;
    return -1;
  }
  int AddObject(const std::string& n) {
    objects.emplace_back();
    objects.back().name = n;
    return (int)objects.size() - 1;
  }

  // True when every polygon's cells lie inside the list and every index is -1
  // or inside its list. Codecs of hostile files are checked with this before a
  // mesh reaches the program.
  bool IsConsistent() const {
    size_t i = 0;
    const long np = (long)positions.size(), nt = (long)uvs.size(), nn = (long)normals.size();
    while (i < polygons.size()) {
      const cPolyCell& h = polygons[i];
      if (h.a < 0 || (size_t)h.a > polygons.size() - i - 1) return false;
      int m = MaterialOf(h.b);
      if (m >= (int)materials.size() && !(materials.empty() && m == 0)) return false;
      if (h.c < -1 || h.c >= (int)objects.size()) return false;
      for (int k = 1; k <= h.a; k++) {
        const cPolyCell& c = polygons[i + k];
        if (c.a < 0 || c.a >= np) return false;
        if (c.b < -1 || c.b >= nt) return false;
        if (c.c < -1 || c.c >= nn) return false;
      }
      i += (size_t)h.a + 1;
    }
    for (const cMorph& m : morphs)
      if (m.offsets.size() != positions.size()) return false;
    return true;
  }
};

}  // namespace comms
