// FBX meshes, read through Assimp: every node with meshes becomes an object,
// positions go through the node's global transform, materials come by name
// with their diffuse texture. Assimp gives each polygon corner a vertex of
// its own; the corners of one node that share a position are joined again,
// so that the mesh has the file's control points and its faces stay
// connected. UVs and normals are deduplicated by value. Assimp runs in a
// child process: on some damaged files it corrupts memory, and then only
// the child ends; the mesh comes back field by field through a pipe.
// Writing FBX isn't offered.
#include <assimp/Importer.hpp>
#include <assimp/scene.h>

#include <cstring>
#include <memory>
#include <unordered_map>
#include <vector>

#include "ClassEngine/Log.h"
#include "interchange/ChildProcess.h"
#include "interchange/MeshCodecs.h"
#include "interchange/TextUtil.h"

namespace comms {

namespace {

template <class V>
struct ValueHash {
  size_t operator()(const V& v) const {
    uint32_t w[sizeof(V) / 4];
    std::memcpy(w, &v, sizeof(V));
    size_t h = 1469598103934665603ull;
    for (uint32_t x : w) h = (h ^ x) * 1099511628211ull;
    return h;
  }
};
template <class V>
struct ValueEq {
  bool operator()(const V& a, const V& b) const { return std::memcmp(&a, &b, sizeof(V)) == 0; }
};

struct FbxBuild {
  FbxBuild(cMesh& m, const aiScene* s) : mesh(m), scene(s), materialOf(s->mNumMaterials, -1) {}
  cMesh& mesh;
  const aiScene* scene;
  std::unordered_map<cMeshVec2, int, ValueHash<cMeshVec2>, ValueEq<cMeshVec2>> uvIndex;
  std::unordered_map<cMeshVec3, int, ValueHash<cMeshVec3>, ValueEq<cMeshVec3>> normalIndex;
  std::vector<int> materialOf;  // scene material -> mesh material

  int Uv(cMeshVec2 v) {
    auto [it, fresh] = uvIndex.emplace(v, (int)mesh.uvs.size());
    if (fresh) mesh.uvs.push_back(v);
    return it->second;
  }
  // The position of this node at exactly these coordinates, added if new.
  int Position(cMeshVec3 v, std::unordered_map<cMeshVec3, int, ValueHash<cMeshVec3>, ValueEq<cMeshVec3>>& index) {
    auto [it, fresh] = index.emplace(v, (int)mesh.positions.size());
    if (fresh) mesh.positions.push_back(v);
    return it->second;
  }
  int Normal(cMeshVec3 v) {
    auto [it, fresh] = normalIndex.emplace(v, (int)mesh.normals.size());
    if (fresh) mesh.normals.push_back(v);
    return it->second;
  }
  int Material(unsigned index) {
    if (index >= scene->mNumMaterials) return 0;
    if (materialOf[index] >= 0) return materialOf[index];
    const aiMaterial* m = scene->mMaterials[index];
    aiString name;
    m->Get(AI_MATKEY_NAME, name);
    std::string n = name.length ? name.C_Str() : FormatC("material%u", index);
    int found = mesh.FindMaterial(n);
    if (found < 0) {
      found = mesh.AddMaterial(n);
      aiString tex;
      if (m->GetTexture(aiTextureType_DIFFUSE, 0, &tex) == AI_SUCCESS && tex.length)
        mesh.materials[found].slots[kDiffuseSlot].path = tex.C_Str();
    }
    materialOf[index] = found;
    return found;
  }

  void Walk(const aiNode* node, const aiMatrix4x4& parent) {
    aiMatrix4x4 global = parent * node->mTransformation;
    if (node->mNumMeshes) {
      int object = mesh.AddObject(node->mName.C_Str());
      aiMatrix3x3 turn(global);
      turn.Inverse().Transpose();
      // Across the node's meshes: Assimp splits one geometry by material.
      std::unordered_map<cMeshVec3, int, ValueHash<cMeshVec3>, ValueEq<cMeshVec3>> positionIndex;
      std::vector<int> positionOf;
      for (unsigned i = 0; i < node->mNumMeshes; i++) {
        const aiMesh* am = scene->mMeshes[node->mMeshes[i]];
        positionOf.resize(am->mNumVertices);
        for (unsigned v = 0; v < am->mNumVertices; v++) {
          aiVector3D p = global * am->mVertices[v];
          positionOf[v] = Position({p.x + 0.0f, p.y + 0.0f, p.z + 0.0f}, positionIndex);  // -0 joins +0
        }
        int material = Material(am->mMaterialIndex);
        for (unsigned f = 0; f < am->mNumFaces; f++) {
          const aiFace& face = am->mFaces[f];
          if (face.mNumIndices < 3) continue;
          mesh.BeginPolygon((int)face.mNumIndices, material, object);
          for (unsigned k = 0; k < face.mNumIndices; k++) {
            unsigned v = face.mIndices[k];
            int uv = -1, nr = -1;
            if (am->mTextureCoords[0]) uv = Uv({am->mTextureCoords[0][v].x, am->mTextureCoords[0][v].y});
            if (am->mNormals) {
              aiVector3D n = turn * am->mNormals[v];
              n.Normalize();
              nr = Normal({n.x, n.y, n.z});
            }
            mesh.AddCorner(v < positionOf.size() ? positionOf[v] : 0x7fffffff, uv, nr);
          }
        }
      }
    }
    for (unsigned c = 0; c < node->mNumChildren; c++) Walk(node->mChildren[c], global);
  }
};

}  // namespace

namespace {

// The mesh as bytes, field by field, for the trip from the child.
class MeshBytes {
 public:
  std::vector<uint8_t> bytes;

  template <class T>
  void Put(const T& value) {
    const uint8_t* p = (const uint8_t*)&value;
    bytes.insert(bytes.end(), p, p + sizeof(T));
  }
  void PutText(const std::string& text) {
    Put((uint32_t)text.size());
    bytes.insert(bytes.end(), text.begin(), text.end());
  }
  template <class T>
  void PutList(const std::vector<T>& list) {  // T: plain floats and ints
    Put((uint32_t)list.size());
    for (const T& v : list) Put(v);
  }
  void PutMesh(const cMesh& mesh) {
    PutText(mesh.name);
    PutList(mesh.positions);
    PutList(mesh.uvs);
    PutList(mesh.normals);
    PutList(mesh.polygons);
    Put((uint32_t)mesh.materials.size());
    for (const cMaterial& m : mesh.materials) {
      PutText(m.name);
      PutText(m.slots[kDiffuseSlot].path);
    }
    Put((uint32_t)mesh.objects.size());
    for (const cObject& o : mesh.objects) PutText(o.name);
  }
};

class MeshBytesReader {
 public:
  explicit MeshBytesReader(const std::vector<uint8_t>& b) : bytes_(b) {}
  template <class T>
  bool Get(T& value) {
    if (sizeof(T) > bytes_.size() - at_) return false;
    std::memcpy((void*)&value, bytes_.data() + at_, sizeof(T));
    at_ += sizeof(T);
    return true;
  }
  bool GetText(std::string& text) {
    uint32_t n = 0;
    if (!Get(n) || n > bytes_.size() - at_) return false;
    text.assign((const char*)bytes_.data() + at_, n);
    at_ += n;
    return true;
  }
  // A count that the bytes left can hold, each item at least `least` bytes.
  bool GetCount(uint32_t& n, size_t least) { return Get(n) && (uint64_t)n * least <= bytes_.size() - at_; }
  template <class T>
  bool GetList(std::vector<T>& list) {
    uint32_t n = 0;
    if (!GetCount(n, sizeof(T))) return false;
    list.resize(n);
    for (T& v : list) Get(v);
    return true;
  }
  bool GetMesh(cMesh& mesh) {
    uint32_t n = 0;
    if (!GetText(mesh.name) || !GetList(mesh.positions) || !GetList(mesh.uvs) || !GetList(mesh.normals) ||
        !GetList(mesh.polygons) || !GetCount(n, 8))
      return false;
    mesh.materials.resize(n);
    for (cMaterial& m : mesh.materials)
      if (!GetText(m.name) || !GetText(m.slots[kDiffuseSlot].path)) return false;
    if (!GetCount(n, 4)) return false;
    mesh.objects.resize(n);
    for (cObject& o : mesh.objects)
      if (!GetText(o.name)) return false;
    return at_ == bytes_.size();
  }

 private:
  const std::vector<uint8_t>& bytes_;
  size_t at_ = 0;
};

// In the child: Assimp reads the file; the answer is 1 and the mesh, or 0
// and Assimp's reason.
std::vector<uint8_t> ReadWithAssimp(cMeshFile& source) {
  MeshBytes out;
  Assimp::Importer importer;
  const aiScene* scene = importer.ReadFileFromMemory(source.Data(), (size_t)source.Size(), 0, "fbx");
  if (!scene || !scene->mRootNode) {
    out.Put((uint8_t)0);
    out.PutText(importer.GetErrorString());
    return out.bytes;
  }
  cMesh mesh;
  mesh.name = StripExtension(FileNameOf(source.Path()));
  FbxBuild build(mesh, scene);
  build.Walk(scene->mRootNode, aiMatrix4x4());
  out.Put((uint8_t)1);
  out.PutMesh(mesh);
  return out.bytes;
}

}  // namespace

cMesh* cMeshFbx::Decode(cMeshFile& source) {
  std::vector<uint8_t> answer;
  std::string why;
  if (!RunInChild([&] { return ReadWithAssimp(source); }, answer, why)) {
    Log("cMeshFbx::Decode(): The FBX reader failed on \"%s\" (%s): the file is damaged.", source.Path().c_str(),
        why.c_str());
    return nullptr;
  }
  MeshBytesReader in(answer);
  uint8_t ok = 0;
  std::string error;
  if (!in.Get(ok) || !ok) {
    in.GetText(error);
    Log("cMeshFbx::Decode(): Can't read \"%s\": %s.", source.Path().c_str(), error.c_str());
    return nullptr;
  }
  auto mesh = std::make_unique<cMesh>();
  if (!in.GetMesh(*mesh)) {
    Log("cMeshFbx::Decode(): The FBX reader's answer for \"%s\" is cut short.", source.Path().c_str());
    return nullptr;
  }
  if (mesh->materials.empty()) mesh->AddMaterial("default");
  if (mesh->objects.empty()) mesh->AddObject("default");
  return mesh.release();
}

void cMeshFbx::Encode(const cMesh&, cMeshFile&) {}

}  // namespace comms
