// The material pattern's offset record (see OffsetUndo.h).
#include "paint/undo/OffsetUndo.h"

#include "ClassEngine/Log.h"
#include "ClassEngine/streams/MemoryBinStream.h"
#include "paint/MaterialPattern.h"
#include "paint/file/BlockCoding.h"
#include "paint/undo/UndoStack.h"

namespace {
void WriteOffset(BinStream& out, const MaterialPattern& pattern) {
  BlockWriter w(out);
  w.U32(kOffsetUndoTag);
  w.F32(pattern.OffsetX), w.F32(pattern.OffsetY);
}
}  // namespace

bool PushOffsetUndo(UndoStack& stack, const MaterialPattern& pattern) {
  MemoryBinStream s;
  WriteOffset(s, pattern);
  return stack.PushUndoRecord(s);
}

void Offset_Undo::Apply(BinStream& in) {
  const int64_t size = in.Size();
  BlockReader r(in, size);
  r.Enter("OFST", size);
  const float x = r.F32(), y = r.F32();
  if (!r.Ok()) {
    Log("Offset_Undo::Apply(): damaged record (%s); left unapplied", r.Error().c_str());
    return;
  }
  if (stack_.InverseWanted()) {
    MemoryBinStream inverse;
    WriteOffset(inverse, pattern_);
    stack_.PushUndoRecord(inverse);
  }
  pattern_.OffsetX = x, pattern_.OffsetY = y;
}
