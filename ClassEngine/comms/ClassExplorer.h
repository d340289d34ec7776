// cClassExplorer: the model behind the Class Explorer form, which edits any
// reflected object (the engine settings first of all). Its "Class" pane lists
// the registered classes by category; its "Object" pane shows the rows of the
// object it stands in, which may be a sub-object reached by Open. Commands:
// Undo, Redo, Back, Forward, Copy, Paste, Delete, Move Up, Move Down, Load...,
// Save..., Clear. Every command that changes the object first keeps the whole
// root object's XML text, so Undo restores it exactly.
#pragma once
#include <string>
#include <vector>

#include "ClassEngine/BaseClass.h"

namespace comms {

class cClassExplorer {
 public:
  // The commands in the order of the form's buttons.
  static const std::vector<std::string>& Commands();

  explicit cClassExplorer(BaseClass* root) : root_(root) {}

  // "Class" pane: "category/name" for classes with a category, else the name,
  // sorted; containers ("ClassArray.x") are left out.
  std::vector<std::string> ClassPane() const;
  struct Row {
    std::string Name;
    std::string Value;  // the "value" text of a plain member, or the view of a compound
    bool Opens = false;  // a compound element: Open goes into it
  };
  // "Object" pane: the rows of the object shown now.
  std::vector<Row> ObjectPane();
  // The object shown now: the root, or the sub-object Open went into.
  BaseClass* Current();

  // Navigation: into compound element i; Back and Forward along the way taken.
  bool Open(int element);
  bool Back();
  bool Forward();

  bool Undo();
  bool Redo();
  // Copy puts element i's XML text in Clipboard; Paste adds it to an array
  // (by the tag's class) or loads it into the element of the tag's name.
  bool Copy(int element);
  bool Paste();
  bool Delete(int element);
  bool MoveUp(int element) { return Move(element, -1); }
  bool MoveDown(int element) { return Move(element, +1); }
  // The root object from or to a class file.
  bool Load(const char* path);
  bool Save(const char* path);
  // Resets the object shown now.
  bool Clear();

  std::string Clipboard;

 private:
  bool Move(int element, int shift);
  std::string Snapshot();
  void Restore(const std::string& text);
  void Remember();  // keeps the state before a change; drops the redo list

  BaseClass* root_;
  std::vector<int> path_;  // element indices from the root to the object shown
  std::vector<std::vector<int>> back_, forward_;
  std::vector<std::string> undo_, redo_;
};

}  // namespace comms
