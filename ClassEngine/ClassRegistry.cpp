// The class registry and member registration: descriptors by class name in a
// Hash beside an array indexed by entry index, enumerators likewise, and the
// calls a class makes while listing its members. Registration runs on the
// main thread; the registry has no lock.
#include <cstdio>
#include <cstring>
#include <string>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/Enumerator.h"
#include "ClassEngine/Log.h"
#include "ClassEngine/MemberClasses.h"
#include "ClassEngine/SystemDialog.h"
#include "ClassEngine/khash.h"

namespace {
using RegistryHash = Hash<Str_for_hash, 1027, 1024>;

struct Registry {
  RegistryHash classNames;
  DynArray<ClassDescriptor*> classes;  // by entry index of classNames
  RegistryHash enumNames;
  DynArray<Enumerator*> enums;
};
Registry& TheRegistry() {
  static Registry* r = new Registry;  // lives for the whole run
  return *r;
}

// The one-shot switches for the next member.
bool gNextStatic = false;
bool gNextNoSave = false;
bool gNextFlagA = false;
bool gNextFlagB = false;
// The list being built and its class.
ClassDescriptor* gRegistering = nullptr;
const char* gRegisteringOwner = nullptr;

char* CopyText(const char* s) {
  if (!s) return nullptr;
  size_t n = strlen(s) + 1;
  char* c = (char*)cExMalloc((int)n);
  if (c) memcpy(c, s, n);
  return c;
}

void AddName(DynArray<char*>& names, const char* name) {
  for (char* s : names)
    if (strcmp(s, name) == 0) return;
  names.Add(CopyText(name));
}

void IndexMemberName(ClassDescriptor* d, const char* name, int member) {
  int before = d->MemberNames.Count();
  int n = d->MemberNames.Add(name);
  if (n >= before) d->MemberOfName.Add(member);
}

void PushRecord(ClassDescriptor* d, const MemberRecord& m) {
  int i = d->Members.Add(m);
  IndexMemberName(d, m.Name, i);
}

// "class Foo" and "struct Foo" come from compiler type names.
std::string CleanClassName(const char* name) {
  std::string s = name ? name : "";
  for (const char* prefix : {"struct ", "class "}) {
    size_t p;
    while ((p = s.find(prefix)) != std::string::npos) s.erase(p, strlen(prefix));
  }
  std::string out;
  for (char c : s)
    if (c != ' ' && c != '\t') out += c;
  return out;
}
}  // namespace

int ClassEngineError(const char* text) {
  Log("%s", text);
  SystemDialog d;
  d.title = "Class engine error";
  d.text = text;
  d.kind = SystemDialog::Kind::Error;
  return ShowSystemDialog(d);
}

ClassDescriptor* FindClassDescriptor(const char* name) {
  if (!name) return nullptr;
  int i = TheRegistry().classNames.find(Str_for_hash(name));
  return i < 0 ? nullptr : TheRegistry().classes[i];
}

ClassDescriptor* GetClassDescriptor(const char* name) {
  if (!name) return nullptr;
  if (ClassDescriptor* d = FindClassDescriptor(name)) return d;
  int i = TheRegistry().classNames.add(Str_for_hash(name));
  auto* d = new ClassDescriptor;
  d->Name = TheRegistry().classNames.get(i).str;
  while (TheRegistry().classes.GetAmount() <= i) TheRegistry().classes.Add(nullptr);
  TheRegistry().classes[i] = d;
  return d;
}

BaseClass* GetClassPrototype(const char* name) {
  ClassDescriptor* d = FindClassDescriptor(name);
  return d ? d->Prototype : nullptr;
}

BaseClass* NewObjectOfClass(const char* name) {
  BaseClass* p = GetClassPrototype(name);
  if (!p) return nullptr;
  BaseClass* o = p->New();
  if (o) o->SetParentOnly(nullptr);
  return o;
}

int RegisteredClassCount() { return TheRegistry().classes.GetAmount(); }

ClassDescriptor* GetClassDescriptorByIndex(int index) {
  return index >= 0 && index < TheRegistry().classes.GetAmount() ? TheRegistry().classes[index] : nullptr;
}

void RegisterClass(BaseClass* model, const char* category, const char* name,
                   bool skipContainers) {
  if (!model) return;
  std::string clean = CleanClassName(name ? name : model->GetClassName());
  if (skipContainers && clean.find('.') != std::string::npos) return;
  ClassDescriptor* d = GetClassDescriptor(clean.c_str());
  d->ID = TheRegistry().classNames.find(Str_for_hash(clean.c_str()));
  if (!d->Prototype) {
    d->Prototype = model->New();
    // The prototype belongs to no one, whatever New() made its parent.
    if (d->Prototype) d->Prototype->SetParentOnly(nullptr);
  }
  if (d->Members.GetAmount() == 0 && d->Prototype) d->Prototype->RegisterMembers();
  if (category && !d->Category) d->Category = CopyText(category);
}

Enumerator* GetEnumerator(const char* name) {
  if (!name) return nullptr;
  int i = TheRegistry().enumNames.find(Str_for_hash(name));
  if (i >= 0) return TheRegistry().enums[i];
  i = TheRegistry().enumNames.add(Str_for_hash(name));
  auto* e = new Enumerator(name);
  while (TheRegistry().enums.GetAmount() <= i) TheRegistry().enums.Add(nullptr);
  TheRegistry().enums[i] = e;
  return e;
}

const MemberRecord* FindClassMember(const char* className, const char* memberName) {
  ClassDescriptor* d = FindClassDescriptor(className);
  if (!d || !d->Prototype) {
    char text[512];
    snprintf(text, sizeof(text), "class not registered: \"%s\"", className ? className : "");
    ClassEngineError(text);
    return nullptr;
  }
  int i = d->FindMember(memberName);
  return i < 0 ? nullptr : &d->Members[i];
}

// ---- Member registration ----

BaseClass::RegistrationScope::RegistrationScope(ClassDescriptor* d, const char* owner)
    : savedDescriptor(gRegistering), savedOwner(gRegisteringOwner) {
  gRegistering = d;
  gRegisteringOwner = owner;
}

BaseClass::RegistrationScope::~RegistrationScope() {
  gRegistering = savedDescriptor;
  gRegisteringOwner = savedOwner;
}

void BaseClass::NextStatic() { gNextStatic = true; }
void BaseClass::NextNoSave() { gNextNoSave = true; }
void BaseClass::NextDisplayFlagA() { gNextFlagA = true; }
void BaseClass::NextDisplayFlagB() { gNextFlagB = true; }

void BaseClass::EnsureRegistered(BaseClass* model, const char* className) {
  // The member's class may register its own members now; the switches set
  // for the member being added must survive that.
  bool saved[4] = {gNextStatic, gNextNoSave, gNextFlagA, gNextFlagB};
  gNextStatic = gNextNoSave = gNextFlagA = gNextFlagB = false;
  RegisterClassEngineClasses();
  ClassDescriptor* d = FindClassDescriptor(className);
  if (!d || !d->Prototype) RegisterClass(model, nullptr, className);
  gNextStatic = saved[0];
  gNextNoSave = saved[1];
  gNextFlagA = saved[2];
  gNextFlagB = saved[3];
}

void BaseClass::AddMember(const char* className, void* address, const char* name, void* extra,
                          const char* typeName, int size, bool isBase) {
  bool isStatic = gNextStatic, noSave = gNextNoSave, flagA = gNextFlagA, flagB = gNextFlagB;
  gNextStatic = gNextNoSave = gNextFlagA = gNextFlagB = false;
  ClassDescriptor* d = gRegistering;
  if (!d || !name) return;
  RegisterClassEngineClasses();
  BaseClass* cls = GetClassPrototype(className);
  if (!cls) {
    char text[512];
    snprintf(text, sizeof(text), "Undefined class found: \"%s\"\n", className);
    ClassEngineError(text);
    return;
  }
  intptr_t offset = (char*)address - (char*)this;
  bool looksStatic = offset < 0 || offset >= kStaticAddressFloor;
  if (isStatic && !looksStatic)
    Log("CRITICAL: Static member <%s %s> registered like non-static", className, name);
  if (!isStatic && looksStatic)
    Log("CRITICAL: Non-static member <%s %s> registered like static", className, name);
  // The address decides: a field inside the object is an offset.
  MemberRecord m{};
  m.Class = cls;
  m.Name = CopyText(name);
  m.IsStatic = looksStatic;
  m.Offset = looksStatic ? (intptr_t)address : offset;
  m.NoSave = noSave;
  m.DisplayFlagA = flagA;
  m.DisplayFlagB = flagB;
  m.Extra = extra;
  m.OwnerClass = CopyText(gRegisteringOwner);
  m.IsBase = isBase;
  m.Mask = 0xFFFFFFFFu;
  PushRecord(d, m);
  if (!cls->CheckType(typeName, size)) {
    char text[1024];
    snprintf(text, sizeof(text), "Incompartible type used for %s %s::%s : %s", className,
             gRegisteringOwner ? gRegisteringOwner : "", name, typeName);
    ClassEngineError(text);
  }
}

void BaseClass::AddDelimiter(const char* name) {
  gNextStatic = gNextNoSave = gNextFlagA = gNextFlagB = false;
  ClassDescriptor* d = gRegistering;
  if (!d || !name) return;
  RegisterClassEngineClasses();
  MemberRecord m{};
  m.Class = GetClassPrototype("Delimiter");
  m.Name = CopyText(name);
  m.IsStatic = 1;
  m.NoSave = 1;
  m.Offset = (intptr_t)&TheDelimiter();
  m.OwnerClass = CopyText(gRegisteringOwner);
  m.Mask = 0xFFFFFFFFu;
  PushRecord(d, m);
}

void BaseClass::AddMethodRecord(BaseClass* method, const char* name) {
  gNextStatic = gNextNoSave = gNextFlagA = gNextFlagB = false;
  ClassDescriptor* d = gRegistering;
  if (!d || !name || !method) return;
  MemberRecord m{};
  m.Class = method;
  m.Name = CopyText(name);
  m.IsStatic = 1;
  m.NoSave = 1;
  m.Offset = (intptr_t)method;
  m.OwnerClass = CopyText(gRegisteringOwner);
  m.Mask = 0xFFFFFFFFu;
  PushRecord(d, m);
}

void BaseClass::SetAccessors(MemberGetValue getValue, MemberGetPointer getPointer,
                             MemberSetValue setValue, MemberSetPointer setPointer) {
  ClassDescriptor* d = gRegistering;
  if (!d || d->Members.GetAmount() == 0) return;
  MemberRecord& m = d->Members[d->Members.GetAmount() - 1];
  if (m.IsStatic) {
    Log("STATIC Not allowed for properties: <%s %s>", m.Class ? m.Class->GetClassName() : "",
        m.Name);
    return;
  }
  m.GetValue = getValue;
  m.GetPointer = getPointer;
  m.SetValue = setValue;
  m.SetPointer = setPointer;
}

void BaseClass::InheritMembers(ClassDescriptor* child, ClassDescriptor* base) {
  if (!child || !base || child == base) return;
  AddName(base->Children, child->Name);
  AddName(child->Parents, base->Name);
  for (const MemberRecord& src : base->Members) {
    MemberRecord m = src;
    m.Name = CopyText(src.Name);
    // Methods carry their function in the object; others take the prototype again.
    if (src.Class && !src.Class->IsMethod())
      if (BaseClass* p = GetClassPrototype(src.Class->GetClassName())) m.Class = p;
    PushRecord(child, m);
  }
}
