// AtomicFileWriter; see AtomicFileWriter.h.
#include "ClassEngine/streams/AtomicFileWriter.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "ClassEngine/Log.h"

namespace {
constexpr int64_t kBuffer = 8 << 20;
constexpr char kTempMark[] = ".saving-";
constexpr size_t kTempLetters = 6;  // mkstemp's XXXXXX
std::atomic<int64_t> gFailAfter{-1};
std::atomic<int> gFailErr{0};

std::string FolderOf(const std::string& path) {
  size_t slash = path.find_last_of('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

// write() that honours the test hook; returns the errno of a failure, 0 when done.
int WriteFully(int fd, const unsigned char* p, int64_t size) {
  while (size > 0) {
    int64_t chunk = size;
    int64_t budget = gFailAfter.load();
    if (budget >= 0) {
      if (budget == 0) return gFailErr.load();
      if (chunk > budget) chunk = budget;
    }
    ssize_t n = ::write(fd, p, (size_t)chunk);
    if (n < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    if (n == 0) return ENOSPC;
    if (budget >= 0) gFailAfter.fetch_sub(n);
    p += n;
    size -= n;
  }
  return 0;
}
}  // namespace

int AtomicFileWriter::RemoveLeftovers(const std::string& target) {
  const std::string folder = FolderOf(target);
  const size_t slash = target.find_last_of('/');
  const std::string prefix = (slash == std::string::npos ? target : target.substr(slash + 1)) + kTempMark;
  DIR* dir = ::opendir(folder.c_str());
  if (!dir) return 0;
  int removed = 0;
  while (dirent* e = ::readdir(dir)) {
    const std::string name = e->d_name;
    if (name.size() != prefix.size() + kTempLetters || name.compare(0, prefix.size(), prefix) != 0) continue;
    const std::string path = folder + "/" + name;
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0) continue;
    struct stat st;
    // A lock that is free means no save is writing it any more.
    if (::fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && ::flock(fd, LOCK_EX | LOCK_NB) == 0 &&
        ::unlink(path.c_str()) == 0) {
      Log("AtomicFileWriter: removed %s, left by a save that did not finish", path.c_str());
      removed++;
    }
    ::close(fd);
  }
  ::closedir(dir);
  return removed;
}

void AtomicFileWriter::FailAfter(int64_t bytes, int err) {
  gFailErr = err;
  gFailAfter = bytes;
}

AtomicFileWriter::AtomicFileWriter(const std::string& target) {
  path_ = target;
  // The temporary file lives in the target's folder, so the final rename
  // never crosses file systems.
  RemoveLeftovers(target);
  std::string pattern = target + kTempMark + std::string(kTempLetters, 'X');
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back(0);
  fd_ = ::mkstemp(name.data());
  if (fd_ < 0) {
    Fail("cannot create a file beside", errno);
    return;
  }
  ::fcntl(fd_, F_SETFD, FD_CLOEXEC);
  ::flock(fd_, LOCK_EX | LOCK_NB);  // says "being written" until closed
  temp_ = name.data();
  // mkstemp makes the file private; a save keeps the mode of the file it
  // replaces, or the usual one for a new file.
  struct stat st;
  ::fchmod(fd_, ::stat(target.c_str(), &st) == 0 ? (st.st_mode & 07777) : 0644);
  buffer_ = (unsigned char*)std::malloc(kBuffer);
  if (!buffer_) Fail("out of memory for", ENOMEM);
}

AtomicFileWriter::~AtomicFileWriter() {
  if (!committed_) Clear();
  std::free(buffer_);
}

void AtomicFileWriter::Fail(const char* what, int err) {
  if (!error_.empty()) return;
  error_ = std::string(what) + " " + path_ + ": " + std::strerror(err);
}

bool AtomicFileWriter::Flush() {
  if (Failed()) return false;
  if (fill_ == 0) return true;
  int err = WriteFully(fd_, buffer_, fill_);
  fill_ = 0;
  if (err) Fail("cannot write", err);
  return !Failed();
}

void AtomicFileWriter::Write(const void* data, int64_t size) {
  if (size <= 0) return;
  position_ += size;
  if (Failed()) return;
  const auto* p = static_cast<const unsigned char*>(data);
  if (fill_ + size > kBuffer) {
    if (!Flush()) return;
    if (size >= kBuffer) {
      if (int err = WriteFully(fd_, p, size)) Fail("cannot write", err);
      return;
    }
  }
  std::memcpy(buffer_ + fill_, p, (size_t)size);
  fill_ += size;
}

bool AtomicFileWriter::Commit() {
  if (committed_) return true;
  bool ok = Flush();
  if (ok && ::fsync(fd_) != 0) Fail("cannot write", errno), ok = false;
  if (fd_ >= 0 && ::close(fd_) != 0 && ok) Fail("cannot write", errno), ok = false;
  fd_ = -1;
  if (ok && std::rename(temp_.c_str(), path_.c_str()) != 0) Fail("cannot replace", errno), ok = false;
  if (!ok) {
    Clear();
    return false;
  }
  committed_ = true;
  // The rename itself must reach the disk before we call the save done.
  int dir = ::open(FolderOf(path_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dir >= 0) {
    ::fsync(dir);
    ::close(dir);
  }
  return true;
}

bool AtomicFileWriter::WriteToFile(const char* name) {
  if (!name || path_ != name) return false;
  return Commit();
}

void AtomicFileWriter::Clear() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
  if (!temp_.empty() && !committed_) ::unlink(temp_.c_str());
  fill_ = 0;
}
