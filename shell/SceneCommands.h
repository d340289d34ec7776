// The commands that bring a file into the scene or write the scene out:
// import a mesh, open a scene file, save it. They are reached from the
// command line, from a dropped file, from Exchange/import.txt and from the
// exit question. Each room hands in what it can take when it is built; a
// command that no room takes yet tells the user so, naming the file, and
// leaves the open scene as it was.
#pragma once
#include <functional>
#include <string>

#include "shell/CommandLine.h"

struct SceneCommands {
  // Imports a mesh file as the decision's action says (paint mesh, reference,
  // third import path); false when it failed, after telling the user why.
  std::function<bool(const std::string& path, CommandLineDecision::Action how)> ImportMesh;
  // Opens a scene file; `restoring` is set for the crash backup.
  std::function<bool(const std::string& path, bool restoring)> LoadScene;
  // Writes the scene to `path`.
  std::function<bool(const std::string& path)> SaveScene;
  // Saves under the current name, or the next free "untitled.mvn" of the
  // user's folder; false when it failed.
  std::function<bool()> SaveAs;
  // Saves to `path`, which becomes the scene's name and the newest recent file.
  std::function<bool(const std::string& path)> SaveTo;
  // The name a "save as" offers: the scene's own, or the next free untitled one.
  std::function<std::string()> SuggestedName;
  // Saves under the next numbered name (a_007.mvn -> a_008.mvn).
  std::function<bool()> SaveIncremental;
  // The newest entry of the recent-files list ("-recent").
  std::function<std::string()> LastRecentFile;
};

// The program's commands; tests replace members and restore them.
SceneCommands& TheSceneCommands();

// Carries out a command-line or dropped-file decision. False when nothing
// could be done; the user has been told why.
bool RunFileCommand(const CommandLineDecision& decision);
// A mesh file brought in by another program or dropped: imported into the
// paint room, the room that takes meshes.
bool ImportMeshFile(const std::string& path);
bool LoadSceneFile(const std::string& path, bool restoring);
bool SaveSceneFile(const std::string& path);
bool SaveSceneAs();
// A plain warning box: the words of `key`, then `path` (a file and its reason)
// on a line of its own; logged too.
void TellCannot(const char* key, const std::string& path);
bool SaveSceneTo(const std::string& path);
