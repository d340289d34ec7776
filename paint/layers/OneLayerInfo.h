// One layer of the paint scene: its name, stable LayerID, visibility and the
// blend and depth modes with their weights and corrections. The layer panel is
// generated from these members.
#pragma once
#include "ClassEngine/BaseClass.h"
#include "ClassEngine/MemberClasses.h"

// Colour blend modes, in the order of the mode list.
struct ColorOps {
 enum : int {
  LOP_STANDART_BLEND = 0, Dissolve, Darken, Multiply, ColorBurn, LinearBurn, Lighten, Screen,
  ColorDodge, LinearDodge, Overlay, SoftLight, HardLight, VividLight, LinearLight, PinLight,
  HardMix, Difference, Exclusion, Hue, Saturation, Color, Lightness, LOP_MODULATE2X, LOP_ADD,
  LOP_SUBTRACT, LOP_NORMALMAP, kCount
 };
};
struct DepthOps {
  enum : int { LOP_ADDDEPTH = 0, LOP_SUBDEPTH, LOP_MAXDEPTH, LOP_MAGNIFY, LOP_MINIFY, kCount };
};

class OneLayerInfo : public BaseClass {
 public:
  _str Name;
  int LayerID = 0;
  bool Visible = true;
  bool LockTransparency = false;
  int ColorOp = ColorOps::LOP_STANDART_BLEND;
  int DepthOp = DepthOps::LOP_ADDDEPTH;
  float DepthTransparency = 1;
  float ColorTransparency = 1;
  float EmbossPower = 0;
  float Contrast = 0;
  float Brightness = 0;
  float SpecContrast = 0;
  float SpecBrightness = 0;
  int LinkedLayer = -1;
  bool InverseLinkage = false;

  MV_CLASS(OneLayerInfo, BaseClass) {
    Member("_str", Name, "Name");
    Member("_int", LayerID, "LayerID");
    Member("_bool", Visible, "Visible");
    Member("_bool", LockTransparency, "LockTransparency");
    Member("_index", ColorOp, "ColorOp", GetEnumerator("LAYER_COLOROPS"));
    Member("_index", DepthOp, "DepthOp", GetEnumerator("LAYER_DEPTHOPS"));
    Member("CtrlFSlider", DepthTransparency, "DepthTransparency", NewFloatSliderRange(0, 1));
    Member("CtrlFSlider", ColorTransparency, "ColorTransparency", NewFloatSliderRange(0, 1));
    Member("CtrlFSlider", EmbossPower, "EmbossPower", NewFloatSliderRange(0, 5));
    Member("_float", Contrast, "Contrast");
    Member("_float", Brightness, "Brightness");
    Member("_float", SpecContrast, "SpecContrast");
    Member("_float", SpecBrightness, "SpecBrightness");
    Member("_index", LinkedLayer, "LinkedLayer", GetEnumerator("$LRLINKAGELIST"));
    Member("_bool", InverseLinkage, "InverseLinkage");
  }

  // Fills the mode enumerators with the names of the two mode tables.
  static void RegisterModeNames();
  // True when the layer is a colour source kept outside the scene ("[ext]").
  bool IsExternal() const;
  // A panel row changed: the scene recomposes what the layer covers.
  bool OnChange(BaseClass* cls, void* ptr, void* extra, const char* name) override;
};
