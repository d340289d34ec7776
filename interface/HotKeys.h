// Hot keys: a key with modifiers bound to a named command. Bindings name keys
// by the window system's virtual-key numbers (the "system keys" of the
// KEYCODES table, so stored files read the same everywhere); the program's own
// key numbers map onto them. Commands are functions registered by name; a
// key-down that matches a binding runs its command, and widgets named "$" +
// command show and fire the key too (ApplyHotKeys). Assigning in place: the
// pointer on a "$" control, End opens "ENTER_HOTKEY" and the next key binds.
#pragma once
#include <functional>
#include <string>

#include "ClassEngine/ClassArray.h"
#include "ClassEngine/MemberClasses.h"

class BaseWidget;
class WidgetTree;

class OneHotKey : public BaseClass {
 public:
  _str ID;  // the command; "[Page<n>]" in front limits it to room n
  int Code = 0;
  bool Ctrl = false, Alt = false, Shift = false;
  bool Firm = false;  // a user may not take this key over; never stored
  MV_CLASS(OneHotKey, BaseClass);
};

// The bindings; stored with the options and in *.hotkeys files.
ClassArray<OneHotKey>& HotKeyList();

// System keys: the 103 named rows. Name to number and back take the first
// row that fits; unknown gives -1 or "".
int SystemKeyCode(const char* name);
const char* SystemKeyName(int code);
int SystemKeyRows();
// The program's key numbers to system keys and back; -1 when none.
int LayerToSystemKey(int layerKey);
int SystemToLayerKey(int systemKey);

// The room that "[Page<n>]" bindings compare with.
int& HotKeyRoom();

OneHotKey* FindHotKey(const char* id);
// The first binding of this key and these modifiers that counts in the room.
OneHotKey* FindHotKeyByKey(int code, bool shift, bool ctrl, bool alt);
void RemoveHotKey(const char* id);
OneHotKey* AddHotKey(const char* id, int code, bool shift, bool ctrl, bool alt, bool firm, bool replace);
// Adds only if neither the name nor the key is taken; true if added.
bool AddDefaultHotKey(const char* id, int code, bool shift, bool ctrl, bool alt);
// "CTRL+S" style text of a command's binding, "" without one.
std::string HotKeyText(const char* id);
// "'" + modifiers + key + "'" for a widget named "$" + command, "" otherwise.
std::string KeyName(const BaseWidget* widget);
// Gives every widget named "$" + command the binding's key (a key-down that
// clicks it), or takes it away.
void ApplyHotKeys(BaseWidget* root);
bool SaveHotkeys(const char* path);
// Replaces the list by the file's; false (list unchanged) if it does not read.
bool LoadHotkeys(const char* path);

// Named commands, the targets of hot keys and menu items.
struct Command {
  std::function<void()> Run;
  std::function<bool()> Enabled;  // empty: always
};
void RegisterCommand(const std::string& id, Command command);
const Command* FindCommand(const std::string& id);
// Runs the command bound to this key-down (program key numbers); true if one ran.
bool FireHotKey(int layerKey, bool ctrl, bool alt, bool shift);

// The in-place editor of bindings. The tree's router offers it every key
// first: End over a "$" control opens the box, Backspace removes the binding;
// while the box is open the next key that is no modifier is the new binding.
class HotKeyEditor {
 public:
  explicit HotKeyEditor(WidgetTree& tree) : tree_(tree) {}
  // True when the key was taken.
  bool OnKey(int layerKey, bool down, bool ctrl, bool alt, bool shift);
  bool Open() const { return !command_.empty(); }
  const std::string& Command() const { return command_; }
  // Steps 2-5 of an assignment: conflicts asked about, the binding added,
  // applied and the options saved. False when it was refused or cancelled.
  bool Assign(const std::string& id, int systemKey, bool ctrl, bool alt, bool shift);
  // Called after every change (the shell saves the options there).
  std::function<void()> Saved;

 private:
  WidgetTree& tree_;
  std::string command_;
  BaseWidget* box_ = nullptr;
};

// The command of the control under the pointer ("$" stripped), "" if none.
std::string HoveredCommand(WidgetTree& tree);
