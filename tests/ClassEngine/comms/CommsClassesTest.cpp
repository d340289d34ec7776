// The comms classes: the shipped settings file reads into cSettings and comes
// back byte for byte; settings files round-trip every member; troubles go to
// the log under "Class engine warning!" and never to a box; vectors are text
// in the C locale; containers carry their comms names; the small classes
// (colour edit, transform, sampler, swatch, spline) keep their invariants.
#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "ClassEngine/Log.h"
#include "ClassEngine/NamedObjects.h"
#include "ClassEngine/SystemDialog.h"
#include "ClassEngine/comms/cColorEdit.h"
#include "ClassEngine/comms/cImageSwatchFile.h"
#include "ClassEngine/comms/cSamplerState.h"
#include "ClassEngine/comms/cSettings.h"
#include "ClassEngine/comms/cSpline.h"
#include "ClassEngine/comms/cTransform.h"
#include "ClassEngine/streams/MemoryBinStream.h"
#include "ClassEngine/xml/XmlNode.h"

using namespace comms;

namespace {
std::string Slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

std::string ShippedSettings() {
  const char* data = getenv("MORVANE_DATA");
  return std::string(data ? data : "data") + "/Xmls/Settings.xml";
}

std::string SavedText(BaseClass& object) {
  XmlNode tree;
  object.Save(&tree, &object, nullptr);
  std::string out;
  tree.Write(out);
  return out;
}

// Counts boxes; comms classes must never show one.
struct BoxCounter {
  int boxes = 0;
  SystemDialogHandler old;
  BoxCounter() {
    old = SetSystemDialogHandler([this](const SystemDialog&) {
      boxes++;
      return 0;
    });
  }
  ~BoxCounter() { SetSystemDialogHandler(old); }
};

class CommsClasses : public ::testing::Test {
 protected:
  void SetUp() override { RegisterCommsClasses(); }
};
}  // namespace

TEST_F(CommsClasses, ShippedSettingsFileReadsAndWritesBackUnchanged) {
  const std::string path = ShippedSettings();
  cSettings s;
  size_t mark = LogMark();
  ASSERT_TRUE(s.ReadFromFile(path.c_str())) << path;
  EXPECT_NE(LogTextSince(mark).find(" # Loading xml file \"" + path + "\"..."), std::string::npos);
  EXPECT_EQ(LogTextSince(mark).find("Class engine warning!"), std::string::npos) << "every member of the file is known";
  EXPECT_TRUE(s.ShowGrid);
  EXPECT_FALSE(s.Wireframe);
  EXPECT_EQ(s.GridColor, 0xFF707880u);
  EXPECT_EQ(s.GridLines, 20);
  // The program writes the file exactly as it is shipped.
  const std::string copy = ::testing::TempDir() + "Settings.xml";
  ASSERT_TRUE(s.WriteToFile(copy.c_str()));
  EXPECT_EQ(Slurp(copy), Slurp(path));
}

TEST_F(CommsClasses, EveryMemberOfTheSettingsSurvivesAFileUnderAGermanLocale) {
  cSettings s;
  s.ShowGrid = true;
  s.Wireframe = true;
  s.FullScreen = true;
  s.GridColor = 0x80FF0011u;
  s.GridStep = 2.5f;
  s.GridLines = 7;
  s.ClearColor.Enabled = true;
  s.ClearColor.Color = 0xFF102030u;
  const std::string path = ::testing::TempDir() + "settings-round.xml";
  const char* had = setlocale(LC_NUMERIC, nullptr);
  std::string old = had ? had : "C";
  setlocale(LC_NUMERIC, "de_DE.UTF-8");
  ASSERT_TRUE(s.WriteToFile(path.c_str()));
  setlocale(LC_NUMERIC, old.c_str());
  EXPECT_NE(Slurp(path).find("<GridStep>2.500000</GridStep>"), std::string::npos);
  cSettings back;
  ASSERT_TRUE(back.ReadFromFile(path.c_str()));
  EXPECT_EQ(SavedText(back), SavedText(s));
  EXPECT_TRUE(back.Wireframe);
  EXPECT_FLOAT_EQ(back.GridStep, 2.5f);
  EXPECT_EQ(back.ClearColor.Color, 0xFF102030u);
  // The binary form carries them too.
  MemoryBinStream bin;
  ASSERT_TRUE(s.SaveBin(&s, nullptr, &bin, nullptr));
  cSettings fromBin;
  ASSERT_TRUE(fromBin.LoadBin(&fromBin, nullptr, &bin, nullptr));
  EXPECT_EQ(SavedText(fromBin), SavedText(s));
}

TEST_F(CommsClasses, TroublesGoToTheLogNotToABox) {
  BoxCounter counter;
  cSettings s;
  s.GridLines = 33;
  size_t mark = LogMark();
  EXPECT_FALSE(s.ReadFromFile((::testing::TempDir() + "no-such-settings.xml").c_str()));
  const std::string broken = ::testing::TempDir() + "broken-settings.xml";
  {
    std::ofstream out(broken);
    out << "<cSettings><GridLines>x</GridLines><Unknown>1</Unknown><ShowGrid>true</ShowGrid></cSettings>";
  }
  EXPECT_TRUE(s.ReadFromFile(broken.c_str()));
  std::string log = LogTextSince(mark);
  EXPECT_NE(log.find("Class engine warning!\ncSettings: unable to read"), std::string::npos) << log;
  EXPECT_NE(log.find("unable to read DWORD from XML: x"), std::string::npos) << log;
  EXPECT_NE(log.find("Unknown identifier Unknown of class cSettings."), std::string::npos) << log;
  EXPECT_EQ(counter.boxes, 0);
  EXPECT_EQ(s.GridLines, 33) << "a number that does not read leaves the member";
  EXPECT_TRUE(s.ShowGrid) << "members after the bad one still load";
}

TEST_F(CommsClasses, ReloadShadersIsAButtonThatRunsTheHook) {
  cSettings s;
  int reloads = 0;
  auto old = cSettings::SetReloadShadersHook([&] { reloads++; });
  int i = s.FindElement("ReloadShaders");
  ASSERT_GE(i, 0);
  BaseClass* button = s.GetElementClass(i);
  ASSERT_TRUE(button && button->IsMethod());
  EXPECT_STREQ(button->GetClassName(), "_cButton");
  button->Call(&s);
  EXPECT_EQ(reloads, 1);
  cSettings::SetReloadShadersHook(old);
  EXPECT_EQ(SavedText(s).find("ReloadShaders"), std::string::npos) << "a button has no value to save";
}

TEST_F(CommsClasses, VectorsAreBlankSeparatedNumbersAndBadTextLeavesThem) {
  cTransform t;
  t.Position[0] = 1.5f;
  t.Position[1] = -2;
  t.Position[2] = 0.25f;
  XmlNode tree;
  t.Save(&tree, &t, nullptr);
  ASSERT_NE(tree.FindChild("Position"), nullptr);
  EXPECT_STREQ(tree.FindChild("Position")->Value(), "1.500000 -2.000000 0.250000");
  EXPECT_STREQ(tree.FindChild("Rotation")->Value(), "0.000000 0.000000 0.000000 1.000000");
  cTransform u;
  XmlNode bad;
  ASSERT_GT(bad.Parse("<cTransform><Position>1 2</Position><Scale>3 4 5</Scale></cTransform>"), 0);
  u.Load(&bad, &u, nullptr, nullptr);
  EXPECT_EQ(u.Position[0], 0.0f) << "two numbers for three: refused";
  EXPECT_EQ(u.Scale[2], 5.0f);
  // Reset gives the identity, not zeros.
  u.Reset(&u);
  EXPECT_EQ(u.Scale[0], 1.0f);
  EXPECT_EQ(u.Rotation[3], 1.0f);
}

TEST_F(CommsClasses, TransformMatrixAppliesScaleRotationThenTranslation) {
  cTransform t;
  t.Scale[0] = 2;
  // 90 degrees about y: x goes to -z for a row vector.
  t.Rotation[1] = std::sqrt(0.5f);
  t.Rotation[3] = std::sqrt(0.5f);
  t.Position[0] = 10;
  float m[16];
  t.Matrix(m);
  float p[3] = {1, 0, 0}, out[3];
  for (int j = 0; j < 3; j++) out[j] = p[0] * m[j] + p[1] * m[4 + j] + p[2] * m[8 + j] + m[12 + j];
  EXPECT_NEAR(out[0], 10, 1e-5);
  EXPECT_NEAR(out[1], 0, 1e-5);
  EXPECT_NEAR(out[2], -2, 1e-5);
}

TEST_F(CommsClasses, ContainersCarryTheirCommsNames) {
  cSpline s;
  EXPECT_STREQ(s.Nodes.GetClassName(), "cClassList.cSpline_Node");
  EXPECT_STREQ(cClassPtr<cTransform>::StaticClassName(), "cClassPtr.cTransform");
  EXPECT_STREQ(cClassRef<cImageSwatchFile>::StaticClassName(), "cClassRef.cImageSwatchFile");
  s.AddNode(0, 0, 0);
  s.AddNode(3, 1, 0);
  s.Nodes[1]->Tension = 0.25f;
  std::string text = SavedText(s);
  cSpline back;
  XmlNode tree;
  ASSERT_GT(tree.Parse(text.c_str()), 0);
  ASSERT_TRUE(back.Load(&tree, &back, nullptr, nullptr));
  ASSERT_EQ(back.Nodes.GetAmount(), 2);
  EXPECT_EQ(back.Nodes[1]->Position[0], 3.0f);
  EXPECT_EQ(back.Nodes[1]->Tension, 0.25f);
  EXPECT_EQ(SavedText(back), text);
}

namespace {
// A swatch that other objects name: the target of cClassRef.
class NamedSwatch : public cImageSwatchFile {
 public:
  MV_CLASS(NamedSwatch, cImageSwatchFile) {}
  ~NamedSwatch() override { ForgetNamedObject(this); }
  MV_NAMED_OBJECT(Name)
};

class Palette : public cClass {
 public:
  cClassRef<NamedSwatch> Current;
  cClassList<NamedSwatch> Swatches;
  MV_CLASS(Palette, cClass) {
    Member(Current, "Current");
    Member(Swatches, "Swatches");
  }
};
}  // namespace

TEST_F(CommsClasses, ReferenceNamesItsObjectAndFindsItOnceLoaded) {
  ClearNamedObjects();
  NamedSwatch model;
  RegisterClass(&model, nullptr, "NamedSwatch");
  Palette p;
  XmlNode tree;
  ASSERT_GT(tree.Parse("<Palette><Current>Rust</Current><Swatches>"
                       "<NamedSwatch><Name>Moss</Name><File>textures/moss.tga</File></NamedSwatch>"
                       "<NamedSwatch><Name>Rust</Name><File>textures\\rust.tga</File></NamedSwatch>"
                       "</Swatches></Palette>"),
            0);
  ASSERT_TRUE(p.Load(&tree, &p, nullptr, nullptr));
  ASSERT_EQ(p.Swatches.GetAmount(), 2);
  EXPECT_EQ(p.Current.Get(), p.Swatches[1]);
  EXPECT_STREQ(p.Swatches[1]->GetView(nullptr), "Rust");
  EXPECT_NE(SavedText(p).find("<Current>Rust</Current>"), std::string::npos);
  p.Swatches.Clear();
  EXPECT_EQ(p.Current.Get(), nullptr) << "the swatch is gone; the reference does not dangle";
  cImageSwatchFile unnamed;
  unnamed.File = "a/b\\c.png";
  EXPECT_STREQ(unnamed.GetView(nullptr), "c.png");
  ClearNamedObjects();
}

TEST_F(CommsClasses, SamplerStateWritesEnumeratorNames) {
  cSamplerState s;
  s.Filter = 2;
  s.AddressV = 1;
  std::string text = SavedText(s);
  EXPECT_NE(text.find("<Filter>Anisotropic</Filter>"), std::string::npos) << text;
  EXPECT_NE(text.find("<AddressV>Clamp</AddressV>"), std::string::npos) << text;
  cSamplerState back;
  back.Reset(&back);
  EXPECT_EQ(back.Filter, 1);
  XmlNode tree;
  ASSERT_GT(tree.Parse(text.c_str()), 0);
  back.Load(&tree, &back, nullptr, nullptr);
  EXPECT_EQ(back.Filter, 2);
  EXPECT_EQ(back.AddressV, 1);
}

TEST_F(CommsClasses, ColorEditKeepsRgbAndHsvInStep) {
  cColorEdit e;
  e.SetColor(0xFF336699u);
  EXPECT_NEAR(e.Hue, 210, 0.5);
  EXPECT_NEAR(e.Value, 0.6, 1e-3);
  uint32_t before = e.Color;
  e.SetHsv(e.Hue, e.Saturation, e.Value);
  EXPECT_EQ(e.Color, before);
  // A panel change of a slider updates the colour; alpha stays.
  e.Color = 0x80000000u;
  e.Hue = 120;
  e.Saturation = 1;
  e.Value = 1;
  EXPECT_TRUE(e.OnChange(nullptr, nullptr, nullptr, "Hue"));
  EXPECT_EQ(e.Color, 0x8000FF00u);
}

TEST_F(CommsClasses, SplinePassesThroughItsNodes) {
  cSpline s;
  float p[3];
  EXPECT_FALSE(s.Evaluate(0.5f, p));
  s.AddNode(0, 0, 0);
  s.AddNode(1, 2, 0);
  s.AddNode(4, 2, 1);
  ASSERT_TRUE(s.Evaluate(0, p));
  EXPECT_FLOAT_EQ(p[0], 0);
  ASSERT_TRUE(s.Evaluate(0.5f, p));
  EXPECT_FLOAT_EQ(p[0], 1);
  EXPECT_FLOAT_EQ(p[1], 2);
  ASSERT_TRUE(s.Evaluate(1, p));
  EXPECT_FLOAT_EQ(p[2], 1);
  // Closed: the last third runs back to the first node.
  s.Closed = true;
  ASSERT_TRUE(s.Evaluate(1, p));
  EXPECT_NEAR(p[0], 0, 1e-6);
  ASSERT_TRUE(s.Evaluate(2.0f / 3, p));
  EXPECT_NEAR(p[0], 4, 1e-5);
}
