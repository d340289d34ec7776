// The voxel room's tool and its stroke handler (see VoxelSculptTool.h).
#include "MC/brushes/VoxelSculptTool.h"

#include <algorithm>
#include <cmath>

#include "ClassEngine/Log.h"
#include "MC/brushes/ApplyField.h"
#include "MC/brushes/DrawnShapeTools.h"
#include "MC/brushes/Symmetry.h"
#include "MC/brushes/VolumePick.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/tree/VolumeResolution.h"
#include "paint/SceneChanges.h"
#include "paint/GeneralPen.h"
#include "paint/PenPressure.h"
#include "platform/Keys.h"
#include "render/Viewer.h"

VoxelSculptTool::VoxelSculptTool() : stroke_(Settings), mouse_(std::make_unique<MousePressure>()) {
  RegisterVoxelBrushClasses();
  RegisterMergeClasses();
  RegisterVoxelPenSettings();
  stroke_.Tool = Mode;
  Settings.ShownTool = Mode;
  RegisterVoxelModeHandlers();
}

void VoxelSculptTool::Activate() {
  Pen.Sync();
  Settings.ShownTool = Mode;
  if (VoxelModeHandler* h = Handler()) h->Activate(*this);
}

VoxelModeHandler* VoxelSculptTool::Handler() {
  // A pen that draws shapes gives its events to the shape input.
  const int slot = TakesDrawnShape(Mode) ? kDrawnShapeHandler : Mode;
  auto it = handlers_.find(slot);
  if (it != handlers_.end()) return it->second.get();
  const VoxelModeFactory& make = FindVoxelModeFactory(slot);
  if (!make) return nullptr;
  return (handlers_[slot] = make()).get();
}

void VoxelSculptTool::EndEdit(VolumeObject& volume) {
  ChangedSinceSave = 1;
  if (OnStrokeEnd)
    OnStrokeEnd(volume);
  else
    volume.DropUndoCopies();
  volume.UpdateSurface();
}

bool VoxelSculptTool::DrawOverlay(comms::cRender& render, const comms::cViewer& camera) {
  VoxelModeHandler* h = Handler();
  return h && h->DrawOverlay(*this, render, camera);
}

void VoxelSculptTool::BuildPanel(PanelHost* host) {
  // The mode may have changed in the panel's own list.
  Settings.ShownTool = Mode;
  Pen.Sync();
  BasicTool::BuildPanel(host);
}

VoxelSculptTool::~VoxelSculptTool() = default;

void VoxelSculptTool::SetScene(VolumeObject* volume, const comms::cViewer* camera) {
  if (stroke_.Active() && volume != volume_) FinishStroke();
  volume_ = volume;
  camera_ = camera;
}

bool VoxelSculptTool::SelectMode(int mode) {
  if (mode >= VOX_INCRES && mode <= VOX_SMALL) return RunCommand(mode);
  if (!FindVoxMode(mode)) return false;
  if (stroke_.Active()) FinishStroke();
  if (mode != Mode)
    if (VoxelModeHandler* h = Handler()) h->Deactivate(*this);
  Mode = mode;
  Settings.ShownTool = mode;
  if (VoxelModeHandler* h = Handler()) h->Activate(*this);
  return true;
}

bool VoxelSculptTool::RunCommand(int mode) {
  message_.clear();
  if (stroke_.Active()) FinishStroke();
  if (mode == VOX_INCRES) {
    // Doubling the resolution cannot be undone: the user is asked first.
    if (!volume_) return true;
    const uint64_t cost = IncreaseResolutionCost(*volume_);
    if (ConfirmIncreaseResolution && !ConfirmIncreaseResolution(cost)) return true;
    IncreaseResolution(*volume_);
    volume_->UpdateSurface();
    Log("VoxelSculptTool::RunCommand(): resolution doubled, %llu bytes", (unsigned long long)cost);
    return true;
  }
  if (!volume_) return true;
  if (mode == VOX_CLEAR) {
    volume_->ClearVoxels();
    volume_->Compact();
  } else {
    // SmAll: one smoothing pass over the whole volume, at full strength everywhere in it.
    volume_->RecomputeCellBounds();
    if (volume_->CellBoundsMin[0] > volume_->CellBoundsMax[0]) return true;
    SmoothParams sp;
    float half = 0;
    for (int a = 0; a < 3; ++a) {
      const float lo = float(volume_->CellBoundsMin[a] * 8), hi = float((volume_->CellBoundsMax[a] + 1) * 8);
      sp.Center[a] = (lo + hi) / 2;
      half = std::max(half, (hi - lo) / 2);
    }
    // At twice the half-diagonal the weight is at least 3/4 all through the box.
    sp.Radius = 2.f * std::sqrt(3.f) * half + 1.f;
    sp.Accurate = true;
    Random rnd(strokes_ + 1);
    BrushSmooth(*volume_, sp, rnd);
  }
  EndEdit(*volume_);
  return true;
}

const char* VoxelSculptTool::GetSecondHintId() {
  const VoxModeInfo* info = FindVoxMode(Mode);
  if (!info) return "";
  return info->Available ? info->Name : "NOT_AVAILABLE_YET";
}

void VoxelSculptTool::OnToolListClick(int i) {
  Enumerator* e = GetToolList();
  if (i < 0 || i >= e->GetStoredAmount()) return;
  // Section titles ("*Voxels") open groups and are no modes.
  const char* name = e->Names.Get(i);
  if (name && name[0] == '*') return;
  SelectMode(e->Values[i]);
}

bool VoxelSculptTool::RunsWhileStill() const {
  if (Settings.MoveBasedGrowth) return false;
  return Mode == SCULP_GROW || Mode == SCULPT_SMOOTH || Mode == SCULP_FILL;
}

bool VoxelSculptTool::PenAt(float x, float y, PenPoint& out, bool fromUndo) const {
  if (!volume_ || !camera_) return false;
  comms::cVec3 origin, dir;
  camera_->PixelRay(x, y, origin, dir);
  const float o[3] = {origin.x, origin.y, origin.z}, d[3] = {dir.x, dir.y, dir.z};
  float oo[3], od[3];
  volume_->PointToObject(o, oo);
  volume_->VectorToObject(d, od);
  SurfaceHit hit;
  if (!PickVolume(*volume_, oo, od, hit, fromUndo)) return false;
  volume_->PointToScene(hit.Pos, out.P);
  volume_->VectorToScene(hit.Normal, out.N);
  const float l = std::sqrt(out.N[0] * out.N[0] + out.N[1] * out.N[1] + out.N[2] * out.N[2]);
  if (l > 1e-12f)
    for (float& c : out.N) c /= l;
  // The pen's size is in pixels: a unit step along the camera's side at the
  // hit covers `perUnit` pixels there.
  const comms::cVec3 at(out.P[0], out.P[1], out.P[2]);
  const comms::cVec3 a = camera_->ProjectToView(at), b = camera_->ProjectToView(at + camera_->Right);
  const float perUnit = std::hypot(b.x - a.x, b.y - a.y);
  out.Radius = perUnit > 1e-6f ? GeneralPen::PenRadius / perUnit : GeneralPen::PenRadius;
  out.Pressure = GeneralPen::IgnorePressure ? 1.f : GeneralPen::PenPressure;
  return true;
}

bool VoxelSculptTool::OnLMBDown() {
  message_.clear();
  if (!volume_ || !camera_) return false;
  const ToolPointer& ptr = Pointer();
  // Alt with a button is the view's navigation.
  if (ptr.Alt) return false;
  if (VoxelModeHandler* h = Handler())
    if (h->OnLMBDown(*this)) return true;
  if (Mode == SCULP_MERGE) return MergeHeldMesh(ptr.Ctrl);
  UpdatePenPressure(pressure_ ? *pressure_ : *mouse_, true);
  PenPoint pen;
  // Off the surface the press is not taken, so the view may navigate.
  if (!PenAt(ptr.X, ptr.Y, pen)) return false;
  stroke_.Tool = Mode;
  stroke_.Reproject = Mode != SCULPT_BRANCH;
  stroke_.InvertModifier = ptr.Ctrl;  // the invert modifier while the press lasts
  if (!stroke_.Begin(*volume_, pen, ++strokes_)) {
    message_ = stroke_.Message();
    return true;
  }
  pendingX_ = ptr.X, pendingY_ = ptr.Y;
  moved_ = false;
  // The pen picks by sampling the field: the box tree may wait for pen-up.
  volume_->SkipBoundsThisUpdate = true;
  volume_->UpdateSurface();
  return true;
}

bool VoxelSculptTool::OnMouseMove() {
  if (VoxelModeHandler* h = Handler())
    if (h->OnMouseMove(*this)) return true;
  if (!stroke_.Active()) return false;
  pendingX_ = Pointer().X, pendingY_ = Pointer().Y;
  moved_ = true;
  return true;
}

bool VoxelSculptTool::OnKey(int key) {
  if (VoxelModeHandler* h = Handler())
    if (h->OnKey(*this, key)) return true;
  if (Mode == SCULP_MERGE && key == keys::Enter) return MergeHeldMesh(false);
  return false;
}

void VoxelSculptTool::SettleMergeScale() {
  if (mergedInScene_) return;
  mergedInScene_ = true;
  const float* t = volume_->Transform;
  const float scale = std::sqrt(t[0] * t[0] + t[1] * t[1] + t[2] * t[2]);
  if (std::fabs(scale - 1.f) < 1e-4f || !AskKeepScale || !AskKeepScale()) return;
  float p[16];
  Merge.Placement(p);
  const float s = std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]);
  const float m[16] = {s, 0, 0, 0, 0, s, 0, 0, 0, 0, s, 0, p[12], p[13], p[14], 1};
  volume_->SetTransform(m);
}

bool VoxelSculptTool::MergeHeldMesh(bool invert) {
  if (!volume_ || !Merge.Mesh()) return false;
  SettleMergeScale();
  std::vector<std::vector<float>> mirrors;
  for (const SymmetryCopy& copy : SymmetryCopies(GeneralPen::Symmetry)) mirrors.emplace_back(copy.M, copy.M + 9);
  const bool separate = Merge.Settings.MergeToSeparateVolumes && TakeParts;
  std::vector<VolumeObject*> below;
  if (separate && VolumesBelow) below = VolumesBelow(*volume_);
  std::vector<SeparatePart> parts;
  if (!Merge.Merge(*volume_, MergeModeOf(invert, false), mirrors, separate ? &parts : nullptr, below, true,
                   NextSeed()))
    return false;
  // The changed volumes: the target and, cut through, those below it.
  std::vector<VolumeObject*> changed{volume_};
  for (VolumeObject* v : below)
    if (v && v != volume_ && v->UndoCopies > 0) changed.push_back(v);
  // The new rows first, so the merge's undo record can take them away too.
  if (separate && !parts.empty()) {
    for (SeparatePart& p : parts) p.Volume->UpdateSurface();
    TakeParts(*volume_, std::move(parts));
  }
  if (OnMergeEnd)
    OnMergeEnd(changed);
  else
    for (VolumeObject* v : changed) v->DropUndoCopies();
  for (VolumeObject* v : changed) v->UpdateSurface();
  ChangedSinceSave = 1;
  return true;
}

int VoxelSculptTool::GetAmountOfEditableElements(void* ptr, int flags) {
  int rows = 0;
  while (GetEditableElementIndex(rows, ptr, flags) >= 0) ++rows;
  return rows;
}

int VoxelSculptTool::GetEditableElementIndex(int row, void* ptr, int flags) {
  for (int i = 0, shown = 0;; ++i) {
    const int index = BasicTool::GetEditableElementIndex(i, ptr, flags);
    if (index < 0) return -1;
    const char* id = GetElementID(index);
    if (Mode != SCULP_MERGE && id && (std::string(id) == "MergeSettings" || std::string(id) == "MergeParams"))
      continue;
    if (shown++ == row) return index;
  }
}

void VoxelSculptTool::StrokeStep(bool force) {
  if (!stroke_.Active()) return;
  if (!moved_ && !force) return;
  UpdatePenPressure(pressure_ ? *pressure_ : *mouse_, false);
  PenPoint pen;
  // Where the pen leaves the surface the stroke waits for it to come back.
  if (PenAt(pendingX_, pendingY_, pen, !PicksLiveSurface(Mode))) stroke_.MoveTo(pen);
  moved_ = false;
  volume_->UpdateSurface();
}

void VoxelSculptTool::FrameUpdate() {
  KeepSurfaceTool();
  if (VoxelModeHandler* h = Handler()) h->FrameUpdate(*this);
  StrokeStep(RunsWhileStill());
}

bool VoxelSculptTool::WantsFrames() {
  if (VoxelModeHandler* h = Handler())
    if (h->WantsFrames(*this)) return true;
  return stroke_.Active() && RunsWhileStill();
}

void VoxelSculptTool::FinishStroke() {
  if (!stroke_.Active()) return;
  StrokeStep(false);
  stroke_.End();
  ChangedSinceSave = 1;
  if (OnStrokeEnd)
    OnStrokeEnd(*volume_);
  else
    volume_->DropUndoCopies();
  volume_->SkipBoundsThisUpdate = false;
  volume_->UpdateSurface();
}

bool VoxelSculptTool::OnLMBUp() {
  if (VoxelModeHandler* h = Handler())
    if (h->OnLMBUp(*this)) return true;
  if (!stroke_.Active()) return false;
  FinishStroke();
  return true;
}

void VoxelSculptTool::Deactivate() {
  FinishStroke();
  if (VoxelModeHandler* h = Handler()) h->Deactivate(*this);
}

bool VoxelSculptTool::GetFullBounds(ToolBounds& out) {
  out = ToolBounds();
  if (!volume_ || volume_->CellBoundsMin[0] > volume_->CellBoundsMax[0]) return false;
  // Cell bounds are in cells of CellSide voxels, object space.
  float lo[3], hi[3];
  for (int a = 0; a < 3; ++a) {
    lo[a] = float(volume_->CellBoundsMin[a] * volume_->CellSide);
    hi[a] = float((volume_->CellBoundsMax[a] + 1) * volume_->CellSide);
  }
  for (int a = 0; a < 3; ++a) out.Min[a] = 1e30f, out.Max[a] = -1e30f;
  for (int c = 0; c < 8; ++c) {
    const float p[3] = {c & 1 ? hi[0] : lo[0], c & 2 ? hi[1] : lo[1], c & 4 ? hi[2] : lo[2]};
    float s[3];
    volume_->PointToScene(p, s);
    for (int a = 0; a < 3; ++a) out.Min[a] = std::min(out.Min[a], s[a]), out.Max[a] = std::max(out.Max[a], s[a]);
  }
  return true;
}

void RegisterVoxelTools(ToolProviders& providers) {
  providers["VOX_SCULPT_TOOL"] = [] { return static_cast<BasicTool*>(new VoxelSculptTool); };
}

VoxelSculptTool* FindVoxelTool(ToolTable& table) {
  return dynamic_cast<VoxelSculptTool*>(table.FindTool("VOX_SCULPT_TOOL"));
}
