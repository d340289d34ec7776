// AtomicFileWriter: a buffered output stream that never harms the file it
// replaces. Bytes go to a temporary file beside the target; Commit() flushes
// it, syncs it to the disk and only then renames it over the target. Any
// failure on the way (disk full, no permission, a file-size limit) is kept
// with its reason, later writes are dropped, and Commit() refuses: the old
// file stays as it was and the temporary file is removed. The temporary
// file is locked while it is written; a save killed midway (power cut,
// SIGKILL) leaves it unlocked, and the next save of the same target removes it.
#pragma once
#include <string>

#include "ClassEngine/streams/FileBinStreams.h"

class AtomicFileWriter : public FileWriteSide {
 public:
  // Opens the temporary file beside `target`; Failed() tells whether that worked.
  explicit AtomicFileWriter(const std::string& target);
  ~AtomicFileWriter() override;
  AtomicFileWriter(const AtomicFileWriter&) = delete;
  AtomicFileWriter& operator=(const AtomicFileWriter&) = delete;

  void Write(const void* data, int64_t size) override;
  // Commits to `name` (which must be the target given at construction).
  bool WriteToFile(const char* name) override;
  // Drops the temporary file; the target is untouched.
  void Clear() override;

  // Flush, sync, rename over the target, sync the folder. False (with
  // Error() saying why) leaves the target as it was.
  bool Commit();
  bool Failed() const { return !error_.empty(); }
  // Why the save failed, in words ("No space left on device"), empty if not.
  const std::string& Error() const { return error_; }
  // The temporary file being written (path_ is the target).
  const std::string& TempPath() const { return temp_; }

  // Removes the unlocked temporary files of earlier saves of `target` (those
  // of a save that died); files still being written are left. Returns how
  // many went. Every save calls it first.
  static int RemoveLeftovers(const std::string& target);

  // Test hook: after `bytes` more bytes reach the disk, writes fail with
  // `err` (ENOSPC, EIO, ...) as a full disk would. A negative count turns it off.
  static void FailAfter(int64_t bytes, int err);

 private:
  bool Flush();
  void Fail(const char* what, int err);

  std::string temp_, error_;
  unsigned char* buffer_ = nullptr;
  int64_t fill_ = 0;
  bool committed_ = false;
};
