// The scene widget's road to the tools: the only place where pointer events
// become tool calls. Background tools see a press first; the common stroke
// hooks of the pen run around the current tool's own handler; Shift may start
// a straight-line stroke; other keys become the frame's last key.
#pragma once
#include <functional>

#include "shell/tools/ToolTable.h"

// The pen's common hooks (stroke start, end, motion); the paint layer fills them.
struct StrokeHooks {
  std::function<void()> Start;
  std::function<void()> End;
  std::function<void()> Move;
};

class ToolRouter {
 public:
  explicit ToolRouter(ToolTable& table) : table_(table) {}

  // A key or button change over the view (key numbers of platform/Keys.h).
  // True when a tool took it.
  bool OnKeyChange(int key, bool down, bool doubleClick);
  // Pointer motion over the view.
  bool OnPointerMove(float x, float y);

  // A blocked scene widget passes nothing on.
  void SetBlocked(bool blocked) { blocked_ = blocked; }
  bool Blocked() const { return blocked_; }
  StrokeHooks& Strokes() { return strokes_; }

 private:
  bool Button(int key, bool down, bool doubleClick);
  void UpdateStraightLine();

  ToolTable& table_;
  StrokeHooks strokes_;
  bool blocked_ = false;
};
