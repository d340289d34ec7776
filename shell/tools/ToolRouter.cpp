// Routing of the scene widget's events to the tools; see ToolRouter.h.
#include "shell/tools/ToolRouter.h"

#include "platform/Keys.h"

namespace {
using Hook = bool (BasicTool::*)();

struct ButtonHooks {
  Hook down, up, dbl;
};

ButtonHooks HooksOf(int key) {
  switch (key) {
    case keys::RightButton:
      return {&BasicTool::OnRMBDown, &BasicTool::OnRMBUp, &BasicTool::OnRMBDouble};
    case keys::MiddleButton:
      return {&BasicTool::OnMMBDown, &BasicTool::OnMMBUp, &BasicTool::OnMMBDouble};
    default:
      return {&BasicTool::OnLMBDown, &BasicTool::OnLMBUp, &BasicTool::OnLMBDouble};
  }
}
}  // namespace

void ToolRouter::UpdateStraightLine() {
  BasicTool* tool = table_.CurrentTool();
  ToolPointer& p = Pointer();
  if (!tool->TakesShift() && tool->TakesShiftForLine() && p.Shift && p.StraightLine == 0)
    p.StraightLine = 1;
}

bool ToolRouter::Button(int key, bool down, bool doubleClick) {
  BasicTool* current = table_.CurrentTool();
  ButtonHooks hooks = HooksOf(key);
  // Every button goes the same road; the stroke hooks read the button states
  // from Pointer(), and stay out while the tool has taken the pointer over.
  bool strokes = !current->CapturesPointer();
  if (down) {
    if (key == keys::LeftButton) UpdateStraightLine();
    if (doubleClick) return (current->*hooks.dbl)();
    for (int i = 0; i < table_.Count(); ++i) {
      BasicTool* t = table_.At(i);
      if (t->Background && (t->*hooks.down)()) return true;
    }
    if (strokes && strokes_.Start) strokes_.Start();
    return (current->*hooks.down)();
  }
  for (int i = 0; i < table_.Count(); ++i) {
    BasicTool* t = table_.At(i);
    if (t->Background && (t->*hooks.up)()) return true;
  }
  if (strokes && strokes_.End) strokes_.End();
  bool taken = (current->*hooks.up)();
  if (key == keys::LeftButton) Pointer().StraightLine = 0;
  return taken;
}

bool ToolRouter::OnKeyChange(int key, bool down, bool doubleClick) {
  if (blocked_) return false;
  ToolPointer& p = Pointer();
  switch (key) {
    case keys::LeftButton:
      p.Left = down;
      return Button(key, down, doubleClick);
    case keys::RightButton:
      p.Right = down;
      return Button(key, down, doubleClick);
    case keys::MiddleButton:
      p.Middle = down;
      return Button(key, down, doubleClick);
    default:
      break;
  }
  if (key == keys::Shift) {
    p.Shift = down;
    if (down) UpdateStraightLine();
  } else if (key == keys::Control) {
    p.Ctrl = down;
  } else if (key == keys::Alt) {
    p.Alt = down;
  }
  if (down) p.LastKey = key;
  return false;
}

bool ToolRouter::OnPointerMove(float x, float y) {
  if (blocked_) return false;
  ToolPointer& p = Pointer();
  p.PrevX = p.X;
  p.PrevY = p.Y;
  p.X = x;
  p.Y = y;
  BasicTool* current = table_.CurrentTool();
  if (!current->CapturesPointer() && strokes_.Move) strokes_.Move();
  for (int i = 0; i < table_.Count(); ++i) {
    BasicTool* t = table_.At(i);
    if (t->Background && t->OnMouseMove()) return true;
  }
  return current->OnMouseMove();
}
