// Fuzz target: arbitrary bytes as a ZIP archive; the directory is read and
// every entry loaded (stored, deflated or refused).
#include <cstddef>
#include <cstdint>
#include <vector>

#include "interchange/SourceZip.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  auto zip = comms::SourceZip::FromMemory(std::vector<uint8_t>(data, data + size));
  std::vector<uint8_t> buffer;
  for (const std::string& name : zip->names) {
    if (zip->Load(name, buffer) && buffer.size() > size * 1032 + 64) __builtin_trap();
  }
  return 0;
}
