// The pen state that every painting and sculpting tool reads: radius, depth,
// opacity, falloff, the active shape, pressure and the stroke switches. It is
// one group of globals, as the settings files name them ("GeneralPen::PenRadius"),
// with a reflected view (GeneralPenClass) for panels and files, and a scoped
// saver so tests and replays leave the state as they found it.
#pragma once
#include "ClassEngine/BaseClass.h"
#include "ClassEngine/MemberClasses.h"

class BasicPenShape;
class BrushMaskSource;

// Stroke modes of the pressure combo; the combo's entry and the stored value differ.
enum PenStrokeMode : int {
  kStrokeDefault = 0,      // depth scales with radius, radius follows pressure
  kStrokeSoft = 1,         // depth/opacity/specular follow pressure, radius fixed
  kStrokeConstant = 2,     // no pressure at all
  kStrokePoints = 3,       // constant, one dab per click
  kStrokeLines = 4,        // straight segments, no pressure
  kStrokeCurves = 5,       // curves, no pressure
  kStrokePreview = 6,      // a preview until applied: no jitter, no variation
  kStrokeDoubleSoft = 7,   // as soft, and the radius follows pressure too
  kStrokeMiddleNarrow = 8, // as soft, radius times (1 - p)^2
  kStrokeIsland = 9,       // limited to the island of the first face
};

struct GeneralPen {
  static inline float PenRadius = 5.f;  // screen pixels
  static inline float PenRotation = 0.f; // radians, shown in degrees
  static inline float DeepDegree = 0.5f;
  static inline float ColorOpacity = 1.f;
  static inline float SpecularDegree = 0.f;
  static inline float SpecularOpacity = 1.f;  // how strongly a dab lays its specular
  static inline float Falloff = 0.f;
  static inline float FocalShift = 0.f;
  static inline float Color[4] = {1, 1, 1, 0};
  static inline float Color2[4] = {0, 0, 0, 0};
  static inline float MeasureScale = 1.f;
  static inline bool BSpilnes = false;
  static inline BasicPenShape* CurrentPenPtr = nullptr;
  // The stencil and material mask over the view that holds every pen back
  // (painting and sculpting alike); null for none.
  static inline const BrushMaskSource* Mask = nullptr;
  // The strip laid along the stroke (a StripPen), null for none.
  static inline BasicPenShape* CurrentStrip = nullptr;

  static inline bool DrawDepth = true, DrawColor = true, DrawSpecular = true;
  static inline bool IgnoreBackfaces = true;
  static inline bool AbsoluteDepth = false;
  static inline float DepthLimit = 0.f;
  static inline bool EnableFarPlane = false;
  static inline float PenPressure = 1.f, PrevPressure = 1.f;
  static inline float StrokeRadius = 20.f, PrevStrokeRadius = 20.f;
  static inline float StripPhase = 0.f;
  static inline int ConditionMode = 0;
  static inline float AverageColor = 128.f, ColorDistance = 32.f;
  static inline float HeightScale = 1.f, CavityScale = 1.f, CavityRadius = 3.f;
  static inline int Symmetry = 0;  // bit 0 x, bit 1 y, bit 2 z
  static inline int StrokeMode = kStrokeDefault;
  static inline int DrawShape = 0;  // 1..5 rectangle, lasso, contour, circle, spline
  // The width in pixels over which a drawn shape's action fades in at its border.
  static inline float ShapeSoftBorder = 3.f;
  // With EnableFarPlane on, how deep (object units, behind the front of the
  // surface under it) a drawn shape reaches.
  static inline float ShapeDepthLimit = 30.f;
  static inline int ColorJitterMode = 0;
  static inline int MoveCounter = 0;
  // Tablet pressure arithmetic. 1.75 makes the response curve linear
  // (exponent 2 / (1.75 + 0.25) = 1); the user bends it from there.
  static inline int PenPressureLevels = 1024;
  static inline float PenSensivity = 1.75f;
  // A global option that switches every pressure factor of the voxel brushes off.
  static inline bool IgnorePressure = false;

  // Writes the active pen's parameters back to its file (pattern pens).
  static void SavePen();
  // Every value above back to its default (tests, a fresh session).
  static void Reset();
};

// One step of the pen's radius, 15 % wider or narrower, within the radius
// slider's range (the commands that "[" and "]" are bound to by default).
void StepPenRadius(bool wider);

// Copies the whole pen state in and restores it on destruction.

class GeneralPenSaver {
 public:
  GeneralPenSaver();
  ~GeneralPenSaver();
  GeneralPenSaver(const GeneralPenSaver&) = delete;
  GeneralPenSaver& operator=(const GeneralPenSaver&) = delete;

 private:
  struct Snapshot;
  Snapshot* saved_;
};

// The reflected view of the globals; every member is static, so any object
// of the class shows and saves the same values.
class GeneralPenClass : public BaseClass {
 public:
  MV_CLASS_NAMED(GeneralPenClass, BaseClass, "GeneralPen") {
    NextStatic();
    Member("CtrlFSlider", GeneralPen::PenRadius, "PenRadius", NewFloatSliderRange(1, 500));
    NextStatic();
    Member("_float", GeneralPen::PenRotation, "PenRotation");
    NextStatic();
    Member("CtrlFSlider", GeneralPen::DeepDegree, "DeepDegree", NewFloatSliderRange(-2, 2));
    NextStatic();
    Member("CtrlFSlider", GeneralPen::ColorOpacity, "ColorOpacity", NewFloatSliderRange(0, 1));
    NextStatic();
    Member("CtrlFSlider", GeneralPen::SpecularDegree, "SpecularDegree", NewFloatSliderRange(0, 1));
    NextStatic();
    Member("CtrlFSlider", GeneralPen::Falloff, "Falloff", NewFloatSliderRange(0, 1));
    NextStatic();
    Member("CtrlFSlider", GeneralPen::FocalShift, "FocalShift", NewFloatSliderRange(-1, 1));
    NextStatic();
    Member("_float", GeneralPen::MeasureScale, "MeasureScale");
    NextStatic();
    Member("_bool", GeneralPen::BSpilnes, "BSpilnes");
  }
};
