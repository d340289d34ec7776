#!/usr/bin/env bash
# The render room in a real window under Xvfb: incremental rendering turned
# on in the tool's panel, the refining picture over the view with its "Rays:"
# line, then a custom size. Screenshots in <build>/render-room/.
#   scripts/render-room-shots.sh [build-folder]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build}
out=$build/render-room
rm -rf "$out" && mkdir -p "$out/home"
display=:$((90 + RANDOM % 100))
Xvfb "$display" -screen 0 1280x800x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
app=
trap '[[ -n $app ]] && kill $app 2>/dev/null; kill $xvfb 2>/dev/null || true' EXIT
export DISPLAY=$display MORVANE_HOME=$out/home MORVANE_DATA=$root/data
sleep 1
(cd "$out" && exec "$build/bin/morvane") >"$out/stdout.txt" 2>&1 &
app=$!
win=$(xdotool search --sync --name '^Morvane' | head -1)
xdotool windowmove --sync "$win" 0 0 2>/dev/null || true
sleep 4
shot() { xdotool mousemove_relative 1 0; sleep 0.3; xdotool mousemove_relative -- -1 0; sleep ${WAIT:-0.8}; import -window root "$out/$1.png"; echo "$out/$1.png"; }
# The Render room's tab.
xdotool mousemove 820 16 click 1; sleep 1
shot 01-render-room
# IncrementalRender on: the picture refines over the view.
xdotool mousemove 137 364 click 1; sleep 6
WAIT=0.3 shot 02-incremental
# ViewSize: CustomRenderSize (the second item of the list that opens over
# the box), 1280 x 720 in a taller view.
xdotool mousemove 388 94 click 1; sleep 0.5
xdotool mousemove 388 117 click 1; sleep 6
WAIT=0.3 shot 03-custom-size
