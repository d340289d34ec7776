// The recording back end: id tables as a real device keeps them, no drawing.
#include "render/NullRender.h"

#include "interchange/IO.h"
#include "render/ShaderSource.h"
#include "render/Viewer.h"

namespace comms {

cNullRender::cNullRender() {
  for (const auto& f : StockVertexFormats()) RegisterVertexFormat(f);
  Calls.clear();
}

void cNullRender::Record(const char* op, std::vector<double> args, std::string text) {
  Calls.push_back({op, std::move(args), std::move(text)});
}

int cNullRender::Count(const std::string& op) const {
  int n = 0;
  for (const RenderCall& c : Calls) n += c.Op == op;
  return n;
}

bool cNullRender::Init(cRenderWindow*, int multisample) {
  Record("Init", {double(multisample)});
  return true;
}

void cNullRender::Release() {
  textures_.Clear();
  shaders_.Clear();
  vertexBuffers_.Clear();
  indexBuffers_.Clear();
  depthTargets_.Clear();
  shader_ = -1;
  Record("Release", {});
}

void cNullRender::SetViewPort(const cRect& r) {
  viewport_ = r;
  Record("SetViewPort", {r.left, r.top, r.right, r.bottom});
}
void cNullRender::SetScissor(const cRect& r) { Record("SetScissor", {r.left, r.top, r.right, r.bottom}); }

bool cNullRender::ReadScreen(cImage& image) {
  image.Create(ScreenWidth, ScreenHeight, 3);
  return true;
}

int cNullRender::LoadTexture(const std::string& name, int sampler) {
  for (int i = 0; i < textures_.End(); i++)
    if (const cTextureInfo* t = textures_.Get(i); t && SamePath(t->Name, name)) return i;
  cImage image;
  if (!cIO::LoadImage(name, image)) return -1;
  int id = CreateTexture(image, sampler);
  if (cTextureInfo* t = textures_.Get(id)) t->Name = name;
  return id;
}

int cNullRender::CreateTexture(const cImage& image, int sampler) {
  if (image.width <= 0 || image.height <= 0 || image.format <= 0 || image.format >= kPixFormatCount) return -1;
  cTextureInfo t;
  t.Sampler = sampler, t.Format = image.format, t.Width = image.width, t.Height = image.height;
  t.Mips = image.mips, t.Cube = image.kind == cImage::Kind::Cube;
  int id = textures_.Add(t);
  Record("CreateTexture", {double(id), double(image.width), double(image.height), double(image.format)});
  return id;
}

void cNullRender::FreeTexture(int id) {
  if (textures_.Free(id)) Record("FreeTexture", {double(id)});
}
int cNullRender::GetTextureWidth(int id) const { return textures_.Get(id) ? textures_.Get(id)->Width : 0; }
int cNullRender::GetTextureHeight(int id) const { return textures_.Get(id) ? textures_.Get(id)->Height : 0; }
int cNullRender::GetTextureDepth(int id) const { return textures_.Get(id) ? textures_.Get(id)->Depth : 1; }
int cNullRender::GetTextureFormat(int id) const { return textures_.Get(id) ? textures_.Get(id)->Format : -1; }
int cNullRender::GetTextureMips(int id) const { return textures_.Get(id) ? textures_.Get(id)->Mips : 1; }
bool cNullRender::IsRenderTarget(int id) const { return textures_.Get(id) && textures_.Get(id)->RenderTarget; }

int cNullRender::GetShaderID(const std::string& name, int vertexFormat, const std::string& defines) {
  std::string d = CanonicalDefines(defines);
  for (int i = 0; i < shaders_.End(); i++)
    if (const Shader* s = shaders_.Get(i); s && s->Format == vertexFormat && s->Defines == d && SameNameNoCase(s->Name, name))
      return i;
  return AddShader(name, vertexFormat, d);
}

int cNullRender::AddShader(const std::string& name, int vertexFormat, const std::string& defines) {
  if (name.empty() || vertexFormat < 0 || vertexFormat >= int(formats_.size())) return -1;
  int id = shaders_.Add({name, CanonicalDefines(defines), vertexFormat});
  Record("AddShader", {double(id), double(vertexFormat)}, name);
  return id;
}

int cNullRender::FindConstant(int, const std::string&) const { return -1; }
int cNullRender::FindSampler(int shader, const std::string& name) const {
  // Every live shader answers the first sampler name, so meshes bind stage 0.
  return shaders_.Get(shader) && name == "s_Sampler0" ? 0 : -1;
}

void cNullRender::SetShader(int id) {
  shader_ = shaders_.Get(id) ? id : -1;
  Record("SetShader", {double(shader_)});
}
void cNullRender::FreeShader(int id) {
  if (shaders_.Free(id) && shader_ == id) shader_ = -1;
}

int cNullRender::RegisterVertexFormat(const std::vector<VertexElement>& elements) {
  cVertexFormat f;
  if (!BuildVertexFormat(elements, f)) return -1;
  formats_.push_back(std::move(f));
  return int(formats_.size()) - 1;
}
int cNullRender::GetVertexSize(int format) const {
  return format >= 0 && format < int(formats_.size()) ? formats_[format].Size : 0;
}

int cNullRender::CreateVertexBuffer(const void*, int bytes) {
  if (bytes <= 0) return -1;
  int id = vertexBuffers_.Add(bytes);
  Record("CreateVertexBuffer", {double(id), double(bytes)});
  return id;
}
int cNullRender::CreateIndexBuffer(const void*, int count, int indexSize) {
  if (count <= 0 || (indexSize != 2 && indexSize != 4)) return -1;
  int id = indexBuffers_.Add(count);
  Record("CreateIndexBuffer", {double(id), double(count), double(indexSize)});
  return id;
}
void cNullRender::FreeVertexBuffer(int id) { vertexBuffers_.Free(id); }
void cNullRender::FreeIndexBuffer(int id) { indexBuffers_.Free(id); }
void cNullRender::SetVertexBuffer(int id, int off) { Record("SetVertexBuffer", {double(id), double(off)}); }
void cNullRender::SetIndexBuffer(int id) { Record("SetIndexBuffer", {double(id)}); }

void cNullRender::DrawUser(int kind, const void*, int count) {
  Record("DrawUser", {double(kind), double(count), double(PrimitiveCount(kind, count))});
}
void cNullRender::Draw(int kind, int first, int count) { Record("Draw", {double(kind), double(first), double(count)}); }
void cNullRender::DrawIndexedUser(int kind, const void*, const void*, int vertexCount, int indexCount, int indexSize) {
  Record("DrawIndexedUser", {double(kind), double(vertexCount), double(indexCount), double(indexSize)});
}
void cNullRender::DrawIndexed(int kind, int firstIndex, int count) {
  Record("DrawIndexed", {double(kind), double(firstIndex), double(count)});
}

int cNullRender::GetSamplerState(int filter, int u, int v, int w) {
  auto key = std::make_tuple(filter, u, v, w);
  auto it = samplers_.find(key);
  if (it != samplers_.end()) return it->second;
  int id = int(samplers_.size());
  samplers_[key] = id;
  return id;
}
bool cNullRender::SetTextureSampler(int texture, int sampler) {
  cTextureInfo* t = textures_.Get(texture);
  if (!t || t->Sampler < 0) return false;
  t->Sampler = sampler;
  return true;
}

void cNullRender::SetCamera(cViewer* camera) {
  camera_ = camera;
  Record("SetCamera", {});
}

int cNullRender::GetBlendState(int s, int d, int op, int mask) {
  auto key = std::make_tuple(s, d, op, mask);
  auto it = blends_.find(key);
  if (it != blends_.end()) return it->second;
  int id = int(blends_.size());
  blends_[key] = id;
  return id;
}
int cNullRender::GetDepthState(bool test, bool write, int function) {
  auto key = std::make_tuple(test, write, function);
  auto it = depths_.find(key);
  if (it != depths_.end()) return it->second;
  int id = int(depths_.size());
  depths_[key] = id;
  return id;
}

void cNullRender::Clear(bool colourFlag, bool depthFlag, uint32_t colour, float depth) {
  Record("Clear", {double(colourFlag), double(depthFlag), double(colour), depth});
}

bool cNullRender::BeginFrame() {
  Record("BeginFrame", {});
  return ScreenWidth > 0 && ScreenHeight > 0;
}

int cNullRender::CreateRenderTarget(int width, int height, int format, int sampler, bool cube, int usage) {
  if (width <= 0 || height <= 0 || format <= 0 || format >= kPixD16) return -1;
  cTextureInfo t;
  t.Sampler = sampler, t.Format = format, t.Width = width, t.Height = height, t.Cube = cube;
  t.RenderTarget = true, t.Usage = usage;
  return textures_.Add(t);
}
int cNullRender::CreateDepthTarget(int target, int format) {
  if (!IsRenderTarget(target) || format < kPixD16 || format > kPixD24S8) return -1;
  return depthTargets_.Add(target);
}
void cNullRender::FreeDepthTarget(int id) { depthTargets_.Free(id); }
void cNullRender::SetRenderTargets(const int* targets, int count, int depth, const int*) {
  Record("SetRenderTargets", {targets ? double(targets[0]) : -1.0, double(count), double(depth)});
}
bool cNullRender::ResizeRenderTarget(int id, int width, int height) {
  cTextureInfo* t = textures_.Get(id);
  if (!t || !t->RenderTarget || width <= 0 || height <= 0) return false;
  t->Width = width, t->Height = height;
  return true;
}
bool cNullRender::ReadTexture(int id, cImage& image) {
  const cTextureInfo* t = textures_.Get(id);
  if (!t || !t->RenderTarget) return false;
  image.Create(t->Width, t->Height, t->Format);
  return true;
}

void cNullRender::DrawLine(float x0, float y0, float x1, float y1, float z, uint32_t c0, uint32_t c1) {
  Record("DrawLine", {x0, y0, x1, y1, z, double(c0), double(c1)});
}
void cNullRender::DrawFrame(const cRect& r, float z, uint32_t c) {
  Record("DrawFrame", {r.left, r.top, r.right, r.bottom, z, double(c)});
}
void cNullRender::FillRect(const cRect& r, float z, uint32_t c) {
  Record("FillRect", {r.left, r.top, r.right, r.bottom, z, double(c)});
}
void cNullRender::FillRect(const cRect& r, float z, const uint32_t c[4]) {
  Record("FillRect", {r.left, r.top, r.right, r.bottom, z, double(c[0]), double(c[1]), double(c[2]), double(c[3])});
}
void cNullRender::FillQuad(const cVec2 p[4], float z, const uint32_t c[4]) {
  Record("FillQuad", {p[0].x, p[0].y, p[1].x, p[1].y, p[2].x, p[2].y, p[3].x, p[3].y, z, double(c[0])});
}
void cNullRender::FillTriangle(const cVec2 p[3], float z, const uint32_t c[3]) {
  Record("FillTriangle", {p[0].x, p[0].y, p[1].x, p[1].y, p[2].x, p[2].y, z, double(c[0])});
}
void cNullRender::DrawTexture(const cRect& r, const cRect& uv, float z, uint32_t c) {
  Record("DrawTexture", {r.left, r.top, r.right, r.bottom, uv.left, uv.top, uv.right, uv.bottom, z, double(c)});
}
void cNullRender::DrawTexturedQuad(const cVec2 p[4], const cVec2 uv[4], float z, const uint32_t c[4]) {
  Record("DrawTexturedQuad", {p[0].x, p[0].y, p[2].x, p[2].y, uv[0].x, uv[0].y, uv[2].x, uv[2].y, z, double(c[0])});
}

}  // namespace comms
