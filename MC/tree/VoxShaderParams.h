// The settings of a volume's voxel shader: the variables its folder lists in
// "Shaders/<shader>Variables.xml" (colours, sliders, switches that become
// #defines), with the user's values, kept on the volume's row of the layer
// tree so they travel with the scene. Reading the list again keeps the
// user's values while the list is the same in number and names.
#pragma once
#include <string>

#include "ClassEngine/ClassArray.h"
#include "ClassEngine/MemberClasses.h"

class Enumerator;
namespace comms {
class cRender;
}

// The kinds of a shader variable (enumeration "SHPARAMTYPE").
enum ShaderParamType {
  kSpFloat = 0,
  kSpFloat3,
  kSpFloat4,
  kSpSlider01,
  kSpSlider010,
  kSpSlider0100,
  kSpSliderM11,
  kSpTexture,
  kSpMethod,
  kSpFloatBool,
  kSpDefine
};
Enumerator* ShaderParamTypes();

class ExShaderParam : public BaseClass {
 public:
  _str ID;  // the shader's variable (or the #define's name)
  int Type = kSpFloat;
  _str ShortName;
  float Default[3] = {0, 0, 0};  // a float or slider in [0], a float3 in all
  uint32_t DefaultCL = 0xffffffffu;  // a float4 as a colour
  bool BoolParam = false;            // float_bool and define
  _str Texture;                      // a texture's path

  MV_CLASS(ExShaderParam, BaseClass) {
    Member("_str", ID, "ID");
    Member("_index", Type, "Type", ShaderParamTypes());
    Member("_str", ShortName, "ShortName");
    Member("_float", Default[0], "Default.x");
    Member("_float", Default[0], "$DefaultX");
    Member("_float", Default[1], "$DefaultY");
    Member("_float", Default[2], "$DefaultZ");
    Member("_color", DefaultCL, "DefaultCL");
    Member("_bool", BoolParam, "BoolParam");
    Member("_str", Texture, "Texture");
  }
  // Its panel's title: the short name the shader gives the variable.
  _str* GetObjectName() override { return ShortName.IsEmpty() ? &ID : &ShortName; }
  bool IsNamed() override { return true; }
  // The panel shows only the value rows that the kind uses.
  int GetAmountOfEditableElements(void* ptr, int flags) override;
  int GetEditableElementIndex(int row, void* ptr, int flags) override;
  // The range of a slider kind (min, max); false for other kinds.
  bool SliderRange(float& min, float& max) const;
};

class VoxShaderParams : public BaseClass {
 public:
  _str ShaderName;
  ClassArray<ExShaderParam> ExParams;
  MV_CLASS(VoxShaderParams, BaseClass) {
    Member("_str", ShaderName, "ShaderName");
    Member(ExParams, "ExParams");
  }
  VoxShaderParams() { ExParams.SetParentOnly(this); }
  // Sliders stay in their ranges.
  bool OnChange(BaseClass* cls, void* ptr, void* extra, const char* name) override;
};

// Reads the variables of `shader` from "<folder>/<shader>Variables.xml" (the
// data folder's "Shaders" when empty). The user's values stay when `params`
// already holds this shader's list with the same names in the same number;
// otherwise the file's defaults replace them. Without a file the list is
// emptied; false then, or for a damaged file (the list left as it was).
bool LoadShaderVariables(VoxShaderParams& params, const std::string& shader, const std::string& folder = std::string());
// "#define <ID>\n" for each define that is on, in list order.
std::string ShaderDefines(const VoxShaderParams& params);
// Sets the shader constants of the values on `shader` (made current); the
// number set. A variable the shader does not have is passed over.
int SetShaderConstants(comms::cRender& render, int shader, const VoxShaderParams& params);
