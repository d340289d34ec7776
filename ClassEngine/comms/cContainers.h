// The containers of comms classes. cClassList<T> and cClassPtr<T> are the
// owning array and the single owned child of the BaseClass world under the
// names "cClassList.T" and "cClassPtr.T". cClassRef<T> owns nothing: it names
// an object of T (a class with object names, see NamedObjects.h) and finds it
// in the table of named objects while that object lives; files hold the name.
#pragma once
#include <cstdio>

#include "ClassEngine/ClassArray.h"
#include "ClassEngine/ClassPtr.h"
#include "ClassEngine/MemberClasses.h"
#include "ClassEngine/NamedObjects.h"
#include "ClassEngine/streams/BinString.h"

namespace comms {

// The container's name: prefix and the element's class name, built once.
#define MV_CONTAINER_NAME(Prefix)                                                      \
  static const char* StaticClassName() {                                               \
    static char name[256];                                                             \
    if (!name[0]) snprintf(name, sizeof(name), Prefix "%s", T::StaticClassName());     \
    return name;                                                                       \
  }                                                                                    \
  const char* GetClassName() override { return StaticClassName(); }                    \
  ClassDescriptor* GetDescriptor() override { return GetClassDescriptor(StaticClassName()); }

template <class T>
class cClassList : public ClassArray<T> {
 public:
  MV_CONTAINER_NAME("cClassList.")
  BaseClass* New() override {
    auto* a = new cClassList<T>;
    if (a) a->SetParentOnly(this);
    return a;
  }
};

template <class T>
class cClassPtr : public ClassPtr<T> {
 public:
  MV_CONTAINER_NAME("cClassPtr.")
  BaseClass* New() override {
    auto* a = new cClassPtr<T>;
    if (a) a->SetParentOnly(this);
    return a;
  }
};

template <class T>
class cClassRef : public BaseClass {
 public:
  MV_CONTAINER_NAME("cClassRef.")
  cClassRef() = default;
  cClassRef(const cClassRef&) = delete;
  cClassRef& operator=(const cClassRef&) = delete;
  BaseClass* New() override {
    auto* r = new cClassRef<T>;
    if (r) r->SetParentOnly(this);
    return r;
  }

  _str Name;

  void Set(const char* name) { Name = name ? name : ""; }
  // The live object of that name, or null (not loaded yet, or gone).
  T* Get() { return dynamic_cast<T*>(FindNamedObject(T::StaticClassName(), Name.cpchar())); }

  int GetAmountOfElements() override { return 0; }
  bool IsCompound() override { return false; }
  void Reset(void* ptr) override { At(ptr)->Set(""); }
  bool CopyTo(void* ptr, void*, BaseClass*, void* to, void*, int) override {
    if (!to) return false;
    if (ptr != to) At(to)->Set(At(ptr)->Name.cpchar());
    return true;
  }
  const char* GetView(void*) override { return Name.cpchar(); }
  bool Save(XmlNode* xml, void* ptr, void*) override;
  bool Load(XmlNode* xml, void* ptr, ErrorCollector*, void*) override;
  bool SaveBin(void* ptr, void*, BinStream* stream, Enumerator*, Enumerator*) override {
    if (!stream) return false;
    WriteBinString(*stream, At(ptr)->Name.cpchar());
    return true;
  }
  bool LoadBin(void* ptr, void*, BinStream* stream, Enumerator*) override {
    std::string name;
    if (!stream || !ReadBinString(*stream, name)) return false;
    At(ptr)->Set(name.c_str());
    return true;
  }

 private:
  cClassRef* At(void* ptr) { return ptr ? static_cast<cClassRef*>((BaseClass*)ptr) : this; }
};
#undef MV_CONTAINER_NAME

}  // namespace comms

#include "ClassEngine/xml/XmlNode.h"

template <class T>
bool comms::cClassRef<T>::Save(XmlNode* xml, void* ptr, void*) {
  if (!xml) return false;
  xml->Assign(At(ptr)->Name.cpchar());
  return true;
}

template <class T>
bool comms::cClassRef<T>::Load(XmlNode* xml, void* ptr, ErrorCollector*, void*) {
  if (!xml) return false;
  At(ptr)->Set(xml->Value());
  return true;
}
