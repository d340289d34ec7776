// Reflected classes: inherited member order, registration switches, factories
// by name, deep copy by member name, arrays and pointers of objects.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "ClassEngine/Log.h"
#include "ClassEngine/SystemDialog.h"
#include "ReflectionTestClasses.h"

TEST(ReflectionTest, DerivedClassListsBaseMembersFirst) {
  RegisterTestClasses();
  Circle c;
  ASSERT_EQ(c.GetAmountOfElements(), 7);
  EXPECT_STREQ(c.GetElementID(0), "Id");
  EXPECT_STREQ(c.GetElementID(4), "Color");
  EXPECT_STREQ(c.GetElementID(5), "Segments");
  EXPECT_STREQ(c.GetElementID(6), "Radius");
  EXPECT_EQ(c.GetElementPtr(5, &c), &c.Segments);
  EXPECT_EQ(c.GetElementPtr(3, &c), static_cast<BaseClass*>(&c.Name));
  EXPECT_STREQ(c.GetElementClass(1)->GetClassName(), "_float");
  EXPECT_STREQ(c.GetMemberRecord(5)->OwnerClass, "Circle");
  EXPECT_STREQ(c.GetMemberRecord(0)->OwnerClass, "Shape");
  Shape s;
  EXPECT_EQ(s.GetAmountOfElements(), 5);

  ClassDescriptor* shape = FindClassDescriptor("Shape");
  ClassDescriptor* circle = FindClassDescriptor("Circle");
  ASSERT_TRUE(shape && circle);
  bool childListed = false;
  for (char* n : shape->Children) childListed |= strcmp(n, "Circle") == 0;
  EXPECT_TRUE(childListed);
  ASSERT_EQ(circle->Parents.GetAmount(), 1);
  EXPECT_STREQ(circle->Parents[0], "Shape");
  EXPECT_STREQ(circle->Category, "Round");
  EXPECT_EQ(circle->FindMember("Radius"), 6);
}

TEST(ReflectionTest, FactoriesByName) {
  RegisterTestClasses();
  BaseClass* made = NewObjectOfClass("Circle");
  ASSERT_NE(made, nullptr);
  EXPECT_STREQ(made->GetClassName(), "Circle");
  EXPECT_EQ(made->GetParent(), nullptr);
  BaseClass* child = made->New();
  EXPECT_STREQ(child->GetClassName(), "Circle");
  EXPECT_EQ(child->GetParent(), made);
  delete child;
  delete made;

  EXPECT_EQ(GetClassPrototype("NoSuchClass"), nullptr);
  EXPECT_EQ(NewObjectOfClass("NoSuchClass"), nullptr);
  EXPECT_EQ(FindClassDescriptor("AnotherUnknown"), nullptr);
  ClassDescriptor* d = GetClassDescriptor("AnotherUnknown");
  ASSERT_NE(d, nullptr);
  EXPECT_EQ(d->Prototype, nullptr);
  EXPECT_EQ(d->Members.GetAmount(), 0);
  EXPECT_EQ(FindClassDescriptor("AnotherUnknown"), d);
  // Registering again keeps the descriptor.
  ClassDescriptor* circle = FindClassDescriptor("Circle");
  Circle again;
  RegisterClass(&again, "Other", "struct Circle");
  EXPECT_EQ(FindClassDescriptor("Circle"), circle);
  EXPECT_STREQ(circle->Category, "Round");
  EXPECT_EQ(circle->Members.GetAmount(), 7);
}

TEST(ReflectionTest, DelimiterAndMethodRows) {
  RegisterTestClasses();
  Scene s;
  ASSERT_EQ(s.GetAmountOfElements(), 6);
  EXPECT_STREQ(s.GetElementID(1), "|Shapes");
  EXPECT_STREQ(s.GetElementID(2), "#Count");  // display prefixes stay in the name
  const MemberRecord* delim = s.GetMemberRecord(1);
  EXPECT_TRUE(delim->IsStatic && delim->NoSave);
  EXPECT_EQ(s.GetElementPtr(1, &s), &TheDelimiter());
  EXPECT_TRUE(s.GetElementClass(1)->IsSimplified());
  BaseClass* click = s.GetElementClass(5);
  ASSERT_TRUE(click->IsMethod());
  click->Call(&s);
  click->Call(&s);
  EXPECT_EQ(s.Clicks, 2);
}

TEST(ReflectionTest, ClassArrayNamesElementsAndNullSlots) {
  RegisterTestClasses();
  ClassArray<Shape> a;
  EXPECT_STREQ(a.GetClassName(), "ClassArray.Shape");
  // A ClonesArray is a ClassArray in files and lists: same name, its own rule.
  ClonesArray<Shape> clones;
  EXPECT_STREQ(clones.GetClassName(), "ClassArray.Shape");
  EXPECT_EQ(clones.GetExpansionRules(), kExpandOwnClass);
  EXPECT_EQ(a.GetExpansionRules(), kExpandDerived);
  EXPECT_STREQ(ClassPtr<Shape>::StaticClassName(), "ClassPtr.Shape");
  a.Add(new Circle);
  a.Add(nullptr);
  ASSERT_EQ(a.GetAmountOfElements(), 2);
  EXPECT_STREQ(a.GetElementID(0), "Circle");
  EXPECT_STREQ(a.GetElementID(1), "NULL");
  EXPECT_EQ(a.GetElementClass(1), nullptr);
  EXPECT_TRUE(a.MoveElement(0, 1));
  EXPECT_STREQ(a.GetElementID(0), "NULL");
  EXPECT_FALSE(a.MoveElement(1, 1));
  EXPECT_FALSE(a.MoveElement(0, 0));
  EXPECT_TRUE(a.DelElement(1));
  EXPECT_EQ(a.GetAmountOfElements(), 1);
}

TEST(ReflectionTest, ExpandWithCreatesByClassNameOrLeavesTheList) {
  RegisterTestClasses();
  Scene owner;
  ClassArray<Shape> a;
  EXPECT_EQ(a.ExpandWith("Circle", &owner), 0);
  EXPECT_EQ(a.ExpandWith("Square", &owner), 1);
  int live = cExLiveBlocks();
  EXPECT_EQ(a.ExpandWith("Unknown", &owner), -1);
  EXPECT_EQ(a.ExpandWith("Scene", &owner), -1);  // not a Shape
  EXPECT_EQ(cExLiveBlocks(), live);
  ASSERT_EQ(a.GetAmountOfElements(), 2);
  EXPECT_STREQ(a[0]->GetClassName(), "Circle");
  EXPECT_EQ(a[1]->GetParent(), &owner);

  ClassPtr<Shape> p;
  EXPECT_EQ(p.GetAmountOfElements(), 0);
  EXPECT_EQ(p.ExpandWith("Circle", &owner), 0);
  EXPECT_EQ(p.ExpandWith("Unknown", &owner), -1);
  EXPECT_STREQ(p.Child->GetClassName(), "Circle");  // kept
  EXPECT_EQ(p.ExpandWith("Square", &owner), 0);     // replaces
  EXPECT_STREQ(p.GetElementID(0), "Square");
  EXPECT_EQ(p.GetAmountOfElements(), 1);
}

namespace {
Scene* MakeScene() {
  auto* s = new Scene;
  s->Title = "main";
  s->Count = 3;
  auto* c = new Circle;
  c->Name = "wheel";
  c->Radius = 5;
  c->Segments = 32;
  s->Shapes.Add(c);
  s->Shapes.Add(nullptr);
  auto* q = new Square;
  q->Side = 4;
  q->Color = 0xFF112233;
  s->Shapes.Add(q);
  auto* m = new Circle;
  m->Id = 77;
  s->Main.Set(m);
  s->SetParent(nullptr);
  return s;
}
}  // namespace

TEST(ReflectionTest, CopyDuplicatesArraysAndPointersDeeply) {
  RegisterTestClasses();
  Scene* a = MakeScene();
  Scene b;
  b.Title = "old";
  b.Shapes.Add(new Square);
  ASSERT_TRUE(b.Copy(a));
  EXPECT_STREQ(b.Title.cpchar(), "main");
  EXPECT_EQ(b.Count, 3);
  ASSERT_EQ(b.Shapes.GetAmount(), 3);  // reset first: the old square is gone
  auto* c = dynamic_cast<Circle*>(b.Shapes[0]);
  ASSERT_NE(c, nullptr);
  EXPECT_NE(c, a->Shapes[0]);
  EXPECT_STREQ(c->Name.cpchar(), "wheel");
  EXPECT_EQ(c->Radius, 5);
  EXPECT_EQ(c->Segments, 32);
  EXPECT_EQ(b.Shapes[1], nullptr);
  auto* q = dynamic_cast<Square*>(b.Shapes[2]);
  ASSERT_NE(q, nullptr);
  EXPECT_EQ(q->Side, 4);
  EXPECT_EQ(q->Color, 0xFF112233u);
  ASSERT_NE(b.Main.Child, nullptr);
  EXPECT_NE(b.Main.Child, a->Main.Child);
  EXPECT_EQ(b.Main.Child->Id, 77);
  // The copies are independent.
  c->Name = "changed";
  EXPECT_STREQ(static_cast<Circle*>(a->Shapes[0])->Name.cpchar(), "wheel");
  delete a;

  Circle one;
  Square other;
  EXPECT_FALSE(other.Copy(&one));  // class names differ
}

TEST(ReflectionTest, CopyToMatchesMembersByName) {
  RegisterTestClasses();
  Circle c;
  c.Id = 5;
  c.Size = 2.5f;
  c.Name = "disc";
  c.Radius = 9;
  Square s;
  s.Side = 7;
  ASSERT_TRUE(c.CopyTo(&c, nullptr, &s, &s, nullptr, 0));
  EXPECT_EQ(s.Id, 5);
  EXPECT_EQ(s.Size, 2.5f);
  EXPECT_STREQ(s.Name.cpchar(), "disc");
  EXPECT_EQ(s.Side, 7);  // no member of that name in a Circle
}

TEST(ReflectionTest, ResetZeroesPrimitivesAndClearsStrings) {
  RegisterTestClasses();
  Scene* s = MakeScene();
  s->Reset(s);
  EXPECT_EQ(s->Title.str, nullptr);
  EXPECT_EQ(s->Count, 0);
  EXPECT_EQ(s->Shapes.GetAmount(), 0);
  EXPECT_EQ(s->Main.Child, nullptr);
  delete s;
}

TEST(ReflectionTest, ValuesAsText) {
  RegisterTestClasses();
  Circle c;
  c.Size = 0.5f;
  c.Color = 0x80FF0000u;
  c.Name = "n";
  DString out;
  ASSERT_TRUE(c.GetElementClass(1)->GetValueByName(out, c.GetElementPtr(1, &c), nullptr, "value"));
  EXPECT_STREQ(out.cpchar(), "0.5");
  ASSERT_TRUE(c.GetElementClass(4)->GetValueByName(out, c.GetElementPtr(4, &c), nullptr, "value"));
  EXPECT_STREQ(out.cpchar(), "80FF0000");
  ASSERT_TRUE(c.GetElementClass(3)->GetValueByName(out, c.GetElementPtr(3, &c), nullptr, "value"));
  EXPECT_STREQ(out.cpchar(), "n");
  EXPECT_FALSE(c.GetElementClass(0)->GetValueByName(out, &c.Id, nullptr, "other"));
}
