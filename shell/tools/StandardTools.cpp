// The standard tool names and their pending stand-ins; see StandardTools.h.
#include "shell/tools/StandardTools.h"

#include <cstring>

#include "shell/tools/PendingTools.h"

const char* const kStandardToolNames[] = {
    "Airbrush",       "BakeTexture",        "ChangeColor",         "ChangeHeight",
    "CloneTool",      "CopyPaste",          "PictTool",            "CurveTool",
    "CutFace",        "EraserTool",         "FillTool",            "FreezeTool",
    "LayerOpSmooth",  "LayerOpSharpen",     "CorrectHSV",          "CorrectCMYK",
    "TransformColorSpace", "CorrectBrightContrast", "CorrectRGB",  "CorrectGamma",
    "MeasureTool",    "OcclusionTool",      "WrapTool",            "ResizeTool",
    "PickTool",       "PlaneTool",          "SculptTool",          "SmudgeTool",
    "StdPen",         "TextTool",           "TopoSymmTool",        "RectTransformTool",
    "uv_mapper_tool", "RetopoTool",         "VOX_SCULPT_TOOL",     "RenderTool",
    "StillImageTool", "PTEX_SAVER",         "PTEX_RES",
};
const int kStandardToolCount = int(sizeof(kStandardToolNames) / sizeof(kStandardToolNames[0]));

Enumerator* PendingUVTool::UVMethods() {
  Enumerator* e = GetEnumerator("UV_METHODS");
  if (e->GetStoredAmount() == 0) {
    e->Add("ABF");
    e->Add("LSCM");
    e->Add("PLANAR");
  }
  return e;
}

namespace {
bool In(const char* name, std::initializer_list<const char*> names) {
  for (const char* n : names)
    if (strcmp(n, name) == 0) return true;
  return false;
}
}  // namespace

BasicTool* MakePendingTool(const char* name) {
  if (In(name, {"LayerOpSmooth", "LayerOpSharpen", "CorrectHSV", "CorrectCMYK",
                "TransformColorSpace", "CorrectBrightContrast", "CorrectRGB", "CorrectGamma"}))
    return new PendingLayerOp;
  if (In(name, {"Airbrush", "ChangeColor", "ChangeHeight", "CloneTool", "EraserTool",
                "SmudgeTool", "StdPen", "FreezeTool"}))
    return new PendingPaintTool;
  if (strcmp(name, "SculptTool") == 0) return new PendingSculptTool;
  if (strcmp(name, "RetopoTool") == 0) return new PendingRetopoTool;
  if (strcmp(name, "uv_mapper_tool") == 0) return new PendingUVTool;
  if (strcmp(name, "VOX_SCULPT_TOOL") == 0) return new PendingVoxelTool;
  if (strcmp(name, "RenderTool") == 0) return new PendingRenderTool;
  return new PendingTool("Paint");
}

int RegisterStandardTools(ToolTable& table, const ToolProviders& providers) {
  int count = 0;
  for (int i = 0; i < kStandardToolCount; ++i) {
    const char* name = kStandardToolNames[i];
    auto it = providers.find(name);
    BasicTool* tool = it != providers.end() && it->second ? it->second() : nullptr;
    if (!tool) tool = MakePendingTool(name);
    if (table.Register(tool, name)) ++count;
  }
  return count;
}
