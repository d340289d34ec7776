// Dock spaces, dockable headers, layouts and pages; see Docks.h.
#include "interface/Docks.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <cstring>
#include <functional>

#include "ClassEngine/DataFolder.h"
#include "ClassEngine/Log.h"
#include "ClassEngine/UserPaths.h"
#include "ClassEngine/xml/ErrorCollector.h"
#include "ClassEngine/xml/XmlNode.h"
#include "interface/TextTable.h"
#include "interface/UiContext.h"
#include "platform/Keys.h"
#include "interface/Callbacks.h"

namespace {
constexpr float kMinSize = 80, kMaxSize = 2000;

// Takes `w` out of its parent's children without deleting it.
bool Detach(BaseWidget* w) {
  BaseWidget* p = w ? w->ParentWidget() : nullptr;
  if (!p) return false;
  for (int i = 0; i < p->Children.GetAmount(); ++i)
    if (p->Children[i] == w) {
      p->Children.Del(i, 1);
      return true;
    }
  return false;
}

bool Alive(const BaseWidget* w) { return w && !w->Has(kWfDeleted); }

bool HoldsWindow(const BaseWidget* h) {
  for (BaseWidget* w : h->Children)
    if (Alive(w) && *w->Name.cpchar()) return true;
  return false;
}

// Takes a header out of the tree it is docked in and floats it at `x`, `y`
// under `root`.
void FloatAt(DockableHeader* h, BaseWidget& root, float x, float y) {
  Detach(h);
  h->IsPopup = 1;
  h->Layout |= kLayOnTop | kLayKeepOpen1;
  h->PopupX = x, h->PopupY = y;
  root.AddChild(h);
}

// Makes a header a docked child: no longer a popup.
void Settle(DockableHeader* h) {
  Detach(h);
  h->IsPopup = 0;
  h->Layout &= ~(kLayOnTop | kLayKeepOpen1);
}

std::string PagePath(const char* folder, int room) {
  char rel[64];
  snprintf(rel, sizeof rel, "%s/page_%d.xml", folder, room);
  return rel;
}

// The drop zones of a rectangle: sides (an eighth of the size, 10 pixels at
// the top) and, for headers, the caption strip that joins as a tab.
int ZoneOf(const BaseWidget* w, float x, float y, bool header, float rect[4]) {
  if (!w->Inside(x, y)) return -2;
  float sx = w->W / 8, sy = w->H / 8;
  if (!header) sx = std::min(sx, 32.0f), sy = std::min(sy, 32.0f);
  float top = header ? 10.0f : sy;
  auto set = [&](float a, float b, float c, float d) { rect[0] = a, rect[1] = b, rect[2] = c, rect[3] = d; };
  if (y < w->AbsY + top) return set(w->AbsX, w->AbsY, w->W, w->H / 2), 0;
  if (header && y < w->AbsY + 30) return set(w->AbsX, w->AbsY, w->W, w->H), -1;
  if (x < w->AbsX + sx) return set(w->AbsX, w->AbsY, w->W / 2, w->H), 1;
  if (x >= w->AbsX + w->W - sx) return set(w->AbsX + w->W / 2, w->AbsY, w->W / 2, w->H), 3;
  if (y >= w->AbsY + w->H - sy) return set(w->AbsX, w->AbsY + w->H / 2, w->W, w->H / 2), 2;
  return -2;
}
}  // namespace

void DockLayoutElement::RegisterOwnMembers() {
  Member("_int", Ordering, "Ordering");
  Member("_float", X, "X");
  Member("_float", Y, "Y");
  Member("_float", Width, "Width");
  Member("_float", Height, "Height");
  Member("ClassArray.DockLayoutElement", SubDocks, "SubDocks");
  Member("_str", CurrElement, "CurrElement");
  Member("ClassArray.DockWindowName", WindowsNames, "WindowsNames");
}

Docks*& TheDocks() {
  static Docks* docks = nullptr;
  return docks;
}

// ---- headers ----------------------------------------------------------------

DockableHeader::DockableHeader() {
  Callbacks.Clear();
  AddCallback(kEvDraw, MakeCallback(this, &DockableHeader::OnCaptionDraw));
  AddCallback(kEvLDown, MakeCallback(this, &DockableHeader::OnPress));
  AddCallback(kEvMove, MakeCallback(this, &DockableHeader::OnDrag));
  AddCallback(kEvLUp, MakeCallback(this, &DockableHeader::OnRelease));
}

bool DockableHeader::ShowTab(const char* name) {
  bool found = false;
  for (BaseWidget* c : Children) {
    if (!Alive(c) || !*c->Name.cpchar()) continue;
    bool on = strcmp(c->Name.cpchar(), name) == 0 && !found;
    found = found || on;
    c->SetVisible(on);
    c->X = 0, c->Y = Ui().Px(kCaption), c->W = W, c->H = std::max(0.0f, H - Ui().Px(kCaption));
  }
  if (found) Current = name;
  return found;
}

bool DockableHeader::OnCaptionDraw() {
  UiContext& ui = Ui();
  ui.FillRect(AbsX, AbsY, W, H, ui.Colors.Panel);
  ui.FillRect(AbsX, AbsY, W, ui.Px(kCaption), ui.Colors.Button);
  ui.FrameRect(AbsX, AbsY, W, H, ui.Colors.Frame);
  float x = AbsX + ui.Px(6);
  for (BaseWidget* c : Children) {
    if (!Alive(c) || !*c->Name.cpchar()) continue;
    bool current = Current == c->Name.cpchar();
    const char* words = ::Text(c->Name.cpchar());
    float tw = ui.TextWidth(words) + ui.Px(12);
    if (current) ui.FillRect(x, AbsY + ui.Px(6), tw, ui.Px(kCaption - 8), ui.Colors.Highlight);
    ui.DrawText(x + ui.Px(6), AbsY + ui.Px(10), words, ui.Colors.Text);
    x += tw + ui.Px(4);
  }
  if (Docks* d = TheDocks(); d && Ui().Drag == this) {
    DockTarget t = d->FindTarget(this, ui.PointerX, ui.PointerY);
    if (t.Target) ui.FrameRect(t.Rect[0], t.Rect[1], t.Rect[2], t.Rect[3], ui.Colors.Highlight);
  }
  return false;
}

bool DockableHeader::OnPress() {
  UiContext& ui = Ui();
  if (ui.PointerY >= AbsY + ui.Px(kCaption)) return false;
  // A docked header floats from where it is.
  if (TheDocks() && !IsPopup) {
    FloatAt(this, TheDocks()->Root(), AbsX, AbsY);
    TheDocks()->Arrange();
  } else if (Docks* d = TheDocks(); d && ParentWidget() == &d->Root()) {
    // A floating one comes to the front, over the windows it may land on.
    const float x = AbsX, y = AbsY;
    Detach(this);
    d->Root().AddChild(this);
    AbsX = x, AbsY = y;
    PlaceChildren();
  }
  ui.Drag = this;
  grabX_ = ui.PointerX - PopupX, grabY_ = ui.PointerY - PopupY;
  return true;
}

bool DockableHeader::OnDrag() {
  UiContext& ui = Ui();
  if (ui.Drag != this || !ui.LeftHeld) return false;
  PopupX = ui.PointerX - grabX_, PopupY = ui.PointerY - grabY_;
  // It follows at once, so that the release lands on it.
  AbsX = PopupX, AbsY = PopupY;
  PlaceChildren();
  return true;
}

bool DockableHeader::OnRelease() {
  UiContext& ui = Ui();
  if (ui.Drag != this) return false;
  ui.Drag = nullptr;
  Docks* d = TheDocks();
  if (!d || HotKeys().Ctrl || HotKeys().Shift) return true;  // docking is off with Shift or Ctrl held
  d->Drop(this, d->FindTarget(this, ui.PointerX, ui.PointerY));
  return true;
}

// ---- the DOCKBASE frame -------------------------------------------------------

DockBase::DockBase() {
  Name = "DOCKBASE";
  IsPopup = 1;
  Layout |= kLayOnTop | kLayKeepOpen1;
  AddCallback(kEvDraw, MakeCallback(this, &DockBase::OnDraw));
}

DockSpace* DockBase::Space() const {
  for (BaseWidget* c : Children)
    if (auto* s = dynamic_cast<DockSpace*>(c); Alive(s)) return s;
  return nullptr;
}

bool DockBase::OnDraw() {
  UiContext& ui = Ui();
  ui.FillRect(AbsX, AbsY, W, H, ui.Colors.Frame);
  ui.FrameRect(AbsX, AbsY, W, H, ui.Colors.Highlight);
  return false;
}

// ---- the tree ---------------------------------------------------------------

Docks::Docks(BaseWidget& root, float x, float y, float w, float h) : root_(root) {
  dockRoot_ = new DockSpace;
  dockRoot_->Name = "DOCK_ROOT";
  root_.AddChild(dockRoot_);
  Resize(x, y, w, h);
}

Docks::~Docks() {
  dockRoot_->Delete();
  for (BaseWidget* c : root_.Children)
    if (auto* h = dynamic_cast<DockableHeader*>(c)) h->Delete();
  if (TheDocks() == this) TheDocks() = nullptr;
}

void Docks::Resize(float x, float y, float w, float h) {
  dockRoot_->X = x, dockRoot_->Y = y, dockRoot_->W = w, dockRoot_->H = h;
  Arrange();
}

DockSpace* Docks::ViewLeaf() const {
  std::function<DockSpace*(DockSpace*)> find = [&](DockSpace* s) -> DockSpace* {
    if (s->IsView()) return s;
    for (BaseWidget* c : s->Children)
      if (auto* sub = dynamic_cast<DockSpace*>(c); sub && Alive(sub))
        if (DockSpace* v = find(sub)) return v;
    return nullptr;
  };
  return find(dockRoot_);
}

void Docks::Arrange() {
  dockRoot_->AbsX = dockRoot_->X, dockRoot_->AbsY = dockRoot_->Y;
  ArrangeNode(dockRoot_);
  dockRoot_->PlaceChildren();
  ArrangeDockBases();
}

void Docks::ArrangeDockBases() {
  const float m = Ui().Px(DockBase::kMargin);
  for (int i = root_.Children.GetAmount() - 1; i >= 0; --i) {
    auto* base = dynamic_cast<DockBase*>(root_.Children[i]);
    if (!Alive(base)) continue;
    DockSpace* s = base->Space();
    std::vector<DockableHeader*> held;
    for (BaseWidget* c : s ? s->Children : base->Children)
      if (auto* h = dynamic_cast<DockableHeader*>(c); Alive(h)) {
        if (HoldsWindow(h)) held.push_back(h);
        else h->Delete();
      }
    base->AbsX = base->PopupX, base->AbsY = base->PopupY;
    if (held.size() >= 2) {
      // The frame fits its headers, one more dropped on its edge too.
      const bool across = s->Ordering == 1 || s->Ordering == 3;
      float run = 0;
      for (DockableHeader* h : held) run += across ? h->W : h->H;
      s->X = m, s->Y = m;
      s->W = across ? run : std::max(0.0f, base->W - 2 * m);
      s->H = across ? std::max(0.0f, base->H - 2 * m) : run;
      base->W = s->W + 2 * m, base->H = s->H + 2 * m;
      ArrangeNode(s);
      base->PlaceChildren();
      continue;
    }
    for (DockableHeader* h : held) FloatAt(h, root_, h->AbsX, h->AbsY);
    base->Delete();
  }
}

void Docks::ArrangeNode(BaseWidget* node) {
  auto* s = dynamic_cast<DockSpace*>(node);
  if (!s) {
    if (auto* h = dynamic_cast<DockableHeader*>(node)) h->ShowTab(h->Current.cpchar());
    return;
  }
  std::vector<BaseWidget*> kids;
  for (BaseWidget* c : s->Children)
    if (Alive(c)) kids.push_back(c);
  bool across = s->Ordering == 1 || s->Ordering == 3;
  float total = across ? s->W : s->H, fixed = 0;
  int flexible = 0;
  for (BaseWidget* c : kids) {
    auto* sub = dynamic_cast<DockSpace*>(c);
    if (sub) ++flexible;
    else fixed += across ? c->W : c->H;
  }
  float share = flexible ? std::max(0.0f, total - fixed) / float(flexible) : 0;
  float at = 0;
  for (BaseWidget* c : kids) {
    float size = dynamic_cast<DockSpace*>(c) ? share : (across ? c->W : c->H);
    if (across) c->X = at, c->Y = 0, c->W = size, c->H = s->H;
    else c->X = 0, c->Y = at, c->W = s->W, c->H = size;
    at += size;
    ArrangeNode(c);
  }
}

void Docks::CaptureNode(const DockSpace* s, DockLayoutElement& e) const {
  e.Ordering = s->Ordering;
  e.X = s->X, e.Y = s->Y, e.Width = s->W, e.Height = s->H;
  for (BaseWidget* c : s->Children) {
    if (!Alive(c)) continue;
    auto* sub = new DockLayoutElement;
    if (auto* h = dynamic_cast<DockableHeader*>(c)) {
      sub->Ordering = -2;
      sub->X = h->X, sub->Y = h->Y, sub->Width = h->W, sub->Height = h->H;
      sub->CurrElement = h->Current;
      for (BaseWidget* w : h->Children) {
        if (!Alive(w) || !*w->Name.cpchar()) continue;
        bool dup = false;
        for (DockWindowName* n : sub->WindowsNames) dup = dup || n->Name == w->Name.cpchar();
        if (dup) continue;
        auto* n = new DockWindowName;
        n->Name = w->Name;
        sub->WindowsNames.Add(n);
      }
    } else if (auto* space = dynamic_cast<const DockSpace*>(c)) {
      CaptureNode(space, *sub);
    } else {
      delete sub;
      continue;
    }
    e.SubDocks.Add(sub);
  }
}

void Docks::Capture(DocksLayout& out) const {
  out.SubDocks.Clear();
  out.WindowsNames.Clear();
  CaptureNode(dockRoot_, out);
}

void Docks::BuildNode(DockSpace* s, DockLayoutElement& e, std::vector<BaseWidget*>& windows) {
  s->Ordering = e.Ordering;
  for (DockLayoutElement* sub : e.SubDocks) {
    if (!sub) continue;
    if (sub->Ordering == -2) {
      auto* h = new DockableHeader;
      h->X = sub->X, h->Y = sub->Y;
      h->W = std::clamp(sub->Width, kMinSize, kMaxSize), h->H = std::clamp(sub->Height, kMinSize, kMaxSize);
      for (DockWindowName* n : sub->WindowsNames)
        for (BaseWidget*& w : windows)
          if (w && n && w->Name == n->Name.cpchar()) {
            h->AddChild(w);
            w = nullptr;  // two headers naming one window: the first has it
          }
      if (h->Children.GetAmount() == 0) {
        delete h;
        continue;
      }
      s->AddChild(h);
      if (!h->ShowTab(sub->CurrElement.cpchar())) h->ShowTab(h->Children[0]->Name.cpchar());
    } else {
      auto* child = new DockSpace;
      child->X = sub->X, child->Y = sub->Y, child->W = sub->Width, child->H = sub->Height;
      s->AddChild(child);
      BuildNode(child, *sub, windows);
    }
  }
}

void Docks::Apply(DocksLayout& layout) {
  // The names a layout mentions, anywhere in it.
  std::vector<std::string> names;
  std::function<void(DockLayoutElement&)> collectNames = [&](DockLayoutElement& e) {
    for (DockWindowName* n : e.WindowsNames) names.push_back(n->Name.cpchar());
    for (DockLayoutElement* s : e.SubDocks) collectNames(*s);
  };
  collectNames(layout);
  // Undock: every header floats where it was, and the spaces go.
  std::function<void(BaseWidget*)> undock = [&](BaseWidget* s) {
    for (int i = s->Children.GetAmount() - 1; i >= 0; --i) {
      BaseWidget* c = s->Children[i];
      if (auto* h = dynamic_cast<DockableHeader*>(c)) {
        FloatAt(h, root_, h->AbsX, h->AbsY);
      } else if (c) {
        undock(c);
      }
    }
  };
  undock(dockRoot_);
  for (BaseWidget* c : dockRoot_->Children)
    if (c) c->Delete();
  // Take the named windows out of both roots, wherever they are.
  std::vector<BaseWidget*> windows;
  std::function<void(BaseWidget*)> collect = [&](BaseWidget* w) {
    for (int i = w->Children.GetAmount() - 1; i >= 0; --i) {
      BaseWidget* c = w->Children[i];
      if (!Alive(c)) continue;
      bool named = *c->Name.cpchar() && std::find(names.begin(), names.end(), c->Name.cpchar()) != names.end();
      if (named && (dynamic_cast<DockableHeader*>(w) || w == &root_)) {
        Log("%s: %s", w == &root_ ? "InRoot" : "InDock", c->Name.cpchar());
        if (!Detach(c)) Log("Remove from parent failed:%s", c->Name.cpchar());
        c->SetVisible(true);
        windows.push_back(c);
      } else {
        collect(c);
      }
    }
  };
  collect(&root_);
  Log("Collected widgets:%d", int(windows.size()));
  // What is left of a header with no named windows goes.
  for (BaseWidget* c : root_.Children)
    if (auto* h = dynamic_cast<DockableHeader*>(c)) {
      bool any = false;
      for (BaseWidget* w : h->Children) any = any || (Alive(w) && *w->Name.cpchar());
      if (!any) h->Delete();
      else if (!h->ShowTab(h->Current.cpchar())) h->ShowTab(h->Children[0]->Name.cpchar());
    }
  BaseWidget::CleanUp(&root_);
  BuildNode(dockRoot_, layout, windows);
  // Windows no header took stay floating where the root has them.
  for (BaseWidget* w : windows)
    if (w) root_.AddChild(w);
  Arrange();
}

DockableHeader* Docks::Float(BaseWidget* window, float x, float y, float w, float h) {
  auto* header = new DockableHeader;
  header->IsPopup = 1;
  header->Layout |= kLayOnTop | kLayKeepOpen1;
  header->PopupX = x, header->PopupY = y, header->W = w, header->H = h;
  if (window->ParentWidget()) Detach(window);
  header->AddChild(window);
  header->ShowTab(window->Name.cpchar());
  root_.AddChild(header);
  return header;
}

DockTarget Docks::FindTarget(const DockableHeader* dragged, float x, float y) const {
  DockTarget t;
  float r[4];
  // Docked headers, deeper spaces first: their captions join as tabs.
  std::function<bool(BaseWidget*)> headers = [&](BaseWidget* s) {
    for (int i = s->Children.GetAmount() - 1; i >= 0; --i) {
      BaseWidget* c = s->Children[i];
      if (!Alive(c) || c == dragged) continue;
      if (dynamic_cast<DockSpace*>(c) && headers(c)) return true;
      if (auto* h = dynamic_cast<DockableHeader*>(c)) {
        int z = ZoneOf(h, x, y, true, r);
        if (z == -1) return t = {h, -1, {r[0], r[1], r[2], r[3]}}, true;
      }
    }
    return false;
  };
  // The edges of the spaces, the outer ones first, so a drop at the edge of
  // the work area docks at that edge.
  std::function<bool(DockSpace*)> spaces = [&](DockSpace* s) {
    int z = ZoneOf(s, x, y, false, r);
    bool sideways = z == 1 || z == 3, updown = z == 0 || z == 2;
    int o = s->Ordering;
    if ((sideways && (o == 1 || o == 3 || o == -1)) || (updown && (o == 0 || o == 2 || o == -1)))
      return t = {s, z, {r[0], r[1], r[2], r[3]}}, true;
    for (BaseWidget* c : s->Children)
      if (auto* sub = dynamic_cast<DockSpace*>(c); sub && Alive(sub) && spaces(sub)) return true;
    return false;
  };
  // Floating windows first, the last one (drawn on top) first: a floating
  // header's caption joins as a tab and its sides make a DOCKBASE; in a
  // DOCKBASE the headers' captions and the space's edges count.
  for (int i = root_.Children.GetAmount() - 1; i >= 0; --i) {
    BaseWidget* c = root_.Children[i];
    if (!Alive(c) || c == dragged || !c->Visible()) continue;
    if (auto* h = dynamic_cast<DockableHeader*>(c)) {
      int z = ZoneOf(h, x, y, true, r);
      if (z < -1) continue;
      // A side shows where the dragged one will lie: along it, at its own width or height.
      const float dw = dragged ? std::clamp(dragged->W, kMinSize, kMaxSize) : h->W / 2;
      const float dh = dragged ? std::clamp(dragged->H, kMinSize, kMaxSize) : h->H / 2;
      if (z == 0) r[0] = h->AbsX, r[1] = h->AbsY - dh, r[2] = h->W, r[3] = dh;
      if (z == 1) r[0] = h->AbsX - dw, r[1] = h->AbsY, r[2] = dw, r[3] = h->H;
      if (z == 2) r[0] = h->AbsX, r[1] = h->AbsY + h->H, r[2] = h->W, r[3] = dh;
      if (z == 3) r[0] = h->AbsX + h->W, r[1] = h->AbsY, r[2] = dw, r[3] = h->H;
      return {h, z, {r[0], r[1], r[2], r[3]}};
    } else if (auto* base = dynamic_cast<DockBase*>(c); base && base->Space()) {
      if (headers(base->Space()) || spaces(base->Space())) return t;
    }
  }
  if (headers(dockRoot_)) return t;
  spaces(dockRoot_);
  return t;
}

bool Docks::Drop(DockableHeader* dragged, const DockTarget& t) {
  if (!t.Target || t.Target == dragged) return false;
  if (auto* h = dynamic_cast<DockableHeader*>(t.Target); h && t.Side < 0) {
    std::string shown = dragged->Current.cpchar();
    for (int i = dragged->Children.GetAmount() - 1; i >= 0; --i) {
      BaseWidget* w = dragged->Children[i];
      if (!Alive(w) || !*w->Name.cpchar()) continue;
      Detach(w);
      h->AddChild(w);
    }
    if (!shown.empty()) h->ShowTab(shown.c_str());
    dragged->Delete();  // this may run inside its own callback: the clean-up frees it
    Arrange();
    return true;
  }
  if (auto* h = dynamic_cast<DockableHeader*>(t.Target))
    return h->IsPopup && h->ParentWidget() == &root_ && DockBeside(dragged, h, t.Side);
  auto* space = dynamic_cast<DockSpace*>(t.Target);
  if (!space) return false;
  Settle(dragged);
  dragged->W = std::clamp(dragged->W, kMinSize, kMaxSize);
  dragged->H = std::clamp(dragged->H, kMinSize, kMaxSize);
  if (space->Ordering == -1) {
    // The first split decides the direction; the rest of the space stays the view.
    space->Ordering = t.Side;
    auto* view = new DockSpace;
    if (t.Side == 2 || t.Side == 3) space->AddChild(view), space->AddChild(dragged);
    else space->AddChild(dragged), space->AddChild(view);
  } else if (t.Side == 2 || t.Side == 3) {
    space->AddChild(dragged);
  } else {
    space->AddChild(dragged);
    space->Children.Del(space->Children.GetAmount() - 1, 1);
    space->Children.Insert(dragged, 0);
  }
  Arrange();
  return true;
}

DockBase* Docks::DockBeside(DockableHeader* dragged, DockableHeader* target, int side) {
  if (!Alive(dragged) || !Alive(target) || dragged == target || side < 0 || side > 3) return nullptr;
  const float m = Ui().Px(DockBase::kMargin);
  // Where the user sees it: a popup near the screen's edge is pulled inside.
  const float x = target->AbsX, y = target->AbsY, w = target->W, h = target->H;
  auto* base = new DockBase;
  base->PopupX = x - m, base->PopupY = y - m, base->W = w + 2 * m, base->H = h + 2 * m;
  auto* space = new DockSpace;
  space->Ordering = side;
  space->X = m, space->Y = m, space->W = w, space->H = h;
  base->AddChild(space);
  Settle(target);
  Settle(dragged);
  // The target keeps its place and size; the dragged one keeps its width
  // (or height) and lies along the target's side, and the frame grows to
  // hold it (leftwards or upwards for those sides).
  const bool across = side == 1 || side == 3;
  dragged->W = std::clamp(across ? dragged->W : w, kMinSize, kMaxSize);
  dragged->H = std::clamp(across ? h : dragged->H, kMinSize, kMaxSize);
  if (side == 1) base->PopupX -= dragged->W;
  if (side == 0) base->PopupY -= dragged->H;
  if (side == 0 || side == 1) space->AddChild(dragged), space->AddChild(target);
  else space->AddChild(target), space->AddChild(dragged);
  root_.AddChild(base);
  Arrange();
  return base;
}

void Docks::CaptureFloating(ClassArray<WindowPos>& out) const {
  out.Clear();
  for (BaseWidget* c : root_.Children) {
    auto* h = dynamic_cast<DockableHeader*>(c);
    if (!Alive(h) || !h->IsPopup || h->Current.IsEmpty()) continue;
    auto* p = new WindowPos;
    p->WndName = h->Current;
    p->EnableTopmost = (h->Layout & kLayOnTop) != 0;
    p->EnablePopup = true;
    p->Width = h->W, p->Height = h->H;
    p->X = h->AbsX, p->Y = h->AbsY;
    p->PopupX = h->PopupX, p->PopupY = h->PopupY;
    out.Add(p);
  }
}

void Docks::PlaceFloating(const ClassArray<WindowPos>& rows) {
  for (const WindowPos* p : rows) {
    if (!p || p->WndName.IsEmpty()) continue;
    BaseWidget* w = root_.FindWidget(p->WndName.cpchar());
    auto* h = w ? dynamic_cast<DockableHeader*>(w->ParentWidget()) : nullptr;
    if (!Alive(h) || !h->IsPopup || h->ParentWidget() != &root_) continue;
    h->PopupX = p->PopupX, h->PopupY = p->PopupY;
    if (p->EnableSize) h->W = std::clamp(p->Width, kMinSize, kMaxSize), h->H = std::clamp(p->Height, kMinSize, kMaxSize);
    h->ShowTab(p->WndName.cpchar());
  }
}

bool Docks::SavePage(int room) {
  DocksLayout layout;
  Capture(layout);
  return layout.WriteToFile(UserFilePath(PagePath("Temp", room)).c_str());
}

bool Docks::LoadPage(int room) {
  std::string path = UserFilePath(PagePath("Temp", room));
  DocksLayout layout;
  XmlNode tree;
  ErrorCollector silent(false);
  if (tree.ReadFromFile(path.c_str())) layout.Load(&tree, &layout, &silent, nullptr);
  if (layout.SubDocks.GetAmount() == 0) {
    path = comms::DataFilePath(PagePath("ToolsPresets", room));
    XmlNode shipped;
    if (!shipped.ReadFromFile(path.c_str())) {
      Apply(layout);  // with neither, the dock root stays empty: all view
      return false;
    }
    layout.Load(&shipped, &layout, &silent, nullptr);
  }
  std::error_code ec;
  std::filesystem::copy_file(path, UserFilePath(PagePath("Temp/Prev", room)),
                             std::filesystem::copy_options::overwrite_existing, ec);
  Apply(layout);
  return true;
}

void Docks::SwitchRoom(int room) {
  if (room == room_) return;
  if (room_ >= 0) SavePage(room_);
  room_ = room;
  LoadPage(room);
}
