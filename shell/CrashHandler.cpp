// The crash handler; see CrashHandler.h. It runs after the process state is
// already damaged, so it works from buffers prepared at start, writes with
// plain system calls, and reads memory through write(), which reports a bad
// address instead of faulting again.
#include "shell/CrashHandler.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <ucontext.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

#include "ClassEngine/SaveWorkOffer.h"

namespace {
constexpr size_t kStatusSize = 4096;
char gVersion[256];
char gTitle[256];
char gTool[256];
char gHost[256];
char gStartStatus[kStatusSize];
long gStartMem[6];
time_t gStartTime;
int gProcessors = 1, gUsing = 1;
volatile sig_atomic_t gInHandler = 0;
char gAltStack[64 * 1024];

void CopyTo(char* dst, size_t size, const std::string& s) { snprintf(dst, size, "%s", s.c_str()); }

void Put(int fd, const char* text) {
  if (fd >= 0 && write(fd, text, strlen(text)) < 0) return;
}

void Printf(int fd, const char* format, ...) __attribute__((format(printf, 2, 3)));
void Printf(int fd, const char* format, ...) {
  char buf[1024];
  va_list a;
  va_start(a, format);
  vsnprintf(buf, sizeof buf, format, a);
  va_end(a);
  Put(fd, buf);
}

// Reads a small text file (a /proc entry) into buf.
void ReadFile(const char* path, char* buf, size_t size) {
  buf[0] = 0;
  int fd = open(path, O_RDONLY);
  if (fd < 0) return;
  size_t used = 0;
  ssize_t n;
  while (used + 1 < size && (n = read(fd, buf + used, size - used - 1)) > 0) used += size_t(n);
  buf[used] = 0;
  close(fd);
}

// The memory status: the lines of /proc/meminfo and our own sizes that matter.
void MemoryStatus(char* buf, size_t size) {
  char info[8192], self[8192];
  ReadFile("/proc/meminfo", info, sizeof info);
  ReadFile("/proc/self/status", self, sizeof self);
  buf[0] = 0;
  size_t used = 0;
  auto take = [&](const char* text, const char* key) {
    const char* p = strstr(text, key);
    if (!p) return;
    const char* e = strchr(p, '\n');
    size_t len = e ? size_t(e - p + 1) : strlen(p);
    if (used + len + 1 >= size) return;
    memcpy(buf + used, p, len);
    used += len;
    buf[used] = 0;
  };
  for (const char* k : {"MemTotal:", "MemAvailable:", "SwapTotal:", "SwapFree:"}) take(info, k);
  for (const char* k : {"VmSize:", "VmRSS:"}) take(self, k);
}

// The six values of the memory status in megabytes: physical total and free,
// swap total and free, our virtual size and resident size.
void MemoryMegabytes(long out[6]) {
  char buf[kStatusSize];
  MemoryStatus(buf, sizeof buf);
  const char* keysIn[6] = {"MemTotal:", "MemAvailable:", "SwapTotal:", "SwapFree:", "VmSize:", "VmRSS:"};
  for (int i = 0; i < 6; ++i) {
    const char* p = strstr(buf, keysIn[i]);
    out[i] = p ? atol(p + strlen(keysIn[i])) / 1024 : 0;
  }
}

void WriteModules(int fd) {
  static char maps[64 * 1024];
  ReadFile("/proc/self/maps", maps, sizeof maps);
  for (char* line = maps; line && *line;) {
    char* next = strchr(line, '\n');
    if (next) *next++ = 0;
    unsigned long start = 0, end = 0, offset = 0;
    char perms[8] = {}, path[512] = {};
    if (sscanf(line, "%lx-%lx %7s %lx %*s %*s %511s", &start, &end, perms, &offset, path) == 5 && path[0] == '/' &&
        offset == 0) {
      const char* base = strrchr(path, '/');
      Printf(fd, "Module found %s   \t(%s) \tHandle: %08lx Base address: %08lx\n", base ? base + 1 : path, path, start,
             start);
    }
    line = next;
  }
}

void WriteRegisters(int fd, void* uc) {
#if defined(__x86_64__)
  const greg_t* g = static_cast<ucontext_t*>(uc)->uc_mcontext.gregs;
  Printf(fd, "RAX=%016llx RBX=%016llx RCX=%016llx RDX=%016llx\n", (long long)g[REG_RAX], (long long)g[REG_RBX],
         (long long)g[REG_RCX], (long long)g[REG_RDX]);
  Printf(fd, "RSI=%016llx RDI=%016llx RBP=%016llx RSP=%016llx\n", (long long)g[REG_RSI], (long long)g[REG_RDI],
         (long long)g[REG_RBP], (long long)g[REG_RSP]);
  Printf(fd, "RIP=%016llx EFL=%016llx\n", (long long)g[REG_RIP], (long long)g[REG_EFL]);
#else
  (void)uc;
  Put(fd, "Registers not known on this processor\n");
#endif
}

void* FaultPc(void* uc) {
#if defined(__x86_64__)
  return reinterpret_cast<void*>(static_cast<ucontext_t*>(uc)->uc_mcontext.gregs[REG_RIP]);
#else
  (void)uc;
  return nullptr;
#endif
}

void* StackPointer(void* uc) {
#if defined(__x86_64__)
  return reinterpret_cast<void*>(static_cast<ucontext_t*>(uc)->uc_mcontext.gregs[REG_RSP]);
#else
  (void)uc;
  return nullptr;
#endif
}

// A tagged section: four characters, a 32-bit length, the bytes. Unreadable
// memory comes out as zeros.
void DumpSection(int fd, const char* tag, const void* data, uint32_t size) {
  if (write(fd, tag, 4) < 0 || write(fd, &size, 4) < 0) return;
  const char* p = static_cast<const char*>(data);
  static const char zeros[256] = {};
  for (uint32_t done = 0; done < size;) {
    uint32_t n = size - done < 256 ? size - done : 256;
    // The raw system call: no sanitizer or library wrapper second-guesses a
    // read of the dead stack or of code.
    if (!p || syscall(SYS_write, fd, p + done, n) != long(n))
      if (write(fd, zeros, n) < 0) return;
    done += n;
  }
}

void WriteDump(int fd, void* uc) {
  const uint32_t version = 1;
  if (write(fd, "MVCD", 4) < 0 || write(fd, &version, 4) < 0) return;
  DumpSection(fd, "VERS", gVersion, uint32_t(strlen(gVersion)));
  static char maps[64 * 1024];
  ReadFile("/proc/self/maps", maps, sizeof maps);
  DumpSection(fd, "MODS", maps, uint32_t(strlen(maps)));
#if defined(__x86_64__)
  const auto& mc = static_cast<ucontext_t*>(uc)->uc_mcontext;
  DumpSection(fd, "REGS", mc.gregs, sizeof mc.gregs);
#endif
  DumpSection(fd, "STAK", StackPointer(uc), 4096);
  char* pc = static_cast<char*>(FaultPc(uc));
  DumpSection(fd, "CODE", pc ? pc - 64 : nullptr, 128);
  char mem[kStatusSize];
  MemoryStatus(mem, sizeof mem);
  DumpSection(fd, "MEMS", mem, uint32_t(strlen(mem)));
}

int CaptureStack(void** frames, int max) { return backtrace(frames, max); }

void WriteTextLog(int fd, int sig, int savedErrno, void* uc, void** frames, int count) {
  Printf(fd, "Exception code:%X\n", sig);
  Printf(fd, "Signal: %s, errno %d\n", strsignal(sig), savedErrno);
  Put(fd, "Memory status before run:\n\n");
  Put(fd, gStartStatus);
  Put(fd, "\nMemory status after crash:\n\n");
  char mem[kStatusSize];
  MemoryStatus(mem, sizeof mem);
  Put(fd, mem);
  WriteModules(fd);
  WriteRegisters(fd, uc);
  const char* user = getenv("USER");
  Printf(fd, "User info:\n%s@%s\n", user ? user : "?", gHost);
  Put(fd, "Call stack due to calls\n\n");
  backtrace_symbols_fd(frames, count, fd);
}

std::string BuildReport(void** frames, int count) {
  char buf[8192];
  size_t used = 0;
  auto add = [&](const char* format, auto... args) {
    if (used < sizeof buf) used += size_t(snprintf(buf + used, sizeof buf - used, format, args...));
  };
  add("Version:%s\nMemory status: OK\n", gVersion);
  long secs = long(time(nullptr) - gStartTime);
  add("Work time: %d m %ds\n\n", int(secs / 60), int(secs % 60));
  long now[6];
  MemoryMegabytes(now);
  const char* names[6] = {"TotalPhys", "AvailPhys", "TotalSwap", "AvailSwap", "ProcessVirtual", "ProcessResident"};
  for (int i = 0; i < 6; ++i) add("%s: %u -> %u Mb\n", names[i], unsigned(gStartMem[i]), unsigned(now[i]));
  add("nproc: %d (%d)\n", gProcessors, gUsing);
  add("tool: %s\n\n", gTool);
  for (int i = 0; i < count && i < 24; ++i) {
    Dl_info info{};
    const char* fn = "?";
    const char* file = "?";
    if (dladdr(frames[i], &info)) {
      if (info.dli_sname) fn = info.dli_sname;
      if (info.dli_fname) {
        const char* slash = strrchr(info.dli_fname, '/');  // the build-folder prefix is cut
        file = slash ? slash + 1 : info.dli_fname;
      }
    }
    add("%08llX %s %s %d\n", (unsigned long long)(uintptr_t)frames[i], fn, file, 0);
  }
  if (used > sizeof buf - 1) used = sizeof buf - 1;
  return std::string(buf, used);
}

void AppendCrashList(const std::string& report) {
  int fd = open(kCrashListName, O_WRONLY | O_CREAT | O_APPEND, 0644);
  if (fd < 0) return;
  time_t t = time(nullptr);
  struct tm tm;
  localtime_r(&t, &tm);
  char head[1024];
  snprintf(head, sizeof head, "%d.%d.%d %02d:%02d  %s:%s\n\n", tm.tm_mday, tm.tm_mon + 1, tm.tm_year + 1900,
           tm.tm_hour, tm.tm_min, gHost, gTitle);
  Put(fd, head);
  Put(fd, report.c_str());
  Put(fd, "\n\n");
  close(fd);
}

void CrashInCrash(const char* text) {
  int fd = open("crash_in_crash.log", O_WRONLY | O_CREAT | O_APPEND, 0644);
  Put(fd, text);
  if (fd >= 0) close(fd);
}

void OnCrash(int sig, siginfo_t*, void* uc) {
  int savedErrno = errno;
  if (gInHandler) {  // a fault inside the handler itself
    CrashInCrash("crash inside the crash handler\n");
    _exit(-1);
  }
  gInHandler = 1;
  void* frames[64];
  int count = CaptureStack(frames, 64);

  int logFd = open(kCrashLogName, O_WRONLY | O_CREAT | O_TRUNC, 0644);
  int dumpFd = open(kCrashDumpName, O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (logFd < 0 || dumpFd < 0) {
    CrashInCrash(logFd < 0 ? "Cannot open log file\n" : "unable to open dump file.\n");
    _exit(-1);
  }
  WriteDump(dumpFd, uc);
  CrashInCrash("fastcrash dump: done\n");
  WriteTextLog(logFd, sig, savedErrno, uc, frames, count);
  close(logFd);
  close(dumpFd);

  OfferToSaveWork();
  std::string report = BuildReport(frames, count);
  AppendCrashList(report);
  // A box from inside a dying process may never show; the next start shows it.
  int fd = open(kLastCrashName, O_WRONLY | O_CREAT | O_TRUNC, 0644);
  Put(fd, report.c_str());
  if (fd >= 0) close(fd);

  signal(sig, SIG_DFL);
  raise(sig);
}
}  // namespace

void SetCrashTool(const std::string& tool) { CopyTo(gTool, sizeof gTool, tool); }

void InstallCrashHandler(const CrashContext& c) {
  CopyTo(gVersion, sizeof gVersion, c.version);
  CopyTo(gTitle, sizeof gTitle, c.title);
  gProcessors = c.processors;
  gUsing = c.usingProcessors;
  struct utsname u;
  CopyTo(gHost, sizeof gHost, uname(&u) == 0 ? u.nodename : "?");
  gStartTime = time(nullptr);
  MemoryStatus(gStartStatus, sizeof gStartStatus);
  MemoryMegabytes(gStartMem);
  // backtrace() loads its unwinder on first use; do that now, not in the handler.
  void* warm[2];
  backtrace(warm, 2);

  stack_t ss{};
  ss.ss_sp = gAltStack;
  ss.ss_size = sizeof gAltStack;
  sigaltstack(&ss, nullptr);
  struct sigaction sa{};
  sa.sa_sigaction = OnCrash;
  sa.sa_flags = SA_SIGINFO | SA_ONSTACK;
  sigemptyset(&sa.sa_mask);
  for (int sig : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) sigaction(sig, &sa, nullptr);
}

std::string TakeLastCrashReport(const std::string& folder) {
  std::string path = folder + kLastCrashName;
  FILE* f = fopen(path.c_str(), "rb");
  if (!f) return "";
  std::string text;
  char buf[4096];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, f)) > 0) text.append(buf, n);
  fclose(f);
  remove(path.c_str());
  return text;
}
