// The member classes' text values, the shared Delimiter, slider ranges, and
// the one function that registers the engine's own classes.
#include "ClassEngine/MemberClasses.h"

#include <charconv>
#include <cstdio>
#include <typeinfo>

#include "ClassEngine/Enumerator.h"

namespace {
bool IsValue(const char* name) { return name && strcmp(name, "value") == 0; }

bool PutInt(DString& out, long long v) {
  char buf[32];
  snprintf(buf, sizeof(buf), "%lld", v);
  out = buf;
  return true;
}
}  // namespace

bool _int::GetValueByName(DString& out, void* ptr, void*, const char* name) {
  return IsValue(name) && ptr && PutInt(out, *(int*)ptr);
}
bool _DWORD::GetValueByName(DString& out, void* ptr, void*, const char* name) {
  return IsValue(name) && ptr && PutInt(out, *(uint32_t*)ptr);
}
bool _bool::GetValueByName(DString& out, void* ptr, void*, const char* name) {
  if (!IsValue(name) || !ptr) return false;
  out = *(bool*)ptr ? "true" : "false";
  return true;
}
bool _BYTE::GetValueByName(DString& out, void* ptr, void*, const char* name) {
  return IsValue(name) && ptr && PutInt(out, *(uint8_t*)ptr);
}
bool _char::GetValueByName(DString& out, void* ptr, void*, const char* name) {
  return IsValue(name) && ptr && PutInt(out, *(signed char*)ptr);
}
bool _WORD::GetValueByName(DString& out, void* ptr, void*, const char* name) {
  return IsValue(name) && ptr && PutInt(out, *(uint16_t*)ptr);
}
bool _short::GetValueByName(DString& out, void* ptr, void*, const char* name) {
  return IsValue(name) && ptr && PutInt(out, *(int16_t*)ptr);
}

bool _float::CheckType(const char* typeName, int) {
  return typeName && strcmp(typeName, typeid(float).name()) == 0;
}
bool _float::GetValueByName(DString& out, void* ptr, void*, const char* name) {
  if (!IsValue(name) || !ptr) return false;
  char buf[64];
  // Shortest text that reads back to the same float, always with a point.
  auto r = std::to_chars(buf, buf + sizeof(buf) - 1, *(float*)ptr);
  *r.ptr = 0;
  out = buf;
  return true;
}

bool _index::GetValueByName(DString& out, void* ptr, void* extra, const char* name) {
  if (!IsValue(name) || !ptr) return false;
  if (!extra) return PutInt(out, *(int*)ptr);
  out = static_cast<Enumerator*>(extra)->Get(*(int*)ptr);
  return true;
}

bool _color::GetValueByName(DString& out, void* ptr, void*, const char* name) {
  if (!IsValue(name) || !ptr) return false;
  char buf[16];
  snprintf(buf, sizeof(buf), "%08X", *(uint32_t*)ptr);
  out = buf;
  return true;
}

IntSliderRange* NewIntSliderRange(int min, int max) { return new IntSliderRange{min, max}; }
FloatSliderRange* NewFloatSliderRange(float min, float max) {
  return new FloatSliderRange{min, max};
}

Delimiter& TheDelimiter() {
  static Delimiter* d = new Delimiter;
  return *d;
}

void _str::Reset(void* ptr) {
  if (_str* s = ptr ? At(ptr) : this) s->Clear();
}

bool _str::CopyTo(void* ptr, void*, BaseClass*, void* to, void*, int) {
  _str* from = ptr ? At(ptr) : this;
  _str* target = At(to);
  if (!target) return false;
  if (from != target) target->Assign(from->cpchar());
  return true;
}

bool _str::GetValueByName(DString& out, void* ptr, void*, const char* name) {
  if (!IsValue(name)) return false;
  out = (ptr ? At(ptr) : this)->cpchar();
  return true;
}

void RegisterClassEngineClasses() {
  static bool done = false;
  if (done) return;
  done = true;
  BaseClass base;
  RegisterClass(&base, nullptr, "BaseClass");
  auto add = [](auto model) { RegisterClass(&model, nullptr, model.GetClassName()); };
  add(_int());
  add(_DWORD());
  add(_float());
  add(_bool());
  add(_BYTE());
  add(_char());
  add(_WORD());
  add(_short());
  add(_str());
  add(_str_ref());
  add(_index());
  add(_color());
  add(_TextureID());
  add(Delimiter());
  add(CtrlISlider());
  add(CtrlFSlider());
  GetClassDescriptor("_method");  // each button carries its own object
}
