// cNullRender: a back end without a device. It keeps the same id tables as a
// real one (ids, reuse, deduplicated states, vertex formats) and records every
// call with its arguments, so tests of widgets and tools can check what was
// drawn, and window-less runs can go through the same code.
#pragma once
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "render/IdTable.h"
#include "render/Render.h"
#include "render/VertexFormat.h"

namespace comms {

struct RenderCall {
  std::string Op;             // the operation's name, e.g. "FillRect"
  std::vector<double> Args;   // numbers in call order; colours as their 32-bit value
  std::string Text;           // a name argument, if any
};

class cNullRender : public cRender {
 public:
  cNullRender();

  std::vector<RenderCall> Calls;
  // Calls named `op` so far.
  int Count(const std::string& op) const;
  void ClearCalls() { Calls.clear(); }
  int ScreenWidth = 1280, ScreenHeight = 720;

  int GetApi() const override { return 2; }
  bool Init(cRenderWindow* window, int multisample) override;
  void Release() override;
  void SetViewPort(const cRect& rect) override;
  void SetScissor(const cRect& rect) override;
  cRect GetViewPort() const override { return viewport_; }
  std::string GetAdapterName() const override { return "Null"; }
  int GetMaxRenderTargets() const override { return 4; }
  bool IsFormatSupported(int format) const override { return format > 0 && format < kPixFormatCount; }
  bool HasNonPow2Textures() const override { return true; }
  bool ReadScreen(cImage& image) override;
  bool WasReset() const override { return false; }

  int LoadTexture(const std::string& name, int sampler) override;
  int CreateTexture(const cImage& image, int sampler) override;
  void FreeTexture(int id) override;
  const cTextureInfo* GetTexture(int id) const override { return textures_.Get(id); }
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
  void ReloadShaders() override { Record("ReloadShaders", {}); }

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
  void SetWireframe(bool on) override { Record("SetWireframe", {double(on)}); }

  int GetSamplerState(int filter, int addressU, int addressV, int addressW) override;
  bool SetTextureSampler(int texture, int sampler) override;
  int FindSampler(int shader, const std::string& name) const override;
  void BindTexture(int sampler, int texture) override { Record("BindTexture", {double(sampler), double(texture)}); }
  void SetVec4Array(int c, const cVec4*, int n) override { Record("SetVec4Array", {double(c), double(n)}); }
  void SetVec3Array(int c, const cVec3*, int n) override { Record("SetVec3Array", {double(c), double(n)}); }
  void SetVec2Array(int c, const cVec2*, int n) override { Record("SetVec2Array", {double(c), double(n)}); }
  void SetFloatArray(int c, const float*, int n) override { Record("SetFloatArray", {double(c), double(n)}); }
  void SetMatrix(int c, const cMat4&) override { Record("SetMatrix", {double(c)}); }
  void SetMatrix3(int c, const cMat3&) override { Record("SetMatrix3", {double(c)}); }
  void SetVec4(int c, const cVec4& v) override { Record("SetVec4", {double(c), v.x, v.y, v.z, v.w}); }
  void SetVec3(int c, const cVec3& v) override { Record("SetVec3", {double(c), v.x, v.y, v.z}); }
  void SetVec2(int c, const cVec2& v) override { Record("SetVec2", {double(c), v.x, v.y}); }
  void SetFloat(int c, float v) override { Record("SetFloat", {double(c), v}); }
  void SetInt(int c, int v) override { Record("SetInt", {double(c), double(v)}); }
  void ApplyStandardConstants() override {}

  void SetCamera(cViewer* camera) override;
  cViewer* GetCamera() const override { return camera_; }
  void SetWorldMatrix(const cMat4& world) override { world_ = world; }
  const cMat4& GetWorldMatrix() const override { return world_; }
  void SetTextureMatrix(int, const cMat4&) override {}
  void SetTime(float, float) override {}

  int GetBlendState(int source, int destination, int op, int writeMask) override;
  void SetBlendState(int id) override { Record("SetBlendState", {double(id)}); }
  int GetDepthState(bool test, bool write, int function) override;
  void SetDepthState(int id) override { Record("SetDepthState", {double(id)}); }
  void SetCullMode(int mode) override { Record("SetCullMode", {double(mode)}); }
  void Clear(bool colourFlag, bool depthFlag, uint32_t colour, float depth) override;

  bool BeginFrame() override;
  void EndFrame() override { Record("EndFrame", {}); }
  int GetScreenWidth() const override { return ScreenWidth; }
  int GetScreenHeight() const override { return ScreenHeight; }

  int CreateRenderTarget(int width, int height, int format, int sampler, bool cube, int usage) override;
  int CreateDepthTarget(int target, int format) override;
  void FreeDepthTarget(int id) override;
  void SetRenderTargets(const int* targets, int count, int depth, const int* faces) override;
  bool ResizeRenderTarget(int id, int width, int height) override;
  bool ReadTexture(int id, cImage& image) override;

  void BeginStencilCount(bool depthFail) override { Record("BeginStencilCount", {double(depthFail)}); }
  void StencilEqual() override { Record("StencilEqual", {}); }
  void StencilNotEqual() override { Record("StencilNotEqual", {}); }
  void EndStencil() override { Record("EndStencil", {}); }

  void DrawLine(float x0, float y0, float x1, float y1, float z, uint32_t colour0, uint32_t colour1) override;
  void DrawFrame(const cRect& rect, float z, uint32_t colour) override;
  void FillRect(const cRect& rect, float z, uint32_t colour) override;
  void FillRect(const cRect& rect, float z, const uint32_t colours[4]) override;
  void FillQuad(const cVec2 points[4], float z, const uint32_t colours[4]) override;
  void FillTriangle(const cVec2 points[3], float z, const uint32_t colours[3]) override;
  void Set2DTexture(int texture, int shader) override { Record("Set2DTexture", {double(texture), double(shader)}); }
  void DrawTexture(const cRect& rect, const cRect& uvRect, float z, uint32_t colour) override;
  void DrawTexturedQuad(const cVec2 points[4], const cVec2 uvs[4], float z, const uint32_t colours[4]) override;
  void Flush2D() override { Record("Flush2D", {}); }

 private:
  struct Shader {
    std::string Name, Defines;
    int Format = 0;
  };
  void Record(const char* op, std::vector<double> args, std::string text = "");

  IdTable<cTextureInfo> textures_;
  IdTable<Shader> shaders_;
  IdTable<int> vertexBuffers_, indexBuffers_, depthTargets_;
  std::vector<cVertexFormat> formats_;
  std::map<std::tuple<int, int, int, int>, int> samplers_;
  std::map<std::tuple<int, int, int, int>, int> blends_;
  std::map<std::tuple<bool, bool, int>, int> depths_;
  int shader_ = -1;
  cViewer* camera_ = nullptr;
  cMat4 world_;
  cRect viewport_;
};

}  // namespace comms
