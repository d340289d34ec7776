// TextMenu and ComboBox; see Widgets.h.
#include <algorithm>

#include "ClassEngine/Enumerator.h"
#include "interface/TextTable.h"
#include "interface/UiContext.h"
#include "interface/Widgets.h"

namespace {
constexpr float kItemHeight = 18;
bool IsTitle(const std::string& item) { return item.size() > 1 && item[0] == '*'; }
}

TextMenu::TextMenu() {
  AddCallback(kEvDraw, MakeCallback(this, &TextMenu::OnDraw));
  AddCallback(kEvLDown, MakeCallback(this, &TextMenu::OnClick));
}

void TextMenu::SetItems(const std::vector<std::string>& items) {
  Items = items;
  H = Ui().Px(kItemHeight) * float(std::max<size_t>(1, Items.size()));
  // Wide enough for its longest item.
  for (const std::string& item : Items) W = std::max(W, Ui().TextWidth(item.c_str()) + Ui().Px(16));
}

void TextMenu::FitColumns(float height, float columnW) {
  const float row = Ui().Px(kItemHeight);
  const int n = int(std::max<size_t>(1, Items.size()));
  Rows = std::clamp(int(height / row), 1, n);
  const int columns = (n + Rows - 1) / Rows;
  W = columnW * float(columns);
  H = row * float(Rows);
}

int TextMenu::ItemAt(float x, float y) const {
  const float row = Ui().Px(kItemHeight);
  const int rows = Rows > 0 ? Rows : int(std::max<size_t>(1, Items.size()));
  const int columns = (int(Items.size()) + rows - 1) / rows;
  const float columnW = W / float(std::max(1, columns));
  const int r = int((y - AbsY) / row), c = int((x - AbsX) / columnW);
  if (y < AbsY || x < AbsX || r >= rows || c >= columns) return -1;
  const int i = c * rows + r;
  return i < int(Items.size()) ? i : -1;
}

bool TextMenu::OnDraw() {
  UiContext& ui = Ui();
  ui.FillRect(AbsX, AbsY, W, H, ui.Colors.Field);
  ui.FrameRect(AbsX, AbsY, W, H, ui.Colors.Frame);
  int hover = Has(kWfHover) ? ItemAt(ui.PointerX, ui.PointerY) : -1;
  float row = ui.Px(kItemHeight);
  const int rows = Rows > 0 ? Rows : int(std::max<size_t>(1, Items.size()));
  const int columns = (int(Items.size()) + rows - 1) / rows;
  const float columnW = W / float(std::max(1, columns));
  for (size_t i = 0; i < Items.size(); ++i) {
    const float x = AbsX + columnW * float(int(i) / rows), y = AbsY + row * float(int(i) % rows);
    // "*Title" heads a group of the items below it and is no choice.
    const bool title = IsTitle(Items[i]);
    if (int(i) == hover && !title) ui.FillRect(x + 1, y, columnW - 2, row, ui.Colors.Highlight);
    ui.DrawText(x + ui.Px(title ? 2 : 6), y + (row - ui.Px(16)) / 2, Items[i].c_str() + (title ? 1 : 0),
                title ? ui.Colors.DimText : ui.Colors.Text, 12, columnW - ui.Px(8));
  }
  return false;
}

bool TextMenu::OnClick() {
  int i = ItemAt(Ui().PointerX, Ui().PointerY);
  if (i < 0) return false;
  if (IsTitle(Items[size_t(i)])) return true;
  if (Selected) *Selected = i;
  SendEvent(kEvChanged);
  if (IsPopup) SetVisible(false);
  return true;
}

ComboBox::ComboBox() {
  // The box draws itself closed; the list is a popup child.
  Callbacks.Clear();
  AddCallback(kEvDraw, MakeCallback(this, &ComboBox::OnDrawBox));
  AddCallback(kEvLDown, MakeCallback(this, &ComboBox::Open));
}

void ComboBox::SetEnumerator(Enumerator* e) {
  enumerator_ = e;
  Items.clear();
  values_.clear();
  if (!e) return;
  for (int i = 0; i < e->GetAmount(); ++i) {
    const char* name = i < e->GetStoredAmount() ? e->Get(e->Values[i]) : e->Get(i);
    Items.push_back(::Text(name));
    values_.push_back(i < e->GetStoredAmount() ? e->Values[i] : i);
  }
}

bool ComboBox::OnDrawBox() {
  UiContext& ui = Ui();
  ui.FillRect(AbsX, AbsY, W, H, Has(kWfHover) ? ui.Colors.FieldHover : ui.Colors.Field);
  ui.FrameRect(AbsX, AbsY, W, H, ui.Colors.Frame);
  int shown = -1;
  if (Selected)
    for (size_t i = 0; i < values_.size(); ++i)
      if (values_[i] == *Selected) shown = int(i);
  if (!enumerator_ && Selected) shown = *Selected;
  if (shown >= 0 && shown < int(Items.size()))
    ui.DrawText(AbsX + ui.Px(6), AbsY + (H - ui.Px(16)) / 2, Items[size_t(shown)].c_str(), ui.Colors.Text, 12,
                W - ui.Px(24));
  // The arrow of a closed box.
  float ax = AbsX + W - ui.Px(12), ay = AbsY + H / 2;
  ui.Line(ax - ui.Px(4), ay - ui.Px(2), ax, ay + ui.Px(2), ui.Colors.DimText);
  ui.Line(ax, ay + ui.Px(2), ax + ui.Px(4), ay - ui.Px(2), ui.Colors.DimText);
  return false;
}

bool ComboBox::Open() {
  if (popup_) popup_->Delete();
  popup_ = new TextMenu;
  popup_->IsPopup = 1;
  popup_->Layout |= kLayOnTop;
  popup_->Flags |= kWfFullScissor | kWfTakesHint;
  popup_->SetItems(Items);
  // As wide as its longest item, and in columns where it would run off the
  // screen; it stays on the screen.
  UiContext& ui = Ui();
  float widest = W;
  for (const std::string& item : Items) widest = std::max(widest, ui.TextWidth(item.c_str()) + ui.Px(16));
  popup_->W = widest;
  const float room = float(ui.ScreenH) - ui.Px(8);
  if (popup_->H > room) popup_->FitColumns(room, widest);
  // The list opens over the box, so the pointer starts inside it and the
  // popup stays until the pointer leaves.
  popup_->PopupX = std::max(0.f, std::min(AbsX, float(ui.ScreenW) - popup_->W));
  popup_->PopupY = std::max(0.f, std::min(AbsY, float(ui.ScreenH) - popup_->H));
  popup_->Selected = &pickedIndex_;
  popup_->AddCallback(kEvChanged, MakeCallback(this, &ComboBox::Picked));
  AddChild(popup_);
  return true;
}

bool ComboBox::Picked() {
  if (pickedIndex_ < 0) return false;
  int value = pickedIndex_ < int(values_.size()) ? values_[size_t(pickedIndex_)] : pickedIndex_;
  if (Selected) *Selected = value;
  if (popup_) {
    popup_->Delete();
    popup_ = nullptr;
  }
  SendEvent(kEvChanged);
  return true;
}
