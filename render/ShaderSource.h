// Shader source files: one file per name holds both stages between marker
// comment lines ("// Vertex shader", "// Fragment shader" or "// Pixel shader",
// "// Precompile"). Each stage is compiled as defines + "#line N" + its text,
// so a compiler's line numbers are the file's own.
#pragma once
#include <string>
#include <vector>

namespace comms {

struct ShaderSourceParts {
  std::string Vertex, Pixel;
  int VertexLine = 0, PixelLine = 0;  // 1-based file line of each stage's first line
  bool HasVertex = false, HasPixel = false;
  std::vector<std::string> PrecompileLines;
};

// Splits a file's text at its marker lines.
ShaderSourceParts SplitShaderSource(const std::string& text);
// "Shaders/<name>.hlsl" relative to the data folder.
std::string ShaderSourcePath(const std::string& name);
// A non-empty defines text gets a final newline, so both spellings are one shader.
std::string CanonicalDefines(const std::string& defines);
// The cache's normal form: "#define", CR and LF dropped, split at blanks,
// commas, semicolons and tabs, joined with single blanks; "NULL" or nothing
// gives the empty list.
std::string NormalizeDefineList(const std::string& defines);
// What the GL compiler is given for one stage: version, defines, the line
// marker and the stage's text. The "#line" of GLSL counts from the next line.
std::string ComposeStage(const std::string& defines, int fileLine, const std::string& body, bool vertexStage);
// Expands the `#include "NAME"` lines of a stage whose first line is file line
// `firstLine` (NAME relative to `shadersFolder`, one level deep). The included
// text is numbered as GLSL source string k (its 1-based place in `included`),
// and "#line" puts the stage's own numbering back after it, so a compiler's
// "k:LINE" is the included file's own line. An include that can't be read is
// left in the text for the compiler to name.
std::string ExpandShaderIncludes(const std::string& body, int firstLine, const std::string& shadersFolder,
                                 std::vector<std::string>& included);
bool SameNameNoCase(const std::string& a, const std::string& b);
// Paths compared without case, "/" and "\" alike.
bool SamePath(const std::string& a, const std::string& b);

// The Cache.txt index: groups of three lines (source path, defines, base name).
struct ShaderCacheEntry {
  std::string Path, Defines, BaseName;  // Defines in the normal form
};
std::vector<ShaderCacheEntry> ParseShaderCache(const std::string& text);
const ShaderCacheEntry* FindShaderCache(const std::vector<ShaderCacheEntry>& cache, const std::string& path,
                                        const std::string& defines);

}  // namespace comms
