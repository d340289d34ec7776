// The panel generator: one member of every kind gives the right widgets,
// labels and hints; edits reach the member and OnChange once; a failed entry
// restores the old text; rebuilt panels keep their scroll position.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ClassEngine/Enumerator.h"
#include "WidgetTestKit.h"
#include "interface/ClassPanel.h"
#include "interface/TextTable.h"
#include "platform/Keys.h"

namespace {
class PanelPart : public BaseClass {
 public:
  int Inner = 4;
  MV_CLASS(PanelPart, BaseClass) { Member("_int", Inner, "Inner"); }
};

class EveryKind : public BaseClass {
 public:
  bool Enabled = false;
  int Count = 5;
  float Size = 1.5f;
  _str Title;
  int Mode = 1;
  uint32_t Tint = 0xff102030u;
  float Soft = 0.25f;
  int Steps = 10;
  int Picture = 7;
  float Reach = 2.0f;
  int Fixed = 3;
  int Bare = 8;
  int Quiet = 1;
  PanelPart Part;
  int changes = 0, pokes = 0;
  std::string lastChanged;

  MV_CLASS(EveryKind, BaseClass) {
    AddDelimiter("SECTION");
    AddDelimiter("");
    Member("_bool", Enabled, "Enabled");
    Member("_int", Count, "Count");
    Member("_float", Size, "Size");
    Member("_str", Title, "Title");
    Member("_index", Mode, "Mode", Modes());
    Member("_color", Tint, "Tint");
    Member("CtrlFSlider", Soft, "Soft", NewFloatSliderRange(0, 1));
    Member("CtrlISlider", Steps, "Steps", NewIntSliderRange(1, 20));
    Member("_TextureID", Picture, "Picture");
    Member("_float", Reach, "%Reach");
    Member("_int", Fixed, "^Fixed");
    Member("_int", Bare, "$Bare");
    Member("_int", Quiet, "#Quiet");
    Member(Part, "Part");
    Method(&EveryKind::Poke, "Poke");
  }
  static Enumerator* Modes() {
    Enumerator* e = GetEnumerator("PANEL_TEST_MODES");
    if (e->GetStoredAmount() == 0) {
      e->Add("MODE_A");
      e->Add("MODE_B");
      e->Add("MODE_C");
    }
    return e;
  }
  void Poke() { ++pokes; }
  bool OnChange(BaseClass*, void*, void*, const char* name) override {
    ++changes;
    lastChanged = name ? name : "";
    return true;
  }
};

struct PanelFixture : ::testing::Test {
  UiScope ui;
  EveryKind object;
  ClassPanel* panel = nullptr;
  void SetUp() override {
    panel = ui.tree.Root().Add(new ClassPanel);
    panel->W = 300;
    panel->Object = &object;
    panel->Rebuild();
    ui.tree.Layout();
  }
  ClassRow* Row(const char* member) {
    for (BaseWidget* w : panel->Children)
      if (auto* r = dynamic_cast<ClassRow*>(w); r && r->MemberName == member) return r;
    return nullptr;
  }
  template <class T>
  T* Editor(const char* member) {
    ClassRow* r = Row(member);
    if (!r) return nullptr;
    for (BaseWidget* w : r->Children)
      if (auto* t = dynamic_cast<T*>(w)) return t;
    return nullptr;
  }
  std::string LabelOf(const char* member) {
    ClassRow* r = Row(member);
    if (!r) return "?";
    for (BaseWidget* w : r->Children)
      if (w->GetClassName() == std::string("TextWidget")) return static_cast<TextWidget*>(w)->Text.cpchar();
    return "";
  }
};
}  // namespace

TEST_F(PanelFixture, EveryMemberKindGetsItsWidget) {
  EXPECT_NE(Editor<CheckBox>("Enabled"), nullptr);
  EXPECT_NE(Editor<ComboBox>("Mode"), nullptr);
  EXPECT_NE(Editor<SimpleSlider>("Soft"), nullptr);
  EXPECT_NE(Editor<SimpleSlider>("Steps"), nullptr);
  EXPECT_NE(Editor<DrawTexRect>("Picture"), nullptr);
  EXPECT_STREQ(Editor<FrameWidget>("Count")->Text.cpchar(), "5");
  EXPECT_STREQ(Editor<FrameWidget>("Size")->Text.cpchar(), "1.500000");
  ASSERT_NE(Row("Tint"), nullptr);
  EXPECT_EQ(Row("Tint")->Field->Fill, 0xff102030u);
  ASSERT_NE(Editor<FrameWidget>("Poke"), nullptr);
  EXPECT_STREQ(Editor<FrameWidget>("Poke")->Text.cpchar(), "Poke");
  // The compound member is a folder holding its own rows.
  WidgetsFolder* folder = nullptr;
  for (BaseWidget* w : panel->Children)
    if ((folder = dynamic_cast<WidgetsFolder*>(w))) break;
  ASSERT_NE(folder, nullptr);
  EXPECT_STREQ(folder->Text.cpchar(), "Part");
  EXPECT_EQ(folder->Body->Children.GetAmount(), 1);
}

TEST_F(PanelFixture, DelimitersAndPrefixesShapeTheRows) {
  ClassRow* strip = Row("");
  ASSERT_NE(strip, nullptr);
  EXPECT_FLOAT_EQ(strip->H, 3);
  EXPECT_EQ(LabelOf("SECTION"), "SECTION");
  EXPECT_EQ(LabelOf("^Fixed"), "Fixed");  // read-only keeps its label
  EXPECT_TRUE(Row("^Fixed")->ReadOnly);
  EXPECT_EQ(LabelOf("$Bare"), "");        // no label
  EXPECT_EQ(LabelOf("%Reach"), "Reach");
  EXPECT_TRUE(Row("%Reach")->WorldUnits);
  // Rows stack at 18 pixels.
  EXPECT_FLOAT_EQ(Row("Count")->Y - Row("Enabled")->Y, 18);
}

TEST_F(PanelFixture, HintsComeFromTheTableUnlessSuppressed) {
  TextTable table("unused_text.xml", "unused_data");
  SetTextTable(&table);
  table.Text("Count_HINT");  // learnt: no translation, no hint
  panel->Rebuild();
  EXPECT_STREQ(Row("Count")->Hint.cpchar(), "");
  SetTextTable(nullptr);
  // With the shipped English words the rows get real hints.
  struct Hinted : BaseClass {
    float Radius = 1;
    int Quiet = 0;
    MV_CLASS(Hinted, BaseClass) {
      Member("_float", Radius, "Radius");
      Member("_int", Quiet, "#Radius");
    }
  } hinted;
  auto* p2 = ui.tree.Root().Add(new ClassPanel);
  p2->W = 300;
  p2->Object = &hinted;
  p2->Rebuild();
  ASSERT_EQ(p2->Children.GetAmount(), 2);
  EXPECT_STREQ(p2->Children[0]->Hint.cpchar(), "Radius of the brush in pixels.");
  EXPECT_STREQ(p2->Children[1]->Hint.cpchar(), "");
}

TEST_F(PanelFixture, CheckBoxClickChangesTheMemberAndCallsOnChangeOnce) {
  CheckBox* box = Editor<CheckBox>("Enabled");
  ASSERT_NE(box, nullptr);
  ui.Click(box->AbsX + 3, box->AbsY + 3);
  EXPECT_TRUE(object.Enabled);
  EXPECT_EQ(object.changes, 1);
  EXPECT_EQ(object.lastChanged, "Enabled");
}

TEST_F(PanelFixture, SliderDragWritesTheMemberInRange) {
  SimpleSlider* s = Editor<SimpleSlider>("Steps");
  ASSERT_NE(s, nullptr);
  ui.tree.OnPointer(kEvLDown, s->AbsX + s->W - 1, s->AbsY + 2);
  ui.tree.OnPointer(kEvMove, s->AbsX + s->W + 50, s->AbsY + 2);
  ui.tree.OnPointer(kEvLUp, s->AbsX + s->W + 50, s->AbsY + 2);
  EXPECT_EQ(object.Steps, 20);
  EXPECT_EQ(object.changes, 1);  // the move to the same clamped value changed nothing
}

// A value typed into a slider's box stays inside the slider's range.
TEST_F(PanelFixture, TypedSliderValuesAreKeptInTheirRange) {
  ClassRow* soft = Row("Soft");
  ASSERT_NE(soft, nullptr);
  EXPECT_TRUE(soft->CommitText("0.8"));
  EXPECT_FLOAT_EQ(object.Soft, 0.8f);
  EXPECT_TRUE(soft->CommitText("8"));
  EXPECT_FLOAT_EQ(object.Soft, 1.0f);
  EXPECT_TRUE(soft->CommitText("-3"));
  EXPECT_FLOAT_EQ(object.Soft, 0.0f);
  ClassRow* steps = Row("Steps");
  EXPECT_TRUE(steps->CommitText("400"));
  EXPECT_EQ(object.Steps, 20);
  EXPECT_TRUE(steps->CommitText("0"));
  EXPECT_EQ(object.Steps, 1);
}

// The double click that opens a slider's text box does not move the value
// with its first click: the box opens on the value from before.
TEST_F(PanelFixture, DoubleClickOnASliderEditsTheValueItHad) {
  SimpleSlider* s = Editor<SimpleSlider>("Soft");
  ASSERT_NE(s, nullptr);
  const float x = s->AbsX + s->W * 0.9f, y = s->AbsY + 2;
  Ui().Tick = 5000;
  ui.tree.OnPointer(kEvLDown, x, y);
  ui.tree.OnPointer(kEvLUp, x, y);
  EXPECT_NEAR(object.Soft, 0.9f, 0.02f) << "a single click sets the value where it lands";
  Ui().Tick = 5200;
  ui.tree.OnPointer(kEvLDouble, x, y);
  ui.tree.OnPointer(kEvLUp, x, y);
  EXPECT_FLOAT_EQ(object.Soft, 0.25f) << "the pair of clicks left the value as it was";
  TextEntry* entry = Row("Soft")->Entry();
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->Edit, Row("Soft")->ValueText());
  EXPECT_FLOAT_EQ(std::stof(entry->Edit), 0.25f);

  // Two clicks far apart in time are two single clicks.
  ui.tree.OnKey(kEvKeyDown, keys::Esc);
  Ui().Tick = 9000;
  ui.tree.OnPointer(kEvLDown, s->AbsX + s->W * 0.5f, y);
  ui.tree.OnPointer(kEvLUp, s->AbsX + s->W * 0.5f, y);
  EXPECT_NEAR(object.Soft, 0.5f, 0.02f);
}

// The box opens with the value selected: what is typed replaces it.
TEST_F(PanelFixture, TypingInANewlyOpenedBoxReplacesTheValue) {
  ClassRow* row = Row("Soft");
  ASSERT_TRUE(row->OpenTextEntry());
  ASSERT_NE(row->Entry(), nullptr);
  for (char c : std::string("0.8")) {
    CurrentChar() = c;
    ui.tree.OnKey(kEvChar, -1);
  }
  EXPECT_EQ(row->Entry()->Edit, "0.8");
  ui.tree.OnKey(kEvKeyDown, keys::Enter);
  EXPECT_FLOAT_EQ(object.Soft, 0.8f);

  // After an arrow key the text is kept and typing adds to it.
  ui.Frame();
  ASSERT_TRUE(row->OpenTextEntry());
  const std::string before = row->Entry()->Edit;
  ui.tree.OnKey(kEvKeyDown, keys::End);
  CurrentChar() = '1';
  ui.tree.OnKey(kEvChar, -1);
  EXPECT_EQ(row->Entry()->Edit, before + "1");
  ui.tree.OnKey(kEvKeyDown, keys::Backspace);
  EXPECT_EQ(row->Entry()->Edit, before);
}

TEST_F(PanelFixture, ComboBoxPicksAValueOfTheEnumerator) {
  ComboBox* box = Editor<ComboBox>("Mode");
  ASSERT_NE(box, nullptr);
  ASSERT_EQ(box->Items.size(), 3u);
  ui.Click(box->AbsX + 5, box->AbsY + 5);
  ASSERT_NE(box->Popup(), nullptr);
  ui.Frame();
  TextMenu* menu = box->Popup();
  EXPECT_FLOAT_EQ(menu->AbsY, box->AbsY);  // opens over the box
  ui.Click(menu->AbsX + 5, menu->AbsY + 18 * 2 + 5);
  EXPECT_EQ(object.Mode, 2);
  EXPECT_EQ(object.changes, 1);
}

namespace {
class LongChoice : public BaseClass {
 public:
  int Size = 0, Way = 0;
  MV_CLASS(LongChoice, BaseClass) {
    Member("_index", Size, "Size", Choices());
    Member("_index", Way, "A label long enough to take most of the row", Choices());
  }
  static Enumerator* Choices() {
    Enumerator* e = GetEnumerator("PANEL_TEST_LONG_CHOICES");
    if (e->GetStoredAmount() == 0) e->Add("Short"), e->Add("The whole visible screen");
    return e;
  }
};
}  // namespace

// A list's field holds its longest item whole when its label leaves room:
// the label gives up what its own words do not need. A label that needs
// the room keeps its share.
TEST(ComboListTest, TheFieldHoldsTheLongestItemWhenTheLabelLeavesRoom) {
  UiScope ui;
  LongChoice object;
  auto* panel = ui.tree.Root().Add(new ClassPanel);
  panel->W = 300;
  panel->Object = &object;
  panel->Rebuild();
  ui.tree.Layout();
  std::vector<ComboBox*> boxes;
  for (BaseWidget* w : panel->Children)
    if (auto* r = dynamic_cast<ClassRow*>(w))
      for (BaseWidget* c : r->Children)
        if (auto* box = dynamic_cast<ComboBox*>(c)) boxes.push_back(box);
  ASSERT_EQ(boxes.size(), 2u);
  const float longest = Ui().TextWidth("The whole visible screen");
  EXPECT_GE(boxes[0]->W, longest + 24) << "the text and the arrow fit";
  EXPECT_LE(boxes[0]->W, 300 - Ui().TextWidth("Size"));
  EXPECT_NEAR(boxes[1]->W, 0.4f * boxes[1]->ParentWidget()->W, 1.0f);
}

// A list too tall for the screen wraps into columns that stay on it, as
// wide as its longest item, and a click in a later column picks that item.
TEST(ComboListTest, ALongListWrapsIntoColumnsOnTheScreen) {
  UiScope ui;
  auto* box = new ComboBox;
  box->X = 300, box->Y = 600, box->W = 60, box->H = 18;
  std::vector<std::string> items;
  for (int i = 0; i < 90; ++i) items.push_back((i % 30 ? "Item number " : "*Group ") + std::to_string(i));
  box->Items = items;
  int picked = -1;
  box->Selected = &picked;
  ui.tree.Root().AddChild(box);
  ui.Frame();
  ui.Click(box->AbsX + 5, box->AbsY + 5);
  ASSERT_NE(box->Popup(), nullptr);
  ui.Frame();
  TextMenu* menu = box->Popup();
  EXPECT_GE(menu->AbsY, 0.f);
  EXPECT_LE(menu->AbsY + menu->H, 720.f);
  EXPECT_LE(menu->AbsX + menu->W, 1280.f);
  ASSERT_GT(menu->Rows, 0);
  const int columns = (90 + menu->Rows - 1) / menu->Rows;
  EXPECT_GE(columns, 2);
  const float columnW = menu->W / float(columns);
  EXPECT_GE(columnW, Ui().TextWidth("Item number 89"));
  // The third row of the second column.
  ui.Click(menu->AbsX + columnW + 5, menu->AbsY + 18 * 2 + 5);
  EXPECT_EQ(picked, menu->Rows + 2);
  // A group's title is no choice: the list stays open and nothing changes.
  ui.Click(box->AbsX + 5, box->AbsY + 5);
  ui.Frame();
  menu = box->Popup();
  ASSERT_NE(menu, nullptr);
  ui.Click(menu->AbsX + 5, menu->AbsY + 5);
  EXPECT_EQ(picked, menu->Rows + 2);
  EXPECT_NE(box->Popup(), nullptr);
}

TEST_F(PanelFixture, TextEntryCommitsOrRestoresTheOldText) {
  ClassRow* row = Row("Count");
  FrameWidget* field = Editor<FrameWidget>("Count");
  ui.Click(field->AbsX + 5, field->AbsY + 5);
  TextEntry* entry = row->Entry();
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry->Edit, "5");
  entry->Edit = "42";
  ui.tree.OnKey(kEvKeyDown, keys::Enter);
  EXPECT_EQ(object.Count, 42);
  EXPECT_STREQ(field->Text.cpchar(), "42");
  EXPECT_EQ(object.changes, 1);

  ui.Frame();
  ui.Click(field->AbsX + 5, field->AbsY + 5);
  ASSERT_NE(row->Entry(), nullptr);
  row->Entry()->Edit = "forty";
  ui.tree.OnKey(kEvKeyDown, keys::Enter);
  EXPECT_EQ(object.Count, 42);
  EXPECT_STREQ(field->Text.cpchar(), "42");
  EXPECT_EQ(object.changes, 1);  // a refused entry changes nothing
}

TEST_F(PanelFixture, WorldUnitRowsShowScaledValues) {
  WorldUnitScale() = 10;
  ClassRow* row = Row("%Reach");
  EXPECT_EQ(row->ValueText(), "20.000000");
  EXPECT_TRUE(row->CommitText("5"));
  EXPECT_FLOAT_EQ(object.Reach, 0.5f);
  WorldUnitScale() = 1;
}

TEST_F(PanelFixture, ReadOnlyRowsRefuseEdits) {
  ClassRow* row = Row("^Fixed");
  EXPECT_FALSE(row->CommitText("9"));
  EXPECT_EQ(object.Fixed, 3);
  FrameWidget* field = Editor<FrameWidget>("^Fixed");
  ui.Click(field->AbsX + 5, field->AbsY + 5);
  EXPECT_EQ(row->Entry(), nullptr);
}

TEST_F(PanelFixture, MethodButtonCallsTheObject) {
  FrameWidget* b = Editor<FrameWidget>("Poke");
  ui.Click(b->AbsX + 5, b->AbsY + 5);
  EXPECT_EQ(object.pokes, 1);
}

TEST_F(PanelFixture, ColorPickerWritesThePackedColour) {
  ClassRow* row = Row("Tint");
  ui.Click(row->Field->AbsX + 5, row->Field->AbsY + 5);
  ColorPicker* picker = nullptr;
  for (BaseWidget* w : row->Children)
    if ((picker = dynamic_cast<ColorPicker*>(w))) break;
  ASSERT_NE(picker, nullptr);
  EXPECT_EQ(picker->Channels[1], 0x10);
  ui.Frame();
  EXPECT_TRUE(picker->Visible());  // the pointer is inside: it stays open
  auto* red = static_cast<SimpleSlider*>(picker->Children[1]);
  ui.tree.OnPointer(kEvLDown, red->AbsX + red->W - 1, red->AbsY + 3);
  ui.tree.OnPointer(kEvMove, red->AbsX + red->W + 4, red->AbsY + 3);  // dragged past the end
  ui.tree.OnPointer(kEvLUp, red->AbsX + red->W + 4, red->AbsY + 3);
  EXPECT_EQ(object.Tint, 0xffff2030u);
  EXPECT_EQ(row->Field->Fill, 0xffff2030u);
}

TEST(ScrollStateTest, ScrollPositionSurvivesARebuild) {
  UiScope ui;
  struct Long : BaseClass {
    float Values[60] = {};
    MV_CLASS(Long, BaseClass) {
      static char names[60][8];
      for (int i = 0; i < 60; ++i) {
        snprintf(names[i], sizeof names[i], "V%d", i);
        Member("_float", Values[i], names[i]);
      }
    }
  } object;
  auto build = [&] {
    auto* scroll = new ScrollPanel("TOOL_PARAM9");
    scroll->W = 300, scroll->H = 200;
    auto* rows = new ClassPanel;
    rows->W = 280;
    rows->Object = &object;
    rows->Rebuild();
    scroll->SetContent(rows);
    ui.tree.Root().AddChild(scroll);
    ui.Frame();
    return scroll;
  };
  ScrollPanel* first = build();
  ui.tree.OnPointer(kEvWheel, 50, 50, -3);
  float pos = first->Scroller()->Pos;
  EXPECT_FLOAT_EQ(pos, 54);
  first->Delete();
  ui.Frame();
  ScrollPanel* second = build();
  EXPECT_FLOAT_EQ(second->Scroller()->Pos, pos);
  EXPECT_FLOAT_EQ(second->Content()->Y, -pos);
  // Scrolling never goes past the end of the content.
  ui.tree.OnPointer(kEvWheel, 50, 50, -1000);
  EXPECT_FLOAT_EQ(second->Scroller()->Pos, 60 * 18 - 200);
}

namespace {
class ListItem : public BaseClass {
 public:
  int Weight = 1;
  MV_CLASS(ListItem, BaseClass) { Member("_int", Weight, "Weight"); }
};
class HeavyItem : public ListItem {
 public:
  float Mass = 2;
  MV_CLASS(HeavyItem, ListItem) { Member("_float", Mass, "Mass"); }
};
class ItemList : public BaseClass {
 public:
  ClassArray<ListItem> Items;
  MV_CLASS(ItemList, BaseClass) { Member(Items, "Items"); }
};
}  // namespace

TEST(ClassArrayPanelTest, AddRowOffersDerivedClassesAndAddsAnElement) {
  UiScope ui;
  ListItem a;
  HeavyItem b;
  RegisterClass(&a, "Items", "ListItem");
  RegisterClass(&b, "Items", "HeavyItem");
  ItemList list;
  list.Items.Add(new ListItem);
  list.SetParent(nullptr);
  auto* panel = ui.tree.Root().Add(new ClassPanel);
  panel->W = 300;
  panel->Object = &list;
  ui.Frame();
  // The array is a folder; inside it the element (a folder) and the "add..." row.
  WidgetsFolder* folder = dynamic_cast<WidgetsFolder*>(panel->Children[0]);
  ASSERT_NE(folder, nullptr);
  ClassRow* add = nullptr;
  for (BaseWidget* w : folder->Body->Children)
    if (auto* r = dynamic_cast<ClassRow*>(w); r && r->MemberName == "add...") add = r;
  ASSERT_NE(add, nullptr);
  ASSERT_EQ(add->AddClasses.size(), 1u);  // HeavyItem derives from ListItem
  EXPECT_EQ(add->AddClasses[0], "HeavyItem");
  auto* box = static_cast<ComboBox*>(add->Children[0]);
  ui.Click(box->AbsX + 5, box->AbsY + 5);
  ui.Frame();
  ui.Click(box->Popup()->AbsX + 5, box->Popup()->AbsY + 5);
  ASSERT_EQ(list.Items.GetAmount(), 2);
  EXPECT_STREQ(list.Items[1]->GetClassName(), "HeavyItem");
  int builds = panel->Builds();
  ui.Frame();  // the panel rebuilds with the new element
  EXPECT_EQ(panel->Builds(), builds + 1);
}

namespace {
// A list element whose button removes the element itself, as a list's
// delete buttons do.
class SelfDeleting : public BaseClass {
 public:
  int Value = 0;
  void DeleteElm() {
    auto* list = dynamic_cast<ClassArray<SelfDeleting>*>(Parent);
    if (!list) return;
    for (int i = 0; i < list->GetAmount(); i++)
      if ((*list)[i] == this) {
        list->DelElement(i);  // deletes this object
        return;
      }
  }
  MV_CLASS(SelfDeleting, BaseClass) {
    Member("_int", Value, "Value");
    Method(&SelfDeleting::DeleteElm, "DeleteElm");
  }
};
class HoldsSelfDeleting : public BaseClass {
 public:
  ClassArray<SelfDeleting> List;
  MV_CLASS(HoldsSelfDeleting, BaseClass) { Member(List, "List"); }
};
ClassRow* FindRow(BaseWidget* w, const char* member) {
  if (auto* r = dynamic_cast<ClassRow*>(w); r && r->MemberName == member) return r;
  for (BaseWidget* c : w->Children)
    if (ClassRow* r = c ? FindRow(c, member) : nullptr) return r;
  return nullptr;
}
}  // namespace

TEST(ClassPanelMethods, AButtonThatDeletesItsOwnObjectLeavesThePanelToRebuild) {
  UiScope ui;
  HoldsSelfDeleting holder;
  for (int i = 0; i < 3; i++) {
    auto* e = new SelfDeleting;
    e->Value = i;
    holder.List.Add(e);
    e->SetParent(&holder.List);
  }
  auto* panel = ui.tree.Root().Add(new ClassPanel);
  panel->W = 300;
  panel->Object = &holder;
  panel->Rebuild();
  ui.tree.Layout();
  const int builds = panel->Builds();
  ClassRow* button = FindRow(panel, "DeleteElm");
  ASSERT_NE(button, nullptr);
  EXPECT_TRUE(button->CallMethod());
  ASSERT_EQ(holder.List.GetAmount(), 2);
  EXPECT_EQ(holder.List[0]->Value, 1);
  // The panel rebuilds on its next draw, without the row that went.
  panel->OnDraw();
  EXPECT_GT(panel->Builds(), builds);
}
