// The working environment in the whole program on the fake platform: the
// menu bar with every command and its key, options that reach the shell and
// the camera at once, hot keys pressed as a person would, and the dock page
// of each room.
#include <gtest/gtest.h>

#include <filesystem>

#include "ShellFixture.h"
#include "interface/AppOptions.h"
#include "interface/Docks.h"
#include "interface/OptionsFile.h"
#include "platform/Keys.h"
#include "render/EglContext.h"
#include "shell/Program.h"
#include "shell/tools/ToolTable.h"

namespace {
class WorkspaceTest : public ShellTest {
 protected:
  void SetUp() override {
    ShellTest::SetUp();
    std::string why;
    if (!comms::cEglContext::Create(8, 8, &why)) GTEST_SKIP() << "no headless GL context: " << why;
    fake.SetClientSize(1280, 720);
    ProgramMode mode;
    mode.offscreen = true;
    mode.askInWindow = false;
    program_ = std::make_unique<Program>(fake, mode);
    StartOptions o;
    o.installCrashHandler = false;
    ASSERT_TRUE(program_->Start(o));
    program_->TheShell().RunFrames(2);
  }
  void TearDown() override {
    program_.reset();
    SetDefaultOptions();
    ShellTest::TearDown();
  }
  void Key(int key, bool down) {
    PlatformEvent e;
    e.type = down ? PlatformEvent::Type::KeyDown : PlatformEvent::Type::KeyUp;
    e.key = key;
    fake.SetKeyDown(key, down);
    fake.Push(e);
    program_->TheShell().RunFrames(1);
  }
  std::unique_ptr<Program> program_;
};
}  // namespace

TEST_F(WorkspaceTest, TheMenuHoldsTheCommandsWithTheirKeys) {
  MainMenuBar* bar = program_->Environment().Menu();
  ASSERT_NE(bar, nullptr);
  std::vector<std::string> titles;
  for (const MenuDescription& m : bar->Menus) titles.push_back(m.TitleKey);
  EXPECT_EQ(titles, (std::vector<std::string>{"MENU_FILE", "MENU_EDIT", "MENU_VIEW", "MENU_VOXELS", "MENU_ROOMS",
                                              "MENU_HELP"}));
  ASSERT_TRUE(bar->OpenMenu(0));
  PanelWidget* list = bar->OpenList();
  ASSERT_NE(list, nullptr);
  BaseWidget* save = list->FindWidget("$FILE_SAVE");
  ASSERT_NE(save, nullptr);
  EXPECT_EQ(KeyName(save), "'CTRL+S'");
  for (const char* c : {"$FILE_OPEN", "$FILE_SAVE_AS", "$FILE_IMPORT", "$FILE_QUIT", "$FILE_EXPORT"})
    EXPECT_NE(list->FindWidget(c), nullptr) << c;
  EXPECT_NE(FindCommand("FILE_SAVE_AS"), nullptr);
  EXPECT_EQ(FindCommand("FILE_EXPORT"), nullptr) << "not there yet: shown dim";
  // The voxel menu: each whole-volume command is there and runs.
  ASSERT_TRUE(bar->OpenMenu(3));
  for (const char* c : {"MakeVoxHull", "MakeSurfHull", "ExtrudeVO", "MergeCloud"}) {
    EXPECT_NE(bar->OpenList()->FindWidget((std::string("$") + c).c_str()), nullptr) << c;
    ASSERT_NE(FindCommand(c), nullptr) << c;
    EXPECT_TRUE(FindCommand(c)->Enabled()) << c;
  }
  bar->OpenMenu(4);
  EXPECT_EQ(bar->OpenList()->Children.GetAmount(), int(Tools().Rooms().size()));
  bar->CloseMenu();
}

TEST_F(WorkspaceTest, OptionsReachTheShellAndTheCameraAtOnce) {
  comms::cFreeViewer& cam = program_->View().Camera();
  const float rotate = cam.RotateSpeed;
  AppOptions::CamRotSpeed = 2;
  AppOptions::Autosave = true;
  AppOptions::AutosaveTime = 7;
  ASSERT_TRUE(SaveOptions());
  EXPECT_FLOAT_EQ(cam.RotateSpeed, 2 * rotate);
  EXPECT_TRUE(program_->TheShell().Autosave().Autosave);
  EXPECT_EQ(program_->TheShell().Autosave().AutosaveTime, 7);
  EXPECT_TRUE(Exists(Home("Options.xml")));
  EXPECT_TRUE(Exists(Home("Temp/resettheme5.dat")));
}

TEST_F(WorkspaceTest, AHotKeyPressedRunsItsCommand) {
  int runs = 0;
  RegisterCommand("VIEW_WIREFRAME", {[&] { ++runs; }, {}});
  Key(keys::Control, true);
  Key(keys::Shift, true);
  Key(keys::A + ('W' - 'A'), true);
  Key(keys::A + ('W' - 'A'), false);
  Key(keys::Shift, false);
  Key(keys::Control, false);
  EXPECT_EQ(runs, 1);
  Key(keys::A + ('W' - 'A'), true);  // without the modifiers: not the command
  Key(keys::A + ('W' - 'A'), false);
  EXPECT_EQ(runs, 1);
}

TEST_F(WorkspaceTest, ChangingRoomsSavesTheOldPageAndLoadsTheNew) {
  ASSERT_GE(Tools().Rooms().size(), 2u);
  ASSERT_NE(TheDocks(), nullptr);
  BaseWidget* navi = TheWidgetTree().Root().FindWidget("NAVI_SETUP");
  ASSERT_NE(navi, nullptr);
  const int first = Tools().CurrentRoom(), second = first == 0 ? 1 : 0;
  program_->Interface().Rooms().OnRoomClick(second);
  program_->TheShell().RunFrames(1);
  EXPECT_TRUE(Exists(Home("Temp/page_" + std::to_string(first) + ".xml")));
  program_->Interface().Rooms().OnRoomClick(first);
  program_->TheShell().RunFrames(1);
  EXPECT_TRUE(Exists(Home("Temp/page_" + std::to_string(second) + ".xml")));
  auto* header = dynamic_cast<DockableHeader*>(TheWidgetTree().Root().FindWidget("NAVI_SETUP")->ParentWidget());
  ASSERT_NE(header, nullptr);
  EXPECT_EQ(header->ParentWidget(), TheDocks()->DockRoot()) << "back in the first room it is docked again";
}

TEST_F(WorkspaceTest, ALayoutSavedFromTheMenuComesBack) {
  ASSERT_NE(TheDocks(), nullptr);
  auto* header = dynamic_cast<DockableHeader*>(TheWidgetTree().Root().FindWidget("NAVI_SETUP")->ParentWidget());
  ASSERT_NE(header, nullptr);
  const float x = header->X, w = header->W;
  ASSERT_FALSE(FindCommand("LAYOUT_LOAD_PAGE")->Enabled()) << "nothing saved yet";
  FindCommand("LAYOUT_SAVE_PAGE")->Run();
  EXPECT_TRUE(Exists(Home("Layouts/Saved.OnePageLayout")));
  DocksLayout empty;
  TheDocks()->Apply(empty);  // everything floats
  header = dynamic_cast<DockableHeader*>(TheWidgetTree().Root().FindWidget("NAVI_SETUP")->ParentWidget());
  ASSERT_TRUE(header->IsPopup);
  ASSERT_TRUE(FindCommand("LAYOUT_LOAD_PAGE")->Enabled());
  FindCommand("LAYOUT_LOAD_PAGE")->Run();
  header = dynamic_cast<DockableHeader*>(TheWidgetTree().Root().FindWidget("NAVI_SETUP")->ParentWidget());
  ASSERT_NE(header, nullptr);
  EXPECT_EQ(header->ParentWidget(), TheDocks()->DockRoot());
  EXPECT_EQ(header->X, x);
  EXPECT_EQ(header->W, w);
}

TEST_F(WorkspaceTest, TheViewCentresOnWhatTheDockedPanelsLeaveFree) {
  ASSERT_NE(TheDocks(), nullptr);
  comms::cFreeViewer& cam = program_->View().Camera();
  auto pivotOnScreen = [&] {
    program_->TheShell().RunFrames(1);
    return cam.ProjectToView(cam.m_Center);
  };
  auto leafMiddle = [] {
    const DockSpace* leaf = TheDocks()->ViewLeaf();
    return std::pair{leaf->AbsX + leaf->W / 2, leaf->AbsY + leaf->H / 2};
  };
  // The navigation window is docked on the right, the tool panel stands on
  // the left: the pivot is drawn in the middle of the space between them.
  comms::cVec3 p = pivotOnScreen();
  auto [mx, my] = leafMiddle();
  const DockSpace* root = TheDocks()->DockRoot();
  EXPECT_LT(mx, root->AbsX + root->W / 2 - 100) << "the docked window takes the right side";
  EXPECT_GT(mx, 1280 / 2 + 50) << "the tool panel takes the left";
  EXPECT_NEAR(p.x, mx, 1);
  EXPECT_NEAR(p.y, my, 1);
  // With everything floating the free space widens, and the centre follows.
  DocksLayout empty;
  TheDocks()->Apply(empty);
  p = pivotOnScreen();
  auto [fx, fy] = leafMiddle();
  EXPECT_GT(fx, mx + 50);
  EXPECT_NEAR(p.x, fx, 1);
  EXPECT_NEAR(p.y, fy, 1);
  // A pixel ray through the drawn pivot passes through the pivot.
  comms::cVec3 origin, dir;
  cam.PixelRay(p.x, p.y, origin, dir);
  const comms::cVec3 to = cam.m_Center - origin;
  const comms::cVec3 off = to - dir * comms::Dot(to, dir);
  EXPECT_LT(off.Length(), 1e-3f * to.Length());
}
