// The widget classes: text, framed buttons, texture cells, panels, sliders,
// menus and combo boxes, folders, the scroll bar, check boxes, the text entry
// box and the colour picker. Each binds its own callbacks in its constructor
// and reports an edit by sending kEvChanged to itself, so whoever owns the
// value (a generated row, a hand-written panel) listens there.
#pragma once
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "interface/Callbacks.h"

class Enumerator;

class TextWidget : public BaseWidget {
 public:
  _str Text;
  float FontSize = 12;
  bool Centered = false;
  uint32_t TextColor = 0;  // 0: the theme's
  MV_CLASS(TextWidget, BaseWidget) { Member("_str", Text, "Text"); }
  TextWidget();
  TextWidget(const char* text, float x, float y, float w, float h);
  virtual bool OnDraw();
};

// A framed rectangle or button. Corners: bit mask of rounded corners (drawn
// square here, kept for the themes that round them).
class FrameWidget : public TextWidget {
 public:
  uint32_t Fill = 0, FrameColor = 0, HighlightColor = 0;
  int Corners = 0;
  int IconCell = -1;
  MV_CLASS(FrameWidget, TextWidget) {}
  FrameWidget();
  FrameWidget(const char* text, float x, float y, float w, float h);
  bool OnDraw() override;
};

class DrawTexRect : public BaseWidget {
 public:
  int Texture = -1;
  float U0 = 0, V0 = 0, U1 = 1, V1 = 1;
  int Shader = -1;
  MV_CLASS(DrawTexRect, BaseWidget) {}
  DrawTexRect();
  // Cell `index` of a sheet of columns x rows; texture 0 is the current icon
  // sheet, -1 textures/icons/smallicons.dds.
  void SetCell(int texture, int index, int columns, int rows);
  bool OnDraw();
};

class PanelWidget : public BaseWidget {
 public:
  MV_CLASS(PanelWidget, BaseWidget) {}
  PanelWidget();
  bool OnDraw();
};

// A horizontal slider over a float or an int somebody else owns.
class SimpleSlider : public BaseWidget {
 public:
  enum Kind { kFloat = 0, kInt = 1 };
  void* Value = nullptr;
  float Min = 0, Max = 1;
  _str Label;
  _str Format;  // printf form of the value, "%.2f" or "%d" when empty
  int ValueKind = kFloat;
  MV_CLASS(SimpleSlider, BaseWidget) {}
  SimpleSlider();
  float Get() const;
  void Set(float v);  // clamps, stores, sends kEvChanged when it moved
  bool OnDraw();
  bool OnPress();
  bool OnMove();
  // A double click edits the value as text: the first click of the pair must
  // not have moved it, so the value from before that click comes back.
  bool OnDoubleClick();
  // Presses closer together than this are one double click.
  static constexpr uint32_t kDoubleClickMs = 500;

 private:
  float beforeClicks_ = 0;
  uint32_t lastPressTick_ = 0;
  bool pressedOnce_ = false;
};

class CheckBox : public FrameWidget {
 public:
  bool* Value = nullptr;
  int IconTexture = -1;  // an icon toggle when set: cells 0 (off) and 1 (on)
  MV_CLASS(CheckBox, FrameWidget) {}
  CheckBox();
  bool OnDraw() override;
  bool Toggle();
};

// A vertical list of items; a click picks one. An item written "*Title"
// heads the group below it and cannot be picked. A list taller than the
// screen wraps into columns of `Rows` items each.
class TextMenu : public BaseWidget {
 public:
  std::vector<std::string> Items;
  int* Selected = nullptr;
  int Rows = 0;  // items per column; 0: one column of them all
  MV_CLASS(TextMenu, BaseWidget) {}
  TextMenu();
  // Takes the items; the list grows to hold them, as wide as the longest.
  void SetItems(const std::vector<std::string>& items);
  // Wraps the items into columns of at most `height` pixels, each `columnW`
  // wide, and sizes the list to them.
  void FitColumns(float height, float columnW);
  int ItemAt(float x, float y) const;
  bool OnDraw();
  bool OnClick();
};

// A closed box showing the selected item; a click opens the list as a popup.
class ComboBox : public TextMenu {
 public:
  MV_CLASS(ComboBox, TextMenu) {}
  ComboBox();
  // Items from an enumerator's names (translated); Selected holds the value.
  void SetEnumerator(Enumerator* e);
  bool OnDrawBox();
  bool Open();
  bool Picked();
  TextMenu* Popup() const { return popup_; }

 private:
  Enumerator* enumerator_ = nullptr;
  std::vector<int> values_;
  int pickedIndex_ = -1;
  TextMenu* popup_ = nullptr;
};

// A collapsible section. Its open state is kept by name across rebuilds; a
// toggle asks the panel around it to rebuild.
class WidgetsFolder : public TextWidget {
 public:
  bool Open = true;
  BaseWidget* Body = nullptr;
  MV_CLASS(WidgetsFolder, TextWidget) {}
  WidgetsFolder() : WidgetsFolder("", "", 100, true) {}
  WidgetsFolder(const char* name, const char* caption, float width, bool openByDefault);
  bool OnDraw() override;
  bool Toggle();
};
// Open states of folders by name.
bool FolderOpen(const std::string& name, bool fallback);
void SetFolderOpen(const std::string& name, bool open);
// Every folder state kept (the options store them).
const std::map<std::string, bool>& FolderStates();

// The vertical scroll bar of its parent: moves the parent's first child (the
// content) up by the scroll position. Positions are kept by the parent's name.
class VScroller : public BaseWidget {
 public:
  float ScrollParam = 18;  // step of a wheel notch
  float Pos = 0;
  MV_CLASS(VScroller, BaseWidget) {}
  VScroller();
  bool OnDraw();
  bool OnPress();
  bool OnWheel();
  void ScrollTo(float pos);
  float ContentHeight() const;
};
// Scroll positions by panel name.
float ScrollPosition(const std::string& name);
void SetScrollPosition(const std::string& name, float pos);
const std::map<std::string, float>& ScrollPositions();

// The EnterString window: a one-line edit box. Enter commits through
// OnCommit (false: the entry is refused and the box shows the old text),
// Esc cancels.
class TextEntry : public FrameWidget {
 public:
  std::string Edit;
  // The text opens selected: the first character typed replaces it, and
  // Backspace clears it; an arrow or Home keeps it to edit.
  bool Selected = true;
  std::function<bool(const std::string&)> OnCommit;
  MV_CLASS(TextEntry, FrameWidget) {}
  TextEntry();
  bool OnKey();
  bool OnChar();
  bool Commit();
  bool OnDraw() override;
};

// A popup of four sliders over a packed 0xAARRGGBB colour.
class ColorPicker : public PanelWidget {
 public:
  uint32_t* Target = nullptr;
  int Channels[4] = {0, 0, 0, 0};  // a, r, g, b
  MV_CLASS(ColorPicker, PanelWidget) {}
  ColorPicker() : ColorPicker(nullptr) {}
  explicit ColorPicker(uint32_t* target);
  bool ChannelChanged();
  bool DrawSwatch();
};

// Extra event numbers of typed characters: the router sends them to key focus.
constexpr int kEvChar = 0x102;
// The character of the kEvChar being handled.
int& CurrentChar();
