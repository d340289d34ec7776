// The kind of object that brings one kind of undo record back: a stateless
// maker per four-character tag. The stack reads the tag at the head of a file
// and hands the rest of the stream to every maker registered with that tag.
// A maker's Apply writes the record that reverses it (through
// PushUndoRecord) before it changes anything; the stack sends that record to
// the other side, so undo and redo are one machinery seen from two ends.
// Rooms that come later add their makers with RegisterUndoMaker.
#pragma once
#include <cstdint>

class BinStream;

class BasicUndoMaker {
 public:
  virtual ~BasicUndoMaker() = default;
  // The tag of the records this maker applies; 0 claims none.
  virtual uint32_t GetUndoTag() { return 0; }
  // Applies a record whose read position stands behind the tag.
  virtual void Apply(BinStream& stream) { (void)stream; }
};
