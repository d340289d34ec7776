// Key tables, bindings, commands and the in-place editor; see HotKeys.h.
#include "interface/HotKeys.h"

#include <cstdio>
#include <cstring>
#include <map>
#include <strings.h>

#include "ClassEngine/Enumerator.h"
#include "ClassEngine/Log.h"
#include "ClassEngine/xml/ErrorCollector.h"
#include "ClassEngine/xml/XmlNode.h"
#include "interface/Callbacks.h"
#include "interface/Dialogs.h"
#include "interface/TextTable.h"
#include "interface/UiContext.h"
#include "interface/WidgetTree.h"
#include "platform/Keys.h"

void OneHotKey::RegisterOwnMembers() {
  Member("_str", ID, "ID");
  Member("_index", Code, "Code", GetEnumerator("KEYCODES"));
  Member("_bool", Ctrl, "Ctrl");
  Member("_bool", Alt, "Alt");
  Member("_bool", Shift, "Shift");
}

namespace {
struct KeyRow {
  const char* name;
  int code;
};
// The named system keys, in the order that name lookups search.
const KeyRow kRows[] = {
    {"0", 0x30}, {"1", 0x31}, {"2", 0x32}, {"3", 0x33}, {"4", 0x34}, {"5", 0x35}, {"6", 0x36},
    {"7", 0x37}, {"8", 0x38}, {"9", 0x39}, {"A", 0x41}, {"B", 0x42}, {"C", 0x43}, {"D", 0x44},
    {"E", 0x45}, {"F", 0x46}, {"G", 0x47}, {"H", 0x48}, {"I", 0x49}, {"J", 0x4a}, {"K", 0x4b},
    {"L", 0x4c}, {"M", 0x4d}, {"N", 0x4e}, {"O", 0x4f}, {"P", 0x50}, {"Q", 0x51}, {"R", 0x52},
    {"S", 0x53}, {"T", 0x54}, {"U", 0x55}, {"V", 0x56}, {"W", 0x57}, {"X", 0x58}, {"Y", 0x59},
    {"Z", 0x5a}, {"ENTER", 0x0d}, {"ESC", 0x1b}, {"NUM0", 0x60}, {"NUM1", 0x61}, {"NUM2", 0x62},
    {"NUM3", 0x63}, {"NUM4", 0x64}, {"NUM5", 0x65}, {"NUM6", 0x66}, {"NUM7", 0x67}, {"NUM8", 0x68},
    {"NUM9", 0x69}, {"F1", 0x70}, {"F2", 0x71}, {"F3", 0x72}, {"F4", 0x73}, {"F5", 0x74},
    {"F6", 0x75}, {"F7", 0x76}, {"F8", 0x77}, {"F9", 0x78}, {"F10", 0x79}, {"PGDN", 0x22},
    {"PGUP", 0x21}, {"HOME", 0x24}, {"END", 0x23}, {"INS", 0x2d}, {"NUM+", 0x6b}, {"NUM-", 0x6d},
    {"NUM*", 0x6a}, {"NUM/", 0x6f}, {"<", 0xbc}, {">", 0xbe}, {"?", 0xbf}, {"F11", 0x7a},
    {"F12", 0x7b}, {"`~", 0xc0}, {"SPACE", 0x20}, {"BACK", 0x08}, {"PAUSE", 0x13}, {"DELETE", 0x2e},
    {"[", 0xdb}, {"]", 0xdd}, {";", 0xba}, {"'", 0xde}, {",", 0xbc}, {".", 0xbe}, {"/", 0xbf},
    {"Left", 0x25}, {"Right", 0x27}, {"Up", 0x26}, {"Down", 0x28}, {"LWin", 0x5b}, {"RWin", 0x5c},
    {"App", 0x5d}, {"LMemu", 0xa4}, {"RMenu", 0xa5}, {"Tab", 0x09}, {"Back", 0x08}, {"-", 0xbd},
    {"+", 0xbb}, {"LMB", 1}, {"RMB", 2}, {"MMB", 4}, {"CTRL", 0x11}, {"ALT", 0x12}, {"SHIFT", 0x10},
};
constexpr int kRowCount = int(sizeof kRows / sizeof kRows[0]);

// System key of each program key 0..97.
int LayerTable(int k) {
  if (k == keys::Esc) return 0x1b;
  if (k >= keys::F1 && k <= keys::F12) return 0x70 + (k - keys::F1);
  if (k >= keys::Digit0 && k < keys::Digit0 + 10) return 0x30 + (k - keys::Digit0);
  if (k >= keys::A && k < keys::A + 26) return 0x41 + (k - keys::A);
  if (k >= keys::Num0 && k < keys::Num0 + 10) return 0x60 + (k - keys::Num0);
  static const std::map<int, int> rest = {
      {keys::Minus, 0xbd},       {keys::Equals, 0xbb},    {keys::Backspace, 0x08}, {keys::Tab, 0x09},
      {keys::CapsLock, 0x14},    {keys::Insert, 0x2d},    {keys::Delete, 0x2e},    {keys::Home, 0x24},
      {keys::End, 0x23},         {keys::PageUp, 0x21},    {keys::PageDown, 0x22},  {keys::Up, 0x26},
      {keys::Down, 0x28},        {keys::Left, 0x25},      {keys::Right, 0x27},     {keys::Backslash, 0xdc},
      {keys::Enter, 0x0d},       {keys::LeftBracket, 0xdb}, {keys::RightBracket, 0xdd},
      {keys::Semicolon, 0xba},   {keys::Quote, 0xde},     {keys::Comma, 0xbc},     {keys::Period, 0xbe},
      {keys::Slash, 0xbf},       {keys::Shift, 0x10},     {keys::Control, 0x11},   {keys::Alt, 0x12},
      {keys::Space, 0x20},       {keys::Tilde, 0xc0},     {keys::NumPlus, 0x6b},   {keys::NumMinus, 0x6d},
      {keys::NumMultiply, 0x6a}, {keys::NumDivide, 0x6f}, {keys::NumDecimal, 0x6e}, {keys::LeftButton, 1},
      {keys::RightButton, 2},    {keys::MiddleButton, 4},
  };
  auto it = rest.find(k);
  return it == rest.end() ? -1 : it->second;
}

// Builds KEYCODES once: codes 0..254 with the display name or "key_XX".
void BuildKeyCodes() {
  Enumerator* e = GetEnumerator("KEYCODES");
  if (e->GetStoredAmount() > 0) return;
  for (int code = 0; code < 255; ++code) {
    const char* name = SystemKeyName(code);
    char own[16];
    if (!*name) snprintf(own, sizeof own, "key_%02X", code), name = own;
    e->Add(name, code);
  }
}

bool HasRoomPrefix(const char* id, int& room) {
  if (strncmp(id, "[Page", 5) != 0) return false;
  room = atoi(id + 5);
  return true;
}

bool CountsInRoom(const OneHotKey& k) {
  int room = -1;
  return !HasRoomPrefix(k.ID.cpchar(), room) || room == HotKeyRoom();
}

std::map<std::string, Command>& CommandMap() {
  static std::map<std::string, Command> commands;
  return commands;
}

// The key-down of a "$" widget bound by ApplyHotKeys: it clicks the widget.
class HotKeyClick : public BaseClass {
 public:
  WidgetHandle Target;
  MV_CLASS(HotKeyClick, BaseClass) {}
  bool Fire() {
    BaseWidget* w = Target.Get();
    return w && w->SendEvent(kEvLDown);
  }
};
}  // namespace

ClassArray<OneHotKey>& HotKeyList() {
  static ClassArray<OneHotKey>* list = [] {
    BuildKeyCodes();
    return new ClassArray<OneHotKey>;
  }();
  return *list;
}

int SystemKeyRows() { return kRowCount; }

int SystemKeyCode(const char* name) {
  if (!name) return -1;
  for (const KeyRow& r : kRows)
    if (strcasecmp(r.name, name) == 0) return r.code;
  return -1;
}

const char* SystemKeyName(int code) {
  for (const KeyRow& r : kRows)
    if (r.code == code) return r.name;
  return "";
}

int LayerToSystemKey(int layerKey) { return layerKey >= 0 && layerKey <= keys::WheelDown ? LayerTable(layerKey) : -1; }

int SystemToLayerKey(int systemKey) {
  if (systemKey < 0) return -1;
  for (int k = 0; k <= keys::WheelDown; ++k)
    if (LayerTable(k) == systemKey) return k;
  return -1;
}

int& HotKeyRoom() {
  static int room = 0;
  return room;
}

OneHotKey* FindHotKey(const char* id) {
  for (OneHotKey* k : HotKeyList())
    if (k && id && strcmp(k->ID.cpchar(), id) == 0) return k;
  return nullptr;
}

OneHotKey* FindHotKeyByKey(int code, bool shift, bool ctrl, bool alt) {
  for (OneHotKey* k : HotKeyList())
    if (k && k->Code == code && k->Shift == shift && k->Ctrl == ctrl && k->Alt == alt && CountsInRoom(*k)) return k;
  return nullptr;
}

void RemoveHotKey(const char* id) {
  ClassArray<OneHotKey>& list = HotKeyList();
  for (int i = list.GetAmount() - 1; i >= 0; --i)
    if (list[i] && id && strcmp(list[i]->ID.cpchar(), id) == 0) list.DelElement(i);
}

OneHotKey* AddHotKey(const char* id, int code, bool shift, bool ctrl, bool alt, bool firm, bool replace) {
  if (!id || !*id) return nullptr;
  if (replace) RemoveHotKey(id);
  auto* k = new OneHotKey;
  k->ID = id;
  k->Code = code;
  k->Shift = shift, k->Ctrl = ctrl, k->Alt = alt, k->Firm = firm;
  HotKeyList().Add(k);
  return k;
}

bool AddDefaultHotKey(const char* id, int code, bool shift, bool ctrl, bool alt) {
  if (FindHotKey(id) || FindHotKeyByKey(code, shift, ctrl, alt)) return false;
  return AddHotKey(id, code, shift, ctrl, alt, false, false) != nullptr;
}

std::string HotKeyText(const char* id) {
  const OneHotKey* k = FindHotKey(id);
  if (!k) return "";
  std::string s;
  if (k->Ctrl) s += "CTRL+";
  if (k->Alt) s += "ALT+";
  if (k->Shift) s += "SHIFT+";
  const char* name = SystemKeyName(k->Code);
  return *name ? s + name : "";
}

std::string KeyName(const BaseWidget* widget) {
  if (!widget || widget->Name.cpchar()[0] != '$') return "";
  std::string text = HotKeyText(widget->Name.cpchar() + 1);
  return text.empty() ? "" : "'" + text + "'";
}

void ApplyHotKeys(BaseWidget* root) {
  if (!root) return;
  const char* name = root->Name.cpchar();
  if (name[0] == '$') {
    ClassArray<WBaseCallback>& cbs = root->Callbacks;
    for (int i = cbs.GetAmount() - 1; i >= 0; --i)
      if (cbs[i] && cbs[i]->Event == kEvKeyDown && dynamic_cast<wpcallback<HotKeyClick>*>(cbs[i])) {
        delete static_cast<wpcallback<HotKeyClick>*>(cbs[i])->Object;
        cbs.DelElement(i);
      }
    const OneHotKey* k = FindHotKey(name + 1);
    int layer = k ? SystemToLayerKey(k->Code) : -1;
    if (layer >= 0) {
      auto* click = new HotKeyClick;
      click->Target = root->Handle();
      int mods = (k->Ctrl ? 0x100 : 0) | (k->Alt ? 0x200 : 0) | (k->Shift ? 0x400 : 0);
      root->AddCallback(kEvKeyDown, MakeCallback(click, &HotKeyClick::Fire)->WithHotKey(layer | mods));
    }
  }
  for (BaseWidget* c : root->Children) ApplyHotKeys(c);
}

bool SaveHotkeys(const char* path) { return HotKeyList().WriteToFile(path); }

bool LoadHotkeys(const char* path) {
  XmlNode tree;
  if (!tree.ReadFromFile(path)) return false;
  ClassArray<OneHotKey> loaded;
  ErrorCollector silent(false);
  loaded.Load(&tree, &loaded, &silent, nullptr);
  HotKeyList().Clear();
  for (int i = 0; i < loaded.GetAmount(); ++i) {
    OneHotKey* k = loaded[i];
    if (k) AddHotKey(k->ID.cpchar(), k->Code, k->Shift, k->Ctrl, k->Alt, false, false);
  }
  return true;
}

void RegisterCommand(const std::string& id, Command command) { CommandMap()[id] = std::move(command); }

const Command* FindCommand(const std::string& id) {
  auto it = CommandMap().find(id);
  return it == CommandMap().end() ? nullptr : &it->second;
}

bool FireHotKey(int layerKey, bool ctrl, bool alt, bool shift) {
  int code = LayerToSystemKey(layerKey);
  if (code < 0) return false;
  const OneHotKey* k = FindHotKeyByKey(code, shift, ctrl, alt);
  if (!k) return false;
  const char* id = k->ID.cpchar();
  int room = -1;
  if (HasRoomPrefix(id, room)) id = strchr(id, ']') ? strchr(id, ']') + 1 : id;
  const Command* c = FindCommand(id);
  if (!c || !c->Run || (c->Enabled && !c->Enabled())) return false;
  c->Run();
  return true;
}

std::string HoveredCommand(WidgetTree& tree) {
  const std::vector<BaseWidget*>& hits = tree.HitList();
  for (auto it = hits.rbegin(); it != hits.rend(); ++it)
    for (BaseWidget* w = *it; w; w = w->ParentWidget())
      if (w->Name.cpchar()[0] == '$') return w->Name.cpchar() + 1;
  return "";
}

bool HotKeyEditor::OnKey(int layerKey, bool down, bool ctrl, bool alt, bool shift) {
  if (!down) return Open();
  if (!Open()) {
    if (layerKey != keys::End && layerKey != keys::Backspace) return false;
    if (tree_.ModalRoot()) return false;
    std::string id = HoveredCommand(tree_);
    if (id.empty()) return false;
    if (layerKey == keys::Backspace) {
      RemoveHotKey(id.c_str());
      ApplyHotKeys(&tree_.Root());
      if (Saved) Saved();
      return true;
    }
    command_ = id;
    const char* words = Text("ENTER_HOTKEY");
    auto* box = new FrameWidget(words, Ui().PointerX, Ui().PointerY, Ui().TextWidth(words) + Ui().Px(20), Ui().Px(26));
    box->Name = "ENTER_HOTKEY";
    box->Layout |= kLayOnTop;
    box_ = tree_.Root().AddChild(box);
    return true;
  }
  if (layerKey == keys::Shift || layerKey == keys::Control || layerKey == keys::Alt) return true;
  std::string id = command_;
  command_.clear();
  if (box_) box_->Delete(), box_ = nullptr;
  if (layerKey == keys::Esc) return true;
  int code = LayerToSystemKey(layerKey);
  if (code >= 0) Assign(id, code, ctrl, alt, shift);
  return true;
}

bool HotKeyEditor::Assign(const std::string& id, int code, bool ctrl, bool alt, bool shift) {
  OneHotKey* other = nullptr;
  for (OneHotKey* k : HotKeyList())
    if (k && k->Code == code && k->Shift == shift && k->Ctrl == ctrl && k->Alt == alt && id != k->ID.cpchar()) {
      other = k;
      break;
    }
  if (other && other->Firm) {
    std::string text = std::string("#") + Text("KEY_ASSIGNED_FIRMLY") + " " + Text(other->ID.cpchar());
    ShowDialog(tree_, text.c_str(), "DUP_KEY_ASSIGNMENT", nullptr, {"OK"});
    return false;
  }
  if (other && CountsInRoom(*other)) {
    std::string text = std::string("#") + Text("KEY_ALREADY_USED2") + " " + Text(other->ID.cpchar());
    int answer = ShowDialog(tree_, text.c_str(), "DUP_KEY_ASSIGNMENT", nullptr, {"StackKey", "Redefine", "Cancel"});
    if (answer == 3 || answer == 0) return false;
    if (answer == 2) RemoveHotKey(other->ID.cpchar());
  }
  AddHotKey(id.c_str(), code, shift, ctrl, alt, false, true);
  ApplyHotKeys(&tree_.Root());
  Log("Hot key %s set to %s", id.c_str(), HotKeyText(id.c_str()).c_str());
  if (Saved) Saved();
  return true;
}
