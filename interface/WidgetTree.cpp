// Routing, hit test, layout and drawing of the interface tree; see WidgetTree.h.
#include "interface/WidgetTree.h"

#include <algorithm>

#include "interface/Callbacks.h"
#include "interface/TextTable.h"
#include "interface/UiContext.h"
#include "paint/undo/UndoGesture.h"
#include "platform/Keys.h"

int CursorShape(int id) {
  static const int shapes[11] = {-1, 6, 2, 3, 4, 5, 10, 9, -1, 8, -1};
  if (id == -2) return 11;
  return id >= 0 && id <= 10 ? shapes[id] : -1;
}

WidgetTree::WidgetTree() : root_(std::make_unique<BaseWidget>()) {
  root_->Name = "ROOT";
  root_->AbsX = root_->AbsY = 0;
  root_->Flags |= kWfHitOutside;
  hits_.reserve(64);
  keyOrder_.reserve(256);
  clipStack_.reserve(64);
}

void WidgetTree::SetModifiers(bool ctrl, bool alt, bool shift) {
  ctrl_ = ctrl, alt_ = alt, shift_ = shift;
  HotKeys().Ctrl = ctrl, HotKeys().Alt = alt, HotKeys().Shift = shift;
}

BaseWidget* WidgetTree::ModalRoot() {
  for (int i = root_->Children.GetAmount() - 1; i >= 0; --i) {
    BaseWidget* c = root_->Children[i];
    if (c && c->Visible() && (c->Layout & kLayModal)) return c;
  }
  return nullptr;
}

// ---- hit test -------------------------------------------------------------

void WidgetTree::HitWidget(BaseWidget* w, float x, float y, bool onTopPass, bool inOnTop) {
  if (!w->Visible()) return;
  bool onTop = inOnTop || (w->Layout & kLayOnTop);
  if (!onTopPass && (w->Layout & kLayOnTop)) return;
  bool take = !onTopPass || onTop;
  bool inside = w->Inside(x, y);
  if (!take) {
    // The second pass only looks for OnTop widgets below this one.
    for (BaseWidget* c : w->Children)
      if (c) HitWidget(c, x, y, onTopPass, false);
    return;
  }
  if (!inside) {
    w->Flags &= ~kWfHover;
    if (!w->Has(kWfHitOutside)) {
      w->LastAway = int(Ui().Tick);
      for (BaseWidget* c : w->Children)
        if (c && (!w->Has(kWfClip) || c->Has(kWfHitOutside) || c->Has(kWfFullScissor)))
          HitWidget(c, x, y, onTopPass, onTop);
      return;
    }
  } else if (!w->Has(kWfPassThrough)) {
    hits_.push_back(w);
    w->Flags |= kWfHover;
    w->LastShown = int(Ui().Tick);
  }
  for (BaseWidget* c : w->Children)
    if (c) HitWidget(c, x, y, onTopPass, onTop);
}

BaseWidget* WidgetTree::HitTest(float x, float y) {
  hits_.clear();
  BaseWidget* from = ModalRoot();
  if (!from) from = root_.get();
  HitWidget(from, x, y, false, false);
  HitWidget(from, x, y, true, false);
  // The root stands for the whole screen and takes nothing itself.
  if (!hits_.empty() && hits_.front() == root_.get()) hits_.erase(hits_.begin());
  FindCursorAndHint();
  return hits_.empty() ? nullptr : hits_.back();
}

void WidgetTree::FindCursorAndHint() {
  cursor_ = -1;
  const char* hint = nullptr;
  for (int i = int(hits_.size()) - 1; i >= 0; --i) {
    BaseWidget* w = hits_[size_t(i)];
    if (cursor_ == -1 && w->Cursor != -1 &&
        (w->TouchHeight <= 0 || Ui().PointerY < w->AbsY + float(w->TouchHeight)))
      cursor_ = w->Cursor;
    if (!hint && !w->Hint.IsEmpty()) hint = w->Hint.cpchar();
    if (w->Has(kWfTakesHint))
      for (int j = 0; j < i; ++j) hits_[size_t(j)]->Flags &= ~kWfHover;
  }
  if (!hint) hint = "";
  if (hint_ != hint) hint_ = hint;
}

// ---- routing --------------------------------------------------------------

namespace {
void ClearPressed(BaseWidget* w) {
  w->Flags &= ~kWfPressed;
  for (BaseWidget* c : w->Children)
    if (c) ClearPressed(c);
}
int ButtonKey(int message) {
  if (message >= kEvRDown && message <= kEvRDouble) return keys::RightButton;
  if (message >= kEvMDown && message <= kEvMDouble) return keys::MiddleButton;
  return keys::LeftButton;
}
}  // namespace

bool WidgetTree::OnPointer(int message, float x, float y, float wheel) {
  UiContext& ui = Ui();
  WidgetGlobals& g = Widgets();
  if (g.InCleanup) return false;
  if (ui.LeftHeld) ui.LastPress = ui.Tick;
  if (message == kEvLUp && hooks_.CameraDragging && hooks_.CameraDragging()) {
    ui.LeftHeld = false;
    ClearPressed(root_.get());
    CloseUndoGesture();
    return false;
  }
  // What a row changes from the press to the release is one undo step.
  if (message == kEvLDown || message == kEvLDouble) OpenUndoGesture();
  ui.PrevX = ui.PointerX, ui.PrevY = ui.PointerY;
  ui.PointerX = x, ui.PointerY = y;
  ui.Message = message;
  ui.Wheel = wheel;
  if (message == kEvLDown || message == kEvLDouble) ui.LeftHeld = true;
  if (message == kEvLUp) ui.LeftHeld = false;
  if (message == kEvRDown) ui.RightHeld = true;
  if (message == kEvRUp) ui.RightHeld = false;
  if (message == kEvMDown) ui.MiddleHeld = true;
  if (message == kEvMUp) ui.MiddleHeld = false;
  HitTest(x, y);
  g.StopFlag = false;
  bool taken = false;
  for (int i = int(hits_.size()) - 1; i >= 0 && !taken; --i) {
    BaseWidget* w = hits_[size_t(i)];
    if (message == kEvLDown || message == kEvLDouble) w->Flags |= kWfPressed;
    if (message == kEvLUp && !w->Has(kWfPressed)) continue;
    if (w->SendEvent(message) || g.StopFlag) taken = true;
  }
  // A drag keeps talking to the widgets it started on, even off their edges.
  if (message == kEvLDown || message == kEvLDouble) {
    pressed_.clear();
    for (BaseWidget* w : hits_)
      if (w->Has(kWfPressed)) pressed_.push_back(w->Handle());
  }
  if (!taken && message == kEvMove && ui.LeftHeld)
    for (int i = int(pressed_.size()) - 1; i >= 0 && !taken; --i) {
      BaseWidget* w = pressed_[size_t(i)].Get();
      if (w && w->Visible() && std::find(hits_.begin(), hits_.end(), w) == hits_.end() && w->SendEvent(message))
        taken = true;
    }
  if (message == kEvLUp) {
    ClearPressed(root_.get());
    pressed_.clear();
    CloseUndoGesture();
  }
  g.StopFlag = false;
  bool down = message == kEvLDown || message == kEvRDown || message == kEvMDown;
  if (!taken && (down || message == kEvMove) && hooks_.Navigation)
    taken = hooks_.Navigation(message == kEvMove ? -1 : ButtonKey(message), true);
  return taken;
}

bool WidgetTree::OfferKeyToWidgets(BaseWidget* w, bool focusOnly) {
  // Depth first, front (last) to back; invisible subtrees hear nothing.
  for (int i = w->Children.GetAmount() - 1; i >= 0; --i) {
    BaseWidget* c = w->Children[i];
    if (!c || !c->Visible()) continue;
    if (OfferKeyToWidgets(c, focusOnly)) return true;
  }
  if (w == root_.get() || w->Has(kWfKeyFocus) != focusOnly) return false;
  return w->SendEvent(Ui().Message) || Widgets().StopFlag;
}

bool WidgetTree::OnKey(int message, int key) {
  UiContext& ui = Ui();
  if (Widgets().InCleanup) return false;
  bool down = message == kEvKeyDown;
  ui.Message = message;
  ui.Key = key;
  if (key == keys::Control) ctrl_ = down;
  if (key == keys::Alt) alt_ = down;
  if (key == keys::Shift) shift_ = down;
  SetModifiers(ctrl_, alt_, shift_);
  if (down) HotKeys().LastKey = key;
  if (down && alt_ && key == keys::Enter && hooks_.ToggleFullScreen) {
    hooks_.ToggleFullScreen();
    return true;
  }
  if (down && ctrl_ && alt_ && shift_ && key == keys::A + ('E' - 'A') && hooks_.OpenClassExplorer) {
    hooks_.OpenClassExplorer();
    return true;
  }
  if (down && ctrl_ && alt_ && shift_ && key == keys::A + ('Q' - 'A') && hooks_.ReloadShaders) {
    hooks_.ReloadShaders();
    return true;
  }
  // A modal box has the keyboard to itself: no camera keys, no tool keys.
  BaseWidget* from = ModalRoot();
  if (!from) {
    if (hooks_.HotKeys && hooks_.HotKeys(key, down)) return true;
    if (hooks_.Navigation && hooks_.Navigation(key, down)) return true;
    if (down && hooks_.ToolKeys && hooks_.ToolKeys(key)) return true;
    from = root_.get();
  }
  Widgets().StopFlag = false;
  bool taken = OfferKeyToWidgets(from, true) || OfferKeyToWidgets(from, false);
  Widgets().StopFlag = false;
  return taken;
}

// ---- layout ---------------------------------------------------------------

void WidgetTree::LayoutWidget(BaseWidget* w, float parentX, float parentY) {
  if (w->IsPopup) {
    float cw = std::max(0.0f, float(Ui().ScreenW) - w->W), ch = std::max(0.0f, float(Ui().ScreenH) - w->H);
    w->AbsX = std::clamp(w->PopupX, 0.0f, cw);
    w->AbsY = std::clamp(w->PopupY, 0.0f, ch);
  } else {
    w->AbsX = parentX + w->X;
    w->AbsY = parentY + w->Y;
  }
  float right = w->AbsX, bottom = w->AbsY;
  bool any = false;
  for (BaseWidget* c : w->Children) {
    if (!c) continue;
    LayoutWidget(c, w->AbsX + w->PadLeft, w->AbsY + w->PadTop);
    if (!c->Visible() || (c->Layout & kLayNoAutoSize)) continue;
    right = std::max(right, c->AbsX + c->W);
    bottom = std::max(bottom, c->AbsY + c->H);
    any = true;
  }
  if (!any) right = w->AbsX + w->PadLeft, bottom = w->AbsY + w->PadTop;
  if (w->Layout & kLayAutoWidth) w->W = right - w->AbsX + w->PadRight;
  if (w->Layout & kLayAutoHeight) w->H = bottom - w->AbsY + w->PadBottom;
}

void WidgetTree::Layout() {
  root_->W = float(Ui().ScreenW);
  root_->H = float(Ui().ScreenH);
  root_->AbsX = root_->AbsY = 0;
  for (BaseWidget* c : root_->Children)
    if (c) LayoutWidget(c, c->PadLeft, c->PadTop);
}

// ---- drawing --------------------------------------------------------------

void WidgetTree::ClosePopups(BaseWidget* w) {
  if (!w->IsPopup || !w->Visible()) return;
  if (w->Has(kWfHover) || (w->Layout & (kLayKeepOpen1 | kLayKeepOpen2)) || Ui().LeftHeld) return;
  for (BaseWidget* c : w->Children)
    if (c && c->IsPopup && c->Visible()) return;
  // A popup is "hovered" while the pointer is in it or any of its rows.
  UiContext& ui = Ui();
  if (w->Inside(ui.PointerX, ui.PointerY)) return;
  w->SetVisible(false);
  w->LastAway = int(ui.Tick) - 1000;
}

void WidgetTree::DrawWidget(BaseWidget* w, bool onTopPass, bool inOnTop) {
  ClosePopups(w);
  if (!w->Visible()) return;
  bool onTop = inOnTop || (w->Layout & kLayOnTop);
  if (!onTopPass && (w->Layout & kLayOnTop)) return;
  bool draws = !onTopPass || onTop;
  UiContext& ui = Ui();
  if (draws) {
    w->RegisterMembers();
    if (w->Has(kWfFullScissor)) ui.ResetClip();
    w->SendEvent(kEvDraw);
    if (w->Has(kWfHover)) w->SendEvent(kEvDrawHovered);
  }
  bool clip = draws && w->Has(kWfClip);
  if (clip) {
    float x0 = w->AbsX + w->PadLeft, y0 = w->AbsY + w->PadTop;
    float x1 = w->AbsX + w->W - w->PadRight, y1 = w->AbsY + w->H - w->PadBottom;
    if (!clipStack_.empty()) {
      size_t n = clipStack_.size();
      x0 = std::max(x0, clipStack_[n - 4]), y0 = std::max(y0, clipStack_[n - 3]);
      x1 = std::min(x1, clipStack_[n - 2]), y1 = std::min(y1, clipStack_[n - 1]);
    }
    clipStack_.insert(clipStack_.end(), {x0, y0, x1, y1});
    ui.SetClip(x0, y0, x1 - x0, y1 - y0);
  }
  for (BaseWidget* c : w->Children)
    if (c) DrawWidget(c, onTopPass, onTop);
  if (clip) {
    clipStack_.resize(clipStack_.size() - 4);
    if (clipStack_.empty()) {
      ui.ResetClip();
    } else {
      size_t n = clipStack_.size();
      ui.SetClip(clipStack_[n - 4], clipStack_[n - 3], clipStack_[n - 2] - clipStack_[n - 4],
                 clipStack_[n - 1] - clipStack_[n - 3]);
    }
  } else if (draws && w->Has(kWfFullScissor) && !clipStack_.empty()) {
    size_t n = clipStack_.size();
    ui.SetClip(clipStack_[n - 4], clipStack_[n - 3], clipStack_[n - 2] - clipStack_[n - 4],
               clipStack_[n - 1] - clipStack_[n - 3]);
  }
}

std::string WidgetTree::ExpandHint(const std::string& hint) const {
  std::string out;
  for (size_t i = 0; i < hint.size(); ++i) {
    if (hint[i] != '$') {
      out += hint[i];
      continue;
    }
    size_t end = i + 1;
    while (end < hint.size() && (isalnum((unsigned char)hint[end]) || hint[end] == '_')) ++end;
    std::string key = hooks_.CommandHotKey ? hooks_.CommandHotKey(hint.substr(i + 1, end - i - 1)) : "";
    if (key.empty()) break;  // an unknown command: the tail goes
    out += "[" + key + "]";
    i = end - 1;
  }
  TheTextTable().ApplyReplacements(out);
  return out;
}

void WidgetTree::Draw() {
  if (Ui().DrawingOff) return;
  clipStack_.clear();
  for (BaseWidget* c : root_->Children)
    if (c) DrawWidget(c, false, false);
  for (BaseWidget* c : root_->Children)
    if (c) DrawWidget(c, true, false);
  Ui().ResetClip();
  if (hint_.empty()) return;
  // The hint line, word-wrapped at the bottom of the view; wrapped again only
  // when the hint changes.
  UiContext& ui = Ui();
  if (wrappedFrom_ != hint_) {
    wrappedFrom_ = hint_;
    WrapHint(ExpandHint(hint_), float(ui.ScreenW) - ui.Px(20));
  }
  float line = ui.Px(18);
  float y = float(ui.ScreenH) - line * float(wrapped_.size()) - ui.Px(4);
  ui.FillRect(0, y - ui.Px(2), float(ui.ScreenW), line * float(wrapped_.size()) + ui.Px(6), 0xc0202226u);
  for (const std::string& l : wrapped_) {
    ui.DrawText(ui.Px(10), y, l.c_str(), ui.Colors.Text);
    y += line;
  }
}

void WidgetTree::WrapHint(const std::string& text, float maxW) {
  wrapped_.clear();
  std::string cur;
  size_t start = 0;
  for (;;) {
    size_t sp = text.find(' ', start);
    std::string word = text.substr(start, sp == std::string::npos ? std::string::npos : sp - start);
    std::string trial = cur.empty() ? word : cur + " " + word;
    if (!cur.empty() && Ui().TextWidth(trial.c_str()) > maxW) {
      wrapped_.push_back(cur);
      cur = word;
    } else {
      cur = trial;
    }
    if (sp == std::string::npos) break;
    start = sp + 1;
  }
  if (!cur.empty()) wrapped_.push_back(cur);
}

void WidgetTree::Frame(int screenW, int screenH, uint32_t tick) {
  UiContext& ui = Ui();
  ui.ScreenW = screenW, ui.ScreenH = screenH, ui.Tick = tick;
  if (Widgets().CleanupRequested) {
    Widgets().CleanupRequested = !BaseWidget::CleanUp(root_.get());
  }
  Layout();
  Draw();
}

WidgetTree& TheWidgetTree() {
  static WidgetTree tree;
  return tree;
}
