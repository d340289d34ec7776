#!/usr/bin/env bash
# Builds the fuzz targets with clang and libFuzzer into build-fuzz/ and runs one
# of them for a while:  scripts/fuzz.sh fuzz_obj 300
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$root/build-fuzz
if [[ ! -f "$build/build.ninja" ]]; then
  CC=clang CXX=clang++ cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DMORVANE_FUZZ=ON -DMORVANE_BENCH=OFF
fi
name=${1:?name of a fuzz target}
seconds=${2:-60}
ninja -C "$build" "$name"
exe=$(find "$build" -name "$name" -type f -perm -u+x | head -1)
corpus=$(find "$root/tests" -type d -path "*/fuzz/corpus/$name" | head -1)
mkdir -p "$build/corpus/$name"
"$exe" -max_total_time="$seconds" "$build/corpus/$name" ${corpus:+"$corpus"}
