// cRenderGL::PrecompileShaders: the variants each source lists after its
// "// Precompile" marker are compiled once and their stage texts stored under
// Shaders/PC with the Cache.txt index that AddShader consults.
#include <epoxy/gl.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "ClassEngine/Log.h"
#include "ClassEngine/SystemDialog.h"
#include "render/RenderGL.h"

namespace comms {

namespace {
namespace fs = std::filesystem;

bool Compiles(GLenum kind, const std::string& text) {
  GLuint s = glCreateShader(kind);
  const char* src = text.c_str();
  glShaderSource(s, 1, &src, nullptr);
  glCompileShader(s);
  GLint ok = 0;
  glGetShaderiv(s, GL_COMPILE_STATUS, &ok);
  if (!ok) {
    char info[2048] = "";
    glGetShaderInfoLog(s, sizeof info, nullptr, info);
    Log("%s", info);
  }
  glDeleteShader(s);
  return ok != 0;
}

// One variant per line: its words, or none for "NULL"; duplicates dropped.
std::vector<std::vector<std::string>> Variants(const std::vector<std::string>& lines) {
  std::vector<std::vector<std::string>> out;
  for (const std::string& line : lines) {
    std::vector<std::string> words;
    std::string w;
    for (char c : line + " ") {
      if (c == ' ' || c == ',' || c == ';' || c == '\t') {
        if (!w.empty()) words.push_back(w);
        w.clear();
      } else {
        w += c;
      }
    }
    if (words.empty()) continue;
    if (words[0] == "NULL") words.clear();
    if (std::find(out.begin(), out.end(), words) == out.end()) out.push_back(words);
  }
  return out;
}
}  // namespace

int cRenderGL::PrecompileShaders(const std::string& platform) {
  SystemDialog ask;
  ask.title = "Confirm Precompile Shaders";
  ask.text = "Are you sure you want to precompile shaders for \"" + platform + "\" platform ?";
  ask.buttons = {"Yes", "No"};
  ask.defaultButton = 1;
  ask.kind = SystemDialog::Kind::Question;
  if (ShowSystemDialog(ask) != 0) return 0;
  if (platform != "PC") {
    Log("PrecompileShaders(): no compiler for the \"%s\" platform", platform.c_str());
    return 0;
  }
  const fs::path shaders = fs::path(DataFolder) / "Shaders", out = shaders / platform;
  std::error_code ec;
  fs::create_directories(out, ec);
  for (const auto& e : fs::directory_iterator(out, ec))
    if (e.is_regular_file()) fs::remove(e.path(), ec);
  std::vector<fs::path> files;
  for (const auto& e : fs::recursive_directory_iterator(shaders, ec))
    if (e.is_regular_file() && e.path().extension() == ".hlsl" && e.path().parent_path() != out) files.push_back(e.path());
  std::sort(files.begin(), files.end());
  std::string index;
  int stored = 0;
  for (size_t fileNo = 0; fileNo < files.size(); fileNo++) {
    std::ifstream in(files[fileNo], std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    ShaderSourceParts parts = SplitShaderSource(ss.str());
    if (parts.PrecompileLines.empty() || !parts.HasVertex || !parts.HasPixel) continue;
    const std::string source = "Shaders/" + fs::relative(files[fileNo], shaders).generic_string();
    const auto variants = Variants(parts.PrecompileLines);
    for (size_t v = 0; v < variants.size(); v++) {
      std::string defines, words;
      for (const std::string& w : variants[v]) {
        defines += "#define " + w + "\n";
        words += (words.empty() ? "" : " ") + w;
      }
      // Stored texts carry their includes, so a cached pair stands alone.
      std::vector<std::string> included;
      const std::string vs =
          ComposeStage(defines, parts.VertexLine,
                       ExpandShaderIncludes(parts.Vertex, parts.VertexLine, shaders.string(), included), true);
      const std::string ps =
          ComposeStage(defines, parts.PixelLine,
                       ExpandShaderIncludes(parts.Pixel, parts.PixelLine, shaders.string(), included), false);
      if (!Compiles(GL_VERTEX_SHADER, vs)) {
        Log("Can't compile vertex shader \"%s\"%s%s", source.c_str(), "\n", words.c_str());
        continue;
      }
      if (!Compiles(GL_FRAGMENT_SHADER, ps)) {
        Log("Can't compile pixel shader \"%s\"%s%s", source.c_str(), "\n", words.c_str());
        continue;
      }
      char base[32];
      snprintf(base, sizeof base, "%04d%08d", int(v), int(fileNo));
      std::ofstream(out / (std::string(base) + "VS"), std::ios::binary) << vs;
      std::ofstream(out / (std::string(base) + "PS"), std::ios::binary) << ps;
      index += source + "\r\n" + (words.empty() ? "NULL" : words) + "\r\n" + base + "\r\n";
      ++stored;
    }
  }
  std::ofstream(out / "Cache.txt", std::ios::binary) << index;
  LoadShaderCache();
  return stored;
}

}  // namespace comms
