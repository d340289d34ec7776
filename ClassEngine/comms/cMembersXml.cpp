// The text of the vector members of comms classes: numbers separated by
// blanks, in the C locale. Floats are written "%f", ints "%d"; a text with
// too few numbers is refused and the field keeps its value.
#include <string>
#include <type_traits>

#include "ClassEngine/comms/cMembers.h"
#include "ClassEngine/xml/CNumbers.h"
#include "ClassEngine/xml/ErrorCollector.h"
#include "ClassEngine/xml/XmlNode.h"

namespace comms {
namespace {
template <class T>
std::string VectorText(const T* v, int n) {
  std::string out;
  for (int i = 0; i < n; i++) {
    char one[48];
    if constexpr (std::is_same_v<T, float>)
      FormatC(one, sizeof one, "%f", v[i]);
    else
      FormatC(one, sizeof one, "%d", v[i]);
    if (i) out += ' ';
    out += one;
  }
  return out;
}
}  // namespace

template <class T, int N>
bool VectorMember<T, N>::Save(XmlNode* xml, void* ptr, void*) {
  if (!xml || !ptr) return false;
  xml->Assign(VectorText((const T*)ptr, N).c_str());
  return true;
}

template <class T, int N>
bool VectorMember<T, N>::Load(XmlNode* xml, void* ptr, ErrorCollector* error, void*) {
  if (!xml || !ptr) return false;
  T v[N];
  const char* p = xml->Value();
  for (int i = 0; i < N; i++) {
    int used = 0;
    int got;
    if constexpr (std::is_same_v<T, float>)
      got = ScanC(p, "%f%n", &v[i], &used);
    else
      got = ScanC(p, "%d%n", &v[i], &used);
    if (got != 1) {
      if (error) error->Report("unable to read %d numbers from XML: %s\n", N, xml->Value());
      return false;
    }
    p += used;
  }
  for (int i = 0; i < N; i++) ((T*)ptr)[i] = v[i];
  return true;
}

template <class T, int N>
bool VectorMember<T, N>::GetValueByName(DString& out, void* ptr, void*, const char* name) {
  if (!ptr || !name || std::string(name) != "value") return false;
  out = VectorText((const T*)ptr, N).c_str();
  return true;
}

template class VectorMember<float, 2>;
template class VectorMember<float, 3>;
template class VectorMember<float, 4>;
template class VectorMember<int, 2>;
template class VectorMember<int, 3>;
}  // namespace comms
