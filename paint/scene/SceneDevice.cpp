// The paint scene on the device: formats, target textures, the texture-space
// passes, tile copies and the view's block meshes.
#include "paint/scene/SceneDevice.h"

#include <algorithm>
#include <cstring>

#include "ClassEngine/Log.h"
#include "interchange/Image.h"
#include "paint/layers/PixelMap.h"
#include "paint/scene/FaceBatches.h"
#include "paint/scene/PaintScene.h"
#include "render/Viewer.h"

using namespace comms;

static_assert(sizeof(FaceBatchVertex) == 28, "the batch vertex is the paint batch format");

namespace {

// Texture-space tiles go up eight to a staging row.
constexpr int kStagingTilesAcross = 8;

struct ViewVertex {
  cVec3 Position, Normal;
  cVec2 UV;
};
static_assert(sizeof(ViewVertex) == 32, "the view vertex is the stock position-normal-uv format");

struct CopyVertex {
  cVec3 Position;
  cVec2 UV;
};

}  // namespace

std::vector<std::vector<VertexElement>> PaintVertexFormats() {
  const VertexElement pos{"Pos", kSemPos, kCompFloat, 3}, tex{"TexCoord", kSemTexCoord, kCompFloat, 2};
  const VertexElement col{"Color", kSemFree, kCompByte, 4}, nrm{"NormalWord", kSemFree, kCompByte, 4};
  return {{pos, tex, col, nrm}, {pos, tex}, {pos, col}};
}

bool RegisterPaintVertexFormats(cRender& render) {
  if (render.GetVertexFormatCount() == kStockVertexFormats)
    for (const auto& f : PaintVertexFormats()) render.RegisterVertexFormat(f);
  return render.GetVertexFormatCount() > kVfPaintWires;
}

SceneDevice::SceneDevice(cRender& render, PaintScene& scene) : render_(render), scene_(scene) {}

SceneDevice::~SceneDevice() {
  Clear();
  if (scene_.Device == this) {
    scene_.Device = nullptr;
    scene_.DrawFaceBatch = nullptr;
  }
}

void SceneDevice::Attach() {
  RegisterPaintVertexFormats(render_);
  scene_.Device = this;
  scene_.DrawFaceBatch = [this](const FaceBatch& batch, bool colourPass) { DrawBatch(batch, colourPass); };
}

void SceneDevice::Clear() {
  for (auto& [key, parts] : scene_.MeshBlocks)
    for (MeshBlockPart& p : parts) p.Mesh.reset();
  for (MRenderTarget* rt : scene_.RenderTargets) {
    render_.FreeTexture(rt->ColorTexture);
    render_.FreeTexture(rt->NormalTexture);
    rt->ColorTexture = rt->NormalTexture = -1;
    if (rt->Pixels) rt->Pixels->ColorTexture = rt->Pixels->NormalTexture = -1;
  }
}

bool SceneDevice::CreateTargetTextures(MRenderTarget& rt, std::string* why) {
  if (rt.ColorTexture >= 0 && rt.NormalTexture >= 0) return true;
  const int w = rt.Pixels ? rt.Pixels->Width : rt.rtSizeX, h = rt.Pixels ? rt.Pixels->Height : rt.rtSizeY;
  const int sampler = render_.GetSamplerState(kFilterLinear, kAddressWrap, kAddressWrap, kAddressWrap);
  const int normal = render_.CreateRenderTarget(w, h, kPixARGB8, sampler, false, 0);
  const int colour = normal >= 0 ? render_.CreateRenderTarget(w, h, kPixARGB8, sampler, false, 0) : -1;
  if (colour < 0) {
    render_.FreeTexture(normal);
    if (why) *why = "no " + std::to_string(w) + " x " + std::to_string(h) + " render target for " + rt.Name.cpchar();
    return false;
  }
  // Unpainted texels: the default grey, a flat normal, no coverage.
  for (int id : {normal, colour}) {
    render_.SetRenderTargets(&id, 1, -1, nullptr);
    render_.Clear(true, false, 0x00808080u, 1.0f);
  }
  render_.SetRenderTargets(nullptr, 0, -1, nullptr);
  rt.NormalTexture = normal, rt.ColorTexture = colour;
  if (rt.Pixels) rt.Pixels->NormalTexture = normal, rt.Pixels->ColorTexture = colour;
  return true;
}

void SceneDevice::DrawBatch(const FaceBatch& batch, bool colourPass) {
  if (batch.RenderTarget >= scene_.RenderTargets.GetAmount() || batch.Indices.empty()) return;
  MRenderTarget& rt = *scene_.RenderTargets[batch.RenderTarget];
  if (rt.NormalTexture < 0 && !CreateTargetTextures(rt, nullptr)) return;
  if (passNormals_ < 0) {
    passColour_ = render_.GetShaderID("obj_render_color", kVfPaintBatch, "");
    passNormals_ = render_.GetShaderID("obj_render_normals", kVfPaintBatch, "");
    if (render_.GetMaxRenderTargets() >= 2) passBoth_ = render_.GetShaderID("obj_render_mrt", kVfPaintBatch, "");
  }
  const int w = render_.GetTextureWidth(rt.NormalTexture), h = render_.GetTextureHeight(rt.NormalTexture);
  // The batch's texture coordinates carry a shift of half a texel toward the
  // upper left; the passes take it back so texel centres land on samples.
  const cVec2 shift(0.5f / std::max(w, 1), -0.5f / std::max(h, 1));
  render_.SetBlendState(-1);
  render_.SetDepthState(-1);
  render_.SetCullMode(kCullNone);
  auto pass = [&](int shader, const int* targets, int count) {
    if (shader < 0) return;
    render_.SetRenderTargets(targets, count, -1, nullptr);
    render_.SetViewPort(cRect(0, 0, float(w), float(h)));
    render_.SetShader(shader);
    render_.SetVec2(render_.FindConstant(shader, "g_TexelShift"), shift);
    render_.DrawIndexedUser(kPrimTriangles, batch.Vertices.data(), batch.Indices.data(), int(batch.Vertices.size()),
                            int(batch.Indices.size()), 4);
  };
  if (colourPass && passBoth_ >= 0) {
    const int both[2] = {rt.ColorTexture, rt.NormalTexture};
    pass(passBoth_, both, 2);
  } else {
    pass(passNormals_, &rt.NormalTexture, 1);
    if (colourPass) pass(passColour_, &rt.ColorTexture, 1);
  }
  render_.SetRenderTargets(nullptr, 0, -1, nullptr);
}

void SceneDevice::UploadTiles(int target, const std::vector<PixelTile*>& tiles, const std::vector<uint32_t>& colour,
                              const std::vector<uint32_t>& normal, bool colourToo) {
  if (target >= scene_.RenderTargets.GetAmount() || tiles.empty()) return;
  MRenderTarget& rt = *scene_.RenderTargets[target];
  if (rt.NormalTexture < 0 && !CreateTargetTextures(rt, nullptr)) return;
  if (copy_ < 0) copy_ = render_.GetShaderID("rt_copy", kVfPosTex, "");
  if (pointSampler_ < 0) pointSampler_ = render_.GetSamplerState(kFilterPoint, kAddressClamp, kAddressClamp, kAddressClamp);
  if (copy_ < 0) return;
  const int n = int(tiles.size());
  const int rows = (n + kStagingTilesAcross - 1) / kStagingTilesAcross;
  const int sw = kStagingTilesAcross * kTileSide, sh = rows * kTileSide;
  const int w = render_.GetTextureWidth(rt.NormalTexture), h = render_.GetTextureHeight(rt.NormalTexture);
  // Two triangles a tile: from its slot in the staging picture to its place
  // in the target, in clip space.
  std::vector<CopyVertex> quads;
  quads.reserve(size_t(n) * 6);
  for (int i = 0; i < n; i++) {
    const float x0 = float(tiles[i]->X * kTileSide) / w * 2 - 1, y0 = float(tiles[i]->Y * kTileSide) / h * 2 - 1;
    const float x1 = x0 + 2.0f * kTileSide / w, y1 = y0 + 2.0f * kTileSide / h;
    const float u0 = float(i % kStagingTilesAcross * kTileSide) / sw, v0 = float(i / kStagingTilesAcross * kTileSide) / sh;
    const float u1 = u0 + float(kTileSide) / sw, v1 = v0 + float(kTileSide) / sh;
    const CopyVertex a{{x0, y0, 0}, {u0, v0}}, b{{x1, y0, 0}, {u1, v0}}, c{{x1, y1, 0}, {u1, v1}},
        d{{x0, y1, 0}, {u0, v1}};
    quads.insert(quads.end(), {a, b, c, a, c, d});
  }
  auto copy = [&](const std::vector<uint32_t>& words, int texture) {
    cImage staging;
    staging.Create(sw, sh, kPixARGB8);
    for (int i = 0; i < n; i++)
      for (int py = 0; py < kTileSide; py++)
        std::memcpy(staging.Pixel(i % kStagingTilesAcross * kTileSide, i / kStagingTilesAcross * kTileSide + py),
                    &words[size_t(i) * kTilePixels + size_t(py) * kTileSide], kTileSide * 4);
    const int source = render_.CreateTexture(staging, pointSampler_);
    if (source < 0) return;
    render_.SetRenderTargets(&texture, 1, -1, nullptr);
    render_.SetViewPort(cRect(0, 0, float(w), float(h)));
    render_.SetBlendState(-1);
    render_.SetDepthState(-1);
    render_.SetCullMode(kCullNone);
    render_.SetShader(copy_);
    render_.BindTexture(render_.FindSampler(copy_, "s_Sampler0"), source);
    render_.DrawUser(kPrimTriangles, quads.data(), int(quads.size()));
    render_.SetRenderTargets(nullptr, 0, -1, nullptr);
    render_.FreeTexture(source);
  };
  copy(normal, rt.NormalTexture);
  if (colourToo) copy(colour, rt.ColorTexture);
}

namespace {

// A vertex of a micro-vertex block: the composed sample itself.
struct GridVertex {
  cVec3 Position, Normal;
  uint32_t Color;  // red, green, blue, specular in memory order
};
static_assert(sizeof(GridVertex) == 28, "the grid vertex is the stock position-normal-colour format");

uint32_t DeviceColour(uint32_t argb) { return (argb & 0xff00ff00u) | ((argb >> 16) & 0xffu) | ((argb & 0xffu) << 16); }

template <class Vertex>
std::unique_ptr<StaticMesh> MakeMesh(cRender& render, const std::vector<Vertex>& vertices,
                                     const std::vector<uint32_t>& indices, int format) {
  if (indices.empty()) return nullptr;
  auto mesh = std::make_unique<StaticMesh>();
  mesh->Create(render, int(vertices.size()), int(indices.size()), format);
  std::memcpy(mesh->GetVertices(), vertices.data(), vertices.size() * sizeof(Vertex));
  std::memcpy(mesh->GetIndices32(), indices.data(), indices.size() * 4);
  mesh->SetVertexCount(int(vertices.size()));
  mesh->SetIndexCount(int(indices.size()));
  mesh->Upload();
  return mesh;
}

}  // namespace

void SceneDevice::BuildMesh(MeshBlockPart& part) {
  const bool perPixel = PerPixel(part.RenderTarget);
  std::vector<ViewVertex> polygons;
  std::vector<GridVertex> samples;
  std::vector<uint32_t> indices;
  MicroVertex scratch;
  for (int i = 0; i < part.Faces.GetAmount(); i++) {
    const int face = part.Faces[i];
    const PaintFace& f = scene_.Faces[face];
    const int entries = scene_.FaceCornerMap.Entries(face);
    if (!f.Visible || entries < 4) continue;
    const int* c = scene_.FaceCornerMap.Of(face);
    const int corners = entries - 1;
    const uint32_t first = uint32_t(perPixel ? polygons.size() : samples.size());
    if (perPixel || !f.Grid || f.Nx == 0 || f.Ny == 0) {
      // The polygon itself, a fan from its first corner; a face without
      // samples in a micro-vertex block shows the default grey.
      for (int k = 0; k < corners; k++) {
        const FaceCorner& corner = scene_.Corners[c[k]];
        const cVec3 n = corner.Normal >= 0 && corner.Normal < int(scene_.Normals.size()) ? scene_.Normals[corner.Normal]
                                                                                       : cVec3(0, 0, 1);
        const cVec3& p = scene_.Vertices[corner.Vertex].Position;
        if (perPixel) polygons.push_back({p, n, corner.UV});
        else samples.push_back({p, n, DeviceColour(0x00808080u)});
      }
      for (int k = 1; k + 1 < corners; k++) indices.insert(indices.end(), {first, first + k, first + k + 1});
      continue;
    }
    // The micro-vertex grid with one ring more, reached across the edges, so
    // neighbouring faces meet without a gap.
    const int W = f.Nx + 2;
    for (int y = -1; y <= f.Ny; y++)
      for (int x = -1; x <= f.Nx; x++) {
        const MicroVertex& v = *scene_.GetMicroVertex(face, x, y, &scratch).Vertex;
        samples.push_back({v.Position, v.Normal, DeviceColour(v.Color)});
      }
    for (int y = 0; y <= f.Ny; y++)
      for (int x = 0; x <= f.Nx; x++) {
        const uint32_t a = first + uint32_t(y * W + x);
        indices.insert(indices.end(), {a, a + 1, a + W, a + 1, a + W + 1, a + W});
      }
  }
  part.Mesh = perPixel ? MakeMesh(render_, polygons, indices, kVfPosNormalTex)
                       : MakeMesh(render_, samples, indices, kVfPosNormalColor);
  if (part.Mesh) ++meshesBuilt_;
}

bool SceneDevice::PerPixel(int target) const {
  return target < scene_.RenderTargets.GetAmount() && scene_.RenderTargets[target]->Pixels != nullptr;
}

int SceneDevice::ViewShader(bool perPixel, PaintViewMode mode) {
  int& id = viewShaders_[perPixel][int(mode)];
  if (id >= 0) return id;
  if (!perPixel) {
    const char* defines = mode == PaintViewMode::Colour   ? "#define VIEW_COLOR"
                          : mode == PaintViewMode::Relief ? "#define VIEW_RELIEF"
                                                          : "";
    return id = render_.GetShaderID("obj_grid", kVfPosNormalColor, defines);
  }
  const char* defines = mode == PaintViewMode::Colour   ? "#define VIEW_COLOR"
                        : mode == PaintViewMode::Relief ? "#define VIEW_RELIEF\n#define TANGENT_NORMALS"
                                                        : "#define VIEW_ALL\n#define TANGENT_NORMALS";
  return id = render_.GetShaderID("obj_sel", kVfPosNormalTex, defines);
}

void SceneDevice::RestoreBackBuffer(cViewer& camera) {
  render_.SetRenderTargets(nullptr, 0, -1, nullptr);
  render_.SetCamera(&camera);
  render_.SetViewPort(camera.ViewRect);
}

void SceneDevice::Update() {
  if (scene_.Faces.empty()) return;
  UpdateDirtyFaces(scene_, true, -1, scene_.DrawFaceBatch);
  render_.SetRenderTargets(nullptr, 0, -1, nullptr);
}

int SceneDevice::Draw(cViewer& camera, PaintViewMode mode) {
  if (scene_.Faces.empty()) return 0;
  Update();
  RestoreBackBuffer(camera);
  return DrawMeshes(camera, mode);
}

int SceneDevice::DrawMeshes(cViewer& camera, PaintViewMode mode) {
  render_.SetCamera(&camera);
  if (depth_ < 0) depth_ = render_.GetDepthState(true, true, kCmpLessEqual);
  render_.SetWorldMatrix(cMat4::Translation(scene_.Shift));
  render_.SetDepthState(depth_);
  render_.SetBlendState(-1);
  render_.SetCullMode(kCullNone);
  int drawn = 0;
  for (auto& [key, parts] : scene_.MeshBlocks)
    for (MeshBlockPart& part : parts) {
      if (part.Faces.GetAmount() == 0 || part.RenderTarget >= scene_.RenderTargets.GetAmount()) continue;
      if (!part.Mesh || !part.UpToDate) {
        BuildMesh(part);
        part.UpToDate = 1;
      }
      if (!part.Mesh) continue;
      const MRenderTarget& rt = *scene_.RenderTargets[part.RenderTarget];
      part.Mesh->SetShader(ViewShader(PerPixel(part.RenderTarget), mode));
      part.Mesh->SetTexture(rt.ColorTexture, 0);
      part.Mesh->SetTexture(rt.NormalTexture, 1);
      part.Mesh->Draw();
      ++drawn;
    }
  render_.SetWorldMatrix(cMat4::Identity());
  return drawn;
}
