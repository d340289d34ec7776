#!/usr/bin/env bash
# Measures what an idle Morvane window costs: the program in its own Xvfb,
# past start-up, then the processor time it uses in SECONDS of wall time
# (utime + stime from /proc), once with the pointer outside the window and
# once with it resting over the 3D view.   scripts/idle-cpu.sh [SECONDS] [BUILD-FOLDER]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-20}
build=$(cd "${2:-$root/build}" && pwd)
work=$(mktemp -d)
cleanup() { kill "$prog" "$xvfb" 2>/dev/null || true; wait 2>/dev/null || true; rm -rf "$work"; }
trap cleanup EXIT

exec 3<> "$work/display"
Xvfb -displayfd 3 -screen 0 1600x1000x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
for _ in $(seq 50); do [[ -s "$work/display" ]] && break; sleep 0.2; done
export DISPLAY=":$(head -1 "$work/display")"
mkdir -p "$work/run"
(cd "$work/run" && MORVANE_HOME="$work/home" exec "$build/bin/morvane") >"$work/output.txt" 2>&1 &
prog=$!
for _ in $(seq 300); do grep -q "Command line:" "$work/run/Log.txt" 2>/dev/null && break; sleep 0.2; done
win=$(xdotool search --name '^Morvane$' | head -1)
ticks() { awk '{print $14 + $15}' "/proc/$prog/stat"; }
hz=$(getconf CLK_TCK)

measure() {  # LABEL: the CPU share over $seconds
  sleep 2  # past the last frames of what came before
  local t0 t1
  t0=$(ticks)
  sleep "$seconds"
  t1=$(ticks)
  awk -v l="$1" -v d=$((t1 - t0)) -v hz="$hz" -v s="$seconds" \
    'BEGIN { printf "%-32s %.2f s of CPU in %d s: %.2f %% of one core\n", l, d / hz, s, 100 * d / hz / s }'
}

xdotool mousemove 1590 990  # outside the window
measure "pointer outside the window"
xdotool mousemove --window "$win" 900 360  # over the sphere in the view
measure "pointer resting over the view"
xdotool mousemove --window "$win" 300 300  # over the tool panel
measure "pointer resting over the panel"
echo "resident memory: $(awk '/VmRSS/ {print $2 " kB"}' "/proc/$prog/status")"
