// The default operations of BaseClass: elements through the descriptor's
// member list, deep copy by member name, and the rows of generated panels.
#include "ClassEngine/BaseClass.h"

#include <cstdio>
#include <cstring>

#include "ClassEngine/DString.h"
#include "ClassEngine/ExMalloc.h"
#include "ClassEngine/Log.h"
#include "ClassEngine/TextLookup.h"
#include "ClassEngine/xml/XmlNode.h"

namespace {
// A member read through GetValue lands in a scratch word. A few words turn
// in a ring so that a copy between two such members does not see one word
// as both source and target.
constexpr int kScratchWords = 16;
thread_local uint32_t gScratch[kScratchWords];
thread_local int gScratchNext = 0;

const char* kAddRow = "add...";
}  // namespace

void* BaseClass::operator new(size_t size) noexcept { return cExMalloc((int)size); }
void BaseClass::operator delete(void* p) noexcept { cExFree(p); }

int ClassDescriptor::FindMember(const char* name) const {
  int n = MemberNames.Find(name);
  return n < 0 ? -1 : MemberOfName[n];
}

void BaseClass::UndefinedClass() {
  char text[512];
  snprintf(text, sizeof(text), "Undefined class found: \"%s\"\n", GetClassName());
  ClassEngineError(text);
}

int BaseClass::GetRealIndex(int i) {
  if (i >= kPlainElementIndex) return i - kPlainElementIndex;
  unsigned mask = GetClassMask();
  if (mask == 0xFFFFFFFFu) return i;
  ClassDescriptor* d = GetDescriptor();
  if (!d) return -1;
  for (int k = 0; k < d->Members.GetAmount(); k++)
    if ((d->Members[k].Mask & mask) && i-- == 0) return k;
  return -1;
}

const MemberRecord* BaseClass::GetMemberRecord(int i) {
  ClassDescriptor* d = GetDescriptor();
  if (!d) return nullptr;
  int k = GetRealIndex(i);
  return k >= 0 && k < d->Members.GetAmount() ? &d->Members[k] : nullptr;
}

int BaseClass::GetAmountOfElements() {
  ClassDescriptor* d = GetDescriptor();
  if (!d) {
    UndefinedClass();
    return 0;
  }
  unsigned mask = GetClassMask();
  if (mask == 0xFFFFFFFFu) return d->Members.GetAmount();
  int n = 0;
  for (const MemberRecord& m : d->Members)
    if (m.Mask & mask) n++;
  return n;
}

const char* BaseClass::GetElementID(int i) {
  const MemberRecord* m = GetMemberRecord(i);
  return m ? m->Name : nullptr;
}

BaseClass* BaseClass::GetElementClass(int i) {
  const MemberRecord* m = GetMemberRecord(i);
  if (!m || !m->Class) return nullptr;
  // A compound member is a real object inside this one: it answers for itself.
  if (!m->IsStatic && !m->GetValue && !m->GetPointer && m->Class->IsCompound())
    return (BaseClass*)((char*)this + m->Offset);
  return m->Class;
}

void* BaseClass::GetElementPtr(int i, void* ptr) {
  const MemberRecord* m = GetMemberRecord(i);
  if (!m) return nullptr;
  BaseClass* object = ptr ? (BaseClass*)ptr : this;
  if (m->GetPointer) return m->GetPointer(object);
  if (m->GetValue) {
    uint32_t* word = &gScratch[gScratchNext];
    gScratchNext = (gScratchNext + 1) % kScratchWords;
    *word = m->GetValue(object);
    return word;
  }
  if (m->IsStatic) return (void*)m->Offset;
  return (char*)object + m->Offset;
}

void* BaseClass::GetElementExtra(int i) {
  const MemberRecord* m = GetMemberRecord(i);
  return m ? m->Extra : nullptr;
}

const char* BaseClass::GetElementView(int i, void* ptr) {
  BaseClass* c = GetElementClass(i);
  if (c && c->IsCompound()) {
    const char* v = c->GetView(GetElementPtr(i, ptr));
    if (v && *v) return v;
  }
  return GetElementID(i);
}

bool BaseClass::IsCompound() {
  ClassDescriptor* d = GetDescriptor();
  return d && d->Members.GetAmount() > 0;
}

int BaseClass::FindElement(const char* name) {
  if (!name) return -1;
  int n = GetAmountOfElements();
  for (int i = 0; i < n; i++) {
    const char* id = GetElementID(i);
    if (id && strcmp(id, name) == 0) return i;
  }
  return -1;
}

void BaseClass::RunSetAccessor(int i, void* ptr, void* value) {
  const MemberRecord* m = GetMemberRecord(i);
  if (!m || !value) return;
  BaseClass* object = ptr ? (BaseClass*)ptr : this;
  if (m->SetValue)
    m->SetValue(object, *(uint32_t*)value);
  else if (m->SetPointer)
    m->SetPointer(object, value);
}

void BaseClass::Reset(void* ptr) {
  if (!GetDescriptor()) return;
  int n = GetAmountOfElements();
  for (int i = 0; i < n; i++) {
    const MemberRecord* m = GetMemberRecord(i);
    if (m && m->IsStatic) continue;  // shared by all objects
    BaseClass* c = GetElementClass(i);
    void* p = GetElementPtr(i, ptr);
    if (!c || !p) continue;
    c->Reset(p);
    RunSetAccessor(i, ptr, p);
  }
}

bool BaseClass::CopyTo(void* ptr, void* extra, BaseClass* toClass, void* to, void* toExtra,
                       int options) {
  if (ptr == to) return true;
  if (!toClass || !to) return false;
  BaseClass* source = ptr ? (BaseClass*)ptr : this;
  // A class without members of its own (one that writes its XML by hand)
  // copies through its XML form. The primitives copy their raw value in
  // their own CopyTo.
  if (!IsCompound()) {
    XmlNode tree;
    if (!Save(&tree, source, extra)) return false;
    return toClass->Load(&tree, to, nullptr, toExtra);
  }
  int n = source->GetAmountOfElements();
  for (int i = 0; i < n; i++) {
    const char* name = source->GetElementID(i);
    int j = toClass->FindElement(name);
    if (j < 0) continue;
    BaseClass* sc = source->GetElementClass(i);
    BaseClass* tc = toClass->GetElementClass(j);
    if (!sc || !tc || strcmp(sc->GetClassName(), tc->GetClassName()) != 0) continue;
    void* sp = source->GetElementPtr(i, ptr);
    void* tp = toClass->GetElementPtr(j, to);
    if (!sp || !tp || sp == tp) continue;
    sc->CopyTo(sp, source->GetElementExtra(i), tc, tp, toClass->GetElementExtra(j), options);
    toClass->RunSetAccessor(j, to, tp);
  }
  return true;
}

bool BaseClass::Copy(BaseClass* from, bool keepOld) {
  if (!from || from == this) return false;
  if (strcmp(from->GetClassName(), GetClassName()) != 0) return false;
  if (!keepOld) Reset(this);
  return from->CopyTo(from, nullptr, this, this, nullptr, 0);
}

BaseClass* BaseClass::New() {
  BaseClass* o = new BaseClass;
  if (o) o->SetParentOnly(this);
  return o;
}

void BaseClass::SetParent(BaseClass* p) {
  Parent = p;
  ClassDescriptor* d = GetDescriptor();
  if (!d) return;
  int n = GetAmountOfElements();
  for (int i = 0; i < n; i++) {
    const MemberRecord* m = GetMemberRecord(i);
    if (!m || m->IsStatic) continue;
    BaseClass* c = GetElementClass(i);
    if (c && c != m->Class && c->IsCompound()) c->SetParent(this);
  }
}

bool BaseClass::GetValueByName(DString& out, void* ptr, void* extra, const char* name) {
  (void)ptr;
  (void)extra;
  if (!name || strcmp(name, "value") != 0) return false;
  const char* v = GetView(nullptr);
  out = v ? v : "";
  return v != nullptr;
}

// ---- Panel rows ----

bool BaseClass::RowHasSubRows(int i) {
  if (IsSimplified()) return false;
  if (!GetParent()) return true;  // a top-level object opens every element
  BaseClass* c = GetElementClass(i);
  return c && c->IsCompound() && !c->IsSimplified();
}

namespace {
bool RowSelected(bool hasSub, int flags) {
  return hasSub ? (flags & kRowsWithSubRows) != 0 : (flags & kRowsWithoutSubRows) != 0;
}
}  // namespace

// Whether the "add..." row is shown under the elements.
static bool HasAddRow(BaseClass* object, int flags) {
  int rules = object->GetExpansionRules();
  if (!rules || !(flags & kRowAddNew)) return false;
  if ((rules & kExpandSingle) && object->GetAmountOfElements() > 0) return false;
  return true;
}

int BaseClass::GetAmountOfEditableElements(void* /*ptr*/, int flags) {
  int n = GetAmountOfElements();
  int rows = 0;
  if ((flags & kRowsAll) == kRowsAll) {
    rows = n;
  } else {
    for (int i = 0; i < n; i++)
      if (RowSelected(RowHasSubRows(i), flags)) rows++;
  }
  if (HasAddRow(this, flags)) rows++;
  return rows;
}

int BaseClass::GetEditableElementIndex(int row, void* /*ptr*/, int flags) {
  if (row < 0) return -1;
  int n = GetAmountOfElements();
  if ((flags & kRowsAll) == kRowsAll) {
    if (row < n) return row;
  } else {
    for (int i = 0; i < n; i++)
      if (RowSelected(RowHasSubRows(i), flags) && row-- == 0) return i;
  }
  return -1;  // the "add..." row, or past the end
}

BaseClass* BaseClass::GetEditableElementClass(int row, void* ptr, int flags) {
  int i = GetEditableElementIndex(row, ptr, flags);
  return i < 0 ? nullptr : GetElementClass(i);
}

void* BaseClass::GetEditableElementPtr(int row, void* ptr, int flags) {
  int i = GetEditableElementIndex(row, ptr, flags);
  return i < 0 ? nullptr : GetElementPtr(i, ptr);
}

void* BaseClass::GetEditableElementExtra(int row, void* ptr, int flags) {
  int i = GetEditableElementIndex(row, ptr, flags);
  return i < 0 ? nullptr : GetElementExtra(i);
}

namespace {
void CollectDerived(const char* base, std::vector<std::string>& out) {
  ClassDescriptor* d = FindClassDescriptor(base);
  if (!d) return;
  for (char* child : d->Children) {
    bool seen = false;
    for (const std::string& s : out) seen |= s == child;
    if (seen) continue;
    out.push_back(child);
    CollectDerived(child, out);
  }
}
}  // namespace

bool BaseClass::GetEditableElementExpansionList(ExpansionList& list, int row, void* ptr,
                                                int flags, const char* filter, void* /*param*/) {
  list = ExpansionList();
  int i = GetEditableElementIndex(row, ptr, flags);
  BaseClass* holder = i < 0 ? this : GetElementClass(i);
  if (!holder) return false;
  int rules = holder->GetExpansionRules();
  const char* base = holder->GetExpansionBase();
  if (!base) base = holder->GetClassName();
  std::vector<std::string> candidates;
  if (rules & kExpandOwnClass) candidates.push_back(base);
  if (rules & kExpandDerived) CollectDerived(base, candidates);
  std::vector<std::string> groups;
  std::vector<int> groupOf;
  for (const std::string& name : candidates) {
    if (!holder->AcceptsClass(name.c_str())) continue;
    // The filter narrows the offer to names containing it (a search field).
    if (filter && *filter && name.find(filter) == std::string::npos) continue;
    ClassDescriptor* d = FindClassDescriptor(name.c_str());
    int group = -1;
    if (d && d->Category) {
      for (int g = 0; g < (int)groups.size(); g++)
        if (groups[g] == d->Category) group = g;
      if (group < 0) {
        group = (int)groups.size();
        groups.push_back(d->Category);
      }
    }
    list.Classes.push_back(name);
    groupOf.push_back(group);
  }
  if (groups.size() >= 2) {
    list.Groups = groups;
    list.ClassGroup = groupOf;
  }
  return !list.Classes.empty();
}

bool BaseClass::ElementHasSubElements(int i, void* ptr) {
  BaseClass* c = GetElementClass(i);
  if (!c || !c->IsCompound()) return false;
  return c->GetAmountOfEditableElements(GetElementPtr(i, ptr), kRowsAll | kRowAddNew) > 0;
}

bool BaseClass::EditableElementHasSubElements(int row, void* ptr, int flags) {
  int i = GetEditableElementIndex(row, ptr, flags);
  return i >= 0 && ElementHasSubElements(i, ptr);
}

const char* BaseClass::GetEditableElementID(int row, void* ptr, int flags) {
  int i = GetEditableElementIndex(row, ptr, flags);
  return i < 0 ? kAddRow : GetElementID(i);
}

void BaseClass::GetEditableElementView(int row, void* ptr, DString& view, int flags) {
  int i = GetEditableElementIndex(row, ptr, flags);
  const char* v = i < 0 ? kAddRow : GetElementView(i, ptr);
  view = v ? v : "";
}

uint8_t BaseClass::GetDisplayFlagA(int row, void* ptr, int flags) {
  int i = GetEditableElementIndex(row, ptr, flags);
  const MemberRecord* m = i < 0 ? nullptr : GetMemberRecord(i);
  return m ? m->DisplayFlagA : 0;
}

uint8_t BaseClass::GetDisplayFlagB(int row, void* ptr, int flags) {
  int i = GetEditableElementIndex(row, ptr, flags);
  const MemberRecord* m = i < 0 ? nullptr : GetMemberRecord(i);
  return m ? m->DisplayFlagB : 0;
}

// ---- Hints ----

namespace {
// A text-table answer that begins with '@' is the key echoed back: a miss.
const char* Found(const char* key) {
  const char* t = LookupText(key);
  return t && t[0] != '@' ? t : nullptr;
}
const char* FindEither(const char* prefix, const char* cls, const char* member) {
  char key[512];
  snprintf(key, sizeof(key), "%s::%s::%s", prefix, cls, member);
  if (const char* t = Found(key)) return t;
  snprintf(key, sizeof(key), "%s::%s", prefix, member);
  return Found(key);
}
}  // namespace

bool BaseClass::GetHint(DString& out, void* /*ptr*/, BaseClass* object, const char* name) {
  if (!name) return false;
  const char* cls = object ? object->GetClassName() : GetClassName();
  const char* id = FindEither("@ID", cls, name);
  const char* hint = FindEither("@HINT", cls, name);
  if (id) out = id;
  if (hint) out = hint;  // the hint overrides the name
  if (id || hint) return true;
  if (ShowMissingTextKeys()) {
    out.Clear();
    out.print("Message:\\@ID::%s::%s\\@ID::%s\\Hint:\\@HINT::%s::%s\\@HINT::%s\\", cls, name, name,
              cls, name, name);
  }
  return false;
}
