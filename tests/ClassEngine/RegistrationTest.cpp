// Member registration: the one-shot switches, the type check and the
// offset-or-address rule with their messages, and accessors.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "ClassEngine/Log.h"
#include "ClassEngine/SystemDialog.h"
#include "ReflectionTestClasses.h"

namespace {
int gShared = 0;
int gOther = 0;

class Switches : public BaseClass {
 public:
  int A = 0, B = 0, C = 0, D = 0;
  MV_CLASS(Switches, BaseClass) {
    NextNoSave();
    Member("_int", A, "A");
    Member("_int", B, "B");
    NextStatic();
    Member("_int", gShared, "Shared");
    NextDisplayFlagA();
    NextDisplayFlagB();
    Member("_int", C, "C");
    Member("_int", D, "D");
  }
};

class BadTypes : public BaseClass {
 public:
  short Small = 0;
  int NotFloat = 0;
  MV_CLASS(BadTypes, BaseClass) {
    Member("_int", Small, "Small");
    Member("_float", NotFloat, "NotFloat");
  }
};

class Misplaced : public BaseClass {
 public:
  int Field = 0;
  MV_CLASS(Misplaced, BaseClass) {
    NextStatic();
    Member("_int", Field, "Field");
    Member("_int", gOther, "Other");
  }
};

// A property read and written through functions.
class Thermo : public BaseClass {
 public:
  float Kelvin = 300;
  int Writes = 0;
  static uint32_t GetCelsius(BaseClass* o) {
    float c = static_cast<Thermo*>(o)->Kelvin - 273.15f;
    uint32_t w;
    memcpy(&w, &c, 4);
    return w;
  }
  static void SetCelsius(BaseClass* o, uint32_t w) {
    float c;
    memcpy(&c, &w, 4);
    auto* t = static_cast<Thermo*>(o);
    t->Kelvin = c + 273.15f;
    t->Writes++;
  }
  float Celsius = 0;  // the field the member is declared on; the accessors replace it
  MV_CLASS(Thermo, BaseClass) {
    Member("_float", Celsius, "Celsius");
    SetAccessors(&GetCelsius, nullptr, &SetCelsius, nullptr);
    NextStatic();
    Member("_int", gShared, "Refused");
    SetAccessors(&GetCelsius, nullptr, &SetCelsius, nullptr);
  }
};

struct DialogCatcher {
  std::vector<SystemDialog> boxes;
  SystemDialogHandler old;
  DialogCatcher() {
    old = SetSystemDialogHandler([this](const SystemDialog& d) {
      boxes.push_back(d);
      return 0;
    });
  }
  ~DialogCatcher() { SetSystemDialogHandler(old); }
};
}  // namespace

TEST(RegistrationTest, SwitchesApplyToTheNextMemberOnly) {
  RegisterClassEngineClasses();
  Switches model;
  RegisterClass(&model, nullptr, "Switches");
  const ClassDescriptor* d = FindClassDescriptor("Switches");
  ASSERT_EQ(d->Members.GetAmount(), 5);
  EXPECT_TRUE(d->Members[0].NoSave);
  EXPECT_FALSE(d->Members[1].NoSave);
  EXPECT_TRUE(d->Members[2].IsStatic);
  EXPECT_EQ(d->Members[2].Offset, (intptr_t)&gShared);
  EXPECT_FALSE(d->Members[3].IsStatic);
  EXPECT_TRUE(d->Members[3].DisplayFlagA && d->Members[3].DisplayFlagB);
  EXPECT_FALSE(d->Members[4].DisplayFlagA || d->Members[4].DisplayFlagB);
  EXPECT_LT(d->Members[4].Offset, kStaticAddressFloor);
  Switches s;
  EXPECT_EQ(s.GetElementPtr(2, &s), &gShared);
  EXPECT_EQ(s.GetElementPtr(4, &s), &s.D);
  EXPECT_EQ(s.GetDisplayFlagA(3, &s, kRowsAll), 1);
  EXPECT_EQ(s.GetDisplayFlagB(4, &s, kRowsAll), 0);
}

TEST(RegistrationTest, TypeCheckShowsTheMessage) {
  RegisterClassEngineClasses();
  DialogCatcher catcher;
  BadTypes model;
  RegisterClass(&model, nullptr, "BadTypes");
  ASSERT_EQ(catcher.boxes.size(), 2u);
  EXPECT_EQ(catcher.boxes[0].title, "Class engine error");
  EXPECT_EQ(catcher.boxes[0].text,
            std::string("Incompartible type used for _int BadTypes::Small : ") +
                typeid(short).name());
  EXPECT_EQ(catcher.boxes[1].text,
            std::string("Incompartible type used for _float BadTypes::NotFloat : ") +
                typeid(int).name());
  // The members are listed all the same.
  EXPECT_EQ(FindClassDescriptor("BadTypes")->Members.GetAmount(), 2);
}

TEST(RegistrationTest, OffsetOrAddressDisagreementIsCritical) {
  RegisterClassEngineClasses();
  size_t start = LogMark();
  Misplaced model;
  RegisterClass(&model, nullptr, "Misplaced");
  std::string logged = LogTextSince(start);
  EXPECT_NE(logged.find("CRITICAL: Static member <_int Field> registered like non-static"),
            std::string::npos);
  EXPECT_NE(logged.find("CRITICAL: Non-static member <_int Other> registered like static"),
            std::string::npos);
  // The address decides what the member is.
  Misplaced m;
  EXPECT_EQ(m.GetElementPtr(0, &m), &m.Field);
  EXPECT_EQ(m.GetElementPtr(1, &m), &gOther);
}

TEST(RegistrationTest, AccessorsReadAndRunOnSet) {
  RegisterClassEngineClasses();
  size_t start = LogMark();
  Thermo model;
  RegisterClass(&model, nullptr, "Thermo");
  EXPECT_NE(LogTextSince(start).find("STATIC Not allowed for properties: <_int Refused>"),
            std::string::npos);
  EXPECT_EQ(FindClassDescriptor("Thermo")->Members[1].SetValue, nullptr);

  Thermo a, b;
  a.Kelvin = 373.15f;
  float* read = (float*)a.GetElementPtr(0, &a);
  EXPECT_NEAR(*read, 100.0f, 1e-3);
  ASSERT_TRUE(b.Copy(&a, true));
  EXPECT_NEAR(b.Kelvin, 373.15f, 1e-3);
  EXPECT_GE(b.Writes, 1);
  b.Writes = 0;
  b.Reset(&b);  // zeroes through the setter: 0 degrees
  EXPECT_NEAR(b.Kelvin, 273.15f, 1e-3);
  EXPECT_EQ(b.Writes, 1);
}

TEST(RegistrationTest, UnknownClassesAreReported) {
  RegisterClassEngineClasses();
  DialogCatcher catcher;
  EXPECT_EQ(FindClassMember("NotAClass", "x"), nullptr);
  ASSERT_EQ(catcher.boxes.size(), 1u);
  EXPECT_EQ(catcher.boxes[0].text, "class not registered: \"NotAClass\"");
  BaseClass plain;
  EXPECT_EQ(plain.GetAmountOfElements(), 0);
  ASSERT_EQ(catcher.boxes.size(), 2u);
  EXPECT_EQ(catcher.boxes[1].text, "Undefined class found: \"BaseClass\"\n");
  RegisterTestClasses();
  EXPECT_NE(FindClassMember("Circle", "Radius"), nullptr);
  EXPECT_EQ(FindClassMember("Circle", "Nothing"), nullptr);
  EXPECT_EQ(catcher.boxes.size(), 2u);
}

namespace {
class Brush : public BaseClass {
 public:
  int Radius = 10;
  float Depth = 0.5f;
  _str Label;
  const char* GetView(void*) override { return Label.cpchar(); }
  MV_CLASS(Brush, BaseClass) {
    Member("CtrlISlider", Radius, "Radius", NewIntSliderRange(1, 200));
    Member("CtrlFSlider", Depth, "Depth", NewFloatSliderRange(0, 1));
    Member("_str_ref", Label, "Label");
  }
};

class Lazy : public BaseClass {
 public:
  int Value = 0;
  MV_CLASS(Lazy, BaseClass) { Member("_int", Value, "Value"); }
};

class Lonely : public BaseClass {  // used by one test only
 public:
  int Value = 0;
  MV_CLASS(Lonely, BaseClass) { Member("_int", Value, "Value"); }
};

// Shows an embedded part as one element of the owner.
class Composite : public BaseClass {
 public:
  Brush Part;
  MV_CLASS(Composite, BaseClass) { BasePart(Part, "BrushPart"); }
};

class Tool : public BaseClass {
 public:
  Brush Main;
  Lazy Hidden;
  MV_CLASS(Tool, BaseClass) {
    Member(Main, "Main");
    NextNoSave();  // Lazy registers its own members first; the switch waits
    Member(Hidden, "Hidden");
  }
};
}  // namespace

TEST(RegistrationTest, FirstUseRegistersAClassAndSlidersCarryTheirRange) {
  EXPECT_EQ(GetClassPrototype("Lonely"), nullptr);
  Lonely lonely;
  EXPECT_EQ(lonely.GetAmountOfElements(), 1);  // registered on first use
  EXPECT_NE(GetClassPrototype("Lonely"), nullptr);
  Brush b;
  ASSERT_EQ(b.GetAmountOfElements(), 3);
  EXPECT_STREQ(b.GetElementClass(0)->GetClassName(), "CtrlISlider");
  auto* range = static_cast<IntSliderRange*>(b.GetElementExtra(0));
  ASSERT_NE(range, nullptr);
  EXPECT_EQ(range->Min, 1);
  EXPECT_EQ(range->Max, 200);
  EXPECT_EQ(static_cast<FloatSliderRange*>(b.GetElementExtra(1))->Max, 1.0f);
  EXPECT_STREQ(b.GetElementClass(2)->GetClassName(), "_str_ref");
}

TEST(RegistrationTest, CompoundMemberIsItsOwnElementClassAndGetsItsParent) {
  Tool t;
  t.Main.Label = "round";
  ASSERT_EQ(t.GetAmountOfElements(), 2);
  EXPECT_FALSE(t.GetMemberRecord(0)->NoSave);
  EXPECT_TRUE(t.GetMemberRecord(1)->NoSave);
  EXPECT_FALSE(FindClassDescriptor("Lazy")->Members[0].NoSave);
  EXPECT_EQ(t.GetElementClass(0), &t.Main);
  EXPECT_STREQ(t.GetElementView(0, &t), "round");  // the element's own view
  t.Main.Label = "";
  EXPECT_STREQ(t.GetElementView(0, &t), "Main");  // else the member's name
  Tool owner;
  t.SetParent(&owner);
  EXPECT_EQ(t.Main.GetParent(), &t);
  Tool copy;
  t.Main.Radius = 42;
  ASSERT_TRUE(copy.Copy(&t));
  EXPECT_EQ(copy.Main.Radius, 42);
  EXPECT_TRUE(t.ElementHasSubElements(0, &t));
}

TEST(RegistrationTest, BasePartIsMarkedAndAnswersForItself) {
  Composite c;
  ASSERT_EQ(c.GetAmountOfElements(), 1);
  const MemberRecord* m = c.GetMemberRecord(0);
  EXPECT_TRUE(m->IsBase);
  EXPECT_STREQ(m->Class->GetClassName(), "Brush");
  EXPECT_EQ(c.GetElementClass(0), &c.Part);
}
