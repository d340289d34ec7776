// cExMalloc and cExFree over a replaceable system heap, with the emergency
// reserve, the one-shot out-of-memory report and the optional leak tracker.
#include "ClassEngine/ExMalloc.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "ClassEngine/CallStack.h"
#include "ClassEngine/Log.h"
#include "ClassEngine/SaveWorkOffer.h"
#include "ClassEngine/SystemDialog.h"
#include "ClassEngine/TextLookup.h"

namespace {
// The counter is only for reports, but workers allocate too, so it is atomic.
std::atomic<int> gLive{0};
std::atomic<SystemAllocFunction> gAlloc{&malloc};
std::atomic<SystemFreeFunction> gFree{&free};

std::mutex gReserveLock;
void* gReserve = nullptr;
SystemFreeFunction gReserveFree = nullptr;
std::atomic<bool> gReserveTaken{false};  // read without the lock on every call
std::atomic<bool> gReportArmed{true};

constexpr int kMaxTrackedBlocks = 100000;
constexpr int kTrackedFrames = 20;
std::atomic<bool> gTracking{false};
struct TrackedBlock {
  int size;
  std::vector<std::string> stack;
};
std::mutex gTrackLock;
std::unordered_map<void*, TrackedBlock>& Tracked() {
  static auto* m = new std::unordered_map<void*, TrackedBlock>;
  return *m;
}

void TakeReserveOnce() {
  if (gReserveTaken.load(std::memory_order_acquire)) return;
  std::lock_guard<std::mutex> guard(gReserveLock);
  if (gReserveTaken.load(std::memory_order_relaxed)) return;
  SystemFreeFunction release = gFree.load();
  gReserve = gAlloc.load()(kEmergencyReserveBytes);
  gReserveFree = release;
  gReserveTaken.store(true, std::memory_order_release);
}

void ReleaseReserve() {
  std::lock_guard<std::mutex> guard(gReserveLock);
  if (gReserve) gReserveFree(gReserve);
  gReserve = nullptr;
}

void ReportOutOfMemory(int size) {
  ReleaseReserve();
  Log("Out of memory, requested %d bytes", size);
  Log("Call stack info:");
  for (const std::string& frame : CaptureCallStack(64, 3)) Log("%s", frame.c_str());
  SystemDialog d;
  d.text = LookupTextOr("OUT_OFMEM", "Out of memory");
  d.title = LookupTextOr("FATAL_ERROR", "Fatal error");
  d.kind = SystemDialog::Kind::Stop;
  ShowSystemDialog(d);
  OfferToSaveWork();
}

void Track(void* p, int size) {
  std::vector<std::string> stack = CaptureCallStack(kTrackedFrames, 3);
  std::lock_guard<std::mutex> guard(gTrackLock);
  if ((int)Tracked().size() >= kMaxTrackedBlocks) return;
  Tracked()[p] = TrackedBlock{size, std::move(stack)};
}

void Untrack(void* p) {
  std::lock_guard<std::mutex> guard(gTrackLock);
  Tracked().erase(p);
}
}  // namespace

void* cExMalloc(int size) {
  if (size < 0) return nullptr;
  TakeReserveOnce();
  // A zero request still gets a distinct block, as malloc(0) may not.
  void* p = gAlloc.load()(size > 0 ? (size_t)size : 1);
  if (!p) {
    // One report per run: the second failure would find no reserve to free.
    if (gReportArmed.exchange(false)) ReportOutOfMemory(size);
    return nullptr;
  }
  gLive.fetch_add(1, std::memory_order_relaxed);
  if (gTracking.load(std::memory_order_relaxed)) Track(p, size);
  return p;
}

void cExFree(void* p) {
  if (!p) return;
  gLive.fetch_sub(1, std::memory_order_relaxed);
  if (gTracking.load(std::memory_order_relaxed)) Untrack(p);
  gFree.load()(p);
}

int cExLiveBlocks() { return gLive.load(); }

void SetSystemAllocator(SystemAllocFunction alloc, SystemFreeFunction release) {
  gAlloc = alloc ? alloc : &malloc;
  gFree = release ? release : &free;
}

bool EmergencyReserveHeld() {
  std::lock_guard<std::mutex> guard(gReserveLock);
  return gReserve != nullptr;
}

void ResetOutOfMemoryReport() {
  ReleaseReserve();
  {
    std::lock_guard<std::mutex> guard(gReserveLock);
    gReserveTaken = false;
  }
  gReportArmed = true;
}

void SetLeakTracking(bool on) {
  gTracking = on;
  if (!on) {
    std::lock_guard<std::mutex> guard(gTrackLock);
    Tracked().clear();
  }
}

bool WriteLeakReport(const char* path) {
  struct Group {
    int count = 0;
    long long bytes = 0;
  };
  std::map<std::vector<std::string>, Group> groups;
  long long total = 0;
  int leaks = 0;
  {
    std::lock_guard<std::mutex> guard(gTrackLock);
    for (const auto& [p, block] : Tracked()) {
      Group& g = groups[block.stack];
      g.count++;
      g.bytes += block.size;
      total += block.size;
      leaks++;
    }
  }
  FILE* f = fopen(path, "wb");
  if (!f) return false;
  int n = 0;
  for (const auto& [stack, g] : groups) {
    fprintf(f, "##%04d-----------\n%d leaks, %d bytes, consists of:", n++, g.count, (int)g.bytes);
    for (const std::string& frame : stack) fprintf(f, "\n%s", frame.c_str());
    fprintf(f, "\n");
  }
  fprintf(f, "\nLeaks: %d, %d k\n", leaks, (int)(total / 1024));
  fclose(f);
  return true;
}
