// The working environment in the whole program on the fake platform: the
// menu bar with every command and its key, options that reach the shell and
// the camera at once, hot keys pressed as a person would, and the dock page
// of each room, and the pen's panel choosing its pictures and stroke modes.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <filesystem>
#include <fstream>

#include "ShellFixture.h"
#include "ClassEngine/DataFolder.h"
#include "interface/AppOptions.h"
#include "interface/Docks.h"
#include "interface/FileBrowser.h"
#include "interchange/TestFiles.h"
#include "interface/HotKeys.h"
#include "paint/OnePenStyle.h"
#include "paint/PenMasks.h"
#include "paint/SceneChanges.h"
#include "paint/tools/PaintBrushTools.h"
#include "interface/Navigation.h"
#include "interface/Widgets.h"
#include "paint/GeneralPen.h"
#include "interface/OptionsFile.h"
#include "interface/TextTable.h"
#include "interface/UiContext.h"
#include "interface/Widgets.h"
#include "MC/brushes/VoxelSculptTool.h"
#include "MC/objects/ObjectTools.h"
#include "interchange/Image.h"
#include "platform/Keys.h"
#include "render/EglContext.h"
#include "shell/Program.h"
#include "shell/Workspace.h"
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
  EXPECT_EQ(Ui().Colors.Resolve(list->Color) >> 24, 0xffu) << "an open list hides the panels below it";
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
  // The background follows its options too.
  AppOptions::TopBackgroundColor1 = 0xff2a5b17u;
  AppOptions::UseBackgrImage = comms::cBackground::SkyBox;
  ASSERT_TRUE(SaveOptions());
  EXPECT_EQ(program_->View().Background().TopBackgroundColor1, 0xff2a5b17u);
  EXPECT_EQ(program_->View().Background().UseBackgrImage, int(comms::cBackground::SkyBox));
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

TEST_F(WorkspaceTest, BracketsStepThePenThroughTheHotKeysAndMayBeReboundInPlace) {
  GeneralPenSaver keep;
  GeneralPen::PenRadius = 20;
  Key(keys::RightBracket, true);
  Key(keys::RightBracket, false);
  EXPECT_NEAR(GeneralPen::PenRadius, 23, 1e-4f);
  Key(keys::LeftBracket, true);
  Key(keys::LeftBracket, false);
  EXPECT_NEAR(GeneralPen::PenRadius, 20, 1e-4f);
  EXPECT_EQ(HotKeyText("PEN_RADIUS_WIDER"), "]");
  // A control of the command under the pointer; End, then K.
  auto* control = new FrameWidget("wider", 700, 300, 80, 24);
  control->Name = "$PEN_RADIUS_WIDER";
  TheWidgetTree().Root().AddChild(control);
  program_->TheShell().RunFrames(1);
  PlatformEvent move;
  move.type = PlatformEvent::Type::MouseMove;
  move.x = 710, move.y = 310;
  fake.WarpPointer(710, 310);
  fake.Push(move);
  program_->TheShell().RunFrames(1);
  Key(keys::End, true);
  Key(keys::End, false);
  const int k = keys::A + ('K' - 'A');
  Key(k, true);
  Key(k, false);
  EXPECT_EQ(HotKeyText("PEN_RADIUS_WIDER"), "K");
  Key(keys::RightBracket, true);
  Key(keys::RightBracket, false);
  EXPECT_NEAR(GeneralPen::PenRadius, 20, 1e-4f) << "] is free now";
  Key(k, true);
  Key(k, false);
  EXPECT_NEAR(GeneralPen::PenRadius, 23, 1e-4f);
  Key(keys::LeftBracket, true);
  Key(keys::LeftBracket, false);
  EXPECT_NEAR(GeneralPen::PenRadius, 20, 1e-4f) << "[ keeps its command";
  control->Delete();
}

TEST_F(WorkspaceTest, HoldingARampButtonGrowsThePenEveryFrameUntilLetGo) {
  GeneralPenSaver keep;
  GeneralPen::PenRadius = 10;
  BaseWidget* plus = TheWidgetTree().Root().FindWidget("$PEN_RADIUS_PLUS");
  ASSERT_NE(plus, nullptr);
  // The values are a tab of the docked header on the right: shown first.
  BaseWidget* tab = plus;
  while (tab->ParentWidget() && !dynamic_cast<DockableHeader*>(tab->ParentWidget())) tab = tab->ParentWidget();
  auto* header = dynamic_cast<DockableHeader*>(tab->ParentWidget());
  ASSERT_NE(header, nullptr);
  ASSERT_TRUE(header->ShowTab(tab->Name.cpchar()));
  program_->TheShell().RunFrames(1);
  ASSERT_TRUE(plus->Visible());
  auto event = [&](PlatformEvent::Type type, int key = -1) {
    PlatformEvent e;
    e.type = type;
    e.x = plus->AbsX + 5, e.y = plus->AbsY + 5;
    e.key = key;
    fake.WarpPointer(e.x, e.y);
    fake.Push(e);
    program_->TheShell().RunFrames(1);
  };
  event(PlatformEvent::Type::MouseMove);
  fake.SetKeyDown(keys::LeftButton, true);
  event(PlatformEvent::Type::ButtonDown, keys::LeftButton);
  const uint32_t pressed = fake.TickMs();
  for (int i = 0; i < 12; ++i) {
    fake.AdvanceTick(45);
    program_->TheShell().RunFrames(1);
  }
  // However the frames fell, the ramp adds up the time since the press.
  const float held = float(fake.TickMs() - pressed);
  EXPECT_NEAR(GeneralPen::PenRadius, 10 * std::exp(held / 3000), 1e-3f);
  EXPECT_GT(GeneralPen::PenRadius, 11.5f);
  fake.SetKeyDown(keys::LeftButton, false);
  event(PlatformEvent::Type::ButtonUp, keys::LeftButton);
  const float released = GeneralPen::PenRadius;
  for (int i = 0; i < 5; ++i) {
    fake.AdvanceTick(45);
    program_->TheShell().RunFrames(1);
  }
  EXPECT_EQ(GeneralPen::PenRadius, released);
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

TEST_F(WorkspaceTest, AWordsTableMayAddAMenuOfLinksThatOpenInTheBrowser) {
  namespace fs = std::filesystem;
  const fs::path folder = fs::temp_directory_path() / ("morvane-links-" + std::to_string(getpid()));
  fs::create_directories(folder);
  {
    std::ofstream f(folder / "text.xml");
    auto item = [&](const char* id, const char* text) {
      f << " <TextItem>\n  <ID>" << id << "</ID>\n  <Text>" << text << "</Text>\n </TextItem>\n";
    };
    f << "<ClassArray.TextItem>\n";
    item("@ADV_MENU1", "Learning");
    item("@ADG_ITEM0", "Video lessons");
    item("@ADV_URL0", "https://example.org/lessons");
    item("@ADG_ITEM1", "Forum");
    item("@ADV_URL1", "https://example.org/forum");
    f << "</ClassArray.TextItem>\n";  // "@ADG_ITEM2" is missing: it reads as its key and ends the list
  }
  auto titles = [&] {
    std::vector<std::string> out;
    for (const MenuDescription& m : program_->Environment().Menu()->Menus) out.push_back(m.TitleKey);
    return out;
  };
  const size_t menus = titles().size();
  for (const std::string& t : titles()) EXPECT_NE(t, "@ADV_MENU1") << "the shipped words name no such menu";
  TextTable words((folder / "text.xml").string(), comms::DataFolder());
  SetTextTable(&words);
  program_->Environment().BuildMenu();
  MainMenuBar* bar = program_->Environment().Menu();
  ASSERT_EQ(titles().size(), menus + 1);
  const MenuDescription& links = bar->Menus.back();
  EXPECT_STREQ(Text(links.TitleKey.c_str()), "Learning");
  ASSERT_EQ(links.Items.size(), 2u);
  FindCommand(links.Items[1].Command)->Run();
  FindCommand(links.Items[0].Command)->Run();
  EXPECT_EQ(fake.OpenedUrls, (std::vector<std::string>{"https://example.org/forum", "https://example.org/lessons"}));
  SetTextTable(nullptr);
  program_->Environment().BuildMenu();
  fs::remove_all(folder);
}

TEST_F(WorkspaceTest, TheNavigationZoneIsShadedAlongTheViewWhenShown) {
  comms::cRender* render = program_->View().Renderer();
  ASSERT_NE(render, nullptr);
  // A point of the bottom band, clear of the panels; rows come bottom first.
  auto pixel = [&](int fromBottom) {
    program_->TheShell().FrameIn(0);
    program_->TheShell().RunFrames(1);
    comms::cImage frame;
    EXPECT_TRUE(render->ReadScreen(frame));
    const uint8_t* p = frame.Pixel(700, fromBottom);
    return std::array<int, 3>{p[0], p[1], p[2]};
  };
  auto bottomBand = [&] { return pixel(10); };
  NaviSystem& nav = TheNavigation();
  const auto plain = bottomBand();
  nav.NaviZoneWidth = 40;
  nav.NaviZoneOpacity = 0.5f;
  EXPECT_EQ(bottomBand(), plain) << "not shown unless asked";
  nav.DisplayNaviZone = true;
  const auto shaded = bottomBand();
  EXPECT_NE(shaded, plain);
  const auto inside = pixel(60);
  const uint32_t h = Ui().Colors.Highlight;
  const int hl[3] = {int((h >> 16) & 255), int((h >> 8) & 255), int(h & 255)};
  for (int c = 0; c < 3; ++c) EXPECT_NEAR(shaded[c], (plain[c] + hl[c]) / 2, 3) << "channel " << c;
  nav.DisplayNaviZone = false;
  EXPECT_EQ(pixel(60), inside) << "past the zone's width nothing is shaded";
  nav.NaviZoneWidth = 0;
}

TEST_F(WorkspaceTest, CtrlAltShiftSKeepsTheWholeArrangementAndLBringsItBack) {
  ASSERT_NE(TheDocks(), nullptr);
  auto header = [] { return dynamic_cast<DockableHeader*>(TheWidgetTree().Root().FindWidget("NAVI_SETUP")->ParentWidget()); };
  ASSERT_NE(header(), nullptr);
  const float x = header()->X, w = header()->W;
  auto chord = [&](char letter) {
    Key(keys::Control, true);
    Key(keys::Alt, true);
    Key(keys::Shift, true);
    Key(keys::A + (letter - 'A'), true);
    Key(keys::A + (letter - 'A'), false);
    Key(keys::Shift, false);
    Key(keys::Alt, false);
    Key(keys::Control, false);
  };
  chord('S');
  ASSERT_TRUE(Exists(Home("ToolsPresets/dockinfo.xml")));
  DocksLayout empty;
  TheDocks()->Apply(empty);  // everything floats
  ASSERT_TRUE(header()->IsPopup);
  chord('L');
  ASSERT_NE(header(), nullptr);
  EXPECT_EQ(header()->ParentWidget(), TheDocks()->DockRoot());
  EXPECT_EQ(header()->X, x);
  EXPECT_EQ(header()->W, w);
}

TEST_F(WorkspaceTest, AWorkspaceFileBringsBackEveryRoomsPageAndTheOptions) {
  ASSERT_NE(TheDocks(), nullptr);
  ASSERT_GE(Tools().Rooms().size(), 2u);
  auto header = [] { return dynamic_cast<DockableHeader*>(TheWidgetTree().Root().FindWidget("NAVI_SETUP")->ParentWidget()); };
  const float x = header()->X, w = header()->W;
  // The other room gets a page of its own first.
  const int first = Tools().CurrentRoom(), second = first == 0 ? 1 : 0;
  program_->Interface().Rooms().OnRoomClick(second);
  program_->Interface().Rooms().OnRoomClick(first);
  program_->TheShell().RunFrames(1);
  AppOptions::CamRotSpeed = 3;
  ASSERT_FALSE(FindCommand("LAYOUT_LOAD_WORKSPACE")->Enabled()) << "nothing saved yet";
  FindCommand("LAYOUT_SAVE_WORKSPACE")->Run();
  ASSERT_TRUE(Exists(Home("Layouts/Saved.mvn_wrokspace")));

  // Everything changes: the page floats, the other room's page is gone, the option moves.
  DocksLayout empty;
  TheDocks()->Apply(empty);
  ASSERT_TRUE(header()->IsPopup);
  std::filesystem::remove(Home("Temp/page_" + std::to_string(second) + ".xml"));
  AppOptions::CamRotSpeed = 1;

  ASSERT_TRUE(FindCommand("LAYOUT_LOAD_WORKSPACE")->Enabled());
  FindCommand("LAYOUT_LOAD_WORKSPACE")->Run();
  EXPECT_EQ(header()->ParentWidget(), TheDocks()->DockRoot());
  EXPECT_EQ(header()->X, x);
  EXPECT_EQ(header()->W, w);
  EXPECT_TRUE(Exists(Home("Temp/page_" + std::to_string(second) + ".xml")));
  EXPECT_FLOAT_EQ(AppOptions::CamRotSpeed, 3);

  // A file that is not a workspace changes nothing.
  {
    std::ofstream f(Home("Layouts/Saved.mvn_wrokspace"));
    f << "<Other><x>1</x></Other>\n";
  }
  AppOptions::CamRotSpeed = 2;
  FindCommand("LAYOUT_LOAD_WORKSPACE")->Run();
  EXPECT_FLOAT_EQ(AppOptions::CamRotSpeed, 2);
}

TEST_F(WorkspaceTest, ResettingPagesBringsBackTheFirstArrangement) {
  ASSERT_NE(TheDocks(), nullptr);
  auto header = [] { return dynamic_cast<DockableHeader*>(TheWidgetTree().Root().FindWidget("NAVI_SETUP")->ParentWidget()); };
  const float x = header()->X, w = header()->W;
  const int first = Tools().CurrentRoom(), second = first == 0 ? 1 : 0;
  program_->Interface().Rooms().OnRoomClick(second);
  program_->Interface().Rooms().OnRoomClick(first);
  program_->TheShell().RunFrames(1);
  const std::string otherPage = Home("Temp/page_" + std::to_string(second) + ".xml");
  ASSERT_TRUE(Exists(otherPage));

  DocksLayout empty;
  TheDocks()->Apply(empty);
  ASSERT_TRUE(header()->IsPopup);
  FindCommand("LAYOUT_RESET_PAGE")->Run();
  EXPECT_EQ(header()->ParentWidget(), TheDocks()->DockRoot());
  EXPECT_EQ(header()->X, x);
  EXPECT_EQ(header()->W, w);
  EXPECT_TRUE(Exists(otherPage)) << "only this room's page goes";

  TheDocks()->Apply(empty);
  FindCommand("LAYOUT_RESET_ALL_PAGES")->Run();
  EXPECT_EQ(header()->ParentWidget(), TheDocks()->DockRoot());
  EXPECT_FALSE(Exists(otherPage));
}

TEST_F(WorkspaceTest, SaveAsAsksInTheBrowserAndSaveThenKeepsWritingThatFile) {
  WidgetTree& tree = program_->Interface().Tree();
  const Command* saveAs = FindCommand("FILE_SAVE_AS");
  ASSERT_NE(saveAs, nullptr);
  saveAs->Run();
  program_->TheShell().RunFrames(1);
  auto* box = dynamic_cast<FileBrowserBox*>(tree.Root().FindWidget("FILE_BROWSER"));
  ASSERT_NE(box, nullptr);
  // It offers an untitled scene in the user's folder, and saves where it is told.
  EXPECT_EQ(box->Edit, "untitled.mvn");
  box->Edit = "first";
  ASSERT_TRUE(box->Confirm());
  const std::string first = box->Listing.Folder() + "/first.mvn";
  ASSERT_TRUE(Exists(first));
  EXPECT_EQ(ChangedSinceSave, 0);
  // Save writes the same file again, without asking.
  std::filesystem::remove(first);
  ChangedSinceSave = 1;
  FindCommand("FILE_SAVE")->Run();
  program_->TheShell().RunFrames(1);
  EXPECT_EQ(tree.Root().FindWidget("FILE_BROWSER"), nullptr);
  EXPECT_TRUE(Exists(first));
  EXPECT_EQ(ChangedSinceSave, 0);
  // Cancelling a save as writes nothing.
  saveAs->Run();
  program_->TheShell().RunFrames(1);
  box = dynamic_cast<FileBrowserBox*>(tree.Root().FindWidget("FILE_BROWSER"));
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(box->Edit, "first.mvn");
  box->Edit = "second";
  const std::string folder = box->Listing.Folder();
  Key(keys::Esc, true);
  Key(keys::Esc, false);
  EXPECT_EQ(tree.Root().FindWidget("FILE_BROWSER"), nullptr);
  EXPECT_FALSE(Exists(folder + "/second.mvn"));
}

TEST_F(WorkspaceTest, AVoxelModesFileQuestionOffersItsDefaultThenTheLastChoice) {
  VoxelSculptTool* tool = FindVoxelTool(Tools());
  ASSERT_NE(tool, nullptr);
  ASSERT_TRUE(tool->AskFile) << "the window answers the tool's questions";
  std::string chosen;
  auto ask = [&] {
    tool->AskFile(LogoQuestion(), [&](const std::string& path) { chosen = path; });
    return dynamic_cast<FileBrowserBox*>(TheWidgetTree().Root().FindWidget("FILE_BROWSER"));
  };
  FileBrowserBox* box = ask();
  ASSERT_NE(box, nullptr);
  const std::filesystem::path offered(LogoQuestion().DefaultPath);
  EXPECT_EQ(box->Edit, offered.filename().string());
  EXPECT_EQ(box->Listing.Folder(), offered.parent_path().string());
  // Only pictures are listed.
  for (const FileListing::Entry& e : box->Listing.Entries()) {
    if (!e.IsFolder) {
      EXPECT_NE(e.Name.find_last_of('.'), std::string::npos) << e.Name;
    }
  }
  std::ofstream(Home("mine.png")) << "picture";
  box->Edit = Home("mine.png");
  EXPECT_TRUE(box->Confirm());
  EXPECT_EQ(chosen, Home("mine.png"));
  program_->TheShell().RunFrames(2);
  ASSERT_EQ(TheWidgetTree().Root().FindWidget("FILE_BROWSER"), nullptr) << "the answered box closed";
  box = ask();
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(box->Edit, "mine.png") << "the last picture under \"PICKIMG\" is offered again";
  EXPECT_EQ(box->Listing.Folder() + "/", Home(""));
  EXPECT_EQ(Workspace::ExtensionsOfMasks("*.tga;*.BMP;*.*"), (std::vector<std::string>{"tga", "bmp"}));
}

TEST_F(WorkspaceTest, AStoredViewBringsTheCameraBackAndIsKeptInTheOptions) {
  AppOptions::CameraShortcuts().Clear();
  const Command* store = FindCommand("VIEW_STORE_CAMERA");
  const Command* next = FindCommand("VIEW_NEXT_CAMERA");
  const Command* forget = FindCommand("VIEW_FORGET_CAMERAS");
  ASSERT_TRUE(store && next && forget);
  EXPECT_FALSE(next->Enabled()) << "nothing stored yet";
  comms::cFreeViewer& camera = program_->View().Camera();
  camera.Rotate(40, 10);
  camera.Update();
  const comms::cVec3 stored = camera.Pos;
  store->Run();
  ASSERT_EQ(AppOptions::CameraShortcuts().GetAmount(), 1);
  EXPECT_STREQ(AppOptions::CameraShortcuts()[0]->Name.cpchar(), "View 1");
  // Kept in the options file at once.
  AppOptions::CameraShortcuts().Clear();
  ASSERT_TRUE(LoadOptions());
  ASSERT_EQ(AppOptions::CameraShortcuts().GetAmount(), 1);
  camera.Rotate(-90, 30);
  camera.Pan(25, -10);
  camera.Update();
  EXPECT_GT((camera.Pos - stored).Length(), 1.f);
  ASSERT_TRUE(next->Enabled());
  next->Run();
  EXPECT_LT((camera.Pos - stored).Length(), 1e-3f);
  forget->Run();
  EXPECT_EQ(AppOptions::CameraShortcuts().GetAmount(), 0);
  EXPECT_FALSE(next->Enabled());
}

// The pen's panel chooses a stencil, a material pattern and a pen style in the
// browser; each lies over the view at once, the stencil the right way round
// and inverted on demand, and each drop button takes its picture away.
TEST_F(WorkspaceTest, ThePensPanelChoosesAStencilAMaterialAndAStyleInTheBrowser) {
  if (!testfiles::HaveConvert()) GTEST_SKIP() << "ImageMagick is not installed (scripts/deps.sh --tests)";
  PaintBrushTool* pen = FindPaintTool(Tools(), "StdPen");
  ASSERT_NE(pen, nullptr);
  ASSERT_EQ(TheWidgetTree().Root().FindWidget("FILE_BROWSER"), nullptr) << "no browser is open yet";
  comms::cImage picture;
  // 41 x 31, dark in its 13 left columns.
  ASSERT_TRUE(testfiles::MagickImage("-size 41x31 xc:white -fill black", "-draw \"rectangle 0,0 12,30\"",
                                     Home("stencil.png"), picture));
  ASSERT_TRUE(testfiles::MagickImage("-size 9x7 xc:gray50", "", Home("grey.png"), picture));
  ASSERT_TRUE(testfiles::MagickImage("-size 9x7 xc:red", "", Home("red.png"), picture));
  // Answers the browser the button opened with `path`.
  auto answer = [&](const std::string& path) {
    program_->TheShell().RunFrames(1);
    auto* box = dynamic_cast<FileBrowserBox*>(TheWidgetTree().Root().FindWidget("FILE_BROWSER"));
    ASSERT_NE(box, nullptr);
    box->Edit = path;
    EXPECT_TRUE(box->Confirm());
    program_->TheShell().RunFrames(2);
  };
  // A point of the scene seen at view pixel (x, y).
  const comms::cFreeViewer& cam = program_->View().Camera();
  auto seenAt = [&](float x, float y, float p[3]) {
    comms::cVec3 o, d;
    cam.PixelRay(x, y, o, d);
    const comms::cVec3 q = o + d.Normalized() * 5.f;
    p[0] = q.x, p[1] = q.y, p[2] = q.z;
  };
  const comms::cRect& r = cam.ViewRect;
  const float vw = r.right - r.left, vh = r.bottom - r.top, k = std::min(vw / 41, vh / 31);
  const float left = r.left + (vw - 41 * k) / 2, middle = r.top + vh / 2;
  float dark[3], light[3];
  seenAt(left + 6.5f * k, middle, dark);
  seenAt(left + 30.5f * k, middle, light);

  pen->Masks.ChooseStencil();
  answer(Home("stencil.png"));
  ASSERT_NE(GeneralPen::Mask, nullptr);
  EXPECT_NEAR(GeneralPen::Mask->At(dark), 0.f, 1e-4f);
  EXPECT_NEAR(GeneralPen::Mask->At(light), 1.f, 1e-4f);
  // A file that is no picture leaves the stencil as it was.
  std::ofstream(Home("broken.png")) << "not a picture";
  pen->Masks.ChooseStencil();
  answer(Home("broken.png"));
  ASSERT_NE(GeneralPen::Mask, nullptr);
  EXPECT_NEAR(GeneralPen::Mask->At(dark), 0.f, 1e-4f);
  EXPECT_EQ(ThePenMasks().StencilFile(), Home("stencil.png"));
  PenMaskPanel::InvMask = true;
  pen->Masks.OnChange(&pen->Masks, &PenMaskPanel::InvMask, nullptr, "InvMask");
  EXPECT_NEAR(GeneralPen::Mask->At(dark), 1.f, 1e-4f);
  EXPECT_NEAR(GeneralPen::Mask->At(light), 0.f, 1e-4f);
  PenMaskPanel::InvMask = false;
  pen->Masks.OnChange(&pen->Masks, &PenMaskPanel::InvMask, nullptr, "InvMask");

  pen->Masks.ChooseMaterial();
  answer(Home("grey.png"));
  EXPECT_NEAR(GeneralPen::Mask->At(light), 127.f / 255, 1.5f / 255);
  EXPECT_NEAR(GeneralPen::Mask->At(dark), 0.f, 1e-4f);
  pen->Masks.DropStencil();
  ASSERT_NE(GeneralPen::Mask, nullptr) << "the material stays";
  EXPECT_NEAR(GeneralPen::Mask->At(dark), 127.f / 255, 1.5f / 255);
  pen->Masks.DropMaterial();
  EXPECT_EQ(GeneralPen::Mask, nullptr);

  pen->Masks.ChoosePenStyle();
  answer(Home("red.png"));
  ASSERT_NE(OnePenStyle::Active, nullptr);
  float rgba[4];
  ASSERT_TRUE(OnePenStyle::Active->Read(OnePenStyle::kColor, light, rgba));
  EXPECT_EQ(rgba[0], 255.f);
  EXPECT_EQ(rgba[1], 0.f);
  EXPECT_EQ(rgba[2], 0.f);
  pen->Masks.DropPenStyle();
  EXPECT_EQ(OnePenStyle::Active, nullptr);
}

// The paint pen's pressure combo sets the stroke mode and the drawn shape of
// each entry, and shows the mode the pen is in.
TEST_F(WorkspaceTest, ThePaintPensComboChoosesTheStrokeModeAndTheDrawnShape) {
  PaintBrushTool* pen = FindPaintTool(Tools(), "StdPen");
  ASSERT_NE(pen, nullptr);
  Enumerator* list = GetEnumerator("PAINTPENPRESS");
  ASSERT_EQ(list->GetStoredAmount(), 14);
  for (int i = 0; i < list->GetStoredAmount(); ++i)
    EXPECT_STRNE(Text(list->Get(i)), list->Get(i)) << "a word for " << list->Get(i);
  const struct {
    int entry, mode, shape;
  } picks[] = {{6, kStrokeLines, kShapeNone}, {8, kStrokePreview, kShapeNone}, {12, kStrokeDefault, kShapeCircle},
               {1, kStrokeSoft, kShapeNone}};
  for (const auto& p : picks) {
    PaintBrushTool::PressEntry = p.entry;
    pen->OnChange(pen, &PaintBrushTool::PressEntry, nullptr, "PenPressureMode");
    EXPECT_EQ(GeneralPen::StrokeMode, p.mode) << p.entry;
    EXPECT_EQ(GeneralPen::DrawShape, p.shape) << p.entry;
    EXPECT_EQ(PaintPenPressEntryOf(GeneralPen::StrokeMode, GeneralPen::DrawShape), p.entry);
  }
  GeneralPen::StrokeMode = kStrokeDefault, GeneralPen::DrawShape = kShapeLasso;
  Tools().SetCurrentTool("EraserTool");
  EXPECT_EQ(PaintBrushTool::PressEntry, 10);
  GeneralPen::DrawShape = kShapeNone;
}
