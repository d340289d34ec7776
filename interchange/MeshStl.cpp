// STL, text and binary. Corners are welded as they arrive through a spatial
// hash, so a large binary file loads in linear time.
#include <cmath>
#include <cstring>
#include <memory>

#include "ClassEngine/Log.h"
#include "interchange/MeshCodecs.h"
#include "interchange/TextUtil.h"

namespace comms {

namespace {

constexpr float kWeldTolerance = 0.005f;
constexpr float kCellScale = 0.25f / kWeldTolerance;  // cells of 0.02, wider than the tolerance

// Remembers the position each corner went to, by the corner's exact bits. A
// corner met again goes where it went the first time: the positions added
// since then come later in the list, so the earliest within the tolerance is
// still the same one. Open addressing in one flat array.
class ExactCorners {
 public:
  ExactCorners() { Grow(4096); }
  // The position of an earlier corner with these bits, or -1.
  int Find(const cMeshVec3& p, size_t& slot) const {
    uint32_t key[3];
    std::memcpy(key, &p, 12);
    slot = Hash(key) & (slots_.size() - 1);
    while (slots_[slot].index >= 0) {
      const Slot& s = slots_[slot];
      if (s.key[0] == key[0] && s.key[1] == key[1] && s.key[2] == key[2]) return s.index;
      slot = (slot + 1) & (slots_.size() - 1);
    }
    return -1;
  }
  // Stores `index` in the empty slot that Find gave.
  void Put(const cMeshVec3& p, size_t slot, int index) {
    Slot& s = slots_[slot];
    std::memcpy(s.key, &p, 12);
    s.index = index;
    if (++used_ * 2 > slots_.size()) Grow(slots_.size() * 2);
  }

 private:
  struct Slot {
    uint32_t key[3];
    int index = -1;
  };
  static size_t Hash(const uint32_t* k) {
    uint64_t h = (uint64_t)k[0] * 0x9e3779b97f4a7c15ull ^ (uint64_t)k[1] * 0xc2b2ae3d27d4eb4full ^
                 (uint64_t)k[2] * 0x165667b19e3779f9ull;
    return (size_t)(h ^ (h >> 29));
  }
  void Grow(size_t size) {
    std::vector<Slot> old = std::move(slots_);
    slots_.assign(size, Slot{});
    for (const Slot& s : old) {
      if (s.index < 0) continue;
      size_t i = Hash(s.key) & (size - 1);
      while (slots_[i].index >= 0) i = (i + 1) & (size - 1);
      slots_[i] = s;
    }
  }
  std::vector<Slot> slots_;
  size_t used_ = 0;
};

// Keeps the first position that falls within the tolerance of a new corner.
// Corners met before are answered by their exact bits; a new one searches
// the chains of positions that hang from the cells of an open-addressed grid,
// a neighbouring cell only along the axes where the corner lies within the
// tolerance of its cell's side.
class Welder {
 public:
  explicit Welder(std::vector<cMeshVec3>& positions) : positions_(positions) { Grow(1024); }
  int Add(const cMeshVec3& p) {
    if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z)) return Append(p, 0, 0, 0);
    size_t slot;
    int seen = exact_.Find(p, slot);
    if (seen >= 0) return seen;
    seen = Weld(p);
    exact_.Put(p, slot, seen);
    return seen;
  }

 private:
  int Weld(const cMeshVec3& p) {
    const float v[3] = {p.x, p.y, p.z};
    long cell[3];
    int lo[3], hi[3];
    for (int k = 0; k < 3; k++) {
      double scaled = (double)v[k] * kCellScale;
      double c = std::floor(scaled);
      cell[k] = c < -1e15 ? (long)-1e15 : c > 1e15 ? (long)1e15 : (long)c;
      double frac = (scaled - c) / kCellScale;  // distance to the cell's lower side
      lo[k] = frac <= kWeldTolerance ? -1 : 0;
      hi[k] = (1.0 / kCellScale - frac) <= kWeldTolerance ? 1 : 0;
    }
    int first = -1;
    for (int dx = lo[0]; dx <= hi[0]; dx++)
      for (int dy = lo[1]; dy <= hi[1]; dy++)
        for (int dz = lo[2]; dz <= hi[2]; dz++) {
          int found = Search(cell[0] + dx, cell[1] + dy, cell[2] + dz, p);
          if (found >= 0 && (first < 0 || found < first)) first = found;
        }
    return first >= 0 ? first : Append(p, cell[0], cell[1], cell[2]);
  }

  struct Slot {
    long x, y, z;
    int head = -1;  // the cell's latest position; -1: an empty slot
  };
  static size_t Hash(long x, long y, long z) {
    return (size_t)((uint64_t)x * 73856093u ^ (uint64_t)y * 19349663u ^ (uint64_t)z * 83492791u);
  }
  size_t Find(long x, long y, long z) const {
    size_t i = Hash(x, y, z) & (slots_.size() - 1);
    while (slots_[i].head >= 0 && !(slots_[i].x == x && slots_[i].y == y && slots_[i].z == z))
      i = (i + 1) & (slots_.size() - 1);
    return i;
  }
  // The earliest position of the cell within the tolerance, or -1.
  int Search(long x, long y, long z, const cMeshVec3& p) const {
    const Slot& s = slots_[Find(x, y, z)];
    int best = -1;
    for (int i = s.head; i >= 0; i = next_[i]) {
      const cMeshVec3& q = positions_[i];
      float ex = q.x - p.x, ey = q.y - p.y, ez = q.z - p.z;
      if (ex * ex + ey * ey + ez * ez <= kWeldTolerance * kWeldTolerance) best = i;  // chains run newest first
    }
    return best;
  }
  int Append(const cMeshVec3& p, long x, long y, long z) {
    positions_.push_back(p);
    int i = (int)positions_.size() - 1;
    if ((size_t)(used_ + 1) * 2 > slots_.size()) Grow(slots_.size() * 2);
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
  std::vector<cMeshVec3>& positions_;
  std::vector<Slot> slots_;
  std::vector<int> next_;
  size_t used_ = 0;
  ExactCorners exact_;
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
    mesh->polygons.reserve((size_t)count * 4);
    for (uint32_t t = 0; t < count; t++) {
      float f[12];
      source.Read(f, 48);  // little-endian floats, as on every machine we run on
      source.ReadWord();
      mesh->BeginPolygon(3, material, object);
      for (int k = 0; k < 3; k++) mesh->AddCorner(weld.Add({f[3 + 3 * k], f[4 + 3 * k], f[5 + 3 * k]}), -1, -1);
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
