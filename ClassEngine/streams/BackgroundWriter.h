// The one background writer of the process. Buffered file streams hand it
// copies of their blocks, so the main thread never waits on the disk during a
// save; it waits only when it needs the file back (WaitIdle). The thread
// exists only while entries wait: it ends when its queue is empty, and the
// next entry starts a new one.
#pragma once
#include <cstdint>
#include <string>

namespace BackgroundWriter {
// Queues a copy of `size` bytes to be written to the open descriptor `fd`.
void QueueBlock(int fd, const void* data, int64_t size);
// Queues the closing of `fd` (when >= 0), then, when both names are given and
// differ, the replacing of `target` by `source`.
void QueueClose(int fd, const std::string& source = {}, const std::string& target = {});
// Returns when every queued entry has been carried out and the thread ended.
void WaitIdle();
// Whether a writer thread is at work now.
bool ThreadAlive();
}  // namespace BackgroundWriter

// Replaces `target` by `source`: makes the target writable, deletes it, and
// renames the source to it. The old file is gone before the new one takes its name.
bool ReplaceFile(const std::string& source, const std::string& target);
// Writes all bytes to `fd`, going on after short writes; false on an error.
bool WriteAll(int fd, const void* data, int64_t size);
