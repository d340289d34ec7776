// The voxel room's tool: one object, registered as "VOX_SCULPT_TOOL", whose
// mode is an index of the VOXMODES table and whose parameters are the brush
// settings. The router's button and motion hooks start, feed and end a
// VoxelSculptStroke; each frame picks the volume under the pointer through
// the camera's ray, lets the stroke space its samples along the drag, and runs
// UpdateSurface so the render groups follow in the same frame.
// The road of one stroke: router -> VoxelSculptTool -> VoxelSculptStroke ->
// field drivers -> VoxelCells -> UpdateSurface -> render groups.
#pragma once
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ClassEngine/Enumerator.h"
#include "MC/brushes/FileQuestion.h"
#include "MC/brushes/VoxelBrushSettings.h"
#include "MC/brushes/VoxelModeHandler.h"
#include "MC/brushes/VoxelPenSettings.h"
#include "MC/brushes/VoxelStroke.h"
#include "MC/mesh/MeshMerge.h"
#include "shell/tools/BasicTool.h"
#include "shell/tools/StandardTools.h"

class VolumeObject;
class VoxVisualTree;
class RowsStep;
class PressureSource;
namespace comms {
class cRender;
class cViewer;
}

class VoxelSculptTool : public BasicTool {
 public:
  // The tool index of the VOXMODES table.
  int Mode = SCULPT_CARVE;
  // The pen's own settings come first in the panel, then the mode and the
  // settings that mode reads.
  VoxelPenSettings Pen;
  VoxelBrushSettings Settings;
  // SCULP_MERGE: the mesh the tool holds and the merge's settings, shown in
  // the panel in that mode only. A click or Enter merges the held mesh.
  MeshMerge Merge;

  MV_CLASS(VoxelSculptTool, BasicTool) {
    Member(Pen, "VoxelPenSettings");
    Member("_index", Mode, "VOXMODES", GetEnumerator("VOXMODES"));
    Member(Settings, "VoxelBrushSettings");
    Member(Merge.Settings, "MergeSettings");
    Member(Merge.Simplification, "MergeParams");
  }
  // The panel's rows: "MergeSettings" and "MergeParams" only while the mode
  // is SCULP_MERGE.
  int GetAmountOfEditableElements(void* ptr, int flags) override;
  int GetEditableElementIndex(int row, void* ptr, int flags) override;
  VoxelSculptTool();
  ~VoxelSculptTool() override;

  // What the tool works on: the current volume and the camera whose pixel
  // rays pick it. Either may be null (the tool then takes no press).
  void SetScene(VolumeObject* volume, const comms::cViewer* camera);
  VolumeObject* Volume() const { return volume_; }
  const comms::cViewer* Camera() const { return camera_; }
  // The layer tree the volume belongs to, for modes that pick, split or hide
  // into other rows; null (or unset) without one.
  std::function<VoxVisualTree*()> Tree;
  // The handler of the current mode (made on first use), or null when the
  // mode is a plain stroke of samples.
  VoxelModeHandler* Handler();
  // Closes an edit that a mode made outside the stroke road: the undo record
  // of the volume's touched cells (through OnStrokeEnd), the unsaved mark, the
  // surface update.
  void EndEdit(VolumeObject& volume);
  // Counts edits; seeds the random generator of each one.
  uint32_t NextSeed() { return ++strokes_; }
  // The pen's pressure device; null means the mouse (always 1.0). Not owned.
  void SetPressureSource(PressureSource* source) { pressure_ = source; }

  // Selects a mode of the table; section titles and unknown indices are
  // refused. A mode whose engine part is missing is selectable but strokes
  // say "not available yet". The commands IncRes, Clear and SmAll (50..52)
  // run at once on the volume and leave the current mode as it was.
  bool SelectMode(int mode);
  // Called at pen up, once per stroke, with the volume whose `TouchedCells`
  // and undo copies still hold what the stroke changed: the place where the
  // stroke's undo record is written. Without a hook the copies are dropped
  // (the stroke is kept).
  std::function<void(VolumeObject&)> OnStrokeEnd;
  // SCULP_MERGE: called once per merge with every volume it changed (their
  // undo copies still held), after TakeParts, so one record takes the whole
  // merge back.
  // Without a hook the copies are dropped.
  std::function<void(const std::vector<VolumeObject*>&)> OnMergeEnd;
  // A step that changed rows of the layer tree (the layer a split made, rows
  // the gizmo moved), with its cells: the place where its one undo record is
  // written. Without a hook the step is kept without a record.
  std::function<void(RowsStep&)> OnRowsStep;
  // With MergeToSeparateVolumes: the volumes below the current one (cut by
  // negative parts with CutThroughVolumes), and the taker of the new part
  // volumes (the layer tree hangs them under the current volume's row).
  // Without TakeParts the merge goes into the current volume as one piece.
  std::function<std::vector<VolumeObject*>(VolumeObject&)> VolumesBelow;
  std::function<void(VolumeObject&, std::vector<SeparatePart>&&)> TakeParts;
  // Asked ("KEEP_SCALE_QUESTION") at the first merge into a scene whose
  // volume is not at scale 1; yes takes the volume's scale and centre from
  // the merge's placement, so the mesh keeps its size. Null: never asked.
  std::function<bool()> AskKeepScale;
  // Asked before IncRes doubles the resolution (which cannot be undone),
  // with the bytes it will take; false leaves the volume. Null goes on.
  std::function<bool(uint64_t bytes)> ConfirmIncreaseResolution;
  // Asks for a file (the logo's picture, the sketch's references). Null:
  // the question's default path is taken at once.
  FileAsker AskFile;
  // Surface mode of the current volume (MC/brushes/SurfaceModeSwitch.cpp).
  // On: the tool list offered becomes VOXSURFMODES, and a current mode that
  // is neither a surface tool nor SCULPT_TRANSFORM is remembered and replaced
  // by SCULPT_DRAW. Off: the moved surface goes into the voxels
  // (ApplyMC(true)) as one undoable edit and the remembered mode comes back.
  void SetSurfaceMode(bool on);
  // The mode to select again when the volume leaves surface mode, or -1.
  int ModeBeforeSurface = -1;
  // Surface mode commands: every vertex's freeze cleared, or inverted.
  void ClearSurfaceFreeze();
  void InvertSurfaceFreeze();
  bool Stroking() const { return stroke_.Active(); }
  // The last refusal ("not available yet"), empty when none.
  const std::string& Message() const { return message_; }

  // The pen on the volume under view pixel (x, y): scene-space point and
  // normal, world radius from GeneralPen::PenRadius in pixels at that depth,
  // the current pressure. fromUndo reads the surface as it was before the
  // stroke. False when the ray misses or no scene is set.
  bool PenAt(float x, float y, PenPoint& out, bool fromUndo = false) const;

  const char* GetRoomName() override { return "Voxels"; }
  const char* GetHintId() override { return "VOX_SCULPT_TOOL"; }
  const char* GetSecondHintId() override;
  bool OnLMBDown() override;
  bool OnLMBUp() override;
  bool OnMouseMove() override;
  // The mode's own keys; Enter ends a merge.
  bool OnKey(int key) override;
  void FrameUpdate() override;
  bool WantsFrames() override;
  void Deactivate() override;
  Enumerator* GetToolList() override;
  void OnToolListClick(int i) override;
  bool GetFullBounds(ToolBounds& out) override;
  // The panel is rebuilt when the mode changes: it shows that mode's settings.
  int GetPanelSignature() override { return Mode; }
  void Activate() override;
  // Draws the current mode's overlay; false when the mode has none.
  bool DrawOverlay(comms::cRender& render, const comms::cViewer& camera);
  void BuildPanel(PanelHost* host) override;

  // The scene file's voxel blocks (MC/file/VoxelSceneBlocks.cpp): block 0 is
  // "VOL3", the volume stream of SceneVolumes(); block 1 is "VCSH", the cache
  // files of the scene. Loaded volumes wait until the whole file read
  // cleanly and then go to TakeVolumes.
  std::function<std::vector<VolumeObject*>()> SceneVolumes;
  std::function<void(std::vector<std::unique_ptr<VolumeObject>>&&)> TakeVolumes;
  // With a layer tree: its XML for "VOL3", and on load the volumes with the
  // tree's XML (used instead of TakeVolumes when set).
  std::function<std::string()> SceneTreeXml;
  std::function<void(std::vector<std::unique_ptr<VolumeObject>>&&, const std::string&)> TakeScene;
  int GetBlockCount() override { return 2; }
  uint32_t GetBlockTag() override;
  bool WritesDirect() override { return true; }
  bool SaveBlock(BinStream* stream) override;
  bool LoadBlock(BinStream* stream) override;
  void OnSceneLoaded(bool complete) override;

 private:
  // SCULP_MERGE: merges the held mesh into the volume, once per mirror of
  // the pen's symmetry; invert subtracts. False without a mesh or volume.
  bool MergeHeldMesh(bool invert);
  // The first merge's question, and the volume's new transform on yes.
  void SettleMergeScale();
  // Runs command 50..52 on the volume.
  bool RunCommand(int mode);
  // One frame of the drag: pick, samples to the new point, surface update.
  void StrokeStep(bool force);
  void FinishStroke();
  // Tools that act every frame while the pen is held still.
  bool RunsWhileStill() const;
  // In a volume in surface mode, a mode that is no surface tool gives way.
  void KeepSurfaceTool();

  VoxelSculptStroke stroke_;
  VolumeObject* volume_ = nullptr;
  const comms::cViewer* camera_ = nullptr;
  PressureSource* pressure_ = nullptr;
  std::unique_ptr<PressureSource> mouse_;
  std::string message_;
  float pendingX_ = 0, pendingY_ = 0;
  bool moved_ = false;
  uint32_t strokes_ = 0;
  std::vector<std::unique_ptr<VolumeObject>> loaded_;
  std::string loadedTree_;
  std::vector<std::pair<std::string, std::vector<uint8_t>>> cacheFiles_;
  bool volumesRead_ = false;
  bool mergedInScene_ = false;  // the keep-scale question was settled
  std::map<int, std::unique_ptr<VoxelModeHandler>> handlers_;
};

// Adds the voxel room's tool to the providers of the start-up registration
// (RegisterStandardTools), under "VOX_SCULPT_TOOL".
void RegisterVoxelTools(ToolProviders& providers);
// The registered voxel tool of a table, or null.
VoxelSculptTool* FindVoxelTool(ToolTable& table);
