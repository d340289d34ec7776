// The main menu bar: a row of titles (File, Edit, View, the rooms, Help) whose
// click drops a list of items. An item is a named command (HotKeys.h): it
// shows the command's words and its hot key, and is dim while the command is
// missing or disabled, so commands of later work join by registering. Items
// are widgets named "$" + command, so a key can be assigned in place over them.
#pragma once
#include <string>
#include <vector>

#include "interface/Widgets.h"

class WidgetTree;

struct MenuItem {
  std::string Command;  // "" is a separator line
  std::string TextKey;  // empty: the command name is the key
};
struct MenuDescription {
  std::string TitleKey;
  std::vector<MenuItem> Items;
};

class MainMenuBar : public PanelWidget {
 public:
  static constexpr float kHeight = 22;
  std::vector<MenuDescription> Menus;
  MV_CLASS(MainMenuBar, PanelWidget) {}
  MainMenuBar();
  // Rebuilds the titles from Menus; the width the titles take.
  float Rebuild();
  // Opens menu `index` below its title (closes any other); false for none.
  bool OpenMenu(int index);
  bool CloseMenu();
  // Runs the command of an item of the open menu; false when it is dim.
  bool RunItem(int item);
  // The dropped list, null while closed.
  PanelWidget* OpenList() const;
  int OpenIndex() const { return open_; }
  // Hovering another title while a list is open moves the list there.
  bool OnHoverTitle(int index);

 private:
  bool OnOutsideClick();
  WidgetHandle list_;
  int open_ = -1;
};
