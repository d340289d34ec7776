// The settings of the voxel tools: sliders with their ranges and defaults,
// the tool's check boxes and the direction and border selectors. One object
// is the tool's panel; the stroke reads it.
#pragma once
#include "ClassEngine/BaseClass.h"
#include "ClassEngine/MemberClasses.h"
#include "MC/brushes/VoxelModes.h"

enum ExtrudeDirection { AverageNormal = 0, ViewDir, seAlongX, seAlongY, seAlongZ, VertexNormal, InitialVertexNormal };
enum VoxBorderStyle { voBorderRound = 0, voBorderPlane, voBorderSharp };

class VoxelBrushSettings : public BaseClass {
 public:
  float GrowPower = 1.f, ThawPower = 0.5f, SMOOTH_DEG = 1.f, PinchPower = 0.5f, FollowDegree = 0.5f;
  float PlaneSoftness = 0.5f, PlaneSoftness41 = 0.f, Sampling = 1.f, SplitBorderWidth = 2.5f;
  float SmoothSpeed33 = 1.f, SmoothSpeed34 = 1.f, MASK_OPACITY = 1.f, BorderFormParam = 1.f, BareliefCoef = 1.f;
  float ClothGravity = 1, ClothFriction = 0.5f, ClothThickness = 4;
  float SnakeSmoothSpeed1 = 1, SnakeSmoothSpeed2 = 1, ProfileParam = 1, SplOverallScale = 1, SplOverallRotation = 1;
  float Spacing = 1, PosJitter = 0, RotJitter = 0, RadiusJitter = 0, DepthJitter = 0, SphereExtrusion = 0;
  int SketchPreSmoothSteps = 6;
  float SketchSoftness = 0;
  // The span, in voxels, of the longer edge of the sketch's pictures.
  float SketchSize = 200;
  int NumAxialClones = 4;
  float TextThickness = 10;
  _str ReliefText{"Text"};  // the words the text tool makes a relief of
  bool DoubleSided = false, SoftScrape = false, AsAirbrush = false, StickToGround = false, DontLiftEdges = false;
  bool SpDependsOnPressure = true;
  bool AccurateSmoothing = false;
  bool MoveBasedGrowth = false;
  // Copies of every stroke turned about an axis through the origin (1: off).
  int AxialSymmetry = 1;
  int AxialAxis = 1;  // 0 x, 1 y, 2 z
  // The sphere tool's capsule follows the cubic through the samples around it.
  bool CubicInterpolation = false;
  // How far the double-sided carve reaches beyond the pen's depth, voxels.
  float FlatCarveOffset = 0.f;
  // Adjust tools: the transpose selection (TRN_MODE), the measure's
  // alignment (MEASURE_ALIGN) and units (METRICS, VoxelsPerUnit voxels to a
  // unit), the wrap's chain of copies.
  int TRN_MODE = 2;  // TRN_SPHERE
  int MeasureAlignment = 0;
  int Units = 0;
  float VoxelsPerUnit = 10.f;
  int WrapType = 0;  // WRAP_BEND
  int WrapSegments = 8;
  float StartAngle = 0, EndAngle = 360, ForwardStep = 0, TwistAngle = 45;
  // Percent of each wrap step that the next copy gives back, so it overlaps
  // the one before it; 0 keeps the full step.
  float SelfOverlap = 0;
  // Draws the wrap's copies over the view as soon as the axis is placed.
  bool PreviewImmediately = false;
  int ExtrudeDir = AverageNormal;
  // The surface extrusion moves only what faces the view.
  bool ExtrudeFacingOnly = false;
  int BorderStyle = voBorderRound;
  bool InvertToolAction[kVoxModeCount] = {};

  // The tool whose settings the panel shows (-1: all of them). Not stored.
  int ShownTool = -1;

  MV_CLASS(VoxelBrushSettings, BaseClass);
  // The default of every setting, as the table of the tools gives them.
  void Reset(void* ptr = nullptr) override;
  // The panel lists only the rows ShownTool uses.
  int GetAmountOfEditableElements(void* ptr, int flags) override;
  int GetEditableElementIndex(int row, void* ptr, int flags) override;
};

// Whether the setting `name` is one that tool `tool` reads.
bool VoxelSettingUsedBy(const char* name, int tool);

// Registers the class and its enumerators (idempotent).
void RegisterVoxelBrushClasses();
