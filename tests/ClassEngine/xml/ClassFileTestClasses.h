// Reflected classes for the class-file tests: one with a member of every
// kind (all primitives, a compound, an array, a pointer, a separator and a
// button), small element classes, and the enumerators they use.
#pragma once
#include <cstdint>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/ClassArray.h"
#include "ClassEngine/ClassPtr.h"
#include "ClassEngine/Enumerator.h"
#include "ClassEngine/MemberClasses.h"

inline Enumerator* TestModes() {
  static Enumerator* e = [] {
    Enumerator* m = GetEnumerator("CF_TEST_MODES");
    m->Add("Off", 5);
    m->Add("Low", 7);
    m->Add("High", 9);
    return m;
  }();
  return e;
}

class Leaf : public BaseClass {
 public:
  int A = 0;
  _str Tag;
  MV_CLASS(Leaf, BaseClass) {
    Member("_int", A, "A");
    Member("_str", Tag, "Tag");
  }
};

class LeafPlus : public Leaf {
 public:
  float W = 0;
  MV_CLASS(LeafPlus, Leaf) { Member("_float", W, "W"); }
};

class AllKinds : public BaseClass {
 public:
  int I = 0;
  uint32_t D = 0;
  float F = 0;
  bool B = false;
  uint8_t By = 0;
  char C = 0;
  uint16_t W = 0;
  short S = 0;
  _str Str;
  _str_ref Ref;
  int Idx = 5;
  uint32_t Col = 0;
  int Tex = -1;
  int ISlider = 0;
  float FSlider = 0;
  Leaf Inner;
  ClassArray<Leaf> Items;
  ClassPtr<Leaf> One;
  int Presses = 0;
  void Press() { Presses++; }
  MV_CLASS(AllKinds, BaseClass) {
    Member("_int", I, "I");
    Member("_DWORD", D, "D");
    Member("_float", F, "F");
    Member("_bool", B, "B");
    Member("_BYTE", By, "By");
    Member("_char", C, "C");
    Member("_WORD", W, "W");
    Member("_short", S, "S");
    Member("_str", Str, "Str");
    Member("_str_ref", Ref, "Ref");
    Member("_index", Idx, "Idx", TestModes());
    Member("_color", Col, "Col");
    Member("_TextureID", Tex, "Tex");
    Member("CtrlISlider", ISlider, "ISlider", NewIntSliderRange(0, 100));
    Member("CtrlFSlider", FSlider, "FSlider", NewFloatSliderRange(0, 1));
    AddDelimiter("|Sep");
    Member(Inner, "Inner");
    Member(Items, "Items");
    Member(One, "One");
    Method(&AllKinds::Press, "Press");
  }
};

inline void RegisterClassFileTestClasses() {
  RegisterClassEngineClasses();
  TestModes();
  Leaf leaf;
  RegisterClass(&leaf, nullptr, "Leaf");
  LeafPlus plus;
  RegisterClass(&plus, nullptr, "LeafPlus");
  AllKinds all;
  RegisterClass(&all, nullptr, "AllKinds");
}

// Fills every member with a value that differs from its reset state.
inline void FillAllKinds(AllKinds& a) {
  a.I = -42;
  a.D = 0xDEADBEEFu;
  a.F = 0.5f;
  a.B = true;
  a.By = 200;
  a.C = -7;
  a.W = 60000;
  a.S = -1234;
  a.Str = "a <b> & c";
  a.Ref.Assign("Target");
  a.Idx = 9;
  a.Col = 0xFF00FF80u;
  a.Tex = 3;
  a.ISlider = 77;
  a.FSlider = 0.25f;
  a.Inner.A = 11;
  a.Inner.Tag = "inner";
  a.Items.ExpandWith("Leaf", &a.Items);
  a.Items[0]->A = 1;
  a.Items.ExpandWith("LeafPlus", &a.Items);
  a.Items[1]->A = 2;
  static_cast<LeafPlus*>(a.Items[1])->W = 1.5f;
  a.One.ExpandWith("LeafPlus", &a.One);
  a.One.Get()->Tag = "one";
}

// Field-by-field equality of two AllKinds, with the elements of containers.
inline bool SameLeaf(Leaf* x, Leaf* y) {
  if (!x || !y) return x == y;
  if (x->A != y->A || !(x->Tag == y->Tag)) return false;
  if (strcmp(x->GetClassName(), y->GetClassName()) != 0) return false;
  auto* px = dynamic_cast<LeafPlus*>(x);
  auto* py = dynamic_cast<LeafPlus*>(y);
  return !px || px->W == py->W;
}

inline bool SameAllKinds(AllKinds& x, AllKinds& y) {
  if (x.I != y.I || x.D != y.D || x.F != y.F || x.B != y.B || x.By != y.By || x.C != y.C ||
      x.W != y.W || x.S != y.S || !(x.Str == y.Str) || !(x.Ref == y.Ref) || x.Idx != y.Idx ||
      x.Col != y.Col || x.Tex != y.Tex || x.ISlider != y.ISlider || x.FSlider != y.FSlider)
    return false;
  if (!SameLeaf(&x.Inner, &y.Inner) || !SameLeaf(x.One.Get(), y.One.Get())) return false;
  if (x.Items.GetAmount() != y.Items.GetAmount()) return false;
  for (int i = 0; i < x.Items.GetAmount(); i++)
    if (!SameLeaf(x.Items[i], y.Items[i])) return false;
  return true;
}
