// The pen shapes' sampling arithmetic: the base Sample with its falloff, the
// radial profiles, the image sampler of pattern and strip pens.
#include "paint/PenShapes.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "ClassEngine/Log.h"
#include "interchange/IO.h"
#include "paint/GeneralPen.h"
#include "paint/PenMasks.h"

float PenFalloffFactor(float r2, float falloff) {
  return std::pow(std::max(0.f, 1.f - r2), 8.f * falloff * falloff);
}

BasicPenShape* BasicPenShape::Clone() {
  BasicPenShape* copy = static_cast<BasicPenShape*>(New());
  if (copy) {
    copy->SetParentOnly(nullptr);
    copy->Copy(this);
  }
  return copy;
}

float BasicPenShape::GetDepth(float, float) { return 1.f; }

void BasicPenShape::GetColor(float out[4], float, float) { out[0] = out[1] = out[2] = out[3] = 1.f; }

void BasicPenShape::Sample(float x, float y, float outColor[4], float outWeights[4]) {
  SampleDepth(GetDepth(x, y), x, y, outColor, outWeights);
}

void BasicPenShape::SampleDepth(float d, float x, float y, float outColor[4], float outWeights[4]) {
  outWeights[0] = d, outWeights[1] = 1, outWeights[2] = 0, outWeights[3] = 0;
  outColor[0] = outColor[1] = outColor[2] = 1, outColor[3] = d;
  if (GeneralPen::Falloff > 0) {  // Falloff 0 skips the factor entirely
    const float f = PenFalloffFactor(x * x + y * y, GeneralPen::Falloff);
    outColor[3] *= f, outWeights[0] *= f, outWeights[2] *= f;
  }
}

// x = 1.0 exactly still reads the shape: the square is closed.
static bool OutsideSquare(float x, float y) { return x < -1.f || x > 1.f || y < -1.f || y > 1.f; }

float BasicPenShape::GetDepthClamped(float x, float y) { return OutsideSquare(x, y) ? 0.f : GetDepth(x, y); }

void BasicPenShape::GetColorClamped(float out[4], float x, float y) {
  if (OutsideSquare(x, y)) {
    out[0] = out[1] = out[2] = 1.f, out[3] = 0.f;
    return;
  }
  GetColor(out, x, y);
}

std::string BasicPenShape::GetPreviewName() {
  char name[64];
  ClassDescriptor* d = GetDescriptor();
  snprintf(name, sizeof name, "previewBPS__%d", d ? d->ID : -1);
  return name;
}

// GetDepth is final here: the call is direct and inlined.
void RadialPenShape::Sample(float x, float y, float outColor[4], float outWeights[4]) {
  SampleDepth(GetDepth(x, y), x, y, outColor, outWeights);
}

float RadialPenShape::GetDepth(float x, float y) {
  float r = std::sqrt(x * x + y * y);
  if (GeneralPen::FocalShift != 0) r = std::pow(r, 1.f + GeneralPen::FocalShift);
  return Profile(r);
}

std::string RadialPenShape::GetPreviewName() {
  if (BuiltInNumber() <= 0) return BasicPenShape::GetPreviewName();
  char name[64];
  snprintf(name, sizeof name, "textures\\preview_pen%d.tga", BuiltInNumber());
  return name;
}

float ConePen::Profile(float r) { return r >= 1.f ? 0.f : 1.f - r; }
float SimplePen::Profile(float r) {
  if (r >= 1.f) return 0.f;
  const float t = 1.f - r;
  return t * t * (2.f - t) * (2.f - t);
}
float SharpPen::Profile(float r) { return r >= 1.f ? 0.f : (1.f - r) * (1.f - r); }
float SpherePen::Profile(float r) { return r >= 1.f ? 0.f : std::sqrt(1.f - r * r); }
float VolcanoPen::Profile(float r) { return r >= 1.f ? 0.f : 16.f * r * r * (1.f - r) * (1.f - r); }
float PlanePen::Profile(float r) {
  const float t = std::max(0.f, (r - 0.75f) * 4.f);
  if (t >= 1.f) return 0.f;
  const float u = 1.f - t;
  return u * u * (2.f - u) * (2.f - u);
}

// --- images ---

namespace {
// Bilinear read of channel `c` of `stride` floats per pixel.
float Bilinear(const std::vector<float>& data, int w, int h, int stride, int c, float u, float v) {
  const float fx = std::clamp(u, 0.f, 1.f) * (float)(w - 1), fy = std::clamp(v, 0.f, 1.f) * (float)(h - 1);
  const int x0 = (int)fx, y0 = (int)fy;
  const int x1 = std::min(x0 + 1, w - 1), y1 = std::min(y0 + 1, h - 1);
  const float tx = fx - (float)x0, ty = fy - (float)y0;
  auto at = [&](int x, int y) { return data[((size_t)y * w + x) * stride + c]; };
  const float a = at(x0, y0) + (at(x1, y0) - at(x0, y0)) * tx;
  const float b = at(x0, y1) + (at(x1, y1) - at(x0, y1)) * tx;
  return a + (b - a) * ty;
}
}  // namespace

float PenImage::ReadDepth(float u, float v) const { return Empty() ? 0.f : Bilinear(Depth, Width, Height, 1, 0, u, v); }

void PenImage::ReadColor(float out[4], float u, float v) const {
  for (int c = 0; c < 4; ++c) out[c] = Empty() ? 1.f : Bilinear(Rgba, Width, Height, 4, c, u, v);
}

float PenImage::ReadSpecular(float u, float v) const {
  return Specular.empty() ? 0.f : Bilinear(Specular, Width, Height, 1, 0, u, v);
}

void PatternPen::Remap(float& x, float& y) {
  if (GeneralPen::FocalShift == 0) return;
  const float len = std::sqrt(x * x + y * y);
  if (len <= 0) return;  // the centre stays
  const float s = std::pow(len, 1.f + GeneralPen::FocalShift) / len;
  x *= s, y *= s;
}

float PatternPen::GetDepth(float x, float y) {
  Remap(x, y);
  return image_.ReadDepth((x + 1) / 2, (y + 1) / 2);
}

void PatternPen::GetColor(float out[4], float x, float y) {
  Remap(x, y);
  image_.ReadColor(out, (x + 1) / 2, (y + 1) / 2);
}

void PatternPen::Sample(float x, float y, float outColor[4], float outWeights[4]) {
  const float r2 = x * x + y * y;
  Remap(x, y);
  const float u = (x + 1) / 2, v = (y + 1) / 2;
  image_.ReadColor(outColor, u, v);
  outWeights[0] = image_.ReadDepth(u, v);
  outWeights[1] = image_.Specular.empty() ? 0.f : image_.ReadSpecular(u, v);
  outWeights[2] = 0, outWeights[3] = 0;
  if (GeneralPen::Falloff > 0) {
    const float f = PenFalloffFactor(r2, GeneralPen::Falloff);
    outColor[3] *= f, outWeights[0] *= f;
    outWeights[1] = 0;
  }
}

std::string PatternPen::GetPreviewName() { return std::string("preview__") + FileName.cpchar(); }

bool PatternPen::Activate() {
  if (!FileName.cpchar() || !*FileName.cpchar()) return !image_.Empty();
  comms::cImage img;
  if (!comms::cIO::LoadImage(FileName.cpchar(), img) || img.format < 1 || img.format > 4) {
    Log("PatternPen::Activate(): cannot use %s, the previous image stays", FileName.cpchar());
    return false;
  }
  PenImage out;
  out.Width = img.width, out.Height = img.height;
  const int ch = img.format;
  out.Depth.resize((size_t)img.width * img.height);
  out.Rgba.resize(out.Depth.size() * 4);
  for (int y = 0; y < img.height; ++y)
    for (int x = 0; x < img.width; ++x) {
      const uint8_t* p = img.Pixel(x, y);
      const size_t i = (size_t)y * img.width + x;
      float rgba[4] = {p[0] / 255.f, p[ch > 1 ? 1 : 0] / 255.f, p[ch > 2 ? 2 : 0] / 255.f, ch == 4 || ch == 2 ? p[ch - 1] / 255.f : 1.f};
      for (int c = 0; c < 4; ++c) out.Rgba[i * 4 + c] = rgba[c];
      out.Depth[i] = (rgba[0] + rgba[1] + rgba[2]) / 3.f;
    }
  image_ = std::move(out);
  ReadFromFile((std::string(FileName.cpchar()) + ".xml").c_str());  // optional parameters
  return true;
}

void PatternPen::Deactivate() { image_ = PenImage(); }

void PatternPen::SaveParams() {
  if (FileName.cpchar() && *FileName.cpchar()) WriteToFile((std::string(FileName.cpchar()) + ".xml").c_str());
}

float StripPen::GetDepthClamped(float x, float y) {
  x = std::clamp(x, -1.f, 1.f), y = std::clamp(y, -1.f, 1.f);
  return GetDepth(x, y) * std::sqrt(1.f - x * x);  // the strip fades at its sides
}

void StripPen::Sample(float x, float y, float outColor[4], float outWeights[4]) {
  const float u = (std::clamp(x, -1.f, 1.f) + 1) / 2;
  const float along = (y + 1) / 2, v = along - std::floor(along);
  image_.ReadColor(outColor, u, v);
  outWeights[0] = image_.ReadDepth(u, v);
  outWeights[1] = image_.Specular.empty() ? 1.f : image_.ReadSpecular(u, v);
  outWeights[2] = 0, outWeights[3] = 0;
}

float StripPen::GetAspect() {
  return image_.Empty() ? 1.f : (float)image_.Height / (float)image_.Width;
}

void RegisterPenClasses() {
  static bool done = false;
  if (done) return;
  done = true;
  RegisterClassEngineClasses();
  auto add = [](auto model) { RegisterClass(&model, "Pens", model.GetClassName()); };
  add(BasicPenShape());
  add(RadialPenShape());
  add(ConePen());
  add(SimplePen());
  add(SharpPen());
  add(SpherePen());
  add(VolcanoPen());
  add(PlanePen());
  add(PatternPen());
  add(StripPen());
  add(PenMaskPanel());
}

void AdvanceStripPhase(BasicPenShape* pen, float travelled) {
  if (!pen || GeneralPen::StrokeRadius <= 0) return;
  GeneralPen::StripPhase += travelled / GeneralPen::StrokeRadius / pen->GetAspect();
}

std::unique_ptr<BasicPenShape> MakeRadialPen(const std::string& w) {
  if (w == "cone") return std::make_unique<ConePen>();
  if (w == "simple") return std::make_unique<SimplePen>();
  if (w == "sharp") return std::make_unique<SharpPen>();
  if (w == "sphere") return std::make_unique<SpherePen>();
  if (w == "volcano") return std::make_unique<VolcanoPen>();
  if (w == "plane") return std::make_unique<PlanePen>();
  return nullptr;
}
