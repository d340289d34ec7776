// cRenderGL: the OpenGL 3.3 core back end of cRender (through libepoxy). It
// draws into a framebuffer of its own that stands for the back buffer, so a
// window and a surfaceless context behave alike; EndFrame copies it to the
// window. OpenGL keeps its objects across a resize, so there is no device
// reset to recover from: WasReset stays false. State setters compare with the current id first, and state objects
// are deduplicated by value, so a draw loop makes no redundant GL calls.
// Split over RenderGL.cpp (device, frame, states), GLTextures.cpp (textures,
// render targets, readback), GLShaders.cpp (programs, constants), GLDraw.cpp
// (vertex formats, buffers, draws) and Batch2D.cpp (the 2D layer).
#pragma once
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "render/IdTable.h"
#include "render/Render.h"
#include "render/ShaderSource.h"
#include "render/VertexFormat.h"

namespace comms {

class cRenderGL : public cRender {
 public:
  cRenderGL();
  ~cRenderGL() override;

  // Folder that holds "Shaders/" (the data folder); default: the current one.
  std::string DataFolder = ".";

  int GetApi() const override { return 2; }
  bool Init(cRenderWindow* window, int multisample) override;
  void Release() override;
  void SetViewPort(const cRect& rect) override;
  cRect GetViewPort() const override { return viewport_; }
  void SetScissor(const cRect& rect) override;
  std::string GetAdapterName() const override { return adapter_; }
  int GetMaxRenderTargets() const override { return maxTargets_; }
  bool IsFormatSupported(int format) const override;
  bool HasNonPow2Textures() const override { return true; }
  bool ReadScreen(cImage& image) override;
  bool WasReset() const override { return wasReset_; }

  int LoadTexture(const std::string& name, int sampler) override;
  int CreateTexture(const cImage& image, int sampler) override;
  void FreeTexture(int id) override;
  const cTextureInfo* GetTexture(int id) const override;
  int GetTextureWidth(int id) const override;
  int GetTextureHeight(int id) const override;
  int GetTextureDepth(int id) const override;
  int GetTextureFormat(int id) const override;
  int GetTextureMips(int id) const override;
  bool IsRenderTarget(int id) const override;

  int GetShaderID(const std::string& name, int vertexFormat, const std::string& defines) override;
  int AddShader(const std::string& name, int vertexFormat, const std::string& defines) override;
  int FindConstant(int shader, const std::string& name) const override;
  void SetShader(int id) override;
  int GetCurrentShader() const override { return shader_; }
  void FreeShader(int id) override;
  void ReloadShaders() override;

  int RegisterVertexFormat(const std::vector<VertexElement>& elements) override;
  int GetVertexSize(int format) const override;
  int GetVertexFormatCount() const override { return int(formats_.size()); }
  int CreateVertexBuffer(const void* data, int bytes) override;
  int CreateIndexBuffer(const void* data, int count, int indexSize) override;
  void FreeVertexBuffer(int id) override;
  void FreeIndexBuffer(int id) override;
  void SetVertexBuffer(int id, int byteOffset) override;
  void SetIndexBuffer(int id) override;

  void DrawUser(int kind, const void* vertices, int count) override;
  void Draw(int kind, int first, int count) override;
  void DrawIndexedUser(int kind, const void* vertices, const void* indices, int vertexCount, int indexCount,
                       int indexSize) override;
  void DrawIndexed(int kind, int firstIndex, int count) override;
  void SetWireframe(bool on) override;

  int GetSamplerState(int filter, int addressU, int addressV, int addressW) override;
  bool SetTextureSampler(int texture, int sampler) override;
  int FindSampler(int shader, const std::string& name) const override;
  void BindTexture(int sampler, int texture) override;
  void SetVec4Array(int constant, const cVec4* values, int count) override;
  void SetVec3Array(int constant, const cVec3* values, int count) override;
  void SetVec2Array(int constant, const cVec2* values, int count) override;
  void SetFloatArray(int constant, const float* values, int count) override;
  void SetMatrix(int constant, const cMat4& value) override;
  void SetMatrix3(int constant, const cMat3& value) override;
  void SetVec4(int constant, const cVec4& value) override;
  void SetVec3(int constant, const cVec3& value) override;
  void SetVec2(int constant, const cVec2& value) override;
  void SetFloat(int constant, float value) override;
  void SetInt(int constant, int value) override;
  void ApplyStandardConstants() override;

  void SetCamera(cViewer* camera) override;
  cViewer* GetCamera() const override { return camera_; }
  void SetWorldMatrix(const cMat4& world) override { world_ = world; }
  const cMat4& GetWorldMatrix() const override { return world_; }
  void SetTextureMatrix(int index, const cMat4& m) override;
  void SetTime(float seconds, float frameSeconds) override;

  int GetBlendState(int source, int destination, int op, int writeMask) override;
  void SetBlendState(int id) override;
  int GetDepthState(bool test, bool write, int function) override;
  void SetDepthState(int id) override;
  void SetCullMode(int mode) override;
  void Clear(bool colourFlag, bool depthFlag, uint32_t colour, float depth) override;

  bool BeginFrame() override;
  void EndFrame() override;
  int GetScreenWidth() const override { return screenW_; }
  int GetScreenHeight() const override { return screenH_; }

  int CreateRenderTarget(int width, int height, int format, int sampler, bool cube, int usage) override;
  int CreateDepthTarget(int target, int format) override;
  void FreeDepthTarget(int id) override;
  void SetRenderTargets(const int* targets, int count, int depth, const int* faces) override;
  bool ResizeRenderTarget(int id, int width, int height) override;
  bool ReadTexture(int id, cImage& image) override;

  void BeginStencilCount(bool depthFail) override;
  void StencilEqual() override;
  void StencilNotEqual() override;
  void EndStencil() override;

  void DrawLine(float x0, float y0, float x1, float y1, float z, uint32_t colour0, uint32_t colour1) override;
  void DrawFrame(const cRect& rect, float z, uint32_t colour) override;
  void FillRect(const cRect& rect, float z, uint32_t colour) override;
  void FillRect(const cRect& rect, float z, const uint32_t colours[4]) override;
  void FillQuad(const cVec2 points[4], float z, const uint32_t colours[4]) override;
  void FillTriangle(const cVec2 points[3], float z, const uint32_t colours[3]) override;
  void Set2DTexture(int texture, int shader) override;
  void DrawTexture(const cRect& rect, const cRect& uvRect, float z, uint32_t colour) override;
  void DrawTexturedQuad(const cVec2 points[4], const cVec2 uvs[4], float z, const uint32_t colours[4]) override;
  void Flush2D() override;

  // Compiles the "// Precompile" variants of every source under Shaders/ and
  // stores their stage texts with a Cache.txt index in Shaders/<platform>/,
  // after asking. Only "PC" exists here. Returns the variants stored.
  int PrecompileShaders(const std::string& platform);

  // Draw calls since the last BeginFrame (for the benchmark and the status line).
  int DrawCallsThisFrame() const { return drawCalls_; }
  // Waits until the device has finished all work (benchmarks, readback).
  void Finish();

 private:
  struct Texture {
    cTextureInfo Info;
    unsigned Gl = 0;
  };
  struct Constant {
    std::string Name;
    int Location = -1;
    unsigned Type = 0;
    int Size = 1;
  };
  struct Shader {
    std::string Name, Defines, Path;
    int Format = 0;
    unsigned Program = 0;
    std::vector<Constant> Samplers;  // stage = index
    std::vector<Constant> User;
    std::vector<std::pair<int, Constant>> Standard;  // standard number, uniform
  };
  struct Buffer {
    unsigned Gl = 0;
    int Size = 0;       // bytes of a vertex buffer, indices of an index buffer
    int IndexSize = 0;  // 2 or 4
  };
  struct DepthTarget {
    unsigned Gl = 0;
    int Target = -1, Format = 0, Width = 0, Height = 0;
  };
  struct BlendState {
    int Source, Destination, Op, Mask;
  };
  struct DepthState {
    bool Test, Write;
    int Function;
  };
  struct Vertex2D {
    float x, y, z;
    uint32_t colour;
    float u, v, u2, v2;
  };
  struct Run2D {
    int Kind;  // kPrimLines or kPrimTriangles
    bool Textured;
    int Texture, Shader;
    int First, Count;
  };

  // GLTextures.cpp
  bool UploadTexture(Texture& t, const cImage& image);
  bool AllocateTargetStorage(Texture& t);
  bool ReadTarget(unsigned glTexture, int format, int w, int h, bool cube, cImage& image);
  // GLShaders.cpp
  bool CompileInto(Shader& s);
  void LoadShaderCache();
  // GLDraw.cpp
  void ApplyVertexLayout(int format, unsigned buffer, intptr_t offset);
  void PrepareDraw();
  void CountDraw() { ++drawCalls_; }
  // Batch2D.cpp
  float Height2D() const;
  void Push2D(int kind, bool textured, const Vertex2D* v, int n);
  // RenderGL.cpp
  void ResetStateCache();
  void ApplySampler(int unit, int sampler);
  void CreateBackBuffer(int width, int height);
  void UpdateTargetSize();

  cRenderWindow* window_ = nullptr;
  std::string adapter_;
  int maxTargets_ = 1;
  float maxAnisotropy_ = 1;
  bool hasS3tc_ = false;
  bool wasReset_ = false;
  int screenW_ = 0, screenH_ = 0;
  int targetW_ = 0, targetH_ = 0;  // size of what is drawn to now
  unsigned backFbo_ = 0, backColour_ = 0, backDepth_ = 0, targetFbo_ = 0;
  // With multisampling the back buffer resolves into this one for reading.
  unsigned resolveFbo_ = 0, resolveColour_ = 0;
  int samples_ = 0;
  unsigned vao_ = 0, streamVbo_ = 0, streamIbo_ = 0;
  std::vector<unsigned> samplerObjects_;

  IdTable<Texture> textures_;
  IdTable<Shader> shaders_;
  IdTable<Buffer> vertexBuffers_, indexBuffers_;
  IdTable<DepthTarget> depthTargets_;
  std::vector<cVertexFormat> formats_;
  std::map<std::tuple<int, int, int, int>, int> samplerIds_;
  std::vector<std::tuple<int, int, int, int>> samplerStates_;
  std::vector<BlendState> blends_;
  std::vector<DepthState> depths_;
  std::vector<ShaderCacheEntry> cache_;

  // Current ids; -1 or -2 (unknown, after a reset) make the next set happen.
  int shader_ = -1, blend_ = -2, depth_ = -2, cull_ = -2, vb_ = -1, vbOffset_ = 0, ib_ = -1;
  bool wireframe_ = false, layoutDirty_ = true, scissorOn_ = false;
  int layoutFormat_ = -1;
  std::vector<int> boundTargets_;
  int boundDepth_ = -1;
  cRect viewport_;
  cViewer* camera_ = nullptr;
  cMat4 world_, textureMatrix_[4];
  float time_ = 0, frameTime_ = 0;
  int drawCalls_ = 0;

  std::vector<Vertex2D> verts2D_;
  std::vector<Run2D> runs2D_;
  int texture2D_ = -1, shader2DTex_ = -1;
  int shaderLines_ = -1, shaderTex_ = -1, blend2D_ = -1, depth2D_ = -1;
};

}  // namespace comms
