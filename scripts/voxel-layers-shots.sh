#!/usr/bin/env bash
# The voxel room's layer panel in a real window under Xvfb: the start scene's
# row, two rows added through a row's menu, one of them hidden by its eye and
# one dragged below another. Screenshots in <build>/layers/.
#   scripts/voxel-layers-shots.sh [build-folder]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build}
out=$build/layers
rm -rf "$out" && mkdir -p "$out/home"
source "$root/scripts/xvfb-app.sh"
shot 01-start
# Rows are 22 pixels high from y 67; the menu opens 6 pixels above the
# pointer with 18-pixel items ("Add volume" the second).
xdotool mousemove 1040 78 click 3; sleep 0.5
shot 02-row-menu
xdotool mousemove 1040 99 click 1; sleep 0.5
xdotool mousemove 1040 78 click 3; sleep 0.5
xdotool mousemove 1040 99 click 1; sleep 0.5
shot 03-three-rows
# The eye of the last row hides it; that row is then dragged to the top edge
# of the first row (it moves before it, under the root), and the first row's
# label is double-clicked to rename it.
xdotool mousemove 1266 122 click 1; sleep 0.5
xdotool mousemove 1100 122 mousedown 1; sleep 0.2
for y in 115 105 95 85 75 70 69; do xdotool mousemove 1100 $y; sleep 0.1; done
xdotool mouseup 1; sleep 0.5
xdotool mousemove 1060 100 click --repeat 2 --delay 80 1; sleep 0.4
xdotool type "Head"; xdotool key Return; sleep 0.4
shot 04-hidden-dragged-renamed
# The second row's shader settings ("Shader settings", the fourth item).
xdotool mousemove 1040 100 click 3; sleep 0.5
xdotool mousemove 1040 157 click 1; sleep 0.8
shot 05-shader-settings
