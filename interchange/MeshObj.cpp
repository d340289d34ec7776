// OBJ with its MTL side file: decode by lines and tokens, encode with one
// group per object, new index numbers per written file, and one extra file per
// morph target.
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <unordered_map>

#include "ClassEngine/Log.h"
#include "ClassEngine/Progress.h"
#include "interchange/IO.h"
#include "interchange/MeshCodecs.h"
#include "interchange/TextUtil.h"

namespace comms {

namespace {

// Reads the .mtl named by "mtllib" once and answers diffuse-map lookups.
class MtlLookup {
 public:
  MtlLookup(const std::string& meshPath) : meshFolder_(FolderOf(meshPath)) {}
  void SetLibrary(std::string_view name) {
    while (!name.empty() && (name.back() == ' ' || name.back() == '\t')) name.remove_suffix(1);
    library_ = std::string(name);
    loaded_ = false;
  }
  std::string DiffuseMap(const std::string& material) {
    if (library_.empty()) return "";
    if (!loaded_) {
      loaded_ = true;
      std::vector<uint8_t> bytes;
      text_.clear();
      if (cIO::ReadFile(meshFolder_ + library_, bytes, false)) text_.assign(bytes.begin(), bytes.end());
    }
    std::string key = "newmtl " + material;
    size_t at = 0;
    while ((at = text_.find(key, at)) != std::string::npos) {
      size_t end = at + key.size();
      bool whole = end == text_.size() || text_[end] == '\r' || text_[end] == '\n' || text_[end] == ' ' ||
                   text_[end] == '\t';
      if (whole) break;
      at = end;
    }
    if (at == std::string::npos) return "";
    size_t next = text_.find("newmtl ", at + key.size());
    size_t map = text_.find("map_Kd ", at);
    if (map == std::string::npos || (next != std::string::npos && map > next)) return "";
    size_t start = map + 7, stop = text_.find_first_of("\r\n", start);
    std::string path = text_.substr(start, stop == std::string::npos ? std::string::npos : stop - start);
    while (!path.empty() && (path.back() == ' ' || path.back() == '\t')) path.pop_back();
    std::error_code ec;
    if (FolderOf(path).empty() || !std::filesystem::exists(cIO::ResolvePath(path), ec))
      path = meshFolder_ + FileNameOf(path);
    return path;
  }

 private:
  std::string meshFolder_, library_, text_;
  bool loaded_ = false;
};

// An index token of a corner: 1-based, negative counts back from `size`.
// Returns false for a zero or unreadable index; -1 when absent.
bool ResolveIndex(std::string_view token, long size, int& out) {
  if (token.empty()) {
    out = -1;
    return true;
  }
  long long v = 0;
  if (!ParseInt(token, v) || v == 0) return false;
  long long i = v > 0 ? v - 1 : size + v;
  out = i < 0 || i > 0x7fffffff ? 0x7fffffff : (int)i;  // out of range is caught by the mesh check
  return true;
}

}  // namespace

namespace {
// UTF-16 text: a byte-order mark, or a zero byte beside the first character.
bool IsUtf16(const cMeshFile& source) {
  if (source.Size() < 2) return false;
  const uint8_t a = source.Data()[0], b = source.Data()[1];
  return (a == 0xff && b == 0xfe) || (a == 0xfe && b == 0xff) || a == 0 || b == 0;
}
}  // namespace

cMesh* cMeshObj::Decode(cMeshFile& source) {
  if (IsUtf16(source)) {
    Log("cMeshObj::DecodeObj(): \"%s\" is UTF-16 text; OBJ files are read as 8-bit text (save it as UTF-8).",
        source.Path().c_str());
    return nullptr;
  }
  auto mesh = std::make_unique<cMesh>();
  mesh->name = StripExtension(FileNameOf(source.Path()));
  MtlLookup mtl(source.Path());
  int object = -1, material = -1;
  const bool showProgress = source.Size() > 8000000;
  int64_t nextProgress = 2000000;
  std::string_view line;
  std::vector<std::string_view> corner;
  while (source.Left() > 0) {
    source.ReadLine(line, source.Left(), "\r\n");
    if (showProgress && source.Pos() >= nextProgress) {  // in units of 256 bytes
      if (ReportProgress("READING_OBJ", source.Pos() / 256, source.Size() / 256)) {
        Log("OBJ: reading \"%s\" stopped by the user", source.Path().c_str());
        return nullptr;
      }
      nextProgress += 2000000;
    }
    size_t hash = line.find('#');
    if (hash != std::string_view::npos) line = line.substr(0, hash);
    SplitTokens(line, tokens_);
    if (tokens_.empty()) continue;
    std::string_view key = tokens_[0];
    size_t n = tokens_.size();
    if (key == "v") {
      cMeshVec3 p;
      if (n < 4 || !ParseFloat(tokens_[1], p.x) || !ParseFloat(tokens_[2], p.y) || !ParseFloat(tokens_[3], p.z)) {
        Log("cMeshObj::DecodeObj(): Too few position coordinates: \"%.*s\".", (int)line.size(), line.data());
        return nullptr;
      }
      mesh->positions.push_back(p);
    } else if (key == "vt") {
      cMeshVec2 t;
      if (n < 3 || !ParseFloat(tokens_[1], t.x) || !ParseFloat(tokens_[2], t.y)) {
        Log("cMeshObj::DecodeObj(): Too few texture coordinates: \"%.*s\".", (int)line.size(), line.data());
        return nullptr;
      }
      mesh->uvs.push_back(t);
    } else if (key == "vn") {
      cMeshVec3 v;
      if (n < 4 || !ParseFloat(tokens_[1], v.x) || !ParseFloat(tokens_[2], v.y) || !ParseFloat(tokens_[3], v.z)) {
        Log("cMeshObj::DecodeObj(): Too few normal coordinates: \"%.*s\".", (int)line.size(), line.data());
        return nullptr;
      }
      mesh->normals.push_back(v);
    } else if (key == "f") {
      if (n < 4) continue;  // a face of two corners is skipped without a word
      if (object < 0) {
        object = mesh->FindObject("default");
        if (object < 0) object = mesh->AddObject("default");
      }
      if (material < 0) {
        material = mesh->FindMaterial("default");
        if (material < 0) material = mesh->AddMaterial("default");
      }
      size_t header = mesh->polygons.size();
      mesh->BeginPolygon((int)(n - 1), material, object);
      for (size_t k = 1; k < n; k++) {
        std::string_view t = tokens_[k];
        size_t s1 = t.find('/');
        std::string_view pv = t.substr(0, s1), tv, nv;
        if (s1 != std::string_view::npos) {
          size_t s2 = t.find('/', s1 + 1);
          tv = t.substr(s1 + 1, s2 == std::string_view::npos ? std::string_view::npos : s2 - s1 - 1);
          if (s2 != std::string_view::npos) nv = t.substr(s2 + 1);
        }
        int p, uv, nr;
        if (pv.empty() || !ResolveIndex(pv, (long)mesh->positions.size(), p) ||
            !ResolveIndex(tv, (long)mesh->uvs.size(), uv) || !ResolveIndex(nv, (long)mesh->normals.size(), nr)) {
          Log("cMeshObj: Zero indices not allowed: \"%.*s\".", (int)line.size(), line.data());
          return nullptr;
        }
        mesh->AddCorner(p, uv, nr);
      }
      (void)header;
    } else if (key == "g") {
      if (n < 2) continue;
      std::string name(tokens_[1]);
      object = mesh->FindObject(name);
      if (object < 0) object = mesh->AddObject(name);
    } else if (key == "usemtl") {
      if (n < 2) continue;
      std::string name(tokens_[1]);
      material = mesh->FindMaterial(name);
      if (material < 0) {
        material = mesh->AddMaterial(name);
        mesh->materials[material].slots[kDiffuseSlot].path = mtl.DiffuseMap(name);
      }
    } else if (key == "mtllib") {
      if (n >= 2) mtl.SetLibrary(line.substr(tokens_[1].data() - line.data()));
    }
  }
  if (mesh->materials.empty()) mesh->AddMaterial("default");
  if (mesh->objects.empty()) mesh->AddObject("default");

  // Materials that share one texture become one surface.
  std::vector<std::string> distinct;
  std::vector<int> surfaceOf;
  bool shared = false;
  for (const cMaterial& m : mesh->materials) {
    const std::string& key = m.slots[kDiffuseSlot].path.empty() ? m.name : m.slots[kDiffuseSlot].path;
    auto it = std::find(distinct.begin(), distinct.end(), key);
    if (it == distinct.end()) {
      surfaceOf.push_back((int)distinct.size());
      distinct.push_back(key);
    } else {
      surfaceOf.push_back((int)(it - distinct.begin()));
      shared = true;
    }
  }
  if (shared) {
    mesh->surfaces = distinct;
    size_t i = 0;
    while (i < mesh->polygons.size()) {
      cPolyCell& h = mesh->polygons[i];
      int m = cMesh::MaterialOf(h.b);
      h.b = cMesh::PackMaterial(m, surfaceOf[m]);
      i += (size_t)h.a + 1;
    }
  }
  return mesh.release();
}

namespace {

float Finite(float v) { return std::isfinite(v) ? v : 0.0f; }

// Steps 1 to 4 of writing: header, .mtl beside it, groups with their own
// positions, UVs and normals.
std::string WriteObjText(const cMesh& mesh, const std::string& path) {
  std::string out;
  out += "# Wavefront Obj file\r\n";
  out += FormatC("# %s\r\n", mesh.name.c_str());
  out += FormatC("# verts: %d uv-s: %d\r\n", (int)mesh.positions.size(), (int)mesh.uvs.size());

  std::string mtlName = StripExtension(FileNameOf(path)) + ".mtl";
  std::string mtl;
  for (const cMaterial& m : mesh.materials) {
    mtl += "newmtl " + m.name + "\n";
    mtl += "Ns 100.000\nd 1.00000\nillum 2\nKd 1.00000 1.00000 1.00000\nKa 0.00000 0.00000 0.00000\n";
    mtl += "Ks 1.00000 1.00000 1.00000\nKe 0.00000e+0 0.00000e+0 0.00000e+0\n";
    if (!m.slots[kDiffuseSlot].path.empty()) mtl += "map_Kd " + m.slots[kDiffuseSlot].path + "\n";
    if (!m.slots[kSpecularSlot].path.empty()) mtl += "map_Ks " + m.slots[kSpecularSlot].path + "\n";
  }
  WriteSideFile(FolderOf(path) + mtlName, mtl);
  out += "mtllib " + mtlName + "\r\n";

  // Each element belongs to the first object whose polygon uses it.
  const int objects = std::max<int>(1, (int)mesh.objects.size());
  std::vector<int> ownP(mesh.positions.size(), -1), ownT(mesh.uvs.size(), -1), ownN(mesh.normals.size(), -1);
  auto objectOf = [&](const cPolyCell& h) { return h.c >= 0 && h.c < objects ? h.c : 0; };
  mesh.ForEachPolygon([&](size_t, const cPolyCell& h, const cPolyCell* c) {
    int o = objectOf(h);
    for (int k = 0; k < h.a; k++) {
      if (c[k].a >= 0 && ownP[c[k].a] < 0) ownP[c[k].a] = o;
      if (c[k].b >= 0 && ownT[c[k].b] < 0) ownT[c[k].b] = o;
      if (c[k].c >= 0 && ownN[c[k].c] < 0) ownN[c[k].c] = o;
    }
  });
  std::vector<int> newP(mesh.positions.size()), newT(mesh.uvs.size()), newN(mesh.normals.size());
  int nextP = 1, nextT = 1, nextN = 1, lastMaterial = -1;
  for (int o = 0; o < objects; o++) {
    out += FormatC("\r\ng %s\r\n", o < (int)mesh.objects.size() ? mesh.objects[o].name.c_str() : "default");
    int count = 0;
    for (size_t i = 0; i < mesh.positions.size(); i++) {
      if (ownP[i] != o) continue;
      const cMeshVec3& p = mesh.positions[i];
      out += FormatC("\r\nv %f %f %f", Finite(p.x), Finite(p.y), Finite(p.z));
      newP[i] = nextP++;
      count++;
    }
    out += FormatC("\r\n# %d positions\r\n", count);
    count = 0;
    for (size_t i = 0; i < mesh.uvs.size(); i++) {
      if (ownT[i] != o) continue;
      out += FormatC("\r\nvt %f %f", Finite(mesh.uvs[i].x), Finite(mesh.uvs[i].y));
      newT[i] = nextT++;
      count++;
    }
    out += FormatC("\r\n# %d texture coordinates\r\n", count);
    count = 0;
    for (size_t i = 0; i < mesh.normals.size(); i++) {
      if (ownN[i] != o) continue;
      cMeshVec3 v = {Finite(mesh.normals[i].x), Finite(mesh.normals[i].y), Finite(mesh.normals[i].z)};
      if (v.x == 0 && v.y == 0 && v.z == 0) v.y = 1;
      out += FormatC("\r\nvn %f %f %f", v.x, v.y, v.z);
      newN[i] = nextN++;
      count++;
    }
    out += FormatC("\r\n# %d normals\r\n", count);
    count = 0;
    mesh.ForEachPolygon([&](size_t, const cPolyCell& h, const cPolyCell* c) {
      if (objectOf(h) != o) return;
      int m = cMesh::MaterialOf(h.b);
      if (m != lastMaterial) {
        out += FormatC("\r\nusemtl %s\r\n", m < (int)mesh.materials.size() ? mesh.materials[m].name.c_str() : "default");
        lastMaterial = m;
      }
      out += "f";
      for (int k = 0; k < h.a; k++) {
        int p = newP[c[k].a];
        bool t = c[k].b >= 0, nr = c[k].c >= 0;
        if (t && nr) out += FormatC(" %d/%d/%d", p, newT[c[k].b], newN[c[k].c]);
        else if (t) out += FormatC(" %d/%d", p, newT[c[k].b]);
        else if (nr) out += FormatC(" %d//%d", p, newN[c[k].c]);
        else out += FormatC(" %d", p);
      }
      out += "\r\n";
      count++;
    });
    out += FormatC("\r\n# %d faces\r\n", count);
  }
  return out;
}

}  // namespace

void cMeshObj::Encode(const cMesh& mesh, cMeshFile& target) {
  target.WriteText(WriteObjText(mesh, target.Path()));
  if (mesh.morphs.empty()) return;
  std::string base = target.Path();
  if (base.size() > 5 && IEquals(base.substr(base.size() - 4), ".obj")) base.resize(base.size() - 4);
  cMesh moved = mesh;  // offsets are applied to a copy; the caller's mesh stays as it was
  for (const cMorph& morph : mesh.morphs) {
    for (size_t i = 0; i < moved.positions.size() && i < morph.offsets.size(); i++) {
      moved.positions[i].x = mesh.positions[i].x + morph.offsets[i].x;
      moved.positions[i].y = mesh.positions[i].y + morph.offsets[i].y;
      moved.positions[i].z = mesh.positions[i].z + morph.offsets[i].z;
    }
    std::string path = base + "_" + morph.name + ".obj";
    WriteSideFile(path, WriteObjText(moved, path));
  }
}

}  // namespace comms
