// cRenderGL: the 2D layer. Calls append vertices (pixels, y downwards from the
// top of the current camera's view) to one list in call order; consecutive
// calls of the same texture share a run, so widgets drawn later stay on top
// while a panel of fills and frames still costs one draw. Lines go in as
// one-pixel-wide quads for that reason: they cover the same pixels as a line
// (first end in, last end out) and batch with the fills. Flush2D draws the
// runs with alpha blending and no depth, then restores the states it changed.
#include <cmath>

#include "render/RenderGL.h"
#include "render/Viewer.h"

namespace comms {

float cRenderGL::Height2D() const { return camera_ ? camera_->ViewHeight() : viewport_.Height(); }

void cRenderGL::Push2D(int kind, bool textured, const Vertex2D* v, int n) {
  int texture = textured ? texture2D_ : -1, shader = textured ? shader2DTex_ : -1;
  if (runs2D_.empty() || runs2D_.back().Kind != kind || runs2D_.back().Textured != textured ||
      runs2D_.back().Texture != texture || runs2D_.back().Shader != shader)
    runs2D_.push_back({kind, textured, texture, shader, int(verts2D_.size()), 0});
  float h = Height2D();
  for (int i = 0; i < n; i++) {
    Vertex2D p = v[i];
    p.y = h - p.y;  // the device's pixel space runs upwards
    p.colour = ToDeviceColour(p.colour);
    verts2D_.push_back(p);
  }
  runs2D_.back().Count += n;
}

void cRenderGL::DrawLine(float x0, float y0, float x1, float y1, float z, uint32_t c0, uint32_t c1) {
  // From pixel centre to pixel centre, half a pixel to each side.
  x0 += 0.5f, y0 += 0.5f, x1 += 0.5f, y1 += 0.5f;
  float dx = x1 - x0, dy = y1 - y0, len = std::sqrt(dx * dx + dy * dy);
  if (len <= 0) return;
  float nx = -dy / len * 0.5f, ny = dx / len * 0.5f;
  const Vertex2D a{x0 + nx, y0 + ny, z, c0, 0, 0, 0, 0}, b{x1 + nx, y1 + ny, z, c1, 0, 0, 0, 0};
  const Vertex2D c{x1 - nx, y1 - ny, z, c1, 0, 0, 0, 0}, d{x0 - nx, y0 - ny, z, c0, 0, 0, 0, 0};
  const Vertex2D v[6] = {a, b, c, a, c, d};
  Push2D(kPrimTriangles, false, v, 6);
}

void cRenderGL::DrawFrame(const cRect& r, float z, uint32_t c) {
  // Four lines, each ending one pixel inside the next corner.
  float l = r.left, t = r.top, rr = r.right - 1, b = r.bottom - 1;
  DrawLine(l, t, rr, t, z, c, c);
  DrawLine(rr, t, rr, b, z, c, c);
  DrawLine(rr, b, l, b, z, c, c);
  DrawLine(l, b, l, t, z, c, c);
}

void cRenderGL::FillRect(const cRect& r, float z, uint32_t c) {
  const uint32_t cs[4] = {c, c, c, c};
  FillRect(r, z, cs);
}

void cRenderGL::FillRect(const cRect& r, float z, const uint32_t c[4]) {
  const cVec2 p[4] = {{r.left, r.top}, {r.right, r.top}, {r.right, r.bottom}, {r.left, r.bottom}};
  FillQuad(p, z, c);
}

void cRenderGL::FillQuad(const cVec2 p[4], float z, const uint32_t c[4]) {
  Vertex2D v[6];
  const int order[6] = {0, 1, 2, 0, 2, 3};
  for (int i = 0; i < 6; i++) v[i] = {p[order[i]].x, p[order[i]].y, z, c[order[i]], 0, 0, 0, 0};
  Push2D(kPrimTriangles, false, v, 6);
}

void cRenderGL::FillTriangle(const cVec2 p[3], float z, const uint32_t c[3]) {
  Vertex2D v[3];
  for (int i = 0; i < 3; i++) v[i] = {p[i].x, p[i].y, z, c[i], 0, 0, 0, 0};
  Push2D(kPrimTriangles, false, v, 3);
}

void cRenderGL::Set2DTexture(int texture, int shader) {
  texture2D_ = texture;
  shader2DTex_ = shader;
}

void cRenderGL::DrawTexture(const cRect& r, const cRect& uv, float z, uint32_t c) {
  const cVec2 p[4] = {{r.left, r.top}, {r.right, r.top}, {r.right, r.bottom}, {r.left, r.bottom}};
  const cVec2 t[4] = {{uv.left, uv.top}, {uv.right, uv.top}, {uv.right, uv.bottom}, {uv.left, uv.bottom}};
  const uint32_t cs[4] = {c, c, c, c};
  DrawTexturedQuad(p, t, z, cs);
}

void cRenderGL::DrawTexturedQuad(const cVec2 p[4], const cVec2 uv[4], float z, const uint32_t c[4]) {
  Vertex2D v[6];
  const int order[6] = {0, 1, 2, 0, 2, 3};
  for (int i = 0; i < 6; i++) {
    const int k = order[i];
    v[i] = {p[k].x, p[k].y, z, c[k], uv[k].x, uv[k].y, uv[k].x, uv[k].y};
  }
  Push2D(kPrimTriangles, true, v, 6);
}

void cRenderGL::Flush2D() {
  if (runs2D_.empty()) return;
  // Taken out first: the state changes below flush again.
  std::vector<Vertex2D> verts;
  std::vector<Run2D> runs;
  verts.swap(verts2D_);
  runs.swap(runs2D_);
  if (shaderLines_ < 0) shaderLines_ = GetShaderID("LinesPointsUI", kVfPosColorTex2, "#define SCREEN_SPACE");
  if (shaderTex_ < 0) shaderTex_ = GetShaderID("hud2t", kVfPosColorTex2, "#define SCREEN_SPACE");
  if (blend2D_ < 0) blend2D_ = GetBlendState(kBlendSrcAlpha, kBlendInvSrcAlpha, kBlendOpAdd, kWriteAll);
  if (depth2D_ < 0) depth2D_ = GetDepthState(false, false, kCmpAlways);
  const int oldShader = shader_, oldBlend = blend_, oldDepth = depth_, oldCull = cull_;
  const bool oldWire = wireframe_;
  SetBlendState(blend2D_);
  SetDepthState(depth2D_);
  SetCullMode(kCullNone);
  SetWireframe(false);
  for (const Run2D& run : runs) {
    int shader = run.Textured ? (run.Shader >= 0 ? run.Shader : shaderTex_) : shaderLines_;
    SetShader(shader);
    if (shader_ < 0) continue;
    if (run.Textured) {
      int sampler = FindSampler(shader_, "s_Sampler0");
      if (sampler < 0 && !shaders_.Get(shader_)->Samplers.empty()) sampler = 0;
      BindTexture(sampler, run.Texture);
    }
    DrawUser(run.Kind, verts.data() + run.First, run.Count);
  }
  SetWireframe(oldWire);
  if (oldShader >= 0) SetShader(oldShader);
  if (oldBlend != -2) SetBlendState(oldBlend);
  if (oldDepth != -2) SetDepthState(oldDepth);
  if (oldCull != -2) SetCullMode(oldCull);
}

}  // namespace comms
