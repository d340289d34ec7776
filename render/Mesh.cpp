// BaseMesh and StaticMesh: system arrays, upload, and the draw paths.
#include "render/Mesh.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace comms {

BaseMesh::~BaseMesh() = default;

void BaseMesh::Create(cRender& render, int vertices, int indices, int format) {
  render_ = &render;
  VertexFormat = format;
  VertexSize = render.GetVertexSize(format);
  VertexCapacity = std::max(vertices, 0);
  IndexCapacity = std::max(indices, 0);
  VertexCount = IndexCount = 0;
  Vertices.assign(size_t(VertexCapacity) * size_t(VertexSize), uint8_t(205));
  Indices16.clear();
  Indices32.clear();
  VertexBuffer = IndexBuffer16 = IndexBuffer32 = Shader = -1;
  for (int i = 0; i < 8; i++) Textures[i] = Samplers[i] = -1;
}

uint8_t* BaseMesh::GetVertices() {
  if (Vertices.empty()) Vertices.assign(size_t(VertexCapacity) * size_t(VertexSize), uint8_t(205));
  return Vertices.data();
}
uint16_t* BaseMesh::GetIndices16() {
  if (Indices16.empty()) Indices16.resize(size_t(IndexCapacity));
  return Indices16.data();
}
uint32_t* BaseMesh::GetIndices32() {
  if (Indices32.empty()) Indices32.resize(size_t(IndexCapacity));
  return Indices32.data();
}

void BaseMesh::SetShader(int id) {
  Shader = id;
  for (int i = 0; i < 8; i++) Samplers[i] = -1;
  if (!render_) return;
  int missing = 0;
  for (int i = 0; i < 8; i++) {
    char name[16];
    snprintf(name, sizeof name, "s_Sampler%d", i);
    Samplers[i] = render_->FindSampler(id, name);
    if (Samplers[i] < 0 && ++missing == 2) break;
  }
}

void BaseMesh::SetTexture(int id, int stage) {
  if (stage >= 0 && stage < 8) Textures[stage] = id;
}

void BaseMesh::BindTextures() {
  for (int i = 0; i < 8; i++)
    if (Samplers[i] >= 0 && Textures[i] >= 0) render_->BindTexture(Samplers[i], Textures[i]);
}

void BaseMesh::Draw() {
  if (!render_ || Shader < 0 || Vertices.empty() || VertexCount <= 0) return;
  const bool indexed = !Indices32.empty() || !Indices16.empty();
  if (!indexed && Primitive != kPrimPoints) return;
  render_->SetShader(Shader);
  BindTextures();
  if (!indexed)
    render_->DrawUser(kPrimPoints, Vertices.data(), VertexCount);
  else if (!Indices32.empty())
    render_->DrawIndexedUser(Primitive, Vertices.data(), Indices32.data(), VertexCount, IndexCount, 4);
  else
    render_->DrawIndexedUser(Primitive, Vertices.data(), Indices16.data(), VertexCount, IndexCount, 2);
}

StaticMesh::~StaticMesh() { FreeBuffers(); }

void StaticMesh::FreeBuffers() {
  if (!render_) return;
  if (!SharedVertexBuffer) render_->FreeVertexBuffer(VertexBuffer);
  if (!SharedIndexBuffer) {
    render_->FreeIndexBuffer(IndexBuffer16);
    render_->FreeIndexBuffer(IndexBuffer32);
  }
  VertexBuffer = IndexBuffer16 = IndexBuffer32 = -1;
}

void StaticMesh::Upload() {
  if (!render_) return;
  if (!Vertices.empty()) {
    if (!SharedVertexBuffer) render_->FreeVertexBuffer(VertexBuffer);
    VertexBuffer = VertexCount > 0 ? render_->CreateVertexBuffer(Vertices.data(), VertexCount * VertexSize) : -1;
    std::vector<uint8_t>().swap(Vertices);
  }
  if (!Indices16.empty() || !Indices32.empty()) {
    if (!SharedIndexBuffer) {
      render_->FreeIndexBuffer(IndexBuffer16);
      render_->FreeIndexBuffer(IndexBuffer32);
    }
    IndexBuffer16 = IndexBuffer32 = -1;
    if (IndexCount > 0) {
      if (!Indices32.empty())
        IndexBuffer32 = render_->CreateIndexBuffer(Indices32.data(), IndexCount, 4);
      else
        IndexBuffer16 = render_->CreateIndexBuffer(Indices16.data(), IndexCount, 2);
    }
    std::vector<uint16_t>().swap(Indices16);
    std::vector<uint32_t>().swap(Indices32);
  }
  uploaded_ = true;
}

void StaticMesh::Draw() {
  if (!render_) return;
  if (!Vertices.empty() || !Indices16.empty() || !Indices32.empty()) Upload();
  if (Shader < 0 || VertexBuffer < 0) return;
  render_->SetShader(Shader);
  BindTextures();
  render_->SetVertexBuffer(VertexBuffer, 0);
  const int ib = IndexBuffer32 >= 0 ? IndexBuffer32 : IndexBuffer16;
  if (Primitive == kPrimLines || ib < 0) {
    if (VertexCount > 0) render_->Draw(Primitive, 0, -1);
  } else {
    render_->SetIndexBuffer(ib);
    render_->DrawIndexed(Primitive, 0, IndexCount);
  }
}

}  // namespace comms
