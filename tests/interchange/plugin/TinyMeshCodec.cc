// A loadable mesh codec module for the registry test: one codec, "tiny",
// whose files are a text "TRI <n>" and which decodes them to n separate
// triangles. Built as a shared object and loaded with dlopen.
#include <cstdio>

#include "interchange/MeshIO.h"

namespace {

class TinyCodec : public comms::cMeshCodec {
 public:
  comms::cMesh* Decode(comms::cMeshFile& source) override {
    std::string text((const char*)source.Data(), (size_t)source.Size());
    int n = 0;
    if (std::sscanf(text.c_str(), "TRI %d", &n) != 1 || n < 0 || n > 1000) return nullptr;
    auto* mesh = new comms::cMesh;
    int m = mesh->AddMaterial("tinyMaterial"), o = mesh->AddObject("tinyObject");
    for (int t = 0; t < n; t++) {
      mesh->BeginPolygon(3, m, o);
      for (int k = 0; k < 3; k++) {
        mesh->positions.push_back({(float)t, (float)(k == 1), (float)(k == 2)});
        mesh->AddCorner((int)mesh->positions.size() - 1, -1, -1);
      }
    }
    return mesh;
  }
  void Encode(const comms::cMesh& mesh, comms::cMeshFile& target) override {
    char line[32];
    int n = std::snprintf(line, sizeof line, "TRI %d", mesh.PolygonCount());
    target.Write(line, (size_t)n);
  }
};

TinyCodec codec;

}  // namespace

extern "C" __attribute__((visibility("default"))) int GetNumMeshCodecs() { return 1; }
extern "C" __attribute__((visibility("default"))) comms::cMeshCodec* GetMeshCodec(int index) {
  return index == 0 ? &codec : nullptr;
}
extern "C" __attribute__((visibility("default"))) const char* GetMeshCodecName(int index) {
  return index == 0 ? "tiny" : nullptr;
}
