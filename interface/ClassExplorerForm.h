// The Class Explorer form over the widget tree: edits any reflected object
// (the engine settings first of all) through cClassExplorer. On the left the
// "Class" pane lists the registered classes; on the right the "Object" pane
// lists the rows of the object shown, name and value. A click selects a row,
// a double click on a compound row opens it. Below, a button for each
// command; Load... and Save... ask for a file name in a text box. The form
// is opened and closed with Ctrl+Alt+Shift+E.
#pragma once
#include <memory>
#include <string>

#include "ClassEngine/comms/ClassExplorer.h"
#include "interface/Widgets.h"

class WidgetTree;

class ClassExplorerForm : public PanelWidget {
 public:
  MV_CLASS(ClassExplorerForm, PanelWidget) {}
  ClassExplorerForm() : ClassExplorerForm(nullptr) {}
  explicit ClassExplorerForm(BaseClass* root);

  // The command of that index in cClassExplorer::Commands(); Load... and
  // Save... open the file-name box. False when the command did nothing.
  bool Run(int command);
  // Selects row `index` of the Object pane (-1 none).
  bool Select(int index);
  // Opens compound row `index`.
  bool OpenRow(int index);
  // Rebuilds both panes and the buttons from the model.
  void Refill();

  comms::cClassExplorer& Model() { return *model_; }
  int Selected() const { return selected_; }
  // The file-name box of Load... or Save..., null when none is open.
  TextEntry* FileBox();
  bool Close();

 private:
  bool RowClicked(int index);
  bool RowDoubleClicked(int index);
  bool ButtonClicked(int command);

  std::unique_ptr<comms::cClassExplorer> model_;
  int selected_ = -1;
  WidgetHandle fileBox_;
};

// Opens the form for `root` over the tree, or closes it when it is open.
// Returns the open form, null after closing.
ClassExplorerForm* ToggleClassExplorer(WidgetTree& tree, BaseClass* root);
