// Parsing of shader files and of the Cache.txt index, and the texts handed to
// the GLSL compiler.
#include "render/ShaderSource.h"

#include <cctype>
#include <cstdio>
#include <fstream>
#include <sstream>

namespace comms {

namespace {
std::string Trim(const std::string& s) {
  size_t a = s.find_first_not_of(" \t\r\n"), b = s.find_last_not_of(" \t\r\n");
  return a == std::string::npos ? std::string() : s.substr(a, b - a + 1);
}
bool IsSplit(char c) { return c == ' ' || c == ',' || c == ';' || c == '\t' || c == '\r' || c == '\n'; }
}  // namespace

ShaderSourceParts SplitShaderSource(const std::string& text) {
  ShaderSourceParts out;
  enum { None, Vertex, Pixel, Precompile } stage = None;
  size_t pos = 0;
  int line = 0;
  while (pos <= text.size()) {
    size_t end = text.find('\n', pos);
    if (end == std::string::npos) end = text.size();
    std::string raw = text.substr(pos, end - pos);
    ++line;
    std::string t = Trim(raw);
    if (t == "// Vertex shader") {
      stage = Vertex, out.HasVertex = true, out.VertexLine = line + 1, out.Vertex.clear();
    } else if (t == "// Fragment shader" || t == "// Pixel shader") {
      stage = Pixel, out.HasPixel = true, out.PixelLine = line + 1, out.Pixel.clear();
    } else if (t == "// Precompile") {
      stage = Precompile;
    } else if (stage == Vertex) {
      out.Vertex += raw + "\n";
    } else if (stage == Pixel) {
      out.Pixel += raw + "\n";
    } else if (stage == Precompile && !t.empty()) {
      out.PrecompileLines.push_back(t);
    }
    if (end == text.size()) break;
    pos = end + 1;
  }
  return out;
}

std::string ShaderSourcePath(const std::string& name) { return "Shaders/" + name + ".hlsl"; }

std::string CanonicalDefines(const std::string& defines) {
  if (defines.empty() || defines.back() == '\n') return defines;
  return defines + "\n";
}

std::string NormalizeDefineList(const std::string& defines) {
  std::string s;
  for (size_t p = 0; p < defines.size();) {
    if (defines.compare(p, 7, "#define") == 0) {
      s += ' ';
      p += 7;
    } else {
      s += defines[p++];
    }
  }
  std::string out, word;
  auto flush = [&] {
    if (!word.empty() && word != "NULL") out += (out.empty() ? "" : " ") + word;
    word.clear();
  };
  for (char c : s) {
    if (IsSplit(c))
      flush();
    else
      word += c;
  }
  flush();
  return out;
}

std::string ExpandShaderIncludes(const std::string& body, int firstLine, const std::string& shadersFolder,
                                 std::vector<std::string>& included) {
  std::string out;
  std::istringstream in(body);
  int line = firstLine;
  for (std::string text; std::getline(in, text); ++line) {
    std::string t = Trim(text);
    size_t open = t.find('"'), close = t.rfind('"');
    if (t.rfind("#include", 0) != 0 || open == std::string::npos || close <= open) {
      out += text + "\n";
      continue;
    }
    std::string name = t.substr(open + 1, close - open - 1);
    std::ifstream file(shadersFolder + "/" + name, std::ios::binary);
    if (!file) {
      out += text + "\n";
      continue;
    }
    std::stringstream content;
    content << file.rdbuf();
    size_t k = 0;
    while (k < included.size() && included[k] != name) k++;
    if (k == included.size()) included.push_back(name);
    char mark[48];
    snprintf(mark, sizeof mark, "#line 1 %d\n", int(k + 1));
    out += mark + content.str();
    if (!out.empty() && out.back() != '\n') out += "\n";
    snprintf(mark, sizeof mark, "#line %d 0\n", line + 1);
    out += mark;
  }
  return out;
}

std::string ComposeStage(const std::string& defines, int fileLine, const std::string& body, bool vertexStage) {
  std::string s = "#version 330 core\n";
  s += vertexStage ? "#define VERTEX_SHADER\n" : "#define PIXEL_SHADER\n";
  s += CanonicalDefines(defines);
  char line[48];
  // GLSL numbers the line after "#line N" as N.
  snprintf(line, sizeof line, "#line %d\n", fileLine);
  return s + line + body;
}

bool SameNameNoCase(const std::string& a, const std::string& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); i++)
    if (std::tolower((unsigned char)a[i]) != std::tolower((unsigned char)b[i])) return false;
  return true;
}

bool SamePath(const std::string& a, const std::string& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); i++) {
    char x = a[i] == '\\' ? '/' : (char)std::tolower((unsigned char)a[i]);
    char y = b[i] == '\\' ? '/' : (char)std::tolower((unsigned char)b[i]);
    if (x != y) return false;
  }
  return true;
}

std::vector<ShaderCacheEntry> ParseShaderCache(const std::string& text) {
  std::vector<std::string> lines;
  size_t pos = 0;
  while (pos < text.size()) {
    size_t end = text.find('\n', pos);
    if (end == std::string::npos) end = text.size();
    std::string t = Trim(text.substr(pos, end - pos));
    if (!t.empty()) lines.push_back(t);
    pos = end + 1;
  }
  std::vector<ShaderCacheEntry> out;
  for (size_t i = 0; i + 2 < lines.size(); i += 3)
    out.push_back({lines[i], NormalizeDefineList(lines[i + 1]), lines[i + 2]});
  return out;
}

const ShaderCacheEntry* FindShaderCache(const std::vector<ShaderCacheEntry>& cache, const std::string& path,
                                        const std::string& defines) {
  std::string d = NormalizeDefineList(defines);
  for (const ShaderCacheEntry& e : cache)
    if (SamePath(e.Path, path) && e.Defines == d) return &e;
  return nullptr;
}

}  // namespace comms
