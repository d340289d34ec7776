#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test through ctest:
#  1. the main build (g++) and all its GoogleTest suites and fuzz replays;
#  2. the fuzz targets under libFuzzer with AddressSanitizer (clang), a fixed
#     number of runs each;
#  3. the threaded class-engine tests under ThreadSanitizer.
set -euo pipefail
root=$(cd "$(dirname "$0")" && pwd)
jobs=$(nproc)
"$root/scripts/deps.sh" --tests
"$root/scripts/build.sh"

cd "${MORVANE_BUILD:-$root/build}"
ctest --output-on-failure -j "$jobs" --timeout 600

if [[ "${MORVANE_QUICK_TEST:-0}" == 1 ]]; then exit 0; fi

fuzz="$root/build-fuzz"
if [[ ! -f "$fuzz/build.ninja" ]]; then
  CC=clang CXX=clang++ cmake -S "$root" -B "$fuzz" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DMORVANE_FUZZ=ON -DMORVANE_BENCH=OFF -DMORVANE_TESTS=ON >/dev/null
fi
cmake --build "$fuzz" -j "$jobs" --target fuzz_targets
(cd "$fuzz" && ctest --output-on-failure -j "$jobs" -R '^fuzz_' --timeout 600)

tsan="$root/build-tsan"
if [[ ! -f "$tsan/build.ninja" ]]; then
  cmake -S "$root" -B "$tsan" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DMORVANE_TSAN=ON -DMORVANE_BENCH=OFF >/dev/null
fi
cmake --build "$tsan" -j "$jobs" --target ClassEngineTests
(cd "$tsan" && ctest --output-on-failure -j "$jobs" -R 'Threader|FileBinStream' --timeout 600)
