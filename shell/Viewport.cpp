// The 3D view's seams: renderer, camera, start-up scene, and the camera widget.
#include "shell/Viewport.h"

#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "ClassEngine/DataFolder.h"
#include "ClassEngine/Log.h"
#include "interface/TextTable.h"
#include "interface/UiContext.h"
#include "paint/SceneChanges.h"
#include "MC/mcubes/VolumeDraw.h"
#include "MC/mcubes/VolumeFill.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/tree/VoxShaderParams.h"
#include "MC/tree/VoxVisualTree.h"
#include "interchange/IO.h"
#include "interface/Navigation.h"
#include "paint/scene/SceneDevice.h"
#include "platform/Keys.h"
#include "render/EglContext.h"
#include "render/GroundGrid.h"
#include "render/NullRender.h"
#include "render/PlatformWindow.h"
#include "render/RenderGL.h"
#include "render/StartupShaders.h"
#include "shell/Dispatcher.h"
#include "shell/SceneCommands.h"
#include "shell/Shell.h"
#include "shell/tools/ToolTable.h"

using namespace comms;

namespace {
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
    // With a modifier the wheel changes the pen value the options name.
    const bool ctrl = platform_.IsKeyDownNow(keys::Control), alt = platform_.IsKeyDownNow(keys::Alt);
    if ((ctrl || alt || platform_.IsKeyDownNow(keys::Shift)) &&
        NaviSystem::ApplyWheel((key == keys::WheelUp ? 1.0f : -1.0f) * std::max(std::fabs(dispatch_.EventWheel()), 1.0f),
                               ctrl, alt, platform_.IsKeyDownNow(keys::Shift)))
      return true;
    // The wheel pushes the pivot away or pulls it nearer, the eye staying
    // put: the next orbit turns about the new point.
    const float notches = std::max(std::fabs(dispatch_.EventWheel()), 1.0f);
    camera_.Wheel(key == keys::WheelUp ? notches : -notches);
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
  drawers_.clear();
  if (settings_) cSettings::SetReloadShadersHook(nullptr);
  if (IRS == irs_.get()) IRS = nullptr;
  if (render_) render_->Release();
}

void ViewportSeams::Attach(Shell& shell) {
  widget_ = std::make_unique<ViewportWidget>(camera_, shell.Dispatch(), platform_);
  // The key arrives in the middle of the frame: the picture is taken when
  // the frame is whole, just before it is shown.
  widget_->OnScreenshotKey = [this, &shell] { pendingShotFolder_ = shell.Folders().Path(""); };
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
    gl->DataFolder = DataFolder();
    if (gl->Init(window_.get(), 4)) render_ = std::move(gl);
  }
  if (!render_) {
    if (!headless_) {
      problem_ = "Couldn't init the renderer. You should have OpenGL 3.3 or later installed.";
      return false;
    }
    render_ = std::make_unique<cNullRender>();
  }
  irs_ = std::make_unique<cIRS>(render_.get());
  IRS = irs_.get();
  // The program's main camera.
  camera_.Fov = 50;
  camera_.Znear = 1.0f;
  camera_.Zfar = 1000.0f;
  // The paint mesh's formats come before the start-up list, which asks for
  // the paint passes' shaders in them.
  RegisterPaintVertexFormats(*render_);
  if (int failed = RequestStartupShaders(*irs_); failed && !dynamic_cast<cNullRender*>(render_.get())) {
    problem_ = std::to_string(failed) + " of the start-up shaders could not be built from " + DataFolder() +
               "/Shaders (see Log.txt for each one).";
    return false;
  }
  defaultDepth_ = render_->GetDepthState(true, true, kCmpLessEqual);
  MakeStartScene();
  return true;
}

void ViewportSeams::MakeStartScene() {
  tree_ = std::make_unique<VoxVisualTree>();
  VolumeObject& volume = *tree_->AddVolume()->Volume;
  FillVolume(volume, SphereShape(0, 0, 0, 60));
  volume.UpdateSurface();
  drawers_.clear();
  FrameVolume(volume, camera_);
}

VolumeObject* ViewportSeams::Volume() const { return tree_ ? tree_->CurrentVolume : nullptr; }

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
  if (!pendingShotFolder_.empty()) {
    const std::string path = WriteNumberedScreenshot(pendingShotFolder_);
    pendingShotFolder_.clear();
    if (path.empty()) Log("Screenshot: the frame could not be read or written");
    else Log("Screenshot written to %s", path.c_str());
    LastScreenshot = path;
  }
  comms::EndScene();
  sceneOpen_ = false;
}

void ViewportSeams::SetViewport(int width, int height) {
  camera_.ViewRect = cRect(0, 0, float(width), float(height));
  // The picture still fills the window behind the panels; its centre moves
  // to the middle of what they leave free (the shift is in pixels of twice
  // the distance).
  if (comms::cRect free; FreeArea && FreeArea(free) && free.Width() > 0 && free.Height() > 0) {
    camera_.ShiftX = free.left + free.right - float(width);
    camera_.ShiftY = float(height) - (free.top + free.bottom);
  }
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
  if (render_ && DrawRoomScene && DrawRoomScene(*render_, camera_)) return;
  if (tree_ && render_) {
    render_->SetWireframe(sceneWireframe_);
    const std::vector<VolumeObject*> shown = tree_->VisibleVolumes();
    // Drawers of volumes gone or hidden free their device meshes.
    for (auto it = drawers_.begin(); it != drawers_.end();)
      it = std::find(shown.begin(), shown.end(), it->first) == shown.end() ? drawers_.erase(it) : std::next(it);
    for (VolumeObject* v : shown) {
      std::unique_ptr<VolumeDrawer>& d = drawers_[v];
      if (!d) d = std::make_unique<VolumeDrawer>(*render_);
      // The row's shader settings: its defines and its constants.
      VoxTreeBranch* row = tree_->BranchOf(v);
      if (row && !(row->ShaderSettings.ShaderName == v->Shader.c_str())) LoadShaderVariables(row->ShaderSettings, v->Shader);
      d->Defines = row ? ShaderDefines(row->ShaderSettings) : std::string();
      d->SetConstants = [row](comms::cRender& r, int shader) {
        if (row) SetShaderConstants(r, shader, row->ShaderSettings);
      };
      d->Draw(*v, camera_);
    }
    render_->SetWireframe(false);
  }
  if (render_ && DrawOverVolume) DrawOverVolume(*render_, camera_);
}

void ViewportSeams::DrawText(float x, float y, uint32_t argb, const std::string& text) {
  if (!render_ || text.empty()) return;
  UiContext& ui = Ui();
  ui.Render = render_.get();
  ui.ResetClip();
  ui.DrawText(x, y, text.c_str(), argb);
  render_->Flush2D();
}

// The box of a long operation in the middle of the view: what runs, a green
// bar of the part done, and how to stop.
void ViewportSeams::DrawProgressBox(int percent, const std::string& textKey) {
  if (!render_) return;
  UiContext& ui = Ui();
  ui.Render = render_.get();
  ui.ResetClip();
  int w = 0, h = 0;
  platform_.ClientSize(w, h);
  const std::string text = textKey.empty() ? "" : Text(textKey.c_str());
  const std::string stop = Text("EscToStop");
  const float pad = ui.Px(12), line = ui.Px(18), barH = ui.Px(12);
  const float boxW = std::max({261.0f, ui.TextWidth(text.c_str()) + 2 * pad, ui.TextWidth(stop.c_str()) + 2 * pad});
  const float boxH = pad + line + barH + ui.Px(6) + line + pad;
  const float x = std::floor((float(w) - boxW) / 2), y = std::floor((float(h) - boxH) / 2);
  ui.FillRect(x, y, boxW, boxH, ui.Colors.Panel | 0xff000000u);
  ui.FrameRect(x, y, boxW, boxH, ui.Colors.Frame);
  ui.DrawText(x + (boxW - ui.TextWidth(text.c_str())) / 2, y + pad, text.c_str(), ui.Colors.Text);
  const float barY = y + pad + line, barW = boxW - 2 * pad;
  ui.FillRect(x + pad, barY, barW, barH, ui.Colors.Field);
  ui.FillRect(x + pad, barY, barW * float(std::clamp(percent, 0, 100)) / 100.0f, barH, kProgressBarColour);
  ui.DrawText(x + (boxW - ui.TextWidth(stop.c_str())) / 2, barY + barH + ui.Px(6), stop.c_str(), ui.Colors.DimText);
  render_->Flush2D();
}

bool ViewportSeams::Animating() {
  BasicTool* tool = Tools().CurrentTool();
  return tool && tool->WantsFrames();
}

bool ViewportSeams::SceneModified() { return ChangedSinceSave != 0; }
bool ViewportSeams::WriteScene(const std::string& path) { return SaveSceneFile(path); }
bool ViewportSeams::LoadScene(const std::string& path, bool restoring) { return LoadSceneFile(path, restoring); }
bool ViewportSeams::SaveAs() { return SaveSceneAs(); }
std::string ViewportSeams::LastRecentFile() {
  return TheSceneCommands().LastRecentFile ? TheSceneCommands().LastRecentFile() : std::string();
}

void ViewportSeams::TakeVolumes(std::vector<std::unique_ptr<VolumeObject>>&& volumes, const std::string& treeXml) {
  if (volumes.empty() || !volumes.front()) return;
  drawers_.clear();
  if (!tree_) tree_ = std::make_unique<VoxVisualTree>();
  tree_->TakeScene(std::move(volumes), treeXml);
  for (VolumeObject* v : tree_->Volumes()) v->UpdateSurface();
  if (Volume()) FrameVolume(*Volume(), camera_);
}
void ViewportSeams::ImportMesh(const std::string& path) { ImportMeshFile(path); }
void ViewportSeams::RunCommandLine(const CommandLineDecision& decision) { RunFileCommand(decision); }

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
