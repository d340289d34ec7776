// Pen shapes: what height, colour and weight a dab leaves at each point of its
// square (-1..1 on both axes). BasicPenShape holds the per-pen variation
// settings and the virtual operations; the radial pens are closed-form
// profiles of the distance from the centre; PatternPen and StripPen read an
// image. Paint rasterisers and the voxel brushes both sample these.
#pragma once
#include <memory>
#include <string>
#include <vector>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/MemberClasses.h"

// pow(max(0, 1 - r2), 8 F^2): the edge falloff shared by pens and voxel brushes.
float PenFalloffFactor(float r2, float falloff);

class BasicPenShape : public BaseClass {
 public:
  float ZeroPressureRadius = 0.f;
  float RotationAmplitude = 0.f;
  float DepthModulator = 1.f;
  float RadiusVariation = 0.f;
  float DepthVariation = 0.f;
  float OpacityVariation = 0.f;
  float Jitter = 0.f;
  bool JitterDependsOnPressure = false;
  bool OpacityVariationDependsOnPressure = false;
  bool DepthVariationDependsOnPressure = false;
  bool RadiusVariationDependsOnPressure = false;
  bool RotationAmplitudeDependsOnPressure = false;
  bool RandomFlipX = false, RandomFlipY = false;
  bool DrawBySpots = false;
  bool RotateAlongMotion = false;
  bool SkipEraser = false;
  bool UseSpacing = true;
  float Spacing = 10.f;  // dabs per radius
  static inline bool FadeOnEdge = false;

  MV_CLASS(BasicPenShape, BaseClass) {
    Member("CtrlFSlider", ZeroPressureRadius, "ZeroPressureRadius", NewFloatSliderRange(0, 2));
    Member("CtrlFSlider", RotationAmplitude, "RotationAmplitude", NewFloatSliderRange(0, 360));
    Member("CtrlFSlider", DepthModulator, "DepthModulator", NewFloatSliderRange(0, 2));
    Member("CtrlFSlider", RadiusVariation, "RadiusVariation", NewFloatSliderRange(0, 100));
    Member("CtrlFSlider", DepthVariation, "DepthVariation", NewFloatSliderRange(0, 100));
    Member("CtrlFSlider", OpacityVariation, "OpacityVariation", NewFloatSliderRange(0, 100));
    Member("CtrlFSlider", Jitter, "Jitter", NewFloatSliderRange(0, 2));
    Member("_bool", JitterDependsOnPressure, "JitterDependsOnPressure");
    Member("_bool", OpacityVariationDependsOnPressure, "OpacityVariationDependsOnPressure");
    Member("_bool", DepthVariationDependsOnPressure, "DepthVariationDependsOnPressure");
    Member("_bool", RadiusVariationDependsOnPressure, "RadiusVariationDependsOnPressure");
    Member("_bool", RotationAmplitudeDependsOnPressure, "RotationAmplitudeDependsOnPressure");
    Member("_bool", RandomFlipX, "RandomFlipX");
    Member("_bool", RandomFlipY, "RandomFlipY");
    Member("_bool", DrawBySpots, "DrawBySpots");
    Member("_bool", RotateAlongMotion, "RotateAlongMotion");
    Member("_bool", SkipEraser, "SkipEraser");
    Member("_bool", UseSpacing, "UseSpacing");
    Member("CtrlFSlider", Spacing, "Spacing", NewFloatSliderRange(1, 100));
    NextStatic();
    Member("_bool", FadeOnEdge, "FadeOnEdge");
  }

  // A new object of the same class with the reflected members copied.
  virtual BasicPenShape* Clone();
  // Height in -1..1 at (x, y) of the dab square.
  virtual float GetDepth(float x, float y);
  // RGBA 0..1.
  virtual void GetColor(float out[4], float x, float y);
  // outWeights: depth, specular, erase, spare.
  virtual void Sample(float x, float y, float outColor[4], float outWeights[4]);
  virtual float GetDepthClamped(float x, float y);
  virtual void GetColorClamped(float out[4], float x, float y);
  virtual void CreatePreview() {}
  virtual std::string GetPreviewName();
  virtual float GetAspect() { return 1.f; }
  virtual bool Activate() { return true; }
  virtual void Deactivate() {}
  virtual void SaveParams() {}

 protected:
  // Sample's weights and colour from the depth d at (x, y).
  void SampleDepth(float d, float x, float y, float outColor[4], float outWeights[4]);
};

// A shape of the distance from the centre; FocalShift bends that distance.
class RadialPenShape : public BasicPenShape {
 public:
  MV_CLASS(RadialPenShape, BasicPenShape) {}
  // Final, so that Sample (a texel's pen weights) calls it directly.
  float GetDepth(float x, float y) final;
  void Sample(float x, float y, float outColor[4], float outWeights[4]) override;
  // Height at distance r (0 at r >= 1 in every derived pen).
  virtual float Profile(float /*r*/) { return 1.f; }
  // The built-in radial pens name their preview by their place in the list.
  std::string GetPreviewName() override;
  virtual int BuiltInNumber() { return 0; }
};

#define MV_RADIAL_PEN(Name, Number)                     \
  class Name : public RadialPenShape {                  \
   public:                                              \
    MV_CLASS(Name, RadialPenShape) {}                   \
    float Profile(float r) override;                    \
    int BuiltInNumber() override { return Number; }     \
  };
MV_RADIAL_PEN(ConePen, 1)
MV_RADIAL_PEN(SimplePen, 2)
MV_RADIAL_PEN(SharpPen, 3)
MV_RADIAL_PEN(SpherePen, 4)
MV_RADIAL_PEN(VolcanoPen, 5)
MV_RADIAL_PEN(PlanePen, 6)
#undef MV_RADIAL_PEN

// A decoded pen image as floats: depth (grey), colour RGBA and an optional
// specular channel, row 0 at the bottom like cImage.
struct PenImage {
  int Width = 0, Height = 0;
  std::vector<float> Depth;     // 0..1
  std::vector<float> Rgba;      // 4 per pixel, 0..1
  std::vector<float> Specular;  // empty when the image has none
  bool Empty() const { return Width <= 0 || Height <= 0; }
  // Bilinear read at (u, v) in 0..1, clamped at the edges.
  float ReadDepth(float u, float v) const;
  void ReadColor(float out[4], float u, float v) const;
  float ReadSpecular(float u, float v) const;
};

// An image-based shape from "textures\patterns\" or "patterns\".
class PatternPen : public BasicPenShape {
 public:
  _str FileName;
  MV_CLASS(PatternPen, BasicPenShape) { Member("_str", FileName, "FileName"); }

  float GetDepth(float x, float y) override;
  void GetColor(float out[4], float x, float y) override;
  void Sample(float x, float y, float outColor[4], float outWeights[4]) override;
  std::string GetPreviewName() override;
  // Loads FileName and its ".xml" of parameters; a failed load keeps the
  // previous image and returns false.
  bool Activate() override;
  void Deactivate() override;
  void SaveParams() override;
  // Installs an already decoded image (tests, generated pens).
  void SetImage(PenImage image) { image_ = std::move(image); }
  const PenImage& Image() const { return image_; }

 protected:
  // FocalShift's radial remap of (x, y); the centre stays where it is.
  static void Remap(float& x, float& y);
  PenImage image_;
};

// An image drawn along the stroke; StripPhase walks through it.
class StripPen : public PatternPen {
 public:
  MV_CLASS(StripPen, PatternPen) {}
  float GetDepthClamped(float x, float y) override;
  float GetAspect() override;
  // x across the strip (-1..1, held at the sides), y along it: the image
  // repeats every 2 of y. No falloff and no focal shift: a strip is laid
  // whole along the stroke, its weights multiplying the pen's.
  void Sample(float x, float y, float outColor[4], float outWeights[4]) override;
};

// A built-in radial pen by its word in scripts: cone simple sharp sphere
// volcano plane; null for another word.
std::unique_ptr<BasicPenShape> MakeRadialPen(const std::string& word);
// Registers the pen classes with the class engine (idempotent).
void RegisterPenClasses();
// After a dab: StripPhase += travelled / StrokeRadius / aspect.
void AdvanceStripPhase(BasicPenShape* pen, float travelled);
