// The texture seam between class files and the renderer.
#include "ClassEngine/xml/TextureSeam.h"

namespace {
TextureSeam& Seam() {
  static TextureSeam seam;
  return seam;
}
std::vector<std::string>& Pending() {
  static std::vector<std::string> names;
  return names;
}
}  // namespace

TextureSeam SetTextureSeam(TextureSeam seam) {
  TextureSeam old = Seam();
  Seam() = std::move(seam);
  return old;
}

const char* TextureNameOf(int id) {
  if (id < 0 || !Seam().NameOf) return nullptr;
  return Seam().NameOf(id);
}

int LoadTextureByName(const char* name) {
  if (!name || !*name) return -1;
  if (Seam().Load) return Seam().Load(name);
  Pending().push_back(name);
  return -1;
}

const std::vector<std::string>& PendingTextureNames() { return Pending(); }
