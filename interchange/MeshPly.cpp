// PLY: ascii and binary of either byte order in, binary little-endian out.
// The header is read into elements and typed properties, so extra vertex
// properties, extra elements and the type names real files use ("float32",
// "uint8", "int32", ...) are all stepped over correctly.
#include <cstring>
#include <memory>

#include "ClassEngine/Log.h"
#include "interchange/MeshCodecs.h"
#include "interchange/TextUtil.h"

namespace comms {

namespace {

enum class PlyType { None, I8, U8, I16, U16, I32, U32, F32, F64 };

PlyType TypeOf(std::string_view n) {
  if (n == "char" || n == "int8") return PlyType::I8;
  if (n == "uchar" || n == "uint8") return PlyType::U8;
  if (n == "short" || n == "int16") return PlyType::I16;
  if (n == "ushort" || n == "uint16") return PlyType::U16;
  if (n == "int" || n == "int32") return PlyType::I32;
  if (n == "uint" || n == "uint32") return PlyType::U32;
  if (n == "float" || n == "float32") return PlyType::F32;
  if (n == "double" || n == "float64") return PlyType::F64;
  return PlyType::None;
}

int SizeOf(PlyType t) {
  switch (t) {
    case PlyType::I8: case PlyType::U8: return 1;
    case PlyType::I16: case PlyType::U16: return 2;
    case PlyType::I32: case PlyType::U32: case PlyType::F32: return 4;
    case PlyType::F64: return 8;
    default: return 0;
  }
}

struct PlyProperty {
  std::string name;
  PlyType type = PlyType::None;
  PlyType countType = PlyType::None;  // set for a list
};

struct PlyElement {
  std::string name;
  uint64_t count = 0;
  std::vector<PlyProperty> properties;
};

// Reads values of the body: ascii tokens or binary numbers of either order.
class PlyBody {
 public:
  PlyBody(cMeshFile& f, bool binary, bool bigEndian) : f_(f), binary_(binary), big_(bigEndian) {}
  bool Ok() const { return ok_; }
  void Fail() { ok_ = false; }
  double Value(PlyType t) {
    if (!binary_) return Token();
    uint8_t b[8] = {};
    int n = SizeOf(t);
    if (f_.Read(b, n) != n) ok_ = false;
    if (big_)
      for (int i = 0; i < n / 2; i++) std::swap(b[i], b[n - 1 - i]);
    switch (t) {
      case PlyType::I8: return (int8_t)b[0];
      case PlyType::U8: return b[0];
      case PlyType::I16: { int16_t v; std::memcpy(&v, b, 2); return v; }
      case PlyType::U16: { uint16_t v; std::memcpy(&v, b, 2); return v; }
      case PlyType::I32: { int32_t v; std::memcpy(&v, b, 4); return v; }
      case PlyType::U32: { uint32_t v; std::memcpy(&v, b, 4); return v; }
      case PlyType::F32: { float v; std::memcpy(&v, b, 4); return v; }
      case PlyType::F64: { double v; std::memcpy(&v, b, 8); return v; }
      default: ok_ = false; return 0;
    }
  }
  // Skips `n` values of a fixed type without looking at them.
  void Skip(PlyType t, uint64_t n) {
    if (!binary_) {
      for (uint64_t i = 0; i < n && ok_; i++) Token();
      return;
    }
    if (n > (uint64_t)f_.Left()) {
      ok_ = false;
      return;
    }
    uint64_t bytes = n * SizeOf(t);
    if (bytes > (uint64_t)f_.Left()) ok_ = false;
    else f_.Seek(f_.Pos() + (int64_t)bytes);
  }

 private:
  double Token() {
    const uint8_t* d = f_.Data();
    int64_t i = f_.Pos(), n = f_.Size();
    while (i < n && (d[i] == ' ' || d[i] == '\t' || d[i] == '\r' || d[i] == '\n')) i++;
    int64_t s = i;
    while (i < n && !(d[i] == ' ' || d[i] == '\t' || d[i] == '\r' || d[i] == '\n')) i++;
    f_.Seek(i);
    double v = 0;
    if (i == s || !ParseDouble(std::string_view((const char*)d + s, (size_t)(i - s)), v)) ok_ = false;
    return v;
  }
  cMeshFile& f_;
  bool binary_, big_;
  bool ok_ = true;
};

}  // namespace

cMesh* cMeshPly::Decode(cMeshFile& source) {
  std::string_view line;
  source.Seek(0);
  source.ReadLine(line, 256, "\n");
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  if (line != "ply") {
    Log("cMeshPly::DecodePly(): The file doesn't start with \"ply\".");
    return nullptr;
  }
  bool binary = false, bigEndian = false, ended = false;
  std::vector<PlyElement> elements;
  std::vector<std::string_view> tokens;
  while (source.Left() > 0 && !ended) {
    source.ReadLine(line, source.Left(), "\n");
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    SplitTokens(line, tokens);
    if (tokens.empty()) continue;
    if (tokens[0] == "end_header") {
      ended = true;
    } else if (tokens[0] == "format" && tokens.size() >= 2) {
      binary = tokens[1] == "binary_big_endian" || tokens[1] == "binary_little_endian";
      bigEndian = tokens[1] == "binary_big_endian";
    } else if (tokens[0] == "element" && tokens.size() >= 3) {
      long long count = 0;
      if (!ParseInt(tokens[2], count) || count < 0) {
        Log("cMeshPly::DecodePly(): Bad element count: \"%.*s\".", (int)line.size(), line.data());
        return nullptr;
      }
      elements.push_back({std::string(tokens[1]), (uint64_t)count, {}});
    } else if (tokens[0] == "property" && tokens.size() >= 3 && !elements.empty()) {
      PlyProperty p;
      if (tokens[1] == "list" && tokens.size() >= 5) {
        p.countType = TypeOf(tokens[2]);
        p.type = TypeOf(tokens[3]);
        p.name = std::string(tokens[4]);
        if (p.countType == PlyType::None || p.countType == PlyType::F32 || p.countType == PlyType::F64) p.type = PlyType::None;
      } else {
        p.type = TypeOf(tokens[1]);
        p.name = std::string(tokens[2]);
      }
      if (p.type == PlyType::None) {
        Log("cMeshPly::DecodePly(): Unknown property type: \"%.*s\".", (int)line.size(), line.data());
        return nullptr;
      }
      elements.back().properties.push_back(p);
    }
  }
  int xyz[3] = {-1, -1, -1};
  for (const PlyElement& e : elements) {
    if (e.name != "vertex") continue;
    for (size_t i = 0; i < e.properties.size(); i++) {
      const PlyProperty& p = e.properties[i];
      bool real = p.countType == PlyType::None && (p.type == PlyType::F32 || p.type == PlyType::F64);
      if (real && p.name == "x") xyz[0] = (int)i;
      if (real && p.name == "y") xyz[1] = (int)i;
      if (real && p.name == "z") xyz[2] = (int)i;
    }
  }
  if (!ended || xyz[0] < 0 || xyz[1] < 0 || xyz[2] < 0) {
    Log("cMeshPly::DecodePly(): The vertex element has no x, y and z.");
    return nullptr;
  }
  auto mesh = std::make_unique<cMesh>();
  mesh->name = StripExtension(FileNameOf(source.Path()));
  int material = mesh->AddMaterial("plyMaterial");
  int object = mesh->AddObject("plyObject");
  PlyBody body(source, binary, bigEndian);
  for (const PlyElement& e : elements) {
    // Every item takes at least one byte: a larger count can't be in the file.
    if (e.count > (uint64_t)source.Left()) {
      Log("cMeshPly::DecodePly(): The file is shorter than its %llu \"%s\" items.", (unsigned long long)e.count,
          e.name.c_str());
      return nullptr;
    }
    const bool vertex = e.name == "vertex", face = e.name == "face";
    if (vertex) mesh->positions.reserve(mesh->positions.size() + e.count);
    for (uint64_t i = 0; i < e.count && body.Ok(); i++) {
      cMeshVec3 p;
      bool faceDone = false;
      for (size_t k = 0; k < e.properties.size(); k++) {
        const PlyProperty& prop = e.properties[k];
        if (prop.countType != PlyType::None) {
          double n = body.Value(prop.countType);
          if (n < 0 || n > (double)source.Left()) {
            body.Fail();
            break;
          }
          uint64_t corners = (uint64_t)n;
          if (face && !faceDone && (prop.name == "vertex_indices" || prop.name == "vertex_index")) {
            faceDone = true;
            size_t header = mesh->polygons.size();
            mesh->BeginPolygon((int)corners, material, object);
            for (uint64_t c = 0; c < corners; c++) {
              double v = body.Value(prop.type);
              mesh->AddCorner(v >= 0 && v < 2147483647.0 ? (int)v : 0x7fffffff, -1, -1);
            }
            if (corners < 3) mesh->polygons.resize(header);  // points and edges aren't faces
          } else {
            body.Skip(prop.type, corners);
          }
        } else if (vertex && (int)k == xyz[0]) {
          p.x = (float)body.Value(prop.type);
        } else if (vertex && (int)k == xyz[1]) {
          p.y = (float)body.Value(prop.type);
        } else if (vertex && (int)k == xyz[2]) {
          p.z = (float)body.Value(prop.type);
        } else {
          body.Skip(prop.type, 1);
        }
      }
      if (vertex && body.Ok()) mesh->positions.push_back(p);
    }
    if (!body.Ok()) {
      Log("cMeshPly::DecodePly(): The file ends inside its \"%s\" items.", e.name.c_str());
      return nullptr;
    }
  }
  return mesh.release();
}

// A polygon of more than 255 corners doesn't fit the usual byte count: the
// file then counts corners with 32-bit integers, which readers take as well.
void cMeshPly::Encode(const cMesh& mesh, cMeshFile& target) {
  int faces = 0;
  bool wide = false;
  mesh.ForEachPolygon([&](size_t, const cPolyCell& h, const cPolyCell*) {
    faces++;
    if (h.a > 255) wide = true;
  });
  target.WriteText(FormatC(
      "ply\nformat binary_little_endian 1.0\ncomment by Morvane\nelement vertex %d\nproperty float x\n"
      "property float y\nproperty float z\nelement face %d\nproperty list %s int vertex_indices\nend_header\n",
      (int)mesh.positions.size(), faces, wide ? "int" : "uchar"));
  for (const cMeshVec3& p : mesh.positions) {
    target.WriteFloat(p.x);
    target.WriteFloat(p.y);
    target.WriteFloat(p.z);
  }
  mesh.ForEachPolygon([&](size_t, const cPolyCell& h, const cPolyCell* c) {
    if (wide) target.WriteDword((uint32_t)h.a);
    else target.WriteByte((uint8_t)h.a);
    for (int k = 0; k < h.a; k++) target.WriteDword((uint32_t)c[k].a);
  });
}

}  // namespace comms
