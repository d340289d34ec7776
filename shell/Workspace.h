// The working environment around the rooms: the options (loaded at start,
// saved at exit and after each change), the named commands with their
// default hot keys, the main menu bar, the in-place hot-key editor and the
// navigation rows in the router. One per program, made by Program.
#pragma once
#include <memory>
#include <string>
#include <vector>

#include "interface/Docks.h"
#include "interface/HotKeys.h"
#include "interface/MainMenu.h"
#include "MC/mesh/VolumeCommands.h"

class Shell;
class ShellInterface;
class ViewportSeams;

class Workspace {
 public:
  // The mesh files the program reads, as the browser lists them.
  static std::vector<std::string> MeshExtensions();
  // The extensions of a mask list ("*.tga;*.bmp" gives tga and bmp).
  static std::vector<std::string> ExtensionsOfMasks(const std::string& masks);
  Workspace(Shell& shell, ShellInterface& intf, ViewportSeams& view);
  ~Workspace();
  Workspace(const Workspace&) = delete;
  Workspace& operator=(const Workspace&) = delete;

  // After the shell started: options, commands, keys, the menu bar.
  void Start();
  MainMenuBar* Menu() const;
  // Builds the menu bar again: the recent files, the words table's menu.
  void BuildMenu();
  HotKeyEditor& KeyEditor() { return editor_; }
  // The default bindings (AddDefaultHotKey: a user's own stay).
  static void InstallDefaultHotKeys();
  // The menu bar's width, which the room strip leaves free.
  float MenuWidth() const { return menuWidth_; }

 private:
  void RegisterCommands();
  // The optional menu of web links that the words table may name.
  void AddLinksMenu(MainMenuBar& bar);
  void ApplyToShell();
  // The dock tree over the work area, with the navigation rows as a window.
  void MakeDocks();
  // The development keys of the whole dock arrangement (Ctrl+Alt+Shift+S
  // and L, "ToolsPresets/dockinfo.xml"); true when `key` was one.
  bool DockInfoKey(int key);
  // The room's page (or every room's) back to the shipped arrangement.
  void ResetPages(bool allRooms);
  // The file browser, then `then` with the chosen path. It opens at
  // `suggested` (or the newest recent file) and lists the `extensions`
  // (every file when empty); `saving` lets a new name be chosen.
  void AskPath(const char* titleKey, std::function<void(const std::string&)> then,
               std::vector<std::string> extensions = {}, bool saving = false, const std::string& suggested = {});
  // Save as: the browser on the scene's name, then the save.
  void AskSaveName();

  Shell& shell_;
  ShellInterface& intf_;
  ViewportSeams& view_;
  HotKeyEditor editor_;
  // The voxel menu's whole-volume commands; their parameters last the run.
  VolumeCommands volumeCommands_;
  WidgetHandle menu_;
  int cameraView_ = -1;  // the stored camera view shown last
  float menuWidth_ = 0;
  std::unique_ptr<Docks> docks_;
  // Once a frame (a widget of layer 2): keeps the navigation's view size,
  // draws the navigation zone and polls the 3D mouse.
  class MousePoller;
  std::unique_ptr<MousePoller> poller_;
  int pollerId_ = -1;
  bool started_ = false;
};
