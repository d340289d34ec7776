// The program's undo commands and hooks; see UndoCommands.h.
#include "shell/UndoCommands.h"

#include <filesystem>

#include "ClassEngine/UserPaths.h"
#include "ClassEngine/streams/BackgroundWriter.h"
#include "MC/brushes/VoxelSculptTool.h"
#include "MC/tree/VoxVisualTree.h"
#include "MC/undo/PartsUndo.h"
#include "MC/undo/RowsUndo.h"
#include "MC/undo/VolumeUndo.h"
#include "interface/HotKeys.h"
#include "paint/PenMasks.h"
#include "paint/SceneChanges.h"
#include "paint/scene/PaintScene.h"
#include "paint/tools/PaintBrushTools.h"
#include "paint/undo/PaintStrokeUndo.h"
#include "paint/undo/LayersUndo.h"
#include "paint/undo/MaskUndo.h"
#include "paint/undo/OffsetUndo.h"
#include "paint/undo/ShapeUndo.h"
#include "paint/undo/UndoStack.h"
#include "shell/SceneCommands.h"
#include "shell/Viewport.h"
#include "shell/tools/ToolTable.h"

void InstallUndo(UndoStack& stack, ToolTable& tools, ViewportSeams& view) {
  stack.SetFolder(UserFilePath("UserData/Undo/"));
  stack.ClearUndo();
  stack.RemoveUndoMakers();  // those of an earlier program hold its scene
  PaintScene& scene = ThePaintScene();
  // The records of tools ask the tool that is current when they apply.
  ToolTable* current = &tools;
  ActiveToolFn activeTool = [current] { return current->CurrentTool(); };
  stack.RegisterUndoMaker(std::make_unique<SurfaceUndo>(stack, scene));
  stack.RegisterUndoMaker(std::make_unique<PlanePicUndo>(stack, scene));
  stack.RegisterUndoMaker(std::make_unique<FreezeUndo>(stack, scene, activeTool));
  stack.RegisterUndoMaker(std::make_unique<LayersUndo>(stack, scene));
  stack.RegisterUndoMaker(std::make_unique<VertUndo>(stack, scene, activeTool));
  stack.RegisterUndoMaker(std::make_unique<PolyHideUndo>(stack, scene));
  stack.RegisterUndoMaker(std::make_unique<FullFaceUndo>(stack, scene));
  stack.RegisterUndoMaker(std::make_unique<Offset_Undo>(stack, ThePenMasks().Placement()));
  scene.LayerPanel.Settle();
  VoxelSculptTool* voxels = FindVoxelTool(tools);
  ViewportSeams* v = &view;
  stack.RegisterUndoMaker(std::make_unique<Volume_Undo>(
      stack,
      [v] {
        if (v->Tree()) return v->Tree()->Volumes();
        std::vector<VolumeObject*> list;
        if (VolumeObject* volume = v->Volume()) list.push_back(volume);
        return list;
      },
      [voxels](int tool) {
        if (voxels) voxels->SelectMode(tool);
      }));

  stack.RegisterUndoMaker(std::make_unique<Parts_Undo>(
      stack, [v] { return v->Tree(); },
      [voxels](int tool) {
        if (voxels) voxels->SelectMode(tool);
      }));

  // A step on the layer tree's rows; afterwards the brushes work on the
  // volume current then.
  stack.RegisterUndoMaker(std::make_unique<Rows_Undo>(
      stack, [v] { return v->Tree(); },
      [voxels](int tool) {
        if (voxels) voxels->SelectMode(tool);
      },
      [voxels, v] {
        if (voxels) voxels->SetScene(v->Volume(), &v->Camera());
      }));

  UndoStack* s = &stack;
  if (voxels) {
    voxels->OnRowsStep = [s](RowsStep& step) { step.Push(*s); };
    voxels->OnStrokeEnd = [s, voxels](VolumeObject& volume) { PushVolumeUndo(*s, {&volume}, voxels->Mode); };
    // A merge into separate volumes: one record takes the rows it added away too.
    WireMergeUndo(*voxels, stack, [v] { return v->Tree(); });
  }
  for (int i = 0; i < tools.Count(); ++i)
    if (auto* paint = dynamic_cast<PaintBrushTool*>(tools.At(i)))
      paint->OnStrokeEnd = [s](PaintScene& sc, PaintStroke& stroke) { PushPaintStrokeUndo(*s, sc, stroke); };
  SetLayerUndoStack(&stack);

  // No record may overlap a stroke in progress or a write in flight.
  ToolTable* table = &tools;
  stack.BeforeApply = [table] {
    BackgroundWriter::WaitIdle();
    for (int i = 0; i < table->Count(); ++i) {
      if (auto* paint = dynamic_cast<PaintBrushTool*>(table->At(i))) paint->EndStroke();
      if (auto* vox = dynamic_cast<VoxelSculptTool*>(table->At(i)); vox && vox->Stroking()) vox->Deactivate();
    }
  };

  // Another scene or a new mesh: no record can cross into it.
  auto clearKeepingChanges = [s] {
    const uint8_t changed = ChangedSinceSave;
    s->ClearUndo();
    ChangedSinceSave = changed;
    ThePaintScene().LayerPanel.Settle();  // the next row edit goes back to this stack
  };
  SceneCommands& commands = TheSceneCommands();
  auto load = commands.LoadScene;
  commands.LoadScene = [load, clearKeepingChanges](const std::string& path, bool restoring) {
    if (!load || !load(path, restoring)) return false;
    clearKeepingChanges();
    return true;
  };
  auto import = commands.ImportMesh;
  commands.ImportMesh = [import, clearKeepingChanges](const std::string& path, CommandLineDecision::Action how) {
    if (!import || !import(path, how)) return false;
    if (how == CommandLineDecision::Action::ImportPaintMesh) clearKeepingChanges();
    return true;
  };

  RegisterCommand("EDIT_UNDO", {[s] { s->Undo(); }, [s] { return s->UndoPosition > 0; }});
  RegisterCommand("EDIT_REDO", {[s] { s->Redo(); },
                                [s] { return std::filesystem::exists(s->FileName(s->UndoPosition + 1)); }});
}

std::string TitleWithChanges(const std::string& title, bool changed) { return changed ? title + " *" : title; }
