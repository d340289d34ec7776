// The paint room's stroke records. A stroke collects the start state of what
// it touched (a FaceBackup per grid face and layer, an undo copy per layer
// tile) and at pen-up becomes one record: "MESH" when it reached grid faces
// (the pen's picks, the faces' samples, then any tiles), "SUPL" when it
// painted tiles only. Applying a record reads it whole first (a damaged one
// changes nothing), writes the present state of the same faces and tiles as
// the inverse, puts the samples back, prunes what was empty before,
// recomposes, and puts the pen's picks back.
#pragma once
#include <cstdint>

#include "ClassEngine/streams/BinStream.h"
#include "paint/undo/BasicUndoMaker.h"

class PaintScene;
class PaintStroke;
class UndoStack;

constexpr uint32_t kSurfaceUndoTag = FourCC("MESH");
constexpr uint32_t kPlanePicUndoTag = FourCC("SUPL");

// Writes the stroke's record into `out`; false when it touched nothing.
bool WritePaintStrokeUndo(BinStream& out, PaintScene& scene, const PaintStroke& stroke);
// The same, handed to the stack (the stroke's OnEnd at pen-up).
bool PushPaintStrokeUndo(UndoStack& stack, PaintScene& scene, const PaintStroke& stroke);

// "MESH": u32 flag (1: undo writes a redo record), the picks (580 bytes),
// i32 current layer, u32 0 (no layer text), u32 face count, each face in
// the 120-byte form of SampleCoding.h with its samples and freeze values,
// then the composite's normals of each face in the same order, then tiles
// as "SUPL" writes them, closed by a u32 0.
class SurfaceUndo : public BasicUndoMaker {
 public:
  SurfaceUndo(UndoStack& stack, PaintScene& scene) : stack_(stack), scene_(scene) {}
  uint32_t GetUndoTag() override { return kSurfaceUndoTag; }
  void Apply(BinStream& stream) override;

 private:
  UndoStack& stack_;
  PaintScene& scene_;
};

// "SUPL": tiles only.
class PlanePicUndo : public BasicUndoMaker {
 public:
  PlanePicUndo(UndoStack& stack, PaintScene& scene) : stack_(stack), scene_(scene) {}
  uint32_t GetUndoTag() override { return kPlanePicUndoTag; }
  void Apply(BinStream& stream) override;

 private:
  UndoStack& stack_;
  PaintScene& scene_;
};
