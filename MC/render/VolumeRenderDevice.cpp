// The render room's frames on the graphics card (see VolumeRender.h): the
// shadow pass writes heights towards the light into a float target
// ("render_shadow"); the frame pass ("render_frame") first lays down depth
// alone, then adds the lit surface into the float sum where it is nearest.
// The random draws of each frame are those of the processor's path, so the
// two pictures agree but for rasterisation details.
#include "MC/render/VolumeRender.h"

#include <algorithm>
#include <cmath>

#include "interchange/Image.h"
#include "render/Render.h"

using comms::cRect;
using comms::cVec2;
using comms::cVec3;
using comms::cVec4;

struct VolumeRender::Device {
  comms::cRender* R = nullptr;
  int ShadowShader = -1, FrameShader = -1;
  int Shadow = -1, ShadowDepth = -1, Sum = -1, SumDepth = -1;
  int Vertices = -1, Indices = -1;
  int DepthOnly = -1, Add = -1, Nearest = -1, Equal = -1;
  bool Read = false;  // deviceSum_ holds the sum of the frames drawn

  ~Device() {
    if (!R) return;
    R->FreeVertexBuffer(Vertices);
    R->FreeIndexBuffer(Indices);
    R->FreeDepthTarget(ShadowDepth);
    R->FreeDepthTarget(SumDepth);
    R->FreeTexture(Shadow);
    R->FreeTexture(Sum);
  }
  void Set3(int shader, const char* name, const cVec3& v) const { R->SetVec3(R->FindConstant(shader, name), v); }
  void Set4(int shader, const char* name, const cVec4& v) const { R->SetVec4(R->FindConstant(shader, name), v); }
  void Set2(int shader, const char* name, const cVec2& v) const { R->SetVec2(R->FindConstant(shader, name), v); }
};

VolumeRender::~VolumeRender() = default;

void VolumeRender::DeviceFree::operator()(Device* d) const { delete d; }

void VolumeRender::DropDevice() {
  device_.reset();
  deviceSum_.clear();
}

bool VolumeRender::UseDevice(comms::cRender* device) {
  DropDevice();
  if (device && !index_.empty()) {
    std::unique_ptr<Device, DeviceFree> d(new Device);
    d->R = device;
    comms::cRender& r = *device;
    d->ShadowShader = r.GetShaderID("render_shadow", comms::kVfPosNormal, "");
    d->FrameShader = r.GetShaderID("render_frame", comms::kVfPosNormal, "");
    if (r.IsFormatSupported(comms::kPixRGBA32F) && r.IsFormatSupported(comms::kPixR32F)) {
      d->Shadow = r.CreateRenderTarget(shadowSize_, shadowSize_, comms::kPixR32F, -1, false, 0);
      d->Sum = r.CreateRenderTarget(width_, height_, comms::kPixRGBA32F, -1, false, 0);
    }
    d->ShadowDepth = d->Shadow >= 0 ? r.CreateDepthTarget(d->Shadow, comms::kPixD24S8) : -1;
    d->SumDepth = d->Sum >= 0 ? r.CreateDepthTarget(d->Sum, comms::kPixD24S8) : -1;
    // Position and normal of each vertex, as the shaders read them.
    std::vector<float> vertices(pos_.size() * 2);
    for (size_t i = 0; i < pos_.size() / 3; ++i)
      for (int k = 0; k < 3; ++k) vertices[6 * i + k] = pos_[3 * i + k], vertices[6 * i + 3 + k] = nrm_[3 * i + k];
    if (r.GetVertexSize(comms::kVfPosNormal) == 24) {
      d->Vertices = r.CreateVertexBuffer(vertices.data(), (int)(vertices.size() * sizeof(float)));
      d->Indices = r.CreateIndexBuffer(index_.data(), (int)index_.size(), 4);
    }
    d->DepthOnly = r.GetBlendState(comms::kBlendOne, comms::kBlendZero, comms::kBlendOpAdd, 0);
    d->Add = r.GetBlendState(comms::kBlendOne, comms::kBlendOne, comms::kBlendOpAdd, 15);
    d->Nearest = r.GetDepthState(true, true, comms::kCmpLess);
    d->Equal = r.GetDepthState(true, false, comms::kCmpLessEqual);
    const bool ready = d->ShadowShader >= 0 && d->FrameShader >= 0 && d->Shadow >= 0 && d->Sum >= 0 &&
                       d->ShadowDepth >= 0 && d->SumDepth >= 0 && d->Vertices >= 0 && d->Indices >= 0;
    if (ready) device_ = std::move(d);
  }
  Restart();
  return device_ != nullptr;
}

void VolumeRender::ClearDeviceSum() {
  comms::cRender& r = *device_->R;
  r.SetRenderTargets(&device_->Sum, 1, device_->SumDepth, nullptr);
  r.SetViewPort(cRect(0, 0, (float)width_, (float)height_));
  r.Clear(true, true, 0, 1.f);
  r.SetRenderTargets(nullptr, 0, -1, nullptr);
  device_->Read = false;
}

void VolumeRender::DeviceFrame(const cVec3& lightDir, const cVec3& lightColor, bool ambient, float shiftX,
                               float shiftY, float jitterX, float jitterY) {
  Device& d = *device_;
  comms::cRender& r = *d.R;
  const cRect viewport = r.GetViewPort();
  // The heights towards the light over the scene box.
  PlaceShadowMap(lightDir);
  float low = 1e30f, high = -1e30f;
  for (int i = 0; i < 8; ++i) {
    const cVec3 p(i & 1 ? boxMax_.x : boxMin_.x, i & 2 ? boxMax_.y : boxMin_.y, i & 4 ? boxMax_.z : boxMin_.z);
    low = std::min(low, comms::Dot(p, lightDir)), high = std::max(high, comms::Dot(p, lightDir));
  }
  const cVec4 shadowMap(sScale_, sOffsetX_, sOffsetY_, (float)shadowSize_);
  const cVec2 heights(low, std::max(high - low, 1e-6f) * 1.001f);
  r.SetCullMode(comms::kCullNone);
  r.SetVertexBuffer(d.Vertices, 0);
  r.SetIndexBuffer(d.Indices);

  if (!params_.WithoutShadow) {
    r.SetRenderTargets(&d.Shadow, 1, d.ShadowDepth, nullptr);
    r.SetViewPort(cRect(0, 0, (float)shadowSize_, (float)shadowSize_));
    r.Clear(true, true, 0, 1.f);
    r.SetShader(d.ShadowShader);
    d.Set3(d.ShadowShader, "g_ShadowRight", sRight_);
    d.Set3(d.ShadowShader, "g_ShadowUp", sUp_);
    d.Set3(d.ShadowShader, "g_ShadowDir", lightDir);
    d.Set4(d.ShadowShader, "g_ShadowMap", shadowMap);
    d.Set2(d.ShadowShader, "g_Heights", heights);
    r.SetBlendState(-1);
    r.SetDepthState(d.Nearest);
    r.DrawIndexed(comms::kPrimTriangles, 0, -1);
  }

  // The eye on the lens, and the depths the scene box spans from it.
  const cVec3 eye = eye_.Pos + eye_.Right * shiftX + eye_.Up * shiftY;
  const float focus = std::max(eye_.FocusDistance + params_.DOF_Shift, 1e-3f);
  const float f = (height_ * 0.5f) / std::tan(eye_.Fov * 3.14159265f / 360.f);
  float nearest = 1e30f, farthest = 0;
  for (int i = 0; i < 8; ++i) {
    const cVec3 p(i & 1 ? boxMax_.x : boxMin_.x, i & 2 ? boxMax_.y : boxMin_.y, i & 4 ? boxMax_.z : boxMin_.z);
    const float z = comms::Dot(p - eye, eye_.Forward);
    nearest = std::min(nearest, z), farthest = std::max(farthest, z);
  }
  nearest = std::max(nearest * 0.99f, 1e-3f), farthest = std::max(farthest * 1.01f, nearest * 2);
  r.SetRenderTargets(&d.Sum, 1, d.SumDepth, nullptr);
  r.SetViewPort(cRect(0, 0, (float)width_, (float)height_));
  r.Clear(false, true, 0, 1.f);
  const int s = d.FrameShader;
  r.SetShader(s);
  d.Set3(s, "g_EyePos", eye);
  d.Set3(s, "g_EyeRight", eye_.Right);
  d.Set3(s, "g_EyeUp", eye_.Up);
  d.Set3(s, "g_EyeForward", eye_.Forward);
  d.Set4(s, "g_Lens", cVec4(f, shiftX / focus, shiftY / focus, 0));
  d.Set4(s, "g_Picture", cVec4((float)width_, (float)height_, jitterX, jitterY));
  d.Set2(s, "g_Depths", cVec2(nearest, farthest));
  d.Set3(s, "g_LightDir", lightDir);
  d.Set3(s, "g_LightColor", lightColor);
  d.Set3(s, "g_ShadowRight", sRight_);
  d.Set3(s, "g_ShadowUp", sUp_);
  d.Set3(s, "g_ShadowDir", lightDir);
  d.Set4(s, "g_ShadowMap", shadowMap);
  d.Set2(s, "g_Heights", heights);
  d.Set4(s, "g_Shading", cVec4(ambient ? 1.f : 0.f, params_.WithoutShadow ? 0.f : 1.f, params_.Lightness / 100.f, 0));
  r.BindTexture(r.FindSampler(s, "s_Shadow"), d.Shadow);
  // Depth first, then the colour of the nearest surface added once.
  r.SetBlendState(d.DepthOnly);
  r.SetDepthState(d.Nearest);
  r.DrawIndexed(comms::kPrimTriangles, 0, -1);
  r.SetBlendState(d.Add);
  r.SetDepthState(d.Equal);
  r.DrawIndexed(comms::kPrimTriangles, 0, -1);

  r.BindTexture(r.FindSampler(s, "s_Shadow"), -1);
  r.SetBlendState(-1);
  r.SetDepthState(-1);
  r.SetRenderTargets(nullptr, 0, -1, nullptr);
  r.SetViewPort(viewport);
  d.Read = false;
}

const std::vector<float>& VolumeRender::Sum() const {
  if (!device_) return accum_;
  if (!device_->Read) {
    // The card's rows go bottom-up; the sum's from the top.
    comms::cImage image;
    deviceSum_.assign(accum_.size(), 0.f);
    if (device_->R->ReadTexture(device_->Sum, image) && image.data.size() >= deviceSum_.size() * sizeof(float))
      for (int y = 0; y < height_; ++y)
        std::copy_n((const float*)image.data.data() + (size_t)(height_ - 1 - y) * width_ * 4, (size_t)width_ * 4,
                    deviceSum_.begin() + (ptrdiff_t)((size_t)y * width_ * 4));
    device_->Read = true;
  }
  return deviceSum_;
}
