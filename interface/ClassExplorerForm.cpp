// The Class Explorer form; see ClassExplorerForm.h.
#include "interface/ClassExplorerForm.h"

#include <algorithm>

#include "ClassEngine/UserPaths.h"
#include "interface/Callbacks.h"
#include "interface/ClassPanel.h"
#include "interface/UiContext.h"
#include "interface/WidgetTree.h"

namespace {
constexpr int kLoad = 9, kSave = 10;  // indices in cClassExplorer::Commands()
constexpr float kPaneRows = 24;
}  // namespace

ClassExplorerForm::ClassExplorerForm(BaseClass* root) : model_(std::make_unique<comms::cClassExplorer>(root)) {
  Name = "CLASS_EXPLORER";
  Layout |= kLayOnTop;
  Flags |= kWfTakesHint;
  Refill();
}

void ClassExplorerForm::Refill() {
  for (BaseWidget* c : Children)
    if (c && c != fileBox_.Get()) c->Delete();
  UiContext& ui = Ui();
  const float row = ui.Px(kRowHeight), pad = ui.Px(8), paneW = ui.Px(270), gap = ui.Px(8);
  W = 2 * pad + 2 * paneW + gap;
  auto* title = Add(new TextWidget("Class Explorer", 0, 0, W, row + ui.Px(4)));
  title->Centered = true;
  auto* close = Add(new FrameWidget("x", W - row - ui.Px(2), ui.Px(2), row, row));
  close->AddCallback(kEvLDown, MakeCallback(this, &ClassExplorerForm::Close));

  // The two panes, under their names.
  const float top = row + ui.Px(6);
  Add(new TextWidget("Class", pad, top, paneW, row));
  Add(new TextWidget("Object", pad + paneW + gap, top, paneW, row));
  const std::vector<std::string> classes = model_->ClassPane();
  for (size_t i = 0; i < classes.size() && i < size_t(kPaneRows); ++i)
    Add(new TextWidget(classes[i].c_str(), pad, top + row * float(i + 1), paneW, row));
  if (classes.size() > size_t(kPaneRows))
    Add(new TextWidget(("... " + std::to_string(classes.size() - size_t(kPaneRows)) + " more").c_str(), pad,
                       top + row * (kPaneRows + 1), paneW, row));
  const std::vector<comms::cClassExplorer::Row> rows = model_->ObjectPane();
  selected_ = std::min(selected_, int(rows.size()) - 1);
  for (size_t i = 0; i < rows.size() && i < size_t(kPaneRows); ++i) {
    const std::string text = rows[i].Name + (rows[i].Opens ? " >  " : " = ") + rows[i].Value;
    auto* r = Add(new FrameWidget(text.c_str(), pad + paneW + gap, top + row * float(i + 1), paneW, row));
    r->Name = ("EXPLORER_ROW_" + std::to_string(i)).c_str();
    r->Centered = false;
    r->Fill = int(i) == selected_ ? kThemeHighlight : kThemeField;
    r->AddCallback(kEvLDown, MakeCallback(this, &ClassExplorerForm::RowClicked, int(i)));
    r->AddCallback(kEvLDouble, MakeCallback(this, &ClassExplorerForm::RowDoubleClicked, int(i)));
  }

  // The commands, six to a line.
  const std::vector<std::string>& commands = comms::cClassExplorer::Commands();
  const float buttonsTop = top + row * (kPaneRows + 2) + ui.Px(4), bw = (W - 2 * pad - 5 * ui.Px(4)) / 6;
  for (size_t i = 0; i < commands.size(); ++i) {
    const float x = pad + float(i % 6) * (bw + ui.Px(4)), y = buttonsTop + float(i / 6) * (row + ui.Px(6));
    auto* b = Add(new FrameWidget(commands[i].c_str(), x, y, bw, row + ui.Px(2)));
    b->Name = ("EXPLORER_" + commands[i]).c_str();
    b->AddCallback(kEvLDown, MakeCallback(this, &ClassExplorerForm::ButtonClicked, int(i)));
  }
  H = buttonsTop + 2 * (row + ui.Px(6)) + pad;
  X = std::max(0.0f, (float(ui.ScreenW) - W) / 2);
  Y = std::max(0.0f, (float(ui.ScreenH) - H) / 4);
}

bool ClassExplorerForm::Select(int index) {
  selected_ = index;
  Refill();
  return true;
}

bool ClassExplorerForm::OpenRow(int index) {
  if (!model_->Open(index)) return false;
  selected_ = -1;
  Refill();
  return true;
}

bool ClassExplorerForm::RowClicked(int index) { return Select(index); }
bool ClassExplorerForm::RowDoubleClicked(int index) { return OpenRow(index); }
bool ClassExplorerForm::ButtonClicked(int command) {
  Run(command);
  return true;
}

TextEntry* ClassExplorerForm::FileBox() { return dynamic_cast<TextEntry*>(fileBox_.Get()); }

bool ClassExplorerForm::Run(int command) {
  comms::cClassExplorer& m = *model_;
  bool done = false;
  switch (command) {
    case 0: done = m.Undo(); break;
    case 1: done = m.Redo(); break;
    case 2: done = m.Back(); break;
    case 3: done = m.Forward(); break;
    case 4: done = m.Copy(selected_); break;
    case 5: done = m.Paste(); break;
    case 6: done = m.Delete(selected_); break;
    case 7:
      if ((done = m.MoveUp(selected_))) --selected_;
      break;
    case 8:
      if ((done = m.MoveDown(selected_))) ++selected_;
      break;
    case kLoad:
    case kSave: {
      if (TextEntry* open = FileBox()) open->Delete();
      auto* box = new TextEntry;
      UiContext& ui = Ui();
      box->W = ui.Px(320), box->H = ui.Px(kRowHeight + 4);
      box->PopupX = AbsX + (W - box->W) / 2;
      box->PopupY = AbsY + H - box->H - ui.Px(4);
      box->Edit = UserFilePath("UserData/Explorer.xml");
      box->OnCommit = [this, command](const std::string& path) {
        const bool ok = command == kLoad ? model_->Load(path.c_str()) : model_->Save(path.c_str());
        Refill();
        return ok;
      };
      AddChild(box);
      fileBox_ = box->Handle();
      return true;
    }
    case 11: done = m.Clear(); break;
    default: return false;
  }
  Refill();
  return done;
}

bool ClassExplorerForm::Close() {
  Delete();
  return true;
}

ClassExplorerForm* ToggleClassExplorer(WidgetTree& tree, BaseClass* root) {
  if (BaseWidget* open = tree.Root().FindWidget("CLASS_EXPLORER", false)) {
    open->Delete();
    return nullptr;
  }
  auto* form = new ClassExplorerForm(root);
  tree.Root().AddChild(form);
  return form;
}
