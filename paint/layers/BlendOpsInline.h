// Inline bodies of the blend and depth modes and of the per-sample blend;
// included by BlendOps.h only.
#pragma once
#include "paint/layers/OneLayerInfo.h"

inline float Clamp255(float v) { return v < 0 ? 0 : v > 255 ? 255 : v; }

inline bool ApplyColorOp(int op, float L[4], const float A[4], float& a) {
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
      BlendHsvParts(op, L, A);
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

inline float ApplyDepthOp(int op, float D, float d, float unitScale) {
  switch (op) {
    case DepthOps::LOP_SUBDEPTH: return D - d;
    case DepthOps::LOP_MAXDEPTH: return std::fabs(d) > std::fabs(D) ? d : D;
    case DepthOps::LOP_MAGNIFY: return D * std::exp(d * unitScale / 5);
    case DepthOps::LOP_MINIFY: return D * std::exp(-d * unitScale / 5);
    default: return D + d;
  }
}

inline void UnpackColor(uint32_t c, float out[4]) {
  for (int i = 0; i < 4; i++) out[i] = (float)((c >> (8 * i)) & 0xff);
}

inline uint32_t PackColor(const float in[4]) {
  uint32_t c = 0;
  for (int i = 0; i < 4; i++) c |= (uint32_t)(int)(Clamp255(in[i]) + 0.5f) << (8 * i);
  return c;
}

inline float LinkMask(const OneLayerInfo& info, bool present, float value) {
  if (info.LinkedLayer < 0) return 1;
  if (!present) return info.InverseLinkage ? 1.0f : 0.0f;
  return info.InverseLinkage ? 1 - value : value;
}

inline void SampleBlend::Add(const OneLayerInfo& info, uint32_t color, float specular, float a, float m,
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
