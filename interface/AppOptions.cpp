// The option table: every static of AppOptions with its member class, its
// range and its group. AppOptions registers it under the plain names, OptForm
// under "AppOptions::<name>" with a Delimiter row before each group.
#include "interface/AppOptions.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "ClassEngine/Enumerator.h"
#include "ClassEngine/Threader.h"
#include "ClassEngine/xml/ErrorCollector.h"
#include "ClassEngine/xml/XmlNode.h"
#include "interface/HotKeys.h"
#include "interface/UiContext.h"
#include "interface/Widgets.h"
#include "paint/GeneralPen.h"

namespace {
Enumerator* Enum(const char* name, std::initializer_list<const char*> values) {
  Enumerator* e = GetEnumerator(name);
  if (e->GetStoredAmount() == 0)
    for (const char* v : values) e->Add(v);
  return e;
}

FloatSliderRange* F(float a, float b) { return NewFloatSliderRange(a, b); }
IntSliderRange* I(int a, int b) { return NewIntSliderRange(a, b); }

// The table. `s` is a sink with Group(name) and operator()(class, field, name, extra).
template <class Sink>
void ListOptions(Sink& s) {
  using A = AppOptions;
  Enumerator* bg = Enum("BGIMAGEUSAGE", {"GradientBackground", "ImageBackground", "PanoramaBackground"});
  Enumerator* tbn = Enum("TBNNORM", {"NormalizeBbyT", "NormalizeTbyB", "DontNormalize"});
  Enumerator* msg = Enum("PENMSG", {"NOTHING", "ShowDepth", "ShowRadius", "ShowOpacity", "ShowSpecularity",
                                    "ShowFocalShift", "ShowFalloff", "ShowPenPressure"});
  Enumerator* wheel = Enum("WHEEL_ACTION_ENUM",
                           {"WHEEL_CHANGE_RADIUS", "WHEEL_CHANGE_PRESSURE", "WHEEL_CHANGE_OPACITY",
                            "WHEEL_CHANGE_SMOOTH", "WHEEL_CHANGE_SPECULAR", "WHEEL_CHANGE_SPECULAR_OPACITY",
                            "WHEEL_CHANGE_ANGLE", "WHEEL_CHANGE_FOCAL", "WHEEL_CHANGE_FALLOFF"});
  Enumerator* nmap = Enum("NMAPEXPORT_ENUM", {"NM_3DMAX", "NM_MAYA"});
  Enumerator* fill = Enum("FILLBORDER_ENUM", {"FILLB_ASK", "FILLB_FILL", "FILLB_NOFILL"});
  Enumerator* quality = Enum("MESH_VIEW_QUALITY", {"LOW_QUALITY_MESH", "HIGH_QUALITY_MESH"});
  Enumerator* m3d = Enum("M3D_KEYS", {"NONE", "Key 1", "Key 2"});
  Enumerator* snap = Enum("SNAPPING_METHOD", {"SnapToOuter", "SnapToNearestAlongNormal", "SnapToNearestVertex"});

  s.Group("PERFORM_AUTOSAVE");
  s("_bool", A::Autosave, "Autosave");
  s("CtrlISlider", A::AutosaveTime, "AutosaveTime", I(1, 120));
  s("CtrlISlider", A::NumAutosaves, "NumAutosaves", I(1, 20));
  s("_str", A::EditorPath, "EditorPath");
  s("_bool", A::SwapYZ, "SwapYZ");

  s.Group("OPT_EXPORT");
  s("_index", A::TBN_Normalisation, "TBN_Normalisation", tbn);
  s("_index", A::NMAP_EXPORT_TYPE, "NMAP_EXPORT_TYPE", nmap);
  s("_index", A::FILL_BORDERS_MODE, "FILL_BORDERS_MODE", fill);
  s("CtrlISlider", A::BorderEdgesWidth, "BorderEdgesWidth", I(0, 256));
  s("_bool", A::FlipPtexQuads, "FlipPtexQuads");
  s("_bool", A::EdgeLoopFriendlyQuadrangulation, "EdgeLoopFriendlyQuadrangulation");
  s("CtrlFSlider", A::NearPlane, "NearPlane", F(0.01f, 100));

  s.Group("OPT_DISPLAY");
  s("_bool", A::ShowHints, "ShowHints");
  s("_bool", A::ShowBottomHints, "ShowBottomHints");
  s("_bool", A::NarrowLeftPanel, "NarrowLeftPanel");
  s("_bool", A::ShowCurrentPointPos, "ShowCurrentPointPos");
  s("_bool", A::DontShowSurfaceHint, "DontShowSurfaceHint");
  s("_bool", A::ShowGrid, "ShowGrid");
  s("_bool", A::ShowAxis, "ShowAxis");
  s("_bool", A::ShowFocalShift, "ShowFocalShift");
  s("_bool", A::ShowFalloff, "ShowFalloff");
  s("_bool", A::ShowThumbs, "ShowThumbs");
  s("_bool", A::ShowIThumbs, "ShowIThumbs");
  s("_bool", A::RealtimeUVPreview, "RealtimeUVPreview");
  s("_index", A::MeshViewQuality, "MeshViewQuality", quality);
  s("CtrlISlider", A::PenIconSize, "PenIconSize", I(1, 4));
  s("CtrlISlider", A::StripIconSize, "StripIconSize", I(1, 4));
  s("CtrlISlider", A::MaskIconSize, "MaskIconSize", I(1, 4));
  s("CtrlISlider", A::MtlIconSize, "MtlIconSize", I(1, 4));

  s.Group("OPT_PEN");
  s("_color", A::MainColor, "MainColor");
  s("_color", A::BackColor, "BackColor");
  s("_bool", A::HidePenConstantlyInCapsMode, "HidePenConstantlyInCapsMode");
  s("_bool", A::ShowPenShape, "ShowPenShape");
  s("_bool", A::ShowPenAlpha, "ShowPenAlpha");
  s("_color", A::PenCircleColor, "PenCircleColor");
  s("_color", A::PenShapeColor, "PenShapeColor");
  s("_color", A::PenShapeColorWithCTRL, "PenShapeColorWithCTRL");
  s("_color", A::PenShapeColorWithSHIFT, "PenShapeColorWithSHIFT");
  s("_bool", A::ShowCentralSpotInCapsMode, "ShowCentralSpotInCapsMode");
  s("_index", A::MessageAbovePen, "MessageAbovePen", msg);
  s("_index", A::MessageBelowPen, "MessageBelowPen", msg);
  s("_color", A::MessagesColor, "MessagesColor");

  s.Group("OPT_BACKGROUND");
  s("_index", A::UseBackgrImage, "UseBackgrImage", bg);
  s("_TextureID", A::BackgrImage, "BackgrImage");
  s("_TextureID", A::SkyBoxImage, "SkyBoxImage");
  s("_color", A::TopBackgroundColor1, "TopBackgroundColor1");
  s("_color", A::BottomBackgroundColor1, "BottomBackgroundColor1");
  s("_color", A::GridColor1, "GridColor1");
  s("_color", A::WireframeColor, "WireframeColor");
  s("CtrlISlider", A::Grid2DSize, "Grid2DSize", I(4, 1024));
  s("CtrlISlider", A::Grid2DSub, "Grid2DSub", I(0, 16));
  s("_color", A::Grid2DColor, "Grid2DColor");

  s.Group("OPT_THEME");
  s("_color", A::InterfaceColor1, "InterfaceColor1");
  s("_color", A::HeadersColor1, "HeadersColor1");
  s("_color", A::ToolsHeadersColor1, "ToolsHeadersColor1");
  s("_color", A::FontColor1, "FontColor1");
  s("_color", A::EditAreaColor1, "EditAreaColor1");
  s("_color", A::EditAreaBorderColor1, "EditAreaBorderColor1");
  s("_color", A::EditAreaBorderHighlightColor1, "EditAreaBorderHighlightColor1");
  s("_color", A::ActiveTabFontColor1, "ActiveTabFontColor1");
  s("_color", A::PassiveTabColor1, "PassiveTabColor1");
  s("_color", A::ActiveTabColor1, "ActiveTabColor1");
  s("_color", A::BackgroundTabColor1, "BackgroundTabColor1");
  s("_color", A::HeadersFontColor1, "HeadersFontColor1");
  s("_color", A::ButtonsColor1, "ButtonsColor1");
  s("_color", A::HighlightColor1, "HighlightColor1");
  s("_color", A::FontHighlightColor1, "FontHighlightColor1");
  s("_color", A::HintsColor, "HintsColor");
  s("_color", A::HintsTextColor, "HintsTextColor");

  s.Group("OPT_PERFORMANCE");
  s("_bool", A::ControlsIn3D, "ControlsIn3D");
  s("_bool", A::ControlsWithGradient, "ControlsWithGradient");
  s("_TextureID", A::EnvMap, "EnvMap");
  s("_bool", A::LowShadersQuality, "LowShadersQuality");
  s("_bool", A::UseMultiCore, "UseMultiCore");
  s.Rename("MaxProcessorsToBeUsed");
  s("CtrlISlider", A::UsingProcessors, "UsingProcessors", I(0, kMaxThreads));
  s("_bool", A::UseMRT, "UseMRT");
  s("_bool", A::DebugShadersMode, "DebugShadersMode");

  s.Group("OPT_SCENE");
  s("_bool", A::EnableChannels[0], "EnableChannels[0]");
  s("_bool", A::EnableChannels[1], "EnableChannels[1]");
  s("_bool", A::EnableChannels[3], "EnableChannels[3]");
  s("CtrlISlider", A::PivotType, "PivotType", I(0, 4));
  s("CtrlFSlider", A::SymmSnapValue, "SymmSnapValue", F(0, 100));
  s("_index", A::SnappingMethod, "SnappingMethod", snap);
  s("CtrlISlider", A::FreezeViewMode, "FreezeViewMode", I(0, 2));
  s("CtrlFSlider", A::FreezePScrollSpeed, "FreezePScrollSpeed", F(0.1f, 10));
  s("_bool", A::PickFromAllLayers, "PickFromAllLayers");
  s("_bool", A::PickDepthToo, "PickDepthToo");
  s("_bool", A::PickFromCentralPoint, "PickFromCentralPoint");
  s("CtrlISlider", A::PickerType, "PickerType", I(0, 3));
  s("CtrlISlider", A::PickColorMode, "PickColorMode", I(0, 3));
  s("_float", A::LightDirX, "LightDirX");
  s("_float", A::LightDirY, "LightDirY");
  s("_float", A::LightDirZ, "LightDirZ");
  s("CtrlFSlider", A::LightAmbient, "LightAmbient", F(0, 1));
  s("CtrlFSlider", A::MillionsOfPolygons, "MillionsOfPolygons", F(0.1f, 64));
  s("CtrlISlider", A::TexSizeX, "TexSizeX", I(0, 6));
  s("CtrlISlider", A::TexSizeY, "TexSizeY", I(0, 6));

  s.Group("OPT_PEN_STATE");
  s("_float", GeneralPen::Color[0], "GeneralPen::Color.x");
  s("_float", GeneralPen::Color[1], "GeneralPen::Color.y");
  s("_float", GeneralPen::Color[2], "GeneralPen::Color.z");
  s("_float", GeneralPen::Color2[0], "GeneralPen::Color2.x");
  s("_float", GeneralPen::Color2[1], "GeneralPen::Color2.y");
  s("_float", GeneralPen::Color2[2], "GeneralPen::Color2.z");
  s("CtrlFSlider", GeneralPen::PenRadius, "GeneralPen::PenRadius", F(0.1f, 300));
  s("_float", GeneralPen::PenRotation, "GeneralPen::PenRotation");
  s("CtrlFSlider", GeneralPen::DeepDegree, "GeneralPen::DeepDegree", F(0, 1));
  s("CtrlFSlider", GeneralPen::ColorOpacity, "GeneralPen::ColorOpacity", F(0, 2));
  s("CtrlFSlider", GeneralPen::SpecularDegree, "GeneralPen::SpecularDegree", F(0, 1));
  s("CtrlFSlider", GeneralPen::Falloff, "GeneralPen::Falloff", F(0, 1));
  s("CtrlFSlider", GeneralPen::FocalShift, "GeneralPen::FocalShift", F(-1, 1));
  s("_float", GeneralPen::MeasureScale, "GeneralPen::MeasureScale");

  s.Group("OPT_INPUT");
  s("CtrlISlider", A::PenPressureLevels, "PenPressureLevels", I(64, 65536));
  s("CtrlFSlider", A::PenSensivity, "PenSensivity", F(0.1f, 4));
  s("CtrlFSlider", A::CamZoomSpeed, "CamZoomSpeed", F(0.05f, 10));
  s("CtrlFSlider", A::CamRotSpeed, "CamRotSpeed", F(0.05f, 10));

  s.Group("OPT_WHEEL");
  s("_index", A::WHEEL_ACTION, "WHEEL_ACTION", wheel);
  s("_index", A::CTRL_WHEEL_ACTION, "CTRL_WHEEL_ACTION", wheel);
  s("_index", A::SHIFT_WHEEL_ACTION, "SHIFT_WHEEL_ACTION", wheel);
  s("_index", A::ALT_WHEEL_ACTION, "ALT_WHEEL_ACTION", wheel);

  s.Group("3DXMouseOptions");
  s("CtrlFSlider", A::MovementSensitivity, "MovementSensitivity", F(0, 10));
  s("CtrlFSlider", A::ZoomModulator, "ZoomModulator", F(0, 10));
  s("CtrlFSlider", A::PanUDModulator, "PanUDModulator", F(0, 10));
  s("CtrlFSlider", A::PanRLModulator, "PanRLModulator", F(0, 10));
  s("CtrlFSlider", A::RotationSensitivity, "RotationSensitivity", F(0, 10));
  s("CtrlFSlider", A::SpinModulator, "SpinModulator", F(0, 10));
  s("CtrlFSlider", A::TiltModulator, "TiltModulator", F(0, 10));
  s("CtrlFSlider", A::RollModulator, "RollModulator", F(0, 10));
  s("_index", A::M3D_ActivationKey, "M3D_ActivationKey", m3d);
  s("_bool", A::RotateAroundYAxis, "RotateAroundYAxis");
  s("_bool", A::DisableRoll, "DisableRoll");
  s("CtrlFSlider", A::ZoomToVaryRadiusSensitivity, "ZoomToVaryRadiusSensitivity", F(0, 10));
  s("CtrlFSlider", A::UpDonToVaryDepthSensitivity, "UpDonToVaryDepthSensitivity", F(0, 10));
  s("CtrlFSlider", A::RLToVaryTransparencySensitivity, "RLToVaryTransparencySensitivity", F(0, 10));
  s("CtrlFSlider", A::SpinToVaryRotationSensitivity, "SpinToVaryRotationSensitivity", F(0, 10));
  s("CtrlFSlider", A::TiltToVaryFocalShiftSensitivity, "TiltToVaryFocalShiftSensitivity", F(0, 10));
  s("CtrlFSlider", A::RollToVarySpecularSensitivity, "RollToVarySpecularSensitivity", F(0, 10));
}

// AppOptions: plain names, no groups; the lists follow.
struct PlainSink {
  OptionStatics* self;
  void Group(const char*) {}
  void Rename(const char*) {}
  template <class F>
  void operator()(const char* cls, F& field, const char* name, void* extra = nullptr) {
    self->AddStatic(cls, field, name, extra);
  }
};

// OptForm: "AppOptions::" names, a delimiter per group; a row may show under
// another name than its file tag.
struct FormSink {
  OptionStatics* self;
  std::string rename;
  void Group(const char* name) { self->AddGroup(name); }
  void Rename(const char* name) { rename = name; }
  template <class F>
  void operator()(const char* cls, F& field, const char* name, void* extra = nullptr) {
    std::string full = strncmp(name, "GeneralPen::", 12) == 0 ? name : "AppOptions::" + (rename.empty() ? std::string(name) : rename);
    rename.clear();
    self->AddStatic(cls, field, full.c_str(), extra);
  }
};

XmlNode& DefaultValues() {
  static XmlNode node;
  return node;
}
}  // namespace

ClassArray<RecentFile>& AppOptions::RecentFiles() {
  static auto* list = new ClassArray<RecentFile>;
  return *list;
}

ClassArray<WindowPos>& AppOptions::WindowStates() {
  static auto* list = new ClassArray<WindowPos>;
  return *list;
}
ClassArray<SliderState>& AppOptions::SliderStates() {
  static auto* list = new ClassArray<SliderState>;
  return *list;
}
ClassArray<CameraShortcut>& AppOptions::CameraShortcuts() {
  static auto* list = new ClassArray<CameraShortcut>;
  return *list;
}
ClassArray<FolderState>& AppOptions::FolderStates() {
  static auto* list = new ClassArray<FolderState>;
  return *list;
}

void AppOptions::CaptureWidgetStates() {
  SliderStates().Clear();
  for (const auto& [name, pos] : ScrollPositions()) {
    auto* s = new SliderState;
    s->Name = name.c_str(), s->Pos = pos;
    SliderStates().Add(s);
  }
  FolderStates().Clear();
  for (const auto& [name, open] : ::FolderStates()) {
    auto* f = new FolderState;
    f->Name = name.c_str(), f->Open = open;
    FolderStates().Add(f);
  }
}

void AppOptions::RestoreWidgetStates() {
  for (const SliderState* s : SliderStates())
    if (s && !s->Name.IsEmpty()) SetScrollPosition(s->Name.cpchar(), s->Pos);
  for (const FolderState* f : FolderStates())
    if (f && !f->Name.IsEmpty()) SetFolderOpen(f->Name.cpchar(), f->Open);
}

void AppOptions::RegisterOwnMembers() {
  PlainSink sink{this};
  ListOptions(sink);
  AddStatic("ClassArray.OneHotKey", HotKeyList(), "HotKeys");
  AddStatic("ClassArray.RecentFile", RecentFiles(), "RecentFiles");
  AddStatic("ClassArray.WindowPos", WindowStates(), "WindowStates");
  AddStatic("ClassArray.SliderState", SliderStates(), "SliderStates");
  AddStatic("ClassArray.FolderState", FolderStates(), "FolderStates");
  AddStatic("ClassArray.CameraShortcut", CameraShortcuts(), "CameraShortcuts");
}

void OptForm::RegisterOwnMembers() {
  Method(&OptForm::RestoreHotKeys, "RestoreHotKeys");
  Method(&OptForm::RestoreOptions, "RestoreOptions");
  Method(&OptForm::RestoreWindow, "RestoreWindow");
  FormSink sink{this, {}};
  ListOptions(sink);
}

bool IsThemeColour(const char* formName) {
  static const char* const names[] = {
      "InterfaceColor1",   "HeadersColor1",    "ToolsHeadersColor1",  "FontColor1",
      "EditAreaColor1",    "EditAreaBorderColor1", "EditAreaBorderHighlightColor1", "ActiveTabFontColor1",
      "PassiveTabColor1",  "ActiveTabColor1",  "BackgroundTabColor1", "HeadersFontColor1",
      "ButtonsColor1",     "HighlightColor1",  "FontHighlightColor1", "HintsColor",
      "HintsTextColor",    "TopBackgroundColor1", "BottomBackgroundColor1"};
  if (!formName) return false;
  const char* p = strncmp(formName, "AppOptions::", 12) == 0 ? formName + 12 : formName;
  for (const char* n : names)
    if (strcmp(n, p) == 0) return true;
  return false;
}

AppOptions& TheOptions() {
  static AppOptions* options = [] {
    auto* o = new AppOptions;
    o->RegisterMembers();
    o->Save(&DefaultValues(), o, nullptr);
    return o;
  }();
  return *options;
}

namespace {
// The defaults are recorded before main, before anything can change them.
[[maybe_unused]] const bool gDefaultsRecorded = (TheOptions(), true);
}  // namespace

void SetDefaultOptions() {
  AppOptions& o = TheOptions();
  ErrorCollector silent(false);
  o.Load(&DefaultValues(), &o, &silent, nullptr);
}

int OptionWorkerCount(int processors) {
  if (!AppOptions::UseMultiCore) return 1;
  int n = std::max(1, processors);
  if (AppOptions::UsingProcessors > 1) n = std::min(n, AppOptions::UsingProcessors);
  return std::min(n, kMaxThreads);
}

void ApplyOptions() {
  ThreadOptions::UseMultiCore = AppOptions::UseMultiCore;
  ThreadOptions::MaxProcessorsToBeUsed = AppOptions::UsingProcessors;
  Theme& t = Ui().Colors;
  t.Panel = AppOptions::InterfaceColor1;
  t.Field = AppOptions::EditAreaColor1;
  t.FieldHover = AppOptions::HighlightColor1;
  t.Frame = AppOptions::EditAreaBorderColor1;
  t.Highlight = AppOptions::EditAreaBorderHighlightColor1;
  t.Text = AppOptions::FontColor1;
  t.DimText = AppOptions::HeadersFontColor1;
  t.Button = AppOptions::ButtonsColor1;
  t.Header = AppOptions::HeadersColor1;
}

OptFormHooks& TheOptFormHooks() {
  static OptFormHooks hooks;
  return hooks;
}

void OptForm::RestoreHotKeys() {
  HotKeyList().Clear();
  if (TheOptFormHooks().DefaultHotKeys) TheOptFormHooks().DefaultHotKeys();
}
void OptForm::RestoreOptions() {
  if (TheOptFormHooks().ResetOptions) TheOptFormHooks().ResetOptions();
}
void OptForm::RestoreWindow() {
  if (TheOptFormHooks().ResetWindow) TheOptFormHooks().ResetWindow();
}
