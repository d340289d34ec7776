#!/usr/bin/env bash
# Configures (once) and builds Morvane into build/ with Ninja.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${MORVANE_BUILD:-$root/build}
launcher=()
# A compiler cache, where the machine has one, shares objects between checkouts.
if command -v ccache >/dev/null; then launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache); fi
if [[ ! -f "$build/build.ninja" ]]; then
  cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "${launcher[@]}" "$@"
fi
cmake --build "$build" -j "$(nproc)"
