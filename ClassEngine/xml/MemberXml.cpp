// The value text of each member class in a class file: decimal integers,
// "%08X" words and colours, "%f" floats, "true"/"false", enumerator names,
// texture file names. Numbers go through the C locale (CNumbers.h). The
// classes are declared in MemberClasses.h; their binary form is in
// streams/ClassBin.cpp.
#include <cstdint>

#include "ClassEngine/Enumerator.h"
#include "ClassEngine/MemberClasses.h"
#include "ClassEngine/xml/CNumbers.h"
#include "ClassEngine/xml/ErrorCollector.h"
#include "ClassEngine/xml/TextureSeam.h"
#include "ClassEngine/xml/XmlNode.h"

namespace {

template <class T>
bool SaveDecimal(XmlNode* xml, void* ptr) {
  if (!xml || !ptr) return false;
  char text[32];
  FormatC(text, sizeof text, "%d", (int)*(T*)ptr);
  xml->Assign(text);
  return true;
}

// Reads one "%d" field; `what` names the type in the complaint.
template <class T>
bool LoadDecimal(XmlNode* xml, void* ptr, ErrorCollector* error, const char* what) {
  if (!xml || !ptr) return false;
  int v = 0;
  if (ScanC(xml->Value(), "%d", &v) != 1) {
    if (error) error->Report("unable to read %s from XML: %s\n", what, xml->Value());
    return false;
  }
  *(T*)ptr = (T)v;
  return true;
}

bool SaveHex(XmlNode* xml, void* ptr) {
  if (!xml || !ptr) return false;
  char text[16];
  FormatC(text, sizeof text, "%08X", *(uint32_t*)ptr);
  xml->Assign(text);
  return true;
}

bool LoadHex(XmlNode* xml, void* ptr, ErrorCollector* error) {
  if (!xml || !ptr) return false;
  unsigned v = 0;
  if (ScanC(xml->Value(), "%X", &v) != 1) {
    if (error) error->Report("unable to read DWORD from XML: %s\n", xml->Value());
    return false;
  }
  *(uint32_t*)ptr = v;
  return true;
}

char Lower(char c) { return c >= 'A' && c <= 'Z' ? (char)(c - 'A' + 'a') : c; }
}  // namespace

bool _int::Save(XmlNode* xml, void* ptr, void*) { return SaveDecimal<int>(xml, ptr); }
bool _int::Load(XmlNode* xml, void* ptr, ErrorCollector* error, void*) {
  return LoadDecimal<int>(xml, ptr, error, "DWORD");
}

bool _DWORD::Save(XmlNode* xml, void* ptr, void*) { return SaveHex(xml, ptr); }
bool _DWORD::Load(XmlNode* xml, void* ptr, ErrorCollector* error, void*) {
  return LoadHex(xml, ptr, error);
}

bool _color::Save(XmlNode* xml, void* ptr, void*) { return SaveHex(xml, ptr); }
bool _color::Load(XmlNode* xml, void* ptr, ErrorCollector* error, void*) {
  return LoadHex(xml, ptr, error);
}

bool _float::Save(XmlNode* xml, void* ptr, void*) {
  if (!xml || !ptr) return false;
  char text[64];
  FormatC(text, sizeof text, "%f", (double)*(float*)ptr);
  xml->Assign(text);
  return true;
}
bool _float::Load(XmlNode* xml, void* ptr, ErrorCollector* error, void*) {
  if (!xml || !ptr) return false;
  float v = 0;
  if (ScanC(xml->Value(), "%f", &v) != 1) {
    if (error) error->Report("unable to read float from XML: %s\n", xml->Value());
    return false;
  }
  *(float*)ptr = v;
  return true;
}

bool _bool::Save(XmlNode* xml, void* ptr, void*) {
  if (!xml || !ptr) return false;
  xml->Assign(*(bool*)ptr ? "true" : "false");
  return true;
}
// Anything but a text beginning with "true" (any case, after blanks) is
// false: "1" and "yes" too. Old files rely on that.
bool _bool::Load(XmlNode* xml, void* ptr, ErrorCollector*, void*) {
  if (!xml || !ptr) return false;
  const char* s = xml->Value();
  while (*s == ' ' || *s == '\t') s++;
  bool v = true;
  for (int i = 0; i < 4; i++) v = v && Lower(s[i]) == "true"[i];
  *(bool*)ptr = v;
  return true;
}

bool _BYTE::Save(XmlNode* xml, void* ptr, void*) { return SaveDecimal<uint8_t>(xml, ptr); }
bool _BYTE::Load(XmlNode* xml, void* ptr, ErrorCollector* error, void*) {
  return LoadDecimal<uint8_t>(xml, ptr, error, "BYTE");
}
bool _char::Save(XmlNode* xml, void* ptr, void*) { return SaveDecimal<signed char>(xml, ptr); }
bool _char::Load(XmlNode* xml, void* ptr, ErrorCollector* error, void*) {
  return LoadDecimal<signed char>(xml, ptr, error, "char");
}
bool _WORD::Save(XmlNode* xml, void* ptr, void*) { return SaveDecimal<uint16_t>(xml, ptr); }
bool _WORD::Load(XmlNode* xml, void* ptr, ErrorCollector* error, void*) {
  return LoadDecimal<uint16_t>(xml, ptr, error, "WORD");
}
bool _short::Save(XmlNode* xml, void* ptr, void*) { return SaveDecimal<int16_t>(xml, ptr); }
bool _short::Load(XmlNode* xml, void* ptr, ErrorCollector* error, void*) {
  return LoadDecimal<int16_t>(xml, ptr, error, "short");
}

bool _str::Save(XmlNode* xml, void* ptr, void*) {
  if (!xml) return false;
  xml->Assign((ptr ? At(ptr) : this)->cpchar());
  return true;
}
bool _str::Load(XmlNode* xml, void* ptr, ErrorCollector*, void*) {
  if (!xml) return false;
  (ptr ? At(ptr) : this)->Assign(xml->Value());
  return true;
}

// An index is stored by its enumerator name, so files survive reordered values.
bool _index::Save(XmlNode* xml, void* ptr, void* extra) {
  if (!xml || !ptr) return false;
  if (!extra) return SaveDecimal<int>(xml, ptr);
  xml->Assign(static_cast<Enumerator*>(extra)->Get(*(int*)ptr));
  return true;
}
// An unknown or empty name falls back to the first entry, never fails.
bool _index::Load(XmlNode* xml, void* ptr, ErrorCollector* error, void* extra) {
  if (!xml || !ptr) return false;
  auto* e = static_cast<Enumerator*>(extra);
  if (!e) {
    if (error)
      error->Report("Enumerator not assigned for type \"_index\" for variable %s\n",
                    xml->GetName());
    return false;
  }
  const char* name = xml->Value();
  if (*name && e->GetIndex(name) >= 0)
    *(int*)ptr = e->Get(name);
  else
    *(int*)ptr = e->GetStoredAmount() > 0 ? e->Values[0] : 0;
  return true;
}

// The file holds the texture's name; an unset id (-1) writes nothing.
bool _TextureID::Save(XmlNode* xml, void* ptr, void*) {
  if (!xml || !ptr) return false;
  if (const char* name = TextureNameOf(*(int*)ptr)) xml->Assign(name);
  return true;
}
bool _TextureID::Load(XmlNode* xml, void* ptr, ErrorCollector*, void*) {
  if (!xml || !ptr) return false;
  *(int*)ptr = LoadTextureByName(xml->Value());
  return true;
}
