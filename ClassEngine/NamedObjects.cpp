// The table of named objects and the references waiting for them; see
// NamedObjects.h.
#include "ClassEngine/NamedObjects.h"

#include <cstring>
#include <string>
#include <vector>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/Log.h"
#include "ClassEngine/MemberClasses.h"

namespace {
struct NamedRecord {
  BaseClass* Object;  // null once the object died; the index stays taken
  int References;
  std::string ClassName;
  std::string ObjectName;
};

struct WaitingLink {
  const void* Key;
  std::string ClassName;
  std::string ObjectName;
  std::function<void(BaseClass*)> Bind;
};

struct NamedTable {
  std::vector<NamedRecord> chains[kNamedChains];
  std::vector<WaitingLink> waiting;
};
NamedTable& Table() {
  static NamedTable* t = new NamedTable;  // lives for the whole run
  return *t;
}

const char* NameOf(BaseClass* object) {
  _str* name = object->GetObjectName();
  return name ? name->cpchar() : "";
}

int MakeId(int chain, int index) { return int((unsigned(chain) << 24) + unsigned(index)); }

NamedRecord* RecordOf(int id) {
  if (id == -1) return nullptr;
  // Chains from 128 up give ids with the top bit set: read them unsigned.
  unsigned chain = unsigned(id) >> 24, index = unsigned(id) & 0xFFFFFFu;
  std::vector<NamedRecord>& c = Table().chains[chain];
  return index < c.size() ? &c[index] : nullptr;
}

// The record of a live object of that class and name, and its id.
NamedRecord* Find(const char* className, const char* objectName, int* id) {
  int chain = NamedObjectChain(className);
  std::vector<NamedRecord>& c = Table().chains[chain];
  for (int i = 0; i < (int)c.size(); i++) {
    if (c[i].Object && c[i].ClassName == className && c[i].ObjectName == objectName) {
      if (id) *id = MakeId(chain, i);
      return &c[i];
    }
  }
  return nullptr;
}
}  // namespace

int NamedObjectChain(const char* className) {
  unsigned sum = 0;
  for (int i = 0; className && className[i]; i++) sum += unsigned((signed char)className[i]) * unsigned(i + 1);
  return int(sum % kNamedChains);
}

bool TryToLinkClass(BaseClass* object) {
  if (!object || !object->IsNamed()) return false;
  const char* cls = object->GetClassName();
  const char* name = NameOf(object);
  if (!*name) return false;
  int id = -1;
  NamedRecord* found = Find(cls, name, &id);
  if (found && found->Object != object) {
    Log("TryToLinkClass failed! %s \"%s\" exists already", cls, name);
    return false;
  }
  if (!found) {
    // A renamed object leaves its old record.
    if (NamedRecord* old = RecordOf(object->GetObjectID()); old && old->Object == object) old->Object = nullptr;
    int chain = NamedObjectChain(cls);
    std::vector<NamedRecord>& c = Table().chains[chain];
    id = MakeId(chain, (int)c.size());
    c.push_back({object, 0, cls, name});
    found = &c.back();
  }
  object->SetObjectID(id);
  // Bind what waits for this object; a binding may ask for more links.
  std::vector<WaitingLink>& w = Table().waiting;
  for (size_t i = 0; i < w.size();) {
    if (w[i].ClassName == cls && w[i].ObjectName == name) {
      WaitingLink link = std::move(w[i]);
      w.erase(w.begin() + (long)i);
      RecordOf(id)->References++;
      link.Bind(object);
    } else {
      i++;
    }
  }
  return true;
}

BaseClass* FindNamedObject(const char* className, const char* objectName) {
  if (!className || !objectName) return nullptr;
  NamedRecord* r = Find(className, objectName, nullptr);
  return r ? r->Object : nullptr;
}

BaseClass* NamedObjectById(int id) {
  NamedRecord* r = RecordOf(id);
  return r ? r->Object : nullptr;
}

int NamedObjectReferences(int id) {
  NamedRecord* r = RecordOf(id);
  return r ? r->References : 0;
}

void LinkByName(const void* key, const char* className, const char* objectName,
                std::function<void(BaseClass*)> bind) {
  ForgetLink(key);
  if (!className || !objectName || !*objectName) {
    bind(nullptr);
    return;
  }
  int id = -1;
  if (NamedRecord* r = Find(className, objectName, &id)) {
    r->References++;
    bind(r->Object);
    return;
  }
  bind(nullptr);  // until the object arrives
  Table().waiting.push_back({key, className, objectName, std::move(bind)});
}

void ForgetLink(const void* key) {
  std::vector<WaitingLink>& w = Table().waiting;
  for (size_t i = 0; i < w.size();) {
    if (w[i].Key == key)
      w.erase(w.begin() + (long)i);
    else
      i++;
  }
}

void ForgetNamedObject(BaseClass* object) {
  if (!object) return;
  NamedRecord* r = RecordOf(object->GetObjectID());
  if (r && r->Object == object) r->Object = nullptr;
}

int WaitingLinkCount() { return (int)Table().waiting.size(); }

void ClearNamedObjects() {
  for (std::vector<NamedRecord>& c : Table().chains) c.clear();
  Table().waiting.clear();
}
