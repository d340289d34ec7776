// The navigation rows and what they do; see Navigation.h.
#include "interface/Navigation.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "ClassEngine/Enumerator.h"
#include "ClassEngine/Log.h"
#include "ClassEngine/UserPaths.h"
#include "ClassEngine/xml/ErrorCollector.h"
#include "ClassEngine/xml/XmlNode.h"
#include "interface/AppOptions.h"
#include "interface/UiContext.h"
#include "interface/HotKeys.h"
#include "paint/GeneralPen.h"
#include "platform/Keys.h"
#include "platform/Platform.h"
#include "render/Viewer.h"

namespace {
constexpr float kPi = 3.14159265358979f;

Enumerator* NaviEnum() {
  Enumerator* e = GetEnumerator("NAVIEVENTS");
  if (e->GetStoredAmount() == 0)
    for (const char* n :
         {"NAVI_MOVE_SCREEN", "NAVI_MOVE_ZX", "NAVI_MOVE_YZ", "NAVI_MOVE_XY", "NAVI_SCALE", "NAVI_ROTATE", "NAVI_ROLL",
          "NAVI_SCREEN_ROTATE", "NAVI_SCREEN_ROLL", "NAVI_FOV", "NAVI_MOVE_MTL", "NAVI_SCALE_MTL", "NAVI_ROTATE_MTL",
          "NAVI_ASPECT_MTL", "NAVI_HOME", "NAVI_PICK_PIVOT", "NAVI_START_TWEAK_PEN_PARAMS", "NAVI_START_TWEAK_DEPTH",
          "NAVI_START_TWEAK_RADIUS", "NAVI_START_TWEAK_ROTATION", "NAVI_START_TWEAK_FALLOFF",
          "NAVI_START_TWEAK_OPACIRY", "NAVI_START_TWEAK_SPECL", "NAVI_MOVE_UV"})
      e->Add(n);
  return e;
}

float WrapAngle(float a) {
  a = std::fmod(a, 2 * kPi);
  return a < 0 ? a + 2 * kPi : a;
}

constexpr float kDegToRad = kPi / 180;

// A pan kept in the plane of two world axes: the screen move with the part
// along the third axis (`fixedAxis` 0 x, 1 y, 2 z) taken out.
void PanInPlane(comms::cFreeViewer& cam, float dx, float dy, int fixedAxis) {
  const float step = cam.OrthoProj ? 1.0f / cam.OrthoScale : cam.PanSpeed * (std::fabs(cam.m_ToEye) + 10);
  comms::cVec3 move = cam.Right * (dx * step) + cam.Up * (dy * step);
  (fixedAxis == 0 ? move.x : fixedAxis == 1 ? move.y : move.z) = 0;
  cam.m_Center -= move;
  cam.Update();
}

// A turn about the screen's own axes: up and down about its horizontal,
// left and right about its vertical (the orbit turns about the world's).
void RotateOnScreen(comms::cFreeViewer& cam, float dx, float dy) {
  const float a = cam.RotateSpeed * kDegToRad;
  comms::cQuat pitch = comms::cQuat::FromAxisAngle(comms::cVec3(1, 0, 0), dy * a);
  comms::cQuat yaw = comms::cQuat::FromAxisAngle(comms::cVec3(0, 1, 0), -dx * a);
  cam.Orient = ((pitch * yaw) * cam.Orient).Normalized();
  cam.Update();
}

int ButtonIndex(int k) { return k >= keys::LeftButton && k <= keys::MiddleButton ? k - keys::LeftButton : -1; }
}  // namespace

void NaviEvent::RegisterOwnMembers() {
  Member("_index", ActionType, "ActionType", NaviEnum());
  Member("_str", Sequence, "Sequence");
  Method(&NaviEvent::DelEvnt, "DelEvnt");
  Method(&NaviEvent::AssignSequence, "AssignSequence");
  Member("_bool", InsideObject, "InsideObject");
  Member("_bool", OutsideObject, "OutsideObject");
  Member("_bool", InNaviZone, "InNaviZone");
  Member("_bool", InPerspective, "InPerspective");
  Member("_bool", InOrthography, "InOrthography");
  Member("_bool", OnlyInUV, "OnlyInUV");
  Member("_bool", SwapXY, "SwapXY");
  Member("CtrlFSlider", XScale, "XScale", NewFloatSliderRange(-10, 10));
  Member("CtrlFSlider", YScale, "YScale", NewFloatSliderRange(-10, 10));
}

void NaviEvent::DelEvnt() {
  NaviSystem& n = TheNavigation();
  for (int i = 0; i < n.Events.GetAmount(); ++i)
    if (n.Events[i] == this) {
      n.Events.DelElement(i);
      return;
    }
}

// Recording a sequence by hand needs the panel's key capture; the row's text
// field takes the names meanwhile.
void NaviEvent::AssignSequence() { compiledFrom_.clear(); }

const std::vector<int>& NaviEvent::Keys() {
  std::string text = Sequence.cpchar();
  if (text == compiledFrom_ && !(text.size() && keys_.empty())) return keys_;
  compiledFrom_ = text;
  keys_.clear();
  // "+" separates names, so the key "+" itself cannot be named here.
  size_t i = 0;
  while (i < text.size()) {
    size_t j = text.find_first_of("+,.;\r\n\t- ", i);
    if (j == std::string::npos) j = text.size();
    std::string name = text.substr(i, j - i);
    i = j + 1;
    if (name.empty()) continue;
    int layer = SystemToLayerKey(SystemKeyCode(name.c_str()));
    if (layer >= 0 && std::find(keys_.begin(), keys_.end(), layer) == keys_.end()) keys_.push_back(layer);
  }
  return keys_;
}

void NaviSystem::RegisterOwnMembers() {
  Method(&NaviSystem::StoreNaviPreset, "StoreNaviPreset");
  Method(&NaviSystem::UseExistingNavi, "UseExistingNavi");
  Method(&NaviSystem::AddEvent, "AddEvent");
  Member("ClassArray.NaviEvent", Events, "Events");
  Member("_bool", DisplayNaviZone, "DisplayNaviZone");
  Member("CtrlISlider", NaviZoneWidth, "NaviZoneWidth", NewIntSliderRange(0, 200));
  Member("CtrlFSlider", NaviZoneOpacity, "NaviZoneOpacity", NewFloatSliderRange(0, 1));
}

NaviSystem& TheNavigation() {
  static auto* n = new NaviSystem;
  return *n;
}

NaviEvent* NaviSystem::Add(int action, const char* sequence) {
  auto* e = new NaviEvent;
  e->ActionType = action;
  e->Sequence = sequence;
  Events.Add(e);
  return e;
}

void NaviSystem::AddEvent() { Add(NAVI_ROTATE, ""); }
void NaviSystem::StoreNaviPreset() { SavePreset(UserFilePath("NavigationPresets/Custom.navigation")); }
void NaviSystem::UseExistingNavi() { LoadPreset(UserFilePath("NavigationPresets/Custom.navigation")); }

void NaviSystem::SetDefaultRows() {
  Events.Clear();
  Add(NAVI_ROTATE, "ALT+LMB");
  Add(NAVI_SCALE, "ALT+RMB");
  Add(NAVI_MOVE_SCREEN, "ALT+MMB");
  Add(NAVI_SCREEN_ROLL, "ALT+SHIFT+LMB");
  Add(NAVI_FOV, "ALT+SHIFT+RMB");
  Add(NAVI_START_TWEAK_PEN_PARAMS, "SPACE+LMB");
  Add(NAVI_START_TWEAK_RADIUS, "R+LMB");
  Add(NAVI_START_TWEAK_DEPTH, "D+LMB");
  Add(NAVI_START_TWEAK_FALLOFF, "F+LMB");
  Add(NAVI_START_TWEAK_ROTATION, "T+LMB");
  Add(NAVI_START_TWEAK_OPACIRY, "O+LMB");
  Add(NAVI_START_TWEAK_SPECL, "P+LMB");
  Add(NAVI_HOME, "HOME");
  Add(NAVI_PICK_PIVOT, "ALT+MMB+LMB");
}

bool NaviSystem::SavePreset(const std::string& path) {
  XmlNode tree;
  Save(&tree, this, nullptr);
  return tree.WriteToFile(path.c_str());
}

bool NaviSystem::LoadPreset(const std::string& path) {
  XmlNode tree;
  if (!tree.ReadFromFile(path.c_str())) return false;
  Events.Clear();
  ErrorCollector silent(false);
  Load(&tree, this, &silent, nullptr);
  running_ = -1;
  return true;
}

bool NaviSystem::IsNaviKeyDown(int key) const {
  int b = ButtonIndex(key);
  if (b >= 0) return running_ >= 0 ? buttons_[b] : buttons_[b] && !lastButtons_[b];
  return World.Input && World.Input->IsKeyDownNow(key);
}

void NaviSystem::DrawZone() const {
  if (!DisplayNaviZone || NaviZoneWidth <= 0 || NaviZoneOpacity <= 0) return;
  UiContext& ui = Ui();
  const float z = std::min(float(NaviZoneWidth), std::min(World.ViewW, World.ViewH) / 2);
  const uint32_t alpha = uint32_t(std::clamp(NaviZoneOpacity, 0.0f, 1.0f) * 255 + 0.5f);
  const uint32_t shade = (alpha << 24) | (ui.Colors.Highlight & 0xffffffu);
  const float x = World.ViewX, y = World.ViewY, w = World.ViewW, h = World.ViewH;
  ui.FillRect(x, y, w, z, shade);                  // top
  ui.FillRect(x, y + h - z, w, z, shade);          // bottom
  ui.FillRect(x, y + z, z, h - 2 * z, shade);      // left
  ui.FillRect(x + w - z, y + z, z, h - 2 * z, shade);  // right
}

bool NaviSystem::MayStart(NaviEvent& e, int key, bool& byKey) {
  const std::vector<int>& ks = e.Keys();
  if (ks.empty()) return false;
  int a = e.ActionType;
  if (a >= NAVI_MOVE_MTL && a <= NAVI_ASPECT_MTL && !World.Pattern) return false;
  if (a >= NAVI_START_TWEAK_PEN_PARAMS && a <= NAVI_START_TWEAK_SPECL && World.ToolShowsPen && !World.ToolShowsPen())
    return false;
  const bool overUv = World.Uv && World.Uv->Contains(freeX_, freeY_);
  if ((a == NAVI_MOVE_UV || e.OnlyInUV) && !overUv) return false;
  float zone = float(NaviZoneWidth);
  bool inWork = freeX_ >= World.ViewX + zone && freeX_ < World.ViewX + World.ViewW - zone &&
                freeY_ >= World.ViewY + zone && freeY_ < World.ViewY + World.ViewH - zone;
  if (ks.size() == 1 && a != NAVI_START_TWEAK_RADIUS && World.ToolVetoesButton && inWork) {
    int b = ButtonIndex(ks[0]);
    if (b >= 0 && World.ToolVetoesButton(ks[0])) return false;
  }
  for (int k : ks) {
    if (!IsNaviKeyDown(k)) return false;
    if (k == key) byKey = true;
  }
  for (int m : {keys::Control, keys::Alt, keys::Shift})
    if (std::find(ks.begin(), ks.end(), m) == ks.end() && World.Input && World.Input->IsKeyDownNow(m)) return false;
  bool persp = !World.Camera || World.Camera->m_Persp;
  if ((persp && !e.InPerspective) || (!persp && !e.InOrthography)) return false;
  bool surface = World.OverSurface && World.OverSurface(freeX_, freeY_);
  return (e.InsideObject && surface) || (e.OutsideObject && !surface) || (e.InNaviZone && !inWork);
}

void NaviSystem::Start(NaviEvent& e) {
  if (e.ActionType == NAVI_MOVE_MTL && World.Pattern && World.BeforePatternMove) World.BeforePatternMove();
  startX_ = lastX_, startY_ = lastY_;
  startRadius_ = GeneralPen::PenRadius;
  startDepth_ = GeneralPen::DeepDegree;
  startRotation_ = GeneralPen::PenRotation;
  startSmooth_ = PenTweaks::Smoothing;
  penX_ = startX_, penY_ = startY_;
  startedInUv_ = World.Uv && World.Uv->Contains(freeX_, freeY_);
}

bool NaviSystem::Update(int key) {
  float x = lastX_, y = lastY_;
  if (World.Input) World.Input->PointerPosition(x, y);
  float dx0 = x - lastX_, dy0 = y - lastY_;
  lastX_ = x, lastY_ = y;
  for (int b = 0; b < 3; ++b) buttons_[b] = World.Input && World.Input->IsKeyDownNow(keys::LeftButton + b);
  if (!buttons_[0] && !buttons_[1] && !buttons_[2]) freeX_ = x, freeY_ = y;
  bool started = false;
  if (!(World.ModalInput && World.ModalInput())) {
    if (running_ >= 0 && running_ < Events.GetAmount()) {
      NaviEvent& e = *Events[running_];
      bool held = true;
      for (int k : e.Keys()) held = held && IsNaviKeyDown(k);
      if (!held) {
        running_ = -1;
      } else {
        lastDx_ = dx0, lastDy_ = dy0;
        Act(e);
      }
    }
    if (running_ < 0) {
      for (int i = 0; i < Events.GetAmount(); ++i) {
        bool byKey = false;
        if (!Events[i] || !MayStart(*Events[i], key, byKey)) continue;
        if (running_ != i) Start(*Events[i]);
        running_ = i;
        started = started || byKey;
      }
      if (running_ >= 0) {
        int a = Events[running_]->ActionType;
        if (a == NAVI_HOME || a == NAVI_PICK_PIVOT) {
          OneShot(a);
          running_ = -1;
        }
      }
    }
  }
  for (int b = 0; b < 3; ++b) lastButtons_[b] = buttons_[b];
  return started;
}

void NaviSystem::OneShot(int action) {
  comms::cFreeViewer* cam = World.Camera;
  if (!cam) return;
  if (action == NAVI_HOME) {
    cam->Key(keys::Home, false);
    return;
  }
  float p[3];
  if (World.SurfacePoint && World.SurfacePoint(lastX_, lastY_, p)) {
    cam->m_Center = comms::cVec3(p[0], p[1], p[2]);
    cam->Update();
    AppOptions::PivotType = 4;
  }
}

void NaviSystem::Act(NaviEvent& e) {
  float dx = lastDx_ * e.XScale, dy = lastDy_ * e.YScale;
  float tx = (lastX_ - startX_) * e.XScale, ty = (lastY_ - startY_) * e.YScale;
  if (e.SwapXY) std::swap(dx, dy), std::swap(tx, ty);
  float p = std::max(1.0f, World.PenPixelRadius ? World.PenPixelRadius() : GeneralPen::PenRadius);
  comms::cFreeViewer* cam = World.Camera;
  const float rot = AppOptions::CamRotSpeed, zoom = AppOptions::CamZoomSpeed;
  // A pan or zoom that started over the UV preview moves the preview.
  UvPreview* uv = startedInUv_ ? World.Uv : nullptr;
  if (uv && e.ActionType >= NAVI_MOVE_SCREEN && e.ActionType <= NAVI_MOVE_XY) {
    uv->Pan(dx, dy);
    return;
  }
  if (uv && e.ActionType == NAVI_SCALE) {
    uv->ZoomAbout(std::exp((dx - dy) * zoom / 100.0f), startX_, startY_);
    return;
  }
  MaterialPattern* pattern = World.Pattern;
  switch (e.ActionType) {
    case NAVI_MOVE_SCREEN:
      if (cam) cam->Pan(dx, -dy);
      break;
    case NAVI_MOVE_ZX:
    case NAVI_MOVE_YZ:
    case NAVI_MOVE_XY:
      if (cam) PanInPlane(*cam, dx, -dy, e.ActionType == NAVI_MOVE_ZX ? 1 : e.ActionType == NAVI_MOVE_YZ ? 0 : 2);
      break;
    case NAVI_SCALE:
      if (cam) cam->DragZoom(dx * zoom, -dy * zoom);
      break;
    case NAVI_ROTATE:
      if (cam) cam->Rotate(dx * rot, -dy * rot);
      break;
    case NAVI_SCREEN_ROTATE:
      if (cam) RotateOnScreen(*cam, dx * rot, -dy * rot);
      break;
    case NAVI_ROLL:
    case NAVI_SCREEN_ROLL:
      if (cam) cam->Roll(dx * rot, -dy * rot);
      break;
    case NAVI_FOV:
      if (cam) cam->Fov = std::min(179.0f, cam->Fov * std::exp(-dy / 100.0f)), cam->Update();
      break;
    case NAVI_MOVE_MTL:
      if (pattern) pattern->Move(-dx, dy);
      break;
    case NAVI_SCALE_MTL:
      if (pattern) pattern->ScaleAbout(1 + dx / 100, 1 + dx / 100, startX_, startY_);
      break;
    case NAVI_ROTATE_MTL:
      if (pattern) pattern->RotateAbout(dx / 100, startX_, startY_);
      break;
    case NAVI_ASPECT_MTL:
      if (pattern) pattern->ScaleAbout(1 - dx / 100, 1 + dx / 100, startX_, startY_);
      break;
    case NAVI_MOVE_UV:
      if (World.Uv && buttons_[0]) World.Uv->Pan(dx, dy);
      break;
    case NAVI_START_TWEAK_PEN_PARAMS:
      if (std::fabs(ty) > std::fabs(tx)) {
        GeneralPen::PenRadius = startRadius_;
        GeneralPen::DeepDegree = std::clamp(startDepth_ - ty / p, 0.0f, 200.0f);
      } else {
        GeneralPen::DeepDegree = startDepth_;
        GeneralPen::PenRadius = std::clamp((tx / p + 1) * startRadius_, 0.1f, 300.0f);
      }
      break;
    case NAVI_START_TWEAK_DEPTH:
      if (World.Input && World.Input->IsKeyDownNow(keys::Shift))
        PenTweaks::Smoothing = std::clamp(startSmooth_ - ty / p, 0.0f, 1.0f);
      else
        GeneralPen::DeepDegree = std::clamp(startDepth_ - ty / p, 0.0f, 200.0f);
      break;
    case NAVI_START_TWEAK_RADIUS:
      GeneralPen::PenRadius = std::clamp((tx / p + 1) * startRadius_, 0.1f, 300.0f);
      break;
    case NAVI_START_TWEAK_ROTATION:
      GeneralPen::PenRotation = WrapAngle(startRotation_ + std::atan2(lastY_ - penY_, lastX_ - penX_) - kPi / 2);
      break;
    case NAVI_START_TWEAK_FALLOFF:
      GeneralPen::Falloff = std::clamp(GeneralPen::Falloff - dy / p, 0.0f, 1.0f);
      break;
    case NAVI_START_TWEAK_OPACIRY:
      GeneralPen::ColorOpacity = std::clamp(GeneralPen::ColorOpacity + dx / p, 0.0f, 2.0f);
      break;
    case NAVI_START_TWEAK_SPECL:
      GeneralPen::SpecularDegree = std::clamp(GeneralPen::SpecularDegree + dx / p, 0.0f, 1.0f);
      break;
    default:
      break;
  }
}

bool NaviSystem::ApplyWheel(float n, bool ctrl, bool alt, bool shift) {
  int action = ctrl ? AppOptions::CTRL_WHEEL_ACTION
               : alt ? AppOptions::ALT_WHEEL_ACTION
               : shift ? AppOptions::SHIFT_WHEEL_ACTION
                       : AppOptions::WHEEL_ACTION;
  const float f = std::exp(n / 16.0f);
  switch (action) {
    case WHEEL_CHANGE_RADIUS: GeneralPen::PenRadius *= f; break;
    case WHEEL_CHANGE_PRESSURE: GeneralPen::DeepDegree = std::min(1.0f, GeneralPen::DeepDegree * f); break;
    case WHEEL_CHANGE_OPACITY: GeneralPen::ColorOpacity *= f; break;
    case WHEEL_CHANGE_SMOOTH: PenTweaks::Smoothing = std::min(1.0f, PenTweaks::Smoothing * f); break;
    case WHEEL_CHANGE_SPECULAR: GeneralPen::SpecularDegree = std::min(1.0f, GeneralPen::SpecularDegree * f); break;
    case WHEEL_CHANGE_SPECULAR_OPACITY: GeneralPen::SpecularOpacity *= f; break;
    case WHEEL_CHANGE_ANGLE: GeneralPen::PenRotation += n * 90.0f / 16.0f; break;
    case WHEEL_CHANGE_FOCAL: {
      float v = std::clamp(GeneralPen::FocalShift + n * 0.1f, -1.0f, 1.0f);
      GeneralPen::FocalShift = std::fabs(v) < 0.001f ? 0.0f : v;
      break;
    }
    case WHEEL_CHANGE_FALLOFF: GeneralPen::Falloff = std::clamp(GeneralPen::Falloff + n * 0.1f, 0.0f, 1.0f); break;
    default: return false;
  }
  return true;
}
