// The blend and depth modes, one formula each, and the per-sample blend.
#include "paint/layers/BlendOps.h"

#include <algorithm>
#include <cmath>

#include "paint/layers/OneLayerInfo.h"

namespace {

float Clamp255(float v) { return v < 0 ? 0 : v > 255 ? 255 : v; }

// HSV on 0..1 values in r, g, b order.
void ToHSV(float r, float g, float b, float& h, float& s, float& v) {
  float mx = std::max(r, std::max(g, b)), mn = std::min(r, std::min(g, b));
  float delta = mx - mn;
  v = mx;
  s = mx > 0 ? delta / mx : 0;
  h = 0;
  if (delta <= 0) return;
  if (mx == r)
    h = 60 * ((g - b) / delta);
  else if (mx == g)
    h = 60 * ((b - r) / delta + 2);
  else
    h = 60 * ((r - g) / delta + 4);
  if (h < 0) h += 360;
}

void FromHSV(float h, float s, float v, float& r, float& g, float& b) {
  if (s <= 0) {
    r = g = b = v;
    return;
  }
  float hh = std::fmod(h, 360.0f) / 60.0f;
  int sector = (int)std::floor(hh);
  float f = hh - sector;
  float p = v * (1 - s), q = v * (1 - s * f), t = v * (1 - s * (1 - f));
  switch (sector) {
    case 0: r = v, g = t, b = p; break;
    case 1: r = q, g = v, b = p; break;
    case 2: r = p, g = v, b = t; break;
    case 3: r = p, g = q, b = v; break;
    case 4: r = t, g = p, b = v; break;
    default: r = v, g = p, b = q; break;
  }
}

// Modes 19..22: mix hue, saturation and value of L and A.
void HsvMode(int op, float L[4], const float A[4]) {
  // Stored order is b, g, r: exchange the first and third channels.
  float lh, ls, lv, ah, as, av;
  ToHSV(L[2] / 255, L[1] / 255, L[0] / 255, lh, ls, lv);
  ToHSV(A[2] / 255, A[1] / 255, A[0] / 255, ah, as, av);
  float h = ah, s = as, v = av;
  switch (op) {
    case ColorOps::Hue: h = lh, s = as, v = av; break;
    case ColorOps::Saturation:
      if (as == 0)
        h = lh, s = 0, v = av;
      else
        h = ah, s = ls, v = av;
      break;
    case ColorOps::Color: h = lh, s = ls, v = av; break;
    case ColorOps::Lightness: h = as == 0 ? lh : ah, s = as, v = lv; break;
  }
  float r, g, b;
  FromHSV(h, s, v, r, g, b);
  L[0] = b * 255, L[1] = g * 255, L[2] = r * 255;
}

}  // namespace

bool ApplyColorOp(int op, float L[4], const float A[4], float& a) {
  switch (op) {
    case ColorOps::Darken:
      for (int i = 0; i < 4; i++) L[i] = std::min(L[i], A[i]);
      return true;
    case ColorOps::Multiply:
      for (int i = 0; i < 4; i++) L[i] = L[i] * A[i] / 255;
      return true;
    case ColorOps::ColorBurn:
      for (int i = 0; i < 4; i++) {
        L[i] = L[i] * a + (1 - a) * 255;
        if (L[i] > 0) L[i] = (1 - (255 - A[i]) / L[i]) * 255;
        L[i] = std::min(L[i], 255.0f);
      }
      a = std::min(4 * a, 1.0f);
      return true;
    case ColorOps::LinearBurn:
      for (int i = 0; i < 4; i++) L[i] = std::max(L[i] * a + A[i] - a * 255, 0.0f);
      a = std::min(4 * a, 1.0f);
      return true;
    case ColorOps::Lighten:
      for (int i = 0; i < 4; i++) L[i] = std::max(L[i], A[i]);
      return true;
    case ColorOps::Screen:
      for (int i = 0; i < 4; i++) L[i] = 255 - (255 - L[i]) * (255 - A[i]) / 255;
      return true;
    case ColorOps::ColorDodge:
      for (int i = 0; i < 4; i++)
        if (L[i] < 255) L[i] = std::min(A[i] * 255 / (255 - L[i]), 255.0f);
      return true;
    case ColorOps::LinearDodge:
    case ColorOps::LOP_ADD:
      for (int i = 0; i < 4; i++) L[i] = std::min(L[i] + A[i], 255.0f);
      return true;
    case ColorOps::Overlay:
    case ColorOps::HardLight:
      for (int i = 0; i < 4; i++) {
        float l = L[i], b = A[i];
        if (op == ColorOps::HardLight) std::swap(l, b);
        L[i] = b < 128 ? 2 * b / 255 * l : 255 - (255 - l) * (255 - b) / 128;
      }
      return true;
    case ColorOps::SoftLight:
      for (int i = 0; i < 4; i++)
        L[i] = L[i] < 128 ? (L[i] + 128) * A[i] / 255 : 255 - (382 - L[i]) * (255 - A[i]) / 255;
      return true;
    case ColorOps::VividLight:
      for (int i = 0; i < 4; i++) {
        if (L[i] < 128)
          L[i] = L[i] > 0 ? (1 - (255 - A[i]) / 2 / L[i]) * 255 : 0;
        else
          L[i] = L[i] < 255 ? A[i] * 128 / (255 - L[i]) : 255;
        L[i] = Clamp255(L[i]);
      }
      return true;
    case ColorOps::LinearLight:
      for (int i = 0; i < 4; i++) L[i] = Clamp255(2 * L[i] + A[i] - 255);
      return true;
    case ColorOps::PinLight:
      for (int i = 0; i < 4; i++)
        L[i] = Clamp255(L[i] > 128 ? std::max(A[i], 2 * L[i] - 255) : std::min(2 * L[i], A[i]));
      return true;
    case ColorOps::HardMix:
      for (int i = 0; i < 4; i++) L[i] = L[i] < 255 - A[i] ? 0 : 255;
      return true;
    case ColorOps::Difference:
      for (int i = 0; i < 4; i++) L[i] = std::fabs(L[i] - A[i]);
      return true;
    case ColorOps::Exclusion:
      for (int i = 0; i < 4; i++) L[i] = L[i] + A[i] - 2 * L[i] * A[i] / 255;
      return true;
    case ColorOps::Hue:
    case ColorOps::Saturation:
    case ColorOps::Color:
    case ColorOps::Lightness:
      HsvMode(op, L, A);
      return true;
    case ColorOps::LOP_MODULATE2X:
      for (int i = 0; i < 3; i++) L[i] = L[i] * A[i] * 2 / 255;
      L[3] = A[3];
      return true;
    case ColorOps::LOP_SUBTRACT:
      for (int i = 0; i < 3; i++) L[i] = A[i] - L[i];
      L[3] = L[3] + A[3];
      return true;
    default:
      return false;
  }
}

float ApplyDepthOp(int op, float D, float d, float unitScale) {
  switch (op) {
    case DepthOps::LOP_SUBDEPTH: return D - d;
    case DepthOps::LOP_MAXDEPTH: return std::fabs(d) > std::fabs(D) ? d : D;
    case DepthOps::LOP_MAGNIFY: return D * std::exp(d * unitScale / 5);
    case DepthOps::LOP_MINIFY: return D * std::exp(-d * unitScale / 5);
    default: return D + d;
  }
}

comms::cVec3 ApplyDepthOp(int op, const comms::cVec3& D, const comms::cVec3& d,
                          const comms::cVec3& baseNormal, float unitScale) {
  switch (op) {
    case DepthOps::LOP_SUBDEPTH: return D - d;
    case DepthOps::LOP_MAXDEPTH: return comms::Dot(d, d) > comms::Dot(D, D) ? d : D;
    case DepthOps::LOP_MAGNIFY: return D * std::exp(comms::Dot(baseNormal, d) * unitScale / 5);
    case DepthOps::LOP_MINIFY: return D * std::exp(-comms::Dot(baseNormal, d) * unitScale / 5);
    default: return D + d;
  }
}

void UnpackColor(uint32_t c, float out[4]) {
  for (int i = 0; i < 4; i++) out[i] = (float)((c >> (8 * i)) & 0xff);
}

uint32_t PackColor(const float in[4]) {
  uint32_t c = 0;
  for (int i = 0; i < 4; i++) c |= (uint32_t)(int)std::lround(Clamp255(in[i])) << (8 * i);
  return c;
}

float LinkMask(const OneLayerInfo& info, bool present, float value) {
  if (info.LinkedLayer < 0) return 1;
  if (!present) return info.InverseLinkage ? 1.0f : 0.0f;
  return info.InverseLinkage ? 1 - value : value;
}

void SampleBlend::Add(const OneLayerInfo& info, uint32_t color, float specular, float a, float m,
                      bool perPixel) {
  float L[4];
  UnpackColor(color, L);
  if (info.Contrast != 0 || info.Brightness != 0)
    for (int i = 0; i < 3; i++) L[i] = (L[i] - 128) * (info.Contrast + 1) + 128 + info.Brightness;
  float s = specular;
  if (info.SpecContrast != 0 || info.SpecBrightness != 0)
    s = (info.SpecContrast + 1) * s + info.SpecBrightness;
  const float w = perPixel ? m : info.ColorTransparency * m;
  float e;
  if (info.ColorOp == ColorOps::Dissolve) {
    e = w * a;
    if (Rng.Next() >= e * 32768) L[0] = A[0], L[1] = A[1], L[2] = A[2], L[3] = A[3];
    e = 1;
  } else if (ApplyColorOp(info.ColorOp, L, A, a)) {
    e = w * a;
  } else {
    e = w * a;
  }
  for (int i = 0; i < 4; i++) L[i] = Clamp255(L[i]);
  if (First) {
    for (int i = 0; i < 4; i++) A[i] = L[i];
    First = false;
  }
  for (int i = 0; i < 3; i++) A[i] = A[i] * (1 - e) + L[i] * e;
  s *= m;
  Coverage = (1 - e) * Coverage + e;
  Specular += s;
}
