// SourceZip: a ZIP archive as a read-only file source. Opening reads the
// central directory; each Load reopens the archive, reads the local header and
// copies a stored entry or inflates a deflated one (zlib raw inflate).
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "interchange/IO.h"

namespace comms {

// The central-directory record of one entry, field by field as the archive
// has it (46 bytes on disk, then the name).
struct ZipEntry {
  uint32_t signature = 0;
  uint16_t versionMade = 0, versionNeeded = 0, flags = 0, method = 0, time = 0, date = 0;
  uint32_t crc = 0, packedSize = 0, size = 0;
  uint16_t nameLength = 0, extraLength = 0, commentLength = 0, disk = 0, internalAttributes = 0;
  uint32_t externalAttributes = 0, localOffset = 0;
};

class SourceZip : public cIO::Source {
 public:
  // Opens the archive at `path`; `open` tells whether its directory was read.
  explicit SourceZip(std::string path);
  // An archive held in memory (fuzzing and tests).
  static std::unique_ptr<SourceZip> FromMemory(std::vector<uint8_t> bytes);

  bool Load(const std::string& name, std::vector<uint8_t>& buffer) override;
  bool Save(const std::string&, const void*, size_t, bool) override { return false; }
  std::string Path() const override { return archive; }
  // Writes every entry below `folder`, reporting progress by the sum of the
  // entries' sizes; false when one fails or the user stops it.
  bool Unpack(const std::string& folder);

  bool open = false;
  std::string archive;
  std::vector<std::string> names;
  std::vector<ZipEntry> entries;

 private:
  SourceZip() = default;
  bool ReadAt(uint64_t offset, void* out, size_t count) const;
  uint64_t ArchiveSize() const;
  void ReadDirectory();
  bool LoadEntry(size_t index, std::vector<uint8_t>& buffer) const;

  std::vector<uint8_t> memory_;  // set for an archive held in memory
  bool inMemory_ = false;
};

}  // namespace comms
