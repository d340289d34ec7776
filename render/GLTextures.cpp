// cRenderGL: textures, sampler states, render targets, depth targets and
// reading pixels back. Rows keep cImage's order: row 0 is the bottom.
#include <epoxy/gl.h>

#include <algorithm>

#include "ClassEngine/Log.h"
#include "interchange/IO.h"
#include "render/GLFormats.h"
#include "render/RenderGL.h"

namespace comms {

namespace {
GLenum TargetOf(const cTextureInfo& t) {
  return t.Cube ? GL_TEXTURE_CUBE_MAP : t.Depth > 1 ? GL_TEXTURE_3D : GL_TEXTURE_2D;
}
bool IsPow2(int v) { return v > 0 && (v & (v - 1)) == 0; }
}  // namespace

bool cRenderGL::UploadTexture(Texture& t, const cImage& image) {
  GLFormat f;
  if (!GLFormatOf(image.format, f) || f.Depth) return false;
  const cImage* src = &image;
  cImage decoded;
  if (f.Block && !hasS3tc_) {
    // Without S3TC on the device the first level goes up decoded.
    if (!DecodeDxt(image, decoded)) return false;
    src = &decoded;
    GLFormatOf(decoded.format, f);
  }
  t.Info.Format = src->format;
  t.Info.Width = src->width;
  t.Info.Height = src->height;
  t.Info.Cube = src->kind == cImage::Kind::Cube;
  t.Info.Depth = src->kind == cImage::Kind::Volume ? std::max(1, src->depth) : 1;
  t.Info.Mips = std::max(1, src->mips);
  GLenum target = TargetOf(t.Info);
  glGenTextures(1, &t.Gl);
  glBindTexture(target, t.Gl);
  glTexParameteriv(target, GL_TEXTURE_SWIZZLE_RGBA, f.Swizzle);
  glTexParameteri(target, GL_TEXTURE_MAX_LEVEL, t.Info.Mips - 1);
  size_t offset = 0;
  const int faces = t.Info.Cube ? 6 : 1;
  for (int face = 0; face < faces; face++) {
    int w = src->width, h = src->height;
    for (int level = 0; level < t.Info.Mips; level++) {
      size_t bytes = size_t(DeviceLevelBytes(src->format, w, h)) * size_t(t.Info.Depth);
      if (bytes == 0 || offset + bytes > src->data.size()) {
        glDeleteTextures(1, &t.Gl);
        t.Gl = 0;
        return false;
      }
      const uint8_t* p = src->data.data() + offset;
      GLenum face2D = t.Info.Cube ? GLenum(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face) : GL_TEXTURE_2D;
      if (target == GL_TEXTURE_3D)
        glTexImage3D(target, level, f.Internal, w, h, t.Info.Depth, 0, f.Format, f.Type, p);
      else if (f.Block)
        glCompressedTexImage2D(face2D, level, f.Internal, w, h, 0, GLsizei(bytes), p);
      else
        glTexImage2D(face2D, level, f.Internal, w, h, 0, f.Format, f.Type, p);
      offset += bytes;
      w = std::max(1, w / 2);
      h = std::max(1, h / 2);
    }
  }
  return glGetError() == GL_NO_ERROR;
}

int cRenderGL::LoadTexture(const std::string& name, int sampler) {
  for (int i = 0; i < textures_.End(); i++)
    if (const Texture* t = textures_.Get(i); t && !t->Info.Name.empty() && SamePath(t->Info.Name, name)) return i;
  cImage image;
  if (!cIO::LoadImage(name, image)) return -1;
  if (!HasNonPow2Textures() && (!IsPow2(image.width) || !IsPow2(image.height))) {
    Log(" > Texture \"%s\" has non power of two dimensions", name.c_str());
    return -1;
  }
  int id = CreateTexture(image, sampler);
  if (Texture* t = textures_.Get(id)) t->Info.Name = name;
  return id;
}

int cRenderGL::CreateTexture(const cImage& image, int sampler) {
  if (image.width <= 0 || image.height <= 0) return -1;
  Texture t;
  t.Info.Sampler = sampler;
  if (!UploadTexture(t, image)) {
    Log("cRenderGL::CreateTexture(): format %d, %d x %d could not be uploaded", image.format, image.width,
        image.height);
    return -1;
  }
  return textures_.Add(t);
}

void cRenderGL::FreeTexture(int id) {
  Texture* t = textures_.Get(id);
  if (!t) return;
  if (t->Gl) glDeleteTextures(1, &t->Gl);
  for (int& b : boundTargets_)
    if (b == id) b = -1;
  textures_.Free(id);
}

const cTextureInfo* cRenderGL::GetTexture(int id) const { return textures_.Get(id) ? &textures_.Get(id)->Info : nullptr; }
int cRenderGL::GetTextureWidth(int id) const { return textures_.Get(id) ? textures_.Get(id)->Info.Width : 0; }
int cRenderGL::GetTextureHeight(int id) const { return textures_.Get(id) ? textures_.Get(id)->Info.Height : 0; }
int cRenderGL::GetTextureDepth(int id) const { return textures_.Get(id) ? textures_.Get(id)->Info.Depth : 1; }
int cRenderGL::GetTextureFormat(int id) const { return textures_.Get(id) ? textures_.Get(id)->Info.Format : -1; }
int cRenderGL::GetTextureMips(int id) const { return textures_.Get(id) ? textures_.Get(id)->Info.Mips : 1; }
bool cRenderGL::IsRenderTarget(int id) const { return textures_.Get(id) && textures_.Get(id)->Info.RenderTarget; }

int cRenderGL::GetSamplerState(int filter, int u, int v, int w) {
  auto key = std::make_tuple(filter, u, v, w);
  if (auto it = samplerIds_.find(key); it != samplerIds_.end()) return it->second;
  if (filter < 0 || filter > 5) return -1;
  GLuint s = 0;
  glGenSamplers(1, &s);
  static const GLenum kMin[6] = {GL_NEAREST, GL_LINEAR, GL_LINEAR_MIPMAP_NEAREST, GL_LINEAR_MIPMAP_LINEAR,
                                 GL_LINEAR_MIPMAP_NEAREST, GL_LINEAR_MIPMAP_LINEAR};
  glSamplerParameteri(s, GL_TEXTURE_MIN_FILTER, kMin[filter]);
  glSamplerParameteri(s, GL_TEXTURE_MAG_FILTER, filter == 0 ? GL_NEAREST : GL_LINEAR);
  auto mode = [](int a) { return a == kAddressClamp ? GL_CLAMP_TO_EDGE : GL_REPEAT; };
  glSamplerParameteri(s, GL_TEXTURE_WRAP_S, mode(u));
  glSamplerParameteri(s, GL_TEXTURE_WRAP_T, mode(v));
  glSamplerParameteri(s, GL_TEXTURE_WRAP_R, mode(w));
  if (maxAnisotropy_ > 1)
    glSamplerParameterf(s, GL_TEXTURE_MAX_ANISOTROPY_EXT, filter >= kFilterAnisoMipPoint ? maxAnisotropy_ : 1.0f);
  samplerObjects_.push_back(s);
  samplerStates_.push_back(key);
  int id = int(samplerObjects_.size()) - 1;
  samplerIds_[key] = id;
  return id;
}

bool cRenderGL::SetTextureSampler(int texture, int sampler) {
  Texture* t = textures_.Get(texture);
  if (!t || t->Info.Sampler < 0 || sampler < 0 || sampler >= int(samplerObjects_.size())) return false;
  t->Info.Sampler = sampler;
  return true;
}

void cRenderGL::ApplySampler(int unit, int sampler) {
  if (sampler < 0 || sampler >= int(samplerObjects_.size())) sampler = GetSamplerState(kFilterLinear, 0, 0, 0);
  glBindSampler(unit, samplerObjects_[sampler]);
}

void cRenderGL::BindTexture(int sampler, int texture) {
  const Shader* s = shaders_.Get(shader_);
  if (!s || sampler < 0 || sampler >= int(s->Samplers.size())) return;
  glActiveTexture(GL_TEXTURE0 + sampler);
  const Texture* t = textures_.Get(texture);
  GLenum target = s->Samplers[sampler].Type == GL_SAMPLER_CUBE ? GL_TEXTURE_CUBE_MAP
                  : s->Samplers[sampler].Type == GL_SAMPLER_3D ? GL_TEXTURE_3D
                                                               : GL_TEXTURE_2D;
  glBindTexture(target, t ? t->Gl : 0);
  ApplySampler(sampler, t ? t->Info.Sampler : -1);
}

bool cRenderGL::AllocateTargetStorage(Texture& t) {
  GLFormat f;
  if (!GLFormatOf(t.Info.Format, f) || !f.Renderable) return false;
  GLenum target = t.Info.Cube ? GL_TEXTURE_CUBE_MAP : GL_TEXTURE_2D;
  if (!t.Gl) glGenTextures(1, &t.Gl);
  glBindTexture(target, t.Gl);
  glTexParameteriv(target, GL_TEXTURE_SWIZZLE_RGBA, f.Swizzle);
  glTexParameteri(target, GL_TEXTURE_MAX_LEVEL, 0);
  for (int face = 0; face < (t.Info.Cube ? 6 : 1); face++)
    glTexImage2D(t.Info.Cube ? GLenum(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face) : GL_TEXTURE_2D, 0, f.Internal,
                 t.Info.Width, t.Info.Height, 0, f.Format, f.Type, nullptr);
  // A format the device cannot draw into is found out now, not at first use,
  // on a framebuffer of its own so the bound targets stay as they are.
  GLint previous = 0;
  glGetIntegerv(GL_FRAMEBUFFER_BINDING, &previous);
  GLuint probe = 0;
  glGenFramebuffers(1, &probe);
  glBindFramebuffer(GL_FRAMEBUFFER, probe);
  glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0,
                         t.Info.Cube ? GL_TEXTURE_CUBE_MAP_POSITIVE_X : GL_TEXTURE_2D, t.Gl, 0);
  bool ok = glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
  glBindFramebuffer(GL_FRAMEBUFFER, GLuint(previous));
  glDeleteFramebuffers(1, &probe);
  return ok;
}

int cRenderGL::CreateRenderTarget(int width, int height, int format, int sampler, bool cube, int usage) {
  if (width <= 0 || height <= 0 || format >= kPixD16) return -1;
  Texture t;
  t.Info.Sampler = sampler, t.Info.Format = format, t.Info.Width = width, t.Info.Height = height;
  t.Info.Cube = cube, t.Info.RenderTarget = true, t.Info.Usage = usage;
  if (!AllocateTargetStorage(t)) {
    if (t.Gl) glDeleteTextures(1, &t.Gl);
    return -1;
  }
  return textures_.Add(t);
}

bool cRenderGL::ResizeRenderTarget(int id, int width, int height) {
  Texture* t = textures_.Get(id);
  if (!t || !t->Info.RenderTarget || width <= 0 || height <= 0) return false;
  Flush2D();
  t->Info.Width = width, t->Info.Height = height;
  bool ok = AllocateTargetStorage(*t);
  for (int i = 0; i < depthTargets_.End(); i++) {
    DepthTarget* d = depthTargets_.Get(i);
    if (!d || d->Target != id) continue;
    GLFormat f;
    GLFormatOf(d->Format, f);
    d->Width = width, d->Height = height;
    glBindRenderbuffer(GL_RENDERBUFFER, d->Gl);
    glRenderbufferStorage(GL_RENDERBUFFER, f.Internal, width, height);
  }
  return ok;
}

int cRenderGL::CreateDepthTarget(int target, int format) {
  const Texture* t = textures_.Get(target);
  GLFormat f;
  if (!t || !t->Info.RenderTarget || format < kPixD16 || format > kPixD24S8 || !GLFormatOf(format, f)) return -1;
  DepthTarget d;
  d.Target = target, d.Format = format, d.Width = t->Info.Width, d.Height = t->Info.Height;
  glGenRenderbuffers(1, &d.Gl);
  glBindRenderbuffer(GL_RENDERBUFFER, d.Gl);
  glRenderbufferStorage(GL_RENDERBUFFER, f.Internal, d.Width, d.Height);
  return depthTargets_.Add(d);
}

void cRenderGL::FreeDepthTarget(int id) {
  DepthTarget* d = depthTargets_.Get(id);
  if (!d) return;
  glDeleteRenderbuffers(1, &d->Gl);
  if (boundDepth_ == id) boundDepth_ = -2;
  depthTargets_.Free(id);
}

void cRenderGL::SetRenderTargets(const int* targets, int count, int depth, const int* faces) {
  Flush2D();
  if (!targets || count <= 0) {
    glBindFramebuffer(GL_FRAMEBUFFER, backFbo_);
    boundTargets_.clear();
    boundDepth_ = -1;
    targetW_ = screenW_, targetH_ = screenH_;
    // Like any target, the back buffer comes back whole.
    glViewport(0, 0, targetW_, targetH_);
    viewport_ = cRect(0, 0, float(targetW_), float(targetH_));
    return;
  }
  count = std::min(count, maxTargets_);
  glBindFramebuffer(GL_FRAMEBUFFER, targetFbo_);
  std::vector<GLenum> buffers;
  int width = 0, height = 0;
  for (int i = 0; i < maxTargets_; i++) {
    const Texture* t = i < count ? textures_.Get(targets[i]) : nullptr;
    GLenum attach = GL_COLOR_ATTACHMENT0 + i;
    if (t && t->Info.RenderTarget) {
      int face = faces ? std::clamp(faces[i], 0, 5) : 0;
      glFramebufferTexture2D(GL_FRAMEBUFFER, attach,
                             t->Info.Cube ? GLenum(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face) : GL_TEXTURE_2D, t->Gl, 0);
      buffers.push_back(attach);
      if (!width) width = t->Info.Width, height = t->Info.Height;
    } else {
      glFramebufferTexture2D(GL_FRAMEBUFFER, attach, GL_TEXTURE_2D, 0, 0);
      buffers.push_back(GL_NONE);
    }
  }
  const DepthTarget* d = depthTargets_.Get(depth);
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_STENCIL_ATTACHMENT, GL_RENDERBUFFER, 0);
  if (d)
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, d->Format == kPixD24S8 ? GL_DEPTH_STENCIL_ATTACHMENT : GL_DEPTH_ATTACHMENT,
                              GL_RENDERBUFFER, d->Gl);
  glDrawBuffers(GLsizei(buffers.size()), buffers.data());
  boundTargets_.assign(targets, targets + count);
  boundDepth_ = d ? depth : -1;
  targetW_ = width ? width : screenW_;
  targetH_ = height ? height : screenH_;
  glViewport(0, 0, targetW_, targetH_);
  viewport_ = cRect(0, 0, float(targetW_), float(targetH_));
}

bool cRenderGL::ReadTarget(unsigned glTexture, int format, int w, int h, bool cube, cImage& image) {
  GLFormat f;
  if (!GLFormatOf(format, f) || f.Block || f.Depth) return false;
  Flush2D();
  image.Create(w, h, format);
  size_t faceBytes = size_t(DeviceLevelBytes(format, w, h));
  image.data.assign(faceBytes, 0);
  if (cube) {
    image.kind = cImage::Kind::Cube;
    image.depth = 6;
    image.data.resize(faceBytes * 6);
  }
  glBindTexture(cube ? GL_TEXTURE_CUBE_MAP : GL_TEXTURE_2D, glTexture);
  for (int face = 0; face < (cube ? 6 : 1); face++)
    glGetTexImage(cube ? GLenum(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face) : GL_TEXTURE_2D, 0, f.Format, f.Type,
                  image.data.data() + faceBytes * face);
  return glGetError() == GL_NO_ERROR;
}

bool cRenderGL::ReadTexture(int id, cImage& image) {
  const Texture* t = textures_.Get(id);
  if (!t || !t->Info.RenderTarget) return false;
  return ReadTarget(t->Gl, t->Info.Format, t->Info.Width, t->Info.Height, t->Info.Cube, image);
}

bool cRenderGL::ReadScreen(cImage& image) {
  if (!window_ || screenW_ <= 0 || screenH_ <= 0) return false;
  Flush2D();
  image.Create(screenW_, screenH_, kPixRGB8);
  glBindFramebuffer(GL_READ_FRAMEBUFFER, backFbo_);
  if (samples_ > 0) {
    // Samples cannot be read directly: resolve first.
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, resolveFbo_);
    glBlitFramebuffer(0, 0, screenW_, screenH_, 0, 0, screenW_, screenH_, GL_COLOR_BUFFER_BIT, GL_NEAREST);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, resolveFbo_);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, boundTargets_.empty() ? backFbo_ : targetFbo_);
  }
  glReadBuffer(GL_COLOR_ATTACHMENT0);
  glReadPixels(0, 0, screenW_, screenH_, GL_RGB, GL_UNSIGNED_BYTE, image.data.data());
  glBindFramebuffer(GL_READ_FRAMEBUFFER, boundTargets_.empty() ? backFbo_ : targetFbo_);
  return glGetError() == GL_NO_ERROR;
}

}  // namespace comms
