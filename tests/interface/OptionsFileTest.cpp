// Options.xml, the themes and the options dialog: every option survives a
// save and a load, the dialog shows every option with its range, a damaged
// file gives up only what it lost, and a change applies without a restart.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>

#include "ClassEngine/Enumerator.h"
#include "ClassEngine/Log.h"
#include "ClassEngine/Threader.h"
#include "ClassEngine/UserPaths.h"
#include "ClassEngine/xml/XmlNode.h"
#include "WidgetTestKit.h"
#include "interface/AppOptions.h"
#include "interface/ClassPanel.h"
#include "interface/HotKeys.h"
#include "interface/OptionsFile.h"

namespace fs = std::filesystem;

class OptionsFileTest : public ::testing::Test {
 protected:
  void SetUp() override {

    dir_ = fs::temp_directory_path() / ("morvane-options-" + std::to_string(getpid()) + "-" +
                                        ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(dir_);
    fs::create_directories(dir_);
    std::string root = dir_.string() + "/";
    SetUserPathResolver([root](const std::string& rel) {
      fs::create_directories(fs::path(root + rel).parent_path());
      return root + rel;
    });
    SetDefaultOptions();
    HotKeyList().Clear();
    AppOptions::RecentFiles().Clear();
  }
  void TearDown() override {
    SetDefaultOptions();
    ApplyOptions();
    SetUserPathResolver(nullptr);
    fs::remove_all(dir_);
  }
  std::string Path(const std::string& rel) const { return (dir_ / rel).string(); }
  // Every member's value text, by tag.
  static std::map<std::string, std::string> Values() {
    XmlNode n;
    TheOptions().Save(&n, &TheOptions(), nullptr);
    std::map<std::string, std::string> out;
    for (int i = 0; i < n.ChildCount(); ++i) {
      XmlNode* c = n.Child(i);
      out[c->GetName()] = c->ChildCount() ? "list of " + std::to_string(c->ChildCount()) : c->ValueString();
    }
    return out;
  }
  // Moves every option away from its default, within its range.
  static void ChangeEveryOption() {
    AppOptions& o = TheOptions();
    for (int i = 0; i < o.GetAmountOfElements(); ++i) {
      BaseClass* c = o.GetElementClass(i);
      void* p = o.GetElementPtr(i, &o);
      void* e = o.GetElementExtra(i);
      std::string kind = c->GetClassName();
      if (kind == "_bool") *(bool*)p = !*(bool*)p;
      if (kind == "_color") *(uint32_t*)p ^= 0x00a5a5a5u;
      if (kind == "_float") *(float*)p += 0.25f;
      if (kind == "_int") *(int*)p += 3;
      if (kind == "_str") *_str::At(p) = "/opt/editor/bin/paint-it";
      if (kind == "_index") *(int*)p = (*(int*)p + 1) % ((Enumerator*)e)->GetAmount();
      if (kind == "CtrlISlider") {
        auto* r = (IntSliderRange*)e;
        *(int*)p = *(int*)p == r->Max ? r->Min : r->Max;
      }
      if (kind == "CtrlFSlider") {
        auto* r = (FloatSliderRange*)e;
        *(float*)p = *(float*)p == r->Max ? r->Min : r->Max;
      }
    }
  }
  // The dialog's rows for `form`, built into `parent`, by member name.
  static std::map<std::string, ClassRow*> BuildRows(OptForm& form, BaseWidget& parent) {
    float rect[4] = {0, 0, 400, 0};
    BuildClassPanel(&parent, rect, "", &form, &form, &form, nullptr);
    std::map<std::string, ClassRow*> rows;
    std::function<void(BaseWidget*)> walk = [&](BaseWidget* w) {
      if (auto* r = dynamic_cast<ClassRow*>(w)) rows[r->MemberName] = r;
      for (BaseWidget* c : w->Children) walk(c);
    };
    walk(&parent);
    return rows;
  }
  fs::path dir_;
  UiScope ui_;
};

TEST_F(OptionsFileTest, EveryOptionSurvivesSaveAndLoad) {
  std::ofstream(Path("Temp/resettheme5.dat")) << "done";  // not a first run
  LoadOptions();  // no file yet: the defaults, and saving is allowed from now
  const auto defaults = Values();
  ChangeEveryOption();
  AddHotKey("FILE_SAVE", SystemKeyCode("S"), false, true, false, false, true);
  for (int i = 0; i < 3; ++i) {
    auto* r = new RecentFile;
    r->Path = ("/tmp/scene" + std::to_string(i) + ".mvn").c_str();
    AppOptions::RecentFiles().Add(r);
  }
  // The widgets' folder and scroll states, and a floating window's place.
  SetScrollPosition("TOOL_PARAM1", 57.5f);
  SetFolderOpen("OPT_THEME", false);
  auto* place = new WindowPos;
  place->WndName = "PEN_VALUES";
  place->Width = 221, place->Height = 207, place->PopupX = 413, place->PopupY = 377;
  place->EnableTopmost = false;
  AppOptions::WindowStates().Add(place);
  auto* view = new CameraShortcut;
  view->Name = "Three quarters";
  view->Center[1] = -4.5f, view->ToEye = 230, view->Orient[1] = 0.38f, view->Orient[3] = 0.92f;
  view->Perspective = false, view->Fov = 40;
  AppOptions::CameraShortcuts().Add(view);
  AppOptions::CaptureWidgetStates();
  const auto saved = Values();
  // Texture handles need a renderer to name their files; all else must move.
  int moved = 0;
  for (const auto& [name, value] : saved) {
    if (name == "BackgrImage" || name == "SkyBoxImage" || name == "EnvMap") continue;
    EXPECT_NE(value, defaults.at(name)) << name << " did not change, so the test cannot see it";
    ++moved;
  }
  EXPECT_GT(moved, 130);
  ASSERT_TRUE(SaveOptions());
  SetDefaultOptions();
  HotKeyList().Clear();
  AppOptions::RecentFiles().Clear();
  AppOptions::WindowStates().Clear();
  AppOptions::CameraShortcuts().Clear();
  SetScrollPosition("TOOL_PARAM1", 0);
  SetFolderOpen("OPT_THEME", true);
  EXPECT_TRUE(LoadOptions());
  const auto loaded = Values();
  for (const auto& [name, value] : saved) {
    if (name == "MeshViewQuality") continue;  // always starts low
    EXPECT_EQ(loaded.at(name), value) << name;
  }
  EXPECT_EQ(HotKeyText("FILE_SAVE"), "CTRL+S");
  ASSERT_EQ(AppOptions::RecentFiles().GetAmount(), 3);
  EXPECT_STREQ(AppOptions::RecentFiles()[2]->Path.cpchar(), "/tmp/scene2.mvn");
  EXPECT_EQ(ScrollPosition("TOOL_PARAM1"), 57.5f) << "the widgets have their states back";
  EXPECT_FALSE(FolderOpen("OPT_THEME", true));
  ASSERT_EQ(AppOptions::WindowStates().GetAmount(), 1);
  const WindowPos& back = *AppOptions::WindowStates()[0];
  EXPECT_STREQ(back.WndName.cpchar(), "PEN_VALUES");
  EXPECT_EQ(back.Width, 221.0f);
  EXPECT_EQ(back.PopupX, 413.0f);
  EXPECT_EQ(back.PopupY, 377.0f);
  EXPECT_FALSE(back.EnableTopmost);
  ASSERT_EQ(AppOptions::CameraShortcuts().GetAmount(), 1);
  const CameraShortcut& v = *AppOptions::CameraShortcuts()[0];
  EXPECT_STREQ(v.Name.cpchar(), "Three quarters");
  EXPECT_EQ(v.Center[1], -4.5f);
  EXPECT_EQ(v.ToEye, 230.f);
  EXPECT_EQ(v.Orient[1], 0.38f);
  EXPECT_EQ(v.Orient[3], 0.92f);
  EXPECT_FALSE(v.Perspective);
  EXPECT_EQ(v.Fov, 40.f);
  AppOptions::CameraShortcuts().Clear();
  SetFolderOpen("OPT_THEME", true);
}

TEST_F(OptionsFileTest, TheDialogShowsEveryOptionWithItsRange) {
  OptForm form;
  form.RegisterMembers();
  AppOptions& o = TheOptions();
  std::map<void*, std::string> formRows;
  for (int i = 0; i < form.GetAmountOfElements(); ++i) formRows[form.GetElementPtr(i, &form)] = form.GetElementID(i);
  for (int i = 0; i < o.GetAmountOfElements(); ++i) {
    std::string kind = o.GetElementClass(i)->GetClassName();
    if (kind.rfind("ClassArray", 0) == 0) continue;  // the lists have their own editors
    EXPECT_TRUE(formRows.count(o.GetElementPtr(i, &o))) << o.GetElementID(i) << " has no row in the dialog";
  }
  BaseWidget parent;
  std::map<std::string, ClassRow*> rows = BuildRows(form, parent);
  ASSERT_TRUE(rows.count("AppOptions::AutosaveTime"));
  auto* range = (IntSliderRange*)rows["AppOptions::AutosaveTime"]->Extra;
  EXPECT_EQ(range->Min, 1);
  EXPECT_EQ(range->Max, 120);
  ASSERT_TRUE(rows.count("AppOptions::CamRotSpeed"));
  EXPECT_TRUE(rows["AppOptions::CamRotSpeed"]->CommitText("50"));
  EXPECT_EQ(AppOptions::CamRotSpeed, 10.0f) << "kept inside the row's range";
  EXPECT_TRUE(rows.count("AppOptions::MaxProcessorsToBeUsed"));
  // Every row of a number is a slider with a range or a list of choices.
  for (int i = 0; i < form.GetAmountOfElements(); ++i) {
    std::string kind = form.GetElementClass(i)->GetClassName();
    EXPECT_NE(kind, "_int") << form.GetElementID(i) << " shows no range";
  }
  ASSERT_TRUE(rows.count("AppOptions::SnappingMethod"));
  auto* snap = (Enumerator*)rows["AppOptions::SnappingMethod"]->Extra;
  ASSERT_NE(snap, nullptr);
  EXPECT_EQ(snap->GetAmount(), 3);
  EXPECT_STREQ(snap->Get(2), "SnapToNearestVertex");
  EXPECT_TRUE(rows.count("RestoreOptions"));
}

TEST_F(OptionsFileTest, ADamagedFileKeepsWhatItCanRead) {
  std::ofstream(Path("Temp/resettheme5.dat")) << "done";
  LoadOptions();
  AppOptions::AutosaveTime = 42;      // early in the file
  AppOptions::CamRotSpeed = 2.5f;     // late in the file
  AppOptions::NumAutosaves = 7;
  ASSERT_TRUE(SaveOptions());
  std::string text;
  {
    std::ifstream f(Path("Options.xml"));
    text.assign(std::istreambuf_iterator<char>(f), {});
  }
  // Cut the file in the middle of the input rows and spoil a number.
  size_t cut = text.find("<CamZoomSpeed>");
  ASSERT_NE(cut, std::string::npos);
  text = text.substr(0, cut + 8);
  size_t n = text.find("<NumAutosaves>7<");
  ASSERT_NE(n, std::string::npos);
  text.replace(n, 16, "<NumAutosaves>x<");
  std::ofstream(Path("Options.xml"), std::ios::trunc) << text;
  SetDefaultOptions();
  size_t mark = LogMark();
  EXPECT_FALSE(LoadOptions());
  EXPECT_EQ(AppOptions::AutosaveTime, 42);
  EXPECT_EQ(AppOptions::NumAutosaves, 3) << "a value that does not read keeps its default";
  EXPECT_EQ(AppOptions::CamRotSpeed, 1.0f) << "a value past the cut keeps its default";
  std::string log = LogTextSince(mark);
  EXPECT_NE(log.find("is damaged"), std::string::npos) << log;
  EXPECT_NE(log.find("NumAutosaves"), std::string::npos) << log;
}

TEST_F(OptionsFileTest, AFailedWriteKeepsTheOldFile) {
  std::ofstream(Path("Temp/resettheme5.dat")) << "done";
  LoadOptions();
  AppOptions::AutosaveTime = 33;
  ASSERT_TRUE(SaveOptions());
  // A folder where the temporary file would go: the write fails even for root.
  fs::create_directories(Path("Options.xml.tmp/x"));
  AppOptions::AutosaveTime = 44;
  EXPECT_FALSE(SaveOptions());
  fs::remove_all(Path("Options.xml.tmp"));
  SetDefaultOptions();
  LoadOptions();
  EXPECT_EQ(AppOptions::AutosaveTime, 33);
}

TEST_F(OptionsFileTest, TheFirstRunAppliesTheDarkThemeOnce) {
  AppOptions::InterfaceColor1 = 0xff123456u;
  ApplyOptions();
  EXPECT_FALSE(LoadOptions());
  EXPECT_TRUE(fs::exists(Path("Temp/resettheme5.dat")));
  EXPECT_EQ(Ui().Colors.Panel, 0xf0383b40u);
  AppOptions::InterfaceColor1 = 0xff123456u;
  SaveOptions();
  LoadOptions();
  EXPECT_EQ(AppOptions::InterfaceColor1, 0xff123456u) << "the reset runs once";
}

TEST_F(OptionsFileTest, ZeroNearPlaneResetsEverything) {
  std::ofstream(Path("Temp/resettheme5.dat")) << "done";
  std::ofstream(Path("Options.xml")) << "<AppOptions>\n <NearPlane>0.000000</NearPlane>\n <AutosaveTime>9</AutosaveTime>\n</AppOptions>\n";
  LoadOptions();
  EXPECT_EQ(AppOptions::NearPlane, 1.0f);
  EXPECT_EQ(AppOptions::AutosaveTime, 15);
}

TEST_F(OptionsFileTest, TheRecentListIsCutToTwenty) {
  std::ofstream(Path("Temp/resettheme5.dat")) << "done";
  std::ofstream f(Path("Options.xml"));
  f << "<AppOptions>\n <RecentFiles>\n";
  for (int i = 0; i < 25; ++i) f << "  <RecentFile>\n   <Path>f" << i << ".mvn</Path>\n  </RecentFile>\n";
  f << " </RecentFiles>\n</AppOptions>\n";
  f.close();
  LoadOptions();
  ASSERT_EQ(AppOptions::RecentFiles().GetAmount(), 20);
  EXPECT_STREQ(AppOptions::RecentFiles()[19]->Path.cpchar(), "f19.mvn");
}

TEST_F(OptionsFileTest, AWindowListOverAThousandIsCleared) {
  std::ofstream(Path("Temp/resettheme5.dat")) << "done";
  std::ofstream f(Path("Options.xml"));
  f << "<AppOptions>\n <AutosaveTime>9</AutosaveTime>\n <WindowStates>\n";
  for (int i = 0; i < 1001; ++i) f << "  <WindowPos>\n   <WndName>w" << i << "</WndName>\n  </WindowPos>\n";
  f << " </WindowStates>\n</AppOptions>\n";
  f.close();
  LoadOptions();
  EXPECT_EQ(AppOptions::WindowStates().GetAmount(), 0);
  EXPECT_EQ(AppOptions::AutosaveTime, 9) << "the rest of the file still counts";
}

TEST_F(OptionsFileTest, AnOldThemeWithoutHeaderFontTakesTheFontColour) {
  std::ofstream(Path("old.Options.xml")) << "<OptForm>\n <AppOptions::FontColor1>FF102030</AppOptions::FontColor1>\n"
                                            " <AppOptions::InterfaceColor1>FF405060</AppOptions::InterfaceColor1>\n</OptForm>\n";
  ASSERT_TRUE(LoadTheme(Path("old.Options.xml")));
  EXPECT_EQ(AppOptions::HeadersFontColor1, 0xff102030u);
  EXPECT_EQ(Ui().Colors.DimText, 0xff102030u);
  EXPECT_EQ(Ui().Colors.Panel, 0xff405060u);
  EXPECT_FALSE(LoadTheme(Path("missing.Options.xml")));
  EXPECT_EQ(Ui().Colors.Panel, 0xff405060u);
}

TEST_F(OptionsFileTest, ShippedThemesAreDistinctAndComplete) {
  std::vector<std::string> names = ThemeNames();
  for (const char* n : {"DefaultDark", "DefaultGrey", "DefaultLight", "DefaultYellow"})
    EXPECT_NE(std::find(names.begin(), names.end(), n), names.end()) << n;
  std::map<uint32_t, std::string> panels;
  for (const char* n : {"DefaultDark", "DefaultGrey", "DefaultLight", "DefaultYellow"}) {
    AppOptions::HeadersFontColor1 = 0;
    ASSERT_TRUE(LoadTheme(ThemePath(n))) << n;
    EXPECT_NE(AppOptions::HeadersFontColor1, 0u);
    EXPECT_TRUE(panels.emplace(Ui().Colors.Panel, n).second) << n << " looks like " << panels[Ui().Colors.Panel];
  }
  // A theme saved and loaded gives the same colours.
  ASSERT_TRUE(SaveTheme(Path("mine.Options.xml")));
  uint32_t before = AppOptions::ButtonsColor1;
  LoadTheme(ThemePath("DefaultDark"));
  ASSERT_TRUE(LoadTheme(Path("mine.Options.xml")));
  EXPECT_EQ(AppOptions::ButtonsColor1, before);
}

TEST_F(OptionsFileTest, AChangeInTheDialogAppliesAtOnce) {
  OptForm form;
  form.RegisterMembers();
  BaseWidget parent;
  std::map<std::string, ClassRow*> rows = BuildRows(form, parent);
  // A theme colour.
  AppOptions::ButtonsColor1 = 0xff112233u;
  rows["AppOptions::ButtonsColor1"]->Changed();
  EXPECT_EQ(Ui().Colors.Button, 0xff112233u);
  // The thread count.
  ASSERT_TRUE(rows.count("AppOptions::UseMultiCore"));
  AppOptions::UseMultiCore = false;
  rows["AppOptions::UseMultiCore"]->Changed();
  EXPECT_EQ(UsingProcessors(), 1);
  AppOptions::UseMultiCore = true;
  ASSERT_TRUE(rows["AppOptions::MaxProcessorsToBeUsed"]->CommitText("2"));
  EXPECT_EQ(AppOptions::UsingProcessors, 2);
  EXPECT_LE(UsingProcessors(), 2);
}

TEST_F(OptionsFileTest, WorkerCountFollowsTheProcessorOptions) {
  AppOptions::UseMultiCore = true;
  AppOptions::UsingProcessors = 1;
  EXPECT_EQ(OptionWorkerCount(8), 8) << "1 means no limit, like 0";
  AppOptions::UsingProcessors = 0;
  EXPECT_EQ(OptionWorkerCount(8), 8);
  AppOptions::UsingProcessors = 2;
  EXPECT_EQ(OptionWorkerCount(8), 2);
  EXPECT_EQ(OptionWorkerCount(64), 2);
  AppOptions::UsingProcessors = 32;
  EXPECT_EQ(OptionWorkerCount(64), 32);
  AppOptions::UseMultiCore = false;
  EXPECT_EQ(OptionWorkerCount(8), 1);
}
