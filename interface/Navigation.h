// Navigation: a table of NaviEvent rows, each binding a key or button
// sequence ("ALT+LMB") to a continuous action of the camera or the pen. The
// router offers every pointer and key event to NaviSystem::Update first; a
// row starts when its keys are down (buttons only on the frame they went
// down), the modifiers it does not name are up and the pointer is where the
// row allows, and runs until one of its keys is released. The wheel with a
// modifier changes a pen value as the options say (ApplyWheel).
#pragma once
#include <functional>
#include <string>
#include <vector>

#include "ClassEngine/ClassArray.h"
#include "ClassEngine/MemberClasses.h"
#include "paint/MaterialPattern.h"
#include "interface/UvPreview.h"

class Platform;
namespace comms {
class cFreeViewer;
}

// Pen values that the pen state does not hold yet.
struct PenTweaks {
  static inline float Smoothing = 0;
};

enum NaviAction : int {
  NAVI_MOVE_SCREEN, NAVI_MOVE_ZX, NAVI_MOVE_YZ, NAVI_MOVE_XY, NAVI_SCALE, NAVI_ROTATE, NAVI_ROLL,
  NAVI_SCREEN_ROTATE, NAVI_SCREEN_ROLL, NAVI_FOV, NAVI_MOVE_MTL, NAVI_SCALE_MTL, NAVI_ROTATE_MTL,
  NAVI_ASPECT_MTL, NAVI_HOME, NAVI_PICK_PIVOT, NAVI_START_TWEAK_PEN_PARAMS, NAVI_START_TWEAK_DEPTH,
  NAVI_START_TWEAK_RADIUS, NAVI_START_TWEAK_ROTATION, NAVI_START_TWEAK_FALLOFF, NAVI_START_TWEAK_OPACIRY,
  NAVI_START_TWEAK_SPECL, NAVI_MOVE_UV,
};

class NaviEvent : public BaseClass {
 public:
  int ActionType = NAVI_ROTATE;
  _str Sequence;
  bool InsideObject = true, OutsideObject = true, InNaviZone = true;
  bool InPerspective = true, InOrthography = true;
  bool OnlyInUV = false, SwapXY = false;
  float XScale = 1, YScale = 1;
  MV_CLASS(NaviEvent, BaseClass);
  void DelEvnt();
  void AssignSequence();
  // The sequence as program key numbers; names that do not convert are dropped.
  const std::vector<int>& Keys();

 private:
  std::string compiledFrom_;
  std::vector<int> keys_;
};

// What navigation asks of the program; all may stay empty.
struct NaviWorld {
  comms::cFreeViewer* Camera = nullptr;
  Platform* Input = nullptr;  // key states and the pointer
  float ViewX = 0, ViewY = 0, ViewW = 1280, ViewH = 720;
  std::function<bool(float x, float y)> OverSurface;
  std::function<bool(float x, float y, float out[3])> SurfacePoint;  // the pivot pick
  std::function<bool()> ToolShowsPen;
  std::function<bool()> ModalInput;  // a tool drags with a captured pointer
  std::function<bool(int button)> ToolVetoesButton;
  std::function<float()> PenPixelRadius;  // the pen's radius in pixels at the pen point
  // The pattern the pen paints through: the pattern rows start only with one.
  MaterialPattern* Pattern = nullptr;
  std::function<void()> BeforePatternMove;  // a gesture is about to move the pattern
  // The UV preview: rows "only in UV" and the UV move start only over it
  // while shown, and a pan or zoom that starts over it moves it, not the camera.
  UvPreview* Uv = nullptr;
};

class NaviSystem : public BaseClass {
 public:
  ClassArray<NaviEvent> Events;
  bool DisplayNaviZone = false;
  int NaviZoneWidth = 0;
  float NaviZoneOpacity = 0.3f;
  NaviWorld World;

  MV_CLASS(NaviSystem, BaseClass);
  void StoreNaviPreset();
  void UseExistingNavi();
  void AddEvent();
  // With DisplayNaviZone: the navigation zone (NaviZoneWidth along each side
  // of the view) shaded at NaviZoneOpacity, drawn under the panels.
  void DrawZone() const;

  // Once per router event; `key` is the key that changed (-1 for a move).
  // True if it started an action.
  bool Update(int key);
  int Running() const { return running_; }
  // The wheel: n notches with these modifiers; true if a pen value changed.
  static bool ApplyWheel(float notches, bool ctrl, bool alt, bool shift);
  // Presets in NavigationPresets/ (".navigation"): false if unreadable.
  bool SavePreset(const std::string& path);
  bool LoadPreset(const std::string& path);
  // The shipped rows.
  void SetDefaultRows();
  NaviEvent* Add(int action, const char* sequence);

 private:
  bool IsNaviKeyDown(int key) const;
  bool MayStart(NaviEvent& e, int key, bool& byKey);
  void Act(NaviEvent& e);
  void Start(NaviEvent& e);
  // NAVI_HOME and NAVI_PICK_PIVOT act once.
  void OneShot(int action);

  int running_ = -1;
  float lastX_ = 0, lastY_ = 0, startX_ = 0, startY_ = 0, freeX_ = 0, freeY_ = 0;
  float startRadius_ = 0, startDepth_ = 0, startRotation_ = 0, startSmooth_ = 0;
  float penX_ = 0, penY_ = 0, lastDx_ = 0, lastDy_ = 0;
  bool startedInUv_ = false;
  bool buttons_[3] = {false, false, false};      // this event
  bool lastButtons_[3] = {false, false, false};  // the last one
};

// The navigation system of the program.
NaviSystem& TheNavigation();
