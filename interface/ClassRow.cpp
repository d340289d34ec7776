// What a generated row does after a click: edits through the entry box,
// method buttons, texture clearing, the colour picker and "add..." rows. See
// ClassPanel.h.
#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "ClassEngine/Log.h"
#include "ClassEngine/MemberClasses.h"
#include "ClassEngine/xml/ErrorCollector.h"
#include "ClassEngine/xml/XmlNode.h"
#include "interface/ClassPanel.h"
#include "interface/UiContext.h"

std::string ClassRow::ValueText() const {
  if (!Class || !Ptr) return "";
  if (WorldUnits && Class->GetClassName() == std::string("_float")) {
    char text[64];
    snprintf(text, sizeof text, "%f", double(*static_cast<float*>(Ptr) * WorldUnitScale()));
    return text;
  }
  XmlNode node("v");
  Class->Save(&node, Ptr, Extra);
  return node.ValueString();
}

bool ClassRow::CommitText(const std::string& text) {
  if (!Class || !Ptr || ReadOnly) return false;
  XmlNode old("v");
  Class->Save(&old, Ptr, Extra);
  XmlNode entered("v");
  entered.Assign(text.c_str());
  ErrorCollector quiet(false);
  bool ok = Class->Load(&entered, Ptr, &quiet, Extra);
  if (ok && WorldUnits && Class->GetClassName() == std::string("_float") && WorldUnitScale() != 0)
    *static_cast<float*>(Ptr) /= WorldUnitScale();
  if (ok) ClampToRange();
  if (!ok) {
    // The entry did not parse: the old text comes back.
    Class->Load(&old, Ptr, &quiet, Extra);
    if (Field) Field->Text = ValueText().c_str();
    return false;
  }
  Changed();
  return true;
}

void ClassRow::ClampToRange() {
  const std::string kind = Class->GetClassName();
  if (kind == "CtrlFSlider" && Extra) {
    const auto* r = static_cast<const FloatSliderRange*>(Extra);
    float& v = *static_cast<float*>(Ptr);
    v = std::clamp(v, std::min(r->Min, r->Max), std::max(r->Min, r->Max));
  } else if (kind == "CtrlISlider" && Extra) {
    const auto* r = static_cast<const IntSliderRange*>(Extra);
    int& v = *static_cast<int*>(Ptr);
    v = std::clamp(v, std::min(r->Min, r->Max), std::max(r->Min, r->Max));
  }
}

bool ClassRow::Changed() {
  if (Owner) Owner->OnChange(Class, Ptr, Extra, MemberName.c_str());
  if (Field) {
    if (Class && Class->GetClassName() == std::string("_color") && Ptr)
      Field->Fill = Field->HighlightColor = *static_cast<uint32_t*>(Ptr) | 0xff000000u;
    else
      Field->Text = ValueText().c_str();
  }
  if (BaseWidget* panel = Panel.Get()) panel->SendEvent(kEvChanged);
  return true;
}

bool ClassRow::OpenTextEntry() {
  if (ReadOnly) return false;
  if (TextEntry* open = Entry()) open->Delete();
  UiContext& ui = Ui();
  auto* entry = new TextEntry;
  float fieldX = Field ? Field->X : W * 0.6f, fieldW = Field ? Field->W : W * 0.4f;
  entry->W = std::max(fieldW, ui.Px(120));
  entry->H = ui.Px(kRowHeight + 4);
  // The box opens at the middle of the field.
  entry->PopupX = AbsX + fieldX + fieldW / 2 - entry->W / 2;
  entry->PopupY = AbsY + H / 2 - entry->H / 2;
  entry->Edit = ValueText();
  entry->OnCommit = [this](const std::string& text) { return CommitText(text); };
  AddChild(entry);
  entry_ = entry->Handle();
  return true;
}

namespace {
bool HoldsElement(BaseClass* list, const BaseClass* element) {
  for (int i = 0; i < list->GetAmountOfElements(); i++)
    if (list->GetElementClass(i) == element) return true;
  return false;
}
}  // namespace

bool ClassRow::CallMethod() {
  if (!Class || !Owner) return false;
  // A method may delete its own object (an element's delete), and a panel
  // rebuilt on the spot takes this row with it: what is needed afterwards is
  // kept here, and only a living owner and row hear of the change.
  BaseClass* owner = Owner;
  BaseClass* list = owner->Parent;
  const bool listed = list && HoldsElement(list, owner);
  WidgetHandle rows;  // the generated panel that holds this row
  for (BaseWidget* w = ParentWidget(); w; w = w->ParentWidget())
    if (dynamic_cast<ClassPanel*>(w)) {
      rows = w->Handle();
      break;
    }
  const WidgetHandle self = Handle(), panel = Panel;
  Class->Call(owner);
  const bool ownerGone = listed && !HoldsElement(list, owner);
  if (!ownerGone && self.Get()) return Changed();
  // Rows of the object that went must not be used again.
  if (auto* generated = dynamic_cast<ClassPanel*>(rows.Get())) generated->RequestRebuild();
  if (BaseWidget* p = panel.Get()) p->SendEvent(kEvChanged);
  return true;
}

bool ClassRow::ClearTexture() {
  if (!Ptr) return false;
  *static_cast<int*>(Ptr) = -1;
  for (BaseWidget* c : Children)
    if (auto* preview = dynamic_cast<DrawTexRect*>(c)) preview->Texture = -1;
  Changed();
  return true;
}

bool ClassRow::OpenColorPicker() {
  if (!Ptr || ReadOnly) return false;
  auto* picker = new ColorPicker(static_cast<uint32_t*>(Ptr));
  // Opened around the pointer, so it stays open until the pointer leaves it.
  picker->PopupX = Ui().PointerX - Ui().Px(12);
  picker->PopupY = Ui().PointerY - Ui().Px(12);
  picker->AddCallback(kEvChanged, MakeCallback(this, &ClassRow::Changed));
  AddChild(picker);
  return true;
}

bool ClassRow::AddElement() {
  if (!Owner || AddIndex < 0 || AddIndex >= int(AddClasses.size())) return false;
  int made = Owner->ExpandWith(AddClasses[size_t(AddIndex)].c_str(), Owner);
  if (made < 0) {
    Log("BuildClassPanel: cannot add %s", AddClasses[size_t(AddIndex)].c_str());
    return false;
  }
  AddIndex = -1;
  Changed();
  if (BaseWidget* panel = Panel.Get())
    if (auto* p = dynamic_cast<ClassPanel*>(panel)) p->RequestRebuild();
  return true;
}
