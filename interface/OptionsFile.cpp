// Options.xml, themes and the options dialog; see OptionsFile.h.
#include "interface/OptionsFile.h"

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "ClassEngine/DataFolder.h"
#include "ClassEngine/Log.h"
#include "ClassEngine/UserPaths.h"
#include "ClassEngine/xml/ErrorCollector.h"
#include "ClassEngine/xml/XmlNode.h"
#include "interface/AppOptions.h"
#include "interface/Dialogs.h"
#include "interface/HotKeys.h"

namespace fs = std::filesystem;

namespace {
bool gLoaded = false;
constexpr uint32_t kNoHeadersFontColour = 0x17326efu;
constexpr const char* kDefaultTheme = "DefaultDark";

// The leaf lines "<Name>value</Name>" of a file that does not parse as a
// whole: what can still be read of a damaged file.
int SalvageLeaves(const std::string& path, XmlNode& out) {
  std::ifstream f(path, std::ios::binary);
  std::string line;
  static const std::regex leaf(R"(^\s*<([^<>/]+)>([^<>]*)</([^<>]+)>\s*$)");
  int n = 0;
  std::smatch m;
  while (std::getline(f, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (std::regex_match(line, m, leaf) && m[1] == m[3]) {
      out.AddChild(m[1].str().c_str(), m[2].str().c_str());
      ++n;
    }
  }
  return n;
}

// Messages of a load, one log line each.
void LogProblems(const char* what, const ErrorCollector& errors) {
  std::istringstream lines(errors.Messages.cpchar());
  for (std::string l; std::getline(lines, l);)
    if (!l.empty()) Log("%s: %s", what, l.c_str());
}

// Lists loaded over the limit are dropped; the recent list is cut to 20.
void TrimLists() {
  if (HotKeyList().GetAmount() > AppOptions::kMaxListLength) {
    Log("LoadOptions(): %d hot keys is too many; the list is cleared", HotKeyList().GetAmount());
    HotKeyList().Clear();
  }
  if (AppOptions::WindowStates().GetAmount() > AppOptions::kMaxListLength) {
    Log("LoadOptions(): %d window states is too many; the list is cleared", AppOptions::WindowStates().GetAmount());
    AppOptions::WindowStates().Clear();
  }
  ClassArray<RecentFile>& recent = AppOptions::RecentFiles();
  while (recent.GetAmount() > AppOptions::kMaxRecentFiles) recent.DelElement(recent.GetAmount() - 1);
}

void ApplyAll() {
  ApplyOptions();
  if (TheOptionsHooks().AfterApply) TheOptionsHooks().AfterApply();
}
}  // namespace

OptionsHooks& TheOptionsHooks() {
  static OptionsHooks hooks;
  return hooks;
}

bool OptionsLoaded() { return gLoaded; }

bool LoadOptions() {
  AppOptions& o = TheOptions();
  gLoaded = true;
  HotKeyList().Clear();
  AppOptions::RecentFiles().Clear();
  AppOptions::WindowStates().Clear();
  AppOptions::SliderStates().Clear();
  AppOptions::FolderStates().Clear();
  AppOptions::CameraShortcuts().Clear();
  const std::string path = UserFilePath("Options.xml");
  XmlNode tree;
  bool good = false;
  ErrorCollector errors(false);
  if (tree.ReadFromFile(path.c_str())) {
    o.Load(&tree, &o, &errors, nullptr);
    good = errors.Count == 0;
    if (!good) Log("LoadOptions(): %d values of %s did not read and keep their defaults", errors.Count, path.c_str());
  } else if (fs::exists(path)) {
    XmlNode leaves;
    int n = SalvageLeaves(path, leaves);
    o.Load(&leaves, &o, &errors, nullptr);
    Log("LoadOptions(): %s is damaged: %d values read, the rest keep their defaults", path.c_str(), n - errors.Count);
  } else {
    Log("LoadOptions(): no %s, the defaults stay", path.c_str());
  }
  LogProblems("LoadOptions()", errors);
  TrimLists();
  AppOptions::RestoreWidgetStates();
  // The first run (or one after the marker was removed) gets the shipped theme.
  const std::string marker = UserFilePath("Temp/resettheme5.dat");
  if (!fs::exists(marker)) {
    std::error_code ec;
    fs::create_directories(fs::path(marker).parent_path(), ec);
    std::ofstream(marker) << "done";
    LoadTheme(ThemePath(kDefaultTheme));
  }
  if (AppOptions::InterfaceColor1 == 0 || AppOptions::NearPlane == 0) {
    Log("LoadOptions(): a zero where none may be; every option is reset");
    ResetOptions();
    if (AppOptions::NearPlane == 0) AppOptions::NearPlane = 1.0f;
  }
  float lx = AppOptions::LightDirX, ly = AppOptions::LightDirY, lz = AppOptions::LightDirZ;
  if (std::sqrt(lx * lx + ly * ly + lz * lz) < 0.0001f)
    AppOptions::LightDirX = -0.866f, AppOptions::LightDirY = 0.43f, AppOptions::LightDirZ = 0.43f;
  AppOptions::MeshViewQuality = 0;
  if (AppOptions::MovementSensitivity == 0) {
    AppOptions::MovementSensitivity = AppOptions::ZoomModulator = AppOptions::PanUDModulator = 1;
    AppOptions::PanRLModulator = AppOptions::RotationSensitivity = AppOptions::SpinModulator = 1;
    AppOptions::TiltModulator = AppOptions::RollModulator = 1;
  }
  ApplyAll();
  return good;
}

bool SaveOptions() {
  if (!gLoaded) return false;
  if (TheOptionsHooks().BeforeSave) TheOptionsHooks().BeforeSave();
  AppOptions::CaptureWidgetStates();
  AppOptions& o = TheOptions();
  XmlNode tree;
  o.Save(&tree, &o, nullptr);
  const std::string path = UserFilePath("Options.xml");
  bool ok = tree.WriteToFile(path.c_str());
  if (!ok) Log("SaveOptions(): cannot write %s; the old file stays", path.c_str());
  ApplyAll();
  return ok;
}

void ResetOptions() {
  SetDefaultOptions();
  AppOptions::InterfaceColor1 = 0xffece9d7u;
  AppOptions::HeadersColor1 = 0xff216cecu;
  AppOptions::ButtonsColor1 = 0xfff3f2eeu;
  AppOptions::HighlightColor1 = 0xffbdc7eeu;
  LoadTheme(ThemePath(kDefaultTheme));
  ApplyAll();
}

std::string ThemePath(const std::string& name) {
  const std::string rel = "OptionsPresets/" + name + ".Options.xml";
  std::string own = UserFilePath(rel);
  return fs::exists(own) ? own : comms::DataFilePath(rel);
}

std::vector<std::string> ThemeNames() {
  std::set<std::string> names;
  for (const std::string& dir : {UserFilePath("OptionsPresets/"), comms::DataFilePath("OptionsPresets")}) {
    std::error_code ec;
    for (const auto& e : fs::directory_iterator(dir, ec)) {
      std::string f = e.path().filename().string();
      const std::string ext = ".Options.xml";
      if (f.size() > ext.size() && f.compare(f.size() - ext.size(), ext.size(), ext) == 0)
        names.insert(f.substr(0, f.size() - ext.size()));
    }
  }
  return {names.begin(), names.end()};
}

bool LoadTheme(const std::string& path) {
  XmlNode tree;
  if (!tree.ReadFromFile(path.c_str())) {
    Log("LoadTheme(): cannot read %s", path.c_str());
    return false;
  }
  // Only colours come from a theme, whatever else the file holds.
  for (int i = tree.ChildCount() - 1; i >= 0; --i)
    if (!IsThemeColour(tree.Child(i)->GetName())) tree.RemoveChild(i);
  AppOptions::HeadersFontColor1 = kNoHeadersFontColour;
  AppOptions::ActiveTabFontColor1 = 0xff000000u;
  OptForm form;
  ErrorCollector errors(false);
  form.Load(&tree, &form, &errors, nullptr);
  LogProblems("LoadTheme()", errors);
  if (AppOptions::HeadersFontColor1 == kNoHeadersFontColour) AppOptions::HeadersFontColor1 = AppOptions::FontColor1;
  Log("LoadTheme(): %s", path.c_str());
  if (gLoaded) SaveOptions();
  ApplyAll();
  return true;
}

bool SaveTheme(const std::string& path) {
  OptForm form;
  XmlNode tree;
  form.Save(&tree, &form, nullptr);
  for (int i = tree.ChildCount() - 1; i >= 0; --i)
    if (!IsThemeColour(tree.Child(i)->GetName())) tree.RemoveChild(i);
  return tree.WriteToFile(path.c_str());
}

bool OptForm::OnChange(BaseClass*, void*, void*, const char*) {
  ApplyAll();
  return false;
}

bool ShowOptions(WidgetTree& tree) {
  OptForm form;
  XmlNode before;
  form.Save(&before, &form, nullptr);
  for (;;) {
    int answer = ShowDialog(tree, "", "OPTIONS", &form, {"OK", "CANCEL", "SAVE_THEME", "LOAD_THEME"});
    if (answer == 3) {
      SaveTheme(UserFilePath("OptionsPresets/MyTheme.Options.xml"));
      continue;
    }
    if (answer == 4) {
      std::vector<std::string> names = ThemeNames();
      std::vector<std::string> buttons;
      // The shipped themes show without their common first word.
      for (const std::string& n : names) buttons.push_back("#" + (n.rfind("Default", 0) == 0 ? n.substr(7) : n));
      buttons.push_back("CANCEL");
      int pick = ShowDialog(tree, "", "LOAD_THEME", nullptr, buttons, int(buttons.size()));
      if (pick >= 1 && pick <= int(names.size())) LoadTheme(ThemePath(names[size_t(pick - 1)]));
      continue;
    }
    if (answer == 2) {
      ErrorCollector silent(false);
      form.Load(&before, &form, &silent, nullptr);
    }
    SaveOptions();
    return answer == 1;
  }
}
