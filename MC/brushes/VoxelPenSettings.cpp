// The pen block of the voxel tool's panel (see VoxelPenSettings.h).
#include "MC/brushes/VoxelPenSettings.h"

#include "ClassEngine/Enumerator.h"
#include "paint/GeneralPen.h"

void VoxelPenSettings::RegisterOwnMembers() {
  NextStatic();
  Member("CtrlFSlider", GeneralPen::PenRadius, "PenRadius", NewFloatSliderRange(1, 500));
  NextStatic();
  Member("CtrlFSlider", GeneralPen::DeepDegree, "DeepDegree", NewFloatSliderRange(-2, 2));
  NextStatic();
  Member("CtrlFSlider", GeneralPen::Falloff, "Falloff", NewFloatSliderRange(0, 1));
  NextStatic();
  Member("_index", GeneralPen::StrokeMode, "PenPressureMode", GetEnumerator("PENPRESSMODES"));
  NextStatic();
  Member("CtrlFSlider", GeneralPen::PenSensivity, "PenSensivity", NewFloatSliderRange(0.25f, 4));
  NextStatic();
  Member("_bool", GeneralPen::EnableFarPlane, "EnableFarPlane");
  NextStatic();
  Member("CtrlFSlider", GeneralPen::ShapeDepthLimit, "ShapeDepthLimit", NewFloatSliderRange(1, 500));
  Member("_bool", MirrorX, "MirrorX");
  Member("_bool", MirrorY, "MirrorY");
  Member("_bool", MirrorZ, "MirrorZ");
}

bool VoxelPenSettings::OnChange(BaseClass*, void*, void*, const char*) {
  GeneralPen::Symmetry = (MirrorX ? 1 : 0) | (MirrorY ? 2 : 0) | (MirrorZ ? 4 : 0);
  return true;
}

void VoxelPenSettings::Sync() {
  MirrorX = GeneralPen::Symmetry & 1;
  MirrorY = GeneralPen::Symmetry & 2;
  MirrorZ = GeneralPen::Symmetry & 4;
}

void RegisterVoxelPenSettings() {
  static bool done = false;
  if (done) return;
  done = true;
  Enumerator* modes = GetEnumerator("PENPRESSMODES");
  if (modes->GetStoredAmount() == 0) {
    // The combo's entries and the stroke modes they store.
    const struct {
      const char* name;
      int mode;
    } kModes[] = {{"PENPRESS_DEFAULT", kStrokeDefault},     {"PENPRESS_SOFT", kStrokeSoft},
                  {"PENPRESS_DOUBLESOFT", kStrokeDoubleSoft}, {"PENPRESS_MIDDLENARROW", kStrokeMiddleNarrow},
                  {"PENPRESS_CONSTANT", kStrokeConstant}};
    for (const auto& m : kModes) modes->Add(m.name, m.mode);
  }
  VoxelPenSettings model;
  RegisterClass(&model, "Voxels", "VoxelPenSettings");
}
