// ClassArray<T>: an owning array of reflected objects of T or classes derived
// from it. Its elements are its members: element i is named after its class
// ("NULL" for an empty slot), and loading creates elements by class name
// through ExpandWith. ClonesArray<T> offers T itself for "add..." rows
// instead of T's derived classes, and is otherwise the same, name included.
#pragma once
#include <cstdio>
#include <cstring>
#include <type_traits>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/streams/ClassBin.h"

template <class T>
class ClassArray : public BaseClass, public DynArray<T*, 15> {
  using Array = DynArray<T*, 15>;

 public:
  ClassArray() = default;
  ClassArray(const ClassArray&) = delete;
  ClassArray& operator=(const ClassArray&) = delete;
  ~ClassArray() override { Clear(); }

  static const char* StaticClassName() {
    static char name[256];
    if (!name[0]) snprintf(name, sizeof(name), "ClassArray.%s", T::StaticClassName());
    return name;
  }
  const char* GetClassName() override { return StaticClassName(); }
  BaseClass* New() override {
    auto* a = new ClassArray<T>;
    if (a) a->SetParentOnly(this);
    return a;
  }
  ClassDescriptor* GetDescriptor() override { return GetClassDescriptor(GetClassName()); }

  // Deletes every element and releases the storage.
  void Clear() {
    for (int i = 0; i < this->NValues; i++) delete this->Values[i];
    Array::Clear();
  }
  void Reset(void*) override { Clear(); }
  bool IsCompound() override { return true; }
  int GetAmountOfElements() override { return this->NValues; }
  int GetRealIndex(int i) override { return i >= kPlainElementIndex ? i - kPlainElementIndex : i; }
  const char* GetElementID(int i) override {
    if (i < 0 || i >= this->NValues) return nullptr;
    return this->Values[i] ? this->Values[i]->GetClassName() : "NULL";
  }
  BaseClass* GetElementClass(int i) override {
    return i >= 0 && i < this->NValues ? this->Values[i] : nullptr;
  }
  void* GetElementPtr(int i, void*) override { return GetElementClass(i); }
  void* GetElementExtra(int) override { return nullptr; }
  bool DelElement(int i) override {
    if (i < 0 || i >= this->NValues) return false;
    delete this->Values[i];
    this->Del(i, 1);
    return true;
  }
  int ExpandWith(const char* className, BaseClass* owner) override {
    // A file keeps the place of an empty slot under the name "NULL".
    if (className && strcmp(className, "NULL") == 0) return this->Add(nullptr);
    BaseClass* proto = GetClassPrototype(className);
    if constexpr (std::is_default_constructible_v<T> && !std::is_abstract_v<T>) {
      // A class registers itself when its first object is made; a file may
      // name the array's own class before any was.
      if (!proto && className) {
        T model;
        if (strcmp(model.GetClassName(), className) == 0) {
          EnsureRegistered(&model, className);
          proto = GetClassPrototype(className);
        }
      }
    }
    if (!proto) return -1;
    BaseClass* made = proto->New();
    T* element = dynamic_cast<T*>(made);
    if (!element) {
      delete made;
      return -1;
    }
    element->SetParent(owner ? owner : this);
    return this->Add(element);
  }
  bool MoveElement(int i, int shift) override {
    int j = i + shift;
    if (shift == 0 || i < 0 || i >= this->NValues || j < 0 || j >= this->NValues) return false;
    T* t = this->Values[i];
    this->Values[i] = this->Values[j];
    this->Values[j] = t;
    return true;
  }
  int GetExpansionRules() override { return kExpandDerived; }
  const char* GetExpansionBase() override { return T::StaticClassName(); }
  bool SaveBin(void* ptr, void*, BinStream* stream, Enumerator* dictionary,
               Enumerator* = nullptr) override {
    return SaveBinArray(ptr ? (BaseClass*)ptr : this, stream, dictionary);
  }
  bool LoadBin(void* ptr, void*, BinStream* stream, Enumerator* dictionary) override {
    return LoadBinArray(ptr ? (BaseClass*)ptr : this, stream, dictionary);
  }
  void SetParent(BaseClass* p) override {
    Parent = p;
    for (int i = 0; i < this->NValues; i++)
      if (this->Values[i]) this->Values[i]->SetParent(this);
  }
  // Appends a new object of each source element's class to the target and
  // copies the element into it; empty slots stay empty.
  bool CopyTo(void* ptr, void*, BaseClass* toClass, void* to, void*, int options) override {
    auto* source = ptr ? static_cast<ClassArray*>((BaseClass*)ptr) : this;
    auto* target = dynamic_cast<ClassArray*>(to ? (BaseClass*)to : toClass);
    if (!target || target == source) return target != nullptr;
    for (int i = 0; i < source->NValues; i++) {
      T* e = source->Values[i];
      if (!e) {
        target->Add(nullptr);
        continue;
      }
      T* made = dynamic_cast<T*>(e->New());
      if (!made) continue;
      made->SetParent(target);
      e->CopyTo(e, nullptr, made, made, nullptr, options);
      target->Add(made);
    }
    return true;
  }
};

// Files cannot tell the two arrays apart: a ClonesArray reports the class
// name of ClassArray<T> and differs only in what "add..." offers.
template <class T>
class ClonesArray : public ClassArray<T> {
 public:
  BaseClass* New() override {
    auto* a = new ClonesArray<T>;
    if (a) a->SetParentOnly(this);
    return a;
  }
  int GetExpansionRules() override { return kExpandOwnClass; }
};
