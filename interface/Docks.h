// Docks: the work area is a tree of DockSpace nodes holding DockableHeader
// windows; the empty leaf of the tree is the 3D view. A header holds named
// windows shown one at a time under tabs. A header dragged by its caption
// floats, and on release docks beside a space or header, or joins a header
// as a tab (Shift or Ctrl held: it stays floating). The arrangement is a
// DocksLayout (CaptureLayout/ApplyLayout), stored per room as
// "Temp/page_%d.xml" in the user folder.
#pragma once
#include <string>

#include "ClassEngine/ClassArray.h"
#include "interface/AppOptions.h"
#include "interface/Widgets.h"

class DockSpace : public BaseWidget {
 public:
  int Ordering = -1;  // -1 undecided; 0 top, 1 left, 2 bottom, 3 right
  MV_CLASS(DockSpace, BaseWidget) {}
  DockSpace() { Flags |= kWfPassThrough; }
  // The view leaf: a space with no children.
  bool IsView() const { return Children.GetAmount() == 0; }
};

class DockableHeader : public FrameWidget {
 public:
  static constexpr float kCaption = 32;
  _str Current;  // the name of the shown tab
  MV_CLASS(DockableHeader, FrameWidget) {}
  DockableHeader();
  // Shows the window named `name`, hides the others; false if none is.
  bool ShowTab(const char* name);
  // The caption's events: a press starts a drag, moves drag, a release drops.
  bool OnPress();
  bool OnDrag();
  bool OnRelease();
  bool OnCaptionDraw();

 private:
  float grabX_ = 0, grabY_ = 0;
};

// "DOCKBASE": a floating frame made when a header is dropped on the side of
// another floating one. It holds a DockSpace (Margin inside each edge) with
// the headers side by side, grows to fit them, and goes when fewer than two
// are left.
class DockBase : public BaseWidget {
 public:
  static constexpr float kMargin = 6;
  MV_CLASS(DockBase, BaseWidget) {}
  DockBase();
  DockSpace* Space() const;
  bool OnDraw();
};

class DockWindowName : public BaseClass {
 public:
  _str Name;
  MV_CLASS(DockWindowName, BaseClass) { Member("_str", Name, "Name"); }
};

class DockLayoutElement : public BaseClass {
 public:
  int Ordering = -1;  // -2 for a header
  float X = 0, Y = 0, Width = 0, Height = 0;
  ClassArray<DockLayoutElement> SubDocks;
  _str CurrElement;
  ClassArray<DockWindowName> WindowsNames;
  MV_CLASS(DockLayoutElement, BaseClass);
};

class DocksLayout : public DockLayoutElement {
 public:
  MV_CLASS(DocksLayout, DockLayoutElement) {}
};

// Where a drop would go: a space or a header, a side (-1: join as tabs) and
// the rectangle to highlight.
struct DockTarget {
  BaseWidget* Target = nullptr;
  int Side = -1;
  float Rect[4] = {0, 0, 0, 0};
};

class Docks {
 public:
  // `root` holds the floating windows, and the dock root covers the work area.
  Docks(BaseWidget& root, float x, float y, float w, float h);
  // The dock tree and every header go with the docks.
  ~Docks();
  Docks(const Docks&) = delete;
  Docks& operator=(const Docks&) = delete;
  DockSpace* DockRoot() const { return dockRoot_; }
  BaseWidget& Root() const { return root_; }
  DockSpace* ViewLeaf() const;
  // Positions every child of the tree from the stored sizes; the view leaf
  // takes what is left.
  void Arrange();
  void Resize(float x, float y, float w, float h);

  void Capture(DocksLayout& out) const;
  void Apply(DocksLayout& layout);

  // A new floating header holding `window` (which takes its name).
  DockableHeader* Float(BaseWidget* window, float x, float y, float w, float h);
  DockTarget FindTarget(const DockableHeader* dragged, float x, float y) const;
  // Docks `dragged` at the target; false (left floating) for no target.
  bool Drop(DockableHeader* dragged, const DockTarget& target);
  // A new DOCKBASE frame around the floating `target` (which keeps its
  // place), with `dragged` docked on `side` of it.
  DockBase* DockBeside(DockableHeader* dragged, DockableHeader* target, int side);

  // The places of the floating headers, by the name of their shown window,
  // and back: a floating header whose window a row names moves there.
  void CaptureFloating(ClassArray<WindowPos>& out) const;
  void PlaceFloating(const ClassArray<WindowPos>& rows);

  // The room's arrangement to and from the user folder.
  bool SavePage(int room);
  bool LoadPage(int room);
  // Saves the page of the room that is left and loads the new one's.
  void SwitchRoom(int room);
  int Room() const { return room_; }
  // Takes the arrangement as it stands as the page of `room` (no file read).
  void AdoptRoom(int room) { room_ = room; }

 private:
  void CaptureNode(const DockSpace* s, DockLayoutElement& e) const;
  void BuildNode(DockSpace* s, DockLayoutElement& e, std::vector<BaseWidget*>& windows);
  void ArrangeNode(BaseWidget* s);
  // Lays out the DOCKBASE frames; one with fewer than two headers is taken
  // apart and what it held floats where it was.
  void ArrangeDockBases();

  BaseWidget& root_;
  DockSpace* dockRoot_;
  int room_ = -1;
};

// The program's docks, null until the shell made them.
Docks*& TheDocks();
