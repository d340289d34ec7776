// The EnterString window; see Widgets.h.
#include "interface/UiContext.h"
#include "interface/Widgets.h"
#include "platform/Keys.h"

int& CurrentChar() {
  static int code = 0;
  return code;
}

TextEntry::TextEntry() {
  Centered = false;
  IsPopup = 1;
  Layout |= kLayOnTop | kLayKeepOpen1;
  Flags |= kWfKeyFocus | kWfFullScissor | kWfTakesHint;
  AddCallback(kEvKeyDown, MakeCallback(this, &TextEntry::OnKey));
  AddCallback(kEvChar, MakeCallback(this, &TextEntry::OnChar));
}

bool TextEntry::OnKey() {
  switch (Ui().Key) {
    case keys::Enter:
      Commit();
      return true;
    case keys::Esc:
      Delete();
      return true;
    case keys::Backspace:
      if (Selected) Edit.clear();
      else if (!Edit.empty()) Edit.pop_back();
      Selected = false;
      return true;
    case keys::Left:
    case keys::Right:
    case keys::Home:
    case keys::End:
      Selected = false;
      return true;
    default:
      return true;  // the box has the keyboard while it is open
  }
}

bool TextEntry::OnChar() {
  int c = CurrentChar();
  if (c < 32 || c >= 256 || c == 127) return true;
  if (Selected) Edit.clear();
  Selected = false;
  Edit += char(c);
  return true;
}

bool TextEntry::Commit() {
  bool ok = !OnCommit || OnCommit(Edit);
  Delete();
  return ok;
}

bool TextEntry::OnDraw() {
  UiContext& ui = Ui();
  ui.FillRect(AbsX, AbsY, W, H, ui.Colors.Field);
  ui.FrameRect(AbsX, AbsY, W, H, ui.Colors.Highlight);
  if (Selected && !Edit.empty())
    ui.FillRect(AbsX + ui.Px(3), AbsY + ui.Px(3), ui.TextWidth(Edit.c_str()) + ui.Px(3), H - ui.Px(6), ui.Colors.Highlight);
  float w = ui.DrawText(AbsX + ui.Px(4), AbsY + (H - ui.Px(16)) / 2, Edit.c_str(), ui.Colors.Text);
  // The caret blinks at half a second.
  ui.CaretShown = true;
  if ((ui.Tick / 500) % 2 == 0) {
    float x = AbsX + ui.Px(5) + w;
    ui.Line(x, AbsY + ui.Px(3), x, AbsY + H - ui.Px(3), ui.Colors.Text);
  }
  return false;
}
