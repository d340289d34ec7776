// The binary form of reflected objects: compound objects store only what
// differs from a fresh, reset object of their class; arrays and pointers
// store class names and their elements; strings may go through a dictionary.
// Reading never trusts the stream: a member index out of range, an unknown
// class, a count beyond the stream or an early end stops the read, and the
// object that was being read is reset, so it is left usable and empty
// rather than half filled. The member classes (MemberClasses.h) keep their raw
// bytes here too; their XML text is in xml/MemberXml.cpp.
#include "ClassEngine/streams/ClassBin.h"

#include <cstring>
#include <string>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/Enumerator.h"
#include "ClassEngine/Log.h"
#include "ClassEngine/MemberClasses.h"
#include "ClassEngine/streams/BinString.h"
#include "ClassEngine/streams/MemoryBinStream.h"

namespace {
// Objects nest through arrays and pointers; a hostile stream could nest them
// until the stack ends. Real files stay far below this.
constexpr int kMaxNesting = 256;
thread_local int gNesting = 0;

struct NestingGuard {
  NestingGuard() { gNesting++; }
  ~NestingGuard() { gNesting--; }
  bool TooDeep() const { return gNesting > kMaxNesting; }
  bool Outermost() const { return gNesting == 1; }
};

constexpr int kMaxStored = 255;              // the count is one byte

bool SameRun(MemoryBinStream& a, int64_t aStart, MemoryBinStream& b, int64_t bStart) {
  int64_t na = a.GetWritePos() - aStart, nb = b.GetWritePos() - bStart;
  return na == nb && (na == 0 || memcmp(a.GetData() + aStart, b.GetData() + bStart, na) == 0);
}

bool Skipped(Enumerator* skip, const char* name) {
  return skip && name && skip->GetIndex(name) >= 0;
}

bool ReadName(BinStream* stream, Enumerator* dictionary, std::string& out) {
  return ReadBinString(*stream, out,
                       [dictionary](int index) { return DictionaryText(dictionary, index); });
}

void WriteName(BinStream* stream, const char* name, Enumerator* dictionary) {
  WriteBinString(*stream, name, DictionaryIndex(dictionary, name));
}

bool Fail(BaseClass* object, const NestingGuard& guard, const char* why) {
  if (guard.Outermost()) Log("%s::LoadBin(): %s; the object is reset", object->GetClassName(), why);
  object->Reset(object);
  return false;
}
}  // namespace

int DictionaryIndex(Enumerator* dictionary, const char* text) {
  if (!dictionary || !text) return -1;
  int i = dictionary->GetIndex(text);
  // The index travels as a signed 16-bit word, where -1 means none.
  return i >= 0 && i <= 0x7FFF ? i : -1;
}

const char* DictionaryText(Enumerator* dictionary, int index) {
  if (!dictionary || index < 0) return nullptr;
  int stored = dictionary->GetStoredAmount();
  if (index < stored) return dictionary->Names.Get(index);
  if (dictionary->Dynamic && index - stored < dictionary->Dynamic->GetAmount())
    return dictionary->Dynamic->GetName(index - stored);
  return nullptr;
}

bool WriteRawField(BinStream* stream, const void* field, int size) {
  if (!stream) return false;
  static const uint8_t zero[8] = {};
  // A member without an address still takes its bytes, so the stream stays in step.
  stream->Write(field ? field : zero, size);
  return true;
}

bool ReadRawField(BinStream* stream, void* field, int size) {
  uint8_t bytes[8];
  if (!stream || size > (int)sizeof bytes || stream->Read(bytes, size) != size) return false;
  if (field) memcpy(field, bytes, size);
  return true;
}

bool _bool::LoadBin(void* ptr, void*, BinStream* stream, Enumerator*) {
  uint8_t b = 0;
  if (!ReadRawField(stream, &b, 1)) return false;
  if (ptr) *(bool*)ptr = b != 0;
  return true;
}

bool _str::SaveBin(void* ptr, void*, BinStream* stream, Enumerator* dictionary, Enumerator*) {
  if (!stream) return false;
  const char* text = (ptr ? At(ptr) : this)->cpchar();
  WriteBinString(*stream, text, DictionaryIndex(dictionary, text));
  return true;
}

bool _str::LoadBin(void* ptr, void*, BinStream* stream, Enumerator* dictionary) {
  if (!stream) return false;
  std::string text;
  if (!ReadName(stream, dictionary, text)) return false;
  (ptr ? At(ptr) : this)->Assign(text.c_str());
  return true;
}

bool BaseClass::SaveBin(void* ptr, void* extra, BinStream* stream, Enumerator* dictionary,
                        Enumerator* skip) {
  if (!stream) return false;
  // A compound reached through its class's prototype answers for itself.
  if (ptr && ptr != this) return ((BaseClass*)ptr)->SaveBin(ptr, extra, stream, dictionary, skip);
  ClassDescriptor* d = GetDescriptor();
  int total = d ? d->Members.GetAmount() : 0;
  NestingGuard guard;
  if (total == 0 || guard.TooDeep()) {
    stream->WriteBYTE(0);
    return total == 0;
  }
  BaseClass* model = New();
  if (model) model->Reset(model);
  MemoryBinStream defaults, values;
  unsigned mask = GetClassMask();
  int count = 0;
  for (int k = 0; k < total; k++) {
    const MemberRecord& m = d->Members[k];
    if (!m.Class || !(m.Mask & mask) || Skipped(skip, m.Name)) continue;
    int i = kPlainElementIndex + k;
    BaseClass* c = GetElementClass(i);
    if (!c) continue;
    int64_t start = values.GetWritePos();
    values.WriteBYTE((uint8_t)k);
    c->SaveBin(GetElementPtr(i, this), m.Extra, &values, dictionary, nullptr);
    if (model) {
      defaults.SetWritePos(0);
      defaults.WriteBYTE((uint8_t)k);
      if (BaseClass* mc = model->GetElementClass(i))
        mc->SaveBin(model->GetElementPtr(i, model), m.Extra, &defaults, dictionary, nullptr);
      if (SameRun(values, start, defaults, 0)) {
        values.SetWritePos(start);
        continue;
      }
    }
    // The index and the count are single bytes: what does not fit is lost.
    if (k > 255 || count == kMaxStored) {
      Log("%s::SaveBin(): member %s cannot be stored", GetClassName(), m.Name);
      values.SetWritePos(start);
      continue;
    }
    count++;
  }
  delete model;
  stream->WriteBYTE((uint8_t)count);
  if (values.GetWritePos() > 0) stream->Write(values.GetData(), values.GetWritePos());
  return true;
}

bool BaseClass::LoadBin(void* ptr, void* extra, BinStream* stream, Enumerator* dictionary) {
  if (ptr && ptr != this) return ((BaseClass*)ptr)->LoadBin(ptr, extra, stream, dictionary);
  if (!stream) return false;
  NestingGuard guard;
  Reset(this);
  uint8_t count = 0;
  if (stream->Read(&count, 1) != 1) return Fail(this, guard, "the stream ended");
  if (guard.TooDeep()) return Fail(this, guard, "objects nested too deep");
  ClassDescriptor* d = GetDescriptor();
  int total = d ? d->Members.GetAmount() : 0;
  for (int n = 0; n < count; n++) {
    uint8_t k = 0;
    if (stream->Read(&k, 1) != 1) return Fail(this, guard, "the stream ended");
    if (k >= total) return Fail(this, guard, "member index out of range");
    int i = kPlainElementIndex + k;
    BaseClass* c = GetElementClass(i);
    void* p = GetElementPtr(i, this);
    if (!c || !p) return Fail(this, guard, "member without a value");
    if (!c->LoadBin(p, d->Members[k].Extra, stream, dictionary))
      return Fail(this, guard, "broken member data");
    RunSetAccessor(i, this, p);
  }
  return true;
}

bool SaveBinArray(BaseClass* array, BinStream* stream, Enumerator* dictionary) {
  if (!array || !stream) return false;
  int n = array->GetAmountOfElements();
  stream->WriteDWORD((uint32_t)n);
  bool ok = true;
  for (int i = 0; i < n; i++) {
    BaseClass* e = array->GetElementClass(i);
    WriteName(stream, e ? e->GetClassName() : "NULL", dictionary);
    if (e) ok = e->SaveBin(e, nullptr, stream, dictionary, nullptr) && ok;
  }
  return ok;
}

bool LoadBinArray(BaseClass* array, BinStream* stream, Enumerator* dictionary) {
  if (!array || !stream) return false;
  NestingGuard guard;
  array->Reset(array);
  uint8_t b[4];
  if (stream->Read(b, 4) != 4) return Fail(array, guard, "the stream ended");
  uint32_t count = (uint32_t)b[0] | (uint32_t)b[1] << 8 | (uint32_t)b[2] << 16 | (uint32_t)b[3] << 24;
  if (guard.TooDeep()) return Fail(array, guard, "objects nested too deep");
  // Every element takes at least the byte of its name.
  int64_t size = stream->Size();
  if (size > 0 && (int64_t)count > size - stream->GetReadPos())
    return Fail(array, guard, "element count beyond the stream");
  std::string name;
  for (uint32_t n = 0; n < count; n++) {
    if (!ReadName(stream, dictionary, name)) return Fail(array, guard, "the stream ended");
    int i = array->ExpandWith(name.c_str(), array);
    if (i < 0) return Fail(array, guard, "unknown element class");
    BaseClass* e = array->GetElementClass(i);
    if (e && !e->LoadBin(e, nullptr, stream, dictionary))
      return Fail(array, guard, "broken element");
  }
  return true;
}

bool SaveBinPtr(BaseClass* holder, BinStream* stream, Enumerator* dictionary) {
  if (!holder || !stream) return false;
  BaseClass* child = holder->GetAmountOfElements() > 0 ? holder->GetElementClass(0) : nullptr;
  stream->WriteBYTE(child ? 1 : 0);
  if (!child) return true;
  WriteName(stream, child->GetClassName(), dictionary);
  return child->SaveBin(child, nullptr, stream, dictionary, nullptr);
}

bool LoadBinPtr(BaseClass* holder, BinStream* stream, Enumerator* dictionary) {
  if (!holder || !stream) return false;
  NestingGuard guard;
  holder->Reset(holder);
  uint8_t flag = 0;
  if (stream->Read(&flag, 1) != 1) return Fail(holder, guard, "the stream ended");
  if (flag == 0) return true;
  if (flag != 1) return Fail(holder, guard, "bad pointer flag");
  if (guard.TooDeep()) return Fail(holder, guard, "objects nested too deep");
  std::string name;
  if (!ReadName(stream, dictionary, name)) return Fail(holder, guard, "the stream ended");
  if (holder->ExpandWith(name.c_str(), holder) < 0)
    return Fail(holder, guard, "unknown class of the child");
  BaseClass* child = holder->GetElementClass(0);
  if (child && !child->LoadBin(child, nullptr, stream, dictionary))
    return Fail(holder, guard, "broken child");
  return true;
}
