// AppOptions: every user setting of the program as a plain static that code
// reads directly, so a change takes effect at once. The class registers the
// statics (Options.xml is its XML save); OptForm registers the same statics
// as "AppOptions::<name>" in groups, which is the options dialog and the form
// of theme files. Loading, saving, themes and the dialog are in
// OptionsFile.h; the option table itself is in AppOptions.cpp.
#pragma once
#include <cstdint>
#include <functional>

#include "ClassEngine/ClassArray.h"
#include "ClassEngine/MemberClasses.h"

class OneHotKey;

// One entry of the recent-files list.
class RecentFile : public BaseClass {
 public:
  _str Path;
  MV_CLASS(RecentFile, BaseClass) { Member("_str", Path, "Path"); }
};

// A scroll bar's position and a folder's open state, by the panel's or the
// folder's name, kept across runs with the options.
class SliderState : public BaseClass {
 public:
  _str Name;
  float Pos = 0;
  MV_CLASS(SliderState, BaseClass) {
    Member("_str", Name, "Name");
    Member("_float", Pos, "Pos");
  }
};
class FolderState : public BaseClass {
 public:
  _str Name;
  bool Open = true;
  MV_CLASS(FolderState, BaseClass) {
    Member("_str", Name, "Name");
    Member("_bool", Open, "Open");
  }
};

// The remembered place of a floating window, by the name of the window it shows.
class WindowPos : public BaseClass {
 public:
  _str WndName;
  bool EnableTopmost = true, EnablePopup = true, EnableSize = true;
  float Width = 0, Height = 0, X = 0, Y = 0, PopupX = 0, PopupY = 0;
  MV_CLASS(WindowPos, BaseClass) {
    Member("_str", WndName, "WndName");
    Member("_bool", EnableTopmost, "EnableTopmost");
    Member("_bool", EnablePopup, "EnablePopup");
    Member("_bool", EnableSize, "EnableSize");
    Member("_float", Width, "Width");
    Member("_float", Height, "Height");
    Member("_float", X, "X");
    Member("_float", Y, "Y");
    Member("_float", PopupX, "PopupX");
    Member("_float", PopupY, "PopupY");
  }
};

// A stored view of the camera: its pivot, distance, turn and lens.
class CameraShortcut : public BaseClass {
 public:
  _str Name;
  float Center[3] = {0, 0, 0};
  float ToEye = 100;
  float Orient[4] = {0, 0, 0, 1};  // x, y, z, w
  float Fov = 67.5f;
  bool Perspective = true;
  float OrthoScale = 2000;
  MV_CLASS(CameraShortcut, BaseClass) {
    Member("_str", Name, "Name");
    Member("_float", Center[0], "CenterX");
    Member("_float", Center[1], "CenterY");
    Member("_float", Center[2], "CenterZ");
    Member("_float", ToEye, "ToEye");
    Member("_float", Orient[0], "OrientX");
    Member("_float", Orient[1], "OrientY");
    Member("_float", Orient[2], "OrientZ");
    Member("_float", Orient[3], "OrientW");
    Member("_float", Fov, "Fov");
    Member("_bool", Perspective, "Perspective");
    Member("_float", OrthoScale, "OrthoScale");
  }
};

// Values of the "_index" options (their enumerators carry these names).
enum WheelAction : int {
  WHEEL_CHANGE_RADIUS,
  WHEEL_CHANGE_PRESSURE,
  WHEEL_CHANGE_OPACITY,
  WHEEL_CHANGE_SMOOTH,
  WHEEL_CHANGE_SPECULAR,
  WHEEL_CHANGE_SPECULAR_OPACITY,
  WHEEL_CHANGE_ANGLE,
  WHEEL_CHANGE_FOCAL,
  WHEEL_CHANGE_FALLOFF,
};

// What AppOptions and OptForm share: registering a static and a group row.
class OptionStatics : public BaseClass {
 public:
  MV_CLASS(OptionStatics, BaseClass) {}
  template <class F>
  void AddStatic(const char* className, F& field, const char* name, void* extra = nullptr) {
    NextStatic();
    Member(className, field, name, extra);
  }
  void AddGroup(const char* name) { AddDelimiter(name); }
};

class AppOptions : public OptionStatics {
 public:
  // Interface behaviour.
  static inline bool ShowHints = true, ShowBottomHints = true, NarrowLeftPanel = false;
  static inline bool ShowCurrentPointPos = true, DontShowSurfaceHint = false, ShowGrid = true;
  static inline bool ShowAxis = false, ShowFocalShift = false, ShowFalloff = true, ShowThumbs = true;
  static inline bool ShowIThumbs = true, ControlsIn3D = true, ControlsWithGradient = false;
  static inline bool RealtimeUVPreview = true;
  // Autosave.
  static inline bool Autosave = false;
  static inline int AutosaveTime = 15;  // minutes
  static inline int NumAutosaves = 3;
  // Grid and background.
  static inline int Grid2DSize = 64, Grid2DSub = 0;
  static inline uint32_t Grid2DColor = 0xff00ffffu;
  static inline int UseBackgrImage = 0;  // BGIMAGEUSAGE
  static inline int BackgrImage = -1, SkyBoxImage = -1, EnvMap = -1;
  static inline uint32_t WireframeColor = 0xffffff00u, TopBackgroundColor1 = 0xff828b94u;
  static inline uint32_t BottomBackgroundColor1 = 0xff000000u, GridColor1 = 0xff808080u;
  // Theme colours.
  static inline uint32_t InterfaceColor1 = 0xff676767u, HeadersColor1 = 0xff7b7b7bu;
  static inline uint32_t ToolsHeadersColor1 = 0xff000000u, FontColor1 = 0xffffffffu;
  static inline uint32_t EditAreaColor1 = 0xff808080u, EditAreaBorderColor1 = 0xff404040u;
  static inline uint32_t EditAreaBorderHighlightColor1 = 0xff909090u, ActiveTabFontColor1 = 0xff000000u;
  static inline uint32_t PassiveTabColor1 = 0xff808080u, ActiveTabColor1 = 0xffffffffu;
  static inline uint32_t BackgroundTabColor1 = 0xff808080u, HeadersFontColor1 = 0xffffffffu;
  static inline uint32_t ButtonsColor1 = 0xff7a7a7au, HighlightColor1 = 0xffa0a0a0u;
  static inline uint32_t FontHighlightColor1 = 0xff000000u, HintsColor = 0xffffffccu;
  static inline uint32_t HintsTextColor = 0xff000000u;
  // Wheel (WHEEL_ACTION_ENUM).
  static inline int WHEEL_ACTION = WHEEL_CHANGE_RADIUS, CTRL_WHEEL_ACTION = WHEEL_CHANGE_PRESSURE;
  static inline int SHIFT_WHEEL_ACTION = WHEEL_CHANGE_SMOOTH, ALT_WHEEL_ACTION = WHEEL_CHANGE_OPACITY;
  // Pen display.
  static inline uint32_t MainColor = 0xff40cc40u, BackColor = 0xff000000u;
  static inline bool HidePenConstantlyInCapsMode = false, ShowPenShape = true, ShowPenAlpha = true;
  static inline uint32_t PenCircleColor = 0xffffff00u, PenShapeColor = 0xffff0000u;
  static inline uint32_t PenShapeColorWithCTRL = 0xff0000ffu, PenShapeColorWithSHIFT = 0xff00ff00u;
  static inline bool ShowCentralSpotInCapsMode = true;
  static inline int MessageAbovePen = 0, MessageBelowPen = 0;  // PENMSG
  static inline uint32_t MessagesColor = 0xffff0000u;
  // Scene.
  static inline bool EnableChannels[4] = {true, true, false, true};
  static inline float NearPlane = 1.0f;
  static inline int PivotType = 0;
  static inline float SymmSnapValue = 2.0f;
  static inline int SnappingMethod = 0;  // SNAPPING_METHOD
  static inline int FreezeViewMode = 0;
  static inline float FreezePScrollSpeed = 1.0f;
  static inline bool PickFromAllLayers = true, PickDepthToo = true, PickFromCentralPoint = true;
  static inline int PickerType = 1, PickColorMode = 0;
  static inline float LightDirX = -0.866f, LightDirY = 0.43f, LightDirZ = 0.43f;
  static inline float LightAmbient = 0;
  static inline int MeshViewQuality = 0;  // MESH_VIEW_QUALITY
  static inline bool SwapYZ = false;
  // Performance.
  static inline int UsingProcessors = 32;
  static inline bool UseMultiCore = true, UseMRT = true, LowShadersQuality = false, DebugShadersMode = false;
  // Export.
  static inline int TBN_Normalisation = 0, NMAP_EXPORT_TYPE = 0, FILL_BORDERS_MODE = 0;
  static inline int BorderEdgesWidth = 64;
  static inline bool FlipPtexQuads = false, EdgeLoopFriendlyQuadrangulation = true;
  // New scene.
  static inline float MillionsOfPolygons = 4.0f;
  static inline int TexSizeX = 2, TexSizeY = 2;
  // Input.
  static inline int PenPressureLevels = 650;
  static inline float PenSensivity = 1.0f, CamZoomSpeed = 1.0f, CamRotSpeed = 1.0f;
  // 3D mouse.
  static inline float MovementSensitivity = 1, ZoomModulator = 1, PanUDModulator = 1, PanRLModulator = 1;
  static inline float RotationSensitivity = 1, SpinModulator = 1, TiltModulator = 1, RollModulator = 1;
  static inline int M3D_ActivationKey = 1;  // M3D_KEYS
  static inline bool RotateAroundYAxis = true, DisableRoll = false;
  static inline float ZoomToVaryRadiusSensitivity = 1, UpDonToVaryDepthSensitivity = 1;
  static inline float RLToVaryTransparencySensitivity = 1, SpinToVaryRotationSensitivity = 1;
  static inline float TiltToVaryFocalShiftSensitivity = 1, RollToVarySpecularSensitivity = 1;
  // Icon sizes.
  static inline int PenIconSize = 1, StripIconSize = 1, MaskIconSize = 1, MtlIconSize = 1;
  // The external image editor.
  static inline _str EditorPath{"photoshop.exe"};

  // The lists, emptied at load.
  static ClassArray<RecentFile>& RecentFiles();
  static ClassArray<WindowPos>& WindowStates();
  static ClassArray<SliderState>& SliderStates();
  static ClassArray<FolderState>& FolderStates();
  static ClassArray<CameraShortcut>& CameraShortcuts();
  // The folder and scroll states of the widgets into the lists, and back.
  static void CaptureWidgetStates();
  static void RestoreWidgetStates();
  static constexpr int kMaxRecentFiles = 20;
  static constexpr int kMaxListLength = 1000;  // a longer loaded list is cleared

  MV_CLASS(AppOptions, OptionStatics);
};

// The options dialog's form: the same statics under "AppOptions::<name>",
// grouped by Delimiter rows, with the three restore commands first.
class OptForm : public OptionStatics {
 public:
  MV_CLASS(OptForm, OptionStatics);
  void RestoreHotKeys();
  void RestoreOptions();
  void RestoreWindow();
  // A row of the dialog changed: the options apply at once.
  bool OnChange(BaseClass* cls, void* ptr, void* extra, const char* name) override;
};

// What the three restore commands do beyond the options themselves: the
// shell installs the default hot keys, resets the options (ResetOptions) and
// puts the window back.
struct OptFormHooks {
  std::function<void()> DefaultHotKeys, ResetOptions, ResetWindow;
};
OptFormHooks& TheOptFormHooks();

// Whether an OptForm row (or tag) names a theme colour.
bool IsThemeColour(const char* formName);

// The single AppOptions object; made before main, when it records the
// defaults that SetDefaultOptions goes back to.
AppOptions& TheOptions();
// Every option back to its value at start.
void SetDefaultOptions();

// The worker count that the options ask for: the processors, limited by
// UsingProcessors above 1; 1 when UseMultiCore is off.
int OptionWorkerCount(int processors);
// Pushes what is not read directly (theme colours into the widgets, the
// thread count into the pool settings).
void ApplyOptions();
