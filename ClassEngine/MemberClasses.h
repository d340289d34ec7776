// The member classes: prototypes that handle one raw field of an owner object
// (an int, a float, a packed colour, an embedded _str). Each is registered
// under exactly its class name; its CheckType accepts the field types it
// can handle, and its CopyTo copies the raw value.
//
// A member class's whole behaviour is in three places, by form:
//   here and MemberClasses.cpp   reset, copy, type check, "value" text for panels;
//   xml/MemberXml.cpp            Save/Load: the value text in class files (MV_XML_FORM);
//   streams/ClassBin.cpp         SaveBin/LoadBin: raw field bytes, strings with
//                                their length byte or dictionary index.
#pragma once
#include <cstdint>
#include <cstring>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/DString.h"

// The name, factory and descriptor of a member class.
#define MV_MEMBER_CLASS(Type)                                                       \
 public:                                                                            \
  static const char* StaticClassName() { return #Type; }                            \
  const char* GetClassName() override { return #Type; }                             \
  BaseClass* New() override {                                                       \
    Type* o = new Type;                                                             \
    if (o) o->SetParentOnly(this);                                                  \
    return o;                                                                       \
  }                                                                                 \
  static ClassDescriptor* StaticDescriptor() {                                      \
    static ClassDescriptor* d = GetClassDescriptor(#Type);                          \
    return d;                                                                       \
  }                                                                                 \
  ClassDescriptor* GetDescriptor() override { return StaticDescriptor(); }

// The value text of a member class in XML (xml/MemberXml.cpp).
#define MV_XML_FORM                                                                 \
  bool Save(XmlNode* xml, void* ptr, void* extra) override;                         \
  bool Load(XmlNode* xml, void* ptr, ErrorCollector* error, void* extra) override;

// Raw little-endian field bytes of the binary form (streams/ClassBin.cpp);
// false when the stream ended early.
bool WriteRawField(BinStream* stream, const void* field, int size);
bool ReadRawField(BinStream* stream, void* field, int size);

// Common behaviour of a member held as Size raw bytes: no elements, reset
// to zero, copy by bytes, and the same bytes in binary streams.
template <int Size>
class RawMember : public BaseClass {
 public:
  int GetAmountOfElements() override { return 0; }
  bool IsCompound() override { return false; }
  void Reset(void* ptr) override {
    if (ptr) memset(ptr, 0, Size);
  }
  bool CopyTo(void* ptr, void*, BaseClass*, void* to, void*, int) override {
    if (ptr && to && ptr != to) memcpy(to, ptr, Size);
    return ptr && to;
  }
  bool SaveBin(void* ptr, void*, BinStream* stream, Enumerator*, Enumerator*) override {
    return WriteRawField(stream, ptr, Size);
  }
  bool LoadBin(void* ptr, void*, BinStream* stream, Enumerator*) override {
    return ReadRawField(stream, ptr, Size);
  }
};

class _int : public RawMember<4> {
  MV_MEMBER_CLASS(_int)
  MV_XML_FORM
  bool CheckType(const char*, int size) override { return size == 4; }
  bool GetValueByName(DString& out, void* ptr, void* extra, const char* name) override;
};

class _DWORD : public RawMember<4> {
  MV_MEMBER_CLASS(_DWORD)
  MV_XML_FORM
  bool GetValueByName(DString& out, void* ptr, void* extra, const char* name) override;
};

class _float : public RawMember<4> {
  MV_MEMBER_CLASS(_float)
  MV_XML_FORM
  bool CheckType(const char* typeName, int) override;
  bool GetValueByName(DString& out, void* ptr, void* extra, const char* name) override;
};

class _bool : public RawMember<1> {
  MV_MEMBER_CLASS(_bool)
  MV_XML_FORM
  // Any byte but 0 reads as true, so a field never holds another value.
  bool LoadBin(void* ptr, void* extra, BinStream* stream, Enumerator* dictionary) override;
  bool CheckType(const char*, int size) override { return size == 1; }
  bool GetValueByName(DString& out, void* ptr, void* extra, const char* name) override;
};

class _BYTE : public RawMember<1> {
  MV_MEMBER_CLASS(_BYTE)
  MV_XML_FORM
  bool GetValueByName(DString& out, void* ptr, void* extra, const char* name) override;
};

class _char : public RawMember<1> {
  MV_MEMBER_CLASS(_char)
  MV_XML_FORM
  bool GetValueByName(DString& out, void* ptr, void* extra, const char* name) override;
};

class _WORD : public RawMember<2> {
  MV_MEMBER_CLASS(_WORD)
  MV_XML_FORM
  bool GetValueByName(DString& out, void* ptr, void* extra, const char* name) override;
};

class _short : public RawMember<2> {
  MV_MEMBER_CLASS(_short)
  MV_XML_FORM
  bool GetValueByName(DString& out, void* ptr, void* extra, const char* name) override;
};

// An int holding a value of the Enumerator given as the member's Extra.
class _index : public RawMember<4> {
  MV_MEMBER_CLASS(_index)
  MV_XML_FORM
  bool CheckType(const char*, int size) override { return size == 4; }
  bool GetValueByName(DString& out, void* ptr, void* extra, const char* name) override;
};

// A packed 0xAARRGGBB colour.
class _color : public RawMember<4> {
  MV_MEMBER_CLASS(_color)
  MV_XML_FORM
  bool CheckType(const char*, int size) override { return size == 4; }
  bool GetValueByName(DString& out, void* ptr, void* extra, const char* name) override;
};

// An int texture handle of the renderer.
class _TextureID : public RawMember<4> {
  MV_MEMBER_CLASS(_TextureID)
  MV_XML_FORM
  bool CheckType(const char*, int size) override { return size == 4; }
};

// Range records, the Extra of the sliders.
struct IntSliderRange {
  int Min;
  int Max;
};
struct FloatSliderRange {
  float Min;
  float Max;
};
// Records that live for the run, for registration calls.
IntSliderRange* NewIntSliderRange(int min, int max);
FloatSliderRange* NewFloatSliderRange(float min, float max);

class CtrlISlider : public _int {
  MV_MEMBER_CLASS(CtrlISlider)
};

class CtrlFSlider : public _float {
  MV_MEMBER_CLASS(CtrlFSlider)
};

// A separator row of generated panels. It has no value and is never saved;
// all Delimiter members point at one shared object.
class Delimiter : public BaseClass {
  MV_MEMBER_CLASS(Delimiter)
  int GetAmountOfElements() override { return 0; }
  bool IsCompound() override { return false; }
  bool IsSimplified() override { return true; }
  void Reset(void*) override {}
  bool CopyTo(void*, void*, BaseClass*, void*, void*, int) override { return true; }
  // A separator has no value: nothing goes to a file, nothing comes back.
  bool Save(XmlNode*, void*, void*) override { return true; }
  bool Load(XmlNode*, void*, ErrorCollector*, void*) override { return true; }
  bool SaveBin(void*, void*, BinStream*, Enumerator*, Enumerator*) override { return true; }
  bool LoadBin(void*, void*, BinStream*, Enumerator*) override { return true; }
};
Delimiter& TheDelimiter();

// The reflected string: a DString that is also a BaseClass, embedded in its
// owner as a field.
class _str : public BaseClass, public DString {
  MV_MEMBER_CLASS(_str)
  MV_XML_FORM
  _str() = default;
  _str(const char* s) : DString(s) {}
  _str(const _str& s) : BaseClass(), DString(s) {}
  _str& operator=(const _str& s) {
    DString::operator=(s);
    return *this;
  }
  _str& operator=(const char* s) {
    DString::Assign(s);
    return *this;
  }
  int GetAmountOfElements() override { return 0; }
  bool IsCompound() override { return false; }
  void Reset(void* ptr) override;
  bool CopyTo(void* ptr, void* extra, BaseClass* toClass, void* to, void* toExtra,
              int options) override;
  const char* GetView(void*) override { return cpchar(); }
  bool GetValueByName(DString& out, void* ptr, void* extra, const char* name) override;
  bool SaveBin(void* ptr, void* extra, BinStream* stream, Enumerator* dictionary,
               Enumerator* skip = nullptr) override;
  bool LoadBin(void* ptr, void* extra, BinStream* stream, Enumerator* dictionary) override;
  // The _str at a member address (the address of its BaseClass part).
  static _str* At(void* ptr) { return ptr ? static_cast<_str*>((BaseClass*)ptr) : nullptr; }
};

// A _str shown as a reference to another object's name.
class _str_ref : public _str {
  MV_MEMBER_CLASS(_str_ref)
};
