// cMeshIO: loads and saves polygon meshes by the file's extension. Each format
// is a cMeshCodec registered by name; the rest of the program only calls
// LoadMesh and SaveMesh. Loadable codec modules are shared objects in
// "Plugins/MeshCodecs/" exporting the three C entry points below.
#pragma once
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "interchange/Mesh.h"
#include "interchange/MeshFile.h"

namespace comms {

class cMeshCodec {
 public:
  virtual ~cMeshCodec() = default;
  // A new mesh owned by the caller, or null.
  virtual cMesh* Decode(cMeshFile& source) = 0;
  virtual void Encode(const cMesh& mesh, cMeshFile& target) = 0;
  virtual bool CanEncode() { return true; }
  virtual bool CanDecode() { return true; }
};

class cMeshIO {
 public:
  // A new mesh owned by the caller, or null (the reason is logged).
  static cMesh* LoadMesh(const char* path);
  static bool SaveMesh(cMesh& mesh, const char* path);
  // Decodes bytes already in memory as the codec of `extension` would; the
  // mesh is checked for indices out of range. Used by LoadMesh and fuzzing.
  static cMesh* DecodeBuffer(const char* extension, const uint8_t* data, size_t size,
                             const std::string& path = "memory");

  // False when a codec of that name (case ignored) exists. The registry does
  // not own `codec`.
  static bool AddCodec(const char* name, cMeshCodec* codec);
  static int CodecCount();
  static const char* CodecName(int index);
  static bool CanEncode(int index);
  static bool CanDecode(int index);
  // "Obj - files" and "*.Obj" for a file dialog.
  static std::string FilterName(int index);
  static std::string FilterMask(int index);

  // Loads every module in `folder` and adds its codecs; returns how many codecs
  // were added. Called for "Plugins/MeshCodecs/" beside the program at start.
  static int LoadModules(const std::string& folder);

  // Export option: turn y-up files into z-up and back.
  static bool m_SwapYZ;
};

}  // namespace comms

// The entry points of a loadable codec module.
extern "C" {
typedef int (*GetNumMeshCodecsFn)();
typedef comms::cMeshCodec* (*GetMeshCodecFn)(int index);
typedef const char* (*GetMeshCodecNameFn)(int index);
}
