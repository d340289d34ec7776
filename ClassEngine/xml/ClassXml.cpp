// Reflected objects to and from the XML tree. An object is a node whose
// children are its members, each named by the member (or, in an array, by
// the element's class); a member's own class writes the value text. Loading
// walks the file's children in file order, so a file from an older version
// loads as far as its names still match, and members it lacks keep their
// values.
#include <cstring>
#include <string>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/Log.h"
#include "ClassEngine/MemberClasses.h"
#include "ClassEngine/NamedObjects.h"
#include "ClassEngine/xml/ErrorCollector.h"
#include "ClassEngine/xml/XmlNode.h"

namespace {
// Set while a new object writes the defaults to compare with, whose own
// Save must not make a new object again.
thread_local bool gSavingDefaults = false;

// Removes the leaf children whose value equals the same child of `defaults`.
void DropUnchanged(XmlNode* xml, const XmlNode& defaults) {
  for (int i = xml->ChildCount() - 1; i >= 0; i--) {
    XmlNode* c = xml->Child(i);
    if (!c || c->ChildCount() > 0) continue;
    const XmlNode* d = defaults.FindChild(c->GetName());
    if (d && d->ValueString() == c->ValueString()) xml->RemoveChild(i);
  }
}
}  // namespace

bool BaseClass::Save(XmlNode* xml, void* ptr, void* extra) {
  if (!xml) return false;
  // A compound reached through its class's prototype answers for itself.
  if (ptr && ptr != this) return ((BaseClass*)ptr)->Save(xml, ptr, extra);
  RegisterMembers();
  int n = GetAmountOfElements();
  for (int i = 0; i < n; i++) {
    const MemberRecord* m = GetMemberRecord(i);
    if (m && m->NoSave) continue;
    const char* id = GetElementID(i);
    auto* child = new XmlNode(id ? id : "");
    BaseClass* c = GetElementClass(i);
    void* p = GetElementPtr(i, this);
    void* e = GetElementExtra(i);
    // An empty array slot is a bare "NULL" tag; a member whose accessor
    // gives no address says "NULL".
    if (c && !p)
      child->Assign("NULL");
    else if (c)
      c->Save(child, p, e ? e : extra);
    xml->AddChild(child);
  }
  if (!gSavingDefaults && SaveOnlyChanged()) {
    if (BaseClass* model = New()) {
      XmlNode defaults;
      gSavingDefaults = true;
      model->Save(&defaults, model, extra);
      gSavingDefaults = false;
      delete model;
      DropUnchanged(xml, defaults);
    }
  }
  if (!*xml->GetName()) xml->SetName(GetClassName());
  return true;
}

bool BaseClass::Load(XmlNode* xml, void* ptr, ErrorCollector* error, void* extra) {
  if (!xml) return false;
  if (ptr && ptr != this) return ((BaseClass*)ptr)->Load(xml, ptr, error, extra);
  RegisterMembers();
  bool compound = IsCompound();
  for (int k = 0; k < xml->ChildCount(); k++) {
    XmlNode* child = xml->Child(k);
    const char* name = child->GetName();
    // An array makes a new element of the named class; others find the member.
    int i = ExpandWith(name, this);
    if (i < 0) i = FindElement(name);
    if (i < 0) {
      if (error) error->Report("Unknown identifier %s of class %s.\n", name, GetClassName());
      continue;
    }
    BaseClass* c = GetElementClass(i);
    void* p = GetElementPtr(i, this);
    if (!c || !p) continue;  // an empty slot, or a member without an address
    if (compound && c->IsCompound()) ((BaseClass*)p)->SetParent(this);
    void* e = GetElementExtra(i);
    if (!c->Load(child, p, error, e ? e : extra) && error) error->ShowSource(child);
    RunSetAccessor(i, this, p);
  }
  // A named object is entered in the table now that its name is read, and
  // the references waiting for it are bound.
  if (IsNamed()) TryToLinkClass(this);
  return true;
}

bool BaseClass::ReadFromFile(const char* name) {
  XmlNode tree;
  if (!tree.ReadFromFile(name)) return false;
  ErrorCollector silent(false);
  return Load(&tree, this, &silent, nullptr);
}

bool BaseClass::WriteToFile(const char* name) {
  XmlNode tree;
  if (!Save(&tree, this, nullptr)) return false;
  return tree.WriteToFile(name);
}

// A class with a "SourceFile" string and a true "LoadingRules" takes its
// contents from that file, after a reset; then every compound element gets
// the same chance.
bool BaseClass::LoadExternalSources(XmlNode* xml, void* extra) {
  RegisterMembers();
  int source = FindElement("SourceFile");
  int rules = FindElement("LoadingRules");
  if (source >= 0 && rules >= 0) {
    BaseClass* sc = GetElementClass(source);
    BaseClass* rc = GetElementClass(rules);
    void* sp = GetElementPtr(source, this);
    void* rp = GetElementPtr(rules, this);
    if (sc && rc && sp && rp && strcmp(sc->GetClassName(), "_str") == 0 &&
        strcmp(rc->GetClassName(), "_bool") == 0 && *(bool*)rp) {
      std::string path = _str::At(sp)->cpchar();
      XmlNode tree;
      if (tree.ReadFromFile(path.c_str())) {
        Reset(this);
        ErrorCollector silent(false);
        Load(&tree, this, &silent, extra);
      } else {
        Log("%s::LoadExternalSources(): cannot read %s", GetClassName(), path.c_str());
      }
    }
  }
  int n = GetAmountOfElements();
  for (int i = 0; i < n; i++) {
    BaseClass* c = GetElementClass(i);
    void* p = GetElementPtr(i, this);
    if (!c || !p || !c->IsCompound()) continue;
    const char* id = GetElementID(i);
    XmlNode* sub = xml && id ? xml->FindChild(id) : nullptr;
    ((BaseClass*)p)->LoadExternalSources(sub, extra);
  }
  return true;
}
