// Reflected objects in binary streams: the bytes of the default-comparing
// form, strings and dictionaries, containers, round trips of every member
// kind, and streams that are cut, garbled or hostile.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <filesystem>

#include "ClassEngine/Random.h"
#include "ClassEngine/streams/FileBinStreams.h"
#include "ClassEngine/streams/MemoryBinStream.h"
#include "ClassEngine/xml/ClassFileTestClasses.h"

namespace {
using Bytes = std::vector<uint8_t>;

Bytes SaveBytes(BaseClass& object, Enumerator* dictionary = nullptr, Enumerator* skip = nullptr) {
  MemoryBinStream s;
  EXPECT_TRUE(object.SaveBin(&object, nullptr, &s, dictionary, skip));
  return Bytes(s.GetData(), s.GetData() + s.GetWritePos());
}

bool LoadBytes(BaseClass& object, const Bytes& bytes, Enumerator* dictionary = nullptr) {
  MemoryBinStream s;
  if (!bytes.empty()) s.Write(bytes.data(), (int64_t)bytes.size());
  return object.LoadBin(&object, nullptr, &s, dictionary);
}

// An object equal to a reset one saves as the single byte 0.
bool IsReset(BaseClass& object) { return SaveBytes(object) == Bytes{0}; }

class ClassBinTest : public ::testing::Test {
 protected:
  void SetUp() override { RegisterClassFileTestClasses(); }
};
}  // namespace

TEST_F(ClassBinTest, ObjectEqualToItsResetStateIsOneZeroByte) {
  Leaf leaf;
  EXPECT_EQ(SaveBytes(leaf), Bytes{0});
  AllKinds a;
  FillAllKinds(a);
  a.Reset(&a);
  EXPECT_EQ(SaveBytes(a), Bytes{0});
  // Constructor values are not the reference: a new AllKinds has Idx 5, Tex -1.
  AllKinds fresh;
  EXPECT_NE(SaveBytes(fresh), Bytes{0});
}

TEST_F(ClassBinTest, OnlyMembersThatDifferAreStoredByIndex) {
  Leaf leaf;
  leaf.A = 0x01020304;
  EXPECT_EQ(SaveBytes(leaf), (Bytes{1, 0, 4, 3, 2, 1}));
  leaf.A = 0;
  leaf.Tag = "ab";
  EXPECT_EQ(SaveBytes(leaf), (Bytes{1, 1, 2, 'a', 'b'}));
  LeafPlus plus;
  plus.W = 1.0f;  // member 2, after the base's two
  EXPECT_EQ(SaveBytes(plus), (Bytes{1, 2, 0x00, 0x00, 0x80, 0x3F}));
}

TEST_F(ClassBinTest, RawWidthsOfEachMemberKind) {
  struct Case {
    void (*set)(AllKinds&);
    size_t bytes;  // count, index, data
  } cases[] = {
      {[](AllKinds& a) { a.I = 1; }, 2 + 4},       {[](AllKinds& a) { a.D = 1; }, 2 + 4},
      {[](AllKinds& a) { a.F = 1; }, 2 + 4},       {[](AllKinds& a) { a.B = true; }, 2 + 1},
      {[](AllKinds& a) { a.By = 1; }, 2 + 1},      {[](AllKinds& a) { a.C = 1; }, 2 + 1},
      {[](AllKinds& a) { a.W = 1; }, 2 + 2},       {[](AllKinds& a) { a.S = 1; }, 2 + 2},
      {[](AllKinds& a) { a.Idx = 7; }, 2 + 4},     {[](AllKinds& a) { a.Col = 1; }, 2 + 4},
      {[](AllKinds& a) { a.Tex = 1; }, 2 + 4},     {[](AllKinds& a) { a.ISlider = 1; }, 2 + 4},
      {[](AllKinds& a) { a.FSlider = 1; }, 2 + 4},
  };
  for (const Case& c : cases) {
    AllKinds a;
    a.Reset(&a);
    c.set(a);
    EXPECT_EQ(SaveBytes(a).size(), c.bytes);
  }
}

TEST_F(ClassBinTest, StringLengthsAroundTheLongForm) {
  Leaf leaf;
  leaf.Tag = std::string(253, 'x').c_str();
  Bytes b = SaveBytes(leaf);
  EXPECT_EQ(b.size(), 2u + 254u);
  EXPECT_EQ(b[2], 253);
  leaf.Tag = std::string(254, 'y').c_str();
  b = SaveBytes(leaf);
  EXPECT_EQ(b.size(), 2u + 257u);
  EXPECT_EQ((Bytes{b[2], b[3], b[4]}), (Bytes{0xFE, 254, 0}));
  Leaf back;
  ASSERT_TRUE(LoadBytes(back, b));
  EXPECT_EQ(back.Tag, std::string(254, 'y').c_str());
}

TEST_F(ClassBinTest, DictionaryStringsTravelAsIndices) {
  Enumerator* dict = GetEnumerator("CF_TEST_WORDS");
  dict->Add("alpha");
  dict->Add("beta");
  Leaf leaf;
  leaf.Tag = "beta";
  Bytes b = SaveBytes(leaf, dict);
  EXPECT_EQ(b, (Bytes{1, 1, 0xFF, 1, 0}));
  Leaf back;
  ASSERT_TRUE(LoadBytes(back, b, dict));
  EXPECT_EQ(back.Tag, "beta");
  // Without the dictionary the index reads as an empty text.
  ASSERT_TRUE(LoadBytes(back, b));
  EXPECT_EQ(back.Tag, "");
  // A text the dictionary lacks is written out.
  leaf.Tag = "gamma";
  EXPECT_EQ(SaveBytes(leaf, dict).size(), 2u + 6u);
  // Class names of elements use it too.
  dict->Add("LeafPlus");
  AllKinds a;
  a.Reset(&a);
  a.Items.ExpandWith("LeafPlus", &a.Items);
  AllKinds again;
  ASSERT_TRUE(LoadBytes(again, SaveBytes(a, dict), dict));
  ASSERT_EQ(again.Items.GetAmount(), 1);
  EXPECT_STREQ(again.Items[0]->GetClassName(), "LeafPlus");
}

TEST_F(ClassBinTest, SkippedMembersAreLeftOut) {
  Enumerator* skip = GetEnumerator("CF_TEST_SKIP");
  skip->Add("Tag");
  Leaf leaf;
  leaf.A = 1;
  leaf.Tag = "not stored";
  EXPECT_EQ(SaveBytes(leaf, nullptr, skip), (Bytes{1, 0, 1, 0, 0, 0}));
}

TEST_F(ClassBinTest, EveryMemberKindRoundTrips) {
  AllKinds a;
  FillAllKinds(a);
  a.Items.Add(nullptr);
  Bytes b = SaveBytes(a);
  AllKinds back;
  back.I = 1234;  // loading resets first: nothing of this survives
  ASSERT_TRUE(LoadBytes(back, b));
  EXPECT_TRUE(SameAllKinds(a, back));
  ASSERT_EQ(back.Items.GetAmount(), 3);
  EXPECT_EQ(back.Items[2], nullptr);
  EXPECT_EQ(back.Items[0]->GetParent(), &back.Items);
  EXPECT_EQ(SaveBytes(back), b);
}

TEST_F(ClassBinTest, ContainerForms) {
  AllKinds a;
  a.Reset(&a);
  a.One.ExpandWith("Leaf", &a.One);
  // One is member 18: u8 1, then "Leaf", then the leaf's own form.
  EXPECT_EQ(SaveBytes(a), (Bytes{1, 18, 1, 4, 'L', 'e', 'a', 'f', 0}));
  a.One.Clear();
  a.Items.ExpandWith("Leaf", &a.Items);
  a.Items.Add(nullptr);
  EXPECT_EQ(SaveBytes(a), (Bytes{1, 17, 2, 0, 0, 0, 4, 'L', 'e', 'a', 'f', 0, 4, 'N', 'U', 'L', 'L'}));
}

namespace {
// Shows members by mask bit 1; the test hides member 1 behind bit 2.
class Masked : public BaseClass {
 public:
  int X = 0, Hidden = 0, Z = 0;
  MV_CLASS(Masked, BaseClass) {
    Member("_int", X, "X");
    Member("_int", Hidden, "Hidden");
    Member("_int", Z, "Z");
  }
  unsigned GetClassMask() override { return 1; }
};
}  // namespace

TEST_F(ClassBinTest, MaskedOutMembersAreNotStoredAndIndicesStayReal) {
  Masked m;
  m.GetDescriptor()->Members[1].Mask = 2;
  m.Hidden = 5;
  m.Z = 1;
  EXPECT_EQ(SaveBytes(m), (Bytes{1, 2, 1, 0, 0, 0}));
  Masked back;
  ASSERT_TRUE(LoadBytes(back, SaveBytes(m)));
  EXPECT_EQ(back.Z, 1);
  EXPECT_EQ(back.Hidden, 0);
}

TEST_F(ClassBinTest, FileStreamsCarryTheSameForm) {
  auto dir = std::filesystem::temp_directory_path() / "morvane_classbin";
  std::filesystem::create_directories(dir);
  std::string path = (dir / "all.bin").string();
  AllKinds a;
  FillAllKinds(a);
  {
    FILE_WriteBinStream out(path.c_str());
    ASSERT_TRUE(a.SaveBin(&a, nullptr, &out, nullptr));
    EXPECT_EQ(out.GetWritePos(), (int64_t)SaveBytes(a).size());
    out.Clear();
  }
  FILE_ReadBinStream in(path.c_str());
  AllKinds back;
  ASSERT_TRUE(back.LoadBin(&back, nullptr, &in, nullptr));
  EXPECT_TRUE(SameAllKinds(a, back));
  // The counter sizes a save without storing it.
  BinStreamCounter counter;
  a.SaveBin(&a, nullptr, &counter, nullptr);
  EXPECT_EQ(counter.GetWritePos(), (int64_t)SaveBytes(a).size());
}

// ---- Bad input ----

TEST_F(ClassBinTest, EveryTruncationFailsAndLeavesTheObjectReset) {
  AllKinds a;
  FillAllKinds(a);
  Bytes full = SaveBytes(a);
  for (size_t n = 0; n < full.size(); n++) {
    AllKinds target;
    FillAllKinds(target);
    Bytes cut(full.begin(), full.begin() + n);
    EXPECT_FALSE(LoadBytes(target, cut)) << n;
    EXPECT_TRUE(IsReset(target)) << n;
  }
}

TEST_F(ClassBinTest, HostileStreamsAreRefused) {
  const Bytes bad[] = {
      {1, 200, 0, 0, 0, 0},                              // member index out of range
      {1, 17, 1, 0, 0, 0, 5, 'N', 'o', 'p', 'e', '!'},  // unknown element class
      {1, 17, 1, 0, 0, 0, 8, 'A', 'l', 'l', 'K', 'i', 'n', 'd', 's', 0},  // not a Leaf
      {1, 17, 0xFF, 0xFF, 0xFF, 0xFF, 4, 'L', 'e', 'a', 'f', 0},  // count beyond the stream
      {1, 18, 2},                                                  // pointer flag not 0 or 1
      {1, 18, 1, 4, 'N', 'U', 'L', 'L'},                           // no class for the pointer
      {1, 16, 1, 9, 0, 0, 0},                                      // inner leaf: index 9
  };
  for (const Bytes& b : bad) {
    AllKinds target;
    FillAllKinds(target);
    EXPECT_FALSE(LoadBytes(target, b));
    EXPECT_TRUE(IsReset(target));
    // Still usable: it takes a good stream afterwards.
    AllKinds model;
    FillAllKinds(model);
    ASSERT_TRUE(LoadBytes(target, SaveBytes(model)));
    EXPECT_TRUE(SameAllKinds(model, target));
  }
}

namespace {
// A tree: the one shape in which a stream can nest objects without end.
class Node : public BaseClass {
 public:
  int Mark = 0;
  ClassArray<Node> Kids;
  MV_CLASS(Node, BaseClass) {
    Member(Kids, "Kids");
    Member("_int", Mark, "Mark");
  }
};

Bytes NestedNodes(int depth) {
  Bytes b;
  for (int i = 0; i < depth; i++) b.insert(b.end(), {1, 0, 1, 0, 0, 0, 4, 'N', 'o', 'd', 'e'});
  b.push_back(0);  // the innermost node: nothing differs
  return b;
}
}  // namespace

TEST_F(ClassBinTest, NestingDepthIsBounded) {
  Node n;
  RegisterClass(&n, nullptr, "Node");
  Node shallow;
  ASSERT_TRUE(LoadBytes(shallow, NestedNodes(50)));
  Node* deepest = &shallow;
  for (int i = 0; i < 50; i++) deepest = deepest->Kids[0];
  EXPECT_EQ(deepest->Kids.GetAmount(), 0);
  Node deep;
  deep.Mark = 3;
  EXPECT_FALSE(LoadBytes(deep, NestedNodes(100000)));
  EXPECT_EQ(deep.Kids.GetAmount(), 0);
  EXPECT_EQ(deep.Mark, 0);
}

TEST_F(ClassBinTest, RandomBytesNeverCrash) {
  Random rng(1234);
  AllKinds model;
  FillAllKinds(model);
  Bytes good = SaveBytes(model);
  int loaded = 0;
  for (int round = 0; round < 3000; round++) {
    Bytes b = good;
    int edits = 1 + rng.Next() % 4;
    for (int e = 0; e < edits; e++) b[rng.Next() % b.size()] = (uint8_t)rng.Next();
    AllKinds target;
    if (LoadBytes(target, b)) {
      loaded++;
      // What loads saves to a form that loads to the same object again.
      AllKinds again;
      ASSERT_TRUE(LoadBytes(again, SaveBytes(target)));
      EXPECT_EQ(SaveBytes(again), SaveBytes(target));
    } else {
      EXPECT_TRUE(IsReset(target));
    }
  }
  EXPECT_GT(loaded, 0);
}
