// The blend modes of layers (ColorOps) and their depth modes (DepthOps), and
// the accumulator that blends one sample's layers bottom to top. Colours are
// four floats 0..255 in stored byte order: blue, green, red, alpha.
#pragma once
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "ClassEngine/Random.h"
#include "render/Math3D.h"

class OneLayerInfo;

// Applies blend mode `op` to the layer colour L against the accumulated A;
// may change the layer alpha a. False for modes without a function
// (standard blend, Dissolve, normal-map layers).
bool ApplyColorOp(int op, float L[4], const float A[4], float& a);

float ApplyDepthOp(int op, float D, float d, float unitScale);
// The micro-vertex form: depths are vectors.
comms::cVec3 ApplyDepthOp(int op, const comms::cVec3& D, const comms::cVec3& d,
                          const comms::cVec3& baseNormal, float unitScale);

void UnpackColor(uint32_t c, float out[4]);
uint32_t PackColor(const float in[4]);

// Blends the visible layers of one sample, bottom first.
struct SampleBlend {
  float A[4] = {0, 0, 0, 0};
  float Coverage = 0;
  float Specular = 0;
  bool First = true;
  Random Rng;

  explicit SampleBlend(uint32_t seed = 1) : Rng(seed) {}
  // Adds one layer: colour bytes (stored order, alpha byte included),
  // specular, layer alpha a, mask m; `perPixel` picks the weight rule.
  void Add(const OneLayerInfo& info, uint32_t color, float specular, float a, float m,
           bool perPixel);
};

// The mask of a linked layer: `present` says whether it has a visible sample
// here and `value` is its alpha (0..1).
float LinkMask(const OneLayerInfo& info, bool present, float value);

// Modes 19..22 (Hue, Saturation, Color, Lightness) on L against A.
void BlendHsvParts(int op, float L[4], const float A[4]);

// The per-sample formulas are inline: composition runs them hundreds of
// millions of times for a full map.
#include "paint/layers/BlendOpsInline.h"
