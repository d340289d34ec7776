// The mesh codec registry and the two doors every mesh passes: LoadMesh and
// SaveMesh. The registry is built on first use: loadable modules first (so a
// module's "obj" codec wins), then the built-in codecs.
#include "interchange/MeshIO.h"

#include <dlfcn.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <mutex>
#include <vector>

#include "ClassEngine/Log.h"
#include "interchange/Guarded.h"
#include "interchange/IO.h"
#include "interchange/MeshCodecs.h"
#include "interchange/TextUtil.h"

namespace comms {

bool cMeshIO::m_SwapYZ = false;

namespace {

struct CodecEntry {
  std::string name;
  cMeshCodec* codec;
};

struct Registry {
  std::vector<CodecEntry> codecs;
  std::vector<std::unique_ptr<cMeshCodec>> builtIn;
  std::recursive_mutex lock;
};

Registry& Reg() {
  static Registry r;
  return r;
}

void StartRegistry() {
  static std::once_flag once;
  std::call_once(once, [] {
    std::string folder = cIO::ProgramFolder() + "Plugins/MeshCodecs/";
    if (std::filesystem::is_directory(folder)) cMeshIO::LoadModules(folder);
    Registry& r = Reg();
    auto add = [&](const char* name, cMeshCodec* c) {
      r.builtIn.emplace_back(c);
      cMeshIO::AddCodec(name, c);
    };
    add("Obj", new cMeshObj);
    add("Lwo", new cMeshLwo);
    add("Fbx", new cMeshFbx);
    add("Stl", new cMeshStl);
    add("Ply", new cMeshPly);
  });
}

cMeshCodec* FindCodec(const std::string& extension) {
  for (const CodecEntry& e : Reg().codecs)
    if (IEquals(e.name, extension)) return e.codec;
  return nullptr;
}

// Paths of the program's own stamps and presets are already in its axes.
bool KeepsAxes(const std::string& path) {
  return path.find("VoxStamps") != std::string::npos || path.find("ToolsPresets") != std::string::npos;
}

void TurnAxes(cMesh& mesh, bool forward) {
  auto turn = [forward](cMeshVec3& v) {
    cMeshVec3 o = v;
    v = forward ? cMeshVec3{o.y, o.z, o.x} : cMeshVec3{o.z, o.x, o.y};
  };
  for (cMeshVec3& p : mesh.positions) turn(p);
  for (cMeshVec3& n : mesh.normals) turn(n);
  for (cMorph& m : mesh.morphs)
    for (cMeshVec3& o : m.offsets) turn(o);
}

// With no surfaces from the codec, each material is its own surface.
void FillSurfaces(cMesh& mesh) {
  if (!mesh.surfaces.empty()) return;
  for (const cMaterial& m : mesh.materials) mesh.surfaces.push_back(m.name);
  size_t i = 0;
  while (i < mesh.polygons.size()) {
    cPolyCell& h = mesh.polygons[i];
    int m = cMesh::MaterialOf(h.b);
    h.b = cMesh::PackMaterial(m, m);
    i += (size_t)h.a + 1;
  }
}

}  // namespace

bool cMeshIO::AddCodec(const char* name, cMeshCodec* codec) {
  if (!name || !codec) return false;
  Registry& r = Reg();
  std::lock_guard<std::recursive_mutex> hold(r.lock);
  for (const CodecEntry& e : r.codecs)
    if (IEquals(e.name, name)) return false;
  r.codecs.push_back({name, codec});
  Log("cMeshIO::AddCodec(): Added \"%s\" mesh codec.", name);
  return true;
}

int cMeshIO::CodecCount() {
  StartRegistry();
  return (int)Reg().codecs.size();
}
const char* cMeshIO::CodecName(int index) {
  StartRegistry();
  if (index < 0 || index >= (int)Reg().codecs.size()) return nullptr;
  return Reg().codecs[index].name.c_str();
}
bool cMeshIO::CanEncode(int index) {
  StartRegistry();
  if (index < 0 || index >= (int)Reg().codecs.size()) return false;
  return Reg().codecs[index].codec->CanEncode();
}
bool cMeshIO::CanDecode(int index) {
  StartRegistry();
  if (index < 0 || index >= (int)Reg().codecs.size()) return false;
  return Reg().codecs[index].codec->CanDecode();
}
std::string cMeshIO::FilterName(int index) {
  const char* n = CodecName(index);
  return n ? FormatC("%s - files", n) : "";
}
std::string cMeshIO::FilterMask(int index) {
  const char* n = CodecName(index);
  return n ? FormatC("*.%s", n) : "";
}

int cMeshIO::LoadModules(const std::string& folder) {
  std::error_code ec;
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder, ec))
    if (entry.is_regular_file() && IEquals(entry.path().extension().string(), ".so")) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  int added = 0;
  for (const auto& file : files) {
    void* module = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!module) {
      Log("cMeshIO::LoadModules(): Can't load module \"%s\": %s.", file.c_str(), dlerror());
      continue;
    }
    auto count = (GetNumMeshCodecsFn)dlsym(module, "GetNumMeshCodecs");
    auto codec = (GetMeshCodecFn)dlsym(module, "GetMeshCodec");
    auto codecName = (GetMeshCodecNameFn)dlsym(module, "GetMeshCodecName");
    if (!count || !codec || !codecName) {  // not a codec module
      dlclose(module);
      continue;
    }
    // A module stays loaded for the program's life: its codecs live in it.
    for (int i = 0, n = count(); i < n; i++) {
      const char* name = codecName(i);
      cMeshCodec* c = codec(i);
      if (name && c && AddCodec(name, c)) added++;
    }
  }
  return added;
}

namespace {
// Runs the codec and checks what it made.
cMesh* DecodeFile(cMeshCodec* codec, cMeshFile& file) {
  cMesh* mesh = Guarded("cMeshIO::LoadMesh()", [&] { return codec->Decode(file); });
  if (mesh && !mesh->IsConsistent()) {
    Log("cMeshIO::LoadMesh(): Mesh file \"%s\" has indices out of range.", file.Path().c_str());
    delete mesh;
    return nullptr;
  }
  return mesh;
}
}  // namespace

cMesh* cMeshIO::DecodeBuffer(const char* extension, const uint8_t* data, size_t size, const std::string& path) {
  StartRegistry();
  cMeshCodec* codec = FindCodec(extension ? extension : "");
  if (!codec || !codec->CanDecode()) return nullptr;
  cMeshFile file(path, std::vector<uint8_t>(data, data + size));
  return DecodeFile(codec, file);
}


cMesh* cMeshIO::LoadMesh(const char* path) {
  StartRegistry();
  if (!path) {
    Log("cMeshIO::LoadMesh(): File name is NULL.");
    return nullptr;
  }
  std::string full = cIO::ResolvePath(path);
  std::string extension = ExtensionOf(full);
  if (extension.empty()) {
    Log("cMeshIO::LoadMesh(): File name \"%s\" has no extension.", path);
    return nullptr;
  }
  std::vector<uint8_t> bytes;
  if (!cIO::ReadFile(full, bytes, false)) {
    Log("cMeshIO::LoadMesh(): Can't open file \"%s\".", path);
    return nullptr;
  }
  if (bytes.empty()) {
    Log("cMeshIO::LoadMesh(): File \"%s\" is empty.", path);
    return nullptr;
  }
  cMeshCodec* codec = FindCodec(extension);
  if (!codec || !codec->CanDecode()) {
    Log("cMeshIO::LoadMesh(): No codec for mesh file \"%s\".", path);
    return nullptr;
  }
  cMeshFile file(full, std::move(bytes));  // the file's bytes move, they aren't copied
  cMesh* mesh = DecodeFile(codec, file);
  if (!mesh) {
    Log("cMeshIO::LoadMesh(): Can't decode mesh file \"%s\".", path);
    return nullptr;
  }
  FillSurfaces(*mesh);
  if (m_SwapYZ && !KeepsAxes(full)) TurnAxes(*mesh, true);
  Log("cMeshIO::LoadMesh(): Loaded mesh file \"%s\".", path);
  return mesh;
}

bool cMeshIO::SaveMesh(cMesh& mesh, const char* path) {
  StartRegistry();
  if (!path) {
    Log("cMeshIO::SaveMesh(): File name is NULL.");
    return false;
  }
  std::string full = cIO::ResolvePath(path);
  std::string extension = ExtensionOf(full);
  if (extension.empty()) {
    Log("cMeshIO::SaveMesh(): File name \"%s\" has no extension.", path);
    return false;
  }
  cMeshCodec* codec = FindCodec(extension);
  if (!codec || !codec->CanEncode()) {
    Log("cMeshIO::SaveMesh(): No codec for mesh file \"%s\".", path);
    return false;
  }
  cMeshFile file(full);
  if (m_SwapYZ) TurnAxes(mesh, false);
  const bool encoded = Guarded("cMeshIO::SaveMesh()", [&] {
    codec->Encode(mesh, file);
    return true;
  });
  if (m_SwapYZ) TurnAxes(mesh, true);  // the caller's mesh comes back unchanged
  if (!encoded) return false;
  return cIO::WriteFile(full, file.Data(), file.Bytes().size(), false, true);
}

bool WriteSideFile(const std::string& path, const std::string& bytes) {
  return cIO::WriteFile(path, bytes.data(), bytes.size(), false, true);
}

}  // namespace comms
