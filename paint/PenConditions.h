// Conditions that modulate a dab's weight by what lies under it (colour,
// height over the base surface, cavity), GeneralPen::ConditionMode 0..15, and
// the cavity estimate at a micro-vertex. The inputs a paint layer supplies
// (composite colour, the current layer's colour and opacity) come in a plain
// record, so the arithmetic stands alone until the layers exist.
#pragma once
#include <cstdint>
#include <functional>
#include <mutex>
#include <unordered_map>

struct ConditionInput {
  uint8_t Composite[3] = {0, 0, 0};  // composite colour bytes of the sample
  float CurrentColor[3] = {0, 0, 0}; // the current layer's colour, 0..1
  float LayerOpacity = 0.f;          // the current layer's opacity at the sample
  bool HasLayerSample = true;        // false: modes 12, 13 follow HeightScale's sign
  float Height = 0.f;                // offset dot BaseNormal
  float Cavity = 0.f;
  float UnitScale = 1.f;
};

// The text key of each mode ("NO_DEPENDENCE", "DEPENDENCE_ON_R_DIRECT", ...).
const char* ConditionModeText(int mode);
// The weight w after the condition of `mode`.
float ConditionWeight(int mode, float w, const ConditionInput& in);

// Cavity at a micro-vertex from the neighbours within CavityRadius; `neighbour`
// gives the position of (dx, dy) or false where the grid has none.
float MicroVertexCavity(const float centre[3], const float normal[3], float unitScale,
                        const std::function<bool(int dx, int dy, float out[3])>& neighbour);

// Results per sample shared by painting threads, under its mutex.
class ConditionCache {
 public:
  bool Find(uint64_t key, float& value);
  void Store(uint64_t key, float value);
  void Clear();

 private:
  std::mutex mutex_;
  std::unordered_map<uint64_t, float> values_;
};
