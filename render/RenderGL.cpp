// cRenderGL: start-up, the frame, viewport and scissor, fixed states, stencil.
#include "render/RenderGL.h"

#include <epoxy/gl.h>

#include <algorithm>
#include <cmath>

#include "ClassEngine/Log.h"
#include "render/RenderWindow.h"
#include "render/Viewer.h"

namespace comms {

namespace {
const GLenum kBlendFactors[11] = {GL_ZERO, GL_ONE, GL_SRC_COLOR, GL_ONE_MINUS_SRC_COLOR, GL_SRC_ALPHA,
                                  GL_ONE_MINUS_SRC_ALPHA, GL_DST_ALPHA, GL_ONE_MINUS_DST_ALPHA, GL_DST_COLOR,
                                  GL_ONE_MINUS_DST_COLOR, GL_SRC_ALPHA_SATURATE};
const GLenum kBlendOps[5] = {GL_FUNC_ADD, GL_FUNC_SUBTRACT, GL_FUNC_REVERSE_SUBTRACT, GL_MIN, GL_MAX};
const GLenum kCompare[8] = {GL_NEVER, GL_LESS, GL_EQUAL, GL_LEQUAL, GL_GREATER, GL_NOTEQUAL, GL_GEQUAL, GL_ALWAYS};
}  // namespace

cRenderGL::cRenderGL() = default;
cRenderGL::~cRenderGL() { Release(); }

bool cRenderGL::Init(cRenderWindow* window, int multisample) {
  // The back buffer is ours, so it carries the samples; it is resolved when it
  // goes to the window or is read back.
  window_ = window;
  if (!window_ || !window_->MakeCurrent()) {
    Log("Couldn't create an OpenGL context.");
    return false;
  }
  if (epoxy_gl_version() < 33) {
    Log("OpenGL 3.3 or later is needed; the driver offers %d.%d.", epoxy_gl_version() / 10, epoxy_gl_version() % 10);
    return false;
  }
  const char* renderer = (const char*)glGetString(GL_RENDERER);
  const char* version = (const char*)glGetString(GL_VERSION);
  adapter_ = renderer ? renderer : "";
  GLint n = 1;
  glGetIntegerv(GL_MAX_DRAW_BUFFERS, &n);
  maxTargets_ = n;
  if (epoxy_has_gl_extension("GL_EXT_texture_filter_anisotropic") || epoxy_gl_version() >= 46)
    glGetFloatv(GL_MAX_TEXTURE_MAX_ANISOTROPY_EXT, &maxAnisotropy_);
  hasS3tc_ = epoxy_has_gl_extension("GL_EXT_texture_compression_s3tc");
  Log("------------------------------------------------------------");
  Log("               Graphics card and driver info");
  Log("------------------------------------------------------------");
  Log("OpenGL Renderer");
  Log("Adapter: %s", adapter_.c_str());
  Log("Driver: %s", version ? version : "");
  Log("Supported:");
  Log("Vertex shaders %d.%d", epoxy_gl_version() / 10, epoxy_gl_version() % 10);
  Log("Pixel shaders %d.%d", epoxy_gl_version() / 10, epoxy_gl_version() % 10);
  if (maxTargets_ > 1) Log("MRT (targets: %d)", maxTargets_);
  Log("Non power of two");

  glGenVertexArrays(1, &vao_);
  glBindVertexArray(vao_);
  glGenBuffers(1, &streamVbo_);
  glGenBuffers(1, &streamIbo_);
  glGenFramebuffers(1, &targetFbo_);
  GLint maxSamples = 0;
  glGetIntegerv(GL_MAX_SAMPLES, &maxSamples);
  samples_ = multisample > 1 ? std::min(multisample, int(maxSamples)) : 0;
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glEnable(GL_TEXTURE_CUBE_MAP_SEAMLESS);
  int w = 0, h = 0;
  window_->DrawableSize(w, h);
  CreateBackBuffer(std::max(w, 1), std::max(h, 1));
  ResetStateCache();
  Log("Registering vertex formats...");
  if (formats_.empty())
    for (const auto& f : StockVertexFormats()) RegisterVertexFormat(f);
  LoadShaderCache();
  return true;
}

void cRenderGL::CreateBackBuffer(int width, int height) {
  if (!backFbo_) glGenFramebuffers(1, &backFbo_);
  if (!backColour_) glGenRenderbuffers(1, &backColour_);
  if (!backDepth_) glGenRenderbuffers(1, &backDepth_);
  glBindRenderbuffer(GL_RENDERBUFFER, backColour_);
  glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples_, GL_RGBA8, width, height);
  glBindRenderbuffer(GL_RENDERBUFFER, backDepth_);
  glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples_, GL_DEPTH24_STENCIL8, width, height);
  if (samples_ > 0) {
    if (!resolveFbo_) glGenFramebuffers(1, &resolveFbo_);
    if (!resolveColour_) glGenRenderbuffers(1, &resolveColour_);
    glBindRenderbuffer(GL_RENDERBUFFER, resolveColour_);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, width, height);
    glBindFramebuffer(GL_FRAMEBUFFER, resolveFbo_);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, resolveColour_);
  }
  glBindFramebuffer(GL_FRAMEBUFFER, backFbo_);
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, backColour_);
  glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_STENCIL_ATTACHMENT, GL_RENDERBUFFER, backDepth_);
  screenW_ = targetW_ = width;
  screenH_ = targetH_ = height;
  boundTargets_.clear();
  boundDepth_ = -1;
  viewport_ = cRect(0, 0, float(width), float(height));
  glViewport(0, 0, width, height);
}

void cRenderGL::Release() {
  if (!window_) return;
  window_->MakeCurrent();
  for (int i = 0; i < textures_.End(); i++)
    if (textures_.Get(i)) FreeTexture(i);
  for (int i = 0; i < shaders_.End(); i++)
    if (shaders_.Get(i)) FreeShader(i);
  for (int i = 0; i < vertexBuffers_.End(); i++) FreeVertexBuffer(i);
  for (int i = 0; i < indexBuffers_.End(); i++) FreeIndexBuffer(i);
  for (int i = 0; i < depthTargets_.End(); i++) FreeDepthTarget(i);
  textures_.Clear();
  shaders_.Clear();
  vertexBuffers_.Clear();
  indexBuffers_.Clear();
  depthTargets_.Clear();
  if (!samplerObjects_.empty()) glDeleteSamplers(GLsizei(samplerObjects_.size()), samplerObjects_.data());
  samplerObjects_.clear();
  samplerIds_.clear();
  samplerStates_.clear();
  blends_.clear();
  depths_.clear();
  GLuint fbos[3] = {backFbo_, targetFbo_, resolveFbo_}, rbs[3] = {backColour_, backDepth_, resolveColour_};
  GLuint bufs[2] = {streamVbo_, streamIbo_};
  glDeleteFramebuffers(3, fbos);
  glDeleteRenderbuffers(3, rbs);
  glDeleteBuffers(2, bufs);
  glDeleteVertexArrays(1, &vao_);
  backFbo_ = targetFbo_ = backColour_ = backDepth_ = streamVbo_ = streamIbo_ = vao_ = 0;
  resolveFbo_ = resolveColour_ = 0;
  shaderLines_ = shaderTex_ = blend2D_ = depth2D_ = -1;
  verts2D_.clear();
  runs2D_.clear();
  ResetStateCache();
  window_ = nullptr;
}

void cRenderGL::ResetStateCache() {
  shader_ = -1;
  blend_ = depth_ = cull_ = -2;
  vb_ = ib_ = -1;
  layoutDirty_ = true;
  layoutFormat_ = -1;
  if (vao_) {
    glUseProgram(0);
    SetBlendState(-1);
    SetDepthState(-1);
    SetCullMode(kCullNone);
    glDisable(GL_SCISSOR_TEST);
    glDisable(GL_STENCIL_TEST);
    glPolygonMode(GL_FRONT_AND_BACK, wireframe_ ? GL_LINE : GL_FILL);
    glFrontFace(GL_CCW);
    scissorOn_ = false;
  }
}

bool cRenderGL::BeginFrame() {
  if (!window_) return false;
  int w = 0, h = 0;
  window_->DrawableSize(w, h);
  if (w <= 0 || h <= 0) return false;
  if (w != screenW_ || h != screenH_) {
    // The back buffer is re-made at the new size; render targets and textures
    // live in their own storage and survive.
    Flush2D();
    CreateBackBuffer(w, h);
    glBindFramebuffer(GL_FRAMEBUFFER, backFbo_);
    ResetStateCache();
  }
  drawCalls_ = 0;
  return true;
}

void cRenderGL::EndFrame() {
  if (!window_) return;
  Flush2D();
  if (window_->HasDefaultFramebuffer()) {
    glBindFramebuffer(GL_READ_FRAMEBUFFER, backFbo_);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, 0);
    glBlitFramebuffer(0, 0, screenW_, screenH_, 0, 0, screenW_, screenH_, GL_COLOR_BUFFER_BIT, GL_NEAREST);
    window_->Present();
  }
  glBindFramebuffer(GL_FRAMEBUFFER, boundTargets_.empty() ? backFbo_ : targetFbo_);
  wasReset_ = false;
}

void cRenderGL::Finish() { glFinish(); }

void cRenderGL::SetViewPort(const cRect& r) {
  Flush2D();
  viewport_ = r;
  int x = int(std::lround(r.left)), w = int(std::lround(r.right - r.left));
  int h = int(std::lround(r.bottom - r.top));
  int y = targetH_ - int(std::lround(r.top)) - h;
  glViewport(x, y, std::max(w, 0), std::max(h, 0));
}

void cRenderGL::SetScissor(const cRect& r) {
  Flush2D();
  if (r.right < r.left || r.bottom < r.top) {
    glDisable(GL_SCISSOR_TEST);
    scissorOn_ = false;
    return;
  }
  int x = int(std::lround(r.left)), w = int(std::lround(r.right - r.left));
  int h = int(std::lround(r.bottom - r.top));
  glScissor(x, targetH_ - int(std::lround(r.top)) - h, w, h);
  glEnable(GL_SCISSOR_TEST);
  scissorOn_ = true;
}

bool cRenderGL::IsFormatSupported(int format) const {
  switch (format) {
    case 0: case 7: case 11: case 15: case 17: return false;
    default: return format > 0 && format < kPixFormatCount;
  }
}

void cRenderGL::SetCamera(cViewer* camera) {
  if (camera == camera_) return;
  Flush2D();
  camera_ = camera;
}

void cRenderGL::SetTextureMatrix(int index, const cMat4& m) {
  if (index >= 0 && index < 4) textureMatrix_[index] = m;
}

void cRenderGL::SetTime(float seconds, float frameSeconds) {
  time_ = seconds;
  frameTime_ = frameSeconds;
}

int cRenderGL::GetBlendState(int source, int destination, int op, int writeMask) {
  if (source < 0 || source > 10 || destination < 0 || destination > 10 || op < 0 || op > 4) return -1;
  for (size_t i = 0; i < blends_.size(); i++) {
    const BlendState& b = blends_[i];
    if (b.Source == source && b.Destination == destination && b.Op == op && b.Mask == writeMask) return int(i);
  }
  blends_.push_back({source, destination, op, writeMask});
  return int(blends_.size()) - 1;
}

void cRenderGL::SetBlendState(int id) {
  if (id < 0 || id >= int(blends_.size())) id = -1;
  if (id == blend_) return;
  blend_ = id;
  if (id < 0) {
    glDisable(GL_BLEND);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    return;
  }
  const BlendState& b = blends_[id];
  // Source ONE with destination ZERO is no blending at all.
  if (b.Source == kBlendOne && b.Destination == kBlendZero) {
    glDisable(GL_BLEND);
  } else {
    glEnable(GL_BLEND);
    glBlendFunc(kBlendFactors[b.Source], kBlendFactors[b.Destination]);
    glBlendEquation(kBlendOps[b.Op]);
  }
  glColorMask(b.Mask & kWriteRed, b.Mask & kWriteGreen, b.Mask & kWriteBlue, b.Mask & kWriteAlpha);
}

int cRenderGL::GetDepthState(bool test, bool write, int function) {
  if (function < 0 || function > 7) return -1;
  for (size_t i = 0; i < depths_.size(); i++)
    if (depths_[i].Test == test && depths_[i].Write == write && depths_[i].Function == function) return int(i);
  depths_.push_back({test, write, function});
  return int(depths_.size()) - 1;
}

void cRenderGL::SetDepthState(int id) {
  if (id < 0 || id >= int(depths_.size())) id = -1;
  if (id == depth_) return;
  depth_ = id;
  bool test = id >= 0 && depths_[id].Test, write = id >= 0 && depths_[id].Write;
  // GL skips depth writes when the test is off; ALWAYS keeps writing possible.
  if (test || write) {
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(test ? kCompare[depths_[id].Function] : GL_ALWAYS);
  } else {
    glDisable(GL_DEPTH_TEST);
  }
  glDepthMask(write ? GL_TRUE : GL_FALSE);
}

void cRenderGL::SetCullMode(int mode) {
  if (mode == cull_) return;
  cull_ = mode;
  // Front faces wind counter-clockwise; mode 1 drops clockwise (back) faces,
  // mode 2 counter-clockwise (front) ones.
  if (mode == kCullClockwise) {
    glEnable(GL_CULL_FACE);
    glCullFace(GL_BACK);
  } else if (mode == kCullCounterClockwise) {
    glEnable(GL_CULL_FACE);
    glCullFace(GL_FRONT);
  } else {
    glDisable(GL_CULL_FACE);
  }
}

void cRenderGL::SetWireframe(bool on) {
  if (on == wireframe_) return;
  wireframe_ = on;
  glPolygonMode(GL_FRONT_AND_BACK, on ? GL_LINE : GL_FILL);
}

void cRenderGL::Clear(bool colourFlag, bool depthFlag, uint32_t colour, float depth) {
  Flush2D();
  GLbitfield bits = 0;
  if (colourFlag) {
    cColor c = cColor::FromArgb(colour);
    glClearColor(c.r, c.g, c.b, c.a);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    bits |= GL_COLOR_BUFFER_BIT;
  }
  if (depthFlag) {
    glClearDepth(depth);
    glDepthMask(GL_TRUE);
    glClearStencil(0);
    glStencilMask(0xff);
    bits |= GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT;
  }
  if (bits) glClear(bits);
  // Masks were opened for the clear; the cached states put them back.
  int b = blend_, d = depth_;
  blend_ = depth_ = -2;
  SetBlendState(b);
  SetDepthState(d);
}

void cRenderGL::BeginStencilCount(bool depthFail) {
  Flush2D();
  glEnable(GL_STENCIL_TEST);
  glStencilMask(0xff);
  glClearStencil(0);
  glClear(GL_STENCIL_BUFFER_BIT);
  SetBlendState(GetBlendState(kBlendZero, kBlendOne, kBlendOpAdd, 0));
  SetDepthState(GetDepthState(true, false, kCmpLessEqual));
  SetCullMode(kCullNone);
  glStencilFunc(GL_ALWAYS, 0, 0xff);
  GLenum pass = depthFail ? GL_KEEP : GL_INCR_WRAP, zfail = depthFail ? GL_INCR_WRAP : GL_KEEP;
  GLenum passB = depthFail ? GL_KEEP : GL_DECR_WRAP, zfailB = depthFail ? GL_DECR_WRAP : GL_KEEP;
  glStencilOpSeparate(GL_FRONT, GL_KEEP, zfail, pass);
  glStencilOpSeparate(GL_BACK, GL_KEEP, zfailB, passB);
}

void cRenderGL::StencilEqual() {
  Flush2D();
  glEnable(GL_STENCIL_TEST);
  glStencilFunc(GL_EQUAL, 0, 0xff);
  glStencilOp(GL_KEEP, GL_KEEP, GL_KEEP);
}

void cRenderGL::StencilNotEqual() {
  Flush2D();
  glEnable(GL_STENCIL_TEST);
  glStencilFunc(GL_NOTEQUAL, 0, 0xff);
  glStencilOp(GL_KEEP, GL_KEEP, GL_KEEP);
}

void cRenderGL::EndStencil() {
  Flush2D();
  glDisable(GL_STENCIL_TEST);
}

}  // namespace comms
