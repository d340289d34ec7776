// Names of the blend and depth modes shown in the layer panel.
#include "paint/layers/OneLayerInfo.h"

#include <cstring>

#include "ClassEngine/Enumerator.h"

void OneLayerInfo::RegisterModeNames() {
  static const char* colour[] = {
      "LOP_STANDART_BLEND", "Dissolve", "Darken", "Multiply", "ColorBurn", "LinearBurn",
      "Lighten", "Screen", "ColorDodge", "LinearDodge", "Overlay", "SoftLight", "HardLight",
      "VividLight", "LinearLight", "PinLight", "HardMix", "Difference", "Exclusion", "Hue",
      "Saturation", "Color", "Lightness", "LOP_MODULATE2X", "LOP_ADD", "LOP_SUBTRACT",
      "LOP_NORMALMAP"};
  static const char* depth[] = {"LOP_ADDDEPTH", "LOP_SUBDEPTH", "LOP_MAXDEPTH", "LOP_MAGNIFY",
                                "LOP_MINIFY"};
  static_assert(sizeof(colour) / sizeof(colour[0]) == ColorOps::kCount);
  static_assert(sizeof(depth) / sizeof(depth[0]) == DepthOps::kCount);
  Enumerator* c = GetEnumerator("LAYER_COLOROPS");
  if (c->GetStoredAmount() == 0)
    for (int i = 0; i < ColorOps::kCount; i++) c->Add(colour[i], i);
  Enumerator* d = GetEnumerator("LAYER_DEPTHOPS");
  if (d->GetStoredAmount() == 0)
    for (int i = 0; i < DepthOps::kCount; i++) d->Add(depth[i], i);
}

bool OneLayerInfo::IsExternal() const { return strstr(Name.cpchar(), "[ext]") != nullptr; }
