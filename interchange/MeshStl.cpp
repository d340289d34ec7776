// STL, text and binary. Corners are welded as they arrive through a spatial
// hash, so a large binary file loads in linear time; a corner met again a
// little earlier is answered from a small table of recent corners.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "ClassEngine/Log.h"
#include "interchange/MeshCodecs.h"
#include "interchange/TextUtil.h"

namespace comms {

namespace {

constexpr float kWeldTolerance = 0.005f;
constexpr float kCellScale = 0.25f / kWeldTolerance;  // cells of 0.02, wider than the tolerance

bool IsFinite(const cMeshVec3& p) { return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z); }

// Keeps the first position that falls within the tolerance of a new corner.
// Positions hang in chains from the cells of an open-addressed grid; a
// neighbouring cell is searched only along the axes where the corner lies
// within the tolerance of its cell's side, so most corners look at one cell.
// Cells of one 4x4x4 block sit side by side in the grid, so a file whose
// triangles come in spatial order (as meshes are written) searches memory
// that is already in the cache.
class Welder {
 public:
  explicit Welder(std::vector<cMeshVec3>& positions) : positions_(positions), recent_(kRecent) { Grow(1024); }
  // Room for about `count` positions without growing.
  void Reserve(size_t count) {
    size_t size = slots_.size();
    while (size < count * 2) size *= 2;
    if (size > slots_.size()) Grow(size);
  }
  int Add(const cMeshVec3& p) {
    if (!IsFinite(p)) return Append(p, 0, 0, 0);
    // A corner with the same bits as a recent one has the same earliest
    // position: the positions added since come later.
    uint32_t bits[3];
    std::memcpy(&bits[0], &p.x, 4);
    std::memcpy(&bits[1], &p.y, 4);
    std::memcpy(&bits[2], &p.z, 4);
    Recent& seen = recent_[RecentSlot(bits)];
    if (seen.position >= 0 && seen.bits[0] == bits[0] && seen.bits[1] == bits[1] && seen.bits[2] == bits[2])
      return seen.position;
    int32_t cell[3];
    int lo[3], hi[3];
    Cells(p, cell, lo, hi);
    int first = -1;
    for (int dx = lo[0]; dx <= hi[0]; dx++)
      for (int dy = lo[1]; dy <= hi[1]; dy++)
        for (int dz = lo[2]; dz <= hi[2]; dz++) {
          int found = Search(cell[0] + dx, cell[1] + dy, cell[2] + dz, p);
          if (found >= 0 && (first < 0 || found < first)) first = found;
        }
    if (first < 0) first = Append(p, cell[0], cell[1], cell[2]);
    seen = Recent{{bits[0], bits[1], bits[2]}, first};
    return first;
  }

 private:
  // The cell of `p`, and on each axis whether the neighbour below (lo -1) or
  // above (hi 1) lies within the tolerance.
  static void Cells(const cMeshVec3& p, int32_t cell[3], int lo[3], int hi[3]) {
    const float v[3] = {p.x, p.y, p.z};
    for (int k = 0; k < 3; k++) {
      double scaled = (double)v[k] * kCellScale;
      double c = std::floor(scaled);
      cell[k] = c < -1e9 ? (int32_t)-1e9 : c > 1e9 ? (int32_t)1e9 : (int32_t)c;  // far cells share, still exact
      double frac = (scaled - c) / kCellScale;  // distance to the cell's lower side
      lo[k] = frac <= kWeldTolerance ? -1 : 0;
      hi[k] = (1.0 / kCellScale - frac) <= kWeldTolerance ? 1 : 0;
    }
  }
  struct Slot {
    int32_t x, y, z;
    int head = -1;  // the cell's latest position; -1: an empty slot
  };
  // The block of 4x4x4 cells is mixed well, so that blocks spread over the
  // grid; the cell's place in its block picks one of 64 slots in a row.
  static size_t Hash(int32_t x, int32_t y, int32_t z) {
    uint64_t h = (uint64_t)(uint32_t)(x >> 2) * 0x9e3779b97f4a7c15ull ^
                 (uint64_t)(uint32_t)(y >> 2) * 0xc2b2ae3d27d4eb4full ^
                 (uint64_t)(uint32_t)(z >> 2) * 0x165667b19e3779f9ull;
    return (size_t)(h ^ (h >> 32)) << 6 | (size_t)((x & 3) | (y & 3) << 2 | (z & 3) << 4);
  }
  size_t Find(int32_t x, int32_t y, int32_t z) const {
    size_t i = Hash(x, y, z) & (slots_.size() - 1);
    while (slots_[i].head >= 0 && !(slots_[i].x == x && slots_[i].y == y && slots_[i].z == z))
      i = (i + 1) & (slots_.size() - 1);
    return i;
  }
  // The earliest position of the cell within the tolerance, or -1.
  int Search(int32_t x, int32_t y, int32_t z, const cMeshVec3& p) const {
    const Slot& s = slots_[Find(x, y, z)];
    int best = -1;
    for (int i = s.head; i >= 0; i = next_[i]) {
      const cMeshVec3& q = positions_[i];
      float ex = q.x - p.x, ey = q.y - p.y, ez = q.z - p.z;
      if (ex * ex + ey * ey + ez * ez <= kWeldTolerance * kWeldTolerance) best = i;  // chains run newest first
    }
    return best;
  }
  int Append(const cMeshVec3& p, int32_t x, int32_t y, int32_t z) {
    positions_.push_back(p);
    int i = (int)positions_.size() - 1;
    // Blocks are filled in part only, and a run of full slots must stay
    // short: a missing neighbour cell is searched to the run's end.
    if ((size_t)(used_ + 1) * 4 > slots_.size()) Grow(slots_.size() * 2);
    Slot& s = slots_[Find(x, y, z)];
    if (s.head < 0) {
      s.x = x, s.y = y, s.z = z;
      used_++;
    }
    next_.push_back(s.head);
    s.head = i;
    return i;
  }
  void Grow(size_t size) {
    std::vector<Slot> old = std::move(slots_);
    slots_.assign(size, Slot{});
    for (const Slot& s : old)
      if (s.head >= 0) slots_[Find(s.x, s.y, s.z)] = s;
  }
  // A corner welded lately, by its bits; position -1: an empty entry.
  struct Recent {
    uint32_t bits[3] = {0, 0, 0};
    int position = -1;
  };
  static constexpr size_t kRecent = 1 << 14;  // 256 KB: a few rows of a large mesh
  static size_t RecentSlot(const uint32_t bits[3]) {
    const uint64_t h = (uint64_t)bits[0] * 0x9e3779b97f4a7c15ull ^ (uint64_t)bits[1] * 0xc2b2ae3d27d4eb4full ^
                       (uint64_t)bits[2] * 0x165667b19e3779f9ull;
    return (size_t)(h >> 50);  // the top 14 bits
  }
  std::vector<cMeshVec3>& positions_;
  std::vector<Slot> slots_;
  std::vector<int> next_;
  std::vector<Recent> recent_;
  size_t used_ = 0;
};

}  // namespace

cMesh* cMeshStl::Decode(cMeshFile& source) {
  auto mesh = std::make_unique<cMesh>();
  mesh->name = StripExtension(FileNameOf(source.Path()));
  Welder weld(mesh->positions);
  std::string_view first;
  source.Seek(0);
  source.ReadLine(first, 80, "\r\n");
  SplitTokens(first, tokens_);
  // Many binary files also start with "solid": a size that matches the
  // triangle count exactly settles it.
  bool binary = tokens_.empty() || tokens_[0] != "solid";
  if (!binary && source.Size() >= 84) {
    const uint8_t* d = source.Data() + 80;
    uint32_t count = (uint32_t)d[0] | (uint32_t)d[1] << 8 | (uint32_t)d[2] << 16 | (uint32_t)d[3] << 24;
    if (84 + 50 * (uint64_t)count == (uint64_t)source.Size()) binary = true;
  }
  int material = mesh->AddMaterial("default");
  if (binary) {
    if (source.Size() < 84) {
      Log("cMeshStl::DecodeStl(): The file of %lld bytes is shorter than the 84-byte head of a binary STL.",
          (long long)source.Size());
      return nullptr;
    }
    int object = mesh->AddObject("default");
    source.Seek(80);
    uint32_t count = source.ReadDword();
    if ((uint64_t)count * 50 > (uint64_t)source.Left()) {
      Log("cMeshStl::DecodeStl(): The file is shorter than its %u triangles.", count);
      return nullptr;
    }
    mesh->positions.reserve(count / 2 + 3);
    weld.Reserve(count / 2 + 3);  // a closed mesh has about half as many points as triangles
    mesh->polygons.reserve((size_t)count * 4);
    // The corners are read where they lie (50 bytes a triangle: the normal,
    // three corners, two spare bytes), little-endian as on every machine we
    // run on.
    const uint8_t* triangle = source.Data() + 84;
    for (uint32_t t = 0; t < count; t++, triangle += 50) {
      mesh->BeginPolygon(3, material, object);
      for (int k = 0; k < 3; k++) {
        cMeshVec3 p;
        std::memcpy(&p.x, triangle + 12 + 12 * k, 4);
        std::memcpy(&p.y, triangle + 16 + 12 * k, 4);
        std::memcpy(&p.z, triangle + 20 + 12 * k, 4);
        mesh->AddCorner(weld.Add(p), -1, -1);
      }
    }
    return mesh.release();
  }
  source.Seek(0);
  int object = -1;
  std::vector<int> corners;
  std::string_view line;
  while (source.Left() > 0) {
    source.ReadLine(line, source.Left(), "\r\n");
    SplitTokens(line, tokens_);
    if (tokens_.empty()) continue;
    if (tokens_[0] == "solid") {
      std::string name = tokens_.size() > 1 ? std::string(line.substr(tokens_[1].data() - line.data())) : "default";
      while (!name.empty() && (name.back() == ' ' || name.back() == '\t')) name.pop_back();
      object = mesh->FindObject(name);
      if (object < 0) object = mesh->AddObject(name);
    } else if (tokens_[0] == "vertex") {
      cMeshVec3 p;
      if (tokens_.size() < 4 || !ParseFloat(tokens_[1], p.x) || !ParseFloat(tokens_[2], p.y) ||
          !ParseFloat(tokens_[3], p.z)) {
        Log("cMeshStl::DecodeStl(): Too few position coordinates: \"%.*s\".", (int)line.size(), line.data());
        return nullptr;
      }
      corners.push_back(weld.Add(p));
    } else if (tokens_[0] == "endloop") {
      if (corners.size() >= 3) {
        if (object < 0) object = mesh->AddObject("default");
        mesh->BeginPolygon((int)corners.size(), material, object);
        for (int c : corners) mesh->AddCorner(c, -1, -1);
      }
      corners.clear();
    }
  }
  if (mesh->objects.empty()) mesh->AddObject("default");
  return mesh.release();
}

namespace {
cMeshVec3 FacetNormal(const cMesh& mesh, const cPolyCell* c, int count) {
  double nx = 0, ny = 0, nz = 0;
  for (int k = 0; k < count; k++) {
    const cMeshVec3& a = mesh.positions[c[k].a];
    const cMeshVec3& b = mesh.positions[c[(k + 1) % count].a];
    const cMeshVec3& d = mesh.positions[c[(k + 2) % count].a];
    double ux = b.x - a.x, uy = b.y - a.y, uz = b.z - a.z;
    double vx = d.x - b.x, vy = d.y - b.y, vz = d.z - b.z;
    nx += uy * vz - uz * vy;
    ny += uz * vx - ux * vz;
    nz += ux * vy - uy * vx;
  }
  double len = std::sqrt(nx * nx + ny * ny + nz * nz);
  if (len <= 0) return {0, 0, 0};
  return {(float)(nx / len), (float)(ny / len), (float)(nz / len)};
}
}  // namespace

void cMeshStl::Encode(const cMesh& mesh, cMeshFile& target) {
  bool triangles = true;
  int count = 0;
  mesh.ForEachPolygon([&](size_t, const cPolyCell& h, const cPolyCell*) {
    if (h.a > 3) triangles = false;
    if (h.a == 3) count++;
  });
  if (triangles) {
    char header[80];
    std::memset(header, ' ', 80);
    const char* text = "Exported from Morvane\n";
    std::memcpy(header, text, std::strlen(text));
    target.Write(header, 80);
    target.WriteDword((uint32_t)count);
    mesh.ForEachPolygon([&](size_t, const cPolyCell& h, const cPolyCell* c) {
      if (h.a != 3) return;  // points and edges have no place in STL
      cMeshVec3 n = FacetNormal(mesh, c, 3);
      target.WriteFloat(n.x);
      target.WriteFloat(n.y);
      target.WriteFloat(n.z);
      for (int k = 0; k < 3; k++) {
        const cMeshVec3& p = mesh.positions[c[k].a];
        target.WriteFloat(p.x);
        target.WriteFloat(p.y);
        target.WriteFloat(p.z);
      }
      target.WriteWord(0);
    });
    return;
  }
  const char* name = mesh.name.empty() ? "object" : mesh.name.c_str();
  target.WriteText(FormatC("solid %s\r\n", name));
  mesh.ForEachPolygon([&](size_t, const cPolyCell& h, const cPolyCell* c) {
    if (h.a < 3) return;
    cMeshVec3 n = FacetNormal(mesh, c, h.a);
    std::string s = FormatC("facet normal %f %f %f\r\nouter loop\r\n", n.x, n.y, n.z);
    for (int k = 0; k < h.a; k++) {
      const cMeshVec3& p = mesh.positions[c[k].a];
      s += FormatC("vertex %f %f %f\r\n", p.x, p.y, p.z);
    }
    s += "endloop\r\nendfacet\r\n \r\n";
    target.WriteText(s);
  });
  target.WriteText(FormatC("endsolid %s\r\n", name));
}

}  // namespace comms
