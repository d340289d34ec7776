// What the generated panels ask of a reflected class: rows by flags, the
// "add..." row, the classes it offers, hints through the text table; and the
// enumerators behind _index members.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>

#include "ClassEngine/Enumerator.h"
#include "ClassEngine/TextLookup.h"
#include "ReflectionTestClasses.h"

TEST(PanelRowsTest, TopLevelObjectOpensEveryElement) {
  RegisterTestClasses();
  Circle c;  // no parent
  EXPECT_EQ(c.GetAmountOfEditableElements(&c, kRowsWithoutSubRows), 0);
  EXPECT_EQ(c.GetAmountOfEditableElements(&c, kRowsWithSubRows), 7);
  EXPECT_EQ(c.GetAmountOfEditableElements(&c, kRowsAll), 7);
  EXPECT_EQ(c.GetAmountOfEditableElements(&c, kRowsAll | kRowAddNew), 7);  // no rules
}

TEST(PanelRowsTest, OwnedObjectSplitsRowsByKind) {
  RegisterTestClasses();
  Scene owner;
  Scene s;
  s.SetParent(&owner);
  // Title, |Shapes, #Count, Main (simplified), Click: no sub-rows; Shapes: sub-rows.
  EXPECT_EQ(s.GetAmountOfEditableElements(&s, kRowsWithoutSubRows), 5);
  EXPECT_EQ(s.GetAmountOfEditableElements(&s, kRowsWithSubRows), 1);
  EXPECT_EQ(s.GetAmountOfEditableElements(&s, kRowsAll), 6);
  EXPECT_EQ(s.GetEditableElementIndex(0, &s, kRowsWithSubRows), 3);
  EXPECT_STREQ(s.GetEditableElementID(0, &s, kRowsWithSubRows), "Shapes");
  EXPECT_EQ(s.GetEditableElementIndex(3, &s, kRowsWithoutSubRows), 4);
  EXPECT_EQ(s.GetEditableElementPtr(2, &s, kRowsAll), &s.Count);
}

TEST(PanelRowsTest, ArrayShowsAnAddRowAndPointerOnlyWhenEmpty) {
  RegisterTestClasses();
  Scene owner;
  owner.Shapes.Add(new Circle);
  owner.SetParent(nullptr);
  ClassArray<Shape>& a = owner.Shapes;
  EXPECT_EQ(a.GetParent(), &owner);
  EXPECT_EQ(a.GetAmountOfEditableElements(&a, kRowsAll), 1);
  EXPECT_EQ(a.GetAmountOfEditableElements(&a, kRowsAll | kRowAddNew), 2);
  EXPECT_EQ(a.GetAmountOfEditableElements(&a, kRowAddNew), 1);
  EXPECT_EQ(a.GetEditableElementIndex(1, &a, kRowsAll | kRowAddNew), -1);
  EXPECT_STREQ(a.GetEditableElementID(1, &a, kRowsAll | kRowAddNew), "add...");
  DString view;
  a.GetEditableElementView(0, &a, view, kRowsAll | kRowAddNew);
  EXPECT_STREQ(view.cpchar(), "Circle");

  ClassPtr<Shape>& p = owner.Main;
  EXPECT_EQ(p.GetAmountOfEditableElements(&p, kRowsAll | kRowAddNew), 1);  // empty: "add..."
  p.ExpandWith("Square", &owner);
  EXPECT_EQ(p.GetAmountOfEditableElements(&p, kRowsAll | kRowAddNew), 1);  // full: no "add..."
  // A simplified holder forces its elements to have no sub-rows.
  EXPECT_EQ(p.GetAmountOfEditableElements(&p, kRowsWithSubRows), 0);
  EXPECT_EQ(p.GetAmountOfEditableElements(&p, kRowsWithoutSubRows), 1);
}

TEST(PanelRowsTest, ExpansionListOffersDerivedClassesByCategory) {
  RegisterTestClasses();
  ClassArray<Shape> a;
  ExpansionList list;
  ASSERT_TRUE(a.GetEditableElementExpansionList(list, 0, &a, kRowsAll | kRowAddNew));
  ASSERT_EQ(list.Classes.size(), 2u);
  EXPECT_EQ(list.Classes[0], "Circle");
  EXPECT_EQ(list.Classes[1], "Square");
  ASSERT_EQ(list.Groups.size(), 2u);
  EXPECT_EQ(list.Groups[list.ClassGroup[0]], "Round");
  EXPECT_EQ(list.Groups[list.ClassGroup[1]], "Angular");

  ClonesArray<Shape> clones;
  ASSERT_TRUE(clones.GetEditableElementExpansionList(list, 0, &clones, kRowsAll | kRowAddNew));
  ASSERT_EQ(list.Classes.size(), 1u);
  EXPECT_EQ(list.Classes[0], "Shape");
  EXPECT_TRUE(list.Groups.empty());  // fewer than two groups
}

namespace {
std::map<std::string, std::string> gTexts;
const char* Lookup(const char* key) {
  auto it = gTexts.find(key);
  return it == gTexts.end() ? nullptr : it->second.c_str();
}
struct TextScope {
  TextLookupFunction old;
  TextScope() { old = SetTextLookup(&Lookup); }
  ~TextScope() {
    SetTextLookup(old);
    SetShowMissingTextKeys(false);
    gTexts.clear();
  }
};
}  // namespace

TEST(HintTest, MissingKeysLeaveTheHintEmptyUnlessDebugging) {
  RegisterTestClasses();
  TextScope texts;
  Circle c;
  DString out;
  EXPECT_FALSE(c.GetHint(out, &c, &c, "Radius"));
  EXPECT_EQ(out.str, nullptr);
  SetShowMissingTextKeys(true);
  EXPECT_FALSE(c.GetHint(out, &c, &c, "Radius"));
  EXPECT_STREQ(out.cpchar(),
               "Message:\\@ID::Circle::Radius\\@ID::Radius\\Hint:\\@HINT::Circle::Radius\\@HINT::"
               "Radius\\");
}

TEST(HintTest, KeyOrderAndHintOverridesName) {
  RegisterTestClasses();
  TextScope texts;
  Circle c;
  DString out;
  gTexts["@ID::Radius"] = "Radius of any";
  ASSERT_TRUE(c.GetHint(out, &c, &c, "Radius"));
  EXPECT_STREQ(out.cpchar(), "Radius of any");
  gTexts["@ID::Circle::Radius"] = "Radius of the circle";
  c.GetHint(out, &c, &c, "Radius");
  EXPECT_STREQ(out.cpchar(), "Radius of the circle");
  gTexts["@HINT::Circle::Radius"] = "@untranslated";  // an echo counts as a miss
  gTexts["@HINT::Radius"] = "How far the rim is";
  c.GetHint(out, &c, &c, "Radius");
  EXPECT_STREQ(out.cpchar(), "How far the rim is");
}

namespace {
class Materials : public EnumeratorProvider {
 public:
  int GetValue(const char* name) override { return strcmp(name, "Steel") == 0 ? 100 : -1; }
  int GetAmount() override { return 2; }
  const char* GetName(int i) override { return i == 0 ? "Steel" : (i == 1 ? "Wood" : nullptr); }
};
}  // namespace

TEST(EnumeratorTest, UnknownNameIsCreatedEmpty) {
  Enumerator* e = GetEnumerator("NEVER_REGISTERED_ENUM");
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(e->GetAmount(), 0);
  EXPECT_EQ(e->Get("anything"), -1);
  EXPECT_EQ(e->GetIndex("anything"), -1);
  EXPECT_STREQ(e->Get(0), "");
  EXPECT_EQ(GetEnumerator("NEVER_REGISTERED_ENUM"), e);
  EXPECT_STREQ(e->EnumName, "NEVER_REGISTERED_ENUM");
}

TEST(EnumeratorTest, LookupsByNameValueAndIndexWithAProvider) {
  Enumerator* e = GetEnumerator("TEST_WHEEL_ACTION_ENUM");
  e->Clear();
  EXPECT_EQ(e->Add("ZOOM"), 0);
  EXPECT_EQ(e->Add("ROTATE", 7, "Turns the view"), 1);
  EXPECT_EQ(e->Get("ROTATE"), 7);
  EXPECT_STREQ(e->Get(7), "ROTATE");
  EXPECT_STREQ(e->Get(0), "ZOOM");
  EXPECT_STREQ(e->GetIndexHint(1), "Turns the view");
  EXPECT_EQ(e->GetIndexHint(0), nullptr);
  Materials materials;
  e->Dynamic = &materials;
  EXPECT_EQ(e->GetAmount(), 4);
  EXPECT_EQ(e->Get("Steel"), 100);  // the provider answers first
  EXPECT_STREQ(e->Get(2 + 1), "Wood");
  EXPECT_EQ(e->GetIndex("Wood"), 3);
  EXPECT_EQ(e->GetIndex("ROTATE"), 1);
  EXPECT_STREQ(e->Get(50), "");
  e->Dynamic = nullptr;
}

TEST(EnumeratorTest, IndexMemberShowsTheEnumeratorName) {
  RegisterClassEngineClasses();
  Enumerator* e = GetEnumerator("TEST_MODES");
  e->Clear();
  e->Add("Off");
  e->Add("On");
  int field = 1;
  DString out;
  BaseClass* index = GetClassPrototype("_index");
  ASSERT_TRUE(index->GetValueByName(out, &field, e, "value"));
  EXPECT_STREQ(out.cpchar(), "On");
}

TEST(EnumeratorTest, ManyNamesMoveToTheHash) {
  Enumerator* e = GetEnumerator("TEST_KEYCODES");
  e->Clear();
  for (int i = 0; i < 40; i++) e->Add(("KEY_" + std::to_string(i)).c_str(), 0x100 + i);
  EXPECT_TRUE(e->Names.UsesHash());
  EXPECT_EQ(e->Get("KEY_0"), 0x100);
  EXPECT_EQ(e->Get("KEY_39"), 0x100 + 39);
  EXPECT_STREQ(e->Get(0x100 + 20), "KEY_20");
}
