// Open, Save, Save As and Save incremental of the program: the scene file of
// the paint room with the blocks of every tool (the voxel tool brings the
// volumes of the view), the recent-files list, and the question to save
// first when opening over work that no file has. Installed into
// TheSceneCommands(), so the command line, a dropped file, the autosave and
// the exit question reach them.
#pragma once
#include <string>

class ToolTable;
class ViewportSeams;
class UserFolders;

void InstallSceneFileCommands(ToolTable& tools, ViewportSeams& view, const UserFolders& folders);

// The scene's own file name, or where an untitled scene is saved: the first
// free "untitled.mvn", "untitled_001.mvn", ... in `folder`.
std::string SceneSaveName(const std::string& current, const std::string& folder);
