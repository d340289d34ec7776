// STL, text and binary. Corners are welded as they arrive through a spatial
// hash, so a large binary file loads in linear time; in a binary file the
// corners met again are found first, by their exact bits, in bulk.
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

// For each corner of a list, the first corner with the same bits. A corner
// met again goes where its first twin went: the positions added since then
// come later in the list, so the earliest within the tolerance is still the
// same one. The corners are spread into buckets by a hash of their bits (two
// passes over the list), and each bucket, small enough for the cache, is
// matched through a little open-addressed table.
bool IsFinite(const cMeshVec3& p) { return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z); }

// Corner c of the triangles of a binary STL, read where it lies in the file
// (50 bytes a triangle: the normal, three corners, two spare bytes).
cMeshVec3 CornerOf(const uint8_t* triangles, size_t c) {
  float f[3];  // little-endian floats, as on every machine we run on
  std::memcpy(f, triangles + (c / 3) * 50 + 12 + (c % 3) * 12, 12);
  return {f[0], f[1], f[2]};
}

uint64_t HashOfCorner(const uint8_t* triangles, size_t c) {
  uint32_t k[3];
  std::memcpy(k, triangles + (c / 3) * 50 + 12 + (c % 3) * 12, 12);
  const uint64_t h = (uint64_t)k[0] * 0x9e3779b97f4a7c15ull ^ (uint64_t)k[1] * 0xc2b2ae3d27d4eb4full ^
                     (uint64_t)k[2] * 0x165667b19e3779f9ull;
  return h ^ (h >> 31);
}

std::unique_ptr<uint32_t[]> FirstTwins(const uint8_t* triangles, size_t n) {
  struct Entry {
    uint64_t hash;
    uint32_t key[3];
    uint32_t corner;
  };
  int bits = 0;
  // About 2048 corners a bucket: few enough buckets for the spreading pass to
  // write to, and a bucket's table still fits the first-level cache.
  while (bits < 20 && ((size_t)1 << bits) * 2048 < n) bits++;
  const size_t buckets = (size_t)1 << bits;
  std::vector<uint32_t> start(buckets + 1, 0);
  for (size_t c = 0; c < n; c++) start[(HashOfCorner(triangles, c) >> 40) & (buckets - 1)]++;
  uint32_t sum = 0;
  for (size_t b = 0; b <= buckets; b++) {
    const uint32_t here = start[b];
    start[b] = sum;
    sum += here;
  }
  // The corners by bucket, in their order within each, with what the match
  // needs (left uninitialised: every entry is written).
  std::unique_ptr<Entry[]> entries(new Entry[n]);
  std::vector<uint32_t> fill(start.begin(), start.end() - 1);
  for (size_t c = 0; c < n; c++) {
    const uint64_t hash = HashOfCorner(triangles, c);
    Entry& e = entries[fill[(hash >> 40) & (buckets - 1)]++];
    e.hash = hash;
    std::memcpy(e.key, triangles + (c / 3) * 50 + 12 + (c % 3) * 12, 12);
    e.corner = (uint32_t)c;
  }
  std::unique_ptr<uint32_t[]> first(new uint32_t[n]);
  std::vector<uint32_t> table;
  for (size_t b = 0; b < buckets; b++) {
    const uint32_t from = start[b], to = start[b + 1];
    size_t size = 16;
    while (size < 2 * (size_t)(to - from)) size *= 2;
    table.assign(size, UINT32_MAX);
    for (uint32_t at = from; at < to; at++) {
      const Entry& e = entries[at];
      size_t slot = e.hash & (size - 1);
      while (table[slot] != UINT32_MAX && std::memcmp(entries[table[slot]].key, e.key, 12) != 0)
        slot = (slot + 1) & (size - 1);
      if (table[slot] == UINT32_MAX) table[slot] = at;
      first[e.corner] = entries[table[slot]].corner;
    }
  }
  return first;
}

// Keeps the first position that falls within the tolerance of a new corner.
// Positions hang in chains from the cells of an open-addressed grid; a
// neighbouring cell is searched only along the axes where the corner lies
// within the tolerance of its cell's side, so most corners look at one cell.
class Welder {
 public:
  explicit Welder(std::vector<cMeshVec3>& positions) : positions_(positions) { Grow(1024); }
  // Room for about `count` positions without growing.
  void Reserve(size_t count) {
    size_t size = slots_.size();
    while (size < count * 2) size *= 2;
    if (size > slots_.size()) Grow(size);
  }
  int Add(const cMeshVec3& p) {
    if (!IsFinite(p)) return Append(p, 0, 0, 0);
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
    return first >= 0 ? first : Append(p, cell[0], cell[1], cell[2]);
  }
  // Asks the cache for the grid slots that Add will search for `p` soon: the
  // search spends most of its time waiting for memory.
  void Prefetch(const cMeshVec3& p) const {
    if (!IsFinite(p)) return;
    int32_t cell[3];
    int lo[3], hi[3];
    Cells(p, cell, lo, hi);
    for (int dx = lo[0]; dx <= hi[0]; dx++)
      for (int dy = lo[1]; dy <= hi[1]; dy++)
        for (int dz = lo[2]; dz <= hi[2]; dz++)
          __builtin_prefetch(&slots_[Hash(cell[0] + dx, cell[1] + dy, cell[2] + dz) & (slots_.size() - 1)]);
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
  // Mixed well in the low bits that pick the slot: neighbouring cells must
  // not run into one long probe sequence.
  static size_t Hash(int32_t x, int32_t y, int32_t z) {
    uint64_t h = (uint64_t)(uint32_t)x * 0x9e3779b97f4a7c15ull ^ (uint64_t)(uint32_t)y * 0xc2b2ae3d27d4eb4full ^
                 (uint64_t)(uint32_t)z * 0x165667b19e3779f9ull;
    return (size_t)(h ^ (h >> 32));
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
    // Corners met before take their first twin's position; only the first
    // of each goes through the spatial search. `first` then keeps, corner by
    // corner, the position each went to.
    const uint8_t* triangles = source.Data() + 84;
    const size_t corners = (size_t)count * 3;
    std::unique_ptr<uint32_t[]> first = FirstTwins(triangles, corners);
    size_t ahead = 0;  // corners before `ahead` have had their grid slots fetched
    int waiting = 0;   // new corners among them not welded yet
    for (size_t c = 0; c < corners; c++) {
      for (; waiting < 16 && ahead < corners; ahead++)
        if (first[ahead] == ahead) {
          weld.Prefetch(CornerOf(triangles, ahead));
          waiting++;
        }
      const uint32_t twin = first[c];
      if (twin == c) waiting--;
      const cMeshVec3 p = CornerOf(triangles, c);
      // A corner that isn't finite is a position of its own, as in the search.
      const int position = twin == c || !IsFinite(p) ? weld.Add(p) : (int)first[twin];
      first[c] = (uint32_t)position;
      if (c % 3 == 0) mesh->BeginPolygon(3, material, object);
      mesh->AddCorner(position, -1, -1);
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
