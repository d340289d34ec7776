// BaseClass: the root of every reflected class. A class describes its members
// once, in registration order and base members first; from that list come
// deep copy, the panels the user edits (rows, "add..." rows, hints) and, in the
// class-files layer, the XML and binary forms. Member values live in the
// owner's own fields: the member classes (_int, _str, ...) are prototypes that
// know how to handle a field at a given address.
//
// A class is declared with MV_CLASS, which ends in the head of the function
// that lists the class's own members:
//
//   class Brush : public BaseClass {
//    public:
//     int Radius = 10;
//     _str Name;
//     MV_CLASS(Brush, BaseClass) {
//       Member("_int", Radius, "Radius");
//       Member("_str", Name, "Name");
//     }
//   };
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include "ClassEngine/NameTable.h"
#include "ClassEngine/dynarray.h"

class BaseClass;
class DString;
class Enumerator;
class XmlNode;         // the XML tree of the class-files layer
class BinStream;       // the binary streams
class ErrorCollector;  // gathers load errors in the class-files layer

// Accessors of a member, all optional. A getter's value is a 32-bit word
// (an int, a float's bits, a packed colour); a setter runs after the value
// was loaded or copied.
using MemberGetValue = uint32_t (*)(BaseClass* object);
using MemberGetPointer = void* (*)(BaseClass* object);
using MemberSetValue = void (*)(BaseClass* object, uint32_t value);
using MemberSetPointer = void (*)(BaseClass* object, void* value);

// An offset below this is relative to the object; from it up, an address.
constexpr intptr_t kStaticAddressFloor = 1000000;

// Element indices are masked (only members passing GetClassMask count). An
// index of kPlainElementIndex + k names member k of the full list directly,
// whatever the mask: the binary form stores such plain indices.
constexpr int kPlainElementIndex = 0x1000000;

struct MemberRecord {
  BaseClass* Class;  // prototype of the member's class
  char* Name;        // XML tag and text key; display prefix characters stay in it
  intptr_t Offset;   // from the object, or the address of a static member
  uint8_t DisplayFlagA;
  uint8_t DisplayFlagB;
  uint8_t IsStatic;
  uint8_t NoSave;
  void* Extra;  // Enumerator* for _index, a range record for sliders, ...
  MemberGetValue GetValue;
  MemberGetPointer GetPointer;
  MemberSetValue SetValue;
  MemberSetPointer SetPointer;
  char* OwnerClass;  // class that declared the member
  uint8_t IsBase;    // an embedded base-class part
  unsigned Mask;     // ANDed with the object's GetClassMask()
};

struct ClassDescriptor {
  int ID = -1;
  BaseClass* Prototype = nullptr;
  DynArray<MemberRecord> Members;
  DynArray<char*> Children;  // classes deriving from this one
  DynArray<char*> Parents;   // its base classes
  NameTable MemberNames;
  DynArray<int> MemberOfName;  // first member index of each entry of MemberNames
  char* Category = nullptr;
  char* Name = nullptr;

  // Index in Members of the first member called `name`, or -1.
  int FindMember(const char* name) const;
};

// Classes an "add..." row offers. Groups holds category names when the
// classes fall in two or more categories; ClassGroup then gives each class's
// group, else both are empty.
struct ExpansionList {
  std::vector<std::string> Classes;
  std::vector<int> ClassGroup;
  std::vector<std::string> Groups;
};

// Panel row selection flags.
enum EditableRows {
  kRowsWithoutSubRows = 1,
  kRowsWithSubRows = 2,
  kRowsAll = 3,
  kRowAddNew = 4,
};

// Expansion rule bits.
enum ExpansionRules {
  kExpandOwnClass = 1,
  kExpandDerived = 2,
  kExpandShowAddRow = 4,
  kExpandSingle = 8,
};

class BaseClass {
 public:
  BaseClass* Parent = nullptr;

  BaseClass() = default;
  // A copy is a new object: it has no owner yet.
  BaseClass(const BaseClass&) : Parent(nullptr) {}
  BaseClass& operator=(const BaseClass&) { return *this; }

  // Objects live on the program's allocator; a failed allocation gives null.
  static void* operator new(size_t size) noexcept;
  static void operator delete(void* p) noexcept;

  virtual ~BaseClass() = default;
  virtual void Reset(void* ptr = nullptr);
  // The XML and binary forms live in the class-files layer (xml/ClassXml.cpp,
  // streams/ClassBin.cpp); the member classes override them for their fields.
  virtual bool Save(XmlNode* xml, void* ptr = nullptr, void* extra = nullptr);
  virtual bool Load(XmlNode* xml, void* ptr = nullptr, ErrorCollector* error = nullptr,
                    void* extra = nullptr);
  virtual const char* GetClassName() { return "BaseClass"; }
  virtual void RegisterMembers() {}
  virtual int GetAmountOfElements();
  virtual const char* GetElementID(int i);
  virtual const char* GetElementView(int i, void* ptr);
  virtual const char* GetView(void* /*param*/) { return nullptr; }
  virtual BaseClass* GetElementClass(int i);
  virtual void* GetElementPtr(int i, void* ptr);
  virtual void* GetElementExtra(int i);
  virtual bool DelElement(int /*i*/) { return false; }
  virtual bool LoadExternalSources(XmlNode* xml, void* extra);
  virtual bool IsCompound();
  virtual int ExpandWith(const char* /*className*/, BaseClass* /*owner*/) { return -1; }
  virtual int GetExpansionRules() { return 0; }
  virtual const char* GetExpansionBase() { return nullptr; }
  virtual bool IsSimplified() { return Parent ? Parent->IsSimplified() : false; }
  virtual bool Reserved0() { return false; }
  virtual bool MoveElement(int /*i*/, int /*shift*/) { return false; }
  virtual bool AcceptsClass(const char* /*name*/) { return true; }
  virtual bool CopyTo(void* ptr, void* extra, BaseClass* toClass, void* to, void* toExtra,
                      int options = 0);
  // `skip` names members left out of the binary form; null leaves none out.
  virtual bool SaveBin(void* ptr, void* extra, BinStream* stream, Enumerator* dictionary,
                       Enumerator* skip = nullptr);
  virtual bool LoadBin(void* ptr, void* extra, BinStream* stream, Enumerator* dictionary);
  virtual bool ReadFromFile(const char* name);
  virtual bool SafeReadFromFile(const char* name) { return ReadFromFile(name); }
  virtual bool WriteToFile(const char* name);
  virtual bool Copy(BaseClass* from, bool keepOld = false);
  virtual void* Reserved1() { return nullptr; }
  virtual int GetAmountOfEditableElements(void* ptr, int flags);
  virtual int GetEditableElementIndex(int row, void* ptr, int flags);
  virtual BaseClass* GetEditableElementClass(int row, void* ptr, int flags);
  virtual void* GetEditableElementPtr(int row, void* ptr, int flags);
  virtual void* GetEditableElementExtra(int row, void* ptr, int flags);
  virtual bool GetEditableElementExpansionList(ExpansionList& list, int row, void* ptr, int flags,
                                               const char* filter = nullptr,
                                               void* param = nullptr);
  virtual bool ElementHasSubElements(int i, void* ptr);
  virtual bool EditableElementHasSubElements(int row, void* ptr, int flags);
  virtual const char* GetEditableElementID(int row, void* ptr, int flags);
  virtual void GetEditableElementView(int row, void* ptr, DString& view, int flags);
  virtual bool GetHint(DString& out, void* ptr, BaseClass* object, const char* name);
  virtual void OnCall() {}
  virtual bool IsMethod() { return false; }
  virtual void Call(BaseClass* /*object*/) { OnCall(); }
  virtual void Reserved2() {}
  virtual uint8_t GetDisplayFlagA(int row, void* ptr, int flags);
  virtual uint8_t GetDisplayFlagB(int row, void* ptr, int flags);
  virtual unsigned GetClassMask() { return 0xFFFFFFFFu; }
  virtual int GetRealIndex(int i);
  // Named objects: a class that links by name overrides all four.
  virtual class _str* GetObjectName() { return nullptr; }
  virtual bool IsNamed() { return false; }
  virtual int GetObjectID() { return -1; }
  virtual void SetObjectID(int /*id*/) {}
  virtual BaseClass* GetParent() { return Parent; }
  virtual void SetParent(BaseClass* p);
  virtual void SetParentOnly(BaseClass* p) { Parent = p; }
  virtual bool CheckType(const char* /*typeName*/, int /*size*/) { return true; }
  virtual bool SaveOnlyChanged() { return false; }
  virtual bool GetValueByName(DString& out, void* ptr, void* extra, const char* name);
  virtual void Reserved3() {}
  virtual bool OnChange(BaseClass* /*cls*/, void* /*ptr*/, void* /*extra*/,
                        const char* /*name*/) {
    return false;
  }
  virtual void Reserved4() {}
  virtual int GetProperty(const char* /*name*/) { return 0; }
  virtual void OnDrop(BaseClass* /*item*/, int /*position*/) {}
  virtual int CanDrag() { return 0; }
  virtual int CanDrop(BaseClass* /*item*/) { return 0; }
  virtual BaseClass* New();
  virtual ClassDescriptor* GetDescriptor() { return nullptr; }

  static const char* StaticClassName() { return "BaseClass"; }
  static ClassDescriptor* StaticDescriptor() { return nullptr; }

  // Masked index of the member called `name`, or -1.
  int FindElement(const char* name);
  // The member record behind element i, or null (array elements have none).
  const MemberRecord* GetMemberRecord(int i);
  // Runs the SetValue or SetPointer accessor of element i after its value
  // at `value` changed.
  void RunSetAccessor(int i, void* ptr, void* value);

 protected:
  // Registration, called from inside the member list of MV_CLASS.
  template <class F>
  void Member(const char* className, F& field, const char* name, void* extra = nullptr) {
    if constexpr (std::is_base_of_v<BaseClass, F>) {
      if constexpr (std::is_default_constructible_v<F> && !std::is_abstract_v<F>) {
        F model;
        EnsureRegistered(&model, className);
      }
      AddMember(className, static_cast<BaseClass*>(&field), name, extra, typeid(F).name(),
                (int)sizeof(F), false);
    } else {
      AddMember(className, &field, name, extra, typeid(F).name(), (int)sizeof(F), false);
    }
  }
  // A compound member registered under its own class name.
  template <class F>
  void Member(F& field, const char* name, void* extra = nullptr) {
    static_assert(std::is_base_of_v<BaseClass, F>);
    Member(field.GetClassName(), field, name, extra);
  }
  // An embedded base-class part shown as one element.
  template <class F>
  void BasePart(F& part, const char* name) {
    EnsureRegistered(&part, part.GetClassName());
    AddMember(part.GetClassName(), static_cast<BaseClass*>(&part), name, nullptr,
              typeid(F).name(), (int)sizeof(F), true);
  }
  // A separator row: static, never saved, one shared object.
  void AddDelimiter(const char* name);
  // A command button calling fn on the object.
  template <class T>
  void Method(void (T::*fn)(), const char* name);
  // One-shot switches for the next member; every member added clears them.
  static void NextStatic();
  static void NextNoSave();
  static void NextDisplayFlagA();
  static void NextDisplayFlagB();
  // Accessors of the member added last; refused for a static member.
  static void SetAccessors(MemberGetValue getValue, MemberGetPointer getPointer,
                           MemberSetValue setValue, MemberSetPointer setPointer);

  void AddMember(const char* className, void* address, const char* name, void* extra,
                 const char* typeName, int size, bool isBase);
  static void EnsureRegistered(BaseClass* model, const char* className);
  void AddMethodRecord(BaseClass* method, const char* name);

  // The descriptor and class name that Member() fills; set by MV_CLASS for
  // the duration of one class's own list.
  struct RegistrationScope {
    RegistrationScope(ClassDescriptor* d, const char* owner);
    ~RegistrationScope();
    ClassDescriptor* savedDescriptor;
    const char* savedOwner;
  };
  static void InheritMembers(ClassDescriptor* child, ClassDescriptor* base);

 private:
  // Element i as a row of the panel: does it open sub-rows?
  bool RowHasSubRows(int i);
  void UndefinedClass();
};

// Declares a reflected class: its registered name, factory, descriptor and
// the registration that inherits the base's members before its own. The
// macro ends in the head of the member list; the class supplies its body.
#define MV_CLASS_NAMED(Type, BaseType, NameText)                                  \
 public:                                                                           \
  static const char* StaticClassName() { return NameText; }                        \
  const char* GetClassName() override { return NameText; }                         \
  BaseClass* New() override {                                                      \
    Type* o = new Type;                                                            \
    if (o) o->SetParentOnly(this);                                                 \
    return o;                                                                      \
  }                                                                                \
  static ClassDescriptor* StaticDescriptor() {                                     \
    static ClassDescriptor* d = GetClassDescriptor(NameText);                      \
    return d;                                                                      \
  }                                                                                \
  /* An object used before its class was registered registers it. */             \
  ClassDescriptor* GetDescriptor() override {                                      \
    ClassDescriptor* d = StaticDescriptor();                                       \
    if (!d->Prototype) RegisterClass(this, nullptr, NameText);                     \
    return d;                                                                      \
  }                                                                                \
  void RegisterMembers() override {                                                \
    static bool done = false;                                                      \
    if (done) return;                                                              \
    done = true;                                                                   \
    ClassDescriptor* d = StaticDescriptor();                                       \
    if (d->Members.GetAmount() != 0) return;                                       \
    BaseType::RegisterMembers();                                                   \
    InheritMembers(d, BaseType::StaticDescriptor());                               \
    RegistrationScope scope(d, NameText);                                          \
    Type::RegisterOwnMembers();                                                    \
  }                                                                                \
  void RegisterOwnMembers()

#define MV_CLASS(Type, BaseType) MV_CLASS_NAMED(Type, BaseType, #Type)

// The registry: class descriptors by name, enumerators by name.
// The descriptor of `name`; an unknown name gets a new, empty one.
ClassDescriptor* GetClassDescriptor(const char* name);
// Null for an unknown name.
ClassDescriptor* FindClassDescriptor(const char* name);
// The prototype of `name`, or null.
BaseClass* GetClassPrototype(const char* name);
// A new object of the class `name`, or null.
BaseClass* NewObjectOfClass(const char* name);
// Registers a class by a model object; `name` may be a compiler type name
// ("class Foo"). With skipContainers, names holding a point are skipped.
void RegisterClass(BaseClass* model, const char* category, const char* name,
                   bool skipContainers = false);
int RegisteredClassCount();
ClassDescriptor* GetClassDescriptorByIndex(int index);
// The enumerator `name`, made empty if unknown.
Enumerator* GetEnumerator(const char* name);
// The record of a member of a registered class; "class not registered" box
// and null for an unknown class, null for an unknown member.
const MemberRecord* FindClassMember(const char* className, const char* memberName);
// Registers BaseClass and every member class of the engine; idempotent.
void RegisterClassEngineClasses();

// Shows a box titled "Class engine error"; the answer's index.
int ClassEngineError(const char* text);

#include "ClassEngine/Method.h"
