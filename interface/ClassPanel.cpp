// The panel generator and the panels that hold generated rows; see
// ClassPanel.h. Row behaviour (edits, entries, pickers) is in ClassRow.cpp.
#include "interface/ClassPanel.h"

#include "ClassEngine/TextLookup.h"

#include <cstring>
#include <string>

#include "ClassEngine/Enumerator.h"
#include "interface/TextTable.h"
#include "ClassEngine/DataFolder.h"
#include "interface/UiContext.h"
#include "render/Render.h"

namespace {
// What the leading characters of a member name ask for.
struct RowName {
  std::string label;  // without prefixes
  bool worldUnits = false, noHint = false, leftAligned = false, noLabel = false, readOnly = false;
};

RowName ParseName(const char* name) {
  RowName r;
  const char* p = name ? name : "";
  // Each prefix is taken once, in this order.
  if (*p == '%') r.worldUnits = true, ++p;
  if (*p == '#') r.noHint = true, ++p;
  if (*p == '~') ++p;
  if (*p == '*') r.leftAligned = true, ++p;
  if (*p == '$') r.noLabel = true, ++p;
  if (*p == '!') r.noLabel = r.readOnly = true, ++p;
  if (*p == '^') r.readOnly = true, ++p;
  r.label = p;
  return r;
}

bool StartsWith(const char* s, const char* prefix) { return strncmp(s, prefix, strlen(prefix)) == 0; }

// The translated hint of a row; a key the table cannot translate gives none.
void SetRowHint(BaseWidget* w, const std::string& label, bool noHint) {
  if (noHint || label.empty()) return;
  std::string key = label + "_HINT";
  const char* text = Text(key.c_str());
  if (key != text) w->Hint = text;
}

ClassRow* NewRow(BaseWidget* parent, float rect[4], float height, BaseClass* owner, BaseClass* cls, void* ptr,
                 void* extra, const char* member, const RowName& rn) {
  auto* row = new ClassRow;
  row->X = rect[0];
  row->Y = rect[1] + rect[3];
  row->W = rect[2];
  row->H = height;
  row->Owner = owner;
  row->Class = cls;
  row->Ptr = ptr;
  row->Extra = extra;
  row->MemberName = member ? member : "";
  row->WorldUnits = rn.worldUnits;
  row->ReadOnly = rn.readOnly;
  // The panel is the nearest ClassPanel up the tree.
  for (BaseWidget* w = parent; w; w = w->ParentWidget())
    if (dynamic_cast<ClassPanel*>(w)) {
      row->Panel = w->Handle();
      break;
    }
  // Tree views indent their rows by the owner's depth.
  if (owner && !rn.label.empty()) {
    int depth = owner->GetProperty(rn.label.c_str());
    row->X += Ui().Px(kIndentStep) * float(depth);
    row->W -= Ui().Px(kIndentStep) * float(depth);
  }
  parent->AddChild(row);
  rect[3] += height;
  return row;
}

// A label on the left (0.6 of the width) and the field's left edge.
// The label takes 60 % of the row; a field that needs more (`fieldWanted`)
// takes it from the label as far as the label's own words leave room.
float AddLabel(ClassRow* row, const RowName& rn, float rowH, float fieldWanted = 0) {
  UiContext& ui = Ui();
  if (rn.noLabel) return 0;
  bool narrow = row->W < ui.Px(120);
  float labelW = narrow ? row->W : row->W * 0.6f;
  if (!narrow && fieldWanted > row->W - labelW) {
    const float words = ui.TextWidth(Text(rn.label.c_str())) + ui.Px(12);
    labelW = std::max(std::min(labelW, words), row->W - fieldWanted);
  }
  auto* label = row->Add(new TextWidget(Text(rn.label.c_str()), 0, 0, labelW, rowH));
  label->TextColor = kThemeDimText;
  return narrow ? 0 : labelW;
}

void BuildCompoundRows(BaseWidget* parent, float rect[4], BaseClass* obj);

void BuildFolder(BaseWidget* parent, float rect[4], const RowName& rn, BaseClass* obj, const char* member) {
  UiContext& ui = Ui();
  std::string key = std::string(member ? member : "") + "@" + obj->GetClassName();
  // A named object (a list's element) is titled by its own name.
  const _str* own = obj->IsNamed() ? obj->GetObjectName() : nullptr;
  const char* ownWords = own && !own->IsEmpty() ? LookupText(own->cpchar()) : nullptr;
  const char* title = ownWords ? ownWords : own && !own->IsEmpty() ? own->cpchar() : Text(rn.label.c_str());
  auto* folder = new WidgetsFolder(key.c_str(), title, rect[2], true);
  folder->X = rect[0];
  folder->Y = rect[1] + rect[3];
  parent->AddChild(folder);
  for (BaseWidget* w = parent; w; w = w->ParentWidget())
    if (auto* panel = dynamic_cast<ClassPanel*>(w)) {
      folder->AddCallback(kEvChanged, MakeCallback(panel, &ClassPanel::RequestRebuild));
      break;
    }
  SetRowHint(folder, rn.label, rn.noHint);
  float inner[4] = {ui.Px(8), 0, rect[2] - ui.Px(8), 0};
  if (folder->Open) BuildCompoundRows(folder->Body, inner, obj);
  folder->Body->H = inner[3];
  rect[3] += ui.Px(kRowHeight) + (folder->Open ? inner[3] : 0);
}

void BuildAddRow(BaseWidget* parent, float rect[4], BaseClass* obj, int row) {
  UiContext& ui = Ui();
  ExpansionList list;
  if (!obj->GetEditableElementExpansionList(list, row, obj, 7)) return;
  RowName rn;
  ClassRow* r = NewRow(parent, rect, ui.Px(kRowHeight), obj, obj, obj, nullptr, "add...", rn);
  r->AddClasses = list.Classes;
  auto* box = r->Add(new ComboBox);
  box->W = r->W;
  box->H = r->H;
  for (const std::string& c : list.Classes) box->Items.push_back(Text(c.c_str()));
  box->Selected = &r->AddIndex;
  box->AddCallback(kEvChanged, MakeCallback(r, &ClassRow::AddElement));
  auto* caption = box->Add(new TextWidget(Text("ADD_NEW"), 0, 0, r->W, r->H));
  caption->TextColor = kThemeDimText;
}

void BuildCompoundRows(BaseWidget* parent, float rect[4], BaseClass* obj) {
  obj->RegisterMembers();
  int n = obj->GetAmountOfEditableElements(obj, 7);
  BaseWidget* target = parent;
  float saved[4];
  float menu[4];
  WidgetsFolder* menuFolder = nullptr;
  for (int i = 0; i < n; ++i) {
    const char* id = obj->GetEditableElementID(i, obj, 7);
    if (!id) continue;
    if (obj->GetEditableElementIndex(i, obj, 7) < 0) {
      BuildAddRow(target, menuFolder ? menu : rect, obj, i);
      continue;
    }
    // "@MENU title" ... "@ENDMENU": the rows between fold out under the title.
    if (StartsWith(id, "@MENU ")) {
      if (menuFolder) continue;
      menuFolder = new WidgetsFolder(id, Text(id + 6), rect[2], false);
      menuFolder->X = rect[0];
      menuFolder->Y = rect[1] + rect[3];
      parent->AddChild(menuFolder);
      for (BaseWidget* w = parent; w; w = w->ParentWidget())
        if (auto* panel = dynamic_cast<ClassPanel*>(w)) {
          menuFolder->AddCallback(kEvChanged, MakeCallback(panel, &ClassPanel::RequestRebuild));
          break;
        }
      memcpy(saved, rect, sizeof saved);
      menu[0] = Ui().Px(8), menu[1] = 0, menu[2] = rect[2] - Ui().Px(8), menu[3] = 0;
      target = menuFolder->Body;
      continue;
    }
    if (strcmp(id, "@ENDMENU") == 0) {
      if (!menuFolder) continue;
      menuFolder->Body->H = menu[3];
      rect[3] += Ui().Px(kRowHeight) + (menuFolder->Open ? menu[3] : 0);
      menuFolder = nullptr;
      target = parent;
      continue;
    }
    // The navigation widget and element list commands come with the docks and
    // the object browser; their rows are left out here.
    if (strcmp(id, "@NaviControl@") == 0) continue;
    size_t len = strlen(id);
    if (len >= 11 && strcmp(id + len - 11, "::DeleteElm") == 0) continue;
    BaseClass* cls = obj->GetEditableElementClass(i, obj, 7);
    void* ptr = obj->GetEditableElementPtr(i, obj, 7);
    void* extra = obj->GetEditableElementExtra(i, obj, 7);
    if (menuFolder && !menuFolder->Open) continue;
    BuildClassPanel(target, menuFolder ? menu : rect, id, obj, cls, ptr, extra);
  }
  if (menuFolder) {  // a menu without its end closes with the panel
    menuFolder->Body->H = menu[3];
    rect[3] += Ui().Px(kRowHeight) + (menuFolder->Open ? menu[3] : 0);
  }
}
}  // namespace

float& WorldUnitScale() {
  static float scale = 1.0f;
  return scale;
}

void BuildClassPanel(BaseWidget* parent, float rect[4], const char* name, BaseClass* owner, BaseClass* cls,
                     void* object, void* extra) {
  if (!parent || !cls) return;
  UiContext& ui = Ui();
  float rowH = ui.Px(kRowHeight);
  if ((!name || !*name) && cls->IsCompound() && object) {
    BuildCompoundRows(parent, rect, static_cast<BaseClass*>(object));
    return;
  }
  RowName rn = ParseName(name);
  const char* kind = cls->GetClassName();
  if (strcmp(kind, "Delimiter") == 0) {
    if (rn.label.empty()) {
      ClassRow* row = NewRow(parent, rect, 3, owner, cls, object, extra, name, rn);
      auto* strip = row->Add(new FrameWidget("", 0, 0, row->W, 3));
      strip->Fill = kThemeFrame;
      return;
    }
    ClassRow* row = NewRow(parent, rect, rowH, owner, cls, object, extra, name, rn);
    auto* t = row->Add(new TextWidget(Text(rn.label.c_str()), 0, 0, row->W, rowH));
    t->FontSize = 12;
    t->Centered = !rn.leftAligned;
    SetRowHint(row, rn.label, rn.noHint);
    return;
  }
  if (cls->IsMethod()) {
    ClassRow* row = NewRow(parent, rect, rowH + ui.Px(2), owner, cls, object, extra, name, rn);
    auto* b = row->Add(new FrameWidget(Text(rn.label.c_str()), 0, 1, row->W, rowH));
    b->AddCallback(kEvLDown, MakeCallback(row, &ClassRow::CallMethod));
    SetRowHint(row, rn.label, rn.noHint);
    return;
  }
  if (cls->IsCompound() && object) {
    BuildFolder(parent, rect, rn, static_cast<BaseClass*>(object), name);
    return;
  }
  ClassRow* row = NewRow(parent, rect, rowH, owner, cls, object, extra, name, rn);
  SetRowHint(row, rn.label, rn.noHint);
  if (strcmp(kind, "_bool") == 0) {
    auto* box = row->Add(new CheckBox);
    box->W = row->W, box->H = rowH;
    box->Value = static_cast<bool*>(object);
    box->Text = rn.noLabel ? "" : Text(rn.label.c_str());
    // Visibility-like switches are icon toggles of the theme's sheet.
    static const char* const icons[] = {"Visible", "Locked", "VoxSurf", "OpenState"};
    for (const char* icon : icons)
      if (rn.label == icon && ui.Render) {
        static int sheet = -2;
        if (sheet == -2) sheet = ui.Render->LoadTexture(comms::DataFilePath("textures/dark/Icons16.tga"), -1);
        box->IconTexture = sheet;
      }
    if (!rn.readOnly) box->AddCallback(kEvChanged, MakeCallback(row, &ClassRow::Changed));
    else box->Value = nullptr;
    return;
  }
  // A list's field wants its longest item and the arrow.
  float fieldWanted = 0;
  if (strcmp(kind, "_index") == 0 && extra) {
    Enumerator* e = static_cast<Enumerator*>(extra);
    for (int i = 0; i < e->GetAmount(); ++i) {
      const char* name = i < e->GetStoredAmount() ? e->Get(e->Values[i]) : e->Get(i);
      if (name) fieldWanted = std::max(fieldWanted, ui.TextWidth(Text(name)) + ui.Px(30));
    }
  }
  float fieldX = AddLabel(row, rn, rowH, fieldWanted);
  float fieldW = row->W - fieldX;
  if (strcmp(kind, "CtrlFSlider") == 0 || strcmp(kind, "CtrlISlider") == 0) {
    auto* s = row->Add(new SimpleSlider);
    s->X = fieldX, s->W = fieldW, s->H = rowH;
    s->Value = object;
    s->ValueKind = kind[4] == 'I' ? SimpleSlider::kInt : SimpleSlider::kFloat;
    if (s->ValueKind == SimpleSlider::kInt) {
      auto* r = static_cast<IntSliderRange*>(extra);
      s->Min = r ? float(r->Min) : 0, s->Max = r ? float(r->Max) : 100;
    } else {
      auto* r = static_cast<FloatSliderRange*>(extra);
      s->Min = r ? r->Min : 0, s->Max = r ? r->Max : 1;
    }
    if (!rn.readOnly) {
      s->AddCallback(kEvChanged, MakeCallback(row, &ClassRow::Changed));
      s->AddCallback(kEvLDouble, MakeCallback(row, &ClassRow::OpenTextEntry));
    } else {
      s->Callbacks.Clear();
      s->AddCallback(kEvDraw, MakeCallback(s, &SimpleSlider::OnDraw));
    }
    return;
  }
  if (strcmp(kind, "_index") == 0) {
    auto* box = row->Add(new ComboBox);
    box->X = fieldX, box->W = fieldW, box->H = rowH;
    box->SetEnumerator(static_cast<Enumerator*>(extra));
    box->Selected = static_cast<int*>(object);
    if (!rn.readOnly) box->AddCallback(kEvChanged, MakeCallback(row, &ClassRow::Changed));
    else box->Callbacks.DelElement(1);
    return;
  }
  if (strcmp(kind, "_color") == 0) {
    auto* swatch = row->Add(new FrameWidget("", fieldX, 1, fieldW, rowH - 2));
    swatch->Fill = swatch->HighlightColor = object ? (*static_cast<uint32_t*>(object) | 0xff000000u) : 0;
    if (!rn.readOnly) swatch->AddCallback(kEvLDown, MakeCallback(row, &ClassRow::OpenColorPicker));
    row->Field = swatch;
    return;
  }
  if (strcmp(kind, "_TextureID") == 0) {
    auto* preview = row->Add(new DrawTexRect);
    preview->X = fieldX, preview->W = rowH, preview->H = rowH;
    preview->Texture = object ? *static_cast<int*>(object) : -1;
    preview->Color = 0xffffffffu;
    auto* clear = row->Add(new FrameWidget("x", fieldX + rowH + ui.Px(4), 0, rowH, rowH));
    clear->SetHint("CLEAR_TEXTURE_HINT");
    if (!rn.readOnly) clear->AddCallback(kEvLDown, MakeCallback(row, &ClassRow::ClearTexture));
    return;
  }
  // _int, _float, _str and every other plain value: a field showing the text;
  // a click opens the entry box.
  auto* field = row->Add(new FrameWidget(row->ValueText().c_str(), fieldX, 0, fieldW, rowH));
  field->Fill = kThemeField;
  field->Centered = !rn.leftAligned;
  row->Field = field;
  if (!rn.readOnly) field->AddCallback(kEvLDown, MakeCallback(row, &ClassRow::OpenTextEntry));
}

ClassPanel::ClassPanel() {
  Layout |= kLayAutoHeight;
  AddCallback(kEvDraw, MakeCallback(this, &ClassPanel::OnDraw));
}

bool ClassPanel::RequestRebuild() {
  rebuild_ = true;
  return false;
}

void ClassPanel::Rebuild() {
  Children.Clear();
  rebuild_ = false;
  builtWidth_ = W;
  ++builds_;
  if (!Object) return;
  float rect[4] = {0, 0, W, 0};
  BuildClassPanel(this, rect, "", nullptr, Object, Object, nullptr);
  H = rect[3];
}

bool ClassPanel::OnDraw() {
  if (rebuild_ || builtWidth_ != W) Rebuild();
  return false;
}

ScrollPanel::ScrollPanel(const char* name) {
  Name = name;
  Flags |= kWfClip;
  scroller_ = Add(new VScroller);
  scroller_->W = Ui().Px(8);
  AddCallback(kEvWheel, MakeCallback(this, &ScrollPanel::OnWheel));
}

void ScrollPanel::SetContent(BaseWidget* content) {
  for (int i = Children.GetAmount() - 1; i >= 0; --i)
    if (Children[i] != scroller_) Children.DelElement(i);
  AddChild(content);
  // The content goes first, the bar stays in front.
  Children.MoveElement(Children.GetAmount() - 1, -(Children.GetAmount() - 1));
  scroller_->Pos = Name.IsEmpty() ? 0 : ScrollPosition(Name.cpchar());
  scroller_->X = W - PadLeft - PadRight - scroller_->W;
  scroller_->H = H - PadTop - PadBottom;
  content->Y = -scroller_->Pos;
}

bool ScrollPanel::OnWheel() { return scroller_->OnWheel(); }

TextWidget* AddLabelRow(BaseWidget* parent, float rect[4], const char* key) {
  float h = Ui().Px(kRowHeight);
  auto* t = parent->Add(new TextWidget(Text(key), rect[0], rect[1] + rect[3], rect[2], h));
  rect[3] += h;
  return t;
}

CheckBox* AddCheckRow(BaseWidget* parent, float rect[4], const char* key, bool* value) {
  float h = Ui().Px(kRowHeight);
  auto* box = parent->Add(new CheckBox);
  box->X = rect[0], box->Y = rect[1] + rect[3], box->W = rect[2], box->H = h;
  box->Text = Text(key);
  box->Value = value;
  rect[3] += h;
  return box;
}

SimpleSlider* AddSliderRow(BaseWidget* parent, float rect[4], const char* key, float* value, float min, float max) {
  float h = Ui().Px(kRowHeight);
  auto* s = parent->Add(new SimpleSlider);
  s->X = rect[0], s->Y = rect[1] + rect[3], s->W = rect[2], s->H = h;
  s->Label = Text(key);
  s->Value = value;
  s->Min = min, s->Max = max;
  rect[3] += h;
  return s;
}
