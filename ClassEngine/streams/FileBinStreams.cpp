#include "ClassEngine/streams/FileBinStreams.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>

#include "ClassEngine/Log.h"
#include "ClassEngine/SystemDialog.h"
#include "ClassEngine/TextLookup.h"
#include "ClassEngine/UserPaths.h"
#include "ClassEngine/streams/BackgroundWriter.h"

std::string TempStreamFilePath() { return UserFilePath("tempfile.temp"); }

namespace {
int CreateFile(const std::string& path) {
  return ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
}

int OpenForReading(const char* name, int64_t* size) {
  *size = 0;
  if (!name) return -1;
  int fd = ::open(name, O_RDONLY | O_CLOEXEC);
  if (fd < 0) return -1;
  struct stat st;
  if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    ::close(fd);
    return -1;
  }
  *size = st.st_size;
  return fd;
}

void ReportUnwritable(const std::string& path) {
  SystemDialog d;
  d.title = "Error";
  d.text = std::string(LookupTextOr("Unable_to_write_file", "Unable to write file")) + "\n" + path;
  d.kind = SystemDialog::Kind::Error;
  ShowSystemDialog(d);
}
}  // namespace

// ---- FileWriteBinStream ----

FileWriteBinStream::FileWriteBinStream(const char* name) {
  path_ = name ? name : TempStreamFilePath();
  fd_ = CreateFile(path_);
}

void FileWriteBinStream::Write(const void* data, int64_t size) {
  if (size <= 0) return;
  if (fd_ >= 0) WriteAll(fd_, data, size);
  position_ += size;
}

bool FileWriteBinStream::WriteToFile(const char* name) {
  if (fd_ < 0 || !name) return false;
  ::close(fd_);
  fd_ = -1;
  return path_ == name || ReplaceFile(path_, name);
}

void FileWriteBinStream::Clear() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
}

// ---- FILE_WriteBinStream ----

FILE_WriteBinStream::FILE_WriteBinStream(const char* name) {
  BackgroundWriter::WaitIdle();
  if (name && std::strcmp(name, "none") == 0) return;
  path_ = name ? name : TempStreamFilePath();
  fd_ = CreateFile(path_);
  if (fd_ < 0) {
    ReportUnwritable(path_);
    return;
  }
  buffer_ = static_cast<uint8_t*>(std::malloc(kFileStreamBuffer));
  if (!buffer_) {
    ::close(fd_);
    fd_ = -1;
  }
}

void FILE_WriteBinStream::Write(const void* data, int64_t size) {
  if (size <= 0) return;
  if (buffer_) {
    if (fill_ + size >= kFileStreamBuffer) {
      BackgroundWriter::QueueBlock(fd_, buffer_, fill_);
      fill_ = 0;
    }
    if (size > kFileStreamBuffer) {
      auto start = std::chrono::steady_clock::now();
      BackgroundWriter::QueueBlock(fd_, data, size);
      double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
      Log("SaveBuffer : %.02f", ms);
    } else {
      std::memcpy(buffer_ + fill_, data, (size_t)size);
      fill_ += size;
    }
  }
  position_ += size;
}

void FILE_WriteBinStream::Clear() {
  if (fd_ < 0) return;
  if (fill_ > 0) BackgroundWriter::QueueBlock(fd_, buffer_, fill_);
  BackgroundWriter::QueueClose(fd_);
  std::free(buffer_);
  buffer_ = nullptr;
  fill_ = 0;
  fd_ = -1;
}

bool FILE_WriteBinStream::WriteToFile(const char* name) {
  if (fd_ < 0 || !name) return false;
  BackgroundWriter::WaitIdle();
  Clear();
  BackgroundWriter::QueueClose(-1, path_, name);
  return true;
}

// ---- FileReadBinStream ----

FileReadBinStream::FileReadBinStream(const char* name) {
  if (name) ReadFromFile(name);
}

bool FileReadBinStream::ReadFromFile(const char* name) {
  Clear();
  fd_ = OpenForReading(name, &size_);
  return fd_ >= 0;
}

int64_t FileReadBinStream::Read(void* data, int64_t size) {
  if (size <= 0) return 0;
  if (fd_ < 0) {
    position_ += size;
    return 0;
  }
  int64_t done = 0;
  auto* out = static_cast<uint8_t*>(data);
  while (done < size) {
    ssize_t n = ::read(fd_, out + done, (size_t)(size - done));
    if (n <= 0) break;
    done += n;
  }
  position_ += done;
  return done;
}

void FileReadBinStream::Skip(int64_t size) {
  position_ += size;
  if (fd_ >= 0) ::lseek(fd_, position_, SEEK_SET);
}

void FileReadBinStream::SetReadPos(int64_t pos) {
  position_ = pos;
  if (fd_ >= 0) ::lseek(fd_, position_, SEEK_SET);
}

void FileReadBinStream::Clear() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
  position_ = size_ = 0;
}

// ---- FILE_ReadBinStream ----

FILE_ReadBinStream::FILE_ReadBinStream(const char* name) {
  BackgroundWriter::WaitIdle();
  if (name) ReadFromFile(name);
}

bool FILE_ReadBinStream::ReadFromFile(const char* name) {
  Clear();
  fd_ = OpenForReading(name, &size_);
  if (fd_ < 0) return false;
  buffer_ = static_cast<uint8_t*>(std::malloc(kFileStreamBuffer));
  if (!buffer_) {
    Clear();
    return false;
  }
  ::posix_fadvise(fd_, 0, 0, POSIX_FADV_SEQUENTIAL);
  return true;
}

// The disk reads the next buffers while the caller works on this one: the
// system is asked for them ahead of need, and fetches them in the background.
void FILE_ReadBinStream::ReadAhead(int64_t from) {
  constexpr int64_t kAhead = 4 * kFileStreamBuffer;
  const int64_t start = std::max(from, advised_), end = std::min(from + kAhead, size_);
  if (end - start < kFileStreamBuffer && end < size_) return;  // asked for enough already
  if (end > start) ::posix_fadvise(fd_, start, end - start, POSIX_FADV_WILLNEED);
  advised_ = std::max(advised_, end);
}

int64_t FILE_ReadBinStream::Take(uint8_t* out, int64_t size) {
  int64_t moved = 0;
  while (size > 0) {
    int64_t held = bufferFill_ - bufferPos_;
    if (held > 0) {
      int64_t n = held < size ? held : size;
      if (out) std::memcpy(out + moved, buffer_ + bufferPos_, (size_t)n);
      bufferPos_ += n;
      moved += n;
      size -= n;
      continue;
    }
    if (size > kFileStreamBuffer) {
      // Large requests bypass the buffer.
      bufferPos_ = bufferFill_ = 0;
      if (!out) {
        int64_t left = size_ - (position_ + moved);
        int64_t n = size < left ? size : (left > 0 ? left : 0);
        ::lseek(fd_, n, SEEK_CUR);
        return moved + n;
      }
      int64_t done = 0;
      while (done < size) {
        ssize_t n = ::read(fd_, out + moved + done, (size_t)(size - done));
        if (n <= 0) break;
        done += n;
      }
      return moved + done;
    }
    ssize_t n = ::read(fd_, buffer_, (size_t)kFileStreamBuffer);
    if (n <= 0) break;
    bufferPos_ = 0;
    bufferFill_ = n;
    ReadAhead(position_ + moved + n);
  }
  return moved;
}

int64_t FILE_ReadBinStream::Read(void* data, int64_t size) {
  if (size <= 0 || fd_ < 0) return 0;
  int64_t n = Take(static_cast<uint8_t*>(data), size);
  position_ += n;
  return n;
}

void FILE_ReadBinStream::Skip(int64_t size) {
  if (size <= 0 || fd_ < 0) return;
  position_ += Take(nullptr, size);
}

void FILE_ReadBinStream::SetReadPos(int64_t pos) {
  if (fd_ < 0) return;
  position_ = pos;
  bufferPos_ = bufferFill_ = 0;
  advised_ = 0;
  ::lseek(fd_, pos, SEEK_SET);
}

void FILE_ReadBinStream::Clear() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
  std::free(buffer_);
  buffer_ = nullptr;
  position_ = size_ = bufferPos_ = bufferFill_ = advised_ = 0;
}
