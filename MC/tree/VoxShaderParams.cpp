// Voxel shader settings (see VoxShaderParams.h).
#include "MC/tree/VoxShaderParams.h"

#include <algorithm>
#include <filesystem>

#include "ClassEngine/DataFolder.h"
#include "ClassEngine/Enumerator.h"
#include "ClassEngine/xml/ErrorCollector.h"
#include "ClassEngine/xml/XmlNode.h"
#include "render/Render.h"

Enumerator* ShaderParamTypes() {
  Enumerator* e = GetEnumerator("SHPARAMTYPE");
  if (e->GetStoredAmount() == 0)
    for (const char* n : {"float", "float3", "float4", "slider01", "slider010", "slider0100", "slider-11", "texture",
                          "method", "float_bool", "define"})
      e->Add(n);
  return e;
}

namespace {
// The member names a kind shows in the panel.
bool Shows(int type, const std::string& id) {
  switch (type) {
    case kSpFloat:
    case kSpSlider01:
    case kSpSlider010:
    case kSpSlider0100:
    case kSpSliderM11: return id == "Default.x";
    case kSpFloat3: return id == "$DefaultX" || id == "$DefaultY" || id == "$DefaultZ";
    case kSpFloat4: return id == "DefaultCL";
    case kSpTexture: return id == "Texture";
    case kSpFloatBool:
    case kSpDefine: return id == "BoolParam";
    default: return false;
  }
}
}  // namespace

int ExShaderParam::GetAmountOfEditableElements(void* ptr, int flags) {
  int rows = 0;
  while (GetEditableElementIndex(rows, ptr, flags) >= 0) ++rows;
  return rows;
}

int ExShaderParam::GetEditableElementIndex(int row, void* ptr, int flags) {
  for (int i = 0, shown = 0;; ++i) {
    const int index = BaseClass::GetEditableElementIndex(i, ptr, flags);
    if (index < 0) return -1;
    const char* id = GetElementID(index);
    if (!id || !Shows(Type, id)) continue;
    if (shown++ == row) return index;
  }
}

bool ExShaderParam::SliderRange(float& min, float& max) const {
  switch (Type) {
    case kSpSlider01: min = 0, max = 1; return true;
    case kSpSlider010: min = 0, max = 10; return true;
    case kSpSlider0100: min = 0, max = 100; return true;
    case kSpSliderM11: min = -1, max = 1; return true;
    default: return false;
  }
}

bool VoxShaderParams::OnChange(BaseClass*, void*, void*, const char*) {
  for (ExShaderParam* p : ExParams) {
    float lo, hi;
    if (p && p->SliderRange(lo, hi)) p->Default[0] = std::clamp(p->Default[0], lo, hi);
  }
  return false;
}

bool LoadShaderVariables(VoxShaderParams& params, const std::string& shader, const std::string& folder) {
  const std::filesystem::path dir = folder.empty() ? comms::DataFilePath("Shaders") : folder;
  const std::string path = (dir / (shader + "Variables.xml")).string();
  std::error_code ec;
  if (!std::filesystem::is_regular_file(path, ec)) {
    params.ExParams.Clear();
    params.ShaderName = shader.c_str();
    return false;
  }
  XmlNode node;
  if (!node.ReadFromFile(path.c_str())) return false;
  VoxShaderParams read;
  ErrorCollector silent(false);
  if (!read.Load(&node, &read, &silent)) return false;
  bool same = params.ShaderName == shader.c_str() && params.ExParams.GetAmount() == read.ExParams.GetAmount();
  for (int i = 0; same && i < read.ExParams.GetAmount(); ++i)
    same = params.ExParams[i] && read.ExParams[i] && params.ExParams[i]->ID == read.ExParams[i]->ID.cpchar();
  if (!same) {
    params.ExParams.Clear();
    for (ExShaderParam* p : read.ExParams) {
      if (!p) continue;
      auto* copy = new ExShaderParam;
      copy->Copy(p);
      params.ExParams.Add(copy);
      copy->SetParentOnly(&params.ExParams);
    }
  }
  params.ShaderName = shader.c_str();
  params.OnChange(nullptr, nullptr, nullptr, nullptr);
  return true;
}

std::string ShaderDefines(const VoxShaderParams& params) {
  std::string out;
  for (const ExShaderParam* p : params.ExParams)
    if (p && p->Type == kSpDefine && p->BoolParam && *p->ID.cpchar()) out += std::string("#define ") + p->ID.cpchar() + "\n";
  return out;
}

int SetShaderConstants(comms::cRender& render, int shader, const VoxShaderParams& params) {
  if (shader < 0) return 0;
  render.SetShader(shader);
  int set = 0;
  for (const ExShaderParam* p : params.ExParams) {
    if (!p) continue;
    const int c = render.FindConstant(shader, p->ID.cpchar());
    if (c < 0) continue;
    const uint32_t cl = p->DefaultCL;
    switch (p->Type) {
      case kSpFloat3: render.SetVec3(c, comms::cVec3(p->Default[0], p->Default[1], p->Default[2])); break;
      case kSpFloat4:
        render.SetVec4(c, comms::cVec4(((cl >> 16) & 255) / 255.f, ((cl >> 8) & 255) / 255.f, (cl & 255) / 255.f,
                                       (cl >> 24) / 255.f));
        break;
      case kSpFloatBool: render.SetFloat(c, p->BoolParam ? 1.f : 0.f); break;
      case kSpTexture:
      case kSpMethod:
      case kSpDefine: continue;
      default: render.SetFloat(c, p->Default[0]); break;
    }
    ++set;
  }
  return set;
}
