// The records of the freeze mask and of hidden faces. A tool calls the push
// function before it changes the mask or the faces' Visible bytes, so the
// record holds the state to go back to.
//
// "FRIZ", the freeze mask, face by face with no header: a grid face writes
// one code by its FreezeState, 0 (every Freeze 0), 1 (every Freeze 1) or 2
// followed by Nx * Ny bytes of Freeze * 255; a per-pixel face writes one u16
// Freeze per texel whose tile exists; a face with neither writes nothing.
// The mask thus comes back in steps of 1/255 on grids and exactly in pixels.
//
// "PHID", hidden faces: u32 face count, then Visible of each face as bits,
// low bit first, 32 to a u32, the last word always written.
#pragma once
#include <cstdint>
#include <functional>

#include "ClassEngine/streams/BinStream.h"
#include "paint/undo/BasicUndoMaker.h"

class BasicTool;
class PaintScene;
class UndoStack;

constexpr uint32_t kFreezeUndoTag = FourCC("FRIZ");
constexpr uint32_t kPolyHideUndoTag = FourCC("PHID");

// The tool that is current when a record applies; may give null.
using ActiveToolFn = std::function<BasicTool*()>;

// Marks the blocks that draw the face as out of date (mesh and upload).
void MarkFaceBlocksOutOfDate(PaintScene& scene, int face);

void WriteFreezeUndo(BinStream& out, PaintScene& scene);
bool PushFreezeUndo(UndoStack& stack, PaintScene& scene);
void WritePolyHideUndo(BinStream& out, PaintScene& scene);
bool PushPolyHideUndo(UndoStack& stack, PaintScene& scene);

class FreezeUndo : public BasicUndoMaker {
 public:
  FreezeUndo(UndoStack& stack, PaintScene& scene, ActiveToolFn activeTool = nullptr)
      : stack_(stack), scene_(scene), activeTool_(std::move(activeTool)) {}
  uint32_t GetUndoTag() override { return kFreezeUndoTag; }
  void Apply(BinStream& stream) override;

 private:
  UndoStack& stack_;
  PaintScene& scene_;
  ActiveToolFn activeTool_;
};

class PolyHideUndo : public BasicUndoMaker {
 public:
  // `refresh` runs after faces changed their Visible (the retopology view).
  PolyHideUndo(UndoStack& stack, PaintScene& scene, std::function<void()> refresh = nullptr)
      : stack_(stack), scene_(scene), refresh_(std::move(refresh)) {}
  uint32_t GetUndoTag() override { return kPolyHideUndoTag; }
  void Apply(BinStream& stream) override;

 private:
  UndoStack& stack_;
  PaintScene& scene_;
  std::function<void()> refresh_;
};
