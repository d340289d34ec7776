// The paint room's brush tools: StdPenTool (the default, "StdPen"),
// EraserTool and SmudgeTool. Each is a BasicTool whose panel is generated
// from its reflected members; they share the road of one stroke:
// router -> tool (pointer hooks) -> StrokeSpacer (dabs along the drag, each
// picked on the mesh) -> PaintDabs (GeneralPen's radius, pressure, frame) ->
// ApplyStroke -> samples -> composition -> UpdateDirtyFaces / PixelMap::Update
// in the frame. The brush cursor is a ring on the surface under the pointer.
// In the line stroke mode a drag draws a straight line from the press to the
// release, previewed while dragging; in the curve mode clicks lay the nodes
// of a curve that Enter applies. Each line or curve is laid with the pen's
// spacing as one part of a stroke that stays open (one undo record a part,
// later parts measured against the stroke's start) until the tool or the
// mode changes. In the preview mode the drags are shown as tracks and paint
// nothing until Enter lays them all as one part (Esc drops them). While the pen
// draws shapes (GeneralPen::DrawShape, in the default stroke mode) a press and
// drag draws a rectangle, lasso, contour, circle or spline over the view, and
// the release paints everything under it in one go, as one undo record.
#pragma once
#include <functional>
#include <memory>

#include "paint/GeneralPen.h"
#include "paint/PenMasks.h"
#include "paint/StrokePath.h"
#include "paint/StrokeSpacer.h"
#include "paint/stroke/DrawnShape.h"
#include "paint/stroke/PaintDabs.h"
#include "shell/tools/BasicTool.h"
#include "shell/tools/StandardTools.h"

class PaintScene;
class PressureSource;
namespace comms {
class cViewer;
class cRender;
}  // namespace comms

// The pen on the surface under a view pixel.
struct PaintPenPoint {
  comms::cVec3 Pos, Normal;
  int Face = -1;
  float WorldRadius = 1;  // GeneralPen::PenRadius pixels at that depth
};

// The entries of the paint pen's pressure combo ("PAINTPENPRESS"), in order:
// the stroke mode each sets and the drawn shape (0 none).
struct PenPressEntry {
  const char* Name;
  int StrokeMode;
  int DrawShape;
};
const std::vector<PenPressEntry>& PaintPenPressEntries();
// Fills the enumerator "PAINTPENPRESS" (idempotent).
void RegisterPaintPenPress();
// The combo's entry that shows the pen's stroke mode and drawn shape; -1 when
// the combo has none.
int PaintPenPressEntryOf(int strokeMode, int drawShape);

class PaintBrushTool : public BasicTool, public StrokeSurface {
 public:
  // The pressure combo's entry (one for every paint tool, as the pen is one).
  static inline int PressEntry = 0;
  // The stencil, material and pen style rows (shared by every paint tool).
  PenMaskPanel Masks;
  MV_CLASS(PaintBrushTool, BasicTool) {
    NextStatic();
    Member("_index", PressEntry, "PenPressureMode", GetEnumerator("PAINTPENPRESS"));
    Member(Masks, "PenMasks");
  }
  // A pick in the pressure combo sets the stroke mode and the drawn shape.
  bool OnChange(BaseClass* cls, void* ptr, void* extra, const char* name) override;
  // The combo shows the pen's stroke mode as it is now.
  void Activate() override;
  explicit PaintBrushTool(PaintKind kind = PaintKind::Paint);
  ~PaintBrushTool() override;

  // What the tool paints and the camera whose pixel rays pick it; either may
  // be null (the tool then takes no press).
  void SetScene(PaintScene* scene, const comms::cViewer* camera);
  void SetPressureSource(PressureSource* source) { pressure_ = source; }
  bool PenAt(float x, float y, PaintPenPoint& out) const;
  bool Stroking() const { return dabs_ && dabs_->Active(); }
  // When set, each stroke of the tool is recorded there (the last one stays).
  StrokeRecord* Recording = nullptr;
  // Called at pen-up while the stroke still holds its start state (see
  // PaintStroke::OnEnd): the place where the stroke's undo record is written.
  std::function<void(PaintScene&, PaintStroke&)> OnStrokeEnd;
  // Ends a stroke in progress (before an undo, a change of tool).
  void EndStroke() { Finish(); }
  // The last refusal ("PAINT_INVIS_LAYER"), empty when none.
  const char* Message() const { return message_; }
  // The ring of the pen on the surface under the pointer, and the line or
  // curve being drawn; false off the mesh.
  bool DrawBrushCursor(comms::cRender& render) const;
  // The screen path the line, curve or preview track being drawn would be
  // laid along now (the pointer as the curve's next node); empty when none.
  std::vector<ScreenPoint> PreviewPath() const;
  // Nodes of the curve being built.
  const std::vector<ScreenPoint>& CurveNodes() const { return curveNodes_; }
  // The preview mode's tracks waiting for Enter (the last may be in drawing).
  const std::vector<std::vector<ScreenPoint>>& PreviewTracks() const { return tracks_; }
  // The area being drawn (its points empty when none).
  const DrawnShape& AreaShape() const { return area_; }

  const char* GetRoomName() override { return "Paint"; }
  bool UsesPenSettings() override { return true; }
  bool OnLMBDown() override;
  bool OnLMBUp() override;
  bool OnMouseMove() override;
  // In the curve mode Enter applies the curve and Esc drops its nodes.
  bool OnKey(int key) override;
  void FrameUpdate() override;
  void Deactivate() override;
  void OnSceneReset() override;

  // StrokeSurface: picks through the camera; projects to view pixels.
  bool Pick(float sx, float sy, SurfaceHit& hit) override;
  bool PickNear(float sx, float sy, const float* near, SurfaceHit& hit) override;
  void Project(const float world[3], float& sx, float& sy) override;

 protected:
  PaintKind kind_;

 private:
  void Step();
  void Finish();
  // Dabs and the stroke for a new press.
  void BeginDabs();
  // One dab (or mirrored copy) the stroke step or a path asks for.
  void DabAt(const Dab& d);
  // Lays the dabs of lines or curves as one part of the open stroke.
  void ApplyPaths(const std::vector<std::vector<ScreenPoint>>& paths);
  // Paints what lies under the finished area as one stroke.
  void PaintArea();
  // The pen's world radius near the area: at its middle, else at its first
  // point on the mesh.
  float AreaRadius() const;
  // The screen distance between dabs of a line or curve.
  float PathSpacing() const;

  PaintScene* scene_ = nullptr;
  const comms::cViewer* camera_ = nullptr;
  PressureSource* pressure_ = nullptr;
  std::unique_ptr<PressureSource> mouse_;
  std::unique_ptr<PaintDabs> dabs_;
  std::unique_ptr<StrokeSpacer> spacer_;
  const char* message_ = "";
  bool moved_ = false;
  uint32_t strokes_ = 0;
  bool multiPart_ = false;  // a line or curve stroke is open
  bool lineDown_ = false;   // a line is being dragged
  ScreenPoint lineStart_, lineEnd_;
  std::vector<ScreenPoint> curveNodes_;
  std::vector<std::vector<ScreenPoint>> tracks_;  // the preview mode's
  bool trackDown_ = false;                        // the last track is being drawn
  DrawnShape area_;
  bool areaDown_ = false;  // an area is being drawn
};

// The default paint tool.
class StdPenTool : public PaintBrushTool {
 public:
  bool UseFillParams = false;  // the dab's colour comes from the fill settings
  MV_CLASS(StdPenTool, PaintBrushTool) {
    Member("_bool", UseFillParams, "UseFillParams");
    NextStatic();
    Member("_bool", GeneralPen::DrawDepth, "DrawDepth");
    NextStatic();
    Member("_bool", GeneralPen::DrawColor, "DrawColor");
    NextStatic();
    Member("_bool", GeneralPen::DrawSpecular, "DrawSpecular");
  }
  StdPenTool() : PaintBrushTool(PaintKind::Paint) {}
  const char* GetHintId() override { return "StdPen"; }
};

// Takes the current layer back by the pen's shape.
class EraserTool : public PaintBrushTool {
 public:
  MV_CLASS(EraserTool, PaintBrushTool) {}
  EraserTool() : PaintBrushTool(PaintKind::Erase) {}
  const char* GetHintId() override { return "EraserTool"; }
};

// Drags colour along the stroke.
class SmudgeTool : public PaintBrushTool {
 public:
  MV_CLASS(SmudgeTool, PaintBrushTool) {}
  SmudgeTool() : PaintBrushTool(PaintKind::Smudge) {}
  const char* GetHintId() override { return "SmudgeTool"; }
};

// Adds "StdPen", "EraserTool" and "SmudgeTool" to the start-up registration;
// the paint room's other tools stay pending ("NOT_AVAILABLE_YET").
void RegisterPaintTools(ToolProviders& providers);
// The registered brush tools of a table (null where pending).
PaintBrushTool* FindPaintTool(ToolTable& table, const char* name);
