// ClassPtr<T>: one optional owned child of T or a class derived from it,
// shown as a single row; "add..." replaces the child.
#pragma once
#include <cstdio>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/streams/ClassBin.h"

template <class T>
class ClassPtr : public BaseClass {
 public:
  T* Child = nullptr;

  ClassPtr() = default;
  ClassPtr(const ClassPtr&) = delete;
  ClassPtr& operator=(const ClassPtr&) = delete;
  ~ClassPtr() override { Clear(); }

  static const char* StaticClassName() {
    static char name[256];
    if (!name[0]) snprintf(name, sizeof(name), "ClassPtr.%s", T::StaticClassName());
    return name;
  }
  const char* GetClassName() override { return StaticClassName(); }
  BaseClass* New() override {
    auto* p = new ClassPtr<T>;
    if (p) p->SetParentOnly(this);
    return p;
  }
  ClassDescriptor* GetDescriptor() override { return GetClassDescriptor(GetClassName()); }

  T* Get() const { return Child; }
  void Set(T* child) {
    if (child == Child) return;
    Clear();
    Child = child;
    if (Child) Child->SetParent(this);
  }
  void Clear() {
    delete Child;
    Child = nullptr;
  }

  void Reset(void*) override { Clear(); }
  bool IsCompound() override { return true; }
  bool IsSimplified() override { return true; }
  int GetAmountOfElements() override { return Child ? 1 : 0; }
  int GetRealIndex(int i) override { return i >= kPlainElementIndex ? i - kPlainElementIndex : i; }
  const char* GetElementID(int i) override {
    return i == 0 && Child ? Child->GetClassName() : nullptr;
  }
  BaseClass* GetElementClass(int i) override { return i == 0 ? Child : nullptr; }
  void* GetElementPtr(int i, void*) override { return GetElementClass(i); }
  void* GetElementExtra(int) override { return nullptr; }
  bool DelElement(int i) override {
    if (i != 0 || !Child) return false;
    Clear();
    return true;
  }
  int ExpandWith(const char* className, BaseClass* owner) override {
    BaseClass* proto = GetClassPrototype(className);
    if (!proto) return -1;
    BaseClass* made = proto->New();
    T* child = dynamic_cast<T*>(made);
    if (!child) {
      delete made;
      return -1;
    }
    Clear();
    Child = child;
    Child->SetParent(owner ? owner : this);
    return 0;
  }
  int GetExpansionRules() override { return kExpandDerived | kExpandShowAddRow | kExpandSingle; }
  const char* GetExpansionBase() override { return T::StaticClassName(); }
  bool SaveBin(void* ptr, void*, BinStream* stream, Enumerator* dictionary,
               Enumerator* = nullptr) override {
    return SaveBinPtr(ptr ? (BaseClass*)ptr : this, stream, dictionary);
  }
  bool LoadBin(void* ptr, void*, BinStream* stream, Enumerator* dictionary) override {
    return LoadBinPtr(ptr ? (BaseClass*)ptr : this, stream, dictionary);
  }
  void SetParent(BaseClass* p) override {
    Parent = p;
    if (Child) Child->SetParent(this);
  }
  bool CopyTo(void* ptr, void*, BaseClass* toClass, void* to, void*, int options) override {
    auto* source = ptr ? static_cast<ClassPtr*>((BaseClass*)ptr) : this;
    auto* target = dynamic_cast<ClassPtr*>(to ? (BaseClass*)to : toClass);
    if (!target || target == source) return target != nullptr;
    target->Clear();
    if (!source->Child) return true;
    T* made = dynamic_cast<T*>(source->Child->New());
    if (!made) return false;
    made->SetParent(target);
    source->Child->CopyTo(source->Child, nullptr, made, made, nullptr, options);
    target->Child = made;
    return true;
  }
};
