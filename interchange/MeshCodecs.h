// The five built-in mesh codecs: OBJ with MTL, LWO2, FBX (read only), STL and
// PLY. Each is stateless between calls but for its reused line buffers.
#pragma once
#include <string_view>
#include <vector>

#include "interchange/MeshIO.h"

namespace comms {

class cMeshObj : public cMeshCodec {
 public:
  cMesh* Decode(cMeshFile& source) override;
  void Encode(const cMesh& mesh, cMeshFile& target) override;

 private:
  std::vector<std::string_view> tokens_;
};

class cMeshStl : public cMeshCodec {
 public:
  cMesh* Decode(cMeshFile& source) override;
  void Encode(const cMesh& mesh, cMeshFile& target) override;

 private:
  std::vector<std::string_view> tokens_;
};

class cMeshPly : public cMeshCodec {
 public:
  cMesh* Decode(cMeshFile& source) override;
  void Encode(const cMesh& mesh, cMeshFile& target) override;
};

class cMeshLwo : public cMeshCodec {
 public:
  cMesh* Decode(cMeshFile& source) override;
  void Encode(const cMesh& mesh, cMeshFile& target) override;
  // Export option: polygons as subdivision patches ("PTCH") instead of "FACE".
  static bool m_UseLwoSubpatch;
};

class cMeshFbx : public cMeshCodec {
 public:
  cMesh* Decode(cMeshFile& source) override;
  void Encode(const cMesh& mesh, cMeshFile& target) override;
  bool CanEncode() override { return false; }
};

// Writes a side file of a codec (an OBJ's .mtl or morph files).
bool WriteSideFile(const std::string& path, const std::string& bytes);

}  // namespace comms
