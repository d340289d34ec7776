// Condition weights and the micro-vertex cavity (see PenConditions.h).
#include "paint/PenConditions.h"

#include <algorithm>
#include <cmath>

#include "paint/GeneralPen.h"

const char* ConditionModeText(int mode) {
  static const char* const kTexts[16] = {
      "NO_DEPENDENCE",           "DEPENDENCE_ON_R_DIRECT",    "DEPENDENCE_ON_R_INVERSE",  "DEPENDENCE_ON_G_DIRECT",
      "DEPENDENCE_ON_G_INVERSE", "DEPENDENCE_ON_B_DIRECT",    "DEPENDENCE_ON_B_INVERSE",  "DEPENDENCE_ON_RGB_DIRECT",
      "DEPENDENCE_ON_RGB_INVERSE", "DEPENDENCE_ON_CURR_DIRECT", "DEPENDENCE_ON_CURR_INVERSE", "DEPENDENCE_ON_COLOR_MASK",
      "DEPENDENCE_ON_HEIGHT",    "DEPENDENCE_ON_HEIGHT_INV",  "DEPENDENCE_ON_CAVITY",     "DEPENDENCE_ON_CAVITY_INV"};
  return mode >= 0 && mode < 16 ? kTexts[mode] : "";
}

float ConditionWeight(int mode, float w, const ConditionInput& in) {
  const float avg = GeneralPen::AverageColor;
  auto channel = [&](int c) { return (float)in.Composite[c]; };
  auto height = [&]() {
    if (!in.HasLayerSample) return GeneralPen::HeightScale > 0 ? 0.f : 1.f;
    float h = in.Height * in.UnitScale / (GeneralPen::HeightScale + 0.00001f);
    if (GeneralPen::HeightScale <= 0) h += 1.f;
    return std::clamp(h, 0.f, 1.f);
  };
  auto colorFactor = [&]() {
    float d2 = 0;
    for (int c = 0; c < 3; ++c) {
      const float d = channel(c) - in.CurrentColor[c] * 255.f;
      d2 += d * d;
    }
    return std::exp(-std::sqrt(d2) / (GeneralPen::ColorDistance + 1.f));
  };
  switch (mode) {
    case 1: case 3: case 5: return (channel((mode - 1) / 2) - avg) / 128.f * w;
    case 2: case 4: case 6: return (avg - channel((mode - 2) / 2)) / 128.f * w;
    case 7: return ((channel(0) + channel(1) + channel(2)) / 3.f - avg) / 128.f * w;
    case 8: return (avg - (channel(0) + channel(1) + channel(2)) / 3.f) / 128.f * w;
    case 9: return w * colorFactor();
    case 10: return w * (1.f - colorFactor());
    case 11: return w * (1.f - in.LayerOpacity);
    case 12: return w * height();
    case 13: return w * (1.f - height());
    case 14: {
      const float s = GeneralPen::CavityScale;
      return w * std::clamp(in.Cavity * s * s / 3.f, 0.f, 1.f);
    }
    case 15: {
      const float s = GeneralPen::CavityScale;
      return w * std::clamp(-in.Cavity * s * s * s / 3.f, 0.f, 1.f);
    }
    default: return w;
  }
}

float MicroVertexCavity(const float centre[3], const float normal[3], float unitScale,
                        const std::function<bool(int, int, float[3])>& neighbour) {
  const int R = (int)GeneralPen::CavityRadius;
  float D[3] = {0, 0, 0}, L = 0, W = 0;
  for (int dy = -R; dy <= R; ++dy)
    for (int dx = -R; dx <= R; ++dx) {
      if ((dx == 0 && dy == 0) || dx * dx + dy * dy >= (R + 1) * R) continue;
      float p[3];
      if (!neighbour(dx, dy, p)) continue;
      const float t = 1.f / (float)(dx * dx + dy * dy + 2);
      const float v[3] = {p[0] - centre[0], p[1] - centre[1], p[2] - centre[2]};
      for (int a = 0; a < 3; ++a) D[a] += v[a] * t;
      L += std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]) * t;
      W += t;
    }
  if (W == 0 || L == 0) return 0.f;
  L /= W;
  for (float& d : D) d = d / W / (L * L * unitScale);
  return (normal[0] * D[0] + normal[1] * D[1] + normal[2] * D[2]) * 20.f;
}

bool ConditionCache::Find(uint64_t key, float& value) {
  std::lock_guard<std::mutex> g(mutex_);
  auto it = values_.find(key);
  if (it == values_.end()) return false;
  value = it->second;
  return true;
}

void ConditionCache::Store(uint64_t key, float value) {
  std::lock_guard<std::mutex> g(mutex_);
  values_[key] = value;
}

void ConditionCache::Clear() {
  std::lock_guard<std::mutex> g(mutex_);
  values_.clear();
}
