// IRS: the thin global over the renderer that tools and the interface call.
// It adds the shader look-up with its fallbacks and the shader author's retry
// dialog, the list of shaders asked for outside the start-up list, viewport
// helpers in interface coordinates, stock samplers, and the render-target stack.
#pragma once
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "render/Render.h"

namespace comms {

class cIRS {
 public:
  explicit cIRS(cRender* render) : render_(render) {}
  cRender* Render() const { return render_; }
  void SetRender(cRender* render) { render_ = render; }

  // Options of the shader look-up.
  bool DebugShadersMode = false;
  bool LowShadersQuality = false;
  bool ListShaders = false;
  // Where "UnknownShaders.txt" is appended.
  std::string UnknownShadersPath = "UnknownShaders.txt";
  uint32_t ClearColor = 0xff000000u;

  // The program's entry for shaders: fallbacks to "Low/" and "VeryLow/", and
  // with DebugShadersMode a Retry/Skip dialog on failure.
  int GetShaderID(const std::string& name, int vertexFormat, const std::string& defines = "");
  // The current viewport, y downwards, cut to the camera's view rectangle.
  cRect GetViewPort() const;
  // x, y from the top left of the screen, y downwards.
  void SetViewPort(float x, float y, float w, float h);
  // Bilinear or point sampled, clamped.
  int CreateRenderTarget(int width, int height, int format = kPixARGB8, bool bilinear = true);
  // Sampler kinds: 0 linear wrap, 1 linear clamp, 2 point wrap, 3 linear+point mips wrap, 4 the same clamped.
  int LoadTexture(const std::string& name, int stockSampler = 0);
  int StockSampler(int kind);
  void ClearScreen();
  // A stack of single render targets: PopRenderTarget goes back to the one before.
  void SetRenderTarget(int target, int depth = -1);
  void PopRenderTarget();
  const std::vector<std::string>& ListedShaders() const { return listed_; }

 private:
  int TryVariants(const std::string& name, int vertexFormat, const std::string& defines, int plain);
  void RecordRequest(const std::string& name, int vertexFormat, const std::string& defines);

  cRender* render_;
  std::vector<std::string> listed_;
  std::set<std::string> listedSet_;
  std::vector<std::pair<int, int>> targetStack_;
  std::pair<int, int> currentTarget_{-1, -1};
};

// The one global instance; null until the shell has made the renderer.
extern cIRS* IRS;

// The frame's pairing helpers: BeginScene once at the frame's first need,
// EndScene ends it and presents.
bool BeginScene();
void EndScene();

}  // namespace comms
