// Modal dialog boxes; see Dialogs.h.
#include "interface/Dialogs.h"

#include <algorithm>
#include <cctype>
#include <string>

#include "ClassEngine/Log.h"
#include "interface/TextTable.h"
#include "interface/UiContext.h"
#include "interface/WidgetTree.h"
#include "platform/Keys.h"

namespace {
ModalPump& Pump() {
  static ModalPump pump;
  return pump;
}
}  // namespace

void SetDialogPump(ModalPump pump) { Pump() = std::move(pump); }

DialogBox::DialogBox() {
  Flags |= kWfKeyFocus;
  AddCallback(kEvKeyDown, MakeCallback(this, &DialogBox::OnKey));
}

bool DialogBox::Pick(int index) {
  Result = index;
  return true;
}

bool DialogBox::OnKey() {
  const int key = Ui().Key, n = int(ButtonWords.size());
  if (n == 0) return false;
  if (key == keys::Enter) return Pick(std::clamp(DefaultButton, 1, n));
  if (key == keys::Esc) return Pick(n);
  if (key >= keys::A && key < keys::A + 26) {
    const char letter = char('a' + (key - keys::A));
    for (int i = 0; i < n; ++i)
      if (!ButtonWords[size_t(i)].empty() && std::tolower((unsigned char)ButtonWords[size_t(i)][0]) == letter)
        return Pick(i + 1);
  }
  return true;  // the box has the keyboard while it is open
}

namespace {
// The lines of `text` no wider than `width`: words are kept whole, "\n"
// breaks, and a word wider than the line stands alone.
std::vector<std::string> WrapText(const std::string& text, float width) {
  std::vector<std::string> lines;
  size_t start = 0;
  while (start <= text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    const std::string paragraph = text.substr(start, end - start);
    std::string line;
    size_t i = 0;
    while (i < paragraph.size()) {
      size_t j = paragraph.find(' ', i);
      if (j == std::string::npos) j = paragraph.size();
      const std::string word = paragraph.substr(i, j - i);
      const std::string longer = line.empty() ? word : line + " " + word;
      if (!line.empty() && Ui().TextWidth(longer.c_str()) > width) {
        lines.push_back(line);
        line = word;
      } else {
        line = longer;
      }
      i = j + 1;
    }
    lines.push_back(line);
    start = end + 1;
  }
  return lines;
}
}  // namespace

DialogBox* BuildDialog(WidgetTree& tree, const char* textKey, const char* titleKey, BaseClass* object,
                       std::initializer_list<const char*> buttonKeys) {
  return BuildDialog(tree, textKey, titleKey, object, std::vector<std::string>(buttonKeys.begin(), buttonKeys.end()));
}

DialogBox* BuildDialog(WidgetTree& tree, const char* textKey, const char* titleKey, BaseClass* object,
                       const std::vector<std::string>& buttonKeys, int defaultButton) {
  UiContext& ui = Ui();
  auto* box = new DialogBox;
  box->Layout |= kLayModal | kLayOnTop;
  box->Flags |= kWfTakesHint;
  box->DefaultButton = defaultButton;
  float w = ui.Px(360), row = ui.Px(kRowHeight), pad = ui.Px(10);
  float rect[4] = {pad, pad, w - 2 * pad, 0};
  if (titleKey && *titleKey) {
    auto* title = box->Add(new TextWidget(Text(titleKey), 0, 0, w, row + ui.Px(4)));
    title->Centered = true;
    rect[1] += row;
  }
  if (textKey && *textKey)
    for (const std::string& line : WrapText(Text(textKey), rect[2])) {
      box->Add(new TextWidget(line.c_str(), rect[0], rect[1] + rect[3], rect[2], row));
      rect[3] += row;
    }
  if (object) {
    auto* panel = new ClassPanel;
    panel->Object = object;
    panel->X = rect[0], panel->Y = rect[1] + rect[3] + ui.Px(4), panel->W = rect[2];
    box->AddChild(panel);
    panel->Rebuild();
    // A form taller than most of the screen scrolls, so the buttons stay in sight.
    const float most = float(ui.ScreenH) * 0.7f;
    if (panel->H > most) {
      panel->Delete();
      auto* scroll = new ScrollPanel("DIALOG_FORM");
      scroll->X = rect[0], scroll->Y = rect[1] + rect[3] + ui.Px(4), scroll->W = rect[2], scroll->H = most;
      auto* rows = new ClassPanel;
      rows->Object = object;
      rows->W = rect[2] - ui.Px(16);
      auto* content = new BaseWidget;
      content->W = rows->W;
      content->Layout |= kLayAutoHeight;
      content->AddChild(rows);
      rows->Rebuild();
      box->AddChild(scroll);
      scroll->SetContent(content);
      rect[3] += most + ui.Px(8);
    } else {
      rect[3] += panel->H + ui.Px(8);
    }
  }
  int n = int(buttonKeys.size()), i = 0;
  float bw = (rect[2] - ui.Px(6) * float(std::max(0, n - 1))) / float(std::max(1, n));
  for (const std::string& key : buttonKeys) {
    const char* words = Text(key.c_str());
    box->ButtonWords.push_back(words);
    auto* b = box->Add(new FrameWidget(words, rect[0] + float(i) * (bw + ui.Px(6)), rect[1] + rect[3] + ui.Px(6), bw,
                                       row + ui.Px(4)));
    b->Name = ("DIALOG_BUTTON_" + std::to_string(i + 1)).c_str();
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
  return ShowDialog(tree, textKey, titleKey, object, std::vector<std::string>(buttonKeys.begin(), buttonKeys.end()),
                    defaultButton);
}

int ShowDialog(WidgetTree& tree, const char* textKey, const char* titleKey, BaseClass* object,
               const std::vector<std::string>& buttonKeys, int defaultButton) {
  if (!Pump()) {
    Log("ShowDialog: %s -> %d (no one to ask)", textKey ? textKey : "", defaultButton);
    return defaultButton;
  }
  DialogBox* box = BuildDialog(tree, textKey, titleKey, object, buttonKeys, defaultButton);
  Log("ShowDialog: %s", textKey ? textKey : "");
  WidgetHandle handle = box->Handle();
  Pump()([&] { return !handle.Get() || box->Result != 0; });
  int result = handle.Get() ? box->Result : 0;
  if (handle.Get()) box->Delete();
  Log("ShowDialog: %s -> %d", textKey ? textKey : "", result ? result : defaultButton);
  return result ? result : defaultButton;
}
