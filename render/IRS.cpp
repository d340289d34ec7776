// The thin global over cRender: shader fallbacks and list, viewport helpers,
// stock samplers, render-target stack, the scene pairing.
#include "render/IRS.h"

#include <algorithm>
#include <cstdio>

#include "ClassEngine/Log.h"
#include "ClassEngine/SystemDialog.h"
#include "render/Viewer.h"

namespace comms {

cIRS* IRS = nullptr;

namespace {
bool g_sceneBegun = false;
}

int cIRS::TryVariants(const std::string& name, int vertexFormat, const std::string& defines, int plain) {
  for (const char* prefix : {"Low/", "VeryLow/"}) {
    int id = render_->GetShaderID(prefix + name, vertexFormat, defines);
    if (id >= 0) return id;
  }
  return plain;
}

int cIRS::GetShaderID(const std::string& name, int vertexFormat, const std::string& defines) {
  if (!render_) return -1;
  int id = -1;
  if (DebugShadersMode) {
    for (;;) {
      size_t mark = LogMark();
      id = render_->GetShaderID(name, vertexFormat, defines);
      if (id >= 0) break;
      char head[1024];
      snprintf(head, sizeof head, "shader: %s\ndefines: %s\ncompiling log:\n", name.c_str(), defines.c_str());
      SystemDialog d;
      d.title = "Unable to compile shader";
      d.text = head + LogTextSince(mark);
      d.buttons = {"Retry", "Skip"};
      d.defaultButton = 1;
      d.kind = SystemDialog::Kind::Error;
      if (ShowSystemDialog(d) != 0) {
        id = -1;
        break;
      }
    }
  } else {
    bool tried = false;
    if (LowShadersQuality && name == "Custom") {
      id = TryVariants(name, vertexFormat, defines, -1);
      tried = true;
    }
    if (id < 0) {
      id = render_->GetShaderID(name, vertexFormat, defines);
      if ((id < 0 || LowShadersQuality) && !tried) id = TryVariants(name, vertexFormat, defines, id);
    }
  }
  if (ListShaders) RecordRequest(name, vertexFormat, defines);
  return id;
}

void cIRS::RecordRequest(const std::string& name, int vertexFormat, const std::string& defines) {
  std::string escaped;
  for (char c : defines) escaped += c == '\n' ? std::string("\\n") : std::string(1, c);
  char line[1024];
  snprintf(line, sizeof line, "    IRS->GetShaderID(\"%s\",%d,\"%s\");\n", name.c_str(), vertexFormat, escaped.c_str());
  if (!listedSet_.insert(line).second) return;
  listed_.push_back(line);
  if (FILE* f = fopen(UnknownShadersPath.c_str(), "ab")) {
    fputs(line, f);
    fclose(f);
  }
}

cRect cIRS::GetViewPort() const {
  if (!render_) return {};
  cRect v = render_->GetViewPort();
  if (const cViewer* cam = render_->GetCamera()) {
    const cRect& c = cam->ViewRect;
    v = cRect(std::max(v.left, c.left), std::max(v.top, c.top), std::min(v.right, c.right),
              std::min(v.bottom, c.bottom));
  }
  return v;
}

void cIRS::SetViewPort(float x, float y, float w, float h) {
  if (render_) render_->SetViewPort(cRect(x, y, x + w, y + h));
}

int cIRS::StockSampler(int kind) {
  if (!render_) return -1;
  static const int kStock[5][2] = {{1, kAddressWrap}, {1, kAddressClamp}, {0, kAddressWrap}, {2, kAddressWrap},
                                   {2, kAddressClamp}};
  kind = std::clamp(kind, 0, 4);
  int a = kStock[kind][1];
  return render_->GetSamplerState(kStock[kind][0], a, a, a);
}

int cIRS::CreateRenderTarget(int width, int height, int format, bool bilinear) {
  if (!render_) return -1;
  int sampler = render_->GetSamplerState(bilinear ? kFilterLinear : kFilterPoint, kAddressClamp, kAddressClamp,
                                         kAddressClamp);
  return render_->CreateRenderTarget(width, height, format, sampler, false, 0);
}

int cIRS::LoadTexture(const std::string& name, int stockSampler) {
  return render_ ? render_->LoadTexture(name, StockSampler(stockSampler)) : -1;
}

void cIRS::ClearScreen() {
  if (render_) render_->Clear(true, false, ClearColor, 1.0f);
}

void cIRS::SetRenderTarget(int target, int depth) {
  if (!render_) return;
  targetStack_.push_back(currentTarget_);
  currentTarget_ = {target, depth};
  if (target < 0)
    render_->SetRenderTargets(nullptr, 0, -1, nullptr);
  else
    render_->SetRenderTargets(&target, 1, depth, nullptr);
}

void cIRS::PopRenderTarget() {
  if (!render_ || targetStack_.empty()) return;
  currentTarget_ = targetStack_.back();
  targetStack_.pop_back();
  int t = currentTarget_.first;
  if (t < 0)
    render_->SetRenderTargets(nullptr, 0, -1, nullptr);
  else
    render_->SetRenderTargets(&t, 1, currentTarget_.second, nullptr);
}

bool BeginScene() {
  if (g_sceneBegun) return true;
  if (!IRS || !IRS->Render() || !IRS->Render()->BeginFrame()) return false;
  g_sceneBegun = true;
  return true;
}

void EndScene() {
  if (!g_sceneBegun) return;
  g_sceneBegun = false;
  IRS->Render()->EndFrame();
}

}  // namespace comms
