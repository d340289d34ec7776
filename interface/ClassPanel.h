// The panel generator: BuildClassPanel walks a reflected object's editable
// rows and makes a widget row for each member by the member's class (check
// box, slider, combo box, text field, colour swatch, button, folder). A row
// writes straight into the member, then calls the owner's OnChange and sends
// kEvChanged to the panel: no glue code sits between a setting and its row.
// Panels are rebuilt, not updated; a ScrollPanel keeps its scroll position by
// name across rebuilds.
#pragma once
#include <string>

#include "interface/Widgets.h"

// The scale of world units in "%" rows (the pen's measure scale; 1 until the
// paint room sets it).
float& WorldUnitScale();

// Pixel metrics of generated panels, in interface units.
constexpr float kRowHeight = 18;
constexpr float kIndentStep = 16;

// One generated row: the member it edits and what to tell after an edit.
class ClassRow : public BaseWidget {
 public:
  BaseClass* Owner = nullptr;  // the object holding the member
  BaseClass* Class = nullptr;  // the member's class
  void* Ptr = nullptr;
  void* Extra = nullptr;
  std::string MemberName;  // as registered, prefixes and all
  bool WorldUnits = false;
  bool ReadOnly = false;
  WidgetHandle Panel;
  FrameWidget* Field = nullptr;  // the value text of text-field rows

  MV_CLASS(ClassRow, BaseWidget) {}
  // The value as text (world units applied for "%" rows).
  std::string ValueText() const;
  // Parses `text` into the member, kept inside a slider's range; on failure
  // the old value comes back and false is returned.
  bool CommitText(const std::string& text);
  // After an edit: OnChange of the owner, kEvChanged to the panel.
  bool Changed();
  bool OpenTextEntry();
  // A slider member's value brought inside its range.
  void ClampToRange();
  bool CallMethod();
  bool ClearTexture();
  bool OpenColorPicker();
  bool AddElement();
  TextEntry* Entry() const { return entry_.Get() ? static_cast<TextEntry*>(entry_.Get()) : nullptr; }

  int AddIndex = -1;  // the class picked in an "add..." row
  std::vector<std::string> AddClasses;

 private:
  WidgetHandle entry_;
};

// A panel of generated rows for one object; rebuilds itself on its next draw
// when asked to, or when its width changed.
class ClassPanel : public BaseWidget {
 public:
  BaseClass* Object = nullptr;
  MV_CLASS(ClassPanel, BaseWidget) {}
  ClassPanel();
  void Rebuild();
  bool RequestRebuild();
  bool OnDraw();
  int Builds() const { return builds_; }

 private:
  bool rebuild_ = true;
  float builtWidth_ = -1;
  int builds_ = 0;
};

// A clipped panel with a scroll bar around one content widget.
class ScrollPanel : public PanelWidget {
 public:
  MV_CLASS(ScrollPanel, PanelWidget) {}
  ScrollPanel() : ScrollPanel("") {}
  explicit ScrollPanel(const char* name);
  // Takes the content (placed first) and restores the kept scroll position.
  void SetContent(BaseWidget* content);
  VScroller* Scroller() const { return scroller_; }
  BaseWidget* Content() const { return Children.GetAmount() > 1 ? Children[0] : nullptr; }
  bool OnWheel();

 private:
  VScroller* scroller_ = nullptr;
};

// Builds rows into `parent`. rect: x, y, width and height; the height grows
// by the rows made. `name` and `owner` describe this row's member, `cls`,
// `object` and `extra` its value; a compound with an empty name is walked
// row by row.
void BuildClassPanel(BaseWidget* parent, float rect[4], const char* name, BaseClass* owner, BaseClass* cls,
                     void* object, void* extra);

// Rows for panels written by hand.
TextWidget* AddLabelRow(BaseWidget* parent, float rect[4], const char* key);
CheckBox* AddCheckRow(BaseWidget* parent, float rect[4], const char* key, bool* value);
SimpleSlider* AddSliderRow(BaseWidget* parent, float rect[4], const char* key, float* value, float min, float max);
