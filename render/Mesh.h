// BaseMesh: a drawable held in system memory (vertices of one format, 16- or
// 32-bit indices, a shader and up to eight textures), drawn through cRender
// from memory. StaticMesh moves its arrays into device buffers on Upload and
// draws from there. Worker threads may fill the arrays; only the main thread
// draws or uploads.
#pragma once
#include <cstdint>
#include <vector>

#include "render/Render.h"

namespace comms {

class BaseMesh {
 public:
  BaseMesh() = default;
  virtual ~BaseMesh();
  BaseMesh(const BaseMesh&) = delete;
  BaseMesh& operator=(const BaseMesh&) = delete;

  // Capacity in vertices and indices; vertices are filled with the byte 205
  // (uninitialised on purpose, easy to spot) and every id goes back to -1.
  void Create(cRender& render, int vertices, int indices, int format);
  uint8_t* GetVertices();
  uint16_t* GetIndices16();
  uint32_t* GetIndices32();
  // Looks up "s_Sampler0".."s_Sampler7"; from the second missing name on the
  // rest stay -1.
  void SetShader(int id);
  void SetTexture(int id, int stage);
  void SetVertexCount(int n) { VertexCount = n; }
  void SetIndexCount(int n) { IndexCount = n; }
  void SetPrimitive(int kind) { Primitive = kind; }
  virtual void Draw();

  int Primitive = kPrimTriangles;
  bool SharedVertexBuffer = false, SharedIndexBuffer = false;
  int VertexSize = 0;
  int VertexBuffer = -1;
  int IndexBuffer16 = -1, IndexBuffer32 = -1;
  int VertexFormat = -1;
  int VertexCapacity = 0, IndexCapacity = 0;
  int IndexCount = 0, VertexCount = 0;
  std::vector<uint8_t> Vertices;
  std::vector<uint16_t> Indices16;
  std::vector<uint32_t> Indices32;
  int Shader = -1;
  int Textures[8] = {-1, -1, -1, -1, -1, -1, -1, -1};
  int Samplers[8] = {-1, -1, -1, -1, -1, -1, -1, -1};

 protected:
  void BindTextures();
  cRender* render_ = nullptr;
};

class StaticMesh : public BaseMesh {
 public:
  ~StaticMesh() override;
  // Moves each system array into a new device buffer and drops the system
  // copy; 0 indices in use leaves no index buffer, 0 vertices no vertex buffer.
  void Upload();
  void Draw() override;
  bool Uploaded() const { return uploaded_; }
  void FreeBuffers();

 private:
  bool uploaded_ = false;
};

}  // namespace comms
