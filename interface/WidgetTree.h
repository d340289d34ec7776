// The interface tree's two hosts in one object: the router that turns layer
// events into tree events (hit list, Pressed, key focus, navigation, the
// current tool's keys, one undo gesture from a press to its release) and the
// frame that lays the tree out and draws it in passes (normal, then OnTop),
// with scissors for clipping widgets and the bottom hint line.
#pragma once
#include <functional>
#include <string>
#include <vector>

#include "interface/Widget.h"

// The navigation rows and the tools' keys, which live above the interface.
struct RouterHooks {
  // Navigation: a key (or a button with its key number) down or up; true if taken.
  std::function<bool(int key, bool down)> Navigation;
  // True while a camera drag runs: a left release then goes nowhere else.
  std::function<bool()> CameraDragging;
  // The current tool's OnKey and second query, then those of the others.
  std::function<bool(int key)> ToolKeys;
  std::function<void()> ToggleFullScreen;  // Alt+Enter
  std::function<void()> ReloadShaders;     // Ctrl+Alt+Shift+Q
  std::function<void()> OpenClassExplorer;  // Ctrl+Alt+Shift+E
  // Hot keys before navigation and tools: the in-place editor and the
  // bound commands; true if the key was taken.
  std::function<bool(int key, bool down)> HotKeys;
  // The hot key text of a command for "$NAME" in hints; empty if unknown.
  std::function<std::string(const std::string& command)> CommandHotKey;
};

class WidgetTree {
 public:
  WidgetTree();
  BaseWidget& Root() { return *root_; }
  RouterHooks& Hooks() { return hooks_; }

  // Router entry points. `message` is a window message number (Widget.h);
  // keys are this program's key numbers. True when consumed.
  bool OnPointer(int message, float x, float y, float wheel = 0);
  bool OnKey(int message, int key);
  void SetModifiers(bool ctrl, bool alt, bool shift);
  bool Ctrl() const { return ctrl_; }
  bool Alt() const { return alt_; }
  bool Shift() const { return shift_; }

  // One frame: clean-up, layout, draw, hint line.
  void Frame(int screenW, int screenH, uint32_t tick);
  void CleanUp() { BaseWidget::CleanUp(root_.get()); }
  void Layout();
  void Draw();

  // Hit test at a point into HitList(); returns the topmost widget.
  BaseWidget* HitTest(float x, float y);
  const std::vector<BaseWidget*>& HitList() const { return hits_; }
  int CursorId() const { return cursor_; }
  const std::string& HintLine() const { return hint_; }
  // The hint with "$COMMAND" replaced by "[hot key]", word-wrapped to width.
  std::string ExpandHint(const std::string& hint) const;
  BaseWidget* ModalRoot();

 private:
  void HitWidget(BaseWidget* w, float x, float y, bool onTop, bool parentClips);
  void LayoutWidget(BaseWidget* w, float parentX, float parentY);
  void DrawWidget(BaseWidget* w, bool onTopPass, bool insideOnTop);
  void ClosePopups(BaseWidget* w);
  bool OfferKeyToWidgets(BaseWidget* w, bool focusOnly);
  void FindCursorAndHint();
  void WrapHint(const std::string& text, float maxWidth);

  std::unique_ptr<BaseWidget> root_;
  RouterHooks hooks_;
  std::vector<BaseWidget*> hits_;
  std::vector<BaseWidget*> keyOrder_;
  std::vector<WidgetHandle> pressed_;
  std::vector<float> clipStack_;
  std::string hint_, wrappedFrom_;
  std::vector<std::string> wrapped_;
  int cursor_ = -1;
  bool ctrl_ = false, alt_ = false, shift_ = false;
};

// The shapes of the cursor ids 0..10 and -2 (system cursor numbers, -1 none).
int CursorShape(int id);

// The program's interface tree.
WidgetTree& TheWidgetTree();
