#!/usr/bin/env bash
# Configures (once) and builds Morvane into build/ with Ninja.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${MORVANE_BUILD:-$root/build}
if [[ ! -f "$build/build.ninja" ]]; then
  cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@"
fi
cmake --build "$build" -j "$(nproc)"
