// Defaults, reset and the scoped saver of the global pen state.
#include "paint/GeneralPen.h"

#include <algorithm>
#include <cstring>

#include "paint/PenShapes.h"

// Every scalar of the pen state, once, so reset and snapshot cannot miss one.
#define MV_PEN_SCALARS(X)                                                                      \
  X(PenRadius, 5.f) X(PenRotation, 0.f) X(DeepDegree, 0.5f) X(ColorOpacity, 1.f)              \
  X(SpecularDegree, 0.f) X(SpecularOpacity, 1.f) X(Falloff, 0.f) X(FocalShift, 0.f)            \
  X(MeasureScale, 1.f)                                                                         \
  X(BSpilnes, false) X(CurrentPenPtr, nullptr) X(Mask, nullptr) X(DrawDepth, true)             \
  X(CurrentStrip, nullptr)                                                                     \
  X(DrawColor, true)                                                                           \
  X(DrawSpecular, true) X(IgnoreBackfaces, true) X(AbsoluteDepth, false) X(DepthLimit, 0.f)    \
  X(EnableFarPlane, false) X(PenPressure, 1.f) X(PrevPressure, 1.f) X(StrokeRadius, 20.f)      \
  X(PrevStrokeRadius, 20.f) X(StripPhase, 0.f) X(ConditionMode, 0) X(AverageColor, 128.f)      \
  X(ColorDistance, 32.f) X(HeightScale, 1.f) X(CavityScale, 1.f) X(CavityRadius, 3.f)          \
  X(Symmetry, 0) X(StrokeMode, 0) X(DrawShape, 0) X(ColorJitterMode, 0) X(MoveCounter, 0)      \
  X(PenPressureLevels, 1024) X(PenSensivity, 1.75f) X(IgnorePressure, false)                 \
  X(ShapeSoftBorder, 3.f) X(ShapeDepthLimit, 30.f)

void GeneralPen::SavePen() {
  if (CurrentPenPtr) CurrentPenPtr->SaveParams();
}

void GeneralPen::Reset() {
#define MV_RESET(name, value) name = value;
  MV_PEN_SCALARS(MV_RESET)
#undef MV_RESET
  const float white[4] = {1, 1, 1, 0}, black[4] = {0, 0, 0, 0};
  std::memcpy(Color, white, sizeof Color);
  std::memcpy(Color2, black, sizeof Color2);
}

struct GeneralPenSaver::Snapshot {
#define MV_FIELD(name, value) decltype(GeneralPen::name) name = GeneralPen::name;
  MV_PEN_SCALARS(MV_FIELD)
#undef MV_FIELD
  float Color[4], Color2[4];
};

GeneralPenSaver::GeneralPenSaver() : saved_(new Snapshot) {
  std::memcpy(saved_->Color, GeneralPen::Color, sizeof saved_->Color);
  std::memcpy(saved_->Color2, GeneralPen::Color2, sizeof saved_->Color2);
}

GeneralPenSaver::~GeneralPenSaver() {
#define MV_RESTORE(name, value) GeneralPen::name = saved_->name;
  MV_PEN_SCALARS(MV_RESTORE)
#undef MV_RESTORE
  std::memcpy(GeneralPen::Color, saved_->Color, sizeof saved_->Color);
  std::memcpy(GeneralPen::Color2, saved_->Color2, sizeof saved_->Color2);
  delete saved_;
}

void StepPenRadius(bool wider) {
  const float step = wider ? 1.15f : 1.f / 1.15f;
  GeneralPen::PenRadius = std::clamp(GeneralPen::PenRadius * step, 1.f, 500.f);
}
