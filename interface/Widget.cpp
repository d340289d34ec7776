// The widget tree's own operations: children, callbacks, SendEvent, search,
// deletion and clean-up. See Widget.h and Callbacks.h.
#include "interface/Widget.h"

#include "ClassEngine/Log.h"
#include "interface/Callbacks.h"
#include "interface/TextTable.h"
#include "interface/UiContext.h"

WidgetGlobals& Widgets() {
  static WidgetGlobals globals;
  return globals;
}

HotKeyState& HotKeys() {
  static HotKeyState state;
  return state;
}

BaseWidget::BaseWidget() : alive_(std::make_shared<char>(0)) {
  LastShown = int(Ui().Tick) - 10000;
  LastAway = LastShown;
}

BaseWidget::~BaseWidget() {
  WidgetGlobals& g = Widgets();
  if (g.Current == this) g.Current = nullptr;
  Ui().Forget(this);
}

WidgetHandle BaseWidget::Handle() const {
  WidgetHandle h;
  h.alive_ = alive_;
  h.widget_ = const_cast<BaseWidget*>(this);
  return h;
}

bool BaseWidget::IsDescendantOf(const BaseWidget* ancestor) const {
  for (const BaseWidget* w = this; w; w = w->parent_)
    if (w == ancestor) return true;
  return false;
}

void BaseWidget::PlaceChildren() {
  for (BaseWidget* c : Children) {
    if (!c) continue;
    c->AbsX = AbsX + c->X + PadLeft;
    c->AbsY = AbsY + c->Y + PadTop;
    c->PlaceChildren();
  }
}

BaseWidget* BaseWidget::AddChild(BaseWidget* child) {
  if (!child) return nullptr;
  child->parent_ = this;
  child->SetParentOnly(&Children);
  Children.Add(child);
  child->AbsX = AbsX + child->X + PadLeft;
  child->AbsY = AbsY + child->Y + PadTop;
  child->PlaceChildren();
  return child;
}

WBaseCallback* BaseWidget::AddCallback(int event, WBaseCallback* callback, bool replaceAll) {
  if (!callback) return nullptr;
  callback->Event = event;
  for (int i = Callbacks.GetAmount() - 1; i >= 0; --i) {
    WBaseCallback* c = Callbacks[i];
    if (!c || c->Event != event || !c->SameFunction(*callback)) continue;
    if (replaceAll || c->SameArguments(*callback)) Callbacks.DelElement(i);
  }
  callback->SetParentOnly(&Callbacks);
  Callbacks.Add(callback);
  return callback;
}

bool WBaseCallback::Execute() {
  BaseWidget* current = Widgets().Current;
  if (OnlyFor.IsSet()) {
    BaseWidget* target = OnlyFor.Get();
    if (!target || !current || !target->IsDescendantOf(current)) {
      RemoveAfterCall = 1;
      return false;
    }
  }
  if (HotKey != 0) {
    const HotKeyState& k = HotKeys();
    if ((HotKey & 0xff) != k.LastKey) return false;
    if (bool(HotKey & 0x100) != k.Ctrl || bool(HotKey & 0x200) != k.Alt || bool(HotKey & 0x400) != k.Shift)
      return false;
  }
  return Invoke();
}

bool BaseWidget::SendEvent(int event) {
  WidgetGlobals& g = Widgets();
  if (g.InCleanup) return false;
  BaseWidget* saved = g.Current;
  g.Current = this;
  bool result = false;
  for (int i = 0; i < Callbacks.GetAmount(); ++i) {
    WBaseCallback* c = Callbacks[i];
    if (!c || c->Event != event) continue;
    bool took = c->Execute();
    result |= took;
    if (c->RemoveAfterCall) {
      Callbacks.DelElement(i);
      --i;
    }
    if (took && c->StopAfter) break;
    if (g.AbortFlag) break;
  }
  g.Current = saved;
  return result;
}

BaseWidget* BaseWidget::FindWidget(const char* name, bool deep) {
  if (!name) return nullptr;
  for (BaseWidget* c : Children) {
    if (!c || c->Has(kWfDeleted)) continue;
    if (c->Name == name) return c;
  }
  if (deep)
    for (BaseWidget* c : Children)
      if (c && !c->Has(kWfDeleted))
        if (BaseWidget* w = c->FindWidget(name, true)) return w;
  return nullptr;
}

void BaseWidget::SetHint(const char* key) {
  if (!key || !*key)
    Hint = "";
  else
    Hint = ::Text(key);
}

void BaseWidget::Delete() {
  Flags = (Flags | kWfDeleted) & ~kWfVisible;
  for (BaseWidget* c : Children)
    if (c) c->Delete();
  Widgets().CleanupRequested = true;
}

bool BaseWidget::CleanUp(BaseWidget* root) {
  WidgetGlobals& g = Widgets();
  if (g.CleanupLock || !root) return false;
  g.InCleanup = true;
  for (int i = root->Children.GetAmount() - 1; i >= 0; --i) {
    BaseWidget* c = root->Children[i];
    if (c && c->Has(kWfDeleted))
      root->Children.DelElement(i);
    else if (c)
      CleanUp(c);
  }
  g.InCleanup = false;
  return true;
}
