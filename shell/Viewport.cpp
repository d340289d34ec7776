// The 3D view's seams: renderer, camera, start-up scene, and the camera widget.
#include "shell/Viewport.h"

#include <unistd.h>

#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "ClassEngine/Log.h"
#include "MC/mcubes/VolumeDraw.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "interchange/IO.h"
#include "platform/Keys.h"
#include "render/EglContext.h"
#include "render/GroundGrid.h"
#include "render/NullRender.h"
#include "render/PlatformWindow.h"
#include "render/RenderGL.h"
#include "render/StartupShaders.h"
#include "shell/Dispatcher.h"
#include "shell/Shell.h"

using namespace comms;

namespace {
// The data folder (Shaders/ and the rest): $MORVANE_DATA, else data/ in the
// working folder, else the source tree's data/ two folders above the program
// (build-*/bin/morvane).
std::string FindDataFolder() {
  if (const char* d = std::getenv("MORVANE_DATA")) return d;
  std::vector<std::string> candidates = {"data", "../data"};
  char exe[PATH_MAX];
  ssize_t n = readlink("/proc/self/exe", exe, sizeof exe - 1);
  if (n > 0) {
    std::string dir(exe, size_t(n));
    dir = dir.substr(0, dir.rfind('/'));
    candidates.push_back(dir + "/../../data");
    candidates.push_back(dir + "/../data");
  }
  for (const std::string& c : candidates)
    if (access((c + "/Shaders/mcubes.hlsl").c_str(), R_OK) == 0) return c;
  return "data";
}

std::string Absolute(const std::string& path) {
  if (!path.empty() && path[0] == '/') return path;
  char cwd[PATH_MAX];
  return getcwd(cwd, sizeof cwd) ? std::string(cwd) + "/" + path : path;
}
}  // namespace

bool ViewportWidget::OnKeyDown(int key) {
  if (key == keys::LeftButton || key == keys::RightButton || key == keys::MiddleButton) {
    (key == keys::LeftButton ? left_ : key == keys::RightButton ? right_ : middle_) = true;
    lastX_ = dispatch_.EventX(), lastY_ = dispatch_.EventY();
    camera_.ButtonDown(key, platform_.IsKeyDownNow(keys::Alt));
    return true;
  }
  if (key == keys::WheelUp || key == keys::WheelDown) {
    float notches = std::fabs(dispatch_.EventWheel());
    camera_.Dolly(key == keys::WheelUp ? std::max(notches, 1.0f) : -std::max(notches, 1.0f));
    return true;
  }
  if (key == keys::F12 && OnScreenshotKey) {
    OnScreenshotKey();
    return true;
  }
  return camera_.Key(key, platform_.IsKeyDownNow(keys::Control));
}

bool ViewportWidget::OnKeyUp(int key) {
  if (key != keys::LeftButton && key != keys::RightButton && key != keys::MiddleButton) return false;
  (key == keys::LeftButton ? left_ : key == keys::RightButton ? right_ : middle_) = false;
  if (!left_ && !right_ && !middle_) camera_.ButtonUp(key);
  return true;
}

bool ViewportWidget::OnMouseMove() {
  float x = dispatch_.EventX(), y = dispatch_.EventY();
  // The pointer's y runs downwards; the camera's steps take dy upwards.
  float dx = x - lastX_, dy = lastY_ - y;
  lastX_ = x, lastY_ = y;
  return camera_.MouseMove(dx, dy, left_, right_, middle_);
}

ViewportSeams::ViewportSeams(Platform& platform, bool headless) : platform_(platform), headless_(headless) {}

ViewportSeams::~ViewportSeams() {
  // Device meshes go before the device.
  drawer_.reset();
  if (settings_) cSettings::SetReloadShadersHook(nullptr);
  if (IRS == irs_.get()) IRS = nullptr;
  if (render_) render_->Release();
}

void ViewportSeams::Attach(Shell& shell) {
  widget_ = std::make_unique<ViewportWidget>(camera_, shell.Dispatch(), platform_);
  widget_->OnScreenshotKey = [this, &shell] {
    std::string path = WriteNumberedScreenshot(shell.Folders().Path(""));
    if (path.empty()) Log("Screenshot: the frame could not be read or written");
    else Log("Screenshot written to %s", path.c_str());
  };
  shell.Layers().Register(0, widget_.get(), true);
  settings_ = &shell.Settings();
  cSettings::SetReloadShadersHook([this] {
    if (render_) render_->ReloadShaders();
  });
}

bool ViewportSeams::InitRenderer() {
  if (headless_) {
    std::string why;
    int w = 0, h = 0;
    platform_.ClientSize(w, h);
    auto egl = cEglContext::Create(std::max(w, 1), std::max(h, 1), &why);
    if (egl) {
      egl_ = egl.get();
      window_ = std::move(egl);
    } else {
      Log("Headless OpenGL unavailable (%s): drawing is recorded only", why.c_str());
    }
  } else {
    window_ = std::make_unique<cPlatformWindow>(platform_);
  }
  if (window_) {
    auto gl = std::make_unique<cRenderGL>();
    gl->DataFolder = FindDataFolder();
    if (gl->Init(window_.get(), 4)) render_ = std::move(gl);
  }
  if (!render_) {
    if (!headless_) return false;
    render_ = std::make_unique<cNullRender>();
  }
  irs_ = std::make_unique<cIRS>(render_.get());
  IRS = irs_.get();
  // The program's main camera.
  camera_.Fov = 50;
  camera_.Znear = 1.0f;
  camera_.Zfar = 1000.0f;
  int failed = RequestStartupShaders(*irs_);
  if (failed) Log("%d start-up shaders failed", failed);
  defaultDepth_ = render_->GetDepthState(true, true, kCmpLessEqual);
  MakeStartScene();
  return true;
}

void ViewportSeams::MakeStartScene() {
  volume_ = std::make_unique<VolumeObject>();
  FillVolume(*volume_, SphereShape(0, 0, 0, 60));
  volume_->UpdateSurface();
  drawer_ = std::make_unique<VolumeDrawer>(*render_);
  FrameVolume(*volume_, camera_);
}

bool ViewportSeams::RendererReady() {
  if (ready_ < 0) ready_ = InitRenderer() ? 1 : 0;
  return ready_ == 1;
}

void ViewportSeams::BeginScene() {
  if (egl_) {
    int w = 0, h = 0;
    platform_.ClientSize(w, h);
    egl_->SetSize(w, h);
  }
  sceneOpen_ = comms::BeginScene();
}

void ViewportSeams::EndScene() {
  if (!sceneOpen_) return;
  comms::EndScene();
  sceneOpen_ = false;
}

void ViewportSeams::SetViewport(int width, int height) {
  camera_.ViewRect = cRect(0, 0, float(width), float(height));
  camera_.Update();
  render_->SetCamera(&camera_);
  render_->SetViewPort(cRect(0, 0, float(width), float(height)));
}

void ViewportSeams::DrawBackground() {
  // The settings' clear colour, when on, stands instead of the background.
  if (settings_ && settings_->ClearColor.Enabled) {
    render_->Clear(true, true, settings_->ClearColor.Color, 1.0f);
    return;
  }
  render_->Clear(true, true, 0xff000000u, 1.0f);
  background_.Draw(*render_, camera_);
}

void ViewportSeams::DrawGroundGrid(float step, int lines, uint32_t argb) {
  // The grid lies level through the camera's pivot, which frames the scene.
  comms::DrawGroundGrid(*render_, camera_, camera_.m_Center, step, lines, argb);
}

void ViewportSeams::SetDefaultStates() {
  render_->Flush2D();
  render_->SetBlendState(-1);
  render_->SetDepthState(defaultDepth_);
  render_->SetCullMode(kCullNone);
  render_->SetWireframe(false);
}

void ViewportSeams::ClearDepth() { render_->Clear(false, true, 0, 1.0f); }

void ViewportSeams::UpdateRoomAndTool() {
  if (volume_ && drawer_) {
    render_->SetWireframe(sceneWireframe_);
    drawer_->Draw(*volume_, camera_);
    render_->SetWireframe(false);
  }
  if (render_ && DrawOverVolume) DrawOverVolume(*render_, camera_);
}

std::string ViewportSeams::WriteNumberedScreenshot(const std::string& folder) {
  for (int n = 1; n < 1000; ++n) {
    char name[32];
    snprintf(name, sizeof name, "screenshot-%03d.png", n);
    std::string path = folder.empty() || folder.back() == '/' ? folder + name : folder + "/" + name;
    if (access(path.c_str(), F_OK) != 0) return WriteScreenshot(path);
  }
  return "";
}

std::string ViewportSeams::WriteScreenshot(const std::string& path) {
  cImage image;
  std::string full = Absolute(path);
  if (!render_ || !render_->ReadScreen(image) || !cIO::SaveImage(full, image)) return "";
  return full;
}
