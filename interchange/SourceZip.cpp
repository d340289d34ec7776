// The ZIP reader: end record search from the back of the file, the central
// directory, local headers, stored and deflated entries. Every size read from
// the archive is checked against the archive's own size before anything is
// allocated, so a hostile archive can't ask for more memory than it could hold.
#include "interchange/SourceZip.h"

#include <zlib.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "ClassEngine/Log.h"
#include "ClassEngine/Progress.h"
#include "interchange/TextUtil.h"

namespace comms {

namespace {

uint16_t Le16(const uint8_t* p) { return (uint16_t)(p[0] | p[1] << 8); }
uint32_t Le32(const uint8_t* p) {
  return (uint32_t)p[0] | (uint32_t)p[1] << 8 | (uint32_t)p[2] << 16 | (uint32_t)p[3] << 24;
}

constexpr uint32_t kEndSignature = 0x06054b50;
constexpr uint32_t kDirSignature = 0x02014b50;
constexpr uint32_t kLocalSignature = 0x04034b50;
constexpr size_t kDirRecord = 46, kLocalRecord = 30, kEndRecord = 22;

// Entry names compare with "\" and "/" alike and without case.
bool SameName(const std::string& a, const std::string& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); i++) {
    char x = a[i] == '\\' ? '/' : (char)std::tolower((unsigned char)a[i]);
    char y = b[i] == '\\' ? '/' : (char)std::tolower((unsigned char)b[i]);
    if (x != y) return false;
  }
  return true;
}

}  // namespace

SourceZip::SourceZip(std::string path) : archive(std::move(path)) { ReadDirectory(); }

std::unique_ptr<SourceZip> SourceZip::FromMemory(std::vector<uint8_t> bytes) {
  std::unique_ptr<SourceZip> zip(new SourceZip());
  zip->archive = "memory";
  zip->memory_ = std::move(bytes);
  zip->inMemory_ = true;
  zip->ReadDirectory();
  return zip;
}

uint64_t SourceZip::ArchiveSize() const {
  if (inMemory_) return memory_.size();
  std::error_code ec;
  uint64_t n = std::filesystem::file_size(archive, ec);
  return ec ? 0 : n;
}

bool SourceZip::ReadAt(uint64_t offset, void* out, size_t count) const {
  if (inMemory_) {
    if (offset > memory_.size() || count > memory_.size() - offset) return false;
    std::memcpy(out, memory_.data() + offset, count);
    return true;
  }
  FILE* f = std::fopen(archive.c_str(), "rb");
  if (!f) return false;
  bool ok = fseeko(f, (off_t)offset, SEEK_SET) == 0 && std::fread(out, 1, count, f) == count;
  std::fclose(f);
  return ok;
}

void SourceZip::ReadDirectory() {
  const uint64_t size = ArchiveSize();
  if (size < kEndRecord) return;
  // The end record lies in the last 65535 + 22 bytes; scan them in blocks of
  // 1024 from the back (blocks overlap by the record's size).
  const uint64_t span = std::min<uint64_t>(size, 65535 + kEndRecord);
  uint8_t block[1024 + kEndRecord];
  uint64_t endAt = UINT64_MAX;
  for (uint64_t back = 0; back < span && endAt == UINT64_MAX; back += 1024) {
    uint64_t hi = size - back;
    uint64_t lo = hi > 1024 + kEndRecord ? hi - 1024 - kEndRecord : 0;
    if (size - lo > span) lo = size - span;
    size_t n = (size_t)(hi - lo);
    if (n < 4 || !ReadAt(lo, block, n)) break;
    for (size_t i = n - 4 + 1; i-- > 0;)
      if (Le32(block + i) == kEndSignature && lo + i + kEndRecord <= size) {
        endAt = lo + i;
        break;
      }
  }
  if (endAt == UINT64_MAX) return;
  uint8_t end[kEndRecord];
  if (!ReadAt(endAt, end, kEndRecord)) return;
  const uint16_t count = Le16(end + 10);
  uint64_t at = Le32(end + 16);
  for (int i = 0; i < count; i++) {
    uint8_t r[kDirRecord];
    if (!ReadAt(at, r, kDirRecord) || Le32(r) != kDirSignature) break;
    ZipEntry e;
    e.signature = Le32(r);
    e.versionMade = Le16(r + 4);
    e.versionNeeded = Le16(r + 6);
    e.flags = Le16(r + 8);
    e.method = Le16(r + 10);
    e.time = Le16(r + 12);
    e.date = Le16(r + 14);
    e.crc = Le32(r + 16);
    e.packedSize = Le32(r + 20);
    e.size = Le32(r + 24);
    e.nameLength = Le16(r + 28);
    e.extraLength = Le16(r + 30);
    e.commentLength = Le16(r + 32);
    e.disk = Le16(r + 34);
    e.internalAttributes = Le16(r + 36);
    e.externalAttributes = Le32(r + 38);
    e.localOffset = Le32(r + 42);
    if (e.nameLength >= 1024) break;
    std::string name(e.nameLength, '\0');
    if (!ReadAt(at + kDirRecord, name.data(), name.size())) break;
    names.push_back(name);
    entries.push_back(e);
    at += kDirRecord + e.nameLength + e.extraLength + e.commentLength;
  }
  open = true;
}

bool SourceZip::LoadEntry(size_t index, std::vector<uint8_t>& buffer) const {
  const ZipEntry& e = entries[index];
  const uint64_t archiveSize = ArchiveSize();
  uint8_t local[kLocalRecord];
  if (!ReadAt(e.localOffset, local, kLocalRecord) || Le32(local) != kLocalSignature) return false;
  uint64_t dataAt = (uint64_t)e.localOffset + kLocalRecord + Le16(local + 26) + Le16(local + 28);
  if (dataAt > archiveSize || e.packedSize > archiveSize - dataAt) return false;
  if (e.method == 0) {
    if (e.packedSize != e.size) return false;
    buffer.resize(e.size);
    if (!ReadAt(dataAt, buffer.data(), e.size)) return false;
  } else if (e.method == 8) {
    // Deflate can't expand beyond about 1032 to 1: a larger claim is a lie.
    if ((uint64_t)e.size > (uint64_t)e.packedSize * 1032 + 64) return false;
    buffer.assign(e.size, 0);
    z_stream z{};
    if (inflateInit2(&z, -MAX_WBITS) != Z_OK) return false;
    z.next_out = buffer.data();
    z.avail_out = (uInt)buffer.size();
    uint8_t in[2048];
    uint64_t left = e.packedSize, from = dataAt;
    int status = Z_OK;
    // Input goes in blocks of 2048 bytes; a call that can make no progress
    // (Z_BUF_ERROR) means the entry is cut short or longer than it says.
    while (status == Z_OK) {
      if (z.avail_in == 0 && left > 0) {
        size_t n = (size_t)std::min<uint64_t>(left, sizeof in);
        if (!ReadAt(from, in, n)) break;
        from += n;
        left -= n;
        z.next_in = in;
        z.avail_in = (uInt)n;
      }
      status = inflate(&z, Z_NO_FLUSH);
    }
    bool done = status == Z_STREAM_END && z.total_out == e.size;
    inflateEnd(&z);
    if (!done) return false;
  } else {
    Log("SourceZip::Load(): Entry \"%s\" of \"%s\" is packed with unknown method %d.", names[index].c_str(),
        archive.c_str(), e.method);
    return false;
  }
  if (crc32(0, buffer.data(), (uInt)buffer.size()) != e.crc) {
    Log("SourceZip::Load(): Entry \"%s\" of \"%s\" fails its checksum.", names[index].c_str(), archive.c_str());
    return false;
  }
  return true;
}

bool SourceZip::Load(const std::string& name, std::vector<uint8_t>& buffer) {
  if (!open) return false;
  for (size_t i = 0; i < names.size(); i++)
    if (SameName(names[i], name)) {
      std::vector<uint8_t> bytes;
      if (!LoadEntry(i, bytes)) return false;
      buffer = std::move(bytes);
      return true;
    }
  return false;
}

bool SourceZip::Unpack(const std::string& folder) {
  bool ok = true;
  int64_t total = 0, done = 0;
  for (const ZipEntry& e : entries) total += e.size;
  for (size_t i = 0; i < names.size(); i++) {
    if (ReportProgress("UNPACKING", done, total)) {
      Log("ZIP: unpacking \"%s\" stopped by the user", archive.c_str());
      return false;
    }
    done += entries[i].size;
    if (!names[i].empty() && (names[i].back() == '/' || names[i].back() == '\\')) continue;
    std::vector<uint8_t> bytes;
    std::string to = folder + "/" + names[i];
    for (char& c : to)
      if (c == '\\') c = '/';
    if (to.find("/../") != std::string::npos) {  // never write outside the folder
      ok = false;
      continue;
    }
    std::error_code ec;
    std::filesystem::create_directories(std::filesystem::path(to).parent_path(), ec);
    if (!LoadEntry(i, bytes) || !cIO::WriteFile(to, bytes.data(), bytes.size(), false, true)) ok = false;
  }
  return ok;
}

}  // namespace comms
