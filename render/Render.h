// cRender: the one drawing interface of the program. Everything above it holds
// integer ids of textures, shaders, vertex formats, buffers, state objects and
// render targets (-1 = none) and a current camera; the device stays behind it.
// cRenderGL (OpenGL 3.3 core) is the real back end, cNullRender the recording
// one of tests and window-less runs.
//
// Orientation and winding, one rule for all back ends:
// - pixel space of viewports, scissors and render targets has its origin at the
//   bottom left, y upwards; the 2D calls take y downwards and convert;
// - images, textures and render targets keep row 0 at the bottom (like cImage),
//   so texture coordinate v = 0 is the bottom row and a read-back target comes
//   out in the same row order it was drawn in;
// - front faces wind counter-clockwise as seen by the camera (right-handed).
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "render/Math3D.h"

namespace comms {

class cImage;
class cViewer;
class cRenderWindow;

// Pixel formats: the index is shared with cImage.
enum {
  kPixNone = 0, kPixL8 = 1, kPixA8L8 = 2, kPixRGB8 = 3, kPixARGB8 = 4, kPixL16 = 5, kPixG16R16 = 6,
  kPixRGB16 = 7, kPixRGBA16 = 8, kPixR16F = 9, kPixG16R16F = 10, kPixRGB16F = 11, kPixRGBA16F = 12,
  kPixR32F = 13, kPixG32R32F = 14, kPixRGB32F = 15, kPixRGBA32F = 16, kPix17 = 17, kPixR5G6B5 = 18,
  kPixA4R4G4B4 = 19, kPixA2B10G10R10 = 20, kPixD16 = 21, kPixD24X8 = 22, kPixD24S8 = 23,
  kPixDXT1 = 24, kPixDXT3 = 25, kPixDXT5 = 26, kPixFormatCount = 27
};

// Primitive kinds of the draw calls.
enum { kPrimPoints = 0, kPrimLines, kPrimLineStrip, kPrimTriangles, kPrimTriangleStrip, kPrimTriangleFan };

// Vertex element semantics and component types.
enum { kSemFree = 0, kSemPos, kSemNormal, kSemTexCoord, kSemTangent, kSemBiTangent, kSemIndices, kSemWeights };
enum { kCompFloat = 0, kCompByte = 1 };

// The stock vertex formats registered at start-up, known by position.
enum {
  kVfPosColor = 0, kVfPosColorTex = 1, kVfPosColorTex2 = 2, kVfPosNormal = 3, kVfPosNormalColor = 4,
  kVfPosNormalTex = 5, kVfPos = 6, kVfPos4 = 7, kVfPosTex = 8, kVfTangentSpace = 9, kVfSkinned = 10,
  kVfMorph = 11, kStockVertexFormats = 12
};

struct VertexElement {
  std::string Name;
  int Semantic = kSemFree;
  int Type = kCompFloat;
  int Count = 4;
};

// Texture record as the renderer keeps it.
struct cTextureInfo {
  std::string Name;  // empty for a generated one
  int Sampler = -1;  // -1: the sampler may not be changed
  int Format = 0;
  int Width = 0, Height = 0, Depth = 1;
  int Mips = 1;
  bool Cube = false;
  bool RenderTarget = false;
  int Usage = 0;
};

// Filter kinds and address modes of sampler states.
enum { kFilterPoint = 0, kFilterLinear, kFilterLinearMipPoint, kFilterTrilinear, kFilterAnisoMipPoint, kFilterAnisoMipLinear };
enum { kAddressWrap = 0, kAddressClamp = 1 };
// Blend factors, operations and compare functions keep the classic numbering
// that stored states and tools rely on.
enum {
  kBlendZero = 0, kBlendOne, kBlendSrcColor, kBlendInvSrcColor, kBlendSrcAlpha, kBlendInvSrcAlpha,
  kBlendDestAlpha, kBlendInvDestAlpha, kBlendDestColor, kBlendInvDestColor, kBlendSrcAlphaSat
};
enum { kBlendOpAdd = 0, kBlendOpSubtract, kBlendOpRevSubtract, kBlendOpMin, kBlendOpMax };
enum { kCmpNever = 0, kCmpLess, kCmpEqual, kCmpLessEqual, kCmpGreater, kCmpNotEqual, kCmpGreaterEqual, kCmpAlways };
enum { kWriteRed = 1, kWriteGreen = 2, kWriteBlue = 4, kWriteAlpha = 8, kWriteAll = 15 };
enum { kCullNone = 0, kCullClockwise = 1, kCullCounterClockwise = 2 };

class cRender {
 public:
  virtual ~cRender() = default;

  virtual int GetApi() const = 0;  // 2
  // Takes the window's drawing context; false when no device can be made.
  virtual bool Init(cRenderWindow* window, int multisample) = 0;
  virtual void Release() = 0;

  // Rectangles are pixels with y downwards from the top of the current target;
  // the device gets the bottom-left origin, Y = height - top - (bottom - top).
  virtual void SetViewPort(const cRect& rect) = 0;
  virtual cRect GetViewPort() const = 0;
  // An inverted rectangle (right < left or bottom < top) turns scissor off.
  virtual void SetScissor(const cRect& rect) = 0;
  virtual std::string GetAdapterName() const = 0;
  virtual int GetMaxRenderTargets() const = 0;
  virtual bool IsFormatSupported(int format) const = 0;
  virtual bool HasNonPow2Textures() const = 0;
  // The window's client (the back buffer) as a 3-byte image, bottom row first.
  virtual bool ReadScreen(cImage& image) = 0;
  virtual bool WasReset() const = 0;

  // Textures.
  virtual int LoadTexture(const std::string& name, int sampler) = 0;
  virtual int CreateTexture(const cImage& image, int sampler) = 0;
  virtual void FreeTexture(int id) = 0;
  virtual const cTextureInfo* GetTexture(int id) const = 0;
  virtual int GetTextureWidth(int id) const = 0;
  virtual int GetTextureHeight(int id) const = 0;
  virtual int GetTextureDepth(int id) const = 0;
  virtual int GetTextureFormat(int id) const = 0;
  virtual int GetTextureMips(int id) const = 0;
  virtual bool IsRenderTarget(int id) const = 0;

  // Shaders (files under Shaders/, see ShaderSource.h).
  virtual int GetShaderID(const std::string& name, int vertexFormat, const std::string& defines) = 0;
  virtual int AddShader(const std::string& name, int vertexFormat, const std::string& defines) = 0;
  virtual int FindConstant(int shader, const std::string& name) const = 0;
  virtual void SetShader(int id) = 0;
  virtual int GetCurrentShader() const = 0;
  virtual void FreeShader(int id) = 0;
  virtual void ReloadShaders() = 0;

  // Vertex formats and buffers.
  virtual int RegisterVertexFormat(const std::vector<VertexElement>& elements) = 0;
  virtual int GetVertexSize(int format) const = 0;
  virtual int GetVertexFormatCount() const = 0;
  virtual int CreateVertexBuffer(const void* data, int bytes) = 0;
  virtual int CreateIndexBuffer(const void* data, int count, int indexSize) = 0;
  virtual void FreeVertexBuffer(int id) = 0;
  virtual void FreeIndexBuffer(int id) = 0;
  virtual void SetVertexBuffer(int id, int byteOffset) = 0;
  virtual void SetIndexBuffer(int id) = 0;

  // Draws; counts are vertices or indices, the primitive count is derived.
  virtual void DrawUser(int kind, const void* vertices, int count) = 0;
  virtual void Draw(int kind, int first, int count) = 0;  // count -1: to the buffer's end
  virtual void DrawIndexedUser(int kind, const void* vertices, const void* indices, int vertexCount, int indexCount,
                               int indexSize) = 0;
  virtual void DrawIndexed(int kind, int firstIndex, int count) = 0;  // count -1: to the end
  virtual void SetWireframe(bool on) = 0;

  // Samplers and shader constants (constants act on the current shader).
  virtual int GetSamplerState(int filter, int addressU, int addressV, int addressW) = 0;
  virtual bool SetTextureSampler(int texture, int sampler) = 0;
  virtual int FindSampler(int shader, const std::string& name) const = 0;
  virtual void BindTexture(int sampler, int texture) = 0;
  virtual void SetVec4Array(int constant, const cVec4* values, int count) = 0;
  virtual void SetVec3Array(int constant, const cVec3* values, int count) = 0;
  virtual void SetVec2Array(int constant, const cVec2* values, int count) = 0;
  virtual void SetFloatArray(int constant, const float* values, int count) = 0;
  virtual void SetMatrix(int constant, const cMat4& value) = 0;
  virtual void SetMatrix3(int constant, const cMat3& value) = 0;
  virtual void SetVec4(int constant, const cVec4& value) = 0;
  virtual void SetVec3(int constant, const cVec3& value) = 0;
  virtual void SetVec2(int constant, const cVec2& value) = 0;
  virtual void SetFloat(int constant, float value) = 0;
  virtual void SetInt(int constant, int value) = 0;
  virtual void ApplyStandardConstants() = 0;

  // The inputs of the standard constants.
  virtual void SetCamera(cViewer* camera) = 0;
  virtual cViewer* GetCamera() const = 0;
  virtual void SetWorldMatrix(const cMat4& world) = 0;
  virtual const cMat4& GetWorldMatrix() const = 0;
  virtual void SetTextureMatrix(int index, const cMat4& m) = 0;  // 0..3
  virtual void SetTime(float seconds, float frameSeconds) = 0;

  // Fixed states.
  virtual int GetBlendState(int source, int destination, int op, int writeMask) = 0;
  virtual void SetBlendState(int id) = 0;  // -1: blend off, all channels written
  virtual int GetDepthState(bool test, bool write, int function) = 0;
  virtual void SetDepthState(int id) = 0;  // -1: no test, no write
  virtual void SetCullMode(int mode) = 0;
  // colour is 0xAARRGGBB.
  virtual void Clear(bool colourFlag, bool depthFlag, uint32_t colour, float depth) = 0;

  // The frame: BeginFrame skips (false) while the window has no area.
  virtual bool BeginFrame() = 0;
  virtual void EndFrame() = 0;
  // Size of the back buffer in pixels.
  virtual int GetScreenWidth() const = 0;
  virtual int GetScreenHeight() const = 0;

  // Render targets are textures; depth targets are ids of their own table.
  virtual int CreateRenderTarget(int width, int height, int format, int sampler, bool cube, int usage) = 0;
  virtual int CreateDepthTarget(int target, int format) = 0;
  virtual void FreeDepthTarget(int id) = 0;
  // targets null: the back buffer and its depth. A cube target takes faces[i]
  // (0..5 = +X -X +Y -Y +Z -Z); faces may be null.
  virtual void SetRenderTargets(const int* targets, int count, int depth, const int* faces) = 0;
  virtual bool ResizeRenderTarget(int id, int width, int height) = 0;
  // A render target's first level as an image of its format, bottom row first.
  virtual bool ReadTexture(int id, cImage& image) = 0;

  // Counting coverage in the stencil: front faces add, back faces subtract.
  virtual void BeginStencilCount(bool depthFail) = 0;
  virtual void StencilEqual() = 0;     // draw where the stencil is 0
  virtual void StencilNotEqual() = 0;  // draw where it is not
  virtual void EndStencil() = 0;

  // The 2D layer: pixels with y downwards from the top of the current camera's
  // view (or the screen without a camera); colours 0xAARRGGBB. Calls are
  // batched and drawn by Flush2D, which also runs before a change of camera,
  // render target or scissor.
  virtual void DrawLine(float x0, float y0, float x1, float y1, float z, uint32_t colour0, uint32_t colour1) = 0;
  virtual void DrawFrame(const cRect& rect, float z, uint32_t colour) = 0;
  virtual void FillRect(const cRect& rect, float z, uint32_t colour) = 0;
  // Colours of the corners: top left, top right, bottom right, bottom left.
  virtual void FillRect(const cRect& rect, float z, const uint32_t colours[4]) = 0;
  virtual void FillQuad(const cVec2 points[4], float z, const uint32_t colours[4]) = 0;
  virtual void FillTriangle(const cVec2 points[3], float z, const uint32_t colours[3]) = 0;
  // Texture (and shader, -1 for the stock one) of the following textured calls.
  virtual void Set2DTexture(int texture, int shader) = 0;
  // uv rect: left, top, right, bottom in texture coordinates (v = 0 bottom row).
  virtual void DrawTexture(const cRect& rect, const cRect& uvRect, float z, uint32_t colour) = 0;
  // One textured quad with a colour per corner; glyphs of text go through here.
  virtual void DrawTexturedQuad(const cVec2 points[4], const cVec2 uvs[4], float z, const uint32_t colours[4]) = 0;
  virtual void Flush2D() = 0;
};

}  // namespace comms
