// BaseWidget: one node of the interface tree, drawn by the program itself
// through cRender. A widget owns its children and its callbacks; behaviour is
// attached as callbacks bound to events (Callbacks.h), so the generated panels
// need no per-row code. Positions are relative to the parent; the layout pass
// (WidgetFrame.h) works out the screen positions each frame.
#pragma once
#include <cstdint>
#include <memory>

#include "ClassEngine/ClassArray.h"
#include "ClassEngine/MemberClasses.h"

class WBaseCallback;

// Flags bits.
enum WidgetFlags : uint32_t {
  kWfDeleted = 1u << 0,
  kWfVisible = 1u << 1,
  kWfHoverOpen = 1u << 2,
  kWfClip = 1u << 3,
  kWfHover = 1u << 4,
  kWfKeyFocus = 1u << 5,
  kWfHitOutside = 1u << 6,
  kWfTakesHint = 1u << 7,
  kWfPressed = 1u << 8,
  kWfFullScissor = 1u << 10,
  kWfPassThrough = 1u << 11,  // never hit itself (a dock space over the view); its children are
};

// Layout bits.
enum WidgetLayout : uint32_t {
  kLayAutoWidth = 1u << 0,
  kLayAutoHeight = 1u << 1,
  kLayModal = 1u << 2,
  kLayOnTop = 1u << 3,
  kLayKeepOpen1 = 1u << 4,
  kLayKeepOpen2 = 1u << 5,
  kLayNoAutoSize = 1u << 9,
};

// Event numbers: the window system's message numbers and a few of our own.
enum WidgetEvent : int {
  kEvDraw = 0xf,
  kEvKeyDown = 0x100,
  kEvKeyUp = 0x101,
  kEvMove = 0x200,
  kEvLDown = 0x201,
  kEvLUp = 0x202,
  kEvLDouble = 0x203,
  kEvRDown = 0x204,
  kEvRUp = 0x205,
  kEvRDouble = 0x206,
  kEvMDown = 0x207,
  kEvMUp = 0x208,
  kEvMDouble = 0x209,
  kEvWheel = 0x20a,
  kEvChanged = 0x12340001,
  kEvDrawHovered = 0x12340002,
  kEvDropped = 0x12340006,
  kEvDropOffer = 0x12340008,
  kEvDialogClose = 0x12340009,
};

// A weak reference to a widget: empty once the widget is destroyed.
class WidgetHandle {
 public:
  WidgetHandle() = default;
  class BaseWidget* Get() const { return alive_.expired() ? nullptr : widget_; }
  bool IsSet() const { return widget_ != nullptr; }

 private:
  friend class BaseWidget;
  std::weak_ptr<char> alive_;
  class BaseWidget* widget_ = nullptr;
};

class BaseWidget : public BaseClass {
 public:
  _str Name;
  ClassArray<BaseWidget> Children;
  uint32_t Flags = kWfVisible | kWfHoverOpen;
  int LastShown = 0;
  int LastAway = 0;
  int TouchHeight = -1;
  float X = 0, Y = 0, W = 0, H = 0;
  float PadLeft = 0, PadRight = 0, PadTop = 0, PadBottom = 0;
  uint32_t Layout = 0;
  int Cursor = -1;
  float AbsX = -1000, AbsY = -1000;
  uint32_t Color = 0xff808080u;
  _str Hint;
  uint8_t IsPopup = 0;
  float PopupX = 0, PopupY = 0;
  ClassArray<WBaseCallback> Callbacks;

  MV_CLASS(BaseWidget, BaseClass) {
    Member("_str", Name, "Name");
    Member("_float", X, "X");
    Member("_float", Y, "Y");
    Member("_float", W, "W");
    Member("_float", H, "H");
    Member("_color", Color, "Color");
  }
  BaseWidget();
  ~BaseWidget() override;
  BaseWidget(const BaseWidget&) = delete;
  BaseWidget& operator=(const BaseWidget&) = delete;

  // Binds a click to the widget; the default does nothing.
  virtual void SetClickAction(BaseWidget* /*target*/) {}
  // The widget that stands for this one when docked (a header answers its dock).
  virtual BaseWidget* Self() { return this; }
  // A drag that started here ended.
  virtual void OnDragEnd() {}

  // Appends (taking ownership), sets the parent and places the child at once.
  BaseWidget* AddChild(BaseWidget* child);
  template <class T>
  T* Add(T* child) {
    AddChild(child);
    return child;
  }
  // Adds a callback for `event`. replaceAll removes every callback of this
  // event with the same function first; otherwise only those with the same
  // function and the same arguments.
  WBaseCallback* AddCallback(int event, WBaseCallback* callback, bool replaceAll = false);
  // Runs this widget's callbacks of `event`; true when one took it.
  bool SendEvent(int event);
  BaseWidget* FindWidget(const char* name, bool deep = true);
  // The translated text of `key`; empty for a null or empty key.
  void SetHint(const char* key);
  // Marks this widget and its children deleted and invisible; the clean-up
  // at the start of the next frame removes them.
  void Delete();
  // Removes the deleted children, recursively; false while locked.
  static bool CleanUp(BaseWidget* root);

  BaseWidget* ParentWidget() const { return parent_; }
  bool Visible() const { return (Flags & kWfVisible) && !(Flags & kWfDeleted); }
  void SetVisible(bool on) { Flags = on ? (Flags | kWfVisible) : (Flags & ~kWfVisible); }
  bool Has(uint32_t flag) const { return (Flags & flag) != 0; }
  bool Inside(float x, float y) const { return x >= AbsX && x < AbsX + W && y >= AbsY && y < AbsY + H; }
  bool IsDescendantOf(const BaseWidget* ancestor) const;
  WidgetHandle Handle() const;
  // Places the children from this widget's AbsX/AbsY (no auto-size).
  void PlaceChildren();

 private:
  BaseWidget* parent_ = nullptr;
  std::shared_ptr<char> alive_;
};

// Main-thread state of the widget machinery, one per program.
struct WidgetGlobals {
  BaseWidget* Current = nullptr;  // the widget whose callbacks run
  bool StopFlag = false;          // a handler ends the dispatch walk
  bool AbortFlag = false;         // a handler ends the callback walk
  bool CleanupLock = false;
  bool CleanupRequested = false;
  bool InCleanup = false;         // event handling is off meanwhile
};
WidgetGlobals& Widgets();
