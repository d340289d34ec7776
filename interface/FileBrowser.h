// The file browser that opens, saves and imports ask with. FileListing is
// what it shows and decides, without widgets: one folder's entries (its
// parent first, then folders, then the files of the asked extensions, each
// group sorted without regard to case, hidden entries left out) and what a
// click or a typed name leads to. FileBrowserBox draws it as a modal box:
// the folder, the list (wheel scrolls), the name field, and the buttons; a
// click opens a folder or takes a file's name, a double click or Enter
// chooses, Esc or Cancel closes. Saving over an existing file asks first:
// the box says so and a second Enter (or press of the button) confirms.
#pragma once
#include <functional>
#include <string>
#include <vector>

#include "interface/Widgets.h"

class WidgetTree;

class FileListing {
 public:
  struct Entry {
    std::string Name;
    bool IsFolder = false;
  };
  // Lower-case extensions without the dot; empty lists every file. When
  // saving, the first is added to a name that has none of them.
  std::vector<std::string> Extensions;
  bool Saving = false;

  // Lists `folder` ("\\" or "/", any case); false keeps the listing shown
  // and says why in Error.
  bool Open(const std::string& folder);
  const std::string& Folder() const { return folder_; }
  const std::vector<Entry>& Entries() const { return entries_; }
  const std::string& Error() const { return error_; }

  // What a typed name (relative to the folder, or absolute) or a chosen
  // entry leads to. A folder is opened and gives "". A file gives its full
  // path: when opening it must exist (found without regard to case); when
  // saving its folder must exist. Otherwise "" and Error says why.
  std::string Choose(const std::string& typed);
  std::string ChooseEntry(int index);
  // The file a save would replace: Choose gave a path that exists.
  bool Replaces(const std::string& path) const;

 private:
  bool Listed(const std::string& name) const;
  std::string folder_;
  std::vector<Entry> entries_;
  std::string error_;
};

class FileBrowserBox : public PanelWidget {
 public:
  FileListing Listing;
  std::string Edit;   // the name field
  // The field's text is selected when the box opens: the first character
  // typed replaces it, and Backspace clears it.
  bool EditSelected = true;
  int Selected = -1;  // the highlighted entry
  int Top = 0;        // the first entry in sight
  // Called once with the chosen path; the box closes after it.
  std::function<void(const std::string&)> OnChosen;

  MV_CLASS(FileBrowserBox, PanelWidget) {}
  FileBrowserBox();
  // The entry under a point of the list, or -1.
  int EntryAt(float x, float y) const;
  int VisibleRows() const;
  // Chooses what the name field says (Enter, the button).
  bool Confirm();
  bool Cancel();
  bool OnDrawBox();
  bool OnPress();
  bool OnDouble();
  bool OnWheel();
  bool OnKey();
  bool OnChar();
  // The line under the list: an error, or the question before replacing.
  const std::string& Note() const { return note_; }
  // After the listing changed folder: the selection and scroll start again.
  void Opened();

 private:
  float ListY() const;
  std::string replacing_;  // a first Confirm that would replace this file
  std::string note_;
};

// Opens the browser in `tree` on `folder` (the user's home folder when it is
// empty or missing) with `name` in the field. `titleKey` and `buttonKey` are
// keys of the words table.
FileBrowserBox* OpenFileBrowser(WidgetTree& tree, const char* titleKey, const char* buttonKey,
                                const std::string& folder, const std::string& name,
                                std::vector<std::string> extensions, bool saving,
                                std::function<void(const std::string&)> chosen);
