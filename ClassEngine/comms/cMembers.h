// The member classes of the comms classes. Most are the BaseClass member
// classes under the names the comms files use (_cInt is an _int, _cImageFile a
// _str holding a path), so they read and write the same text. New here are the
// float and int vectors, written as numbers separated by blanks in the C
// locale ("0.500000 1.000000 0.000000"), and the command button _cButton.
// Their text form is in cMembersXml.cpp; their binary form is the raw field.
#pragma once
#include "ClassEngine/MemberClasses.h"
#include "ClassEngine/Enumerator.h"
#include "ClassEngine/Method.h"

namespace comms {

#define MV_CMEMBER(Type, Base) \
  class Type : public Base {   \
    MV_MEMBER_CLASS(Type)      \
  };

MV_CMEMBER(_cInt, _int)
MV_CMEMBER(_cFloat, _float)
MV_CMEMBER(_cBool, _bool)
MV_CMEMBER(_cStr, _str)
MV_CMEMBER(_cIndex, _index)
MV_CMEMBER(_cColor, _color)
MV_CMEMBER(_cBind, _int)  // a key code
MV_CMEMBER(_cImageID, _TextureID)
MV_CMEMBER(_cSliderI, CtrlISlider)
MV_CMEMBER(_cSliderF, CtrlFSlider)
MV_CMEMBER(_cEditSliderI, CtrlISlider)
MV_CMEMBER(_cEditSliderF, CtrlFSlider)
MV_CMEMBER(_cSliderRangedI, CtrlISlider)
MV_CMEMBER(_cSliderRangedF, CtrlFSlider)
// Paths of files, by kind: the kind decides the file filter of the panel.
MV_CMEMBER(_cImageFile, _str)
MV_CMEMBER(_cSoundFile, _str)
MV_CMEMBER(_cModelFile, _str)
MV_CMEMBER(_cAnimFile, _str)
MV_CMEMBER(_cCameraFile, _str)
MV_CMEMBER(_cBspFile, _str)
MV_CMEMBER(_cXmlFile, _str)
// Rows without a value: a text, a separator line.
MV_CMEMBER(_cLabel, Delimiter)
MV_CMEMBER(_cSeparator, Delimiter)
#undef MV_CMEMBER

// N numbers of type T held as an array in the owner (cVec3, int[2], ...).
template <class T, int N>
class VectorMember : public RawMember<int(sizeof(T)) * N> {
 public:
  bool CheckType(const char*, int size) override { return size == int(sizeof(T)) * N; }
  bool Save(XmlNode* xml, void* ptr, void* extra) override;
  bool Load(XmlNode* xml, void* ptr, ErrorCollector* error, void* extra) override;
  bool GetValueByName(DString& out, void* ptr, void* extra, const char* name) override;
};

#define MV_CVECTOR(Type, T, N)            \
  class Type : public VectorMember<T, N> { \
    MV_MEMBER_CLASS(Type)                  \
  };
MV_CVECTOR(_cFloat2, float, 2)
MV_CVECTOR(_cFloat3, float, 3)
MV_CVECTOR(_cFloat4, float, 4)
MV_CVECTOR(_cVec2i, int, 2)
MV_CVECTOR(_cVec3i, int, 3)
#undef MV_CVECTOR

// A command button of a comms class: a _method under the comms name.
template <class T>
class _cButton : public _method<T> {
 public:
  using _method<T>::_method;
  const char* GetClassName() override { return "_cButton"; }
  static const char* StaticClassName() { return "_cButton"; }
  BaseClass* New() override {
    auto* b = new _cButton<T>(this->Fn);
    if (b) b->SetParentOnly(this);
    return b;
  }
  ClassDescriptor* GetDescriptor() override { return GetClassDescriptor("_cButton"); }
};

// The comms name of Enumerator: the values of a _cIndex.
using cEnum = Enumerator;

}  // namespace comms
