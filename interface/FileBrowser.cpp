// The file browser; see FileBrowser.h.
#include "interface/FileBrowser.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>

#include "ClassEngine/PathCase.h"
#include "interface/Callbacks.h"
#include "interface/TextTable.h"
#include "interface/UiContext.h"
#include "interface/WidgetTree.h"
#include "platform/Keys.h"

namespace fs = std::filesystem;

namespace {

std::string Lower(std::string s) {
  for (char& c : s) c = char(std::tolower((unsigned char)c));
  return s;
}

bool LessNoCase(const FileListing::Entry& a, const FileListing::Entry& b) {
  const std::string la = Lower(a.Name), lb = Lower(b.Name);
  return la != lb ? la < lb : a.Name < b.Name;
}

std::string Extension(const std::string& name) {
  const size_t dot = name.rfind('.');
  return dot == std::string::npos || dot == 0 ? std::string() : Lower(name.substr(dot + 1));
}

}  // namespace

bool FileListing::Listed(const std::string& name) const {
  if (Extensions.empty()) return true;
  return std::find(Extensions.begin(), Extensions.end(), Extension(name)) != Extensions.end();
}

bool FileListing::Open(const std::string& folder) {
  const std::string path = comms::ResolvePathCase(folder);
  std::error_code ec;
  if (!fs::is_directory(path, ec)) {
    error_ = "\"" + folder + "\" is not a folder";
    return false;
  }
  std::vector<Entry> folders, files;
  fs::directory_iterator it(path, fs::directory_options::skip_permission_denied, ec);
  if (ec) {
    error_ = "cannot read \"" + folder + "\": " + ec.message();
    return false;
  }
  for (; it != fs::directory_iterator(); it.increment(ec)) {
    if (ec) break;
    const std::string name = it->path().filename().string();
    if (name.empty() || name[0] == '.') continue;
    std::error_code typeError;
    if (it->is_directory(typeError))
      folders.push_back({name, true});
    else if (Listed(name))
      files.push_back({name, false});
  }
  std::sort(folders.begin(), folders.end(), LessNoCase);
  std::sort(files.begin(), files.end(), LessNoCase);
  folder_ = fs::path(path).lexically_normal().string();
  if (folder_.size() > 1 && folder_.back() == '/') folder_.pop_back();
  entries_.clear();
  if (fs::path(folder_).has_relative_path()) entries_.push_back({"..", true});
  entries_.insert(entries_.end(), folders.begin(), folders.end());
  entries_.insert(entries_.end(), files.begin(), files.end());
  error_.clear();
  return true;
}

std::string FileListing::Choose(const std::string& typed) {
  std::string name = typed;
  std::replace(name.begin(), name.end(), '\\', '/');
  while (!name.empty() && std::isspace((unsigned char)name.back())) name.pop_back();
  while (!name.empty() && std::isspace((unsigned char)name.front())) name.erase(name.begin());
  if (name.empty()) {
    error_ = "no file name";
    return "";
  }
  if (name == "~" || name.rfind("~/", 0) == 0)
    if (const char* home = std::getenv("HOME")) name = home + name.substr(1);
  std::string path = name[0] == '/' ? name : folder_ + "/" + name;
  path = comms::NormalisePath(path);
  const std::string found = comms::ResolvePathCase(path);
  std::error_code ec;
  if (fs::is_directory(found, ec)) {
    Open(found);
    return "";
  }
  if (!Saving) {
    if (!fs::is_regular_file(found, ec)) {
      error_ = "\"" + name + "\" does not exist";
      return "";
    }
    error_.clear();
    return found;
  }
  std::string target = found;
  // A name without one of the asked extensions gets the first of them.
  if (!Listed(fs::path(target).filename().string())) target += "." + Extensions.front();
  const std::string parent = fs::path(target).parent_path().string();
  if (!fs::is_directory(parent, ec)) {
    error_ = "the folder \"" + parent + "\" does not exist";
    return "";
  }
  error_.clear();
  return comms::ResolvePathCase(target);
}

std::string FileListing::ChooseEntry(int index) {
  if (index < 0 || index >= (int)entries_.size()) return "";
  const Entry& e = entries_[size_t(index)];
  if (e.IsFolder) {
    Open(e.Name == ".." ? fs::path(folder_).parent_path().string() : folder_ + "/" + e.Name);
    return "";
  }
  return Choose(e.Name);
}

bool FileListing::Replaces(const std::string& path) const {
  std::error_code ec;
  return Saving && !path.empty() && fs::exists(path, ec);
}

// ---------------------------------------------------------------- the box --

namespace {
constexpr float kWidth = 520, kHeight = 440, kRow = 20, kListTop = 52, kBelowList = 96;
}  // namespace

FileBrowserBox::FileBrowserBox() {
  Flags |= kWfKeyFocus | kWfTakesHint;
  Layout |= kLayModal | kLayOnTop;
  AddCallback(kEvDraw, MakeCallback(this, &FileBrowserBox::OnDrawBox));
  AddCallback(kEvLDown, MakeCallback(this, &FileBrowserBox::OnPress));
  AddCallback(kEvLDouble, MakeCallback(this, &FileBrowserBox::OnDouble));
  AddCallback(kEvWheel, MakeCallback(this, &FileBrowserBox::OnWheel));
  AddCallback(kEvKeyDown, MakeCallback(this, &FileBrowserBox::OnKey));
  AddCallback(kEvChar, MakeCallback(this, &FileBrowserBox::OnChar));
}

float FileBrowserBox::ListY() const { return AbsY + Ui().Px(kListTop); }

int FileBrowserBox::VisibleRows() const {
  return std::max(1, int((H - Ui().Px(kListTop + kBelowList)) / Ui().Px(kRow)));
}

int FileBrowserBox::EntryAt(float x, float y) const {
  const UiContext& ui = Ui();
  if (x < AbsX + ui.Px(10) || x >= AbsX + W - ui.Px(10) || y < ListY()) return -1;
  const int row = int((y - ListY()) / ui.Px(kRow));
  if (row >= VisibleRows()) return -1;
  const int index = Top + row;
  return index < (int)Listing.Entries().size() ? index : -1;
}

void FileBrowserBox::Opened() {
  Selected = -1;
  Top = 0;
  replacing_.clear();
  note_ = Listing.Error();
}

bool FileBrowserBox::Confirm() {
  const std::string before = Listing.Folder();
  const std::string path = Listing.Choose(Edit);
  if (path.empty()) {
    if (Listing.Folder() != before) Edit.clear(), EditSelected = false, Opened();  // a folder was typed: it is open now
    note_ = Listing.Error();
    return true;
  }
  if (Listing.Replaces(path) && replacing_ != path) {
    replacing_ = path;
    note_ = std::string(Text("FILE_REPLACE_QUESTION")) + " " + fs::path(path).filename().string();
    return true;
  }
  auto chosen = OnChosen;
  Delete();
  if (chosen) chosen(path);
  return true;
}

bool FileBrowserBox::Cancel() {
  Delete();
  return true;
}

bool FileBrowserBox::OnPress() {
  const UiContext& ui = Ui();
  const int index = EntryAt(ui.PointerX, ui.PointerY);
  if (index < 0) return true;
  const FileListing::Entry entry = Listing.Entries()[size_t(index)];
  if (entry.IsFolder) {
    Listing.ChooseEntry(index);
    Opened();
    return true;
  }
  Selected = index;
  Edit = entry.Name;
  EditSelected = false;
  replacing_.clear();
  note_.clear();
  return true;
}

bool FileBrowserBox::OnDouble() {
  const UiContext& ui = Ui();
  const int index = EntryAt(ui.PointerX, ui.PointerY);
  if (index < 0 || Listing.Entries()[size_t(index)].IsFolder) return true;
  Edit = Listing.Entries()[size_t(index)].Name;
  return Confirm();
}

bool FileBrowserBox::OnWheel() {
  const int most = std::max(0, (int)Listing.Entries().size() - VisibleRows());
  Top = std::clamp(Top - int(Ui().Wheel) * 3, 0, most);
  return true;
}

bool FileBrowserBox::OnKey() {
  const int key = Ui().Key, count = (int)Listing.Entries().size();
  switch (key) {
    case keys::Enter: return Confirm();
    case keys::Esc: return Cancel();
    case keys::Backspace:
      if (EditSelected) Edit.clear();
      else if (!Edit.empty()) Edit.pop_back();
      EditSelected = false;
      replacing_.clear();
      return true;
    case keys::Up:
    case keys::Down: {
      if (count == 0) return true;
      Selected = std::clamp(Selected + (key == keys::Down ? 1 : -1), 0, count - 1);
      if (Selected < Top) Top = Selected;
      if (Selected >= Top + VisibleRows()) Top = Selected - VisibleRows() + 1;
      const FileListing::Entry& e = Listing.Entries()[size_t(Selected)];
      Edit = e.Name == ".." ? e.Name : e.Name + (e.IsFolder ? "/" : "");
      EditSelected = false;
      replacing_.clear();
      return true;
    }
    default: return true;  // the box has the keyboard while it is open
  }
}

bool FileBrowserBox::OnChar() {
  const int c = CurrentChar();
  if (c < 32 || c >= 256 || c == 127) return true;
  if (EditSelected) Edit.clear();
  EditSelected = false;
  Edit += char(c);
  replacing_.clear();
  return true;
}

bool FileBrowserBox::OnDrawBox() {
  UiContext& ui = Ui();
  const float pad = ui.Px(10), row = ui.Px(kRow);
  ui.FrameRect(AbsX, AbsY, W, H, ui.Colors.Highlight);
  // The folder, its start cut off when it is wider than the box.
  std::string folder = Listing.Folder();
  while (folder.size() > 4 && ui.TextWidth(folder.c_str()) > W - 2 * pad) folder = "..." + folder.substr(4);
  ui.DrawText(AbsX + pad, AbsY + ui.Px(30), folder.c_str(), ui.Colors.Text);
  const float listH = float(VisibleRows()) * row;
  ui.FillRect(AbsX + pad, ListY(), W - 2 * pad, listH, ui.Colors.Field);
  const auto& entries = Listing.Entries();
  for (int r = 0; r < VisibleRows() && Top + r < (int)entries.size(); ++r) {
    const FileListing::Entry& e = entries[size_t(Top + r)];
    const float y = ListY() + float(r) * row;
    if (Top + r == Selected) ui.FillRect(AbsX + pad, y, W - 2 * pad, row, ui.Colors.Highlight);
    const std::string shown = e.IsFolder && e.Name != ".." ? e.Name + "/" : e.Name;
    ui.DrawText(AbsX + pad + ui.Px(4), y + ui.Px(2), shown.c_str(), ui.Colors.Text, 12, W - 2 * pad - ui.Px(8));
  }
  if ((int)entries.size() > VisibleRows()) {
    // Where the rows in sight stand in the whole list.
    const float frac = float(VisibleRows()) / float(entries.size());
    const float at = float(Top) / float(entries.size());
    ui.FillRect(AbsX + W - pad - ui.Px(4), ListY() + at * listH, ui.Px(4), frac * listH, ui.Colors.Text);
  }
  const float below = ListY() + listH;
  if (!note_.empty()) ui.DrawText(AbsX + pad, below + ui.Px(6), note_.c_str(), ui.Colors.Text, 12, W - 2 * pad);
  const float fieldY = below + ui.Px(30), fieldH = ui.Px(24);
  ui.FillRect(AbsX + pad, fieldY, W - 2 * pad, fieldH, ui.Colors.Field);
  ui.FrameRect(AbsX + pad, fieldY, W - 2 * pad, fieldH, ui.Colors.Highlight);
  if (EditSelected && !Edit.empty())
    ui.FillRect(AbsX + pad + ui.Px(3), fieldY + ui.Px(3), ui.TextWidth(Edit.c_str()) + ui.Px(3), fieldH - ui.Px(6),
                ui.Colors.Highlight);
  const float w = ui.DrawText(AbsX + pad + ui.Px(4), fieldY + (fieldH - ui.Px(16)) / 2, Edit.c_str(), ui.Colors.Text);
  ui.CaretShown = true;
  if ((ui.Tick / 500) % 2 == 0) {
    const float x = AbsX + pad + ui.Px(5) + w;
    ui.Line(x, fieldY + ui.Px(3), x, fieldY + fieldH - ui.Px(3), ui.Colors.Text);
  }
  return false;
}

FileBrowserBox* OpenFileBrowser(WidgetTree& tree, const char* titleKey, const char* buttonKey,
                                const std::string& folder, const std::string& name,
                                std::vector<std::string> extensions, bool saving,
                                std::function<void(const std::string&)> chosen) {
  UiContext& ui = Ui();
  auto* box = new FileBrowserBox;
  box->Name = "FILE_BROWSER";
  box->Listing.Extensions = std::move(extensions);
  box->Listing.Saving = saving;
  box->OnChosen = std::move(chosen);
  box->Edit = name;
  box->W = ui.Px(kWidth);
  box->H = std::min(ui.Px(kHeight), float(ui.ScreenH) - ui.Px(20));
  box->X = (float(ui.ScreenW) - box->W) / 2;
  box->Y = std::max(ui.Px(10), (float(ui.ScreenH) - box->H) / 3);
  auto* title = box->Add(new TextWidget(Text(titleKey), 0, ui.Px(4), box->W, ui.Px(22)));
  title->Centered = true;
  const float pad = ui.Px(10), bw = (box->W - 2 * pad - ui.Px(6)) / 2, by = box->H - ui.Px(34);
  auto* go = box->Add(new FrameWidget(Text(buttonKey), pad, by, bw, ui.Px(26)));
  go->Name = "FILE_BROWSER_GO";
  go->AddCallback(kEvLDown, MakeCallback(box, &FileBrowserBox::Confirm));
  auto* cancel = box->Add(new FrameWidget(Text("CANCEL"), pad + bw + ui.Px(6), by, bw, ui.Px(26)));
  cancel->Name = "FILE_BROWSER_CANCEL";
  cancel->AddCallback(kEvLDown, MakeCallback(box, &FileBrowserBox::Cancel));
  const char* home = std::getenv("HOME");
  if (folder.empty() || !box->Listing.Open(folder)) box->Listing.Open(home && *home ? home : "/");
  box->Opened();
  tree.Root().AddChild(box);
  return box;
}
