// Registration of the voxel tool settings with their slider ranges.
#include "MC/brushes/VoxelBrushSettings.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "ClassEngine/Enumerator.h"

void VoxelBrushSettings::RegisterOwnMembers() {
  auto slider = [&](float& f, const char* name, float lo, float hi) { Member("CtrlFSlider", f, name, NewFloatSliderRange(lo, hi)); };
  slider(GrowPower, "GrowPower", 0, 1);
  slider(ThawPower, "ThawPower", 0, 1);
  slider(SMOOTH_DEG, "SMOOTH_DEG", 0, 1);
  slider(PinchPower, "PinchPower", 0, 1);
  slider(FollowDegree, "FollowDegree", 0, 1);
  slider(PlaneSoftness, "PlaneSoftness", 0, 1);
  slider(PlaneSoftness41, "PlaneSoftness41", 0, 1);  // tool 41 keeps its own store
  slider(Sampling, "Sampling", 0, 2);
  slider(SplitBorderWidth, "SplitBorderWidth", 0, 1);
  slider(SmoothSpeed33, "SmoothSpeed", 0, 5);
  slider(SmoothSpeed34, "SmoothSpeed34", 0, 5);
  slider(MASK_OPACITY, "MASK_OPACITY", 0, 2);
  slider(BorderFormParam, "BorderFormParam", 0, 4);
  slider(BareliefCoef, "BareliefCoef", 0, 1);
  slider(ClothGravity, "ClothGravity", 0, 2);
  slider(ClothFriction, "ClothFriction", 0, 1);
  slider(ClothThickness, "ClothThickness", 2, 8);
  slider(SnakeSmoothSpeed1, "SnakeSmoothSpeed1", 0, 5);
  slider(SnakeSmoothSpeed2, "SnakeSmoothSpeed2", 0, 5);
  slider(ProfileParam, "ProfileParam", 0, 2);
  slider(SplOverallScale, "SplOverallScale", 0, 2);
  slider(SplOverallRotation, "SplOverallRotation", -180, 180);
  slider(Spacing, "Spacing", 0.25f, 10);
  slider(PosJitter, "PosJitter", 0, 2);
  slider(RotJitter, "RotJitter", 0, 360);
  slider(RadiusJitter, "RadiusJitter", 0, 1);
  slider(DepthJitter, "DepthJitter", 0, 1);
  slider(SphereExtrusion, "SphereExtrusion", -2, 2);
  Member("_int", SketchPreSmoothSteps, "SketchPreSmoothSteps");
  slider(SketchSoftness, "SketchSoftness", 0, 4);
  slider(SketchSize, "SketchSize", 8, 1000);
  Member("_int", NumAxialClones, "NumAxialClones");
  slider(TextThickness, "TextThickness", 1, 30);
  Member("_str", ReliefText, "ReliefText");
  Member("_bool", DoubleSided, "DoubleSided");
  Member("_bool", SoftScrape, "SoftScrape");
  Member("_bool", AsAirbrush, "AsAirbrush");
  Member("_bool", StickToGround, "StickToGround");
  Member("_bool", DontLiftEdges, "DontLiftEdges");
  Member("_bool", SpDependsOnPressure, "SpDependsOnPressure");
  Member("_bool", AccurateSmoothing, "AccurateSmoothing");
  Member("_bool", MoveBasedGrowth, "MoveBasedGrowth");
  Member("_int", AxialSymmetry, "AxialSymmetry");
  Member("_index", AxialAxis, "AxialAxis", GetEnumerator("AXIS3"));
  Member("_bool", CubicInterpolation, "CubicInterpolation");
  slider(FlatCarveOffset, "FlatCarveOffset", -4, 4);
  Member("_index", TRN_MODE, "TRN_MODE", GetEnumerator("TRN_MODE"));
  Member("_index", MeasureAlignment, "MeasureAlignment", GetEnumerator("MEASURE_ALIGN"));
  Member("_index", Units, "METRICS", GetEnumerator("METRICS"));
  slider(VoxelsPerUnit, "VoxelsPerUnit", 0.01f, 1000);
  Member("_index", WrapType, "WrapType", GetEnumerator("WRAP_TYPE"));
  Member("_int", WrapSegments, "WrapSegments");
  slider(StartAngle, "StartAngle", 0, 360);
  slider(EndAngle, "EndAngle", 0, 360);
  slider(ForwardStep, "ForwardStep", 0, 100);
  slider(TwistAngle, "TwistAngle", -180, 180);
  slider(SelfOverlap, "SelfOverlap", 0, 100);
  Member("_bool", PreviewImmediately, "PreviewImmediately");
  Member("_index", ExtrudeDir, "ExtrudeDir", GetEnumerator("EXTRUDEDIR"));
  Member("_bool", ExtrudeFacingOnly, "ExtrudeFacingOnly");
  Member("_index", BorderStyle, "BorderStyle", GetEnumerator("VOXBORDERSTYLE"));
  for (int i = 0; i < kVoxModeCount; ++i) {
    // One flag per tool; the panel shows the current tool's as "InvertToolAction".
    static char names[kVoxModeCount][32];
    snprintf(names[i], sizeof names[i], "InvertToolAction%d", i);
    Member("_bool", InvertToolAction[i], names[i]);
  }
}

namespace {
struct SettingUse {
  const char* Name;
  std::initializer_list<int> Tools;  // empty: every tool
};
// Which tool reads which setting (the panel shows only the current tool's).
const SettingUse kUses[] = {
    {"GrowPower", {0}}, {"ThawPower", {0}}, {"SMOOTH_DEG", {1, 3, 11}}, {"PinchPower", {39}},
    {"FollowDegree", {13, 40}}, {"PlaneSoftness", {42}}, {"PlaneSoftness41", {41}}, {"Sampling", {41}},
    {"SplitBorderWidth", {26, 27}}, {"SmoothSpeed", {33}}, {"SmoothSpeed34", {34}}, {"MASK_OPACITY", {16}},
    {"BorderFormParam", {18, 26, 27}}, {"BareliefCoef", {24}}, {"ClothGravity", {37}}, {"ClothFriction", {37}}, {"ClothThickness", {37}},
    {"SnakeSmoothSpeed1", {33, 34}}, {"SnakeSmoothSpeed2", {33, 34}}, {"ProfileParam", {30, 31, 32, 33, 34}},
    {"SplOverallScale", {30, 31, 32, 33, 34}}, {"SplOverallRotation", {30, 31, 32, 33, 34}},
    {"Spacing", {30, 31, 32, 33, 34}}, {"PosJitter", {30, 31, 32, 33, 34}}, {"RotJitter", {30, 31, 32, 33, 34}},
    {"RadiusJitter", {30, 31, 32, 33, 34}}, {"DepthJitter", {30, 31, 32, 33, 34}}, {"SphereExtrusion", {8, 31}},
    {"SketchPreSmoothSteps", {29}}, {"SketchSoftness", {29}}, {"SketchSize", {29}}, {"NumAxialClones", {23}}, {"TextThickness", {36}}, {"ReliefText", {36}},
    {"DoubleSided", {4, 9}}, {"FlatCarveOffset", {4, 9}}, {"SoftScrape", {11}}, {"AsAirbrush", {48}},
    {"StickToGround", {33, 34}}, {"DontLiftEdges", {41, 42}}, {"SpDependsOnPressure", {8}},
    {"AccurateSmoothing", {0, 1, 2, 3, 11}}, {"MoveBasedGrowth", {0, 1, 2}}, {"CubicInterpolation", {8}},
    {"ExtrudeDir", {38, 45, 46, 47}}, {"ExtrudeFacingOnly", {45, 46, 47}}, {"TRN_MODE", {16}}, {"MeasureAlignment", {14}}, {"METRICS", {14}},
    {"VoxelsPerUnit", {14}}, {"WrapType", {22}}, {"WrapSegments", {22}}, {"StartAngle", {22}}, {"EndAngle", {22}},
    {"ForwardStep", {22}}, {"TwistAngle", {22}}, {"SelfOverlap", {22}}, {"PreviewImmediately", {22}}, {"BorderStyle", {18, 26, 27}}, {"AxialSymmetry", {}}, {"AxialAxis", {}},
};
}  // namespace

bool VoxelSettingUsedBy(const char* name, int tool) {
  if (tool < 0) return true;
  if (std::strncmp(name, "InvertToolAction", 16) == 0) return std::atoi(name + 16) == tool;
  for (const SettingUse& u : kUses)
    if (std::strcmp(u.Name, name) == 0) {
      if (u.Tools.size() == 0) return true;
      for (int t : u.Tools)
        if (t == tool) return true;
      return false;
    }
  return false;
}

int VoxelBrushSettings::GetAmountOfEditableElements(void* ptr, int flags) {
  if (ShownTool < 0) return BaseClass::GetAmountOfEditableElements(ptr, flags);
  int rows = 0;
  while (GetEditableElementIndex(rows, ptr, flags) >= 0) ++rows;
  return rows;
}

int VoxelBrushSettings::GetEditableElementIndex(int row, void* ptr, int flags) {
  if (ShownTool < 0) return BaseClass::GetEditableElementIndex(row, ptr, flags);
  if (row < 0) return -1;
  const int n = GetAmountOfElements();
  for (int i = 0; i < n; ++i) {
    const char* id = GetElementID(i);
    if (id && VoxelSettingUsedBy(id, ShownTool) && row-- == 0) return i;
  }
  return -1;
}

void VoxelBrushSettings::Reset(void*) {
  VoxelBrushSettings fresh;
  const int shown = ShownTool;
  // keepOld: Copy would otherwise call Reset again, without end.
  Copy(&fresh, true);
  ShownTool = shown;
}

void RegisterVoxelBrushClasses() {
  static bool done = false;
  if (done) return;
  done = true;
  RegisterClassEngineClasses();
  Enumerator* dir = GetEnumerator("EXTRUDEDIR");
  for (const char* n : {"AverageNormal", "ViewDir", "seAlongX", "seAlongY", "seAlongZ", "VertexNormal", "InitialVertexNormal"})
    dir->Add(n);
  Enumerator* axis = GetEnumerator("AXIS3");
  if (axis->GetStoredAmount() == 0)
    for (const char* n : {"X", "Y", "Z"}) axis->Add(n);
  auto fill = [](const char* name, std::initializer_list<const char*> values) {
    Enumerator* e = GetEnumerator(name);
    if (e->GetStoredAmount() == 0)
      for (const char* n : values) e->Add(n);
  };
  fill("TRN_MODE", {"TRN_LINE", "TRN_BILINE", "TRN_SPHERE", "TRN_CUSTOM", "TRN_OBJECT"});
  fill("MEASURE_ALIGN", {"MeasNoAlign", "MeasAlongX", "MeasAlongY", "MeasAlongZ", "MeasInXY", "MeasInYZ", "MeasInZX"});
  fill("METRICS", {"METERS", "MILLIMETERS", "CENTIMETERS", "KILOMETERS", "FOOTS", "INCHES", "YARDS", "MILES"});
  fill("WRAP_TYPE", {"WRAP_BEND", "WRAP_TWIST"});
  Enumerator* border = GetEnumerator("VOXBORDERSTYLE");
  for (const char* n : {"voBorderRound", "voBorderPlane", "voBorderSharp"}) border->Add(n);
  RegisterVoxModeEnumerators();
  VoxelBrushSettings model;
  RegisterClass(&model, "Voxels", "VoxelBrushSettings");
}
