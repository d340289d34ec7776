// Objects that refer to others by name: after a file loads, every reference
// points at the object of that name, whichever came first in the file; a
// second object of the same class and name does not steal the links; and a
// class that writes its XML by hand still deep-copies, through that XML.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/ClassArray.h"
#include "ClassEngine/Log.h"
#include "ClassEngine/MemberClasses.h"
#include "ClassEngine/NamedObjects.h"
#include "ClassEngine/xml/XmlNode.h"

namespace {
class Material : public BaseClass {
 public:
  _str Name;
  int Shininess = 0;
  MV_CLASS(Material, BaseClass) {
    Member("_str", Name, "Name");
    Member("_int", Shininess, "Shininess");
  }
  ~Material() override { ForgetNamedObject(this); }
  MV_NAMED_OBJECT(Name)
};

// Refers to a material by its name; the pointer follows the name.
class Part : public BaseClass {
 public:
  _str MaterialName;
  Material* Linked = nullptr;
  MV_CLASS(Part, BaseClass) {
    Member("_str", MaterialName, "MaterialName");
    SetAccessors(nullptr, nullptr, nullptr, &Part::Relink);
  }
  ~Part() override { ForgetLink(&Linked); }

 private:
  static void Relink(BaseClass* object, void*) {
    auto* p = static_cast<Part*>(object);
    LinkByName(&p->Linked, "Material", p->MaterialName.cpchar(),
               [p](BaseClass* m) { p->Linked = static_cast<Material*>(m); });
  }
};

class Assembly : public BaseClass {
 public:
  ClassArray<Part> Parts;
  ClassArray<Material> Materials;
  ClassArray<Part> LateParts;
  MV_CLASS(Assembly, BaseClass) {
    Member(Parts, "Parts");
    Member(Materials, "Materials");
    Member(LateParts, "LateParts");
  }
};

// A class with no members: it writes its points by hand.
class Polyline : public BaseClass {
 public:
  std::string Points;
  const char* GetClassName() override { return "Polyline"; }
  BaseClass* New() override { return new Polyline; }
  bool Save(XmlNode* xml, void* ptr, void*) override {
    xml->Assign(At(ptr)->Points.c_str());
    return true;
  }
  bool Load(XmlNode* xml, void* ptr, ErrorCollector*, void*) override {
    At(ptr)->Points = xml->Value();
    return true;
  }
  Polyline* At(void* ptr) { return ptr ? static_cast<Polyline*>((BaseClass*)ptr) : this; }
};

bool LoadText(BaseClass& object, const char* text) {
  XmlNode tree;
  if (tree.Parse(text) < 0) return false;
  return object.Load(&tree, &object, nullptr, nullptr);
}
}  // namespace

class NamedLinks : public ::testing::Test {
 protected:
  void SetUp() override {
    ClearNamedObjects();
    Material m;
    RegisterClass(&m, nullptr, "Material");
    Part p;
    RegisterClass(&p, nullptr, "Part");
  }
  void TearDown() override { ClearNamedObjects(); }
};

TEST_F(NamedLinks, ReferencesFindTheirObjectsWhicheverLoadsFirst) {
  Assembly a;
  ASSERT_TRUE(LoadText(a,
                       "<Assembly><Parts>"
                       "<Part><MaterialName>Brass</MaterialName></Part>"
                       "<Part><MaterialName>Steel</MaterialName></Part>"
                       "<Part><MaterialName>Nowhere</MaterialName></Part>"
                       "</Parts><Materials>"
                       "<Material><Name>Steel</Name><Shininess>40</Shininess></Material>"
                       "<Material><Name>Brass</Name><Shininess>70</Shininess></Material>"
                       "</Materials><LateParts>"
                       "<Part><MaterialName>Steel</MaterialName></Part>"
                       "</LateParts></Assembly>"));
  ASSERT_EQ(a.Parts.GetAmount(), 3);
  ASSERT_EQ(a.Materials.GetAmount(), 2);
  Material* steel = a.Materials[0];
  Material* brass = a.Materials[1];
  EXPECT_EQ(a.Parts[0]->Linked, brass) << "a reference read before its object";
  EXPECT_EQ(a.Parts[1]->Linked, steel);
  EXPECT_EQ(a.LateParts[0]->Linked, steel) << "a reference read after its object";
  EXPECT_EQ(a.Parts[2]->Linked, nullptr);
  EXPECT_EQ(WaitingLinkCount(), 1) << "Nowhere still waits";

  // Ids name chain and index; both objects are found by name and by id.
  EXPECT_EQ(int(unsigned(steel->GetObjectID()) >> 24), NamedObjectChain("Material"));
  EXPECT_NE(steel->GetObjectID(), brass->GetObjectID());
  EXPECT_EQ(NamedObjectById(steel->GetObjectID()), steel);
  EXPECT_EQ(FindNamedObject("Material", "Brass"), brass);
  EXPECT_EQ(NamedObjectReferences(steel->GetObjectID()), 2);

  // The object that finally arrives binds the waiting reference.
  Material late;
  ASSERT_TRUE(LoadText(late, "<Material><Name>Nowhere</Name></Material>"));
  EXPECT_EQ(a.Parts[2]->Linked, &late);
  EXPECT_EQ(WaitingLinkCount(), 0);
}

TEST_F(NamedLinks, ASecondObjectOfTheSameNameDoesNotStealTheLinks) {
  Material first, second;
  ASSERT_TRUE(LoadText(first, "<Material><Name>Glass</Name></Material>"));
  size_t mark = LogMark();
  ASSERT_TRUE(LoadText(second, "<Material><Name>Glass</Name></Material>"));
  EXPECT_NE(LogTextSince(mark).find("TryToLinkClass failed!"), std::string::npos);
  Part p;
  ASSERT_TRUE(LoadText(p, "<Part><MaterialName>Glass</MaterialName></Part>"));
  EXPECT_EQ(p.Linked, &first);
  // Renaming the part's reference relinks it; an empty name unlinks.
  ASSERT_TRUE(LoadText(p, "<Part><MaterialName></MaterialName></Part>"));
  EXPECT_EQ(p.Linked, nullptr);
}

TEST_F(NamedLinks, AnObjectThatDiesLeavesTheTable) {
  Part p;
  {
    Material m;
    ASSERT_TRUE(LoadText(m, "<Material><Name>Clay</Name></Material>"));
    EXPECT_EQ(FindNamedObject("Material", "Clay"), &m);
  }
  EXPECT_EQ(FindNamedObject("Material", "Clay"), nullptr);
  ASSERT_TRUE(LoadText(p, "<Part><MaterialName>Clay</MaterialName></Part>"));
  EXPECT_EQ(p.Linked, nullptr);
  EXPECT_EQ(WaitingLinkCount(), 1);
}

TEST_F(NamedLinks, WaitingReferenceOfADeletedOwnerIsDropped) {
  {
    Part p;
    ASSERT_TRUE(LoadText(p, "<Part><MaterialName>Wax</MaterialName></Part>"));
    EXPECT_EQ(WaitingLinkCount(), 1);
  }
  EXPECT_EQ(WaitingLinkCount(), 0);
  Material m;
  EXPECT_TRUE(LoadText(m, "<Material><Name>Wax</Name></Material>"));  // binds nothing stale
}

TEST(CopyThroughXml, AClassWithoutMembersCopiesThroughItsXmlForm) {
  Polyline a, b;
  a.Points = "0 0, 1 2, 3 5";
  b.Points = "old";
  ASSERT_TRUE(a.CopyTo(&a, nullptr, &b, &b, nullptr, 0));
  EXPECT_EQ(b.Points, "0 0, 1 2, 3 5");
  // Text that needs escaping survives the round through the tree.
  a.Points = "<a> & b";
  ASSERT_TRUE(a.CopyTo(&a, nullptr, &b, &b, nullptr, 0));
  EXPECT_EQ(b.Points, "<a> & b");
}
