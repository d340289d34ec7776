// Fuzz target: arbitrary bytes through the FBX mesh codec and the mesh check.
#include <cstddef>
#include <cstdint>
#include <memory>

#include "interchange/MeshIO.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::unique_ptr<comms::cMesh> mesh(comms::cMeshIO::DecodeBuffer("fbx", data, size, "/nonexistent/fuzz.fbx"));
  if (mesh && !mesh->IsConsistent()) __builtin_trap();  // a mesh that reaches the program is whole
  return 0;
}
