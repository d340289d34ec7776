// Reflected objects in XML: the exact text the writer produces, the odd forms
// the reader accepts, round trips of every member kind, files, and the C
// locale for numbers.
#include <gtest/gtest.h>
#include <locale.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "ClassEngine/xml/ErrorCollector.h"
#include "ClassEngine/xml/TextureSeam.h"
#include "ClassEngine/xml/XmlNode.h"
#include "ClassEngine/xml/ClassFileTestClasses.h"

namespace {
// The renderer's side of textures: id 3 is "brush.png".
class FakeTextures {
 public:
  FakeTextures() {
    old_ = SetTextureSeam({[](int id) -> const char* { return id == 3 ? "brush.png" : nullptr; },
                           [](const char* name) { return std::string(name) == "brush.png" ? 3 : -1; }});
  }
  ~FakeTextures() { SetTextureSeam(old_); }

 private:
  TextureSeam old_;
};

std::string SaveText(BaseClass& object) {
  XmlNode root;
  EXPECT_TRUE(object.Save(&root));
  std::string text;
  root.Write(text);
  return text;
}

// Parses `text` and loads it into `object`; the collector keeps the complaints.
bool LoadText(BaseClass& object, const std::string& text, ErrorCollector* error = nullptr) {
  XmlNode root;
  if (root.Parse(text.c_str()) < 0) return false;
  return object.Load(&root, &object, error);
}

std::string TempPath(const char* name) {
  auto dir = std::filesystem::temp_directory_path() / "morvane_classxml";
  std::filesystem::create_directories(dir);
  return (dir / name).string();
}

class ClassXmlTest : public ::testing::Test {
 protected:
  void SetUp() override { RegisterClassFileTestClasses(); }
  FakeTextures textures;
};
}  // namespace

// Separators and buttons write nothing; containers nest their elements
// under class-name tags; an empty slot is a bare NULL tag; only < and > are
// escaped.
TEST_F(ClassXmlTest, WriterProducesExactTextForEveryMemberKind) {
  AllKinds a;
  FillAllKinds(a);
  a.Items.Add(nullptr);
  const char* expected =
      "<AllKinds>\n <I>-42</I>\n <D>DEADBEEF</D>\n <F>0.500000</F>\n <B>true</B>\n"
      " <By>200</By>\n <C>-7</C>\n <W>60000</W>\n <S>-1234</S>\n"
      " <Str>a &ltb&gt & c</Str>\n <Ref>Target</Ref>\n <Idx>High</Idx>\n"
      " <Col>FF00FF80</Col>\n <Tex>brush.png</Tex>\n <ISlider>77</ISlider>\n"
      " <FSlider>0.250000</FSlider>\n"
      " <Inner>\n  <A>11</A>\n  <Tag>inner</Tag>\n </Inner>\n"
      " <Items>\n  <Leaf>\n   <A>1</A>\n   <Tag></Tag>\n  </Leaf>\n"
      "  <LeafPlus>\n   <A>2</A>\n   <Tag></Tag>\n   <W>1.500000</W>\n  </LeafPlus>\n"
      "  <NULL></NULL>\n </Items>\n"
      " <One>\n  <LeafPlus>\n   <A>0</A>\n   <Tag>one</Tag>\n   <W>0.000000</W>\n"
      "  </LeafPlus>\n </One>\n</AllKinds>\n";
  EXPECT_EQ(SaveText(a), expected);
}

TEST_F(ClassXmlTest, NodeWithANameKeepsIt) {
  Leaf l;
  XmlNode root("Brush");
  ASSERT_TRUE(l.Save(&root));
  EXPECT_STREQ(root.GetName(), "Brush");
  EXPECT_EQ(root.ChildCount(), 2);
}

TEST_F(ClassXmlTest, EveryMemberKindRoundTrips) {
  AllKinds a;
  FillAllKinds(a);
  a.Items.Add(nullptr);
  AllKinds b;
  ASSERT_TRUE(LoadText(b, SaveText(a)));
  EXPECT_TRUE(SameAllKinds(a, b));
  ASSERT_EQ(b.Items.GetAmount(), 3);
  EXPECT_EQ(b.Items[2], nullptr);  // the empty slot keeps its place
  EXPECT_EQ(SaveText(b), SaveText(a));
}

TEST_F(ClassXmlTest, BoolReadsTrueOnlyForTextBeginningWithTrue) {
  struct Case {
    const char* text;
    bool value;
  } cases[] = {{" TRUE", true}, {"true", true}, {"\tTrUe!", true}, {"1", false},
               {"yes", false},  {"", false},    {"tru", false},    {"false", false}};
  for (const Case& c : cases) {
    AllKinds a;
    a.B = !c.value;
    ASSERT_TRUE(LoadText(a, std::string("<AllKinds><B>") + c.text + "</B></AllKinds>"));
    EXPECT_EQ(a.B, c.value) << '"' << c.text << '"';
  }
}

TEST_F(ClassXmlTest, IndexReadsByNameAndFallsBackToTheFirstEntry) {
  AllKinds a;
  ASSERT_TRUE(LoadText(a, "<AllKinds><Idx>Low</Idx></AllKinds>"));
  EXPECT_EQ(a.Idx, 7);
  ErrorCollector errors;
  ASSERT_TRUE(LoadText(a, "<AllKinds><Idx>Ultra</Idx></AllKinds>", &errors));
  EXPECT_EQ(a.Idx, 5);
  a.Idx = 9;
  ASSERT_TRUE(LoadText(a, "<AllKinds><Idx></Idx></AllKinds>", &errors));
  EXPECT_EQ(a.Idx, 5);
  EXPECT_EQ(errors.Count, 0);
}

TEST_F(ClassXmlTest, HexWordsAndColoursReadInEitherCase) {
  AllKinds a;
  ASSERT_TRUE(LoadText(a, "<AllKinds><Col>ff00ff80</Col><D>0000001A</D></AllKinds>"));
  EXPECT_EQ(a.Col, 0xFF00FF80u);
  EXPECT_EQ(a.D, 0x1Au);
}

TEST_F(ClassXmlTest, NumbersThatDoNotReadAreReportedAndLeaveTheField) {
  AllKinds a;
  a.I = 4;
  a.F = 2;
  a.By = 9;
  a.Col = 0x12345678u;
  ErrorCollector errors(false);
  ASSERT_TRUE(LoadText(
      a, "<AllKinds><I>abc</I><F>x</F><By>?</By><Col>zz</Col><S>-3</S></AllKinds>", &errors));
  EXPECT_EQ(a.I, 4);
  EXPECT_EQ(a.F, 2);
  EXPECT_EQ(a.By, 9);
  EXPECT_EQ(a.Col, 0x12345678u);
  EXPECT_EQ(a.S, -3);  // loading went on
  EXPECT_STREQ(errors.Messages.cpchar(),
               "unable to read DWORD from XML: abc\n"
               "unable to read float from XML: x\n"
               "unable to read BYTE from XML: ?\n"
               "unable to read DWORD from XML: zz\n");
}

TEST_F(ClassXmlTest, UnknownIdentifiersAreReportedAndSkipped) {
  AllKinds a;
  ErrorCollector errors;
  ASSERT_TRUE(LoadText(a, "<AllKinds><Old>1</Old><I>5</I><Inner><Gone>x</Gone><A>3</A></Inner>"
                          "</AllKinds>",
                       &errors));
  EXPECT_EQ(a.I, 5);
  EXPECT_EQ(a.Inner.A, 3);
  EXPECT_STREQ(errors.Messages.cpchar(),
               "Unknown identifier Old of class AllKinds.\n"
               "Unknown identifier Gone of class Leaf.\n");
}

TEST_F(ClassXmlTest, AbsentMembersKeepTheirValues) {
  AllKinds a;
  FillAllKinds(a);
  ASSERT_TRUE(LoadText(a, "<AllKinds><I>1</I></AllKinds>"));
  EXPECT_EQ(a.I, 1);
  EXPECT_EQ(a.D, 0xDEADBEEFu);
  EXPECT_EQ(a.Str, "a <b> & c");
  EXPECT_EQ(a.Items.GetAmount(), 2);
}

TEST_F(ClassXmlTest, ArrayLoadedTwiceDoubles) {
  AllKinds a;
  FillAllKinds(a);
  std::string text = SaveText(a);
  AllKinds b;
  ASSERT_TRUE(LoadText(b, text));
  ASSERT_TRUE(LoadText(b, text));
  ASSERT_EQ(b.Items.GetAmount(), 4);
  EXPECT_EQ(b.Items[2]->A, 1);
  EXPECT_STREQ(b.Items[3]->GetClassName(), "LeafPlus");
  // A pointer holds one child: loading again replaces it.
  EXPECT_STREQ(b.One.Get()->Tag.cpchar(), "one");
}

TEST_F(ClassXmlTest, LoadedCompoundsKnowTheirOwner) {
  AllKinds a;
  FillAllKinds(a);
  AllKinds b;
  ASSERT_TRUE(LoadText(b, SaveText(a)));
  EXPECT_EQ(b.Inner.GetParent(), &b);
  EXPECT_EQ(b.Items.GetParent(), &b);
  EXPECT_EQ(b.Items[0]->GetParent(), &b.Items);
  EXPECT_EQ(b.One.Get()->GetParent(), &b.One);
}

TEST_F(ClassXmlTest, UnsetTextureWritesNothingAndUnknownNamesStayUnset) {
  AllKinds a;
  EXPECT_NE(SaveText(a).find("<Tex></Tex>"), std::string::npos);
  a.Tex = 3;
  ASSERT_TRUE(LoadText(a, "<AllKinds><Tex>missing.png</Tex></AllKinds>"));
  EXPECT_EQ(a.Tex, -1);
}

TEST(ClassXmlTexturesTest, WithoutARendererNamesAreKeptAndIdsStayUnset) {
  RegisterClassFileTestClasses();
  AllKinds a;
  a.Tex = 2;
  XmlNode root;
  ASSERT_EQ(root.Parse("<AllKinds><Tex>stone.png</Tex></AllKinds>"), 41);
  ASSERT_TRUE(a.Load(&root));
  EXPECT_EQ(a.Tex, -1);
  ASSERT_FALSE(PendingTextureNames().empty());
  EXPECT_EQ(PendingTextureNames().back(), "stone.png");
}

namespace {
// Counts the setter runs of its one member.
class Accessed : public BaseClass {
 public:
  int Level = 0;
  int Sets = 0;
  int LastSet = 0;
  MV_CLASS(Accessed, BaseClass) {
    Member("_int", Level, "Level");
    SetAccessors(nullptr, nullptr, [](BaseClass* o, uint32_t v) {
      auto* a = static_cast<Accessed*>(o);
      a->Sets++;
      a->LastSet = (int)v;
    }, nullptr);
  }
};

// Writes only what differs from a new object.
class Sparse : public BaseClass {
 public:
  int Size = 10;
  int Count = 0;
  Leaf Part;
  MV_CLASS(Sparse, BaseClass) {
    Member("_int", Size, "Size");
    Member("_int", Count, "Count");
    Member(Part, "Part");
  }
  bool SaveOnlyChanged() override { return true; }
};
}  // namespace

TEST_F(ClassXmlTest, SetAccessorRunsAfterTheValueIsRead) {
  Accessed a;
  ASSERT_TRUE(LoadText(a, "<Accessed><Level>12</Level></Accessed>"));
  EXPECT_EQ(a.Level, 12);
  EXPECT_EQ(a.Sets, 1);
  EXPECT_EQ(a.LastSet, 12);
}

TEST_F(ClassXmlTest, SaveOnlyChangedDropsLeavesEqualToANewObject) {
  Sparse s;
  s.Count = 3;
  EXPECT_EQ(SaveText(s),
            "<Sparse>\n <Count>3</Count>\n <Part>\n  <A>0</A>\n  <Tag></Tag>\n </Part>\n"
            "</Sparse>\n");
}

TEST_F(ClassXmlTest, NumbersStayInTheCLocale) {
  const char* old = setlocale(LC_ALL, nullptr);
  std::string saved = old ? old : "C";
  if (!setlocale(LC_ALL, "de_DE.UTF-8"))
    GTEST_SKIP() << "locale de_DE.UTF-8 is not generated here (locale-gen de_DE.UTF-8)";
  char probe[16];
  snprintf(probe, sizeof probe, "%.1f", 0.5);
  EXPECT_STREQ(probe, "0,5");  // the locale is really in force
  AllKinds a;
  a.F = 0.5f;
  std::string text = SaveText(a);
  AllKinds b;
  bool loaded = LoadText(b, "<AllKinds><F>0.750000</F><FSlider>1.5</FSlider></AllKinds>");
  setlocale(LC_ALL, saved.c_str());
  EXPECT_NE(text.find("<F>0.500000</F>"), std::string::npos);
  ASSERT_TRUE(loaded);
  EXPECT_EQ(b.F, 0.75f);
  EXPECT_EQ(b.FSlider, 1.5f);
}

// ---- Files ----

TEST_F(ClassXmlTest, FileRoundTrip) {
  std::string path = TempPath("all.xml");
  AllKinds a;
  FillAllKinds(a);
  ASSERT_TRUE(a.WriteToFile(path.c_str()));
  AllKinds b;
  ASSERT_TRUE(b.ReadFromFile(path.c_str()));
  EXPECT_TRUE(SameAllKinds(a, b));
  AllKinds c;
  ASSERT_TRUE(c.SafeReadFromFile(path.c_str()));
  EXPECT_TRUE(SameAllKinds(a, c));
}

TEST_F(ClassXmlTest, BadFilesGiveFalseAndLeaveTheObjectAsItWas) {
  AllKinds good;
  FillAllKinds(good);
  std::string full = SaveText(good);
  std::string hostile(600 * 3, '<');
  for (int i = 0; i < 600; i++) hostile.replace(i * 3, 3, "<A>");
  const std::string bad[] = {
      full.substr(0, full.size() / 2),  // truncated after some members
      full.substr(0, full.size() - 3),  // truncated in the end tag
      "</AllKinds><I>1</I>",            // starts with an end tag
      "<AllKinds><I>1</J></AllKinds>",  // wrong end tag
      std::string("\x01\xff garbage \x80", 13),
      hostile,  // nesting beyond the scanner's limit
      "",       // empty
  };
  std::string path = TempPath("bad.xml");
  for (const std::string& text : bad) {
    FILE* f = fopen(path.c_str(), "wb");
    ASSERT_NE(f, nullptr);
    fwrite(text.data(), 1, text.size(), f);
    fclose(f);
    AllKinds a;
    a.I = 99;
    a.Str = "kept";
    EXPECT_FALSE(a.ReadFromFile(path.c_str())) << text.substr(0, 40);
    EXPECT_EQ(a.I, 99);
    EXPECT_EQ(a.Str, "kept");
    EXPECT_EQ(a.Items.GetAmount(), 0);
  }
  AllKinds a;
  a.I = 99;
  EXPECT_FALSE(a.ReadFromFile(TempPath("missing.xml").c_str()));
  EXPECT_EQ(a.I, 99);
}

namespace {
// A settings block that may take its values from another file.
class Sourced : public BaseClass {
 public:
  _str SourceFile;
  bool LoadingRules = false;
  int Value = 1;
  MV_CLASS(Sourced, BaseClass) {
    Member("_str", SourceFile, "SourceFile");
    Member("_bool", LoadingRules, "LoadingRules");
    Member("_int", Value, "Value");
  }
};

class Holder : public BaseClass {
 public:
  Sourced Block;
  ClassArray<Sourced> More;
  MV_CLASS(Holder, BaseClass) {
    Member(Block, "Block");
    Member(More, "More");
  }
};
}  // namespace

TEST_F(ClassXmlTest, ExternalSourcesLoadOverTheBlockAfterAReset) {
  Sourced s;
  RegisterClass(&s, nullptr, "Sourced");
  std::string path = TempPath("source.xml");
  {
    Sourced external;
    external.Value = 42;
    ASSERT_TRUE(external.WriteToFile(path.c_str()));
  }
  Holder h;
  h.Block.SourceFile = path.c_str();
  h.Block.LoadingRules = true;
  h.Block.Value = 7;
  h.More.ExpandWith("Sourced", &h.More);
  h.More[0]->SourceFile = path.c_str();
  h.More[0]->LoadingRules = true;
  h.More.ExpandWith("Sourced", &h.More);
  h.More[1]->SourceFile = path.c_str();  // rules off: stays
  h.More[1]->Value = 5;
  ASSERT_TRUE(h.LoadExternalSources(nullptr, nullptr));
  EXPECT_EQ(h.Block.Value, 42);
  // The reset cleared the rules; the file's own text set them off again.
  EXPECT_FALSE(h.Block.LoadingRules);
  EXPECT_EQ(h.More[0]->Value, 42);
  EXPECT_EQ(h.More[1]->Value, 5);
}

namespace {
// A class whose first object is made by the reader itself: nothing in this
// program constructs one before the file below names it.
class NeverMadeBefore : public BaseClass {
 public:
  _str Path;
  MV_CLASS(NeverMadeBefore, BaseClass) { Member("_str", Path, "Path"); }
};
class HoldsNeverMade : public BaseClass {
 public:
  ClassArray<NeverMadeBefore> List;
  MV_CLASS(HoldsNeverMade, BaseClass) { Member(List, "List"); }
};
}  // namespace

TEST(ClassXml, AnArrayReadsElementsOfAClassNoObjectOfWhichWasMadeYet) {
  HoldsNeverMade holder;
  ErrorCollector errors(false);
  ASSERT_TRUE(LoadText(holder, "<HoldsNeverMade><List><NeverMadeBefore><Path>a.mvn</Path></NeverMadeBefore>"
                               "<NeverMadeBefore><Path>b.mvn</Path></NeverMadeBefore></List></HoldsNeverMade>",
                       &errors));
  EXPECT_EQ(errors.Count, 0) << errors.Messages.cpchar();
  ASSERT_EQ(holder.List.GetAmount(), 2);
  EXPECT_STREQ(holder.List[1]->Path.cpchar(), "b.mvn");
}
