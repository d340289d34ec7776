#include "ClassEngine/streams/BackgroundWriter.h"

#include <sys/stat.h>
#include <unistd.h>

#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <deque>
#include <mutex>
#include <new>
#include <thread>
#include <vector>

#include "ClassEngine/SystemDialog.h"

bool WriteAll(int fd, const void* data, int64_t size) {
  const auto* p = static_cast<const uint8_t*>(data);
  while (size > 0) {
    ssize_t n = ::write(fd, p, (size_t)size);
    if (n <= 0) return false;
    p += n;
    size -= n;
  }
  return true;
}

bool ReplaceFile(const std::string& source, const std::string& target) {
  struct stat st;
  if (::stat(target.c_str(), &st) == 0) {
    ::chmod(target.c_str(), st.st_mode | S_IWUSR);
    ::unlink(target.c_str());
  }
  return std::rename(source.c_str(), target.c_str()) == 0;
}

namespace {
void CloseReporting(int fd) {
  if (fd < 0) return;
  if (::close(fd) != 0) {
    SystemDialog d;
    d.title = "Strange error";
    d.text = "Failed to close file!";
    d.kind = SystemDialog::Kind::Error;
    ShowSystemDialog(d);
  }
}

struct Entry {
  std::vector<uint8_t> block;
  bool hasBlock = false;
  int fd = -1;
  std::string source, target;
};

class Writer {
 public:
  ~Writer() { WaitIdle(); }

  // Appends an entry; starts the thread if none runs, after joining one
  // that has finished.
  void Push(Entry&& e) {
    std::lock_guard<std::mutex> g(lock_);
    queue_.push_back(std::move(e));
    if (running_) return;
    if (thread_.joinable()) thread_.join();  // finished: it only returns now
    running_ = true;
    thread_ = std::thread([this] { Loop(); });
  }

  void WaitIdle() {
    {
      std::unique_lock<std::mutex> g(lock_);
      idle_.wait(g, [&] { return !running_; });
    }
    Join();
  }

  bool ThreadAlive() {
    std::lock_guard<std::mutex> g(lock_);
    return running_;
  }

 private:
  // Carries entries out until the queue is empty, then ends.
  void Loop() {
    std::unique_lock<std::mutex> g(lock_);
    while (!queue_.empty()) {
      Entry e = std::move(queue_.front());
      queue_.pop_front();
      g.unlock();
      Carry(e);
      g.lock();
    }
    running_ = false;
    idle_.notify_all();
  }

  // Waits for a thread that has finished or is about to.
  void Join() {
    std::thread t;
    {
      std::lock_guard<std::mutex> g(lock_);
      if (running_ || !thread_.joinable()) return;
      t = std::move(thread_);
    }
    t.join();
  }

  static void Carry(Entry& e) {
    if (e.hasBlock) {
      // Errors of the system write are not reported; the stream's position counts on.
      if (e.fd >= 0) WriteAll(e.fd, e.block.data(), (int64_t)e.block.size());
      return;
    }
    CloseReporting(e.fd);
    if (!e.source.empty() && !e.target.empty() && e.source != e.target)
      ReplaceFile(e.source, e.target);
  }

  std::mutex lock_;
  std::condition_variable idle_;
  std::deque<Entry> queue_;
  std::thread thread_;
  bool running_ = false;  // a thread exists and has not finished its queue
};

Writer& TheWriter() {
  static Writer writer;
  return writer;
}
}  // namespace

namespace BackgroundWriter {
void QueueBlock(int fd, const void* data, int64_t size) {
  Entry e;
  e.fd = fd;
  e.hasBlock = true;
  try {
    e.block.assign(static_cast<const uint8_t*>(data), static_cast<const uint8_t*>(data) + size);
  } catch (const std::bad_alloc&) {
    // No memory for the copy: wait for the writer and write the block here.
    WaitIdle();
    if (fd >= 0) WriteAll(fd, data, size);
    return;
  }
  TheWriter().Push(std::move(e));
}

void QueueClose(int fd, const std::string& source, const std::string& target) {
  Entry e;
  e.fd = fd;
  e.source = source;
  e.target = target;
  TheWriter().Push(std::move(e));
}

void WaitIdle() { TheWriter().WaitIdle(); }
bool ThreadAlive() { return TheWriter().ThreadAlive(); }
}  // namespace BackgroundWriter
