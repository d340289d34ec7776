#!/usr/bin/env bash
# Checks that Morvane starts with all its data wherever it is run from:
#   1. ./run.sh without a display (the headless run from the checkout);
#   2. the program copied out of the tree and run from an empty folder (as a
#      build folder outside the sources is);
#   3. the installed program (cmake --install into a temporary prefix) run
#      from an empty folder, finding its data in <prefix>/share/morvane.
# Each run must compile every start-up shader, find the English words of the
# interface and write its picture.   scripts/check-start.sh [BUILD-FOLDER]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-$root/build}" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0

# check NAME FOLDER [DATA-FOLDER]: the run in FOLDER succeeded, and used
# DATA-FOLDER when one is named.
check() {
  local name=$1 folder=$2 data=${3:-}
  local log="$folder/Log.txt" text="$folder/home/text.xml"
  local why=""
  grep -q "Start-up shaders: \([0-9]*\) of \1 compiled" "$log" || why="not every start-up shader compiled"
  [[ -s "$folder/screenshot.png" ]] || why="${why:+$why; }no screenshot.png"
  # The panel's words came from the English table, not from the keys.
  grep -A1 '<ID>ROOM_PAINT</ID>' "$text" 2>/dev/null | grep -q '<Text>Paint</Text>' ||
    why="${why:+$why; }the interface words are not English"
  if [[ -n "$data" ]] && ! grep -q "^Data folder: $data\$" "$log"; then
    why="${why:+$why; }data not taken from $data ($(grep '^Data folder' "$log" || echo none))"
  fi
  if [[ -n "$why" ]]; then
    echo "FAILED  $name: $why (log: $log)"
    cp -r "$folder" "$build/check-start-$name" 2>/dev/null || true
    failed=1
  else
    echo "passed  $name"
  fi
}

run_headless() {  # FOLDER PROGRAM: runs PROGRAM headless in FOLDER
  local folder=$1 program=$2
  mkdir -p "$folder/home"
  (cd "$folder" && env -u DISPLAY -u WAYLAND_DISPLAY -u MORVANE_DATA MORVANE_HOME="$folder/home" \
     "$program" --headless >"$folder/output.txt" 2>&1) || echo "  $program exited with $? (see $folder/output.txt)"
}

# 1. ./run.sh from the checkout (it installs nothing new and builds nothing
# new here: both are done).
mkdir -p "$work/runsh/home"
(cd "$work/runsh" && env -u DISPLAY -u WAYLAND_DISPLAY -u MORVANE_DATA MORVANE_HOME="$work/runsh/home" \
   MORVANE_BUILD="$build" "$root/run.sh" >"$work/runsh/output.txt" 2>&1) || echo "  run.sh exited with $?"
cp "$build/run/Log.txt" "$build/run/screenshot.png" "$work/runsh/" 2>/dev/null || true
check run.sh "$work/runsh"

# 2. The program outside the tree, from an empty folder.
mkdir -p "$work/outside/bin" "$work/outside/run"
cp "$build/bin/morvane" "$work/outside/bin/"
run_headless "$work/outside/run" "$work/outside/bin/morvane"
check out-of-tree "$work/outside/run" "$root/data"

# 3. The installed program, from an empty folder.
cmake --install "$build" --prefix "$work/prefix" >/dev/null
run_headless "$work/installed" "$work/prefix/bin/morvane"
check installed "$work/installed" "$work/prefix/share/morvane"

# 4. Without any data the program says so and fails.
mkdir -p "$work/nodata/bin" "$work/nodata/run/home"
cp "$build/bin/morvane" "$work/nodata/bin/"
(cd "$work/nodata/run" && env -u DISPLAY -u MORVANE_DATA MORVANE_HOME="$work/nodata/run/home" \
   MORVANE_NO_SOURCE_DATA=1 "$work/nodata/bin/morvane" --headless >"$work/nodata/output.txt" 2>&1) && code=0 || code=$?
if [[ $code -ne 0 ]] && grep -q "was found in none of these folders" "$work/nodata/output.txt"; then
  echo "passed  no-data (exit $code, said why)"
else
  echo "FAILED  no-data: exit $code; $(head -3 "$work/nodata/output.txt")"
  failed=1
fi
exit $failed
