// The three registries of model, animation and camera codecs: one template
// for the list and one for a load with its messages.
#include "interchange/SceneCodecs.h"

#include <mutex>
#include <utility>

#include "ClassEngine/Log.h"
#include "interchange/Guarded.h"
#include "interchange/IO.h"
#include "interchange/TextUtil.h"

namespace comms {

namespace {

template <class T>
struct CodecList {
  std::mutex lock;
  std::vector<std::pair<std::string, std::unique_ptr<cSceneCodec<T>>>> codecs;

  bool Add(const char* name, cSceneCodec<T>* codec, const char* kind) {
    std::unique_ptr<cSceneCodec<T>> owned(codec);
    if (!name || !*name || !codec) return false;
    std::lock_guard<std::mutex> hold(lock);
    for (const auto& entry : codecs)
      if (IEquals(entry.first, name)) return false;
    codecs.emplace_back(name, std::move(owned));
    Log("Added \"%s\" %s decoder.", name, kind);
    return true;
  }
  cSceneCodec<T>* Find(std::string_view extension) {
    std::lock_guard<std::mutex> hold(lock);
    for (const auto& entry : codecs)
      if (IEquals(entry.first, extension)) return entry.second.get();
    return nullptr;
  }
  bool Load(const std::string& name, T& out, const char* kind) {
    std::vector<uint8_t> bytes;
    if (!cIO::ReadFile(name, bytes, false)) {
      Log("Can't load %s file \"%s\"", kind, name.c_str());
      return false;
    }
    cSceneCodec<T>* codec = Find(ExtensionOf(name));
    T decoded{};
    if (!codec || !Guarded("cIO::LoadScene()", [&] { return codec->Decode(bytes, decoded); })) {
      Log("Can't decode %s file \"%s\"", kind, name.c_str());
      return false;
    }
    out = std::move(decoded);
    Log("Loaded %s file \"%s\"", kind, name.c_str());
    return true;
  }
};

CodecList<cMesh>& Models() {
  static CodecList<cMesh> list;
  return list;
}
CodecList<cAnimation>& Anims() {
  static CodecList<cAnimation> list;
  return list;
}
CodecList<cCameraShot>& Cameras() {
  static CodecList<cCameraShot> list;
  return list;
}

}  // namespace

bool cSceneCodecs::AddModelCodec(const char* name, cModelCodec* codec) { return Models().Add(name, codec, "model"); }
bool cSceneCodecs::AddAnimCodec(const char* name, cAnimCodec* codec) { return Anims().Add(name, codec, "animation"); }
bool cSceneCodecs::AddCameraCodec(const char* name, cCameraCodec* codec) {
  return Cameras().Add(name, codec, "camera");
}

cModelCodec* cSceneCodecs::FindModelCodec(std::string_view extension) { return Models().Find(extension); }
cAnimCodec* cSceneCodecs::FindAnimCodec(std::string_view extension) { return Anims().Find(extension); }
cCameraCodec* cSceneCodecs::FindCameraCodec(std::string_view extension) { return Cameras().Find(extension); }

bool cSceneCodecs::LoadModel(const std::string& name, cMesh& out) { return Models().Load(name, out, "model"); }
bool cSceneCodecs::LoadAnimation(const std::string& name, cAnimation& out) {
  return Anims().Load(name, out, "animation");
}
bool cSceneCodecs::LoadCamera(const std::string& name, cCameraShot& out) {
  return Cameras().Load(name, out, "camera");
}

}  // namespace comms
