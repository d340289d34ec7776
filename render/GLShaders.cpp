// cRenderGL: shader programs from the files under Shaders/, their constants and
// samplers, the standard constants, reloading, and the Cache.txt index.
#include <epoxy/gl.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <vector>

#include "ClassEngine/Log.h"
#include "render/RenderGL.h"
#include "render/Viewer.h"

namespace comms {

namespace {
// The standard constants, by number.
const char* const kStandardNames[21] = {
    "g_ViewportWidth",       "g_ViewportHeight",  "g_ViewportInvWidth",    "g_ViewportInvHeight",
    "g_WorldMatrix",         "g_WorldMatrixInverse", "g_ViewerPos",        "g_WorldViewMatrix",
    "g_ViewProjectionMatrix", "g_WorldViewProjectionMatrix", "g_ProjectionMatrix", "g_ScreenMatrix",
    "g_ScreenMatrixInverse", "g_NormalMatrix",    "g_NormalViewMatrix",    "g_TimeSec",
    "g_FrameTimeSec",        "g_TextureMatrix0",  "g_TextureMatrix1",      "g_TextureMatrix2",
    "g_TextureMatrix3"};

bool ReadText(const std::string& path, std::string& text) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  std::stringstream ss;
  ss << in.rdbuf();
  text = ss.str();
  return true;
}

bool IsSamplerType(GLenum t) {
  switch (t) {
    case GL_SAMPLER_1D: case GL_SAMPLER_2D: case GL_SAMPLER_3D: case GL_SAMPLER_CUBE:
    case GL_SAMPLER_2D_SHADOW: case GL_SAMPLER_2D_ARRAY: case GL_SAMPLER_CUBE_SHADOW: return true;
    default: return false;
  }
}

// The compiler's "0:LINE(COL)" (Mesa) or "0(LINE)" (others) names the file.
// The compiler names source strings by number: 0 is the shader's own file, k
// the k-th file it included.
std::string NameTheFile(const std::string& log, const std::string& path, const std::vector<std::string>& included) {
  std::string out;
  std::istringstream in(log);
  for (std::string line; std::getline(in, line);) {
    size_t digits = 0;
    while (digits < line.size() && isdigit((unsigned char)line[digits])) digits++;
    if (digits > 0 && digits < line.size() && (line[digits] == ':' || line[digits] == '(')) {
      size_t k = (size_t)atoi(line.c_str());
      std::string file = k == 0 ? path : k <= included.size() ? "Shaders/" + included[k - 1] : "";
      if (!file.empty()) line = file + (line[digits] == ':' ? line.substr(digits) : line.substr(digits));
    }
    out += line + "\n";
  }
  return out;
}

GLuint CompileStage(GLenum kind, const std::string& text, const std::string& path,
                    const std::vector<std::string>& included) {
  GLuint s = glCreateShader(kind);
  const char* src = text.c_str();
  glShaderSource(s, 1, &src, nullptr);
  glCompileShader(s);
  GLint ok = 0;
  glGetShaderiv(s, GL_COMPILE_STATUS, &ok);
  if (!ok) {
    GLint len = 0;
    glGetShaderiv(s, GL_INFO_LOG_LENGTH, &len);
    std::string info(size_t(std::max(len, 1)), '\0');
    glGetShaderInfoLog(s, len, nullptr, info.data());
    Log("%s", NameTheFile(info.c_str(), path, included).c_str());
    glDeleteShader(s);
    return 0;
  }
  return s;
}

void UploadMatrix(GLint location, GLenum type, const cMat4& m) {
  if (type == GL_FLOAT_MAT3) {
    float f[9];
    for (int r = 0; r < 3; r++)
      for (int c = 0; c < 3; c++) f[r * 3 + c] = m.m[r][c];
    glUniformMatrix3fv(location, 1, GL_FALSE, f);
  } else {
    // Our rows become GLSL's columns: in a shader, M * v is our v * M.
    glUniformMatrix4fv(location, 1, GL_FALSE, m.Data());
  }
}
}  // namespace

void cRenderGL::LoadShaderCache() {
  std::string text;
  cache_.clear();
  if (ReadText(DataFolder + "/Shaders/PC/Cache.txt", text)) cache_ = ParseShaderCache(text);
  Log("%d Cached Shaders", int(cache_.size()));
}

int cRenderGL::GetShaderID(const std::string& name, int vertexFormat, const std::string& defines) {
  std::string d = CanonicalDefines(defines);
  for (int i = 0; i < shaders_.End(); i++)
    if (const Shader* s = shaders_.Get(i); s && s->Format == vertexFormat && s->Defines == d && SameNameNoCase(s->Name, name))
      return i;
  return AddShader(name, vertexFormat, d);
}

int cRenderGL::AddShader(const std::string& name, int vertexFormat, const std::string& defines) {
  if (name.empty() || vertexFormat < 0 || vertexFormat >= int(formats_.size())) return -1;
  Shader s;
  s.Name = name, s.Format = vertexFormat, s.Defines = CanonicalDefines(defines), s.Path = ShaderSourcePath(name);
  if (!CompileInto(s)) return -1;
  return shaders_.Add(std::move(s));
}

bool cRenderGL::CompileInto(Shader& s) {
  if (s.Program) glDeleteProgram(s.Program);
  s.Program = 0;
  s.Samplers.clear(), s.User.clear(), s.Standard.clear();
  std::string vsText, psText;
  std::vector<std::string> included;
  std::string full = DataFolder + "/" + s.Path;
  // A precompiled pair: the stage texts as the compiler got them.
  if (const ShaderCacheEntry* e = FindShaderCache(cache_, s.Path, s.Defines)) {
    std::string base = DataFolder + "/Shaders/PC/" + e->BaseName;
    if (!ReadText(base + "VS", vsText) || !ReadText(base + "PS", psText)) vsText.clear(), psText.clear();
  }
  if (vsText.empty()) {
    std::string text;
    if (!ReadText(full, text)) return false;
    Log(" * Loading shader \"%s\"...", s.Name.c_str());
    ShaderSourceParts parts = SplitShaderSource(text);
    if (!parts.HasVertex) {
      Log("No vertex shader found.");
      return false;
    }
    if (!parts.HasPixel) {
      Log("No fragment / pixel shader found");
      return false;
    }
    const std::string folder = DataFolder + "/Shaders";
    vsText = ComposeStage(s.Defines, parts.VertexLine,
                          ExpandShaderIncludes(parts.Vertex, parts.VertexLine, folder, included), true);
    psText = ComposeStage(s.Defines, parts.PixelLine,
                          ExpandShaderIncludes(parts.Pixel, parts.PixelLine, folder, included), false);
  }
  Log("Compiling VS...");
  GLuint vs = CompileStage(GL_VERTEX_SHADER, vsText, s.Path, included);
  Log("Compiling PS...");
  GLuint ps = CompileStage(GL_FRAGMENT_SHADER, psText, s.Path, included);
  if (!vs || !ps) {
    if (vs) glDeleteShader(vs);
    if (ps) glDeleteShader(ps);
    return false;
  }
  GLuint p = glCreateProgram();
  glAttachShader(p, vs);
  glAttachShader(p, ps);
  glLinkProgram(p);
  glDeleteShader(vs);
  glDeleteShader(ps);
  GLint ok = 0;
  glGetProgramiv(p, GL_LINK_STATUS, &ok);
  if (!ok) {
    char info[4096] = "";
    glGetProgramInfoLog(p, sizeof info, nullptr, info);
    Log("%s: link failed: %s", s.Path.c_str(), info);
    glDeleteProgram(p);
    return false;
  }
  s.Program = p;
  GLint count = 0;
  glGetProgramiv(p, GL_ACTIVE_UNIFORMS, &count);
  glUseProgram(p);
  for (GLint i = 0; i < count; i++) {
    char nameBuf[256];
    GLint size = 0;
    GLenum type = 0;
    glGetActiveUniform(p, GLuint(i), sizeof nameBuf, nullptr, &size, &type, nameBuf);
    std::string n = nameBuf;
    if (n.size() > 3 && n.compare(n.size() - 3, 3, "[0]") == 0) n.resize(n.size() - 3);
    Constant c{n, glGetUniformLocation(p, nameBuf), type, size};
    if (c.Location < 0) continue;  // in a uniform block
    if (IsSamplerType(type)) {
      glUniform1i(c.Location, GLint(s.Samplers.size()));
      s.Samplers.push_back(c);
      continue;
    }
    int standard = -1;
    for (int k = 0; k < 21; k++)
      if (n == kStandardNames[k]) standard = k;
    if (standard >= 0)
      s.Standard.push_back({standard, c});
    else
      s.User.push_back(c);
  }
  const Shader* current = shaders_.Get(shader_);
  glUseProgram(current ? current->Program : 0);
  return true;
}

int cRenderGL::FindConstant(int shader, const std::string& name) const {
  const Shader* s = shaders_.Get(shader);
  if (!s) return -1;
  for (size_t i = 0; i < s->User.size(); i++)
    if (s->User[i].Name == name) return int(i);
  return -1;
}

int cRenderGL::FindSampler(int shader, const std::string& name) const {
  const Shader* s = shaders_.Get(shader);
  if (!s) return -1;
  for (size_t i = 0; i < s->Samplers.size(); i++)
    if (s->Samplers[i].Name == name) return int(i);
  return -1;
}

void cRenderGL::SetShader(int id) {
  const Shader* s = shaders_.Get(id);
  if (!s || !s->Program) {
    if (shader_ != -1) glUseProgram(0);
    shader_ = -1;
    return;
  }
  if (id != shader_) {
    Flush2D();
    glUseProgram(s->Program);
    if (shader_ < 0 || !shaders_.Get(shader_) || shaders_.Get(shader_)->Format != s->Format) layoutDirty_ = true;
    shader_ = id;
  }
  // Camera and world may have changed since this shader was last set.
  ApplyStandardConstants();
}

void cRenderGL::FreeShader(int id) {
  Shader* s = shaders_.Get(id);
  if (!s) return;
  if (s->Program) glDeleteProgram(s->Program);
  if (shader_ == id) {
    glUseProgram(0);
    shader_ = -1;
  }
  shaders_.Free(id);
}

void cRenderGL::ReloadShaders() {
  Flush2D();
  glUseProgram(0);
  shader_ = -1;
  for (int i = 0; i < shaders_.End(); i++)
    if (Shader* s = shaders_.Get(i)) {
      // The cache's text is reloaded from the source too.
      std::vector<ShaderCacheEntry> keep;
      keep.swap(cache_);
      CompileInto(*s);
      keep.swap(cache_);
    }
}

#define MV_USER_CONSTANT(c, s, k)                                   \
  const Shader* s = shaders_.Get(shader_);                          \
  if (!s || c < 0 || c >= int(s->User.size())) return;              \
  const Constant& k = s->User[c];

void cRenderGL::SetVec4Array(int c, const cVec4* v, int n) {
  MV_USER_CONSTANT(c, s, k)
  glUniform4fv(k.Location, std::min(n, k.Size), &v->x);
}
void cRenderGL::SetVec3Array(int c, const cVec3* v, int n) {
  MV_USER_CONSTANT(c, s, k)
  n = std::min(n, k.Size);
  if (k.Type == GL_FLOAT_VEC4) {
    std::vector<cVec4> p(size_t(std::max(n, 0)));
    for (int i = 0; i < n; i++) p[i] = cVec4(v[i].x, v[i].y, v[i].z, 1);
    glUniform4fv(k.Location, n, &p[0].x);
  } else {
    glUniform3fv(k.Location, n, &v->x);
  }
}
void cRenderGL::SetVec2Array(int c, const cVec2* v, int n) {
  MV_USER_CONSTANT(c, s, k)
  n = std::min(n, k.Size);
  if (k.Type == GL_FLOAT_VEC4) {
    std::vector<cVec4> p(size_t(std::max(n, 0)));
    for (int i = 0; i < n; i++) p[i] = cVec4(v[i].x, v[i].y, 0, 1);
    glUniform4fv(k.Location, n, &p[0].x);
  } else {
    glUniform2fv(k.Location, n, &v->x);
  }
}
void cRenderGL::SetFloatArray(int c, const float* v, int n) {
  MV_USER_CONSTANT(c, s, k)
  glUniform1fv(k.Location, std::min(n, k.Size), v);
}
void cRenderGL::SetMatrix(int c, const cMat4& m) {
  MV_USER_CONSTANT(c, s, k)
  UploadMatrix(k.Location, k.Type, m);
}
void cRenderGL::SetMatrix3(int c, const cMat3& m) {
  MV_USER_CONSTANT(c, s, k)
  glUniformMatrix3fv(k.Location, 1, GL_FALSE, &m.m[0][0]);
}
void cRenderGL::SetVec4(int c, const cVec4& v) {
  MV_USER_CONSTANT(c, s, k)
  if (k.Type == GL_FLOAT_VEC3)
    glUniform3f(k.Location, v.x, v.y, v.z);
  else
    glUniform4f(k.Location, v.x, v.y, v.z, v.w);
}
void cRenderGL::SetVec3(int c, const cVec3& v) {
  MV_USER_CONSTANT(c, s, k)
  if (k.Type == GL_FLOAT_VEC4)
    glUniform4f(k.Location, v.x, v.y, v.z, 1);
  else
    glUniform3f(k.Location, v.x, v.y, v.z);
}
void cRenderGL::SetVec2(int c, const cVec2& v) {
  MV_USER_CONSTANT(c, s, k)
  glUniform2f(k.Location, v.x, v.y);
}
void cRenderGL::SetFloat(int c, float v) {
  MV_USER_CONSTANT(c, s, k)
  glUniform1f(k.Location, v);
}
void cRenderGL::SetInt(int c, int v) {
  MV_USER_CONSTANT(c, s, k)
  if (k.Type == GL_FLOAT)
    glUniform1f(k.Location, float(v));
  else
    glUniform1i(k.Location, v);
}
#undef MV_USER_CONSTANT

void cRenderGL::ApplyStandardConstants() {
  const Shader* s = shaders_.Get(shader_);
  if (!s || s->Standard.empty()) return;
  static const cViewer kNoCamera;
  const cViewer& cam = camera_ ? *camera_ : kNoCamera;
  float w = camera_ ? cam.ViewWidth() : viewport_.Width(), h = camera_ ? cam.ViewHeight() : viewport_.Height();
  for (const auto& [number, c] : s->Standard) {
    switch (number) {
      case 0: glUniform1f(c.Location, w); break;
      case 1: glUniform1f(c.Location, h); break;
      case 2: glUniform1f(c.Location, w > 0 ? 1 / w : 0); break;
      case 3: glUniform1f(c.Location, h > 0 ? 1 / h : 0); break;
      case 4: UploadMatrix(c.Location, c.Type, world_); break;
      case 5: UploadMatrix(c.Location, c.Type, world_.Inverse()); break;
      case 6: {
        cVec3 p = cam.OrthoProj ? cam.Forward * -1e8f : cam.Pos;
        if (c.Type == GL_FLOAT_VEC4)
          glUniform4f(c.Location, p.x, p.y, p.z, 1);
        else
          glUniform3f(c.Location, p.x, p.y, p.z);
        break;
      }
      case 7: UploadMatrix(c.Location, c.Type, world_ * cam.View); break;
      case 8: UploadMatrix(c.Location, c.Type, cam.ViewProj); break;
      case 9: UploadMatrix(c.Location, c.Type, world_ * cam.ViewProj); break;
      case 10: UploadMatrix(c.Location, c.Type, cam.Proj); break;
      case 11: UploadMatrix(c.Location, c.Type, cam.Screen); break;
      case 12: UploadMatrix(c.Location, c.Type, cam.InvScreen); break;
      case 13: {
        cMat4 n = world_.Inverse().Transposed();
        n.m[3][0] = n.m[3][1] = n.m[3][2] = n.m[0][3] = n.m[1][3] = n.m[2][3] = 0;
        UploadMatrix(c.Location, c.Type, n);
        break;
      }
      case 14: {
        cMat4 v = cam.View;
        v.m[3][0] = v.m[3][1] = v.m[3][2] = 0;
        UploadMatrix(c.Location, c.Type, v);
        break;
      }
      case 15: glUniform1f(c.Location, time_); break;
      case 16: glUniform1f(c.Location, frameTime_); break;
      default: UploadMatrix(c.Location, c.Type, textureMatrix_[number - 17]); break;
    }
  }
}

}  // namespace comms
