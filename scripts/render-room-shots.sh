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
source "$root/scripts/xvfb-app.sh"
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
