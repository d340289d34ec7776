// How a _TextureID member reaches the renderer: a file names the texture, the
// object holds the renderer's id. The renderer installs the two functions;
// until one does, names read from files are kept in a list and the id stays
// -1 (unset), so the files still load and the names are not lost for a
// renderer that starts later.
#pragma once
#include <functional>
#include <string>
#include <vector>

struct TextureSeam {
  std::function<const char*(int id)> NameOf;    // file name of a texture id, or null
  std::function<int(const char* name)> Load;  // id of the loaded texture, or -1
};

// Installs the renderer's functions and returns the previous ones.
TextureSeam SetTextureSeam(TextureSeam seam);
const char* TextureNameOf(int id);
int LoadTextureByName(const char* name);
// Names asked for while no renderer was installed.
const std::vector<std::string>& PendingTextureNames();
