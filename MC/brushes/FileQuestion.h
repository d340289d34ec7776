// A question for a file that a voxel mode asks through the window (the tool
// itself has no dialogs): its title, the kinds of file offered, the key under
// which the last folder is remembered, and the file offered first.
#pragma once
#include <functional>
#include <string>

struct FileQuestion {
  std::string TitleKey;     // a text key
  std::string Types;        // "tga,bmp,png,jpg - files"
  std::string Masks;        // "*.tga;*.bmp;*.png;*.jpg"
  std::string FolderKey;    // "PICKIMG"
  std::string DefaultPath;  // a full path, offered when nothing was chosen before
};

// Shows the question and calls `then` with the chosen path, or not at all
// when the user cancels.
using FileAsker = std::function<void(const FileQuestion&, std::function<void(const std::string&)> then)>;
