// The model, animation and camera codecs of cIO, beside its image codecs:
// registries by extension, each load going through the codec of the file's
// extension with the messages "Can't load model file", "Can't decode model
// file" and "Loaded model file" (and the same for "animation" and
// "camera"). The program registers none of its own; a module or a tool may.
#pragma once
#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "interchange/Mesh.h"

namespace comms {

// Keys of one animated node: times in seconds, with a position and a
// rotation (x, y, z, w) at each.
struct cAnimTrack {
  std::string node;
  std::vector<float> times;
  std::vector<cMeshVec3> positions;
  std::vector<std::array<float, 4>> rotations;
};

struct cAnimation {
  std::string name;
  float duration = 0;
  std::vector<cAnimTrack> tracks;
};

// A camera as a scene file places it; `fov` in degrees.
struct cCameraShot {
  std::string name;
  cMeshVec3 position{0, 0, 0}, target{0, 0, -1};
  float fov = 45;
};

// One codec family: decodes a file's bytes into T and may encode it back.
template <class T>
class cSceneCodec {
 public:
  virtual ~cSceneCodec() = default;
  virtual bool CanEncode() const { return false; }
  virtual bool Decode(const std::vector<uint8_t>& buffer, T& out) = 0;
  virtual bool Encode(const T&, std::vector<uint8_t>&) { return false; }
};

using cModelCodec = cSceneCodec<cMesh>;
using cAnimCodec = cSceneCodec<cAnimation>;
using cCameraCodec = cSceneCodec<cCameraShot>;

class cSceneCodecs {
 public:
  // False when the name exists (case ignored) or is empty; otherwise the
  // registry owns the codec and logs "Added \"%s\" model decoder." (or
  // "animation decoder", "camera decoder").
  static bool AddModelCodec(const char* name, cModelCodec* codec);
  static bool AddAnimCodec(const char* name, cAnimCodec* codec);
  static bool AddCameraCodec(const char* name, cCameraCodec* codec);

  static cModelCodec* FindModelCodec(std::string_view extension);
  static cAnimCodec* FindAnimCodec(std::string_view extension);
  static cCameraCodec* FindCameraCodec(std::string_view extension);

  // Read through cIO::ReadFile and decoded by the codec of the extension;
  // `out` is left as it was on failure.
  static bool LoadModel(const std::string& name, cMesh& out);
  static bool LoadAnimation(const std::string& name, cAnimation& out);
  static bool LoadCamera(const std::string& name, cCameraShot& out);
};

}  // namespace comms
