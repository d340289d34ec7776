// The options on disk and on screen: Options.xml in the user folder (read
// once at start-up, rewritten through a temporary file so a failed write
// keeps the old one), the colour themes "*.Options.xml" of OptionsPresets/
// (shipped in the data folder, the user's own in the user folder) and the
// options dialog over OptForm.
#pragma once
#include <functional>
#include <string>
#include <vector>

class WidgetTree;

// What the load and the save do around the file, installed by the shell.
struct OptionsHooks {
  std::function<void()> BeforeSave;     // store the dock pages
  std::function<void()> AfterApply;     // the camera, the widgets that follow colours
};
OptionsHooks& TheOptionsHooks();

// Reads Options.xml: a missing file keeps the defaults and applies the dark
// theme the first time; a damaged one loads the values it can still read,
// keeps the defaults for the rest, and says so in the log. False when the
// file was missing or damaged.
bool LoadOptions();
// Writes Options.xml; false (old file kept) when it cannot be written.
bool SaveOptions();
bool OptionsLoaded();
// Every default, then the shipped dark theme.
void ResetOptions();
// Applies a theme file; false if it does not read (colours unchanged).
bool LoadTheme(const std::string& path);
// Writes the theme colours to `path`.
bool SaveTheme(const std::string& path);
// The path of a theme by its name: the user's own first, then the shipped one.
std::string ThemePath(const std::string& name);
// The names of the themes there are, shipped and the user's.
std::vector<std::string> ThemeNames();
// The options dialog; true when it was closed with OK (Cancel restores).
bool ShowOptions(WidgetTree& tree);
