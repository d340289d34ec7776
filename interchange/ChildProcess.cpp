// fork, a pipe, and waitpid: the child writes its bytes and leaves with
// _exit, running no destructor of the parent's objects.
#include "interchange/ChildProcess.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "interchange/TextUtil.h"

namespace comms {

bool RunInChild(const std::function<std::vector<uint8_t>()>& work, std::vector<uint8_t>& result,
                std::string& why) {
  int fds[2];
  if (pipe(fds) != 0) {
    why = FormatC("no pipe: %s", std::strerror(errno));
    return false;
  }
  const pid_t pid = fork();
  if (pid < 0) {
    why = FormatC("no child process: %s", std::strerror(errno));
    close(fds[0]);
    close(fds[1]);
    return false;
  }
  if (pid == 0) {
    close(fds[0]);
    int status = 0;
    try {
      const std::vector<uint8_t> bytes = work();
      for (size_t at = 0; at < bytes.size();) {
        const ssize_t n = write(fds[1], bytes.data() + at, bytes.size() - at);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
          status = 2;
          break;
        }
        at += (size_t)n;
      }
    } catch (...) {
      status = 3;
    }
    close(fds[1]);
    _exit(status);
  }
  close(fds[1]);
  std::vector<uint8_t> bytes;
  uint8_t block[65536];
  for (;;) {
    const ssize_t n = read(fds[0], block, sizeof block);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    bytes.insert(bytes.end(), block, block + n);
  }
  close(fds[0]);
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) {
    result = std::move(bytes);
    return true;
  }
  why = WIFSIGNALED(status) ? FormatC("killed by signal %d", WTERMSIG(status))
                            : FormatC("exit status %d", WEXITSTATUS(status));
  return false;
}

}  // namespace comms
