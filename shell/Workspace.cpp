// The working environment; see Workspace.h.
#include "shell/Workspace.h"

#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>

#include "ClassEngine/DataFolder.h"
#include "ClassEngine/Log.h"
#include "ClassEngine/UserPaths.h"
#include "interface/AppOptions.h"
#include "interface/ClassPanel.h"
#include "interface/Dialogs.h"
#include "interface/FileBrowser.h"
#include "interface/Navigation.h"
#include "interface/PenRamp.h"
#include "interface/SpaceMouse.h"
#include "interface/OptionsFile.h"
#include "interface/TextTable.h"
#include "interface/UiContext.h"
#include "interchange/MeshIO.h"
#include "MC/brushes/VoxelSculptTool.h"
#include "MC/mesh/ImportMeshVolume.h"
#include "MC/undo/VolumeUndo.h"
#include "paint/PenMasks.h"
#include "paint/SceneChanges.h"
#include "paint/scene/PaintScene.h"
#include "paint/undo/OffsetUndo.h"
#include "paint/undo/UndoStack.h"
#include "platform/Keys.h"
#include "shell/CameraViews.h"
#include "shell/Interface.h"
#include "shell/SurfaceModeCommands.h"
#include "shell/RecentFiles.h"
#include "shell/SceneCommands.h"
#include "shell/Shell.h"
#include "shell/Viewport.h"
#include "shell/VoxelLayers.h"
#include "shell/WorkspaceFile.h"
#include "topology/simplify/SimplifyMesh.h"

namespace {
// The default bindings: command, key name, Ctrl, Alt, Shift.
struct DefaultKey {
  const char* command;
  const char* key;
  bool ctrl, alt, shift;
};
const DefaultKey kDefaultKeys[] = {
    {"FILE_NEW", "N", true, false, false},        {"FILE_OPEN", "O", true, false, false},
    {"FILE_SAVE", "S", true, false, false},       {"FILE_SAVE_AS", "S", true, false, true},
    {"FILE_SAVE_INCREMENTAL", "S", true, true, false}, {"FILE_IMPORT", "I", true, false, false},
    {"FILE_EXPORT", "E", true, false, false},     {"FILE_QUIT", "Q", true, false, false},
    {"EDIT_UNDO", "Z", true, false, false},       {"EDIT_REDO", "Y", true, false, false},
    {"EDIT_OPTIONS", "O", true, false, true},     {"VIEW_GRID", "G", true, false, false},
    {"VIEW_WIREFRAME", "W", true, false, true},   {"VIEW_FULLSCREEN", "F11", false, false, false},
    {"HELP_HOTKEYS", "F1", false, false, false},  {"PEN_RADIUS_NARROWER", "[", false, false, false},
    {"PEN_RADIUS_WIDER", "]", false, false, false},
};

// The recent file of item n of the File menu, "" if none.
std::string RecentPath(int n) {
  const std::vector<std::string> list = RecentFiles::List();
  return n < int(list.size()) ? list[size_t(n)] : "";
}
}  // namespace

class Workspace::MousePoller : public comms::cWidget {
 public:
  explicit MousePoller(Workspace& w) : w_(w) {}
  void OnRender() override {
    // The view follows the window's size; the navigation zone lies along it.
    int w = 0, h = 0;
    w_.shell_.Window().ClientSize(w, h);
    NaviSystem& nav = TheNavigation();
    nav.World.ViewW = float(w), nav.World.ViewH = float(h);
    nav.DrawZone();
    const uint32_t now = w_.shell_.Window().TickMs();
    // A held ramp button changes its pen value every frame until let go.
    PenRamp& ramp = ThePenRamp();
    ramp.Frame(w_.shell_.Window(), now);
    if (ramp.Running()) w_.shell_.FrameIn(16);
    SpaceMouse* mouse = OpenSpaceMouse();
    if (!mouse) return;
    const float elapsed = last_ ? float(now - last_) : 16.0f;
    last_ = now;
    SpaceMouseState s;
    if (mouse->Poll(s) && driver_.Step(s, w_.view_.Camera(), std::min(elapsed, 100.0f))) w_.shell_.FrameIn(16);
  }

 private:
  Workspace& w_;
  SpaceMouseDriver driver_;
  uint32_t last_ = 0;
};

Workspace::Workspace(Shell& shell, ShellInterface& intf, ViewportSeams& view)
    : shell_(shell), intf_(intf), view_(view), editor_(intf.Tree()) {
  TheOptions();  // the defaults are recorded before anything changes them
}

Workspace::~Workspace() {
  if (pollerId_ >= 0) shell_.Layers().Detach(pollerId_);
  if (started_) SaveOptions();
  TheOptionsHooks() = OptionsHooks();
  TheOptFormHooks() = OptFormHooks();
  intf_.Tree().Hooks().HotKeys = nullptr;
  intf_.Tree().Hooks().Navigation = nullptr;
  view_.FreeArea = nullptr;
  PenMaskPanel::AskPicture = nullptr;
  ThePenMasks().SetView(nullptr);
  Tools().Hooks().LoadRoomLayout = nullptr;
  if (TheDocks() == docks_.get()) TheDocks() = nullptr;
  if (RampInput() == &shell_.Window()) RampInput() = nullptr;
  ThePenRamp().Stop();
  if (BaseWidget* m = menu_.Get()) m->Delete();
}

MainMenuBar* Workspace::Menu() const { return static_cast<MainMenuBar*>(menu_.Get()); }

void Workspace::InstallDefaultHotKeys() {
  for (const DefaultKey& k : kDefaultKeys) AddDefaultHotKey(k.command, SystemKeyCode(k.key), k.shift, k.ctrl, k.alt);
}

void Workspace::Start() {
  started_ = true;
  TheOptionsHooks().AfterApply = [this] { ApplyToShell(); };
  TheOptFormHooks().DefaultHotKeys = [] { InstallDefaultHotKeys(); };
  TheOptFormHooks().ResetOptions = [] { ResetOptions(); };
  LoadOptions();
  InstallDefaultHotKeys();
  RegisterCommands();
  RampInput() = &shell_.Window();
  RegisterPenCommands();
  editor_.Saved = [this] {
    SaveOptions();
    BuildMenu();
  };
  intf_.Tree().Hooks().HotKeys = [this](int key, bool down) {
    WidgetTree& t = intf_.Tree();
    if (editor_.OnKey(key, down, t.Ctrl(), t.Alt(), t.Shift())) return true;
    if (down && t.Ctrl() && t.Alt() && t.Shift() && DockInfoKey(key)) return true;
    return down && FireHotKey(key, t.Ctrl(), t.Alt(), t.Shift());
  };
  BuildMenu();
  MakeDocks();
  poller_ = std::make_unique<MousePoller>(*this);
  pollerId_ = shell_.Layers().Register(2, poller_.get(), true);
}

bool Workspace::DockInfoKey(int key) {
  // Ctrl+Alt+Shift+S keeps the whole arrangement in the presets folder, and
  // Ctrl+Alt+Shift+L brings it back.
  if (!docks_ || (key != keys::A + ('S' - 'A') && key != keys::A + ('L' - 'A'))) return false;
  const std::string path = UserFilePath("ToolsPresets/dockinfo.xml");
  DocksLayout layout;
  if (key == keys::A + ('S' - 'A')) {
    docks_->Capture(layout);
    if (!layout.WriteToFile(path.c_str())) Log("DockInfo: cannot write %s", path.c_str());
  } else if (layout.ReadFromFile(path.c_str())) {
    docks_->Apply(layout);
  } else {
    Log("DockInfo: cannot read %s", path.c_str());
  }
  return true;
}

void Workspace::ResetPages(bool allRooms) {
  if (!docks_) return;
  const int room = docks_->Room();
  for (int r = 0; r < int(Tools().Rooms().size()); ++r)
    if (allRooms || r == room) std::filesystem::remove(UserFilePath("Temp/page_" + std::to_string(r) + ".xml"));
  // The shipped page of the room, or without one the program's own
  // arrangement: the navigation window docked on the right.
  if (room >= 0 && docks_->LoadPage(room)) return;
  BaseWidget* navi = intf_.Tree().Root().FindWidget("NAVI_SETUP");
  auto* header = navi ? dynamic_cast<DockableHeader*>(navi->ParentWidget()) : nullptr;
  if (header && header->IsPopup) docks_->Drop(header, {docks_->DockRoot(), 3, {}});
}

void Workspace::MakeDocks() {
  UiContext& ui = Ui();
  int w = 0, h = 0;
  shell_.Window().ClientSize(w, h);
  float x0 = ui.Px(RoomInterface::kToolListWidth + RoomInterface::kToolPanelWidth + 8), y0 = ui.Px(RoomInterface::kPanelTop);
  docks_ = std::make_unique<Docks>(intf_.Tree().Root(), x0, y0, std::max(100.0f, float(w) - x0),
                                   std::max(100.0f, float(h) - y0 - ui.Px(20)));
  TheDocks() = docks_.get();
  view_.FreeArea = [this](comms::cRect& r) {
    const DockSpace* leaf = docks_ ? docks_->ViewLeaf() : nullptr;
    if (!leaf) return false;
    r = comms::cRect(leaf->AbsX, leaf->AbsY, leaf->AbsX + leaf->W, leaf->AbsY + leaf->H);
    return true;
  };
  NaviSystem& nav = TheNavigation();
  if (nav.Events.GetAmount() == 0 && !nav.LoadPreset(UserFilePath("NavigationPresets/Default.navigation"))) {
    nav.SetDefaultRows();
    nav.SavePreset(UserFilePath("NavigationPresets/Default.navigation"));
  }
  nav.World.Camera = &view_.Camera();
  nav.World.Input = &shell_.Window();
  nav.World.ViewW = float(w), nav.World.ViewH = float(h);
  nav.World.ToolShowsPen = [] { return true; };
  // The pen's material pattern moves with the navigation rows, a move undoable.
  nav.World.Pattern = &ThePenMasks().Placement();
  nav.World.BeforePatternMove = [] { PushOffsetUndo(TheUndoStack(), ThePenMasks().Placement()); };
  intf_.Tree().Hooks().Navigation = [](int key, bool) { return TheNavigation().Update(key); };
  // The navigation rows in a window docked on the right.
  auto* rows = new ClassPanel;
  rows->Object = &nav;
  rows->W = ui.Px(286);
  auto* panel = new ScrollPanel("NAVI_SETUP");
  panel->W = ui.Px(300), panel->H = ui.Px(380);
  panel->SetContent(rows);
  DockableHeader* header = docks_->Float(panel, float(w) - ui.Px(320), y0 + ui.Px(40), ui.Px(300), ui.Px(420));
  docks_->Drop(header, {docks_->DockRoot(), 3, {}});
  // The pen's values with their ramp buttons: a tab beside the navigation,
  // so nothing covers the model at the start.
  BaseWidget* values = BuildPenValuesPanel(ui.Px(270));
  DockableHeader* valuesHeader =
      docks_->Float(values, x0 + ui.Px(12), float(h) - values->H - ui.Px(DockableHeader::kCaption + 40), ui.Px(270),
                    values->H + ui.Px(DockableHeader::kCaption));
  docks_->Drop(valuesHeader, {header, -1, {}});
  if (view_.Tree()) MakeVoxelLayersWindow(*docks_, intf_.Tree(), view_, ui.Px(300), ui.Px(240));
  Tools().Hooks().LoadRoomLayout = [this](int room) {
    HotKeyRoom() = room;
    if (docks_) docks_->SwitchRoom(room);
    ShowVoxelLayersFor(intf_.Tree(), room);
  };
  TheOptionsHooks().BeforeSave = [this] {
    if (docks_ && docks_->Room() >= 0) docks_->SavePage(docks_->Room());
    if (docks_) docks_->CaptureFloating(AppOptions::WindowStates());
  };
  const int room = Tools().CurrentRoom();
  char page[64];
  snprintf(page, sizeof page, "Temp/page_%d.xml", room);
  if (std::filesystem::exists(UserFilePath(page)))
    docks_->SwitchRoom(room);
  else
    docks_->AdoptRoom(room);
  // Floating windows go back where they were left.
  docks_->PlaceFloating(AppOptions::WindowStates());
  ShowVoxelLayersFor(intf_.Tree(), room);
}

void Workspace::ApplyToShell() {
  AutosaveOptions& a = shell_.Autosave();
  a.Autosave = AppOptions::Autosave;
  a.AutosaveTime = AppOptions::AutosaveTime;
  a.NumAutosaves = AppOptions::NumAutosaves;
  static const comms::cFreeViewer base;
  comms::cFreeViewer& cam = view_.Camera();
  cam.RotateSpeed = base.RotateSpeed * AppOptions::CamRotSpeed;
  cam.RollSpeed = base.RollSpeed * AppOptions::CamRotSpeed;
  cam.ZoomSpeed = base.ZoomSpeed * AppOptions::CamZoomSpeed;
  cam.WheelSpeed = base.WheelSpeed * AppOptions::CamZoomSpeed;
  // The background's three kinds come in the same order as the option's.
  comms::cBackground& back = view_.Background();
  back.UseBackgrImage = AppOptions::UseBackgrImage;
  back.TopBackgroundColor1 = AppOptions::TopBackgroundColor1;
  back.BottomBackgroundColor1 = AppOptions::BottomBackgroundColor1;
  shell_.FrameIn(0);
}

void Workspace::AskPath(const char* titleKey, std::function<void(const std::string&)> then,
                        std::vector<std::string> extensions, bool saving, const std::string& suggested) {
  // The browser opens where the last file was, with its name ready.
  const std::string last = suggested.empty() ? RecentPath(0) : suggested;
  const std::filesystem::path at(last);
  OpenFileBrowser(intf_.Tree(), titleKey, saving ? "BROWSE_SAVE" : "BROWSE_OPEN", at.parent_path().string(),
                  at.filename().string(), std::move(extensions), saving, std::move(then));
}

std::vector<std::string> Workspace::ExtensionsOfMasks(const std::string& masks) {
  // "*.tga;*.bmp" -> tga, bmp; "*.*" or nothing lists every file.
  std::vector<std::string> list;
  size_t at = 0;
  while (at <= masks.size()) {
    size_t end = masks.find(';', at);
    if (end == std::string::npos) end = masks.size();
    std::string mask = masks.substr(at, end - at);
    const size_t dot = mask.rfind('.');
    if (dot != std::string::npos && mask.substr(dot + 1) != "*") {
      std::string ext = mask.substr(dot + 1);
      for (char& c : ext) c = char(std::tolower((unsigned char)c));
      if (!ext.empty()) list.push_back(ext);
    }
    at = end + 1;
  }
  return list;
}

void Workspace::AskSaveName() {
  const SceneCommands& s = TheSceneCommands();
  AskPath("FILE_SAVE_AS", [](const std::string& p) { SaveSceneTo(p); }, {"mvn"}, true,
          s.SuggestedName ? s.SuggestedName() : std::string());
}

std::vector<std::string> Workspace::MeshExtensions() {
  std::vector<std::string> list;
  for (int i = 0; i < comms::cMeshIO::CodecCount(); ++i) {
    if (!comms::cMeshIO::CanDecode(i)) continue;
    std::string name = comms::cMeshIO::CodecName(i);
    for (char& c : name) c = char(std::tolower((unsigned char)c));
    list.push_back(name);
  }
  return list;
}

void Workspace::RegisterCommands() {
  auto open = [this](const std::string& path) {
    if (LoadSceneFile(path, false)) RecentFiles::Add(path), BuildMenu();
  };
  RegisterCommand("FILE_OPEN", {[this, open] { AskPath("FILE_OPEN", open, {"mvn"}); }, {}});
  for (int i = 0; i < 5; ++i)
    RegisterCommand("FILE_RECENT" + std::to_string(i + 1),
                    {[open, i] { open(RecentPath(i)); }, [i] { return !RecentPath(i).empty(); }});
  // Save writes the open scene's own file; a scene that has none yet asks.
  RegisterCommand("FILE_SAVE", {[this] {
                                  const std::string name = ThePaintScene().FileName.cpchar();
                                  if (name.empty() || !SaveSceneTo(name)) AskSaveName();
                                },
                                {}});
  RegisterCommand("FILE_SAVE_AS", {[this] { AskSaveName(); }, {}});
  RegisterCommand("FILE_IMPORT",
                  {[this] { AskPath("FILE_IMPORT", [](const std::string& p) { ImportMeshFile(p); }, MeshExtensions()); },
                   {}});
  // A mesh made solid in the voxel room's volume, replacing what it held.
  RegisterCommand("FILE_IMPORT_VOXELS", {[this] {
                                           AskPath("FILE_IMPORT_VOXELS", [](const std::string& p) {
                                             VoxelSculptTool* tool = FindVoxelTool(Tools());
                                             std::string why;
                                             if (!tool || !tool->Volume())
                                               Log("FILE_IMPORT_VOXELS: no voxel volume for %s", p.c_str());
                                             else if (!ImportMeshIntoVolume(*tool->Volume(), p, 200, &why))
                                               Log("FILE_IMPORT_VOXELS: %s", why.c_str());
                                           }, MeshExtensions());
                                         },
                                         {}});
  // The voxel menu: the current volume reworked after its parameter dialog.
  volumeCommands_.Ask = [this](BaseClass& params, const char* title) {
    return ShowDialog(intf_.Tree(), "", title, &params, {"OK", "CANCEL"}) == 1;
  };
  volumeCommands_.Done = [](VolumeObject& v) {
    VoxelSculptTool* tool = FindVoxelTool(Tools());
    PushVolumeUndo(TheUndoStack(), {&v}, tool ? tool->Mode : 0);
    ChangedSinceSave = 1;
  };
  auto onVolume = [this](const std::string& word, const std::string& path) {
    VoxelSculptTool* tool = FindVoxelTool(Tools());
    if (!tool || !tool->Volume()) return Log("%s: no voxel volume", word.c_str());
    if (!volumeCommands_.Run(word, *tool->Volume(), path)) Log("%s: not run (%s)", word.c_str(), path.c_str());
  };
  // The voxel modes' file questions (logo, sketch): the file last chosen
  // under the question's key is offered again, else its default.
  if (VoxelSculptTool* tool = FindVoxelTool(Tools()))
    tool->AskFile = [this, last = std::make_shared<std::map<std::string, std::string>>()](
                        const FileQuestion& q, std::function<void(const std::string&)> then) {
      auto it = last->find(q.FolderKey);
      AskPath(q.TitleKey.c_str(),
              [last, key = q.FolderKey, then = std::move(then)](const std::string& path) {
                (*last)[key] = path;
                then(path);
              },
              ExtensionsOfMasks(q.Masks), false, it != last->end() ? it->second : q.DefaultPath);
    };
  if (VoxelSculptTool* tool = FindVoxelTool(Tools())) {
    tool->AskKeepScale = [this] {
      return ShowDialog(intf_.Tree(), "KEEP_SCALE_QUESTION", "SCULP_MERGE", nullptr, {"YES", "NO"}) == 1;
    };
    // A mesh finer than the lattice is simplified before it is merged.
    tool->Merge.Simplifier = [](comms::cMesh& mesh, int target) { return SimplifyMesh(mesh, target); };
    // The merge tool's button for a mesh of one's own: the browser, then the mesh held.
    tool->Merge.Settings.ObjectAsked = [this, tool] {
      AskPath("MergeObject", [tool](const std::string& p) {
        std::string why;
        if (!tool->Merge.LoadFile(p, &why)) TellCannot("MESH_NOT_READ", why);
      }, MeshExtensions());
    };
  }
  // The pen's pictures: the browser on the library's folder, laid over the view.
  ThePenMasks().SetView(&view_.Camera());
  PenMaskPanel::AskPicture = [this](const char* title, const std::string& folder,
                                    const std::vector<std::string>& extensions,
                                    std::function<void(const std::string&)> then) {
    AskPath(title, std::move(then), extensions, false, comms::DataFilePath(folder));
  };
  auto haveVolume = [] {
    VoxelSculptTool* tool = FindVoxelTool(Tools());
    return tool && tool->Volume();
  };
  RegisterSurfaceModeCommands(Tools());
  for (const std::string& word : VolumeCommands::Words()) {
    if (word == "MergeCloud")
      RegisterCommand(word, {[this, onVolume] {
                               AskPath("MergeCloud", [onVolume](const std::string& p) { onVolume("MergeCloud", p); });
                             },
                             haveVolume});
    else
      RegisterCommand(word, {[onVolume, word] { onVolume(word, {}); }, haveVolume});
  }
  RegisterCommand("FILE_QUIT", {[this] { shell_.CanClose(); }, {}});
  RegisterCommand("EDIT_OPTIONS", {[this] {
                                     ShowOptions(intf_.Tree());
                                     shell_.FrameIn(30);  // the box goes at the next frame
                                   },
                                   {}});
  RegisterCommand("EDIT_HOTKEYS", {[this] {
                                     ShowDialog(intf_.Tree(), "HOTKEYS_HOWTO", "EDIT_HOTKEYS", nullptr, {"OK"});
                                   },
                                   {}});
  RegisterCommand("HELP_HOTKEYS", *FindCommand("EDIT_HOTKEYS"));
  RegisterCommand("HELP_ABOUT", {[this] { ShowDialog(intf_.Tree(), "ABOUT_TEXT", "HELP_ABOUT", nullptr, {"OK"}); }, {}});
  RegisterCommand("VIEW_GRID", {[this] { shell_.Settings().ShowGrid = !shell_.Settings().ShowGrid; }, {}});
  RegisterCommand("VIEW_WIREFRAME", {[this] { shell_.Settings().Wireframe = !shell_.Settings().Wireframe; }, {}});
  RegisterCommand("VIEW_FULLSCREEN", {[this] { shell_.SetFullScreenWanted(!shell_.Window().IsFullScreen()); }, {}});
  // Stored views of the camera, kept in the options.
  auto haveViews = [] { return AppOptions::CameraShortcuts().GetAmount() > 0; };
  RegisterCommand("VIEW_STORE_CAMERA", {[this] {
                                          StoreCameraView(view_.Camera());
                                          SaveOptions();
                                        },
                                        {}});
  RegisterCommand("VIEW_NEXT_CAMERA", {[this] {
                                         if (NextCameraView(view_.Camera(), cameraView_)) shell_.FrameIn(0);
                                       },
                                       haveViews});
  RegisterCommand("VIEW_FORGET_CAMERAS", {[this] {
                                            AppOptions::CameraShortcuts().Clear();
                                            cameraView_ = -1;
                                            SaveOptions();
                                          },
                                          haveViews});
  // The layout commands: one page, every room's page with the options, and hot keys.
  RegisterCommand("LAYOUT_SAVE_PAGE", {[this] {
                                         DocksLayout layout;
                                         if (docks_) docks_->Capture(layout);
                                         layout.WriteToFile(UserFilePath("Layouts/Saved.OnePageLayout").c_str());
                                       },
                                       {}});
  RegisterCommand("LAYOUT_LOAD_PAGE", {[this] {
                                         DocksLayout layout;
                                         if (docks_ && layout.ReadFromFile(UserFilePath("Layouts/Saved.OnePageLayout").c_str()))
                                           docks_->Apply(layout);
                                       },
                                       [] { return std::filesystem::exists(UserFilePath("Layouts/Saved.OnePageLayout")); }});
  RegisterCommand("LAYOUT_RESET_PAGE", {[this] { ResetPages(false); }, {}});
  RegisterCommand("LAYOUT_RESET_ALL_PAGES", {[this] { ResetPages(true); }, {}});
  RegisterCommand("LAYOUT_SAVE_WORKSPACE", {[this] {
                                              if (docks_)
                                                SaveWorkspaceFile(UserFilePath("Layouts/Saved.mvn_wrokspace"), *docks_,
                                                                  int(Tools().Rooms().size()));
                                            },
                                            {}});
  RegisterCommand("LAYOUT_LOAD_WORKSPACE",
                  {[this] {
                     if (docks_ && LoadWorkspaceFile(UserFilePath("Layouts/Saved.mvn_wrokspace"), *docks_)) BuildMenu();
                   },
                   [] { return std::filesystem::exists(UserFilePath("Layouts/Saved.mvn_wrokspace")); }});
  RegisterCommand("LAYOUT_SAVE_HOTKEYS", {[] { SaveHotkeys(UserFilePath("Layouts/Saved.hotkeys").c_str()); }, {}});
  RegisterCommand("LAYOUT_LOAD_HOTKEYS", {[this] {
                                            if (LoadHotkeys(UserFilePath("Layouts/Saved.hotkeys").c_str())) BuildMenu();
                                          },
                                          [] { return std::filesystem::exists(UserFilePath("Layouts/Saved.hotkeys")); }});
  const std::vector<std::string>& rooms = Tools().BuildRooms();
  for (size_t i = 0; i < rooms.size(); ++i)
    RegisterCommand("ROOM_" + rooms[i], {[this, i] { intf_.Rooms().OnRoomClick(int(i)); }, {}});
}

void Workspace::AddLinksMenu(MainMenuBar& bar) {
  // A words table may name a menu of web links: "@ADV_MENU1" is its title,
  // "@ADG_ITEM0", "@ADG_ITEM1", ... its items up to the first that begins
  // with "@" (a key with no words), and "@ADV_URL<n>" the address of item n.
  const std::string title = Text("@ADV_MENU1");
  if (title.empty() || title[0] == '@') return;
  MenuDescription links{"@ADV_MENU1", {}};
  for (int i = 0;; ++i) {
    const std::string item = "@ADG_ITEM" + std::to_string(i);
    const std::string words = Text(item.c_str());
    if (words.empty() || words[0] == '@') break;
    const std::string command = "ADV_ITEM" + std::to_string(i);
    const std::string url = Text(("@ADV_URL" + std::to_string(i)).c_str());
    RegisterCommand(command, {[this, url] {
                                if (!shell_.Window().OpenUrl(url)) Log("ADV_MENU: no browser opened %s", url.c_str());
                              },
                              {}});
    links.Items.push_back({command, item});
  }
  bar.Menus.push_back(links);
}

void Workspace::BuildMenu() {
  if (BaseWidget* old = menu_.Get()) old->Delete();
  auto* bar = new MainMenuBar;
  bar->Layout |= kLayOnTop;
  MenuDescription file{"MENU_FILE", {{"FILE_NEW", ""}, {"FILE_OPEN", ""}}};
  for (int i = 0; i < 5 && !RecentPath(i).empty(); ++i) {
    std::string words = "#" + std::to_string(i + 1) + " " + RecentPath(i);
    file.Items.push_back({"FILE_RECENT" + std::to_string(i + 1), words});
  }
  for (const char* c : {"", "FILE_SAVE", "FILE_SAVE_AS", "FILE_SAVE_INCREMENTAL", "", "FILE_IMPORT", "FILE_IMPORT_VOXELS", "FILE_EXPORT", "",
                        "FILE_QUIT"})
    file.Items.push_back({c, ""});
  bar->Menus.push_back(file);
  bar->Menus.push_back({"MENU_EDIT", {{"EDIT_UNDO", ""}, {"EDIT_REDO", ""}, {"", ""}, {"PEN_RADIUS_NARROWER", ""},
                                      {"PEN_RADIUS_WIDER", ""}, {"", ""}, {"EDIT_OPTIONS", ""}, {"EDIT_HOTKEYS", ""}}});
  bar->Menus.push_back({"MENU_VIEW", {{"VIEW_GRID", ""}, {"VIEW_WIREFRAME", ""}, {"VIEW_FULLSCREEN", ""}, {"", ""},
                                      {"VIEW_STORE_CAMERA", ""}, {"VIEW_NEXT_CAMERA", ""}, {"VIEW_FORGET_CAMERAS", ""},
                                      {"", ""},
                                      {"LAYOUT_RESET_PAGE", ""}, {"LAYOUT_RESET_ALL_PAGES", ""}, {"LAYOUT_SAVE_PAGE", ""},
                                      {"LAYOUT_LOAD_PAGE", ""}, {"LAYOUT_SAVE_WORKSPACE", ""},
                                      {"LAYOUT_LOAD_WORKSPACE", ""}, {"LAYOUT_SAVE_HOTKEYS", ""},
                                      {"LAYOUT_LOAD_HOTKEYS", ""}}});
  MenuDescription voxels{"MENU_VOXELS", {}};
  for (const std::string& word : VolumeCommands::Words()) voxels.Items.push_back({word, ""});
  voxels.Items.push_back({"", ""});
  for (const std::string& word : SurfaceModeCommandWords()) voxels.Items.push_back({word, ""});
  bar->Menus.push_back(voxels);
  MenuDescription rooms{"MENU_ROOMS", {}};
  for (const std::string& r : Tools().Rooms()) {
    std::string key = "ROOM_" + r;
    for (char& ch : key) ch = char(toupper((unsigned char)ch));
    rooms.Items.push_back({"ROOM_" + r, key});
  }
  bar->Menus.push_back(rooms);
  bar->Menus.push_back({"MENU_HELP", {{"HELP_HOTKEYS", ""}, {"HELP_ABOUT", ""}}});
  AddLinksMenu(*bar);
  menuWidth_ = bar->Rebuild();
  bar->Y = Ui().Px(4);
  intf_.Tree().Root().AddChild(bar);
  menu_ = bar->Handle();
  intf_.Rooms().SetStripInset(menuWidth_ + Ui().Px(8));
}
