// The allocator that all code uses. Blocks come from the system heap; a count
// of live blocks feeds the crash report; a 16,000,000-byte emergency reserve,
// taken at the first call, is released when the heap runs dry so that the
// out-of-memory path (log, stop-sign box, offer to save) still has room to run.
#pragma once
#include <cstddef>

// Plain C names, exported from the executable (shell/CMakeLists.txt), so that
// loadable components find them and share the program's heap.
extern "C" {
void* cExMalloc(int size);
void cExFree(void* p);
}

// Live blocks: up on every cExMalloc, down on every cExFree of a non-null pointer.
int cExLiveBlocks();

// The system heap behind cExMalloc. Tests install one that fails to drive the
// out-of-memory path; null arguments restore malloc and free.
using SystemAllocFunction = void* (*)(size_t);
using SystemFreeFunction = void (*)(void*);
void SetSystemAllocator(SystemAllocFunction alloc, SystemFreeFunction release);

constexpr int kEmergencyReserveBytes = 16000000;
bool EmergencyReserveHeld();
// Arms the one-shot out-of-memory report again and retakes the reserve at the
// next call (tests only).
void ResetOutOfMemoryReport();

// The debugging leak tracker: off by default. While on, up to 100,000 live
// blocks are recorded with a stack of 20 frames.
void SetLeakTracking(bool on);
// Writes the recorded live blocks, grouped by equal stacks, to `path`
// ("leaks.txt" beside the program in a debugging run). Returns false if the
// file could not be written.
bool WriteLeakReport(const char* path);
