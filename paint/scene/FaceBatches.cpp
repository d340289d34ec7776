// Batches of dirty faces for the colour and normal passes of a render target.
#include "paint/scene/FaceBatches.h"

#include <algorithm>
#include <atomic>
#include <cmath>

#include "ClassEngine/Threader.h"
#include "paint/layers/PixelMap.h"
#include "paint/scene/PaintScene.h"

using comms::cVec2;
using comms::cVec3;

namespace {

cVec2 Lerp(const cVec2& a, const cVec2& b, float t) { return {a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t}; }

cVec2 Bilinear(const cVec2 c[4], float s, float t) {
  return Lerp(Lerp(c[0], c[1], s), Lerp(c[3], c[2], s), t);
}

// lround of v clamped to 0..255 (NaN gives 0), without the library call:
// the fraction of a float is exact, so the half-way test is too.
uint32_t RoundByte(float v) {
  if (!(v > 0)) return 0;
  if (v >= 255) return 255;
  const int i = (int)v;
  return (uint32_t)(i + (v - (float)i >= 0.5f));
}

uint32_t NormalWord(const MicroVertex& v) {
  const float k = 1 - v.Freeze * 0.7f;
  auto byte = [&](float n) { return RoundByte((n * k * 0.5f + 0.5f) * 255); };
  return (v.Color & 0xff000000u) | byte(v.Normal.x) << 16 | byte(v.Normal.y) << 8 | byte(v.Normal.z);
}

uint32_t ColourWord(const MicroVertex& v) {
  const uint32_t alpha = RoundByte(std::clamp(v.Opacity, 0.0f, 1.0f) * 255);
  const uint32_t c = v.Color;
  return alpha << 24 | (c & 0x0000ff00u) | ((c >> 16) & 0xffu) | ((c & 0xffu) << 16);
}

// Whether the face has a batch at all: a grid, and corners to take UVs from.
bool Emits(const PaintScene& scene, int face) {
  const PaintFace& f = scene.Faces[face];
  return f.Grid && f.Nx > 0 && f.Ny > 0 && scene.FaceCornerMap.Entries(face) >= 4;
}

size_t VertexCount(const PaintFace& f) { return (size_t)(f.Nx + 2) * (f.Ny + 2); }
size_t IndexCount(const PaintFace& f) { return (size_t)(f.Nx + 1) * (f.Ny + 1) * 6; }

// Writes the face's vertices at `vertices` and its indices at `indices`,
// numbered from `first`; the caller has made room (VertexCount, IndexCount).
void FillFace(PaintScene& scene, int face, FaceBatchVertex* vertices, uint32_t* indices, uint32_t first) {
  PaintFace& f = scene.Faces[face];
  const int nx = f.Nx, ny = f.Ny;
  const int entries = scene.FaceCornerMap.Entries(face);
  const int* c = scene.FaceCornerMap.Of(face);
  const int corners = entries - 1;
  int width = 1024, height = 1024;
  if (f.RenderTarget < scene.RenderTargets.GetAmount()) {
    width = std::max(1, scene.RenderTargets[f.RenderTarget]->rtSizeX);
    height = std::max(1, scene.RenderTargets[f.RenderTarget]->rtSizeY);
  }
  cVec2 uv[4], pad[4];
  for (int i = 0; i < 4; i++) {
    const FaceCorner& k = scene.Corners[c[std::min(i, corners - 1)]];
    uv[i] = cVec2(k.UV.x - 0.5f / width, k.UV.y + 0.5f / height);
    pad[i] = k.PadDir;
  }
  const float padX = 3.0f / std::max(width, 1024), padY = 3.0f / std::max(height, 1024);
  const uint32_t W = (uint32_t)nx + 2;
  MicroVertex scratch;
  FaceSides sides;
  scene.GetFaceSides(face, sides);
  for (int y = -1; y <= ny; y++)
    for (int x = -1; x <= nx; x++) {
      const float s = (x + 0.5f) / nx, t = (y + 0.5f) / ny;
      cVec2 p = Bilinear(uv, s, t);
      // Outside the grid on a seam: out along the padding direction.
      const float sc = std::clamp(s, 0.0f, 1.0f), tc = std::clamp(t, 0.0f, 1.0f);
      cVec2 out;
      if (y < 0 && (f.SeamBits & 1)) out = Lerp(pad[0], pad[1], sc);
      if (x >= nx && (f.SeamBits & 2)) out = Lerp(pad[1], pad[2], tc);
      if (y >= ny && (f.SeamBits & 4)) out = Lerp(pad[3], pad[2], sc);
      if (x < 0 && (f.SeamBits & 8)) out = Lerp(pad[0], pad[3], tc);
      p.x += out.x * padX, p.y += out.y * padY;
      const MicroVertex& v = *scene.MicroVertexBeside(face, sides, x, y, &scratch);
      *vertices++ = {v.Position, p, ColourWord(v), NormalWord(v)};
    }
  // The split of each quad follows the shorter UV diagonal: rows run right to
  // left when the first diagonal is the shorter one.
  const float d0x = uv[2].x - uv[0].x, d0y = uv[2].y - uv[0].y;
  const float d1x = uv[3].x - uv[1].x, d1y = uv[3].y - uv[1].y;
  const bool mirrored = d0x * d0x + d0y * d0y < d1x * d1x + d1y * d1y;
  for (uint32_t y = 0; y <= (uint32_t)ny; y++)
    for (uint32_t x = 0; x <= (uint32_t)nx; x++, indices += 6) {
      if (!mirrored) {
        const uint32_t i = first + y * W + x;
        const uint32_t q[6] = {i, i + 1, i + W, i + 1, i + W + 1, i + W};
        std::copy(q, q + 6, indices);
      } else {
        const uint32_t i = first + y * W + (W - 1 - x);
        const uint32_t q[6] = {i, i - 1, i + W, i - 1, i + W - 1, i + W};
        std::copy(q, q + 6, indices);
      }
    }
}

// Room for the faces in the batch, then each face filled on the pool: a
// face's place depends only on the faces before it, so any thread count
// gives the same bytes.
void FillFaces(PaintScene& scene, const std::vector<int>& faces, FaceBatch& batch) {
  std::vector<size_t> vertexAt(faces.size() + 1), indexAt(faces.size() + 1);
  vertexAt[0] = batch.Vertices.size(), indexAt[0] = batch.Indices.size();
  for (size_t i = 0; i < faces.size(); i++) {
    vertexAt[i + 1] = vertexAt[i] + VertexCount(scene.Faces[faces[i]]);
    indexAt[i + 1] = indexAt[i] + IndexCount(scene.Faces[faces[i]]);
  }
  batch.Vertices.resize(vertexAt.back());
  batch.Indices.resize(indexAt.back());
  // Workers take the next face as they come free (faces near the pen cost
  // more than those at its rim); small batches are not worth the pool.
  const int n = (int)faces.size();
  std::atomic<int> next{0};
  RunSection(n < 16 ? 1 : std::max(1, std::min(UsingProcessors(), kMaxThreads)), [&](int) {
    for (int i; (i = next.fetch_add(1, std::memory_order_relaxed)) < n;)
      FillFace(scene, faces[i], &batch.Vertices[vertexAt[i]], &batch.Indices[indexAt[i]], (uint32_t)vertexAt[i]);
  });
}

}  // namespace

void EmitFace(PaintScene& scene, int face, FaceBatch& batch) {
  if (Emits(scene, face)) FillFaces(scene, {face}, batch);
}

int UpdateDirtyFaces(PaintScene& scene, bool useColorPass, int target, const FaceBatchDrawer& draw) {
  if (target < 0) {
    int emitted = 0;
    for (int t = 0; t < std::max(1, scene.RenderTargets.GetAmount()); t++)
      emitted += UpdateDirtyFaces(scene, useColorPass, t, draw);
    scene.DirtyFaces.clear();
    scene.DirtyFlag.clear();
    return emitted;
  }
  if (target < scene.RenderTargets.GetAmount()) {
    MRenderTarget* rt = scene.RenderTargets[target];
    if (rt->UseExternalTexture) {
      if (rt->Pixels) scene.UpdatePixelMap(target);
      return 0;
    }
  }
  if (scene.DirtyFaces.empty()) return 0;
  FaceBatch batch;
  batch.RenderTarget = target;
  batch.Vertices.reserve(FaceBatch::kMaxVertices);
  batch.Indices.reserve(FaceBatch::kMaxIndices);
  // Faces are gathered until the next would overflow the batch; each full
  // batch is filled and drawn.
  std::vector<int> pending;
  size_t vertices = 0, indices = 0;
  auto flush = [&] {
    FillFaces(scene, pending, batch);
    if (draw && !batch.Indices.empty()) draw(batch, useColorPass);
    batch.Vertices.clear();
    batch.Indices.clear();
    pending.clear();
    vertices = indices = 0;
  };
  int emitted = 0;
  for (int face : scene.DirtyFaces) {
    const PaintFace& f = scene.Faces[face];
    if (f.RenderTarget != target || !Emits(scene, face)) continue;
    const size_t v = VertexCount(f), i = IndexCount(f);
    if (v > (size_t)FaceBatch::kMaxVertices || i > (size_t)FaceBatch::kMaxIndices) continue;
    if (vertices + v > (size_t)FaceBatch::kMaxVertices || indices + i > (size_t)FaceBatch::kMaxIndices) flush();
    pending.push_back(face);
    vertices += v, indices += i;
    emitted++;
  }
  if (!pending.empty()) flush();
  return emitted;
}
