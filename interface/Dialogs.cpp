// Modal dialog boxes; see Dialogs.h.
#include "interface/Dialogs.h"

#include <algorithm>

#include "ClassEngine/Log.h"
#include "interface/TextTable.h"
#include "interface/UiContext.h"
#include "interface/WidgetTree.h"

namespace {
ModalPump& Pump() {
  static ModalPump pump;
  return pump;
}
}  // namespace

void SetDialogPump(ModalPump pump) { Pump() = std::move(pump); }

bool DialogBox::Pick(int index) {
  Result = index;
  return true;
}

DialogBox* BuildDialog(WidgetTree& tree, const char* textKey, const char* titleKey, BaseClass* object,
                       std::initializer_list<const char*> buttonKeys) {
  UiContext& ui = Ui();
  auto* box = new DialogBox;
  box->Layout |= kLayModal | kLayOnTop;
  box->Flags |= kWfTakesHint;
  float w = ui.Px(360), row = ui.Px(kRowHeight), pad = ui.Px(10);
  float rect[4] = {pad, pad, w - 2 * pad, 0};
  if (titleKey && *titleKey) {
    auto* title = box->Add(new TextWidget(Text(titleKey), 0, 0, w, row + ui.Px(4)));
    title->Centered = true;
    rect[1] += row;
  }
  if (textKey && *textKey) AddLabelRow(box, rect, textKey);
  if (object) {
    auto* panel = new ClassPanel;
    panel->Object = object;
    panel->X = rect[0], panel->Y = rect[1] + rect[3] + ui.Px(4), panel->W = rect[2];
    box->AddChild(panel);
    panel->Rebuild();
    rect[3] += panel->H + ui.Px(8);
  }
  int n = int(buttonKeys.size()), i = 0;
  float bw = (rect[2] - ui.Px(6) * float(std::max(0, n - 1))) / float(std::max(1, n));
  for (const char* key : buttonKeys) {
    auto* b = box->Add(new FrameWidget(Text(key), rect[0] + float(i) * (bw + ui.Px(6)), rect[1] + rect[3] + ui.Px(6), bw,
                                       row + ui.Px(4)));
    b->AddCallback(kEvLDown, MakeCallback(box, &DialogBox::Pick, ++i));
  }
  box->W = w;
  box->H = rect[1] + rect[3] + row + ui.Px(10) + pad;
  box->X = (float(ui.ScreenW) - box->W) / 2;
  box->Y = (float(ui.ScreenH) - box->H) / 3;
  tree.Root().AddChild(box);
  return box;
}

int ShowDialog(WidgetTree& tree, const char* textKey, const char* titleKey, BaseClass* object,
               std::initializer_list<const char*> buttonKeys, int defaultButton) {
  if (!Pump()) {
    Log("ShowDialog: %s -> %d (no one to ask)", textKey ? textKey : "", defaultButton);
    return defaultButton;
  }
  DialogBox* box = BuildDialog(tree, textKey, titleKey, object, buttonKeys);
  WidgetHandle handle = box->Handle();
  Pump()([&] { return !handle.Get() || box->Result != 0; });
  int result = handle.Get() ? box->Result : 0;
  if (handle.Get()) box->Delete();
  return result ? result : defaultButton;
}
