#!/usr/bin/env bash
# A walk through the working environment in a real window under Xvfb, as a
# new user would go: open the options from the Edit menu, load another colour
# theme, give a menu command a key in place and use it, undock the
# navigation window and dock it again. A screenshot of the screen follows
# each step, in <build>/tour/ (the program's user folder is there too).
#   scripts/workspace-tour.sh [build-folder]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${1:-$root/build}
out=$build/tour
rm -rf "$out" && mkdir -p "$out/home"
source "$root/scripts/xvfb-app.sh"

shot 01-start
# Edit > Options...
click 68 16
shot 02-edit-menu
click 110 ${OPTIONS_Y:-86}
shot 03-options-dialog
# Themes...: the fourth button of the box; the list of themes comes up.
click 768 605
shot 04-theme-list
# The light theme (the third), then the options box again with its colours.
click 638 264
shot 05-light-theme
# OK keeps it.
click 509 605
shot 06-light-theme-kept
# A key for File > Save as...: point at it, press End, then F5.
click 23 16
at 90 106
shot 07-file-menu
xdotool key End
shot 08-enter-hotkey
xdotool key F5
sleep 0.5
click 23 16
at 90 106
shot 09-file-menu-with-F5
xdotool key Escape
sleep 0.3
# The navigation window: drag its caption into the middle (it floats), then
# to the right edge of the work area (it docks there again).
at 1040 53
xdotool mousedown 1
for x in 980 900 800 700 640; do xdotool mousemove $x 300; sleep 0.1; done
shot 10-navigation-floating
xdotool mouseup 1
shot 11-navigation-undocked
at 640 72
xdotool mousedown 1
for x in 700 900 1100 1270 1277; do xdotool mousemove $x 400; sleep 0.1; done
shot 12-dock-highlight
xdotool mouseup 1
shot 13-navigation-docked
# The pen's radius: hold the "+" of its row in the pen values window for a
# second and a half; the value grows all the while, and stops on release.
at 734 567
xdotool mousedown 1
sleep 0.7
shot 14-radius-ramp-held
sleep 0.8
xdotool mouseup 1
shot 15-radius-ramp-released
# The navigation window floats again, and the pen values window is let go on
# its left edge: both share one frame, side by side.
at 1040 53
xdotool mousedown 1
for x in 980 900 800 700 640; do xdotool mousemove $x 300; sleep 0.1; done
xdotool mouseup 1
sleep 0.3
at 535 491
xdotool mousedown 1
for x in 550 570 585 590; do xdotool mousemove $x 300; sleep 0.1; done
shot 16-side-highlight
xdotool mouseup 1
shot 17-shared-frame
