// The render room's settings (saved to "rparam.xml") and its added lights.
// A finished picture is the mean of many frames, each lit from one light
// direction (or, for the ambient-occlusion share, from a random one) with the
// eye moved a little for depth of field; MaxRenederSteps frames make a still.
#pragma once
#include <cstdint>

#include "ClassEngine/ClassArray.h"
#include "ClassEngine/MemberClasses.h"

class Enumerator;
// The view a picture is made for (enumeration "RVIEWSIZE"): the window's 3D
// view, or ViewSizeX x ViewSizeY.
enum RenderViewSize { WholeScreen = 0, CustomRenderSize = 1 };
Enumerator* RenderViewSizes();
// Multiples of the view for a finished picture (enumeration "RENDERSIZE",
// entry k is (k + 1) times each side, shown as "%d x %d").
constexpr int kRenderSizeMultiples = 4;
Enumerator* RenderSizes();

class ExtraLight : public BaseClass {
 public:
  float xPos = 0;           // -180..180 degrees around the view's up axis
  float yPos = 0;           // -90..90 degrees up from the view's plane
  float Light_Scatter = 0;  // 0..1: how far each frame's direction wanders
  uint32_t Color = 0xffffffffu;
  float Power = 1;
  MV_CLASS(ExtraLight, BaseClass) {
    Member("CtrlFSlider", xPos, "xPos", NewFloatSliderRange(-180, 180));
    Member("CtrlFSlider", yPos, "yPos", NewFloatSliderRange(-90, 90));
    Member("CtrlFSlider", Light_Scatter, "Light_Scatter", NewFloatSliderRange(0, 1));
    Member("_color", Color, "Color");
    Member("_float", Power, "Power");
  }
};

class RenderParams : public BaseClass {
 public:
  int ViewSize = WholeScreen;
  int ViewSizeX = 1280, ViewSizeY = 720;
  int RenderSize = 0;  // index into RENDERSIZE
  float Lightness = 150;  // 0..300 percent
  float AO_Percent = 50;  // 0..100: share of frames lit by ambient occlusion
  float DOF_Degree = 0;   // 0..5: size of the lens
  float DOF_Shift = 0;    // -200..200: the plane in focus, from the pivot
  ClassArray<ExtraLight> Lights;
  bool StoreAlphaChannel = false;
  bool Use_AA = true;
  bool WithoutShadow = false;
  bool SaveAsBMP = false;
  bool DontOverwriteFiles = false;
  int MaxRenederSteps = 256;
  MV_CLASS(RenderParams, BaseClass) {
    Member("_index", ViewSize, "ViewSize", RenderViewSizes());
    Member("_int", ViewSizeX, "ViewSizeX");
    Member("_int", ViewSizeY, "ViewSizeY");
    Member("_index", RenderSize, "RenderSize", RenderSizes());
    Member("CtrlFSlider", Lightness, "Lightness", NewFloatSliderRange(0, 300));
    Member("CtrlFSlider", AO_Percent, "AO_Percent", NewFloatSliderRange(0, 100));
    Member("CtrlFSlider", DOF_Degree, "DOF_Degree", NewFloatSliderRange(0, 5));
    Member("CtrlFSlider", DOF_Shift, "DOF_Shift", NewFloatSliderRange(-200, 200));
    Member(Lights, "Lights");
    Member("_bool", StoreAlphaChannel, "StoreAlphaChannel");
    Member("_bool", Use_AA, "Use_AA");
    Member("_bool", WithoutShadow, "WithoutShadow");
    Member("_bool", SaveAsBMP, "SaveAsBMP");
    Member("_bool", DontOverwriteFiles, "DontOverwriteFiles");
    Member("_int", MaxRenederSteps, "MaxRenederSteps");
  }
};

// The picture's size in pixels for a view of viewW x viewH: the view itself
// or the custom size, each side kept within 1..kMaxPictureSide; a finished
// picture (`finished`) is that times the RenderSize multiple, the viewport's
// refining picture is not.
constexpr int kMaxPictureSide = 8192;
void PictureSize(const RenderParams& params, int viewW, int viewH, bool finished, int& width, int& height);
