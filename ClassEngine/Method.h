// _method<T>: a member function of T shown as a button of the panel. It has no
// value: the class-files layer saves and loads nothing for it.
#pragma once
#include "ClassEngine/BaseClass.h"

template <class T>
class _method : public BaseClass {
 public:
  using Function = void (T::*)();
  Function Fn = nullptr;

  _method() = default;
  explicit _method(Function fn) : Fn(fn) {}
  const char* GetClassName() override { return "_method"; }
  static const char* StaticClassName() { return "_method"; }
  BaseClass* New() override {
    auto* m = new _method<T>(Fn);
    if (m) m->SetParentOnly(this);
    return m;
  }
  ClassDescriptor* GetDescriptor() override { return GetClassDescriptor("_method"); }
  int GetAmountOfElements() override { return 0; }
  bool IsCompound() override { return false; }
  bool IsMethod() override { return true; }
  void Call(BaseClass* object) override {
    if (T* t = dynamic_cast<T*>(object); t && Fn) (t->*Fn)();
  }
  void Reset(void*) override {}
  bool CopyTo(void*, void*, BaseClass*, void*, void*, int) override { return true; }
  // A button has no value: nothing goes to a file, nothing comes back.
  bool Save(XmlNode*, void*, void*) override { return true; }
  bool Load(XmlNode*, void*, ErrorCollector*, void*) override { return true; }
  bool SaveBin(void*, void*, BinStream*, Enumerator*, Enumerator*) override { return true; }
  bool LoadBin(void*, void*, BinStream*, Enumerator*) override { return true; }
};

template <class T>
void BaseClass::Method(void (T::*fn)(), const char* name) {
  // One object per registered button, kept for the process like the prototypes.
  AddMethodRecord(new _method<T>(fn), name);
}
