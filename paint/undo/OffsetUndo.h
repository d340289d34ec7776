// "OFST": the material pattern's offset on the screen, two f32 (x, y),
// written before a gesture moves the pattern. Applying it writes the present
// offset as the inverse and puts the recorded one back.
#pragma once
#include <cstdint>

#include "ClassEngine/streams/BinStream.h"
#include "paint/undo/BasicUndoMaker.h"

struct MaterialPattern;
class UndoStack;

constexpr uint32_t kOffsetUndoTag = FourCC("OFST");

// The record of the pattern's offset as it stands.
bool PushOffsetUndo(UndoStack& stack, const MaterialPattern& pattern);

class Offset_Undo : public BasicUndoMaker {
 public:
  Offset_Undo(UndoStack& stack, MaterialPattern& pattern) : stack_(stack), pattern_(pattern) {}
  uint32_t GetUndoTag() override { return kOffsetUndoTag; }
  void Apply(BinStream& stream) override;

 private:
  UndoStack& stack_;
  MaterialPattern& pattern_;
};
