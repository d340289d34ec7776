// Feeds arbitrary bytes to LoadBin of a class with a member of every kind,
// an array and a pointer, with and without a dictionary. A load that fails
// must leave the object reset; one that succeeds must save to a form that
// loads back to the same form.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "ClassEngine/streams/MemoryBinStream.h"
#include "ClassEngine/xml/ClassFileTestClasses.h"

namespace {
std::vector<uint8_t> Save(AllKinds& a, Enumerator* dictionary) {
  MemoryBinStream s;
  a.SaveBin(&a, nullptr, &s, dictionary);
  return std::vector<uint8_t>(s.GetData(), s.GetData() + s.GetWritePos());
}

bool Load(AllKinds& a, const uint8_t* data, size_t size, Enumerator* dictionary) {
  MemoryBinStream s;
  if (size) s.Write(data, (int64_t)size);
  return a.LoadBin(&a, nullptr, &s, dictionary);
}

Enumerator* Dictionary() {
  static Enumerator* d = [] {
    Enumerator* e = GetEnumerator("FUZZ_WORDS");
    for (const char* w : {"Leaf", "LeafPlus", "one", "inner", "NULL"}) e->Add(w);
    return e;
  }();
  return d;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static bool registered = [] {
    RegisterClassFileTestClasses();
    return true;
  }();
  (void)registered;
  for (Enumerator* dictionary : {(Enumerator*)nullptr, Dictionary()}) {
    AllKinds a;
    if (!Load(a, data, size, dictionary)) {
      if (Save(a, nullptr) != std::vector<uint8_t>{0}) std::abort();  // not reset
      continue;
    }
    std::vector<uint8_t> once = Save(a, dictionary);
    AllKinds b;
    if (!Load(b, once.data(), once.size(), dictionary)) std::abort();
    if (Save(b, dictionary) != once) std::abort();
  }
  return 0;
}
