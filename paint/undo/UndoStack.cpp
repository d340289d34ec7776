// The undo stack's files, positions, budget and the two directions of
// applying a record (see UndoStack.h).
#include "paint/undo/UndoStack.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "ClassEngine/Log.h"
#include "ClassEngine/UserPaths.h"
#include "ClassEngine/streams/MemoryBinStream.h"
#include "paint/SceneChanges.h"
#include "paint/undo/UndoGesture.h"

namespace {
int64_t FileSize(const std::string& path) {
  struct stat st;
  if (::stat(path.c_str(), &st) != 0) return -1;
  return (int64_t)st.st_size;
}

// A name of eight decimal digits, or -1.
int NumberOf(const char* name) {
  int n = 0;
  for (int i = 0; i < 8; ++i) {
    if (name[i] < '0' || name[i] > '9') return -1;
    n = n * 10 + (name[i] - '0');
  }
  return name[8] == 0 ? n : -1;
}
}  // namespace

UndoStack::UndoStack(std::string folder) : folder_(std::move(folder)) {
  std::error_code ec;
  std::filesystem::create_directories(folder_, ec);
  FreeBytes = [this] {
    struct statvfs vs;
    if (::statvfs(folder_.c_str(), &vs) != 0) return (int64_t)1 << 62;  // unknown: do not trim for space
    return (int64_t)vs.f_bavail * (int64_t)vs.f_frsize;
  };
  WriteCall = [](int fd, const void* data, size_t size) { return (long)::write(fd, data, size); };
}

UndoStack::~UndoStack() = default;

void UndoStack::SetFolder(std::string folder) {
  folder_ = std::move(folder);
  std::error_code ec;
  std::filesystem::create_directories(folder_, ec);
  UndoPosition = 0;
  UndoBytes = 0;
}

bool UndoStack::RegisterUndoMaker(std::unique_ptr<BasicUndoMaker> maker) {
  if (!maker || FindMaker(maker->GetUndoTag())) return false;
  makers_.push_back(std::move(maker));
  return true;
}

BasicUndoMaker* UndoStack::FindMaker(uint32_t tag) const {
  for (const auto& m : makers_)
    if (m->GetUndoTag() == tag) return m.get();
  return nullptr;
}

std::string UndoStack::FileName(int n) const {
  char name[16];
  std::snprintf(name, sizeof name, "%08d", n);
  return folder_ + "/" + name;
}

std::vector<int> UndoStack::ListNumbers() const {
  std::vector<int> out;
  if (DIR* d = ::opendir(folder_.c_str())) {
    while (dirent* e = ::readdir(d))
      if (int n = NumberOf(e->d_name); n >= 0) out.push_back(n);
    ::closedir(d);
  }
  std::sort(out.begin(), out.end());
  return out;
}

void UndoStack::ClearUndo() {
  ChangedSinceSave = 0;
  if (DIR* d = ::opendir(folder_.c_str())) {
    std::vector<std::string> names;
    while (dirent* e = ::readdir(d))
      if (e->d_name[0] != '.') names.push_back(folder_ + "/" + e->d_name);
    ::closedir(d);
    for (const std::string& n : names) std::remove(n.c_str());
  }
  UndoBytes = 0;
  UndoPosition = 0;
}

void UndoStack::TrimUndoFolder(int minFreeMB) {
  auto freeMB = [&] { return FreeBytes() / 1000000; };
  if (freeMB() >= minFreeMB && UndoBytes <= kByteBudget) return;
  for (int n : ListNumbers()) {
    const std::string name = FileName(n);
    const int64_t size = FileSize(name);
    if (size >= 0) UndoBytes -= size;
    std::remove(name.c_str());
    if (freeMB() > minFreeMB && UndoBytes < kByteBudget) return;
  }
  // The walk ran out of files: count what is really left, so a count that
  // drifted from the disk does not empty the stack on every write.
  UndoBytes = 0;
  for (int n : ListNumbers()) UndoBytes += std::max<int64_t>(FileSize(FileName(n)), 0);
}

void UndoStack::DropRedoTail() {
  for (int n = UndoPosition;; ++n) {
    const std::string name = FileName(n);
    const int64_t size = FileSize(name);
    if (size <= 0) break;
    UndoBytes = std::max<int64_t>(UndoBytes - size, 0);
    std::remove(name.c_str());
  }
}

bool UndoStack::WriteRecordFile(BinStream& stream, int n) {
  const std::string target = FileName(n), temp = target + ".writing";
  const uint8_t* data = stream.GetData();
  if (!data) {  // a stream on a file commits itself
    if (stream.WriteToFile(target.c_str())) return true;
    lastError_ = "cannot write " + target;
    return false;
  }
  int fd = ::open(temp.c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0644);
  if (fd < 0 && errno == ENOENT) {  // the folder went away under us
    std::error_code ec;
    std::filesystem::create_directories(folder_, ec);
    fd = ::open(temp.c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0644);
  }
  int err = fd < 0 ? errno : 0;
  int64_t left = stream.Size();
  while (!err && left > 0) {
    const long w = WriteCall(fd, data, (size_t)left);
    if (w < 0 && errno == EINTR) continue;
    if (w <= 0) err = w < 0 ? errno : ENOSPC;
    else data += w, left -= w;
  }
  if (fd >= 0 && ::close(fd) != 0 && !err) err = errno;
  if (!err && std::rename(temp.c_str(), target.c_str()) != 0) err = errno;
  if (err) {
    std::remove(temp.c_str());
    lastError_ = std::strerror(err);
    return false;
  }
  lastError_.clear();
  return true;
}

bool UndoStack::WriteWithRoom(BinStream& stream, int n) {
  while (!WriteRecordFile(stream, n)) {
    Log("UndoStack::PushUndoRecord(): %s, dropping the oldest step", lastError_.c_str());
    std::vector<int> numbers = ListNumbers();
    numbers.erase(std::remove(numbers.begin(), numbers.end(), n), numbers.end());
    if (numbers.empty()) {
      // Nothing left to give up: no step can be undone across this one.
      const std::string why = lastError_;
      const uint8_t changed = ChangedSinceSave;
      ClearUndo();
      ChangedSinceSave = changed;
      lastError_ = why;
      return false;
    }
    const std::string oldest = FileName(numbers.front());
    UndoBytes = std::max<int64_t>(UndoBytes - std::max<int64_t>(FileSize(oldest), 0), 0);
    std::remove(oldest.c_str());
  }
  return true;
}

bool UndoStack::PushUndoRecord(BinStream& stream) {
  ChangedSinceSave = 1;
  if (InUndo || InRedo) return PushRedoRecord(stream);
  TrimUndoFolder(kReserveMB);
  const int n = UndoPosition;
  // The step is taken whether or not its record lands: what lay above it
  // can no longer be redone.
  DropRedoTail();
  if (!WriteWithRoom(stream, n)) return false;
  UndoPosition = n + 1;
  UndoBytes += stream.Size();
  DropRedoTail();
  return true;
}

bool UndoStack::PushRedoRecord(BinStream& stream) {
  if (InRedo && UndoPosition == 0) return false;
  if (suppressInverse_) return false;
  TrimUndoFolder(kReserveMB);
  const int n = InRedo ? UndoPosition - 1 : UndoPosition + 1;
  ChangedSinceSave = 1;
  if (!WriteWithRoom(stream, n)) return false;
  UndoBytes += stream.Size();
  return true;
}

std::vector<uint8_t> UndoStack::ReadRecordFile(int n) const {
  std::vector<uint8_t> bytes;
  FILE* f = std::fopen(FileName(n).c_str(), "rb");
  if (!f) return bytes;
  if (std::fseek(f, 0, SEEK_END) == 0) {
    const long size = std::ftell(f);
    if (size > 0 && std::fseek(f, 0, SEEK_SET) == 0) {
      bytes.resize((size_t)size);
      if (std::fread(bytes.data(), 1, bytes.size(), f) != bytes.size()) bytes.clear();
    }
  }
  std::fclose(f);
  return bytes;
}

void UndoStack::ApplyRecord(std::vector<uint8_t>& bytes) {
  if (bytes.size() <= 4) return;
  MemoryBinStream stream;
  stream.Write(bytes.data(), (int64_t)bytes.size());
  stream.SetReadPos(0);
  const uint32_t tag = stream.ReadDWORD();
  for (const auto& m : makers_)
    if (m->GetUndoTag() == tag) {
      stream.SetReadPos(4);
      m->Apply(stream);
    }
}

void UndoStack::WritePlaceholder(int n) {
  MemoryBinStream empty;
  empty.WriteDWORD(0);
  WriteWithRoom(empty, n);
}

bool UndoStack::Undo() {
  if (AllowsBackup && !AllowsBackup()) return false;
  if (UndoGestureWaits()) return false;  // a drag under way becomes its step at the release
  if (BeforeApply) BeforeApply();
  if (UndoPosition == 0) return false;
  --UndoPosition;
  ChangedSinceSave = 1;  // even a step that brings nothing back moved the stack
  std::vector<uint8_t> bytes = ReadRecordFile(UndoPosition);
  UndoBytes = std::max<int64_t>(UndoBytes - (int64_t)bytes.size(), 0);
  const bool big = (int64_t)bytes.size() >= kNoRedoBytes;
  InUndo = true;
  if (bytes.size() <= 4) WritePlaceholder(UndoPosition + 1);
  suppressInverse_ = big;
  ApplyRecord(bytes);
  suppressInverse_ = false;
  InUndo = false;
  if (big) DropRedoTail();
  return true;
}

bool UndoStack::Redo() {
  if (UndoGestureWaits()) return false;
  if (BeforeApply) BeforeApply();
  ++UndoPosition;
  std::vector<uint8_t> bytes = ReadRecordFile(UndoPosition);
  if (bytes.empty()) {
    --UndoPosition;
    return false;
  }
  ChangedSinceSave = 1;
  UndoBytes = std::max<int64_t>(UndoBytes - (int64_t)bytes.size(), 0);
  std::remove(FileName(UndoPosition).c_str());
  InRedo = true;
  if (bytes.size() <= 4) WritePlaceholder(UndoPosition - 1);
  ApplyRecord(bytes);
  InRedo = false;
  return true;
}

std::string UndoStack::UndoStatusText() const {
  char head[24];
  std::snprintf(head, sizeof head, "(%d) ", UndoPosition);
  std::string text = head;
  for (int n = UndoPosition - 1; n >= 0 && text.size() <= 50; --n) {
    uint8_t tag[4] = {0, 0, 0, 0};
    if (FILE* f = std::fopen(FileName(n).c_str(), "rb")) {
      if (std::fread(tag, 1, 4, f) != 4) std::memset(tag, 0, 4);
      std::fclose(f);
    }
    // The tag is a little-endian number whose highest byte is its first letter.
    for (int i = 3; i >= 0; --i) text += tag[i] ? (char)tag[i] : '.';
    text += ' ';
  }
  return text;
}

UndoStack& TheUndoStack() {
  static UndoStack stack(UserFilePath("UserData/Undo/"));
  return stack;
}
