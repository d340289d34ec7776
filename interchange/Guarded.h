// Runs a codec with nothing thrown out of it: running out of memory, or an
// exception of a library underneath, becomes a failure with its reason in
// the log ("<what>: Out of memory.").
#pragma once
#include <exception>
#include <new>

#include "ClassEngine/Log.h"

namespace comms {

// `run` returns what the codec returns (a bool or a pointer); a throw gives
// that type's empty value.
template <class F>
auto Guarded(const char* what, F&& run) -> decltype(run()) {
  try {
    return run();
  } catch (const std::bad_alloc&) {
    Log("%s: Out of memory.", what);
  } catch (const std::exception& e) {
    Log("%s: %s", what, e.what());
  }
  return {};
}

}  // namespace comms
